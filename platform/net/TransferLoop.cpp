// SPDX-License-Identifier: MIT
#include "platform/net/TransferLoop.h"

#include "platform/base/BlockedPipeSignal.h"
#include "platform/base/NSException.h"
#include "platform/net/CurlGlobal.h"
#include "platform/net/NSURLConnection.h"
#include "platform/operations/NSThread.h"
#include "platform/values/NSLog.h"

#include <algorithm>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr std::size_t mostSpareHandles = 8;
/// Idle connections that are kept. libcurl's own measure, four for each running transfer, would have it close
/// some whenever few transfers run.
constexpr long mostConnections = 32;

int checked(int descriptor, const char *what) {
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return descriptor;
}

} // namespace

TransferLoop::TransferLoop(const QString &threadName)
    : m_wakeUp(checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")), m_sockets{{.fd = m_wakeUp,
                                                                                         .events = POLLIN,
                                                                                         .revents = 0}},
      m_multi(initialiseCurl() ? curl_multi_init() : nullptr) {
    if (!m_multi)
        throw std::system_error(ENOMEM, std::generic_category(), "curl_multi_init");
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, socketDidChange);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, timeoutDidChange);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_MAXCONNECTS, mostConnections);
    m_thread = std::thread([this, threadName] {
        const BlockedPipeSignal blocked;
        NSThread::currentThread().setName(threadName);
        run();
    });
}

TransferLoop::~TransferLoop() {
    m_ending = true;
    wake();
    m_thread.join();
    ::close(m_wakeUp);
}

void TransferLoop::perform(std::function<void()> block) {
    bool mustWake = false;
    {
        const std::lock_guard lock(m_mutex);
        m_blocks.push_back(std::move(block));
        mustWake = std::exchange(m_waiting, false);
    }
    if (mustWake)
        wake();
}

void TransferLoop::wake() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t count = ::write(m_wakeUp, &one, sizeof one);
}

void TransferLoop::keep(const std::shared_ptr<NSURLConnection> &connection) {
    m_connections.insert(connection);
}

void TransferLoop::release(const std::shared_ptr<NSURLConnection> &connection) {
    m_connections.erase(connection);
}

CURL *TransferLoop::takeHandle() {
    if (m_spareHandles.empty())
        return curl_easy_init();
    CURL *handle = m_spareHandles.back();
    m_spareHandles.pop_back();
    return handle;
}

void TransferLoop::giveHandleBack(CURL *handle) {
    if (m_spareHandles.size() >= mostSpareHandles) {
        curl_easy_cleanup(handle);
        return;
    }
    curl_easy_reset(handle);
    m_spareHandles.push_back(handle);
}

void TransferLoop::add(CURL *handle, Transfer *transfer) {
    curl_easy_setopt(handle, CURLOPT_PRIVATE, transfer);
    m_handles.insert(handle);
    curl_multi_add_handle(m_multi, handle);
}

void TransferLoop::remove(CURL *handle) {
    if (m_handles.erase(handle) > 0)
        curl_multi_remove_handle(m_multi, handle);
}

void TransferLoop::setTimer(Transfer *transfer, Clock::time_point time) {
    clearTimer(transfer);
    transfer->m_timer = m_timers.emplace(time, transfer);
}

void TransferLoop::clearTimer(Transfer *transfer) {
    if (transfer->m_timer)
        m_timers.erase(*transfer->m_timer);
    transfer->m_timer.reset();
}

int TransferLoop::socketDidChange(CURL *, curl_socket_t socket, int what, void *loop, void *) {
    auto &sockets = static_cast<TransferLoop *>(loop)->m_sockets;
    const auto at =
        std::find_if(sockets.begin(), sockets.end(), [&](const pollfd &known) { return known.fd == socket; });
    const auto events = short((what & CURL_POLL_IN ? POLLIN : 0) | (what & CURL_POLL_OUT ? POLLOUT : 0));
    if (what == CURL_POLL_REMOVE) {
        if (at != sockets.end())
            sockets.erase(at);
    } else if (at != sockets.end()) {
        at->events = events;
    } else {
        sockets.push_back({.fd = socket, .events = events, .revents = 0});
    }
    return 0;
}

