// SPDX-License-Identifier: MIT
#include "platform/operations/NSTimer.h"

#include "platform/operations/NSRunLoop.h"

#include <algorithm>
#include <utility>

namespace {

constexpr double shortest = 0.0001;

} // namespace

NSTimer::NSTimer(Private, double seconds, Action action, const QVariant &userInfo, bool repeats)
    : m_interval(std::max(NSRunLoop::duration(seconds > 0 ? seconds : shortest), Clock::duration(1))),
      m_repeats(repeats), m_fireDate(Clock::now() + m_interval), m_action(std::move(action)),
      m_userInfo(userInfo) {
}

std::shared_ptr<NSTimer> NSTimer::timerWithTimeInterval(double seconds, Action action,
                                                        const QVariant &userInfo, bool repeats) {
    return std::make_shared<NSTimer>(Private(), seconds, std::move(action), userInfo, repeats);
}

std::shared_ptr<NSTimer> NSTimer::scheduledTimerWithTimeInterval(double seconds, Action action,
                                                                 const QVariant &userInfo, bool repeats) {
    auto timer = timerWithTimeInterval(seconds, std::move(action), userInfo, repeats);
    NSRunLoop::currentRunLoop().addTimer(timer);
    return timer;
}

void NSTimer::fire() {
    const auto self = shared_from_this();
    Action action;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_valid)
            return;
        action = m_action;
    }
    // Whatever the action throws, a timer that doesn't repeat is over.
    struct End {
        NSTimer *timer;
        ~End() {
            if (!timer->m_repeats)
                timer->invalidate();
        }
    } const end{this};
    if (action)
        action(*this);
}

void NSTimer::invalidate() {
    const auto self = weak_from_this().lock();
    // Let go after the lock: their own ends may come back here.
    Action action;
    QVariant userInfo;
    NSRunLoop *runLoop = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        m_valid = false;
        action.swap(m_action);
        userInfo.swap(m_userInfo);
        runLoop = std::exchange(m_runLoop, nullptr);
    }
    if (runLoop)
        NSRunLoop::removeTimerFromCurrent(runLoop, this);
}

double NSTimer::timeInterval() const {
    return m_repeats ? std::chrono::duration<double>(m_interval).count() : 0;
}

QVariant NSTimer::userInfo() const {
    const std::lock_guard lock(m_mutex);
    return m_userInfo;
}

void NSTimer::advance() {
    const Clock::time_point now = Clock::now();
    m_fireDate += m_interval;
    if (m_fireDate <= now)
        m_fireDate += (now - m_fireDate) / m_interval * m_interval + m_interval;
}
