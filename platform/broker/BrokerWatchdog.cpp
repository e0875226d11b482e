// SPDX-License-Identifier: MIT
#include "platform/broker/BrokerWatchdog.h"

#include <sys/socket.h>

using namespace zr;

BrokerWatchdog::BrokerWatchdog(std::chrono::milliseconds limit)
    : m_limit(limit), m_thread([this] { run(); }) {
}

BrokerWatchdog::~BrokerWatchdog() {
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

bool BrokerWatchdog::hasBitten() const {
    const std::lock_guard lock(m_mutex);
    return m_bitten;
}

void BrokerWatchdog::watch(int socket) {
    const std::lock_guard lock(m_mutex);
    m_socket = socket;
    // The thread sleeps on: it looks at the deadline when the one before it has passed, which is earlier.
    m_deadline = std::chrono::steady_clock::now() + m_limit;
}

void BrokerWatchdog::run() {
    std::unique_lock lock(m_mutex);
    while (!m_ending) {
        const auto now = std::chrono::steady_clock::now();
        if (m_socket >= 0 && now >= m_deadline && !m_bitten) {
            m_bitten = true;
            ::shutdown(m_socket, SHUT_RDWR);
        }
        const bool isWatching = m_socket >= 0 && !m_bitten;
        m_changed.wait_until(lock, isWatching ? m_deadline : now + m_limit);
    }
}
