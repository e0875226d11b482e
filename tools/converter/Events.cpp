// SPDX-License-Identifier: MIT
#include "tools/converter/Events.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

using namespace zr;

Events::Events() : m_descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
}

void Events::post(Event event) {
    {
        const std::lock_guard lock(m_mutex);
        m_posted.push_back(std::move(event));
    }
    const std::uint64_t one = 1;
    (void)!::write(descriptor(), &one, sizeof one);
}

void Events::run(std::chrono::steady_clock::time_point until) {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(until - std::chrono::steady_clock::now()).count();
    pollfd poll{descriptor(), POLLIN, 0};
    ::poll(&poll, 1, int(std::clamp<std::int64_t>(left, 0, INT_MAX)));
    std::uint64_t count = 0;
    (void)!::read(descriptor(), &count, sizeof count);
    std::vector<Event> events;
    {
        const std::lock_guard lock(m_mutex);
        events.swap(m_posted);
    }
    for (const Event &event : events)
        event();
}
