// SPDX-License-Identifier: MIT
#include "platform/operations/NSRunLoop.h"

#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/operations/NSThread.h"
#include "platform/operations/NSTimer.h"
#include "platform/operations/RunLoopAlarm.h"
#include "platform/operations/RunLoopTimers.h"
#include "platform/operations/WorkerPool.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <algorithm>
#include <thread>

using namespace zr;

namespace {

/// The calling thread's run loop, as long as it has one.
thread_local NSRunLoop *threadsRunLoop = nullptr;

} // namespace

void zr::attachMainRunLoop() {
    if (NSThread::isMainThread())
        NSRunLoop::mainRunLoop().m_timers->attach();
}
Q_COREAPP_STARTUP_FUNCTION(attachMainRunLoop)

NSRunLoop::NSRunLoop() : m_timers(std::make_unique<RunLoopTimers>()) {
}

NSRunLoop::~NSRunLoop() {
    // What is released here must find no run loop to withdraw from.
    threadsRunLoop = nullptr;
    m_timers->clear();
}

NSRunLoop &NSRunLoop::mainRunLoop() {
    struct Main : NSRunLoop {};
    static NeverDestroyed<Main> loop;
    return *loop;
}

NSRunLoop &NSRunLoop::currentRunLoop() {
    if (NSThread::isMainThread())
        return mainRunLoop();
    static thread_local const std::unique_ptr<NSRunLoop> loop = [] {
        // Gives the thread its dispatcher, which timers and sockets need from now on.
        const QEventLoop dispatcher;
        auto made = std::unique_ptr<NSRunLoop>(new NSRunLoop);
        threadsRunLoop = made.get();
        return made;
    }();
    return *loop;
}

NSRunLoop *NSRunLoop::existing() {
    return NSThread::isMainThread() ? &mainRunLoop() : threadsRunLoop;
}

NSRunLoop::Clock::duration NSRunLoop::duration(double seconds) {
    // A hundred years stand for ever: the clock's range ends not much later.
    constexpr double longest = 100.0 * 366 * 24 * 3600;
    return std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(seconds > 0 ? std::min(seconds, longest) : 0));
}

void NSRunLoop::requireOwnThread() const {
    if (this != &currentRunLoop())
        throw NSException(NSInternalInconsistencyException,
                          QStringLiteral("A run loop can only be used by its own thread."));
}

void NSRunLoop::addTimer(const std::shared_ptr<NSTimer> &timer) {
    requireOwnThread();
    if (!timer)
        return;
    {
        const std::lock_guard lock(timer->m_mutex);
        if (!timer->m_valid || timer->m_runLoop)
            return;
        timer->m_runLoop = this;
    }
    m_timers->add(timer);
}

void NSRunLoop::removeTimerFromCurrent(const NSRunLoop *runLoop, const NSTimer *timer) {
    NSRunLoop *const current = existing();
    if (current == runLoop && current)
        current->m_timers->remove(timer);
}

void NSRunLoop::runUntilDate(const QDateTime &date) {
    const qint64 left = date.isValid() ? QDateTime::currentDateTimeUtc().msecsTo(date) : 0;
    runUntilDate(double(left) / 1000);
}

void NSRunLoop::runUntilDate(double secondsFromNow) {
    runUntil(Clock::now() + duration(secondsFromNow));
}

void NSRunLoop::runUntil(Clock::time_point date) {
    requireOwnThread();
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    if (!dispatcher) {
        // The main thread without an application: there can be no events.
        std::this_thread::sleep_until(date);
        return;
    }
    if (Clock::now() >= date) {
        dispatcher->processEvents(QEventLoop::AllEvents);
        return;
    }
    RunLoopAlarm alarm(dispatcher);
    alarm.set(date);
    const WorkerPool::Waiting waiting;
    while (Clock::now() < date)
        dispatcher->processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}
