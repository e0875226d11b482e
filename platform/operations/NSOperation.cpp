// SPDX-License-Identifier: MIT
#include "platform/operations/NSOperation.h"

#include "platform/base/NSException.h"
#include "platform/observing/NSKeyValueObserving.h"
#include "platform/operations/NSOperationPrivate.h"
#include "platform/operations/NSOperationQueuePrivate.h"
#include "platform/operations/WorkerPool.h"
#include "platform/values/NSLog.h"

#include <algorithm>
#include <exception>

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
    if (d->extras)
        release(std::move(d->extras->dependencies));
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
    if (cancelled) {
        finish();
        return;
    }
    std::exception_ptr failure;
    try {
        willChangeValueForKey(NSOperationIsExecutingKey);
        d->executing = true;
        didChangeValueForKey(NSOperationIsExecutingKey);
        main();
    } catch (...) {
        failure = std::current_exception();
    }
    try {
        finish();
    } catch (...) {
        if (!failure)
            failure = std::current_exception();
    }
    if (failure)
        std::rethrow_exception(failure);
}

void NSOperation::main() {
}

void NSOperation::finish() {
    // Whatever observers throw, the operation finishes.
    std::exception_ptr failure;
    const auto announce = [&](void (NSOperation::*change)(const QString &), const QString &key) {
        try {
            (this->*change)(key);
        } catch (...) {
            if (!failure)
                failure = std::current_exception();
        }
    };
    const bool wasExecuting = d->executing;
    announce(&NSOperation::willChangeValueForKey, NSOperationIsFinishedKey);
    if (wasExecuting)
        announce(&NSOperation::willChangeValueForKey, NSOperationIsExecutingKey);
    d->executing = false;
    d->finished = true;
    if (wasExecuting)
        announce(&NSOperation::didChangeValueForKey, NSOperationIsExecutingKey);
    announce(&NSOperation::didChangeValueForKey, NSOperationIsFinishedKey);
    if (failure)
        std::rethrow_exception(failure);
}

void NSOperation::cancel() {
    {
        const std::lock_guard lock(d->mutex);
        if (d->cancelling || d->finishAnnounced)
            return;
        d->cancelling = true;
    }
    const bool becomesReady = !isReady();
    willChangeValueForKey(NSOperationIsCancelledKey);
    if (becomesReady)
        willChangeValueForKey(NSOperationIsReadyKey);
    d->cancelled = true;
    if (becomesReady)
        didChangeValueForKey(NSOperationIsReadyKey);
    didChangeValueForKey(NSOperationIsCancelledKey);
}

bool NSOperation::isReady() const {
    if (d->cancelled)
        return true;
    const std::lock_guard lock(d->mutex);
    return d->isFree();
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
            operation->d->madeExtras().dependents.push_back(weak_from_this());
    }
    bool wasReady = false;
    {
        const std::lock_guard lock(d->mutex);
        if (d->begun || d->claimed || d->finishAnnounced)
            return;
        NSOperationExtras &extras = d->madeExtras();
        if (std::find(extras.dependencies.begin(), extras.dependencies.end(), operation) !=
            extras.dependencies.end())
            return;
        extras.dependencies.push_back(operation);
        wasReady = extras.unfinished.empty() && !d->cancelled;
        if (waits)
            extras.unfinished.insert(operation.get());
    }
    if (waits && wasReady) {
        willChangeValueForKey(NSOperationIsReadyKey);
        didChangeValueForKey(NSOperationIsReadyKey);
    }
    // It may have finished between the two locks, when it wasn't waited for yet.
    bool finishedMeanwhile = false;
    {
        const std::lock_guard lock(operation->d->mutex);
        finishedMeanwhile = waits && operation->d->finishAnnounced;
    }
    if (finishedMeanwhile)
        dependencyDidFinish(operation.get());
}

void NSOperation::removeDependency(const std::shared_ptr<NSOperation> &operation) {
    dependencyDidFinish(operation.get());
    const std::lock_guard lock(d->mutex);
    if (d->extras)
        std::erase(d->extras->dependencies, operation);
}

std::vector<std::shared_ptr<NSOperation>> NSOperation::dependencies() const {
    const std::lock_guard lock(d->mutex);
    return d->extras ? d->extras->dependencies : std::vector<std::shared_ptr<NSOperation>>();
}

