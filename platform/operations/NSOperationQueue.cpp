// SPDX-License-Identifier: MIT
#include "platform/operations/NSOperationQueue.h"

#include "platform/base/NSException.h"
#include "platform/operations/DispatchQueue.h"
#include "platform/operations/NSOperationPrivate.h"
#include "platform/operations/NSOperationQueuePrivate.h"
#include "platform/operations/WorkerPool.h"
#include "platform/values/NSLog.h"

#include <algorithm>
#include <chrono>
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
    const std::size_t runners = missingRunners();
    lock.unlock();
    sendRunners(runners);
}

bool NSOperationQueuePrivate::isSuspended() const {
    const Lock lock(m_mutex);
    return m_suspended;
}

void NSOperationQueuePrivate::setSuspended(bool suspended) {
    Lock lock(m_mutex);
    m_suspended = suspended;
    const std::size_t runners = missingRunners();
    lock.unlock();
    sendRunners(runners);
}

void NSOperationQueuePrivate::add(std::span<const std::shared_ptr<NSOperation>> operations) {
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

    // From here on the operations tell of changes; those from before their items are listed go unheard and
    // are looked for while listing.
    Items added;
    Items over; // freed after the lock is
    for (const auto &operation : operations) {
        Item &item = added.emplace_back();
        item.operation = operation;
        item.announced = operation->d->readinessAnnouncements;
        item.stage = operation->isReady() ? Stage::Ready : Stage::Waiting;
    }
    std::vector<NSOperation *> unsure;
    Lock lock(m_mutex);
    while (!added.empty()) {
        const auto item = added.begin();
        NSOperationPrivate &operation = *item->operation->d;
        if (operation.finishAnnounced) {
            over.splice(over.end(), added, item);
            continue;
        }
        if (operation.readinessAnnouncements != item->announced) {
            item->stage = Stage::Waiting;
            unsure.push_back(item->operation.get());
        }
        item->number = ++m_lastNumber;
        item->priority = operation.priority;
        operation.item = item;
        ++m_count;
        m_readyCount += item->stage == Stage::Ready;
        Items &list = listOf(*item);
        list.splice(list.end(), added, item);
    }
    const std::size_t runners = missingRunners();
    lock.unlock();
    sendRunners(runners);
    for (NSOperation *operation : unsure)
        readinessDidChange(operation);
}

std::vector<std::shared_ptr<NSOperation>> NSOperationQueuePrivate::operations() const {
    const Lock lock(m_mutex);
    std::vector<std::pair<std::uint64_t, std::shared_ptr<NSOperation>>> numbered;
    numbered.reserve(m_count);
    const auto collect = [&](const Items &items) {
        for (const Item &item : items)
            numbered.emplace_back(item.number, item.operation);
    };
    collect(m_waiting);
    collect(m_running);
    std::for_each(m_ready.begin(), m_ready.end(), collect);
    std::sort(numbered.begin(), numbered.end());
    std::vector<std::shared_ptr<NSOperation>> all;
    all.reserve(numbered.size());
    for (auto &[number, operation] : numbered)
        all.push_back(std::move(operation));
    return all;
}

std::size_t NSOperationQueuePrivate::count() const {
    const Lock lock(m_mutex);
    return m_count;
}

void NSOperationQueuePrivate::waitUntilEmpty() {
    Lock lock(m_mutex);
    m_empty.wait(lock, [this] { return m_count == 0; });
}

void NSOperationQueuePrivate::abandon() {
    std::vector<std::shared_ptr<NSOperation>> stranded;
    {
        const Lock lock(m_mutex);
        if (m_count == 0)
            return;
        m_abandoned = true;
        Abandoned &all = abandoned();
        const std::lock_guard allLock(all.mutex);
        all.queues.insert(shared_from_this());
        if (m_suspended || m_limit == 0) {
            const auto collect = [&](const Items &items) {
                for (const Item &item : items)
                    stranded.push_back(item.operation);
            };
            collect(m_waiting);
            std::for_each(m_ready.begin(), m_ready.end(), collect);
        }
    }
    for (const auto &operation : stranded)
        operation->cancel();
    if (limit() == 0)
        setLimit(NSOperationQueueDefaultMaxConcurrentOperationCount);
    setSuspended(false);
}

NSOperationQueuePrivate::Items &NSOperationQueuePrivate::listOf(const Item &item) {
    switch (item.stage) {
    case Stage::Waiting:
        return m_waiting;
    case Stage::Running:
        return m_running;
    case Stage::Ready:
        break;
    }
    return m_ready[std::size_t(2 - item.priority / 4)];
}

void NSOperationQueuePrivate::move(Items::iterator item, Stage stage, int priority) {
    Items &from = listOf(*item);
    m_readyCount -= item->stage == Stage::Ready;
    item->stage = stage;
    item->priority = priority;
    m_readyCount += stage == Stage::Ready;
    Items &to = listOf(*item);
    auto before = to.end();
    if (stage == Stage::Ready)
        while (before != to.begin() && std::prev(before)->number > item->number)
            --before;
    to.splice(before, from, item);
}

