// SPDX-License-Identifier: MIT
#include "platform/operations/NSOperationQueue.h"

#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/operations/DispatchQueue.h"
#include "platform/operations/NSOperationPrivate.h"
#include "platform/operations/NSOperationQueuePrivate.h"
#include "platform/operations/WorkerPool.h"
#include "platform/values/NSLog.h"

#include <algorithm>
#include <utility>

using namespace zr;

namespace {

/// The plain operation that a runner runs on this thread.
thread_local const NSOperation *runningHere = nullptr;

} // namespace

QString NSOperationQueuePrivate::name() const {
    const Lock lock(m_mutex);
    return m_name;
}

void NSOperationQueuePrivate::setName(const QString &name) {
    const Lock lock(m_mutex);
    m_name = name;
}

int NSOperationQueuePrivate::limit() const {
    const Lock lock(m_mutex);
    return m_limit;
}

void NSOperationQueuePrivate::setLimit(int limit) {
    Lock lock(m_mutex);
    m_limit = limit;
    sendRunners(lock);
}

bool NSOperationQueuePrivate::isSuspended() const {
    const Lock lock(m_mutex);
    return m_suspended;
}

void NSOperationQueuePrivate::setSuspended(bool suspended) {
    Lock lock(m_mutex);
    m_suspended = suspended;
    sendRunners(lock);
}

/// Makes all of them this queue's, or none.
void NSOperationQueuePrivate::claim(std::span<const std::shared_ptr<NSOperation>> operations) {
    std::size_t claimed = 0;
    const char *refusal = nullptr;
    for (; claimed < operations.size() && !refusal; claimed += !refusal) {
        const auto &operation = operations[claimed];
        if (!operation) {
            refusal = "An operation is nil.";
        } else if (operation->isFinished()) {
            refusal = "The operation is finished and cannot be enqueued.";
        } else if (operation->isExecuting()) {
            refusal = "The operation is executing and cannot be enqueued.";
        } else {
            const std::lock_guard lock(operation->d->mutex);
            if (operation->d->enqueued) {
                refusal = "The operation is already enqueued on a queue.";
            } else {
                operation->d->enqueued = true;
                operation->d->queue = weak_from_this();
            }
        }
    }
    if (!refusal)
        return;
    while (claimed > 0) {
        NSOperationPrivate &operation = *operations[--claimed]->d;
        const std::lock_guard lock(operation.mutex);
        operation.enqueued = false;
        operation.queue.reset();
    }
    throw NSException(NSInvalidArgumentException, QString::fromLatin1(refusal));
}

void NSOperationQueuePrivate::add(std::span<const std::shared_ptr<NSOperation>> operations) {
    claim(operations);
    std::vector<NSOperation *> added;
    {
        const Lock lock(m_mutex);
        for (const auto &operation : operations) {
            if (operation->d->finishAnnounced)
                continue; // meanwhile, before it was listed
            operation->d->number = ++m_lastNumber;
            m_items[m_lastNumber] = {operation, Stage::Waiting, operation->d->priority};
            added.push_back(operation.get());
        }
    }
    settle(added);
}

std::vector<std::shared_ptr<NSOperation>> NSOperationQueuePrivate::operations() const {
    const Lock lock(m_mutex);
    std::vector<std::shared_ptr<NSOperation>> all;
    for (const auto &[number, item] : m_items)
        all.push_back(item.operation);
    return all;
}

std::size_t NSOperationQueuePrivate::count() const {
    const Lock lock(m_mutex);
    return m_items.size();
}

void NSOperationQueuePrivate::waitUntilEmpty() {
    const WorkerPool::Waiting waiting;
    Lock lock(m_mutex);
    m_empty.wait(lock, [this] { return m_items.empty(); });
}

void NSOperationQueuePrivate::abandon() {
    std::vector<std::shared_ptr<NSOperation>> stranded;
    {
        const Lock lock(m_mutex);
        if (m_items.empty())
            return;
        m_self = shared_from_this();
        if (m_suspended || m_limit == 0)
            for (const auto &[number, item] : m_items)
                if (item.stage != Stage::Running)
                    stranded.push_back(item.operation);
    }
    for (const auto &operation : stranded)
        operation->cancel();
    if (limit() == 0)
        setLimit(NSOperationQueueDefaultMaxConcurrentOperationCount);
    setSuspended(false);
}

NSOperationQueuePrivate::Item *NSOperationQueuePrivate::itemOf(const NSOperation *operation) {
    const auto at = m_items.find(operation->d->number);
    return at == m_items.end() ? nullptr : &at->second;
}

void NSOperationQueuePrivate::move(Item &item, Stage stage, int priority) {
    const std::uint64_t number = item.operation->d->number;
    if (item.stage == Stage::Ready)
        m_ready.erase({-item.priority, number});
    m_running -= item.stage == Stage::Running;
    item.stage = stage;
    item.priority = priority;
    if (stage == Stage::Ready)
        m_ready.insert({-priority, number});
    m_running += stage == Stage::Running;
}

void NSOperationQueuePrivate::operationDidFinish(NSOperation *operation) {
    // Released after the lock.
    std::shared_ptr<NSOperation> gone;
    std::shared_ptr<NSOperationQueuePrivate> self;
    Lock lock(m_mutex);
    Item *const item = itemOf(operation);
    if (!item)
        return;
    move(*item, Stage::Waiting, item->priority);
    gone = std::move(item->operation);
    m_items.erase(std::exchange(operation->d->number, 0));
    if (m_items.empty()) {
        m_empty.notify_all();
        self.swap(m_self);
    }
    // An operation that runs here frees its place when start() has returned.
    if (operation != runningHere)
        sendRunners(lock);
}

