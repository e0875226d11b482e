// SPDX-License-Identifier: MIT
#include "platform/store/ContextQueue.h"

#include "platform/base/FirstException.h"
#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/operations/DispatchQueue.h"
#include "platform/operations/NSOperationQueue.h"
#include "platform/operations/NSThread.h"
#include "platform/operations/WorkerPool.h"
#include "platform/values/NSLog.h"

#include <QScopeGuard>
#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <vector>

using namespace zr;

namespace {

/// A block that a thread waits for the main thread to run.
struct MainJob {
    const std::function<void()> &block;
    FirstException failure;
    bool isDone = false;
};

/// What waiting threads wait for. One lock for all: it is held for moments only.
struct Waits {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::shared_ptr<MainJob>> mainJobs;
};
Waits &waits() {
    static NeverDestroyed<Waits> all;
    return *all;
}

/// Runs the oldest of the main thread's jobs, on the main thread; the lock is held before and after.
void runMainJob(std::unique_lock<std::mutex> &lock) {
    const std::shared_ptr<MainJob> job = waits().mainJobs.front();
    waits().mainJobs.pop_front();
    lock.unlock();
    job->failure.guard(job->block);
    lock.lock();
    job->isDone = true;
    waits().changed.notify_all();
}

class MainQueue final : public ContextQueue {
public:
    void async(std::function<void()> block) override { DispatchQueue::mainQueue().async(std::move(block)); }

    void sync(const std::function<void()> &block) override {
        if (NSThread::isMainThread()) {
            DispatchQueue::mainQueue().sync(block);
            return;
        }
        const auto job = std::make_shared<MainJob>(MainJob{block, {}});
        std::unique_lock lock(waits().mutex);
        waits().mainJobs.push_back(job);
        waits().changed.notify_all();
        DispatchQueue::mainQueue().async([] {
            std::unique_lock jobs(waits().mutex);
            if (!waits().mainJobs.empty())
                runMainJob(jobs);
        });
        const WorkerPool::Waiting waiting;
        waits().changed.wait(lock, [&] { return job->isDone; });
        lock.unlock();
        job->failure.rethrow();
    }
};

/// The private queues whose turn this thread has, the innermost last.
thread_local std::vector<const ContextQueue *> heldQueues;

class PrivateQueue final : public ContextQueue {
public:
    PrivateQueue() { m_operations.setMaxConcurrentOperationCount(1); }

    void async(std::function<void()> block) override {
        m_operations.addOperationWithBlock([this, block = std::move(block)] {
            try {
                run(block);
            } catch (...) {
                NSLog("Exception in a block of a managed object context: %@",
                      NSException::currentDescription());
            }
        });
    }

    void sync(const std::function<void()> &block) override {
        if (std::find(heldQueues.begin(), heldQueues.end(), this) != heldQueues.end()) {
            block();
            return;
        }
        struct Turn {
            bool hasCome = false, isOver = false;
        };
        const auto turn = std::make_shared<Turn>();
        m_operations.addOperationWithBlock([turn] {
            const WorkerPool::Waiting waiting;
            std::unique_lock lock(waits().mutex);
            turn->hasCome = true;
            waits().changed.notify_all();
            waits().changed.wait(lock, [&] { return turn->isOver; });
        });
        wait([&] { return turn->hasCome; });
        const auto end = qScopeGuard([&] {
            const std::lock_guard lock(waits().mutex);
            turn->isOver = true;
            waits().changed.notify_all();
        });
        run(block);
    }

private:
    template <typename Condition>
    static void wait(Condition condition) {
        const WorkerPool::Waiting waiting;
        const bool isMain = NSThread::isMainThread();
        std::unique_lock lock(waits().mutex);
        while (!condition()) {
            if (isMain && !waits().mainJobs.empty())
                runMainJob(lock);
            else
                waits().changed.wait(lock);
        }
    }

    void run(const std::function<void()> &block) {
        heldQueues.push_back(this);
        const auto end = qScopeGuard([] { heldQueues.pop_back(); });
        block();
    }

    NSOperationQueue m_operations;
};

} // namespace

std::unique_ptr<ContextQueue> ContextQueue::main() {
    return std::make_unique<MainQueue>();
}

std::unique_ptr<ContextQueue> ContextQueue::privateQueue() {
    return std::make_unique<PrivateQueue>();
}
