// SPDX-License-Identifier: MIT
#pragma once

#include <QVariant>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>

class NSRunLoop;
namespace zr {
class RunLoopTimers;
}

/// A timer that calls its action, once or repeatedly, on the thread of the run loop that it is added to. The run loop
/// keeps it alive until it is invalidated.
///
/// A repeating timer keeps its original rhythm; missed firings are left out. It doesn't fire while its own action runs.
/// Its precision is that of the system's clock, not milliseconds. Any thread may make and invalidate it.
class NSTimer : public std::enable_shared_from_this<NSTimer> {
    struct Private {};

public:
    using Action = std::function<void(NSTimer &)>;

    /// A timer that isn't scheduled yet: add it by NSRunLoop::addTimer().
    /// \param seconds   the interval, which begins now; zero, negative and undefined ones count as 0.0001
    /// \param action    what is called; nil is nothing. What it raises is logged.
    /// \param userInfo  anything
    static std::shared_ptr<NSTimer> timerWithTimeInterval(double seconds, Action action,
                                                          const QVariant &userInfo, bool repeats);
    /// The same, scheduled on the calling thread's run loop.
    static std::shared_ptr<NSTimer> scheduledTimerWithTimeInterval(double seconds, Action action,
                                                                   const QVariant &userInfo, bool repeats);

    NSTimer(Private, double seconds, Action action, const QVariant &userInfo, bool repeats);
    NSTimer(const NSTimer &) = delete;
    NSTimer &operator=(const NSTimer &) = delete;

    /// Calls the action at once, on the calling thread; a timer that doesn't repeat is invalid afterwards.
    /// Nothing happens if it is invalid. Raises what the action raises.
    void fire();
    /// Ends the timer for good and lets go of its action and user info. On the run loop's own thread it never
    /// fires again and is given up at once; on another thread a firing may be under way, and the run loop
    /// lets go of the timer when it would have been due.
    void invalidate();

    /// Any thread.
    bool isValid() const { return m_valid; }
    /// In seconds; 0 for a timer that doesn't repeat.
    double timeInterval() const;
    /// nil once it is invalid.
    QVariant userInfo() const;

private:
    friend class NSRunLoop;
    friend class zr::RunLoopTimers;
    using Clock = std::chrono::steady_clock;

    /// Sets the next firing of a repeating timer.
    void advance();

    const Clock::duration m_interval;
    const bool m_repeats;
    Clock::time_point m_fireDate; ///< of the run loop's thread, once it is scheduled
    std::atomic<bool> m_valid{true};
    mutable std::mutex m_mutex; ///< guards the rest
    Action m_action;
    QVariant m_userInfo;
    NSRunLoop *m_runLoop = nullptr;
};
