// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/ZROperationQueue.h"

#include "ZRKit/Values/ZRMacros.h"
#include "platform/operations/NSThread.h"

void ZROperation::main() {
    if (isCancelled())
        return;
    try {
        if (m_blockWithOperation)
            m_blockWithOperation(std::static_pointer_cast<ZROperation>(shared_from_this()));
    } catch (...) {
        return; // by design without a trace
    }
}

std::shared_ptr<ZROperationConcurrent> ZROperationConcurrent::self() {
    return std::static_pointer_cast<ZROperationConcurrent>(shared_from_this());
}

void ZROperationConcurrent::start() {
    const auto operation = self();
    if (isCancelled()) {
        willChangeValueForKey(NSOperationIsFinishedKey);
        m_finished = true;
        didChangeValueForKey(NSOperationIsFinishedKey);
        return;
    }
    willChangeValueForKey(NSOperationIsExecutingKey);
    // The thread comes first, the flag second: callers rely on this order.
    NSThread::detachNewThread([operation] { operation->main(); });
    m_executing = true;
    didChangeValueForKey(NSOperationIsExecutingKey);
}

void ZROperationConcurrent::main() {
    if (isCancelled())
        return;
    try {
        if (m_blockConcurrentOperation)
            m_blockConcurrentOperation(self());
        else
            concurrentMain();
    } catch (...) {
        return; // by design without a trace
    }
}

void ZROperationConcurrent::concurrentMain() {
    ZRKit::zxAssertFailed("-[ZROperationConcurrent concurrentMain]", "0", "ZROperationQueue", 104,
                          "You should override this method");
    completeOperation();
}

void ZROperationConcurrent::completeOperation() {
    // Once finished, the queue lets go of the operation, which may be the last to hold it.
    const auto operation = self();
    willChangeValueForKey(NSOperationIsFinishedKey);
    willChangeValueForKey(NSOperationIsExecutingKey);
    m_executing = false;
    m_finished = true;
    didChangeValueForKey(NSOperationIsExecutingKey);
    didChangeValueForKey(NSOperationIsFinishedKey);

    ConcurrentBlock completion;
    {
        const std::lock_guard lock(m_completionMutex);
        completion.swap(m_completionBlockConcurrentOperation);
    }
    if (completion)
        completion(operation);
}

#include "moc_ZROperationQueue.cpp"
