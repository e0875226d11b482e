// SPDX-License-Identifier: MIT
#include "platform/operations/NSOperationQueue.h"

#include "platform/operations/DispatchQueue.h"
#include "platform/operations/NSOperationPrivate.h"
#include "platform/operations/NSOperationQueuePrivate.h"
#include "platform/operations/WorkerPool.h"
#include "platform/values/NSException.h"
#include "platform/values/NSLog.h"

#include <algorithm>
#include <limits>
#include <unordered_set>

namespace {

/// Queues without a queue object, kept until their last operation has finished.
struct Abandoned {
    std::mutex mutex;
    std::unordered_set<std::shared_ptr<NSOperationQueuePrivate>> queues;
};

Abandoned &abandoned() {
    static auto *all = new Abandoned;
    return *all;
}

/// The plain operation that a runner is running on this thread. When it finishes, its place is used by the
/// runner.
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

void NSOperationQueuePrivate::add(const std::vector<std::shared_ptr<NSOperation>> &operations) {
    // First all are claimed, so that a refused one leaves the queue as it was.
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
    if (refusal) {
        while (claimed > 0) {
            NSOperationPrivate &operation = *operations[--claimed]->d;
            const std::lock_guard lock(operation.mutex);
            operation.enqueued = false;
            operation.queue.reset();
        }
        throw NSException(NSInvalidArgumentException, QString::fromLatin1(refusal));
    }

    {
        const Lock lock(m_mutex);
        for (const auto &operation : operations) {
            m_items.emplace_hint(m_items.end(), ++m_lastNumber,
                                 Item{operation, Stage::Waiting, operation->queuePriority()});
            m_numbers.emplace(operation.get(), m_lastNumber);
        }
    }
    for (const auto &operation : operations) {
        readinessDidChange(operation.get());
        // A change of priority, or the end, before the operation was listed went unheard.
        priorityDidChange(operation.get());
        bool finished = false;
        {
            const std::lock_guard lock(operation->d->mutex);
            finished = operation->d->finishAnnounced;
        }
        if (finished)
            operationDidFinish(operation.get());
    }
}

std::vector<std::shared_ptr<NSOperation>> NSOperationQueuePrivate::operations() const {
    const Lock lock(m_mutex);
    std::vector<std::shared_ptr<NSOperation>> all;
    all.reserve(m_items.size());
    for (const auto &[number, item] : m_items)
        all.push_back(item.operation);
    return all;
}

std::size_t NSOperationQueuePrivate::count() const {
    const Lock lock(m_mutex);
    return m_items.size();
}

void NSOperationQueuePrivate::waitUntilEmpty() {
    Lock lock(m_mutex);
    m_empty.wait(lock, [this] { return m_items.empty(); });
}

void NSOperationQueuePrivate::abandon() {
    std::vector<std::shared_ptr<NSOperation>> stranded;
    {
        Lock lock(m_mutex);
        if (m_items.empty())
            return;
        m_abandoned = true;
        Abandoned &all = abandoned();
        const std::lock_guard allLock(all.mutex);
        all.queues.insert(shared_from_this());
        if (m_suspended || m_limit == 0)
            for (const auto &[number, item] : m_items)
                if (item.stage != Stage::Running)
                    stranded.push_back(item.operation);
    }
    for (const auto &operation : stranded)
        operation->cancel();
    Lock lock(m_mutex);
    m_suspended = false;
    if (m_limit == 0)
        m_limit = NSOperationQueueDefaultMaxConcurrentOperationCount;
    sendRunners(lock);
}

NSOperationQueuePrivate::Items::iterator NSOperationQueuePrivate::find(const NSOperation *operation) {
    const auto number = m_numbers.find(operation);
    return number == m_numbers.end() ? m_items.end() : m_items.find(number->second);
}

void NSOperationQueuePrivate::leaveReady(Items::iterator item) {
    ready(item->second.priority).erase(item->first);
    --m_readyCount;
}

void NSOperationQueuePrivate::operationDidFinish(const NSOperation *operation) {
    // Declared before the lock: the operation may be freed here, and that is no business of the lock.
    std::shared_ptr<NSOperation> gone;
    std::shared_ptr<NSOperationQueuePrivate> self;
    Lock lock(m_mutex);
    const auto item = find(operation);
    if (item == m_items.end())
        return;
    if (item->second.stage == Stage::Ready)
        leaveReady(item);
    else if (item->second.stage == Stage::Running)
        --m_running;
    gone = std::move(item->second.operation);
    m_numbers.erase(operation);
    m_items.erase(item);
    if (m_items.empty()) {
        m_empty.notify_all();
        if (m_abandoned) {
            self = shared_from_this();
            Abandoned &all = abandoned();
            const std::lock_guard allLock(all.mutex);
            all.queues.erase(self);
        }
    }
    if (operation != runningHere)
        sendRunners(lock);
}

void NSOperationQueuePrivate::readinessDidChange(NSOperation *operation) {
    unsigned asked = 0;
    {
        const Lock lock(m_mutex);
        const auto item = find(operation);
        if (item == m_items.end() || item->second.stage == Stage::Running)
            return;
        asked = ++item->second.asked;
    }
    const bool isReady = operation->isReady();
    Lock lock(m_mutex);
    const auto item = find(operation);
    if (item == m_items.end() || item->second.stage == Stage::Running || item->second.asked != asked ||
        isReady == (item->second.stage == Stage::Ready))
        return;
    if (!isReady) {
        leaveReady(item);
        item->second.stage = Stage::Waiting;
        return;
    }
    auto &list = ready(item->second.priority);
    list.emplace_hint(list.end(), item->first, operation);
    ++m_readyCount;
    item->second.stage = Stage::Ready;
    sendRunners(lock);
}

void NSOperationQueuePrivate::priorityDidChange(NSOperation *operation) {
    const Lock lock(m_mutex);
    const auto item = find(operation);
    if (item == m_items.end())
        return;
    const int priority = operation->queuePriority();
    if (item->second.priority == priority)
        return;
    if (item->second.stage == Stage::Ready) {
        ready(item->second.priority).erase(item->first);
        ready(priority).emplace(item->first, operation);
    }
    item->second.priority = priority;
}

void NSOperationQueuePrivate::sendRunners(Lock &lock) {
    std::size_t wanted = 0;
    if (!m_suspended) {
        const std::size_t places = m_limit < 0 ? std::numeric_limits<std::size_t>::max()
                                   : std::size_t(m_limit) > m_running ? std::size_t(m_limit) - m_running
                                                                      : 0;
        wanted = std::min(m_readyCount, places);
    }
    const std::size_t more = wanted > m_runners ? wanted - m_runners : 0;
    m_runners += more;
    lock.unlock();
    if (more == 0)
        return;
    const auto runner = [self = shared_from_this()] { self->run(); };
    if (!m_onMainThread) {
        WorkerPool::shared().submit(runner, more);
        return;
    }
    for (std::size_t i = 0; i < more; ++i)
        DispatchQueue::mainQueue().async(runner);
}

void NSOperationQueuePrivate::run() {
    Lock lock(m_mutex);
    --m_runners;
    while (runOne(lock)) {
        // What became free is used by this very thread, unless others wait for a thread.
        if (m_runners > 0 || m_onMainThread || WorkerPool::shared().hasWaitingTasks())
            break;
    }
    sendRunners(lock);
}

bool NSOperationQueuePrivate::runOne(Lock &lock) {
    if (m_suspended || m_readyCount == 0 || (m_limit >= 0 && m_running >= std::size_t(m_limit)))
        return false;
    const auto list =
        std::find_if(m_ready.begin(), m_ready.end(), [](const auto &ready) { return !ready.empty(); });
    const auto item = m_items.find(list->begin()->first);
    leaveReady(item);
    item->second.stage = Stage::Running;
    ++m_running;
    std::shared_ptr<NSOperation> operation = item->second.operation;
    lock.unlock();

    bool stillReady = false;
    {
        NSOperationPrivate &state = *operation->d;
        const std::lock_guard operationLock(state.mutex);
        stillReady = state.cancelled || state.unfinished.empty();
        state.claimed = stillReady;
    }
    if (!stillReady) {
        // A dependency was added while the operation was on its way.
        lock.lock();
        if (const auto again = find(operation.get()); again != m_items.end()) {
            again->second.stage = Stage::Waiting;
            --m_running;
        }
        lock.unlock();
        readinessDidChange(operation.get());
    } else {
        const auto *outer = std::exchange(runningHere, operation->isConcurrent() ? nullptr : operation.get());
        try {
            operation->start();
        } catch (...) {
            NSLog("Exception in operation %@: %@", operation->name(), NSException::currentDescription());
        }
        runningHere = outer;
    }
    operation.reset();
    lock.lock();
    return true;
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
    static NSOperationQueue *queue = [] {
        auto state = std::make_shared<NSOperationQueuePrivate>(true);
        state->setLimit(1);
        return new NSOperationQueue(std::move(state));
    }();
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
    d->add({operation});
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
