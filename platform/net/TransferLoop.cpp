// SPDX-License-Identifier: MIT
#include "platform/net/TransferLoop.h"

#include "platform/base/BlockedPipeSignal.h"
#include "platform/base/NSException.h"
#include "platform/net/NSURLConnection.h"
#include "platform/operations/NSThread.h"
#include "platform/values/NSLog.h"

#include <algorithm>
#include <openssl/crypto.h>
#include <stdexcept>
#include <utility>

namespace zr {

namespace {

/// Idle connections that are kept. libcurl's own measure, four for each running transfer, would have it close
/// some whenever few transfers run.
constexpr long mostConnections = 32;
/// Connections that strangers' documents may have at a time, to one server and in all: those of a browser.
constexpr long mostToOneServer = 6;
constexpr long mostToServers = 64;

CURLM *newMulti() {
    static const bool isReady = [] {
        // Threads that transfer run until the process ends: nothing may be taken away from under them at
        // exit.
        OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
        return curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    }();
    CURLM *multi = isReady ? curl_multi_init() : nullptr;
    if (!multi)
        throw std::runtime_error("libcurl can't be used");
    return multi;
}

} // namespace

TransferLoop::TransferLoop(const QString &threadName, Reach reach) : m_reach(reach), m_multi(newMulti()) {
    curl_multi_setopt(m_multi, CURLMOPT_MAXCONNECTS, mostConnections);
    if (reach == Reach::PublicAddresses) {
        curl_multi_setopt(m_multi, CURLMOPT_MAX_HOST_CONNECTIONS, mostToOneServer);
        curl_multi_setopt(m_multi, CURLMOPT_MAX_TOTAL_CONNECTIONS, mostToServers);
    }
    m_thread = std::thread([this, threadName] {
        const BlockedPipeSignal blocked;
        NSThread::currentThread().setName(threadName);
        run();
    });
}

TransferLoop::~TransferLoop() {
    m_ending = true;
    curl_multi_wakeup(m_multi);
    m_thread.join();
    curl_multi_cleanup(m_multi);
}

void TransferLoop::perform(std::function<void()> block) {
    {
        const std::lock_guard lock(m_mutex);
        m_blocks.push_back(std::move(block));
        if (m_blocks.size() > 1)
            return; // the first has woken the thread
    }
    curl_multi_wakeup(m_multi);
}

void TransferLoop::add(CURL *handle, Transfer *transfer) {
    m_transfers.emplace(handle, transfer);
    curl_multi_add_handle(m_multi, handle);
}

void TransferLoop::remove(CURL *handle) {
    if (m_transfers.erase(handle) > 0)
        curl_multi_remove_handle(m_multi, handle);
}

void TransferLoop::runBlocks() {
    std::vector<std::function<void()>> blocks;
    {
        const std::lock_guard lock(m_mutex);
        blocks.swap(m_blocks);
    }
    for (auto &block : blocks) {
        try {
            block();
        } catch (...) {
            NSLog("Exception on the thread %@: %@", NSThread::currentThread().name(),
                  NSException::currentDescription());
        }
        block = nullptr;
    }
}

void TransferLoop::runTransfers() {
    int count = 0;
    curl_multi_perform(m_multi, &count);
    while (const CURLMsg *message = curl_multi_info_read(m_multi, &count)) {
        const CURLcode code = message->data.result;
        CURL *handle = message->easy_handle;
        Transfer *finished = m_transfers.at(handle);
        remove(handle);
        finished->handleDidFinish(code);
    }
}

TransferLoop::Clock::time_point TransferLoop::nextDeadline() const {
    auto next = Clock::time_point::max();
    for (const auto &[handle, transfer] : m_transfers)
        next = std::min(next, transfer->deadline());
    return next;
}

void TransferLoop::passDeadlines() {
    const auto now = Clock::now();
    while (nextDeadline() <= now)
        std::find_if(m_transfers.begin(), m_transfers.end(), [&](const auto &entry) {
            return entry.second->deadline() <= now;
        })->second->deadlineDidPass();
}

/// For libcurl's sockets and times, the next deadline, or a wake-up.
void TransferLoop::wait() {
    constexpr std::chrono::milliseconds longest = std::chrono::hours(1);
    const auto next = nextDeadline();
    // Rounded up: waking before the time would only mean waiting again.
    const auto left = next == Clock::time_point::max()
                          ? longest
                          : std::clamp(std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()),
                                       std::chrono::milliseconds(0), longest);
    curl_multi_poll(m_multi, nullptr, 0, int(left.count()), nullptr);
}

void TransferLoop::run() {
    while (!m_ending) {
        runBlocks();
        runTransfers();
        passDeadlines();
        wait();
    }
    std::vector<std::function<void()>> dropped;
    {
        const std::lock_guard lock(m_mutex);
        dropped.swap(m_blocks);
    }
    const auto connections = m_connections;
    for (const auto &connection : connections)
        connection->cancel();
    // What the cancellations left to do.
    runBlocks();
}

} // namespace zr
