// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <sys/types.h>
#include <vector>

/// The threads that every operation queue of the process runs on.
///
/// It keeps as many threads running as there are processors. A job that blocks doesn't hold up the others:
/// while jobs wait, blocked threads are made up for by new ones. Idle threads end after a while. Any thread
/// may use it.
class WorkerPool {
public:
    /// Something to run, perhaps several times and on several threads at once.
    class Job {
    public:
        virtual ~Job() = default;
        /// Must not throw.
        virtual void runOnWorker() = 0;
    };

    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    static WorkerPool &shared();

    /// Runs the job so many times; jobs begin in the order of submission, as far as threads are free.
    void submit(const std::shared_ptr<Job> &job, std::size_t times = 1);
    /// Runs the block, which must not throw.
    void submit(std::function<void()> block);

    /// True while jobs wait for a thread.
    bool hasWaitingJobs() const { return m_waiting.load(std::memory_order_relaxed) > 0; }
    /// How many jobs can make progress at once.
    std::size_t processors() const { return m_processors; }

private:
    struct Worker {
        pid_t thread = 0;
        bool busy = false;
    };

    WorkerPool();
    bool callWorker();
    bool addWorker();
    void work(Worker *self);
    bool waitForJob(std::unique_lock<std::mutex> &lock);
    void watch();
    std::size_t runningWorkers() const;

    std::mutex m_mutex;
    std::condition_variable m_work;
    std::condition_variable m_stalled;
    std::deque<std::shared_ptr<Job>> m_jobs;
    std::vector<Worker *> m_workers;
    std::size_t m_idle = 0;
    const std::size_t m_processors;
    /// A thread was woken or made and hasn't looked for a job yet; it will call the next one if there is more
    /// to do.
    bool m_calling = false;
    enum class Watcher { None, Asleep, Awake } m_watcher = Watcher::None;
    std::atomic<std::size_t> m_waiting{0};
};
