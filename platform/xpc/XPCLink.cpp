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

namespace {

// The peer's end shows as RDHUP or HUP; arriving bytes are not waited for here.
constexpr quint32 quiet = EPOLLRDHUP | EPOLLET;

} // namespace

std::shared_ptr<XPCLink> XPCLink::make(zr::FileDescriptor socket, End end) {
    std::shared_ptr<XPCLink> link(new XPCLink(std::move(socket), end));
    link->watch();
    return link;
}

XPCLink::XPCLink(zr::FileDescriptor socket, End end)
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
    Parcel parcel;
    parcel.parts.reserve(2 + frame.segments.size());
    parcel.parts.push_back(frame.prologue());
    parcel.parts.push_back(frame.archive);
    parcel.parts.insert(parcel.parts.end(), frame.segments.begin(), frame.segments.end());

    std::unique_lock lock(m_mutex);
    if (m_lost)
        return false;
    if (m_parcels.empty()) {
        const bool whole = writeParcel(parcel);
        if (whole || m_lost) {
            const bool sent = !m_lost;
            if (m_lost)
                lose(lock);
            return sent;
        }
    }
    for (std::size_t i = parcel.next; i < parcel.parts.size(); ++i) {
        // Raw data belongs to the caller and need not outlive the call.
        if (!parcel.parts[i].data_ptr().d_ptr())
            parcel.parts[i] = QByteArray(parcel.parts[i].constData(), parcel.parts[i].size());
        m_queued += quint64(parcel.parts[i].size());
    }
    m_queued -= parcel.written;
    m_parcels.push_back(std::move(parcel));
    if (!m_waitingForRoom) {
        m_waitingForRoom = true;
        XPCReactor::shared().modify(m_token, m_socket.get(), quiet | EPOLLOUT);
    }
    return true;
}

/// Writes what the socket takes; true when the parcel is out. Marks the link lost on failure.
bool XPCLink::writeParcel(Parcel &parcel) {
    while (parcel.next < parcel.parts.size()) {
        std::array<iovec, 16> vector{};
        std::size_t count = 0;
        for (std::size_t i = parcel.next; i < parcel.parts.size() && count < vector.size(); ++i, ++count) {
            const std::size_t skip = i == parcel.next ? parcel.written : 0;
            vector[count].iov_base = const_cast<char *>(parcel.parts[i].constData()) + skip;
            vector[count].iov_len = std::size_t(parcel.parts[i].size()) - skip;
        }
        msghdr message{};
        message.msg_iov = vector.data();
        message.msg_iovlen = count;
        const ssize_t sent = ::sendmsg(m_socket.get(), &message, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent < 0) {
            if (errno == EINTR)
                continue;
            m_lost = errno != EAGAIN;
            return false;
        }
        for (auto left = std::size_t(sent);;) {
            const std::size_t rest = std::size_t(parcel.parts[parcel.next].size()) - parcel.written;
            if (left < rest) {
                parcel.written += left;
                break;
            }
            left -= rest;
            parcel.written = 0;
            if (++parcel.next == parcel.parts.size())
                break;
        }
    }
    return true;
}

void XPCLink::write(std::unique_lock<std::mutex> &lock) {
    while (!m_parcels.empty()) {
        Parcel &parcel = m_parcels.front();
        const auto left = [&parcel] {
            quint64 sum = 0;
            for (std::size_t i = parcel.next; i < parcel.parts.size(); ++i)
                sum += quint64(parcel.parts[i].size());
            return sum - parcel.written;
        };
        const quint64 before = left();
        const bool whole = writeParcel(parcel);
        m_queued -= before - left();
        if (m_lost) {
            lose(lock);
            return;
        }
        if (!whole)
            break;
        m_parcels.pop_front();
    }
    if (m_parcels.empty() && m_waitingForRoom) {
        m_waitingForRoom = false;
        XPCReactor::shared().modify(m_token, m_socket.get(), quiet);
    }
    m_drained.notify_all();
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
    m_parcels.clear();
    m_queued = 0;
    if (m_waitingForRoom) {
        m_waitingForRoom = false;
        XPCReactor::shared().modify(m_token, m_socket.get(), quiet);
    }
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
    m_touched.store(std::chrono::steady_clock::now().time_since_epoch().count(), std::memory_order_relaxed);
}

std::optional<std::chrono::steady_clock::time_point> XPCLink::quietSince() const {
    const std::lock_guard lock(m_mutex);
    int unread = 0;
    ::ioctl(m_socket.get(), FIONREAD, &unread);
    if (!m_lost && (!m_parcels.empty() || unread > 0))
        return std::nullopt;
    return std::chrono::steady_clock::time_point(
        std::chrono::steady_clock::duration(m_touched.load(std::memory_order_relaxed)));
}
