// SPDX-License-Identifier: MIT
#pragma once

#include "platform/broker/BrokerAddress.h"
#include "platform/broker/BrokerMessage.h"
#include "platform/broker/BrokerWatchdog.h"

#include <QByteArray>
#include <QVariantMap>
#include <amqp.h>
#include <chrono>
#include <map>
#include <memory>
#include <type_traits>

namespace zr {

/// One connection to a broker (AMQP 0-9-1), from the login until something fails. Each operation throws a BrokerError if the
/// connection is lost or the broker refuses; nothing can be done with it then. No call takes longer than its limit.
///
/// One thread: librabbitmq's connections know no other way. Heartbeats are sent, and the broker's are looked for, inside
/// read(), so it is called at least every half heartbeat.
///
/// Frames are put together here, not by amqp_consume_message(): that frees an envelope's fields if it fails in mid-message,
/// and its user then frees them again. It would also wait for the rest of a message.
class BrokerSession {
public:
    struct Limits {
        std::chrono::milliseconds connecting = std::chrono::seconds(5); ///< for each step of it
        std::chrono::milliseconds call = std::chrono::seconds(30);
    };

    /// Who is told what read() finds.
    class Listener {
    public:
        virtual ~Listener() = default;
        virtual void messageWasDelivered(BrokerDelivery delivery) = 0;
        /// The broker has, or has not, taken the messages of these numbers: one, or all up to it.
        virtual void messagesWereConfirmed(quint64 number, bool upTo, bool taken) = 0;
        /// No queue has taken a message; its confirmation comes later.
        virtual void messageWasReturned(const QByteArray &queue, const QByteArray &messageId) = 0;
        /// The broker takes no messages any more, for a reason, or takes them again.
        virtual void brokerIsBlocked(const QString &reason) = 0;
        virtual void brokerIsUnblocked() = 0;
    };

    /// Connects and logs in.
    BrokerSession(const BrokerAddress &address, const Limits &limits);
    /// Takes its leave if the connection is sound.
    ~BrokerSession();
    BrokerSession(const BrokerSession &) = delete;
    BrokerSession &operator=(const BrokerSession &) = delete;

    /// Makes the queue if it isn't there; refused if it is there with other arguments.
    void declareQueue(const QByteArray &name, const QVariantMap &arguments);
    void deleteQueue(const QByteArray &name);
    /// Has a queue's messages delivered on a channel of their own, so many at a time unacknowledged.
    /// \return the channel
    int consume(const QByteArray &queue, int prefetch);
    /// Ends the deliveries of a channel; what was delivered can still be acknowledged there.
    void cancel(int channel);
    void acknowledge(int channel, quint64 tag);
    /// Gives a message back, to be delivered again.
    void giveBack(int channel, quint64 tag);
    /// Sends a message to a queue. \return its number, which the confirmation names
    quint64 publish(const QByteArray &queue, const BrokerMessage &message);

    /// Becomes readable when read() may find something.
    int descriptor() const;
    /// Whether read() finds something that was received already.
    bool hasInput() const;
    /// Handles what has come, without waiting.
    void read(Listener &listener);

    std::chrono::milliseconds heartbeat() const;

private:
    struct Incoming {
        bool isReturned = false;
        BrokerDelivery delivery;
        quint64 size = 0;
    };
    struct Destroy {
        void operator()(amqp_connection_state_t state) const { amqp_destroy_connection(state); }
    };

    void connect(const Limits &limits);
    void login();
    void openChannel(int channel);
    void check(const amqp_rpc_reply_t &reply, const char *what);
    void check(int status, const char *what);
    [[noreturn]] void fail(const QString &text);
    template <typename Function>
    auto guarded(Function function) {
        return m_watchdog.call(descriptor(), function);
    }
    /// Makes a call that the broker answers, and checks the answer.
    template <typename Function>
    void call(Function function, const char *what) {
        guarded(function);
        check(amqp_get_rpc_reply(m_state.get()), what);
    }
    void handle(const amqp_frame_t &frame, Listener &listener);
    void handleMethod(int channel, const amqp_method_t &method, Listener &listener);
    void handleConnectionMethod(const amqp_method_t &method, Listener &listener);
    void handleHeader(Incoming &incoming, const amqp_frame_t &frame);
    void finishMessage(int channel, Listener &listener);

    const BrokerAddress m_address;
    std::unique_ptr<std::remove_pointer_t<amqp_connection_state_t>, Destroy> m_state;
    BrokerWatchdog m_watchdog;
    bool m_isSound = false;
    int m_lastChannel = 0;
    quint64 m_published = 0;
    std::map<int, QByteArray> m_queues; ///< by channel
    std::map<int, Incoming> m_incoming; ///< messages that are not whole yet, by channel
};

} // namespace zr