void NSOperationQueuePrivate::settle(std::span<NSOperation *const> operations) {
    struct Question {
        NSOperation *operation;
        unsigned number;
        bool isReady;
    };
    std::vector<Question> questions;
    {
        const Lock lock(m_mutex);
        for (NSOperation *operation : operations)
            if (Item *item = itemOf(operation); item && item->stage != Stage::Running)
                questions.push_back({operation, ++item->asked, false});
    }
    for (Question &question : questions)
        question.isReady = question.operation->isReady();
    Lock lock(m_mutex);
    for (const Question &question : questions) {
        Item *const item = itemOf(question.operation);
        if (item && item->stage != Stage::Running && item->asked == question.number)
            move(*item, question.isReady ? Stage::Ready : Stage::Waiting, item->priority);
    }
    sendRunners(lock);
}

void NSOperationQueuePrivate::priorityDidChange(NSOperation *operation) {
    const Lock lock(m_mutex);
    if (Item *item = itemOf(operation))
        move(*item, item->stage, operation->d->priority);
}

std::size_t NSOperationQueuePrivate::startable() const {
    if (m_suspended)
        return 0;
    if (m_limit < 0)
        return m_ready.size();
    const auto limit = std::size_t(m_limit);
    return limit > m_running ? std::min(m_ready.size(), limit - m_running) : 0;
}

void NSOperationQueuePrivate::sendRunners(Lock &lock) {
    // No more than can have a thread at once; each runner that gets one sends the next.
    const std::size_t wanted =
        std::min<std::size_t>(startable(), m_onMainThread ? 1 : WorkerPool::mostThreads);
    const std::size_t missing = wanted > m_runners ? wanted - m_runners : 0;
    m_runners += missing;
    lock.unlock();
    for (std::size_t n = 0; n < missing; ++n) {
        auto runner = [self = shared_from_this()] { self->runOne(); };
        if (m_onMainThread)
            DispatchQueue::mainQueue().async(std::move(runner));
        else
            WorkerPool::run(std::move(runner));
    }
}

void NSOperationQueuePrivate::runOne() {
    Lock lock(m_mutex);
    --m_runners;
    if (startable() == 0)
        return;
    Item &item = m_items.at(m_ready.begin()->second);
    const std::shared_ptr<NSOperation> operation = item.operation;
    move(item, Stage::Running, item.priority);
    sendRunners(lock);

    bool ready = false;
    {
        NSOperationPrivate &state = *operation->d;
        const std::lock_guard operationLock(state.mutex);
        ready = state.cancelled || state.unfinished.empty();
        state.claimed = ready;
    }
    if (!ready) {
        // A dependency was added while the operation was on its way.
        {
            const Lock again(m_mutex);
            if (Item *back = itemOf(operation.get()))
                move(*back, Stage::Waiting, back->priority);
        }
        readinessDidChange(operation.get());
        return;
    }
    const auto *outer = std::exchange(runningHere, operation->isConcurrent() ? nullptr : operation.get());
    try {
        operation->start();
    } catch (...) {
        NSLog("Exception in operation %@: %@", operation->name(), NSException::currentDescription());
    }
    runningHere = outer;
    lock.lock();
    sendRunners(lock);
}

NSOperationQueue::NSOperationQueue(QObject *parent)
    : QObject(parent), d(std::make_shared<NSOperationQueuePrivate>(false)) {
}

NSOperationQueue::NSOperationQueue(std::shared_ptr<NSOperationQueuePrivate> state) : d(std::move(state)) {
}

NSOperationQueue::~NSOperationQueue() {
    d->abandon();
}

NSOperationQueue &NSOperationQueue::mainQueue() {
    struct Main : NSOperationQueue {
        Main() : NSOperationQueue(std::make_shared<NSOperationQueuePrivate>(true)) { d->setLimit(1); }
    };
    static NeverDestroyed<Main> queue;
    return *queue;
}

QString NSOperationQueue::name() const {
    return d->name();
}

void NSOperationQueue::setName(const QString &name) {
    d->setName(name);
}

int NSOperationQueue::maxConcurrentOperationCount() const {
    return d->limit();
}

void NSOperationQueue::setMaxConcurrentOperationCount(int count) {
    if (count < NSOperationQueueDefaultMaxConcurrentOperationCount)
        throw NSException(NSInvalidArgumentException, QStringLiteral("A queue's limit cannot be negative."));
    if (this != &mainQueue())
        d->setLimit(count);
}

bool NSOperationQueue::isSuspended() const {
    return d->isSuspended();
}

void NSOperationQueue::setSuspended(bool suspended) {
    d->setSuspended(suspended);
}

void NSOperationQueue::addOperation(const std::shared_ptr<NSOperation> &operation) {
    d->add({&operation, 1});
}

void NSOperationQueue::addOperations(const std::vector<std::shared_ptr<NSOperation>> &operations,
                                     bool waitUntilFinished) {
    d->add(operations);
    if (waitUntilFinished)
        for (const auto &operation : operations)
            operation->waitUntilFinished();
}

std::shared_ptr<NSBlockOperation> NSOperationQueue::addOperationWithBlock(std::function<void()> block) {
    auto operation = std::make_shared<NSBlockOperation>(std::move(block));
    addOperation(operation);
    return operation;
}

std::vector<std::shared_ptr<NSOperation>> NSOperationQueue::operations() const {
    return d->operations();
}

int NSOperationQueue::operationCount() const {
    return int(d->count());
}

void NSOperationQueue::cancelAllOperations() {
    for (const auto &operation : d->operations())
        operation->cancel();
}

void NSOperationQueue::waitUntilAllOperationsAreFinished() {
    d->waitUntilEmpty();
}
