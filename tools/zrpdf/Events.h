// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <chrono>
#include <mutex>
#include <sys/types.h>
#include <vector>

/// Something that happened on another thread and that the runner's loop deals with.
struct Event {
    enum class Kind {
        Replied, ///< the service answered with `result` or `error`
        Ended,   ///< the instance ended: `process`, 0 where it isn't known, and `text` on how
        Read,    ///< a stream was read: `content`, or `failure`
    };

    Kind kind = Kind::Replied;
    std::size_t instance = 0;
    quint64 round = 0; ///< which of the instance's tasks it is about
    QVariant result;
    NSError error;
    pid_t process = 0;
    QByteArray text;
    QByteArray content;
    int failure = 0;
};

/// Hands events from any thread to the one that waits for them.
class Events {
public:
    Events();
    Events(const Events &) = delete;
    Events &operator=(const Events &) = delete;

    /// An eventfd; writing to it ends a wait.
    int descriptor() const { return m_descriptor; }
    void post(Event event);
    /// What was posted so far, after waiting until there is something, the descriptor was written to, or the
    /// time has come.
    std::vector<Event> take(std::chrono::steady_clock::time_point until);

private:
    int m_descriptor;
    std::mutex m_mutex;
    std::vector<Event> m_posted;
};
