// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <sys/types.h>
#include <vector>

/// The threads that every operation queue of the process runs on.
///
/// It keeps as many threads running as there are processors. A task that blocks doesn't hold up the others:
/// while tasks wait, blocked threads are made up for by new ones. Idle threads end after a while. Any thread
/// may use it.
class WorkerPool {
public:
    using Task = std::function<void()>;

    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    static WorkerPool &shared();

    /// Runs the task so many times, in the order of submission as far as threads are free. It must not throw.
    void submit(const Task &task, std::size_t times = 1);

    /// True while tasks wait for a thread.
    bool hasWaitingTasks() const { return m_waiting.load(std::memory_order_relaxed) > 0; }

private:
    struct Worker {
        pid_t thread = 0;
        bool busy = false;
    };

    WorkerPool();
    bool addWorker();
    void work(Worker *self);
    void watch();
    std::size_t runningWorkers() const;

    std::mutex m_mutex;
    std::condition_variable m_work;
    std::condition_variable m_stalled;
    std::deque<Task> m_tasks;
    std::vector<Worker *> m_workers;
    std::size_t m_idle = 0;
    const std::size_t m_processors;
    bool m_watching = false;
    std::atomic<std::size_t> m_waiting{0};
};
