// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <atomic>
#include <chrono>
#include <curl/curl.h>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <poll.h>
#include <thread>
#include <unordered_set>
#include <utility>
#include <vector>

class NSURLConnection;

/// A thread with a loop that carries connections and runs blocks that others hand to it.
///
/// It waits in the system for the sockets of all its connections at once, and for nothing else; it needs no
/// application object. The transfers' own interface may be used on its thread only.
class TransferLoop {
public:
    using Clock = std::chrono::steady_clock;
    class Transfer;
    using Timers = std::multimap<Clock::time_point, Transfer *>;

    /// What the loop tells a transfer.
    class Transfer {
    public:
        virtual ~Transfer() = default;
        /// The handle has come to its end, and is the transfer's again.
        virtual void handleDidFinish(CURLcode code) = 0;
        virtual void timerDidFire() = 0;

    private:
        friend class TransferLoop;
        std::optional<Timers::iterator> m_timer;
    };

    /// Starts the thread.
    explicit TransferLoop(const QString &threadName);
    /// Cancels the connections that are left, drops the blocks that wait, and ends the thread.
    ~TransferLoop();
    TransferLoop(const TransferLoop &) = delete;
    TransferLoop &operator=(const TransferLoop &) = delete;

    /// Runs the block on the thread, after those handed over before, and returns at once; any thread. An
    /// exception that leaves the block is logged.
    void perform(std::function<void()> block);
    bool isCurrentThread() const { return std::this_thread::get_id() == m_thread.get_id(); }

    /// Keeps a connection alive while it loads.
    void keep(const std::shared_ptr<NSURLConnection> &connection);
    void release(const std::shared_ptr<NSURLConnection> &connection);

    /// A handle in its initial state, with its warm buffers where possible.
    CURL *takeHandle();
    void giveHandleBack(CURL *handle);
    /// Starts the transfer that the handle describes.
    void add(CURL *handle, Transfer *transfer);
    /// Ends it, if it is running.
    void remove(CURL *handle);
    /// Whether a callback of libcurl is running, in which handles can't be added or removed.
    bool isInsideCurl() const { return m_insideCurl; }
    /// Calls timerDidFire() at that time, and at no other.
    void setTimer(Transfer *transfer, Clock::time_point time);
    void clearTimer(Transfer *transfer);

private:
    void run();
    /// The milliseconds until there is something to do, -1 for ever. From here on the loop counts as waiting.
    int waitingTime();
    void act(curl_socket_t socket, int events);
    void finishHandles();
    void runBlocks();
    void fireTimers();
    void wake();
    static int socketDidChange(CURL *, curl_socket_t socket, int what, void *loop, void *);
    static int timeoutDidChange(CURLM *, long milliseconds, void *loop);

    int m_wakeUp = -1;
    /// What is waited for. They are few: telling the system of each change would cost more than the whole
    /// list does each time.
    std::vector<pollfd> m_sockets;
    CURLM *m_multi = nullptr;
    bool m_insideCurl = false;
    std::vector<CURL *> m_spareHandles;
    std::unordered_set<CURL *> m_handles;
    std::unordered_set<std::shared_ptr<NSURLConnection>> m_connections;
    Clock::time_point m_curlTime = Clock::time_point::max();
    Timers m_timers;

    std::mutex m_mutex;
    std::vector<std::function<void()>> m_blocks;
    /// Whether a new block has to wake the thread: it waits, or is about to, and nobody has woken it yet.
    bool m_waiting = false;
    std::atomic<bool> m_ending{false};
    std::thread m_thread;
};
