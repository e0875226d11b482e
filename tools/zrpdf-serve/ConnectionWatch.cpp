// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/ConnectionWatch.h"

#include <array>
#include <cstdint>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

using namespace zr;

namespace {

/// How late a limit may be noticed.
constexpr int tick = 250;

std::uint64_t eventFor(int descriptor, std::uint32_t watch) {
    return std::uint64_t(watch) << 32U | std::uint32_t(descriptor);
}

} // namespace

ConnectionWatch::ConnectionWatch()
    : m_epoll(::epoll_create1(EPOLL_CLOEXEC)), m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    epoll_event event{.events = EPOLLIN, .data = {.u64 = eventFor(m_wake.get(), 0)}};
    ::epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, m_wake.get(), &event);
    m_thread = std::thread([this] { run(); });
}

ConnectionWatch::~ConnectionWatch() {
    {
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
    }
    wake();
    m_thread.join();
}

void ConnectionWatch::wake() const {
    const std::uint64_t one = 1;
    (void)!::write(m_wake.get(), &one, sizeof one);
}

void ConnectionWatch::setLimit(int descriptor, std::chrono::milliseconds time) {
    const std::lock_guard lock(m_mutex);
    const bool isFirst = m_connections.empty();
    m_connections[descriptor].limit = Clock::now() + time;
    if (isFirst)
        wake();
}

void ConnectionWatch::watchHangUp(int descriptor, const std::stop_source &gone) {
    const std::lock_guard lock(m_mutex);
    m_connections[descriptor] = {.limit = {}, .gone = gone, .watch = ++m_watches};
    epoll_event event{.events = EPOLLRDHUP | EPOLLONESHOT, .data = {.u64 = eventFor(descriptor, m_watches)}};
    ::epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, descriptor, &event);
}

void ConnectionWatch::endHangUp(int descriptor) {
    const std::lock_guard lock(m_mutex);
    ::epoll_ctl(m_epoll.get(), EPOLL_CTL_DEL, descriptor, nullptr);
    if (const auto found = m_connections.find(descriptor); found != m_connections.end())
        found->second.gone.reset();
}

void ConnectionWatch::forget(int descriptor) {
    const std::lock_guard lock(m_mutex);
    m_connections.erase(descriptor);
}

void ConnectionWatch::run() {
    std::vector<std::stop_source> gone;
    for (;;) {
        bool isIdle = false;
        {
            const std::lock_guard lock(m_mutex);
            if (m_isOver)
                return;
            isIdle = m_connections.empty();
        }
        std::array<epoll_event, 64> events{};
        const int count = ::epoll_wait(m_epoll.get(), events.data(), int(events.size()), isIdle ? -1 : tick);
        {
            const std::lock_guard lock(m_mutex);
            for (int index = 0; index < count; ++index) {
                const std::uint64_t data = events[std::size_t(index)].data.u64;
                const int descriptor = int(data & 0xffffffffU);
                std::uint64_t times = 0;
                if (descriptor == m_wake.get())
                    (void)!::read(descriptor, &times, sizeof times);
                else if (const auto found = m_connections.find(descriptor);
                         found != m_connections.end() && found->second.gone &&
                         found->second.watch == data >> 32U)
                    gone.push_back(*found->second.gone);
            }
            const auto now = Clock::now();
            for (auto &[descriptor, connection] : m_connections) {
                if (!connection.limit || now < *connection.limit)
                    continue;
                // Its owner then sees the end, and closes it.
                ::shutdown(descriptor, SHUT_RDWR);
                connection.limit.reset();
            }
        }
        // Who hears of it may call back.
        for (std::stop_source &each : gone)
            each.request_stop();
        gone.clear();
    }
}
