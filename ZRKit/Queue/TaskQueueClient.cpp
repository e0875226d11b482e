// SPDX-License-Identifier: MIT
#include "ZRKit/Queue/TaskQueueClient.h"

#include "ZRKit/Queue/ZRXPCQueue.h"
#include "ZRKit/Service/Serialization.h"
#include "ZRKit/Values/KitError.h"
#include "platform/base/NSException.h"
#include "platform/broker/BrokerError.h"
#include "platform/operations/WorkerPool.h"

#include <QUuid>
#include <algorithm>
#include <vector>

using namespace zr;

namespace {

constexpr int repliesAtATime = 100;
/// For the clock to end a task whose time has passed, before its message is given up.
constexpr auto timeToTell = std::chrono::seconds(1);

std::vector<BrokerAddress> addressesOf(const QList<QUrl> &urls) {
    std::vector<BrokerAddress> addresses;
    try {
        for (const QUrl &url : urls)
            addresses.push_back(BrokerAddress::fromUrl(url));
    } catch (const BrokerError &error) {
        throw NSException(NSInvalidArgumentException, error.text());
    }
    if (addresses.empty())
        throw NSException(NSInvalidArgumentException, QStringLiteral("there is no broker's URL"));
    return addresses;
}

} // namespace

TaskQueueClient::TaskQueueClient(const Configuration &configuration)
    : m_configuration(configuration), m_queues(configuration.prefix), m_replies(m_queues.replies()) {
    if (!configuration.store.isEmpty())
        m_store = std::make_shared<const ClaimStore>(configuration.store);
    BrokerClient::Plan plan;
    plan.addresses = addressesOf(configuration.brokers);
    plan.queues = m_queues.shared();
    plan.queues.push_back(TaskQueues::replyQueue(m_replies, configuration.replyExpiry));
    // The broker's thread ends with this object, or before.
    plan.consumers = {
        {m_replies, repliesAtATime, [this](const BrokerDelivery &delivery) { received(delivery); }}};
    plan.temporary = {m_replies};
    plan.tick = [this] { tick(); };
    // The first messages of the thread find the object complete.
    const std::lock_guard lock(m_mutex);
    m_broker = std::make_unique<BrokerClient>(std::move(plan));
}

TaskQueueClient::~TaskQueueClient() {
    stop();
}

void TaskQueueClient::send(const QVariant &object, const Sending &sending, const Block &block) {
    const QByteArray identifier = QUuid::createUuid().toByteArray(QUuid::WithoutBraces);
    Task task{block, std::nullopt, {}};
    if (sending.timeToLive.count() > 0)
        task.deadline = BrokerClient::Clock::now() + sending.timeToLive;
    {
        const std::lock_guard lock(m_mutex);
        m_tasks.emplace(identifier, std::move(task));
    }
    const QByteArray body = serialize(object);
    if (!m_store || body.size() <= TaskMessage::largestBody)
        publish(identifier, body, sending);
    else
        WorkerPool::run([self = shared_from_this(), identifier, body, sending] {
            self->publish(identifier, body, sending);
        });
}

void TaskQueueClient::publish(const QByteArray &identifier, const QByteArray &body, const Sending &sending) {
    BrokerMessage message;
    message.messageId = identifier;
    message.replyTo = m_replies;
    if (sending.timeToLive.count() > 0)
        message.expiration = sending.timeToLive;
    if (sending.timeout.count() > 0)
        message.headers.insert(TaskMessage::timeoutHeader, qint64(sending.timeout.count()));
    try {
        TaskMessage::setBody(message, body, m_store.get());
    } catch (const NSException &exception) {
        end(identifier, kitError(ZRXPCQueueTransferError, exception.reason()));
        return;
    }
    auto deadline = BrokerClient::Clock::now() + m_configuration.brokerLimit;
    {
        const QByteArray claim = TaskMessage::claim(message);
        const std::lock_guard lock(m_mutex);
        const auto task = m_tasks.find(identifier);
        if (task != m_tasks.end())
            task->second.claim = claim;
        else if (!claim.isEmpty())
            removeLater(claim);
        if (task == m_tasks.end())
            return;
        // What is sent again later than that would begin its time to live anew.
        if (task->second.deadline)
            deadline = std::min(deadline, *task->second.deadline + timeToTell);
    }
    m_broker->publish(m_queues.tasks(sending.isUrgent), std::move(message), deadline,
                      [this, identifier](BrokerClient::Outcome outcome, const QString &problem) {
                          if (outcome == BrokerClient::Outcome::Unroutable)
                              end(identifier, kitError(ZRXPCQueueTransferError,
                                                       QStringLiteral("the queue of tasks is gone")));
                          else if (outcome != BrokerClient::Outcome::Confirmed)
                              end(identifier, kitError(ZRXPCQueueUnreachableError, problem));
                      });
}

