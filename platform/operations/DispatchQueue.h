// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace zr {

/// The queue of blocks that run on the main thread, one after the other, in the order of their arrival.
///
/// The main thread's event loop runs them, be it QCoreApplication::exec(), an NSRunLoop, or any nested loop. No block
/// starts while another one of the queue is running, even if that one runs the event loop.
class DispatchQueue {
public:
    DispatchQueue(const DispatchQueue &) = delete;
    DispatchQueue &operator=(const DispatchQueue &) = delete;

    static DispatchQueue &mainQueue();

    /// Adds a block and returns at once; any thread. Blocks added before there is an application wait for it.
    /// An exception that leaves the block is logged.
    void async(std::function<void()> block);

    /// Adds a block after a delay, which begins now, and returns at once; any thread. Negative delays are
    /// none. Without an application at the end of the delay the block never runs.
    void asyncAfter(std::chrono::nanoseconds delay, std::function<void()> block);

    /// Adds a block and waits until it has run; what it raises is raised here. On the main thread itself the
    /// block runs at once, as a block of the queue.
    void sync(const std::function<void()> &block);

private:
    class Receiver;

    DispatchQueue() = default;
    static void applicationStarted();
    void add(std::function<void()> block);
    void addAt(std::chrono::steady_clock::time_point date, std::function<void()> block);
    void drain();
    void wake();

    std::mutex m_mutex;
    std::deque<std::function<void()>> m_blocks;
    Receiver *m_receiver = nullptr;
    bool m_running = false;
    bool m_woken = false;

    friend void startDispatchQueue();
};

/// Called when the application starts.
void startDispatchQueue();

} // namespace zr
