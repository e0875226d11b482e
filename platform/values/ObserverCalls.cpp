// SPDX-License-Identifier: MIT
#include "platform/values/ObserverCalls.h"

#include <algorithm>

bool ObserverCalls::enter() {
    const std::lock_guard lock(m_mutex);
    if (!m_ended)
        m_callers.push_back(std::this_thread::get_id());
    return !m_ended;
}

void ObserverCalls::leave() {
    const std::lock_guard lock(m_mutex);
    m_callers.erase(std::find(m_callers.rbegin(), m_callers.rend(), std::this_thread::get_id()).base() - 1);
    m_left.notify_all();
}

void ObserverCalls::end() {
    const auto self = std::this_thread::get_id();
    std::unique_lock lock(m_mutex);
    m_ended = true;
    m_left.wait(lock, [&] {
        return std::all_of(m_callers.begin(), m_callers.end(), [&](auto caller) { return caller == self; });
    });
}
