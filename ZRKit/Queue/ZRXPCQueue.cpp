// SPDX-License-Identifier: MIT
#include "ZRKit/Queue/ZRXPCQueue.h"

#include "ZRKit/Operations/ZROperationQueue.h"
#include "ZRKit/Queue/TaskQueueClient.h"
#include "platform/base/NSException.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSNull.h"

#include <algorithm>

using namespace zr;

namespace {

/// What RabbitMQ keeps its times in milliseconds in, 32 bits, ends after 49 days.
constexpr std::chrono::milliseconds longestTime = std::chrono::hours(24 * 49);

std::shared_ptr<TaskQueueClient> makeClient(const ZRXPCQueue::Options &options) {
    using std::chrono::milliseconds;
    if (options.timeToLive < milliseconds(0) || options.brokerLimit <= milliseconds(0) ||
        options.replyExpiry < std::chrono::seconds(1))
        throw NSException(NSInvalidArgumentException, QStringLiteral("a time of the queue is too short"));
    if (std::max({options.timeToLive, options.brokerLimit, options.replyExpiry}) > longestTime)
        throw NSException(NSInvalidArgumentException, QStringLiteral("a time of the queue is too long"));
    return std::make_shared<TaskQueueClient>(TaskQueueClient::Configuration{
        options.brokers, options.prefix, options.store, options.brokerLimit, options.replyExpiry});
}

} // namespace

/// One task on its way to a worker and back. It finishes when it is answered, also if it was cancelled after its start.
class ZRXPCQueue::Task : public ZROperationConcurrent {
public:
    Task(std::shared_ptr<TaskQueueClient> client, bool isUrgent, std::chrono::milliseconds timeToLive,
         QVariant object)
        : m_client(std::move(client)), m_sending{isUrgent, timeToLive, {}}, m_object(std::move(object)) {}

    void concurrentMain() override {
        const auto self = std::static_pointer_cast<Task>(shared_from_this());
        m_client->send(m_object, m_sending, [self](const QVariant &answer, const NSError &problem) {
            // Read after the end only, which orders it.
            self->result = answer;
            self->error = problem;
            self->completeOperation();
        });
    }

    QVariant result;
    NSError error;

private:
    const std::shared_ptr<TaskQueueClient> m_client;
    const TaskQueueClient::Sending m_sending;
    const QVariant m_object;
};

ZRXPCQueue::ZRXPCQueue(const Options &options)
    : m_options(options), m_client(makeClient(options)), m_queue(std::make_unique<NSOperationQueue>()) {
    m_queue->setMaxConcurrentOperationCount(1);
}

ZRXPCQueue::~ZRXPCQueue() {
    m_client->stop();
}

void ZRXPCQueue::performXPCBoot() {
    add(QVariantMap{{QStringLiteral("__boot"), true}});
}

void ZRXPCQueue::performXPCAsyncWithObject(const QVariant &object, const Block &block) {
    m_client->send(object, {m_options.isUrgent, m_options.timeToLive, {}}, block);
}

QVariant ZRXPCQueue::performXPCWithObject(const QVariant &object) {
    const auto task = add(object);
    task->waitUntilFinished();
    if (NSIsNil(task->result))
        NSLog("Error while executing XPC task occured: %@", task->error);
    return task->result;
}

void ZRXPCQueue::performXPCSynchronousWithObject(const QVariant &object, const Block &block) {
    const auto task = add(object);
    task->waitUntilFinished();
    if (block)
        block(task->result, task->error);
}

std::shared_ptr<ZRXPCQueue::Task> ZRXPCQueue::add(const QVariant &object) {
    auto task = std::make_shared<Task>(m_client, m_options.isUrgent, m_options.timeToLive, object);
    m_queue->addOperation(task);
    return task;
}

NSOperationQueue *ZRXPCQueue::operationQueue() const {
    return m_queue.get();
}

#include "moc_ZRXPCQueue.cpp"
