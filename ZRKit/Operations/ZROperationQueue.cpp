// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/ZROperationQueue.h"

#include "ZRKit/Values/ZRMacros.h"
#include "platform/base/FirstException.h"
#include "platform/operations/NSThread.h"

using namespace zr;

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
        changeValuesForKeys({NSOperationIsFinishedKey}, [this] { m_finished = true; });
        return;
    }
    bool hasThread = false;
    try {
        changeValuesForKeys({NSOperationIsExecutingKey}, [&] {
            // The thread comes first, the flag second: callers rely on this order.
            NSThread::detachNewThread([operation] { operation->main(); });
            hasThread = true;
            m_executing = true;
        });
    } catch (...) {
        // The queue logs it. What observers throw doesn't keep the work from being done; without a thread nobody
        // would ever do it.
        if (!hasThread)
            completeOperation();
        throw;
    }
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
    FirstException failure;
    failure.guard([this] {
        changeValuesForKeys({NSOperationIsFinishedKey, NSOperationIsExecutingKey}, [this] {
            m_executing = false;
            m_finished = true;
        });
    });
    ConcurrentBlock completion;
    {
        const std::lock_guard lock(m_completionMutex);
        completion.swap(m_completionBlockConcurrentOperation);
    }
    if (completion)
        failure.guard([&] { completion(operation); });
    failure.rethrow();
}

#include "moc_ZROperationQueue.cpp"