void NSOperationQueuePrivate::operationDidFinish(NSOperation *operation) {
    // Freed after the lock is.
    Items gone;
    std::shared_ptr<NSOperationQueuePrivate> self;
    Lock lock(m_mutex);
    if (!operation->d->item)
        return;
    const auto item = *operation->d->item;
    operation->d->item.reset();
    m_readyCount -= item->stage == Stage::Ready;
    gone.splice(gone.end(), listOf(*item), item);
    if (--m_count == 0) {
        m_empty.notify_all();
        if (m_abandoned) {
            self = shared_from_this();
            Abandoned &all = abandoned();
            const std::lock_guard allLock(all.mutex);
            all.queues.erase(self);
        }
    }
    // The place of what ran here is used by its runner.
    const std::size_t runners = operation == runningHere ? 0 : missingRunners();
    lock.unlock();
    sendRunners(runners);
}

void NSOperationQueuePrivate::readinessDidChange(NSOperation *operation) {
    const auto unsettled = [&] {
        return operation->d->item && (*operation->d->item)->stage != Stage::Running;
    };
    unsigned asked = 0;
    {
        const Lock lock(m_mutex);
        if (!unsettled())
            return;
        asked = ++(*operation->d->item)->asked;
    }
    const bool isReady = operation->isReady();
    Lock lock(m_mutex);
    if (!unsettled())
        return;
    const auto item = *operation->d->item;
    if (item->asked != asked || isReady == (item->stage == Stage::Ready))
        return;
    move(item, isReady ? Stage::Ready : Stage::Waiting, item->priority);
    const std::size_t runners = missingRunners();
    lock.unlock();
    sendRunners(runners);
}

void NSOperationQueuePrivate::priorityDidChange(NSOperation *operation) {
    const Lock lock(m_mutex);
    if (!operation->d->item)
        return;
    const auto item = *operation->d->item;
    const int priority = operation->d->priority;
    if (item->priority != priority)
        move(item, item->stage, priority);
}

std::size_t NSOperationQueuePrivate::startable() const {
    if (m_suspended)
        return 0;
    if (m_limit < 0)
        return m_readyCount;
    const auto limit = std::size_t(m_limit);
    return limit > m_running.size() ? std::min(m_readyCount, limit - m_running.size()) : 0;
}

std::size_t NSOperationQueuePrivate::missingRunners() {
    // No more than can make progress: each one that gets a thread sends the next.
    const std::size_t wanted = std::min(startable(), m_onMainThread ? 1 : WorkerPool::shared().processors());
    const std::size_t missing = wanted > m_runners ? wanted - m_runners : 0;
    m_runners += missing;
    return missing;
}

void NSOperationQueuePrivate::sendRunners(std::size_t count) {
    if (count == 0)
        return;
    if (m_onMainThread)
        DispatchQueue::mainQueue().async([self = shared_from_this()] { self->runOnWorker(); });
    else
        WorkerPool::shared().submit(shared_from_this(), count);
}

void NSOperationQueuePrivate::runOnWorker() {
    // A thread that others wait for is given back after this time.
    constexpr auto slice = std::chrono::milliseconds(1);
    const auto begin = std::chrono::steady_clock::now();
    Lock lock(m_mutex);
    --m_runners;
    while (startable() > 0) {
        runOne(lock);
        if (m_onMainThread ||
            (WorkerPool::shared().hasWaitingJobs() && std::chrono::steady_clock::now() - begin > slice))
            break;
    }
    const std::size_t runners = missingRunners();
    lock.unlock();
    sendRunners(runners);
}

void NSOperationQueuePrivate::runOne(Lock &lock) {
    const auto item = std::find_if(m_ready.begin(), m_ready.end(), [](const Items &ready) {
                          return !ready.empty();
                      })->begin();
    std::shared_ptr<NSOperation> operation = item->operation;
    move(item, Stage::Running, item->priority);
    const std::size_t runners = missingRunners();
    lock.unlock();
    sendRunners(runners);

    bool ready = false;
    {
        NSOperationPrivate &state = *operation->d;
        const std::lock_guard operationLock(state.mutex);
        ready = state.cancelled || state.isFree();
        state.claimed = ready;
    }
    if (ready) {
        const auto *outer = std::exchange(runningHere, operation->isConcurrent() ? nullptr : operation.get());
        try {
            operation->start();
        } catch (...) {
            NSLog("Exception in operation %@: %@", operation->name(), NSException::currentDescription());
        }
        runningHere = outer;
    } else {
        // A dependency was added while the operation was on its way.
        {
            const Lock again(m_mutex);
            if (operation->d->item)
                move(*operation->d->item, Stage::Waiting, (*operation->d->item)->priority);
        }
        readinessDidChange(operation.get());
    }
    operation.reset();
    lock.lock();
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
