// SPDX-License-Identifier: MIT
#include "platform/operations/DispatchQueue.h"

#include "platform/base/FirstException.h"
#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/operations/NSThread.h"
#include "platform/operations/WorkerPool.h"
#include "platform/values/NSLog.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QTimer>
#include <algorithm>

using namespace zr;

/// Lives in the main thread; each event it gets says that there are blocks to run.
class zr::DispatchQueue::Receiver : public QObject {
protected:
    void customEvent(QEvent *) override { DispatchQueue::mainQueue().drain(); }
};

void zr::startDispatchQueue() {
    DispatchQueue::applicationStarted();
}
Q_COREAPP_STARTUP_FUNCTION(startDispatchQueue)

DispatchQueue &DispatchQueue::mainQueue() {
    struct Main : DispatchQueue {};
    static NeverDestroyed<Main> queue;
    return *queue;
}

void DispatchQueue::applicationStarted() {
    DispatchQueue &queue = mainQueue();
    const std::lock_guard lock(queue.m_mutex);
    if (!queue.m_receiver) {
        queue.m_receiver = new Receiver;
        queue.m_receiver->moveToThread(QCoreApplication::instance()->thread());
    }
    // An application that ended took its undelivered events with it.
    queue.m_woken = false;
    if (!queue.m_blocks.empty())
        queue.wake();
}

void DispatchQueue::wake() {
    if (m_woken || !m_receiver)
        return;
    m_woken = true;
    QCoreApplication::postEvent(m_receiver, new QEvent(QEvent::User));
}

void DispatchQueue::add(std::function<void()> block) {
    const std::lock_guard lock(m_mutex);
    m_blocks.push_back(std::move(block));
    wake();
}

void DispatchQueue::async(std::function<void()> block) {
    add([block = std::move(block)] {
        try {
            block();
        } catch (...) {
            NSLog("Exception in a block of the main queue: %@", NSException::currentDescription());
        }
    });
}

void DispatchQueue::asyncAfter(std::chrono::nanoseconds delay, std::function<void()> block) {
    using Clock = std::chrono::steady_clock;
    const auto now = Clock::now();
    delay = std::max(delay, std::chrono::nanoseconds::zero());
    // Far beyond any clock, the latest date there is.
    const auto date = delay < Clock::time_point::max() - now ? now + delay : Clock::time_point::max();
    // The timer belongs to the main thread, so it is set up there.
    async([this, date, block = std::move(block)]() mutable { addAt(date, std::move(block)); });
}

void DispatchQueue::addAt(std::chrono::steady_clock::time_point date, std::function<void()> block) {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(date - std::chrono::steady_clock::now());
    if (left <= milliseconds::zero()) {
        async(std::move(block));
        return;
    }
    // A timer takes no more than some weeks, so long delays are waited for in pieces.
    const milliseconds piece = std::min<milliseconds>(left, std::chrono::hours(24));
    QTimer::singleShot(piece, Qt::PreciseTimer, m_receiver,
                       [this, date, block = std::move(block)]() mutable { addAt(date, std::move(block)); });
}

void DispatchQueue::sync(const std::function<void()> &block) {
    if (NSThread::isMainThread()) {
        std::unique_lock lock(m_mutex);
        const bool nested = std::exchange(m_running, true);
        lock.unlock();
        FirstException failure;
        failure.guard(block);
        lock.lock();
        m_running = nested;
        if (!nested && !m_blocks.empty())
            wake();
        lock.unlock();
        failure.rethrow();
        return;
    }

    std::mutex mutex;
    std::condition_variable finished;
    bool done = false;
    FirstException failure;
    add([&] {
        failure.guard(block);
        // Under the lock, because the waiting thread owns the condition and may leave as soon as it is free.
        const std::lock_guard lock(mutex);
        done = true;
        finished.notify_one();
    });
    const WorkerPool::Waiting waiting;
    std::unique_lock lock(mutex);
    finished.wait(lock, [&] { return done; });
    failure.rethrow();
}

void DispatchQueue::drain() {
    std::unique_lock lock(m_mutex);
    m_woken = false;
    if (m_running)
        return; // whoever is running goes on with what waits
    m_running = true;
    // Only those that wait now: blocks that add blocks must not keep other events from being served.
    for (auto count = m_blocks.size(); count > 0 && !m_blocks.empty(); --count) {
        std::function<void()> block = std::move(m_blocks.front());
        m_blocks.pop_front();
        lock.unlock();
        block();
        block = nullptr;
        lock.lock();
    }
    m_running = false;
    if (!m_blocks.empty())
        wake();
}
