// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSOperation.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <vector>

namespace zr {

/// A queue's inner state. It outlives the queue while operations are left. No code of others is called while
/// the mutex is held.
///
/// While operations may start, runners are sent to the threads, one for each. A runner picks its operation only
/// when it has got a thread, so that what became ready or more urgent in between is considered.
class NSOperationQueuePrivate : public std::enable_shared_from_this<NSOperationQueuePrivate> {
public:
    explicit NSOperationQueuePrivate(bool onMainThread) : m_onMainThread(onMainThread) {}

    QString name() const;
    void setName(const QString &name);
    int limit() const;
    void setLimit(int limit);
    bool isSuspended() const;
    void setSuspended(bool suspended);

    void add(std::span<const std::shared_ptr<NSOperation>> operations);
    /// Those that have not finished, in the order of adding.
    std::vector<std::shared_ptr<NSOperation>> operations() const;
    std::size_t count() const;
    void waitUntilEmpty();
    /// The queue object is gone.
    void abandon();

    // What operations tell.
    void operationDidFinish(NSOperation *operation);
    void readinessDidChange(NSOperation *operation) { settle({&operation, 1}); }
    void priorityDidChange(NSOperation *operation);

private:
    enum class Stage { Waiting, Ready, Running };
    /// An operation's place in the queue.
    struct Item {
        std::shared_ptr<NSOperation> operation;
        Stage stage = Stage::Waiting;
        int priority = NSOperationQueuePriorityNormal;
        /// Counts questions for readiness: only the latest answer holds.
        unsigned asked = 0;
    };
    using Lock = std::unique_lock<std::mutex>;

    void claim(std::span<const std::shared_ptr<NSOperation>> operations);
    /// Asks the operations whether they are ready.
    void settle(std::span<NSOperation *const> operations);
    /// nullptr for one that isn't in the queue.
    Item *itemOf(const NSOperation *operation);
    void move(Item &item, Stage stage, int priority);
    /// How many of the ready operations may start now.
    std::size_t startable() const;
    /// Sends the runners that are missing, and unlocks.
    void sendRunners(Lock &lock);
    void runOne();

    const bool m_onMainThread;
    mutable std::mutex m_mutex;
    std::condition_variable m_empty;
    QString m_name;
    int m_limit = -1;
    bool m_suspended = false;
    std::uint64_t m_lastNumber = 0;
    std::map<std::uint64_t, Item> m_items; ///< by what counts the operations that the queue was given
    std::set<std::pair<int, std::uint64_t>> m_ready; ///< priority, negated, and number: the most urgent first
    std::size_t m_running = 0;
    /// Sent, and not yet on a thread.
    std::size_t m_runners = 0;
    /// Itself, while operations are left that the queue object has left behind.
    std::shared_ptr<NSOperationQueuePrivate> m_self;
};

} // namespace zr
