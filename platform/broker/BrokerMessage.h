// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QVariantMap>
#include <chrono>
#include <optional>

namespace zr {

/// A message as it goes to a broker or comes from it. One thread at a time.
struct BrokerMessage {
    QByteArray body;
    QByteArray messageId;
    QByteArray correlationId;
    QByteArray replyTo; ///< the queue that takes the answer; empty if none is expected
    QByteArray type;
    /// How long it may wait in a queue.
    std::optional<std::chrono::milliseconds> expiration;
    /// Texts, whole numbers and booleans; received headers of other kinds are left out.
    QVariantMap headers;
};

/// A message that a queue delivered, to be acknowledged or given back.
struct BrokerDelivery {
    BrokerMessage message;
    QByteArray queue;
    quint64 session =
        0; ///< the number of the connection; on a later one the broker delivers the message again
    int channel = 0;
    quint64 tag = 0;
    /// How often it was delivered before, as far as the broker counts that; 0 the first time.
    int earlierDeliveries = 0;
};

} // namespace zr
