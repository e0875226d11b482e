// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// A door that one thread opens and others wait at.
class Gate {
public:
    void open() {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_opened.notify_all();
    }
    /// False if it isn't opened within a time that only a broken program needs.
    bool pass() {
        std::unique_lock lock(m_mutex);
        return m_opened.wait_for(lock, std::chrono::seconds(60), [this] { return m_open; });
    }
    bool isOpen() const {
        const std::lock_guard lock(m_mutex);
        return m_open;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_opened;
    bool m_open = false;
};
