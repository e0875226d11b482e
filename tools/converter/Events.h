// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <vector>

namespace zr {

/// Hands what happened on any thread to the one that deals with it.
class Events {
public:
    using Event = std::function<void()>;

    Events();

    /// An eventfd; writing to it ends a wait.
    int descriptor() const { return m_descriptor.get(); }
    void post(Event event);
    /// Runs what was posted so far, after waiting until there is something, the descriptor was written to, or
    /// the time has come.
    void run(std::chrono::steady_clock::time_point until);

private:
    const FileDescriptor m_descriptor;
    std::mutex m_mutex;
    std::vector<Event> m_posted;
};

} // namespace zr
