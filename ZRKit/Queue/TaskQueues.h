// SPDX-License-Identifier: MIT
#pragma once

#include "platform/broker/BrokerClient.h"

#include <QByteArray>
#include <QString>
#include <vector>

namespace zr {

/// The queues of tasks on a broker, and their rules. All names begin with one prefix. Any thread.
///
///     PREFIX.tasks, PREFIX.tasks.urgent   what workers take
///     PREFIX.lost                         what the broker took from those: delivered too often, or waited too long
///     PREFIX.dead                         what was given up, with its cause in a header
///     PREFIX.replies.IDENTIFIER           a client's answers
///
/// All are quorum queues. The broker hands a task out three times; then, and when its time to live has passed, it moves it to
/// the lost ones, without ever having it in no queue. A worker tells the sender and moves it on to the dead ones, which are
/// kept for a while, for people.
class TaskQueues {
public:
    /// How often a task is handed out.
    static constexpr int tries = 3;

    /// Raises NSInvalidArgumentException unless the prefix has 1 to 64 of the characters A-Z a-z 0-9 . _ - and
    /// isn't the broker's own "amq"
    explicit TaskQueues(const QString &prefix);

    QByteArray tasks(bool urgent) const { return m_prefix + (urgent ? ".tasks.urgent" : ".tasks"); }
    QByteArray lost() const { return m_prefix + ".lost"; }
    QByteArray dead() const { return m_prefix + ".dead"; }
    /// A new name.
    QByteArray replies() const;

    /// All but reply queues, as clients and workers declare them. Both do, so that neither has to be first.
    std::vector<BrokerClient::Queue> shared() const;
    /// A reply queue. It is there until nobody has used it for a time.
    static BrokerClient::Queue replyQueue(const QByteArray &name, std::chrono::milliseconds expiry);

private:
    QByteArray m_prefix;
};

} // namespace zr
