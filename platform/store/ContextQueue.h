// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

namespace zr {

/// Where the blocks of a context run: one at a time, in the order of their arrival. Any thread.
class ContextQueue {
public:
    virtual ~ContextQueue() = default;

    /// The main thread.
    static std::unique_ptr<ContextQueue> main();
    /// An operation queue of its own. A block that somebody waits for runs on the waiting thread, in its turn.
    static std::unique_ptr<ContextQueue> privateQueue();

    /// Adds a block and returns at once. What it raises is logged.
    virtual void async(std::function<void()> block) = 0;
    /// Adds a block and waits until it has run; what it raises is raised here. A block that runs in this queue already
    /// goes on with it at once. While the main thread waits here, it runs the blocks that others wait for it to run: a
    /// context whose parent is the main one may need them for what is waited for.
    virtual void sync(const std::function<void()> &block) = 0;
};

} // namespace zr
