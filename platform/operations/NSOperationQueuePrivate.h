// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSOperation.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

/// A queue's inner state. It outlives the queue while operations are left. No code of others is called while
/// the mutex is held.
///
/// For each operation that may start now, a runner is sent to the threads; the runner picks the operation
/// only when it gets a thread, so that what became ready or more urgent in between is considered.
class NSOperationQueuePrivate : public std::enable_shared_from_this<NSOperationQueuePrivate> {
public:
    explicit NSOperationQueuePrivate(bool onMainThread) : m_onMainThread(onMainThread) {}

    QString name() const;
    void setName(const QString &name);
    int limit() const;
    void setLimit(int limit);
    bool isSuspended() const;
    void setSuspended(bool suspended);

    void add(const std::vector<std::shared_ptr<NSOperation>> &operations);
    std::vector<std::shared_ptr<NSOperation>> operations() const;
    std::size_t count() const;
    void waitUntilEmpty();
    /// The queue object is gone.
    void abandon();

    // What operations tell.
    void operationDidFinish(const NSOperation *operation);
    void readinessDidChange(NSOperation *operation);
    void priorityDidChange(NSOperation *operation);

private:
    using Number = std::uint64_t;
    enum class Stage { Waiting, Ready, Running };
    struct Item {
        std::shared_ptr<NSOperation> operation;
        Stage stage = Stage::Waiting;
        int priority = 0;
        /// Counts questions for readiness: only the latest answer holds.
        unsigned asked = 0;
    };
    using Items = std::map<Number, Item>;
    using Lock = std::unique_lock<std::mutex>;

    Items::iterator find(const NSOperation *operation);
    std::map<Number, NSOperation *> &ready(int priority) { return m_ready[std::size_t(2 - priority / 4)]; }
    void leaveReady(Items::iterator item);
    /// Unlocks.
    void sendRunners(Lock &lock);
    void run();
    bool runOne(Lock &lock);

    const bool m_onMainThread;
    mutable std::mutex m_mutex;
    std::condition_variable m_empty;
    QString m_name;
    int m_limit = -1;
    bool m_suspended = false;
    bool m_abandoned = false;
    Number m_lastNumber = 0;
    Items m_items;
    std::unordered_map<const NSOperation *, Number> m_numbers;
    /// By priority, the most urgent first.
    std::array<std::map<Number, NSOperation *>, 5> m_ready;
    std::size_t m_readyCount = 0;
    std::size_t m_running = 0;
    std::size_t m_runners = 0;
};
