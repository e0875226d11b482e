// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <csignal>
#include <ctime>

namespace zr {

/// Keeps SIGPIPE from the current thread while it lives: writing to a connection whose other end is gone is
/// an error like any, and must not end the process. libcurl leaves this to its user, as OpenSSL writes
/// without MSG_NOSIGNAL.
class BlockedPipeSignal {
public:
    BlockedPipeSignal() {
        sigset_t pending;
        ::sigpending(&pending);
        m_wasPending = ::sigismember(&pending, SIGPIPE) == 1;
        ::sigemptyset(&m_pipe);
        ::sigaddset(&m_pipe, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &m_pipe, &m_before);
    }
    ~BlockedPipeSignal() {
        // What came meanwhile would be delivered now.
        const timespec now{};
        while (!m_wasPending && ::sigtimedwait(&m_pipe, nullptr, &now) < 0 && errno == EINTR) {
        }
        ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    BlockedPipeSignal(const BlockedPipeSignal &) = delete;
    BlockedPipeSignal &operator=(const BlockedPipeSignal &) = delete;

private:
    sigset_t m_pipe;
    sigset_t m_before;
    bool m_wasPending;
};

} // namespace zr