/// A reply for a task that is unknown here came twice, or too late: it is acknowledged, and that is all.
void TaskQueueClient::received(const BrokerDelivery &delivery) {
    const QByteArray claim = TaskMessage::claim(delivery.message);
    const std::optional<Task> task = take(delivery.message.correlationId);
    m_broker->acknowledge(delivery);
    const auto self = weak_from_this().lock();
    if (!task || !self) {
        // One that comes again may still be read by whoever got it first.
        if (delivery.earlierDeliveries == 0)
            removeLater(claim);
        return;
    }
    WorkerPool::run([self, message = delivery.message, task = *task, claim] {
        TaskMessage::Reply reply;
        try {
            reply = TaskMessage::reply(message, self->m_store.get());
        } catch (const NSException &exception) {
            reply.error = kitError(ZRXPCQueueTransferError, exception.reason());
        }
        // A task that was given up is kept with its document, for people.
        if (reply.error.code() != ZRXPCQueueLostError)
            self->removeLater(task.claim);
        self->removeLater(claim);
        if (task.block)
            task.block(reply.result, reply.error);
    });
}

void TaskQueueClient::tick() {
    const auto now = BrokerClient::Clock::now();
    BrokerClient::State state;
    std::vector<QByteArray> expired;
    std::vector<QByteArray> unreachable;
    {
        const std::lock_guard lock(m_mutex);
        state = m_broker->state();
        const bool isOutOfReach = !state.isConnected && now - state.since > m_configuration.brokerLimit;
        for (const auto &[identifier, task] : m_tasks)
            if (task.deadline && *task.deadline <= now)
                expired.push_back(identifier);
            else if (isOutOfReach)
                unreachable.push_back(identifier);
    }
    for (const QByteArray &identifier : expired)
        end(identifier,
            kitError(ZRXPCQueueExpiredError, QStringLiteral("no worker has done the task in its time")));
    for (const QByteArray &identifier : unreachable)
        end(identifier, kitError(ZRXPCQueueUnreachableError, state.problem));
}

void TaskQueueClient::end(const QByteArray &identifier, const NSError &error) {
    const std::optional<Task> task = take(identifier);
    if (!task)
        return;
    removeLater(task->claim);
    if (task->block)
        WorkerPool::run([block = task->block, error] { block({}, error); });
}

std::optional<TaskQueueClient::Task> TaskQueueClient::take(const QByteArray &identifier) {
    const std::lock_guard lock(m_mutex);
    const auto task = m_tasks.extract(identifier);
    return task ? std::optional(std::move(task.mapped())) : std::nullopt;
}

void TaskQueueClient::removeLater(const QByteArray &claim) {
    if (claim.isEmpty() || !m_store)
        return;
    WorkerPool::run([store = m_store, claim] { store->drop(claim); });
}

void TaskQueueClient::stop() {
    m_broker->stop();
    std::unordered_map<QByteArray, Task> tasks;
    {
        const std::lock_guard lock(m_mutex);
        tasks.swap(m_tasks);
    }
    for (const auto &[identifier, task] : tasks) {
        removeLater(task.claim);
        if (task.block)
            WorkerPool::run([block = task.block] {
                block({}, kitError(ZRXPCQueueUnreachableError, QStringLiteral("the client was closed")));
            });
    }
}
