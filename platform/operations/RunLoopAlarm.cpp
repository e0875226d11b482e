// SPDX-License-Identifier: MIT
#include "platform/operations/RunLoopAlarm.h"

#include <algorithm>
#include <sys/timerfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

RunLoopAlarm::RunLoopAlarm(QAbstractEventDispatcher *dispatcher, std::function<void()> wentOff)
    : m_fd(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)), m_dispatcher(dispatcher) {
    if (m_fd < 0)
        throw std::system_error(errno, std::generic_category(), "timerfd_create");
    m_notifier.emplace(m_fd, QSocketNotifier::Read);
    // Reading takes the alarm back.
    QObject::connect(&*m_notifier, &QSocketNotifier::activated, [fd = m_fd, wentOff = std::move(wentOff)] {
        std::uint64_t expirations;
        if (::read(fd, &expirations, sizeof expirations) > 0 && wentOff)
            wentOff();
    });
}

RunLoopAlarm::~RunLoopAlarm() {
    m_notifier.reset();
    ::close(m_fd);
}

void RunLoopAlarm::set(Clock::time_point date) {
    // Zero would switch the timer off.
    const auto since = std::max(date.time_since_epoch(), Clock::duration(1));
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
    itimerspec spec{};
    spec.it_value.tv_sec = time_t(seconds.count());
    spec.it_value.tv_nsec = long(std::chrono::nanoseconds(since - seconds).count());
    ::timerfd_settime(m_fd, TFD_TIMER_ABSTIME, &spec, nullptr);
}
