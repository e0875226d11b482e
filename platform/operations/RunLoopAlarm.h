// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"

#include <QAbstractEventDispatcher>
#include <QPointer>
#include <QSocketNotifier>
#include <chrono>
#include <functional>
#include <optional>

namespace zr {

/// Wakes an event dispatcher at a point in time. Qt's own timers count in milliseconds; a timer descriptor
/// doesn't. For the dispatcher's thread only.
class RunLoopAlarm {
public:
    using Clock = std::chrono::steady_clock;

    /// \param wentOff  called by the dispatcher each time; may be nil. Must not raise.
    /// Raises std::system_error if the system grants no descriptor.
    explicit RunLoopAlarm(QAbstractEventDispatcher *dispatcher, std::function<void()> wentOff = nullptr);

    /// A new application brings a new dispatcher, which knows nothing of the old one's notifiers.
    bool belongsTo(const QAbstractEventDispatcher *dispatcher) const { return m_dispatcher == dispatcher; }

    /// The alarm goes off once, at this date instead of any earlier one; at once if it has passed.
    void set(Clock::time_point date);

private:
    const FileDescriptor m_timer;
    QPointer<QAbstractEventDispatcher> m_dispatcher;
    std::optional<QSocketNotifier> m_notifier; ///< ends before the descriptor
};

} // namespace zr
