// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSOperation.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_set>

namespace zr {

/// An operation's inner state. The mutex guards what isn't atomic; no code of others is called while it is
/// held.
struct NSOperationPrivate {
    mutable std::mutex mutex;

    std::atomic<bool> executing{false};
    std::atomic<bool> finished{false};
    std::atomic<bool> cancelled{false};
    std::atomic<int> priority{NSOperationQueuePriorityNormal};
    std::atomic<bool> finishAnnounced{false}; ///< "isFinished" was announced as true

    bool cancelling = false;    ///< cancel() has begun
    bool begun = false;         ///< start() has passed its checks
    bool claimed = false;       ///< the queue is about to call start(): dependencies are settled
    bool finishSettled = false; ///< the queue knows of the end
    bool enqueued = false;      ///< was given to a queue
    std::weak_ptr<NSOperationQueuePrivate> queue;
    std::uint64_t number = 0; ///< in its queue, 0 outside; guarded by the queue's mutex, not by this one

    std::condition_variable finishedCondition;
    std::vector<std::shared_ptr<NSOperation>> dependencies;
    std::unordered_set<const NSOperation *> unfinished; ///< those of the dependencies still waited for
    std::vector<std::weak_ptr<NSOperation>> dependents; ///< those that wait for this one
    std::function<void()> completionBlock;
    QString name;

    std::shared_ptr<NSOperationQueuePrivate> lockedQueue() const {
        const std::lock_guard lock(mutex);
        return queue.lock();
    }
};

} // namespace zr
