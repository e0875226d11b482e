// SPDX-License-Identifier: MIT
#include "platform/operations/RunLoopAlarm.h"

#include "platform/base/SystemError.h"

#include <algorithm>
#include <sys/timerfd.h>
#include <unistd.h>
#include <utility>

using namespace zr;

RunLoopAlarm::RunLoopAlarm(QAbstractEventDispatcher *dispatcher, std::function<void()> wentOff)
    : m_timer(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)), m_dispatcher(dispatcher) {
    if (!m_timer)
        throw std::system_error(systemError(), "timerfd_create");
    m_notifier.emplace(m_timer.get(), QSocketNotifier::Read);
    // Reading takes the alarm back.
    QObject::connect(&*m_notifier, &QSocketNotifier::activated,
                     [fd = m_timer.get(), wentOff = std::move(wentOff)] {
                         std::uint64_t expirations;
                         if (::read(fd, &expirations, sizeof expirations) > 0 && wentOff)
                             wentOff();
                     });
}

void RunLoopAlarm::set(Clock::time_point date) {
    // Zero would switch the timer off.
    const auto since = std::max(date.time_since_epoch(), Clock::duration(1));
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
    itimerspec spec{};
    spec.it_value.tv_sec = time_t(seconds.count());
    spec.it_value.tv_nsec = long(std::chrono::nanoseconds(since - seconds).count());
    ::timerfd_settime(m_timer.get(), TFD_TIMER_ABSTIME, &spec, nullptr);
}
