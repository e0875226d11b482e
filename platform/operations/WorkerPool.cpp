// SPDX-License-Identifier: MIT
#include "platform/operations/WorkerPool.h"

#include "platform/base/NeverDestroyed.h"

#include <QRunnable>
#include <QThreadPool>
#include <atomic>

using namespace zr;

namespace {

thread_local bool isWorker = false;

QThreadPool &pool() {
    // A pool of its own: the application's may be busy with work of any kind.
    struct Threads : QThreadPool {
        Threads() { setMaxThreadCount(WorkerPool::mostThreads); }
    };
    static NeverDestroyed<Threads> threads;
    return *threads;
}

class Block : public QRunnable {
public:
    explicit Block(std::function<void()> block) : m_block(std::move(block)) {
        m_isComplete.store(true, std::memory_order_release);
    }
    void run() override {
        // Qt's own locks pass the block on, but a thread sanitizer doesn't see them.
        (void)m_isComplete.load(std::memory_order_acquire);
        isWorker = true;
        m_block();
    }

private:
    const std::function<void()> m_block;
    std::atomic<bool> m_isComplete = false;
};

} // namespace

void WorkerPool::run(std::function<void()> block) {
    pool().start(new Block(std::move(block)));
}

WorkerPool::Waiting::Waiting() {
    if (isWorker)
        pool().releaseThread();
}

WorkerPool::Waiting::~Waiting() {
    if (isWorker)
        pool().reserveThread();
}