int TransferLoop::timeoutDidChange(CURLM *, long milliseconds, void *loop) {
    static_cast<TransferLoop *>(loop)->m_curlTime =
        milliseconds < 0 ? Clock::time_point::max() : Clock::now() + std::chrono::milliseconds(milliseconds);
    return 0;
}

int TransferLoop::waitingTime() {
    {
        const std::lock_guard lock(m_mutex);
        m_waiting = m_blocks.empty();
        if (!m_waiting)
            return 0;
    }
    const Clock::time_point next =
        m_timers.empty() ? m_curlTime : std::min(m_curlTime, m_timers.begin()->first);
    if (next == Clock::time_point::max())
        return -1;
    // Rounded up: waking before the time would only mean waiting again.
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
    return int(std::clamp<long long>(left, 0, 3'600'000));
}

void TransferLoop::act(curl_socket_t socket, int events) {
    int running = 0;
    m_insideCurl = true;
    curl_multi_socket_action(m_multi, socket, events, &running);
    m_insideCurl = false;
}

void TransferLoop::finishHandles() {
    int left = 0;
    while (const CURLMsg *message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        CURL *handle = message->easy_handle;
        const CURLcode code = message->data.result;
        Transfer *transfer = nullptr;
        curl_easy_getinfo(handle, CURLINFO_PRIVATE, &transfer);
        remove(handle);
        transfer->handleDidFinish(code);
    }
}

void TransferLoop::runBlocks() {
    std::vector<std::function<void()>> blocks;
    {
        const std::lock_guard lock(m_mutex);
        m_waiting = false;
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

void TransferLoop::fireTimers() {
    while (!m_timers.empty() && m_timers.begin()->first <= Clock::now()) {
        Transfer *transfer = m_timers.begin()->second;
        clearTimer(transfer);
        transfer->timerDidFire();
    }
}

void TransferLoop::run() {
    std::vector<pollfd> ready;
    while (!m_ending) {
        int count = ::poll(m_sockets.data(), m_sockets.size(), waitingTime());
        ready.clear();
        for (auto at = m_sockets.begin(); count > 0 && at != m_sockets.end(); ++at) {
            if (at->revents == 0)
                continue;
            ready.push_back(*at);
            --count;
        }
        // Each of them may change the list.
        for (const pollfd &socket : ready) {
            if (socket.fd == m_wakeUp) {
                std::uint64_t wakeUps = 0;
                [[maybe_unused]] const ssize_t bytes = ::read(m_wakeUp, &wakeUps, sizeof wakeUps);
                continue;
            }
            act(socket.fd, (socket.revents & (POLLIN | POLLHUP) ? CURL_CSELECT_IN : 0) |
                               (socket.revents & POLLOUT ? CURL_CSELECT_OUT : 0) |
                               (socket.revents & POLLERR ? CURL_CSELECT_ERR : 0));
            // At once: another thread can start the next one meanwhile.
            finishHandles();
        }
        // What the blocks start is sent before the next waiting.
        runBlocks();
        if (m_curlTime <= Clock::now()) {
            m_curlTime = Clock::time_point::max();
            act(CURL_SOCKET_TIMEOUT, 0);
        }
        finishHandles();
        fireTimers();
    }
    const auto connections = std::move(m_connections);
    for (const auto &connection : connections)
        connection->cancel();
    const std::vector<std::function<void()>> dropped = [this] {
        const std::lock_guard lock(m_mutex);
        return std::move(m_blocks);
    }();
    for (CURL *handle : m_spareHandles)
        curl_easy_cleanup(handle);
    curl_multi_cleanup(m_multi);
}
