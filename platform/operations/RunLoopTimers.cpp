// SPDX-License-Identifier: MIT
#include "platform/operations/RunLoopTimers.h"

#include "platform/base/NSException.h"
#include "platform/operations/NSTimer.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSObjectRuntime.h"

#include <QAbstractEventDispatcher>
#include <QObject>
#include <utility>
#include <vector>

using namespace zr;

void RunLoopTimers::insert(const void *owner, Entry entry, Clock::time_point date) {
    const auto at = m_entries.emplace(Due{date, ++m_lastNumber}, std::move(entry)).first;
    m_byOwner.emplace(owner, at);
    if (at == m_entries.begin() && !(m_armedFor && *m_armedFor <= date))
        arm();
}

void RunLoopTimers::add(const std::shared_ptr<NSTimer> &timer) {
    if (m_byOwner.find(timer.get()) == m_byOwner.end())
        insert(timer.get(), Entry{timer, nullptr, {}, {}}, timer->m_fireDate);
}

void RunLoopTimers::addPerform(std::shared_ptr<QObject> target, const NSSelector &selector,
                               const QVariant &object, Clock::time_point date) {
    const QObject *const owner = target.get();
    insert(owner, Entry{nullptr, std::move(target), selector, object}, date);
}

template <typename Matches>
void RunLoopTimers::removeMatching(const void *owner, Matches matches) {
    // Let go at the end: the last owner's end may come back here.
    std::vector<Entry> removed;
    auto [at, end] = m_byOwner.equal_range(owner);
    while (at != end) {
        if (!matches(at->second->second)) {
            ++at;
            continue;
        }
        removed.push_back(std::move(at->second->second));
        m_entries.erase(at->second);
        at = m_byOwner.erase(at);
    }
}

void RunLoopTimers::remove(const NSTimer *timer) {
    removeMatching(timer, [](const Entry &) { return true; });
}

void RunLoopTimers::removePerforms(const QObject *target) {
    removeMatching(target, [](const Entry &) { return true; });
}

void RunLoopTimers::removePerforms(const QObject *target, const NSSelector &selector,
                                   const QVariant &object) {
    removeMatching(target, [&](const Entry &entry) {
        return entry.selector == selector && NSObjectRuntime::isEqual(entry.object, object);
    });
}

void RunLoopTimers::attach() {
    m_armedFor.reset();
    arm();
}

void RunLoopTimers::arm() {
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    if (m_entries.empty() || !dispatcher)
        return;
    if (!m_alarm || !m_alarm->belongsTo(dispatcher)) {
        m_alarm = std::make_unique<RunLoopAlarm>(dispatcher, [this] { fireDue(); });
        m_armedFor.reset();
    }
    const Clock::time_point date = m_entries.begin()->first.date;
    if (!m_armedFor || date < *m_armedFor) {
        m_alarm->set(date);
        m_armedFor = date;
    }
}

RunLoopTimers::Entry RunLoopTimers::takeFirst() {
    const auto first = m_entries.begin();
    Entry entry = std::move(first->second);
    const void *owner = entry.timer ? static_cast<const void *>(entry.timer.get())
                                    : static_cast<const void *>(entry.target.get());
    auto [at, end] = m_byOwner.equal_range(owner);
    while (at->second != first)
        ++at;
    m_byOwner.erase(at);
    m_entries.erase(first);
    return entry;
}

void RunLoopTimers::fireDue() {
    m_armedFor.reset();
    const Clock::time_point now = Clock::now();
    // What is added from now on waits for the next round, so that other events are served in between.
    const std::uint64_t last = m_lastNumber;
    while (!m_entries.empty() && m_entries.begin()->first.date <= now &&
           m_entries.begin()->first.number <= last) {
        const Entry entry = takeFirst();
        // Before it is called, since it may run the loop.
        arm();
        fire(entry);
    }
    arm();
}

void RunLoopTimers::fire(const Entry &entry) {
    try {
        if (!entry.timer) {
            NSObjectRuntime::perform(QVariant::fromValue(entry.target.get()), entry.selector,
                                     entry.selector.argumentCount() ? QVariantList{entry.object}
                                                                    : QVariantList());
            return;
        }
        entry.timer->fire();
    } catch (...) {
        NSLog("Exception in a timer or delayed message: %@", NSException::currentDescription());
    }
    if (entry.timer && entry.timer->isValid()) {
        entry.timer->advance();
        add(entry.timer);
    }
}

void RunLoopTimers::clear() {
    m_byOwner.clear();
    const Entries entries = std::exchange(m_entries, {});
}
