// SPDX-License-Identifier: MIT
#include "platform/operations/WorkerPool.h"

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

void WorkerPool::submit(const Task &task, std::size_t times) {
    const std::lock_guard lock(m_mutex);
    for (; times > 0; --times) {
        m_tasks.push_back(task);
        if (m_tasks.size() <= m_idle)
            m_work.notify_one();
        else if (m_workers.size() < m_processors)
            addWorker();
    }
    m_waiting.store(m_tasks.size(), std::memory_order_relaxed);
    if (m_tasks.size() <= m_idle || m_workers.size() < m_processors)
        return;
    if (!m_watching) {
        m_watching = true;
        std::thread([this] { watch(); }).detach();
    }
    m_stalled.notify_one();
}

bool WorkerPool::addWorker() {
    auto worker = std::make_unique<Worker>();
    try {
        std::thread([this, self = worker.get()] { work(self); }).detach();
    } catch (const std::system_error &) {
        // The threads there are take the tasks in turn.
        if (m_workers.empty())
            throw;
        return false;
    }
    m_workers.push_back(worker.release());
    return true;
}

void WorkerPool::work(Worker *self) {
    NSThread::currentThread().setName(QStringLiteral("zr-worker"));
    std::unique_lock lock(m_mutex);
    self->thread = ::gettid();
    for (;;) {
        if (m_tasks.empty()) {
            ++m_idle;
            const bool more = m_work.wait_for(lock, idleTime, [this] { return !m_tasks.empty(); });
            --m_idle;
            if (!more)
                break;
        }
        Task task = std::move(m_tasks.front());
        m_tasks.pop_front();
        m_waiting.store(m_tasks.size(), std::memory_order_relaxed);
        self->busy = true;
        lock.unlock();
        task();
        task = nullptr;
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

void WorkerPool::watch() {
    NSThread::currentThread().setName(QStringLiteral("zr-watcher"));
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_stalled.wait(lock, [this] { return m_tasks.size() > m_idle; });
        lock.unlock();
        std::this_thread::sleep_for(watchInterval);
        lock.lock();
        const std::size_t waiting = m_tasks.size() > m_idle ? m_tasks.size() - m_idle : 0;
        const std::size_t running = waiting ? runningWorkers() : m_processors;
        for (std::size_t n = running; n < std::min(m_processors, running + waiting); ++n)
            if (m_workers.size() >= mostWorkers || !addWorker())
                break;
    }
}
