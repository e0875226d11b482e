// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSOperation.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <unordered_set>

class NSOperationQueuePrivate;

/// An operation's inner state. The mutex guards what isn't atomic; no code of others is called while it is
/// held. A queue may take it while it holds its own, never the other way round.
struct NSOperationPrivate {
    mutable std::mutex mutex;
    std::condition_variable finishedCondition;

    std::atomic<bool> executing{false};
    std::atomic<bool> finished{false};
    std::atomic<bool> cancelled{false};
    std::atomic<int> priority{NSOperationQueuePriorityNormal};

    bool cancelling = false;      // cancel() has begun
    bool begun = false;           // start() has passed its checks
    bool claimed = false;         // a queue is about to call start(): dependencies are settled
    bool finishAnnounced = false; // "isFinished" was announced as true
    bool finishSettled = false;   // and its queue knows
    bool enqueued = false;        // was given to a queue
    std::weak_ptr<NSOperationQueuePrivate> queue;

    std::vector<std::shared_ptr<NSOperation>> dependencies;
    std::unordered_set<const NSOperation *> unfinished; // those of the dependencies still waited for
    std::vector<std::weak_ptr<NSOperation>> dependents; // those that wait for this one
    std::function<void()> completionBlock;
    QString name;
};
