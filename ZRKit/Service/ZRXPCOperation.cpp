// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRXPCOperation.h"

#include "ZRKit/Service/XPCClient.h"

ZRXPCOperation::ZRXPCOperation(const ZRXPC &xpcHelper) : m_xpcHelper(xpcHelper.m_helper) {
}

void ZRXPCOperation::concurrentMain() {
    std::shared_ptr<zr::XPCClient> helper;
    {
        const std::lock_guard lock(m_mutex);
        helper = m_xpcHelper;
    }
    if (!helper)
        return;
    const std::weak_ptr weak = std::static_pointer_cast<ZRXPCOperation>(shared_from_this());
    helper->performXPCAsyncWithObject(taskInfo(), [weak](const QVariant &result, const NSError &error) {
        const auto operation = weak.lock();
        if (!operation)
            return;
        operation->setTaskResult(result);
        operation->setError(error);
        operation->completeOperation();
    });
}

void ZRXPCOperation::cleanup() {
    // Destroyed after the lock is open: it may be the last that holds the client's queue.
    std::shared_ptr<zr::XPCClient> helper;
    const std::lock_guard lock(m_mutex);
    helper.swap(m_xpcHelper);
}

void ZRXPCOperation::cancel() {
    cleanup();
    ZROperationConcurrent::cancel();
}

void ZRXPCOperation::completeOperation() {
    cleanup();
    ZROperationConcurrent::completeOperation();
}

#include "moc_ZRXPCOperation.cpp"
