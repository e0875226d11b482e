// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/StopSignal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

using namespace zr;

namespace {

/// Counts the signals that nobody has waited for.
int counter = -1;

void note(int) {
    const int before = errno;
    const std::uint64_t one = 1;
    (void)!::write(counter, &one, sizeof one);
    errno = before;
}

void nothing(int) {
}

} // namespace

void StopSignal::install() {
    counter = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE);
    struct sigaction action {};
    action.sa_handler = note;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGTERM, SIGINT})
        ::sigaction(number, &action, nullptr);
    // A handler, not SIG_IGN: that would be handed on to every program that is started.
    action.sa_handler = nothing;
    ::sigaction(SIGPIPE, &action, nullptr);
}

bool StopSignal::wait(std::chrono::milliseconds time) {
    const auto until = std::chrono::steady_clock::now() + time;
    for (;;) {
        std::uint64_t one = 0;
        if (::read(counter, &one, sizeof one) == sizeof one)
            return true;
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return false;
        pollfd poll{counter, POLLIN, 0};
        ::poll(&poll, 1, int(std::min<std::int64_t>(left.count(), 3'600'000)));
    }
}
