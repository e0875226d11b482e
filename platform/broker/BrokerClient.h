// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"
#include "platform/broker/BrokerAddress.h"
#include "platform/broker/BrokerMessage.h"
#include "platform/broker/BrokerSession.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace zr {

/// A lasting client of a broker, or of a cluster of several: it connects again whenever the connection is lost, to one
/// address after the other, and sends again what wasn't confirmed. So a message may arrive twice; its identifier tells.
///
/// All functions may be called on any thread. Handlers run on the client's own thread, one at a time, and mustn't block; they
/// may call the client's functions but not destroy it.
class BrokerClient {
public:
    using Clock = std::chrono::steady_clock;

    struct Queue {
        QByteArray name;
        QVariantMap arguments;
    };
    struct Consumer {
        QByteArray queue;
        int prefetch = 1;
        std::function<void(BrokerDelivery)> handler;
    };
    struct Plan {
        std::vector<BrokerAddress> addresses; ///< at least one
        std::vector<Queue> queues;            ///< declared on each connection
        std::vector<Consumer> consumers;
        std::vector<QByteArray> temporary; ///< queues that are deleted at the end
        BrokerSession::Limits limits;
        /// Called a few times a second, for clocks of the owner's. While a connection is being made, it may be held up for
        /// as long as that may take.
        std::function<void()> tick;
        /// Called when a connection is made or lost, with nothing or the reason.
        std::function<void(bool isConnected, const QString &problem)> changed;
    };
    struct State {
        bool isConnected = false;
        bool isBlocked = false;  ///< the broker takes no messages for the time being
        QString problem;         ///< why it isn't connected or takes no messages
        Clock::time_point since; ///< when that began
    };

    /// How the sending of a message ended.
    enum class Outcome {
        Confirmed,
        Unroutable, ///< there is no such queue
        Expired,    ///< not confirmed in its time; it may have arrived all the same
        Closed,     ///< the client was stopped before; it may have arrived all the same
    };
    using Done = std::function<void(Outcome, const QString &problem)>;

    explicit BrokerClient(Plan plan);
    ~BrokerClient();
    BrokerClient(const BrokerClient &) = delete;
    BrokerClient &operator=(const BrokerClient &) = delete;

    /// Sends a message to a queue; its identifier must be its own. The handler is called once.
    void publish(const QByteArray &queue, BrokerMessage message, Clock::time_point deadline, Done done);
    /// Without effect if the delivery's connection was lost: the broker then delivers the message again.
    void acknowledge(const BrokerDelivery &delivery);
    void giveBack(const BrokerDelivery &delivery);
    /// Ends all deliveries. What was delivered can still be acknowledged. The handler is called when nothing more will come.
    void stopConsuming(std::function<void()> done);
    State state() const;
    /// Ends the connection and the thread, and calls the handlers of messages that weren't confirmed; whatever is sent later
    /// ends at once on the calling thread. Not for handlers.
    void stop();

private:
    struct Sending {
        QByteArray queue;
        BrokerMessage message;
        Clock::time_point deadline;
        Done done;
        bool isReturned = false;
        Clock::time_point notBefore; ///< a broker that refused it is left in peace for a moment
    };
    class Connection;

    /// False, and the command is dropped, after the end.
    bool post(std::function<void()> command);
    void run();
    bool connect();
    void serve();
    void runCommands();
    void tellConsumingStopped();
    void sendWaiting();
    void pass();
    void finish(quint64 identifier, Outcome outcome, const QString &problem);
    void lost(const QString &problem);
    void wait(Clock::time_point until);
    void change(const std::function<void(State &)> &change);
    void close();

    const Plan m_plan;
    const FileDescriptor m_event;
    mutable std::mutex m_mutex;
    std::vector<std::function<void()>> m_commands;
    bool m_stopped = false;
    State m_state;

    // The thread's own.
    bool m_ending = false;
    std::unique_ptr<Connection> m_connection;
    quint64 m_sessions = 0;
    quint64 m_lastSending = 0;
    std::size_t m_address = 0;
    bool m_isConsuming = true;
    std::vector<std::function<void()>> m_whenConsumingStopped;
    std::map<quint64, Sending> m_sendings;
    std::set<quint64> m_waiting; ///< those that are to be sent, or sent again
    Clock::time_point m_nextTick;

    std::mutex m_stopping;
    std::thread m_thread;
};

} // namespace zr
