// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Queue/ClaimStore.h"
#include "platform/base/NSError.h"
#include "platform/broker/BrokerMessage.h"

#include <QByteArray>
#include <QVariant>

namespace zr {

/// What messages of tasks and replies hold. A task's body is its keyed archive, as on the way to a service. A reply's type is
/// "result" or "error", its body the keyed archive of that, and its correlation identifier the task's message identifier.
/// A body that is too large for a broker is in a store, and the header "zrpdf-claim" has its name. Any thread.
namespace TaskMessage {

/// Bodies of more bytes than that are put into the store, if there is one.
inline constexpr qsizetype largestBody = qsizetype(1) << 20;
/// Bodies of more bytes than that can't be sent without one.
inline constexpr qsizetype largestBodyWithoutStore = qsizetype(16) << 20;

/// A task's header: how many milliseconds its conversion may take.
inline const QString timeoutHeader = QStringLiteral("zrpdf-timeout");
/// Headers of what was given up: why, after how many tries, and which queue it was in.
inline const QString causeHeader = QStringLiteral("zrpdf-cause");
inline const QString triesHeader = QStringLiteral("zrpdf-tries");
inline const QString queueHeader = QStringLiteral("zrpdf-queue");

/// Puts a body into a message, or into the store and its name into the message. Raises an NSException if that fails.
void setBody(BrokerMessage &message, const QByteArray &body, const ClaimStore *store);
/// A message's body, from wherever it is. Raises an NSException.
QByteArray body(const BrokerMessage &message, const ClaimStore *store);
/// The name under which the body is in the store; empty if the message has it.
QByteArray claim(const BrokerMessage &message);

struct Reply {
    QVariant result;
    NSError error;
};
/// The reply to a task. Raises an NSException if its body can't be stored.
BrokerMessage withReply(const Reply &reply, const BrokerMessage &task, const ClaimStore *store);
/// The reply in a message. Raises an NSException if its body is missing.
Reply reply(const BrokerMessage &message, const ClaimStore *store);

} // namespace TaskMessage

} // namespace zr