void NSOperation::dependencyDidFinish(const NSOperation *operation) {
    bool announced = false;
    {
        const std::lock_guard lock(d->mutex);
        if (!d->extras || !d->extras->unfinished.contains(operation))
            return;
        announced = d->extras->unfinished.size() == 1 && !d->cancelled;
    }
    if (announced)
        willChangeValueForKey(NSOperationIsReadyKey);
    bool becameReady = false;
    {
        const std::lock_guard lock(d->mutex);
        becameReady = d->extras->unfinished.erase(operation) > 0 && d->isFree() && !d->cancelled;
    }
    if (becameReady && !announced)
        willChangeValueForKey(NSOperationIsReadyKey);
    if (becameReady || announced)
        didChangeValueForKey(NSOperationIsReadyKey);
}

int NSOperation::queuePriority() const {
    return d->priority;
}

void NSOperation::setQueuePriority(int priority) {
    // Integer division rounds towards zero, which is Normal.
    d->priority = std::clamp(priority / 4, -2, 2) * 4;
    std::shared_ptr<NSOperationQueuePrivate> queue;
    {
        const std::lock_guard lock(d->mutex);
        queue = d->queue.lock();
    }
    if (queue)
        queue->priorityDidChange(this);
}

QString NSOperation::name() const {
    const std::lock_guard lock(d->mutex);
    return d->extras ? d->extras->name : QString();
}

void NSOperation::setName(const QString &name) {
    const std::lock_guard lock(d->mutex);
    d->madeExtras().name = name;
}

std::function<void()> NSOperation::completionBlock() const {
    const std::lock_guard lock(d->mutex);
    return d->extras ? d->extras->completionBlock : nullptr;
}

void NSOperation::setCompletionBlock(std::function<void()> block) {
    const std::lock_guard lock(d->mutex);
    std::swap(d->madeExtras().completionBlock, block);
}

void NSOperation::waitUntilFinished() {
    std::unique_lock lock(d->mutex);
    d->madeExtras().finishedCondition.wait(lock, [this] { return d->finishSettled; });
}

void NSOperation::willChangeValueForKey(const QString &key) {
    NSKeyValueObserving::willChangeValueForKey(this, key);
}

void NSOperation::didChangeValueForKey(const QString &key) {
    std::exception_ptr failure;
    try {
        NSKeyValueObserving::didChangeValueForKey(this, key);
    } catch (...) {
        failure = std::current_exception();
    }
    if (key == NSOperationIsFinishedKey && isFinished()) {
        didFinish();
    } else if (key == NSOperationIsReadyKey) {
        ++d->readinessAnnouncements;
        std::shared_ptr<NSOperationQueuePrivate> queue;
        {
            const std::lock_guard lock(d->mutex);
            queue = d->queue.lock();
        }
        if (queue)
            queue->readinessDidChange(this);
    }
    if (failure)
        std::rethrow_exception(failure);
}

void NSOperation::didFinish() {
    const auto self = shared_from_this();
    std::vector<std::weak_ptr<NSOperation>> dependents;
    std::shared_ptr<NSOperationQueuePrivate> queue;
    std::function<void()> completion;
    {
        const std::lock_guard lock(d->mutex);
        if (d->finishAnnounced)
            return;
        d->finishAnnounced = true;
        if (d->extras) {
            dependents.swap(d->extras->dependents);
            completion.swap(d->extras->completionBlock);
        }
        queue = d->queue.lock();
    }
    if (queue)
        queue->operationDidFinish(this);
    {
        // Only now, so that who waited for the operation finds it gone from its queue.
        const std::lock_guard lock(d->mutex);
        d->finishSettled = true;
        if (d->extras)
            d->extras->finishedCondition.notify_all();
    }
    for (const auto &waiting : dependents)
        if (const auto dependent = waiting.lock())
            dependent->dependencyDidFinish(this);
    if (completion)
        WorkerPool::shared().submit([self, completion = std::move(completion)] {
            try {
                completion();
            } catch (...) {
                NSLog("Exception in the completion block of operation %@: %@", self->name(),
                      NSException::currentDescription());
            }
        });
}
