// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSOperation.h"
#include "platform/operations/NSOperationQueuePrivate.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_set>

/// What few operations need, so that many can wait in a queue at little cost.
struct NSOperationExtras {
    std::condition_variable finishedCondition;
    std::vector<std::shared_ptr<NSOperation>> dependencies;
    std::unordered_set<const NSOperation *> unfinished; ///< those of the dependencies still waited for
    std::vector<std::weak_ptr<NSOperation>> dependents; ///< those that wait for this one
    std::function<void()> completionBlock;
    QString name;
};

/// An operation's inner state. The mutex guards what isn't atomic; no code of others is called while it is
/// held.
struct NSOperationPrivate {
    mutable std::mutex mutex;

    std::atomic<bool> executing{false};
    std::atomic<bool> finished{false};
    std::atomic<bool> cancelled{false};
    std::atomic<int> priority{NSOperationQueuePriorityNormal};
    std::atomic<bool> finishAnnounced{false};        ///< "isFinished" was announced as true
    std::atomic<unsigned> readinessAnnouncements{0}; ///< how often "isReady" was announced

    bool cancelling = false;    ///< cancel() has begun
    bool begun = false;         ///< start() has passed its checks
    bool claimed = false;       ///< the queue is about to call start(): dependencies are settled
    bool finishSettled = false; ///< the queue knows of the end
    bool enqueued = false;      ///< was given to a queue
    std::weak_ptr<NSOperationQueuePrivate> queue;
    /// Guarded by the queue's mutex, not by this one.
    std::optional<NSOperationQueueItems::iterator> item;

    /// Made when something is first kept there.
    std::unique_ptr<NSOperationExtras> extras;

    NSOperationExtras &madeExtras() {
        if (!extras)
            extras = std::make_unique<NSOperationExtras>();
        return *extras;
    }
    /// Whether all dependencies have finished.
    bool isFree() const { return !extras || extras->unfinished.empty(); }
};
