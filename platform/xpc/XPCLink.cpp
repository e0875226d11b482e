// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCLink.h"

#include "platform/xpc/XPCReactor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/uio.h>

using namespace zr;

namespace {

// The peer's end shows as RDHUP or HUP; arriving bytes are not waited for here.
constexpr quint32 quiet = EPOLLRDHUP | EPOLLET;

} // namespace

std::shared_ptr<XPCLink> XPCLink::make(FileDescriptor socket, End end) {
    std::shared_ptr<XPCLink> link(new XPCLink(std::move(socket), end));
    link->watch();
    return link;
}

XPCLink::XPCLink(FileDescriptor socket, End end)
    : m_socket(std::move(socket)), m_end(end), m_reader([this](char *into, std::size_t count) {
          ssize_t got = 0;
          do {
              got = ::recv(m_socket.get(), into, count, 0);
          } while (got < 0 && errno == EINTR);
          touch();
          return got;
      }) {
    touch();
    // Fewer turns between writer and reader on large bodies; the system caps it.
    const int wanted = 1024 * 1024;
    ::setsockopt(m_socket.get(), SOL_SOCKET, SO_SNDBUF, &wanted, sizeof wanted);
}

XPCLink::~XPCLink() {
    if (m_token)
        XPCReactor::shared().remove(m_token, m_socket.get());
}

void XPCLink::watch() {
    m_token = XPCReactor::shared().add(m_socket.get(), quiet, [weak = weak_from_this()](quint32 events) {
        if (const auto link = weak.lock())
            link->ready(events);
    });
    if (!m_token)
        close();
}

bool XPCLink::read(XPCFrame &frame) {
    if (m_end == End::Accepted) {
        std::unique_lock lock(m_mutex);
        m_drained.wait(lock, [this] { return m_lost || m_queued <= maximumUntaken; });
    }
    // A lost link is still read to its end: what the peer sent before it went arrives.
    if (m_reader.next(frame) == XPCFrameReader::Outcome::Frame)
        return true;
    close();
    return false;
}

bool XPCLink::send(const XPCFrame &frame) {
    std::unique_lock lock(m_mutex);
    if (m_lost)
        return false;
    const bool wasIdle = m_unwritten.empty();
    const auto append = [this](const QByteArray &part) {
        m_unwritten.push_back(part);
        m_queued += quint64(part.size());
    };
    append(frame.prologue());
    append(frame.archive);
    std::for_each(frame.segments.begin(), frame.segments.end(), append);
    if (wasIdle)
        write(lock);
    if (!lock)
        return false;
    // Raw data belongs to the caller and need not outlive the call.
    for (QByteArray &part : m_unwritten)
        if (!part.data_ptr().d_ptr())
            part = QByteArray(part.constData(), part.size());
    return true;
}

/// Writes what the socket takes and waits for room for the rest. If the peer has gone, the link is lost and the lock
/// open.
void XPCLink::write(std::unique_lock<std::mutex> &lock) {
    while (!m_unwritten.empty()) {
        std::array<iovec, 16> vector{};
        const std::size_t count = std::min(vector.size(), m_unwritten.size());
        for (std::size_t i = 0; i < count; ++i) {
            const qsizetype skip = i == 0 ? m_written : 0;
            vector[i].iov_base = const_cast<char *>(m_unwritten[i].constData()) + skip;
            vector[i].iov_len = std::size_t(m_unwritten[i].size() - skip);
        }
        msghdr message{};
        message.msg_iov = vector.data();
        message.msg_iovlen = count;
        const ssize_t sent = ::sendmsg(m_socket.get(), &message, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent < 0 && errno == EAGAIN)
            break;
        if (sent < 0) {
            lose(lock);
            return;
        }
        touch();
        m_queued -= quint64(sent);
        for (m_written += sent; !m_unwritten.empty() && m_written >= m_unwritten.front().size();
             m_unwritten.pop_front())
            m_written -= m_unwritten.front().size();
    }
    waitForRoom(!m_unwritten.empty());
    m_drained.notify_all();
}

void XPCLink::waitForRoom(bool wait) {
    if (std::exchange(m_waitingForRoom, wait) != wait)
        XPCReactor::shared().modify(m_token, m_socket.get(), wait ? quiet | EPOLLOUT : quiet);
}

void XPCLink::ready(quint32 events) {
    std::unique_lock lock(m_mutex);
    if (events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) {
        lose(lock);
        return;
    }
    if (events & EPOLLOUT)
        write(lock);
}

/// Drops what was to be written and tells the one who asked to know; leaves the lock open.
void XPCLink::lose(std::unique_lock<std::mutex> &lock) {
    m_lost = true;
    m_unwritten.clear();
    m_queued = 0;
    waitForRoom(false);
    const auto handler = std::exchange(m_lossHandler, nullptr);
    m_drained.notify_all();
    lock.unlock();
    if (handler)
        handler();
}

void XPCLink::close() {
    ::shutdown(m_socket.get(), SHUT_RDWR);
    std::unique_lock lock(m_mutex);
    lose(lock);
}

bool XPCLink::isLost() const {
    const std::lock_guard lock(m_mutex);
    return m_lost;
}

void XPCLink::setLossHandler(std::function<void()> handler) {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_lost) {
            m_lossHandler = std::move(handler);
            return;
        }
    }
    if (handler)
        handler();
}

pid_t XPCLink::peer() const {
    ucred peer{};
    socklen_t length = sizeof peer;
    return ::getsockopt(m_socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 ? peer.pid : 0;
}

void XPCLink::touch() {
    m_moved.store(std::chrono::steady_clock::now().time_since_epoch().count(), std::memory_order_relaxed);
}

std::chrono::steady_clock::time_point XPCLink::lastMoved() const {
    return std::chrono::steady_clock::time_point(
        std::chrono::steady_clock::duration(m_moved.load(std::memory_order_relaxed)));
}

bool XPCLink::hasBytesUnderWay() const {
    const std::lock_guard lock(m_mutex);
    int unread = 0;
    ::ioctl(m_socket.get(), FIONREAD, &unread);
    return !m_lost && (!m_unwritten.empty() || unread > 0);
}
