// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>

namespace zr {

/// Looks after connections where the HTTP library doesn't: it ends those that dawdle, however busily they do so, and tells
/// when a client hangs up while its request is worked on. Any thread may call.
///
/// A client that has closed its sending half counts as gone.
class ConnectionWatch {
public:
    ConnectionWatch();
    ~ConnectionWatch();
    ConnectionWatch(const ConnectionWatch &) = delete;
    ConnectionWatch &operator=(const ConnectionWatch &) = delete;

    /// The connection is cut at the end of that time, unless this is called again before.
    void setLimit(int descriptor, std::chrono::milliseconds time);
    /// From here on the client may wait as long as it takes; a stop of the source is requested when it hangs up.
    void watchHangUp(int descriptor, const std::stop_source &gone);
    /// The client is answered: its hanging up matters no more.
    void endHangUp(int descriptor);
    /// The descriptor is about to be closed.
    void forget(int descriptor);

private:
    using Clock = std::chrono::steady_clock;
    struct Connection {
        std::optional<Clock::time_point> limit;
        std::optional<std::stop_source> gone;
        std::uint32_t watch = 0; ///< tells it from earlier ones of the same number
    };

    void run();
    void wake() const;

    const FileDescriptor m_epoll;
    const FileDescriptor m_wake;
    std::mutex m_mutex;
    std::map<int, Connection> m_connections;
    std::uint32_t m_watches = 0;
    bool m_isOver = false;
    std::thread m_thread;
};

} // namespace zr
