// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <chrono>
#include <memory>

/// The event loop of a thread, run for a while by whoever waits for something that arrives through it.
///
/// It runs on Qt's event dispatcher: timers, sockets, posted events and the main queue are all served, and it
/// may be run from inside an event handler, to any depth.
class NSRunLoop {
public:
    ~NSRunLoop();
    NSRunLoop(const NSRunLoop &) = delete;
    NSRunLoop &operator=(const NSRunLoop &) = delete;

    /// The main thread's run loop; any thread may ask for it, only the main thread may run it.
    static NSRunLoop &mainRunLoop();
    /// The calling thread's run loop, made on first use; only from then on the thread can have timers and
    /// sockets.
    static NSRunLoop &currentRunLoop();

    /// Serves events until the date has passed; with a date that isn't valid or has passed, what is due now.
    /// Throws NSException (NSInternalInconsistencyException) on another thread than the run loop's own.
    void runUntilDate(const QDateTime &date);
    /// The same until so many seconds from now, with the clock's full precision: the thread sleeps in the
    /// system between events and comes back as soon as the time is over, for an interval of 0.0001 too.
    void runUntilDate(double secondsFromNow);

private:
    class Alarm;
    using Clock = std::chrono::steady_clock;

    NSRunLoop();
    void runUntil(Clock::time_point date);

    std::unique_ptr<Alarm> m_alarm;
};
