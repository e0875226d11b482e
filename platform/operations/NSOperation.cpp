// SPDX-License-Identifier: MIT
#include "platform/operations/NSOperation.h"

#include "platform/base/FirstException.h"
#include "platform/base/NSException.h"
#include "platform/observing/NSKeyValueObserving.h"
#include "platform/operations/NSOperationPrivate.h"
#include "platform/operations/NSOperationQueuePrivate.h"
#include "platform/operations/WorkerPool.h"
#include "platform/values/NSLog.h"

#include <algorithm>

using namespace zr;

namespace {

/// Lets go of operations one by one: a long chain of dependencies, each the last owner of the next, would
/// otherwise be destroyed on a stack as deep as the chain.
void release(std::vector<std::shared_ptr<NSOperation>> operations) {
    static thread_local std::vector<std::shared_ptr<NSOperation>> *pending = nullptr;
    if (operations.empty())
        return;
    if (pending) {
        std::move(operations.begin(), operations.end(), std::back_inserter(*pending));
        return;
    }
    pending = &operations;
    while (!operations.empty()) {
        const std::shared_ptr<NSOperation> last = std::move(operations.back());
        operations.pop_back();
    }
    pending = nullptr;
}

} // namespace

NSOperation::NSOperation() : d(std::make_unique<NSOperationPrivate>()) {
}

NSOperation::~NSOperation() {
    release(std::move(d->dependencies));
}

void NSOperation::start() {
    const auto self = shared_from_this();
    if (isFinished())
        return;
    const bool cancelled = isCancelled();
    if (!cancelled && !isReady())
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("The operation is not yet ready to execute."));
    {
        const std::lock_guard lock(d->mutex);
        if (d->begun)
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("The operation is already executing."));
        d->begun = true;
    }
    FirstException failure;
    failure.guard([&] {
        if (cancelled)
            return;
        changeValuesForKeys({NSOperationIsExecutingKey}, [this] { d->executing = true; });
        main();
    });
    failure.guard([this] { finish(); });
    failure.rethrow();
}

void NSOperation::main() {
}

void NSOperation::finish() {
    QStringList keys{NSOperationIsFinishedKey};
    if (d->executing)
        keys.append(NSOperationIsExecutingKey);
    changeValuesForKeys(keys, [this] {
        d->executing = false;
        d->finished = true;
    });
}

void NSOperation::changeValuesForKeys(const QStringList &keys, const std::function<void()> &change) {
    FirstException failure;
    for (const QString &key : keys)
        failure.guard([&] { willChangeValueForKey(key); });
    failure.guard(change);
    std::for_each(keys.crbegin(), keys.crend(),
                  [&](const QString &key) { failure.guard([&] { didChangeValueForKey(key); }); });
    failure.rethrow();
}

void NSOperation::cancel() {
    {
        const std::lock_guard lock(d->mutex);
        if (d->cancelling || d->finishAnnounced)
            return;
        d->cancelling = true;
    }
    QStringList keys{NSOperationIsCancelledKey};
    if (!isReady())
        keys.append(NSOperationIsReadyKey);
    changeValuesForKeys(keys, [this] { d->cancelled = true; });
}

bool NSOperation::isReady() const {
    if (d->cancelled)
        return true;
    const std::lock_guard lock(d->mutex);
    return d->unfinished.empty();
}

bool NSOperation::isExecuting() const {
    return d->executing;
}

bool NSOperation::isFinished() const {
    return d->finished;
}

bool NSOperation::isCancelled() const {
    return d->cancelled;
}

void NSOperation::addDependency(const std::shared_ptr<NSOperation> &operation) {
    if (!operation || operation.get() == this)
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("An operation depends on other operations."));
    bool waits = !operation->isFinished();
    if (waits) {
        const std::lock_guard lock(operation->d->mutex);
        waits = !operation->d->finishAnnounced;
        if (waits)
            operation->d->dependents.push_back(weak_from_this());
    }
    bool wasReady = false;
    {
        const std::lock_guard lock(d->mutex);
        if (d->begun || d->claimed || d->finishAnnounced)
            return;
        if (std::find(d->dependencies.begin(), d->dependencies.end(), operation) != d->dependencies.end())
            return;
        d->dependencies.push_back(operation);
        wasReady = d->unfinished.empty() && !d->cancelled;
        if (waits)
            d->unfinished.insert(operation.get());
    }
    FirstException failure;
    if (waits && wasReady)
        failure.guard([this] { changeValuesForKeys({NSOperationIsReadyKey}, [] {}); });
    // It may have finished between the two locks, when it wasn't waited for yet.
    if (waits && operation->d->finishAnnounced)
        failure.guard([&] { dependencyDidFinish(operation.get()); });
    failure.rethrow();
}

