// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Queue/ClaimStore.h"
#include "ZRKit/Queue/TaskMessage.h"
#include "ZRKit/Queue/TaskQueues.h"
#include "platform/base/NSError.h"
#include "platform/broker/BrokerClient.h"

#include <QList>
#include <QString>
#include <QUrl>
#include <QVariant>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace zr {

/// Sends tasks to workers by way of a broker and hands their answers on. Made with std::make_shared; any thread.
class TaskQueueClient : public std::enable_shared_from_this<TaskQueueClient> {
public:
    using Block = std::function<void(const QVariant &result, const NSError &error)>;

    struct Configuration {
        QList<QUrl> brokers;
        QString prefix;
        QUrl store;                            ///< nil for none
        std::chrono::milliseconds brokerLimit; ///< how long the broker may be out of reach
        std::chrono::milliseconds replyExpiry; ///< how long answers wait for a client that has gone
    };
    struct Sending {
        bool isUrgent = false;
        std::chrono::milliseconds timeToLive{0}; ///< 0 for ever
        std::chrono::milliseconds timeout{0};    ///< for the conversion alone; 0 leaves it to the worker
    };

    /// Raises NSInvalidArgumentException for what can't be a configuration.
    explicit TaskQueueClient(const Configuration &configuration);
    ~TaskQueueClient();
    TaskQueueClient(const TaskQueueClient &) = delete;
    TaskQueueClient &operator=(const TaskQueueClient &) = delete;

    /// Sends a task; its block is called once, on a thread of an operation queue, never before this returns.
    void send(const QVariant &object, const Sending &sending, const Block &block);
    /// Answers what has no answer yet with an error, and ends. Waits for nothing but the connection's end.
    void stop();

private:
    struct Task {
        Block block;
        std::optional<BrokerClient::Clock::time_point> deadline;
        QByteArray claim; ///< of its body, to be removed when it is answered
    };

    void publish(const QByteArray &identifier, const QByteArray &body, const Sending &sending);
    void received(const BrokerDelivery &delivery);
    void tick();
    void end(const QByteArray &identifier, const NSError &error);
    std::optional<Task> take(const QByteArray &identifier);
    void removeLater(const QByteArray &claim);

    const Configuration m_configuration;
    const TaskQueues m_queues;
    const QByteArray m_replies;
    std::shared_ptr<const ClaimStore> m_store;
    mutable std::mutex m_mutex;
    std::unordered_map<QByteArray, Task> m_tasks;
    std::unique_ptr<BrokerClient> m_broker;
};

} // namespace zr
