// SPDX-License-Identifier: MIT
#include "platform/operations/WorkerPool.h"

#include "platform/base/NSException.h"
#include "platform/operations/NSThread.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <system_error>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

constexpr auto idleTime = 10s;
constexpr auto watchInterval = 5ms;
constexpr std::size_t mostWorkers = 512;

bool startThread(std::function<void()> block) {
    try {
        NSThread::detachNewThread(std::move(block));
        return true;
    } catch (const std::system_error &) {
        return false;
    }
}

class Block : public WorkerPool::Job {
public:
    explicit Block(std::function<void()> block) : m_block(std::move(block)) {}
    void runOnWorker() override { m_block(); }

private:
    const std::function<void()> m_block;
};

/// Whether a thread of this process has, or waits for, a processor; when in doubt, it has.
bool isRunning(pid_t thread) {
    std::array<char, 64> path{};
    std::snprintf(path.data(), path.size(), "/proc/self/task/%d/stat", int(thread));
    const int fd = ::open(path.data(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return true;
    std::array<char, 128> text{};
    const ssize_t count = ::read(fd, text.data(), text.size() - 1);
    ::close(fd);
    // "id (name) state ...", and the name may hold parentheses.
    const char *state = count > 0 ? std::strrchr(text.data(), ')') : nullptr;
    return !state || !state[1] || state[2] == 'R';
}

} // namespace

WorkerPool::WorkerPool() : m_processors(std::max(1U, std::thread::hardware_concurrency())) {
}

WorkerPool &WorkerPool::shared() {
    // Never destroyed: its threads run until the process has ended.
    static auto *pool = new WorkerPool;
    return *pool;
}

void WorkerPool::submit(const std::shared_ptr<Job> &job, std::size_t times) {
    std::unique_lock lock(m_mutex);
    m_jobs.insert(m_jobs.end(), times, job);
    m_waiting.store(m_jobs.size(), std::memory_order_relaxed);
    const bool wakes = callWorker();
    lock.unlock();
    if (wakes)
        m_work.notify_one();
}

void WorkerPool::submit(std::function<void()> block) {
    submit(std::make_shared<Block>(std::move(block)));
}

/// Sees to it that a thread comes for the waiting jobs. Where it gives true, an idle one is to be woken, best
/// when the lock has been released: it would only run into it.
bool WorkerPool::callWorker() {
    if (m_jobs.empty() || m_calling)
        return false;
    if (m_idle > 0) {
        m_calling = true;
        return true;
    }
    if (m_workers.size() < m_processors) {
        m_calling = addWorker();
    } else if (m_watcher == Watcher::None) {
        if (startThread([this] { watch(); }))
            m_watcher = Watcher::Awake;
    } else if (m_watcher == Watcher::Asleep) {
        m_watcher = Watcher::Awake;
        m_stalled.notify_one();
    }
    return false;
}

bool WorkerPool::addWorker() {
    auto worker = std::make_unique<Worker>();
    if (!startThread([this, self = worker.get()] { work(self); })) {
        // The threads that are there take the jobs in turn; without any, nobody would.
        if (m_workers.empty())
            throw NSException(NSInternalInconsistencyException,
                              QStringLiteral("The system grants no thread."));
        return false;
    }
    m_workers.push_back(worker.release());
    return true;
}

bool WorkerPool::waitForJob(std::unique_lock<std::mutex> &lock) {
    const auto end = std::chrono::steady_clock::now() + idleTime;
    auto status = std::cv_status::no_timeout;
    ++m_idle;
    while (m_jobs.empty() && status == std::cv_status::no_timeout) {
        status = m_work.wait_until(lock, end);
        m_calling = false;
    }
    --m_idle;
    return !m_jobs.empty();
}

void WorkerPool::work(Worker *self) {
    NSThread::currentThread().setName(QStringLiteral("zr-worker"));
    std::unique_lock lock(m_mutex);
    self->thread = ::gettid();
    m_calling = false;
    while (!m_jobs.empty() || waitForJob(lock)) {
        std::shared_ptr<Job> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        m_waiting.store(m_jobs.size(), std::memory_order_relaxed);
        const bool wakes = callWorker();
        self->busy = true;
        lock.unlock();
        if (wakes)
            m_work.notify_one();
        job->runOnWorker();
        job.reset();
        lock.lock();
        self->busy = false;
    }
    m_workers.erase(std::find(m_workers.begin(), m_workers.end(), self));
    delete self;
}

std::size_t WorkerPool::runningWorkers() const {
    return std::size_t(std::count_if(m_workers.begin(), m_workers.end(), [](const Worker *worker) {
        return !worker->thread || !worker->busy || isRunning(worker->thread);
    }));
}

/// Looks after jobs that wait while threads are blocked.
void WorkerPool::watch() {
    NSThread::currentThread().setName(QStringLiteral("zr-watcher"));
    std::unique_lock lock(m_mutex);
    for (;;) {
        while (m_jobs.empty()) {
            m_watcher = Watcher::Asleep;
            m_stalled.wait(lock);
        }
        m_watcher = Watcher::Awake;
        lock.unlock();
        std::this_thread::sleep_for(watchInterval);
        lock.lock();
        const std::size_t running = runningWorkers();
        const std::size_t wanted = std::min(m_processors, running + m_jobs.size());
        for (std::size_t n = running; n < wanted && m_workers.size() < mostWorkers; ++n)
            if (!addWorker())
                break;
    }
}
