// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractEventDispatcher>
#include <QPointer>
#include <QSocketNotifier>
#include <chrono>
#include <functional>
#include <optional>

/// Wakes an event dispatcher at a point in time. Qt's own timers count in milliseconds; a timer descriptor
/// doesn't. For the dispatcher's thread only.
class RunLoopAlarm {
public:
    using Clock = std::chrono::steady_clock;

    /// \param wentOff  called by the dispatcher each time; may be nil. Must not throw.
    /// Throws std::system_error where the system grants no descriptor.
    explicit RunLoopAlarm(QAbstractEventDispatcher *dispatcher, std::function<void()> wentOff = nullptr);
    ~RunLoopAlarm();
    RunLoopAlarm(const RunLoopAlarm &) = delete;
    RunLoopAlarm &operator=(const RunLoopAlarm &) = delete;

    /// A new application brings a new dispatcher, which knows nothing of the old one's notifiers.
    bool belongsTo(const QAbstractEventDispatcher *dispatcher) const { return m_dispatcher == dispatcher; }

    /// The alarm goes off once, at this date instead of any earlier one; at once if it has passed.
    void set(Clock::time_point date);

private:
    const int m_fd;
    QPointer<QAbstractEventDispatcher> m_dispatcher;
    std::optional<QSocketNotifier> m_notifier;
};
