// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <atomic>
#include <chrono>
#include <curl/curl.h>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class NSURLConnection;

namespace zr {

/// A thread with a loop that carries connections and runs blocks that others hand to it. It needs no
/// application object. perform(), isCurrentThread() and reach() are for any thread, all else for the loop's own.
class TransferLoop {
public:
    using Clock = std::chrono::steady_clock;

    /// What the loop tells a transfer.
    class Transfer {
    public:
        virtual ~Transfer() = default;
        /// The handle has come to its end, and is the transfer's again.
        virtual void handleDidFinish(CURLcode code) = 0;
        /// Moves the deadline or removes the handle.
        virtual void deadlineDidPass() = 0;
        Clock::time_point deadline() const { return m_deadline; }

    protected:
        Clock::time_point m_deadline = Clock::time_point::max();
    };

    /// How far the loop's transfers get. It is the loop's, and not a transfer's, because a connection that one transfer
    /// has opened is used again by the next without being looked at.
    enum class Reach {
        Anything,
        /// Public addresses (AddressPolicy.h), looked at when a connection is about to be made, whatever name or
        /// redirect led there. No proxy is used, because it would connect to addresses that nobody here sees.
        PublicAddresses,
    };

    /// Starts the thread.
    explicit TransferLoop(const QString &threadName, Reach reach = Reach::Anything);
    /// Cancels the connections that are left, drops the blocks that wait, and ends the thread.
    ~TransferLoop();
    TransferLoop(const TransferLoop &) = delete;
    TransferLoop &operator=(const TransferLoop &) = delete;

    /// Runs the block on the thread, after those handed over before, and returns at once. An exception that
    /// leaves the block is logged.
    void perform(std::function<void()> block);
    bool isCurrentThread() const { return std::this_thread::get_id() == m_thread.get_id(); }
    Reach reach() const { return m_reach; }

    /// Keeps a connection alive while it loads.
    void keep(const std::shared_ptr<NSURLConnection> &connection) { m_connections.insert(connection); }
    void release(const std::shared_ptr<NSURLConnection> &connection) { m_connections.erase(connection); }

    /// Starts the transfer that the handle describes. Neither this nor remove() may be called by callbacks of
    /// libcurl.
    void add(CURL *handle, Transfer *transfer);
    /// Ends it if it is running.
    void remove(CURL *handle);

private:
    void run();
    void runBlocks();
    void runTransfers();
    void passDeadlines();
    Clock::time_point nextDeadline() const;
    void wait();

    const Reach m_reach;
    CURLM *m_multi;
    std::unordered_map<CURL *, Transfer *> m_transfers;
    std::unordered_set<std::shared_ptr<NSURLConnection>> m_connections;

    std::mutex m_mutex;
    std::vector<std::function<void()>> m_blocks;
    std::atomic<bool> m_ending{false};
    std::thread m_thread;
};

} // namespace zr
