// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace zr {

/// Ends library calls that don't return: past a call's time it shuts the socket down, and the call fails.
///
/// librabbitmq has no limit for writing. Once the broker has been silent for two heartbeats, amqp_basic_publish() waits for
/// input without one, and a broker that is short of memory stops reading. One call at a time; call() and the destructor are
/// for the thread that makes the calls.
class BrokerWatchdog {
public:
    explicit BrokerWatchdog(std::chrono::milliseconds limit);
    ~BrokerWatchdog();
    BrokerWatchdog(const BrokerWatchdog &) = delete;
    BrokerWatchdog &operator=(const BrokerWatchdog &) = delete;

    /// Makes the call on this thread.
    template <typename Function>
    auto call(int socket, Function function) {
        const Watch watch(*this, socket);
        return function();
    }
    /// Whether a call was ended; the connection is of no use then.
    bool hasBitten() const;

private:
    struct Watch {
        Watch(BrokerWatchdog &dog, int socket) : m_dog(dog) { m_dog.watch(socket); }
        ~Watch() { m_dog.watch(-1); }
        Watch(const Watch &) = delete;
        Watch &operator=(const Watch &) = delete;
        BrokerWatchdog &m_dog;
    };

    void watch(int socket);
    void run();

    const std::chrono::milliseconds m_limit;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_ending = false;
    bool m_bitten = false;
    int m_socket = -1;
    std::chrono::steady_clock::time_point m_deadline = std::chrono::steady_clock::time_point::max();
    std::thread m_thread;
};

} // namespace zr
