// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/RunLoopAlarm.h"
#include "platform/values/NSSelector.h"

#include <QVariant>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>

class NSTimer;
class QObject;

namespace zr {

/// What one run loop has to do at points in time: timers and delayed messages. For the run loop's thread
/// only.
///
/// All of them share one alarm, which is moved only when something is due earlier.
class RunLoopTimers {
public:
    using Clock = RunLoopAlarm::Clock;

    RunLoopTimers() = default;
    RunLoopTimers(const RunLoopTimers &) = delete;
    RunLoopTimers &operator=(const RunLoopTimers &) = delete;

    /// Adds a timer that isn't there yet.
    void add(const std::shared_ptr<NSTimer> &timer);
    void remove(const NSTimer *timer);

    void addPerform(std::shared_ptr<QObject> target, const NSSelector &selector, const QVariant &object,
                    Clock::time_point date);
    void removePerforms(const QObject *target);
    void removePerforms(const QObject *target, const NSSelector &selector, const QVariant &object);

    /// The thread has a new dispatcher, which is to serve what is there.
    void attach();

    /// Gives everything up.
    void clear();

private:
    struct Entry {
        std::shared_ptr<NSTimer> timer; ///< nullptr for a delayed message
        std::shared_ptr<QObject> target;
        NSSelector selector;
        QVariant object; ///< the argument
    };
    /// The order in which things are due; of those due at the same moment the one added first comes first.
    struct Due {
        Clock::time_point date;
        std::uint64_t number;
        bool operator<(const Due &other) const {
            return date != other.date ? date < other.date : number < other.number;
        }
    };
    using Entries = std::map<Due, Entry>;

    void insert(const void *owner, Entry entry, Clock::time_point date);
    template <typename Matches>
    void removeMatching(const void *owner, Matches matches);
    /// Sees to it that the dispatcher, if there is one, wakes for what is due first.
    void arm();
    Entry takeFirst();
    void fireDue();
    void fire(const Entry &entry);

    Entries m_entries;
    std::multimap<const void *, Entries::iterator> m_byOwner; ///< the timer or the target
    std::uint64_t m_lastNumber = 0;
    std::unique_ptr<RunLoopAlarm> m_alarm;
    std::optional<Clock::time_point> m_armedFor;
};

} // namespace zr
