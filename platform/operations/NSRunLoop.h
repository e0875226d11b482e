// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <chrono>
#include <memory>

class NSTimer;
namespace zr {
class DelayedPerforming;
class RunLoopTimers;
void attachMainRunLoop();
} // namespace zr

/// The event loop of a thread, to be run for a while by code that waits for something that arrives through it. Timers
/// and delayed messages (NSDelayedPerforming.h) are served by whatever runs the thread's events. A run loop is used by
/// its own thread only.
///
/// It runs on Qt's event dispatcher: timers, sockets, posted events and the main queue are all served, and it
/// may be run from inside an event handler, to any depth.
class NSRunLoop {
public:
    ~NSRunLoop();
    NSRunLoop(const NSRunLoop &) = delete;
    NSRunLoop &operator=(const NSRunLoop &) = delete;

    /// The main thread's run loop: any thread may get it, only the main thread may run it.
    static NSRunLoop &mainRunLoop();
    /// The calling thread's run loop, made on first use; only from then on the thread can have timers and
    /// sockets.
    static NSRunLoop &currentRunLoop();

    /// Serves events until the date has passed; with a date that isn't valid or has passed, what is due now.
    /// Raises NSInternalInconsistencyException on another thread than the run loop's own.
    void runUntilDate(const QDateTime &date);
    /// The same until so many seconds from now, with the clock's full precision: the thread sleeps in the
    /// system between events and comes back as soon as the time is over, for an interval of 0.0001 too.
    void runUntilDate(double secondsFromNow);

    /// Schedules a timer here, until it is invalidated or the thread ends; if its date has passed, it fires
    /// as soon as the loop runs. Nothing happens for nil, for an invalid timer and for one that is scheduled
    /// already. Raises NSInternalInconsistencyException on another thread.
    void addTimer(const std::shared_ptr<NSTimer> &timer);

private:
    friend class NSTimer;
    friend class zr::DelayedPerforming;
    friend void zr::attachMainRunLoop();
    using Clock = std::chrono::steady_clock;

    NSRunLoop();
    static NSRunLoop *existing();
    /// Zero for what is negative or undefined, at most a hundred years.
    static Clock::duration duration(double seconds);
    static void removeTimerFromCurrent(const NSRunLoop *runLoop, const NSTimer *timer);
    void requireOwnThread() const;
    void runUntil(Clock::time_point date);

    const std::unique_ptr<zr::RunLoopTimers> m_timers;
};
