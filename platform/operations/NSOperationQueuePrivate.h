// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSOperation.h"
#include "platform/operations/WorkerPool.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

/// An operation's place in its queue.
struct NSOperationQueueItem {
    enum class Stage { Waiting, Ready, Running };

    std::shared_ptr<NSOperation> operation;
    /// Counts what the queue was given.
    std::uint64_t number = 0;
    Stage stage = Stage::Waiting;
    int priority = NSOperationQueuePriorityNormal;
    /// Counts questions for readiness: only the latest answer holds.
    unsigned asked = 0;
    /// How often readiness had been announced when the first answer was asked for.
    unsigned announced = 0;
};
using NSOperationQueueItems = std::list<NSOperationQueueItem>;

/// A queue's inner state. It outlives the queue while operations are left. No code of others is called while
/// the mutex is held.
///
/// While operations may start, runners are sent to the threads; a runner picks an operation only when it has
/// got a thread, so that what became ready or more urgent in between is considered, and goes on as long as
/// there are some.
class NSOperationQueuePrivate : public WorkerPool::Job,
                                public std::enable_shared_from_this<NSOperationQueuePrivate> {
public:
    explicit NSOperationQueuePrivate(bool onMainThread) : m_onMainThread(onMainThread) {}

    QString name() const;
    void setName(const QString &name);
    int limit() const;
    void setLimit(int limit);
    bool isSuspended() const;
    void setSuspended(bool suspended);

    void add(std::span<const std::shared_ptr<NSOperation>> operations);
    std::vector<std::shared_ptr<NSOperation>> operations() const;
    std::size_t count() const;
    void waitUntilEmpty();
    /// The queue object is gone.
    void abandon();

    // What operations tell.
    void operationDidFinish(NSOperation *operation);
    void readinessDidChange(NSOperation *operation);
    void priorityDidChange(NSOperation *operation);

    void runOnWorker() override;

private:
    using Item = NSOperationQueueItem;
    using Items = NSOperationQueueItems;
    using Stage = NSOperationQueueItem::Stage;
    using Lock = std::unique_lock<std::mutex>;

    Items &listOf(const Item &item);
    /// Moves an item from the list it is in to where it belongs in the one of another stage and priority.
    void move(Items::iterator item, Stage stage, int priority);
    /// How many of the ready operations may start now.
    std::size_t startable() const;
    /// How many runners are missing; counts them as sent.
    std::size_t missingRunners();
    void sendRunners(std::size_t count);
    void runOne(Lock &lock);

    const bool m_onMainThread;
    mutable std::mutex m_mutex;
    std::condition_variable m_empty;
    QString m_name;
    int m_limit = -1;
    bool m_suspended = false;
    bool m_abandoned = false;
    std::uint64_t m_lastNumber = 0;
    // Each item is in one of these.
    Items m_waiting;
    Items m_running;
    std::array<Items, 5> m_ready; ///< by priority, the most urgent first, then by number
    std::size_t m_readyCount = 0;
    std::size_t m_count = 0;
    /// Sent, and not yet on a thread.
    std::size_t m_runners = 0;
};