void NSOperation::removeDependency(const std::shared_ptr<NSOperation> &operation) {
    dependencyDidFinish(operation.get());
    const std::lock_guard lock(d->mutex);
    std::erase(d->dependencies, operation);
}

std::vector<std::shared_ptr<NSOperation>> NSOperation::dependencies() const {
    const std::lock_guard lock(d->mutex);
    return d->dependencies;
}

void NSOperation::dependencyDidFinish(const NSOperation *operation) {
    bool isLast = false;
    {
        const std::lock_guard lock(d->mutex);
        if (!d->unfinished.contains(operation))
            return;
        isLast = d->unfinished.size() == 1 && !d->cancelled;
    }
    bool becameReady = false;
    const auto settle = [&] {
        const std::lock_guard lock(d->mutex);
        becameReady = d->unfinished.erase(operation) > 0 && d->unfinished.empty() && !d->cancelled;
    };
    if (isLast) {
        changeValuesForKeys({NSOperationIsReadyKey}, settle);
        return;
    }
    settle();
    if (becameReady) // others have finished meanwhile
        changeValuesForKeys({NSOperationIsReadyKey}, [] {});
}

int NSOperation::queuePriority() const {
    return d->priority;
}

void NSOperation::setQueuePriority(int priority) {
    // Integer division rounds towards zero, which is Normal.
    d->priority = std::clamp(priority / 4, -2, 2) * 4;
    if (const auto queue = d->lockedQueue())
        queue->priorityDidChange(this);
}

QString NSOperation::name() const {
    const std::lock_guard lock(d->mutex);
    return d->name;
}

void NSOperation::setName(const QString &name) {
    const std::lock_guard lock(d->mutex);
    d->name = name;
}

std::function<void()> NSOperation::completionBlock() const {
    const std::lock_guard lock(d->mutex);
    return d->completionBlock;
}

void NSOperation::setCompletionBlock(std::function<void()> block) {
    const std::lock_guard lock(d->mutex);
    std::swap(d->completionBlock, block);
}

void NSOperation::waitUntilFinished() {
    const WorkerPool::Waiting waiting;
    std::unique_lock lock(d->mutex);
    d->finishedCondition.wait(lock, [this] { return d->finishSettled; });
}

void NSOperation::willChangeValueForKey(const QString &key) {
    NSKeyValueObserving::willChangeValueForKey(this, key);
}

void NSOperation::didChangeValueForKey(const QString &key) {
    FirstException failure;
    failure.guard([&] { NSKeyValueObserving::didChangeValueForKey(this, key); });
    failure.guard([&] {
        if (key == NSOperationIsFinishedKey && isFinished())
            didFinish();
    });
    if (key == NSOperationIsReadyKey)
        if (const auto queue = d->lockedQueue())
            queue->readinessDidChange(this);
    failure.rethrow();
}

void NSOperation::didFinish() {
    const auto self = shared_from_this();
    std::vector<std::weak_ptr<NSOperation>> dependents;
    std::function<void()> completion;
    {
        const std::lock_guard lock(d->mutex);
        if (d->finishAnnounced)
            return;
        d->finishAnnounced = true;
        dependents.swap(d->dependents);
        completion.swap(d->completionBlock);
    }
    // Before the queue has room for another one, so that it sees what has become ready.
    FirstException failure;
    for (const auto &waiting : dependents)
        if (const auto dependent = waiting.lock())
            failure.guard([&] { dependent->dependencyDidFinish(this); });
    if (const auto queue = d->lockedQueue())
        queue->operationDidFinish(this);
    {
        // Only now, so that a waiting thread finds the operation gone from its queue.
        const std::lock_guard lock(d->mutex);
        d->finishSettled = true;
        d->finishedCondition.notify_all();
    }
    if (completion)
        WorkerPool::run([self, completion = std::move(completion)] {
            try {
                completion();
            } catch (...) {
                NSLog("Exception in the completion block of operation %@: %@", self->name(),
                      NSException::currentDescription());
            }
        });
    failure.rethrow();
}
