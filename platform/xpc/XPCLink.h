// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"
#include "platform/xpc/XPCFrame.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <sys/types.h>

namespace zr {

/// One connected socket that carries frames both ways.
///
/// send() and close() may be called on any thread, read() on one only. Sending never waits for the peer: what
/// the socket doesn't take at once is written when there is room.
class XPCLink : public std::enable_shared_from_this<XPCLink> {
public:
    /// Which end of the connection this is. The accepted one doesn't read while more than 64 MiB that it sent
    /// are not taken, so that a peer that never reads can't fill the memory. The one that connected always
    /// reads: were both to wait, they would wait for each other.
    enum class End { Connecting, Accepted };

    /// \param socket  a connected stream socket
    static std::shared_ptr<XPCLink> make(FileDescriptor socket, End end);
    ~XPCLink();
    XPCLink(const XPCLink &) = delete;
    XPCLink &operator=(const XPCLink &) = delete;

    /// Waits for the next frame and reads it; false if the link has ended.
    bool read(XPCFrame &frame);
    /// Writes the frame or keeps it for writing; false if the link has ended.
    bool send(const XPCFrame &frame);
    /// Ends the link for both sides; a waiting read() returns.
    void close();

    /// True as soon as the peer has gone, even while unread frames are left.
    bool isLost() const;
    /// Called once, as soon as the peer has gone or the link was closed, on a thread of the machinery.
    /// Within this call if that has happened already.
    void setLossHandler(std::function<void()> handler);

    /// The peer's process as it was when the connection was made; 0 if it isn't known.
    pid_t peer() const;
    /// When bytes last went either way, or the link was made.
    std::chrono::steady_clock::time_point lastMoved() const;
    /// Whether there are bytes that one side hasn't taken yet.
    bool hasBytesUnderWay() const;

private:
    XPCLink(FileDescriptor socket, End end);
    void watch();
    void touch();
    void ready(quint32 events);
    void write(std::unique_lock<std::mutex> &lock);
    void waitForRoom(bool wait);
    void lose(std::unique_lock<std::mutex> &lock);

    static constexpr quint64 maximumUntaken = quint64(64) << 20;

    FileDescriptor m_socket;
    const End m_end;
    std::atomic<std::chrono::steady_clock::rep> m_moved{0};
    XPCFrameReader m_reader;
    quint64 m_token = 0;
    mutable std::mutex m_mutex;
    std::condition_variable m_drained;
    std::deque<QByteArray> m_unwritten;
    qsizetype m_written = 0; ///< of the first of them
    quint64 m_queued = 0;    ///< bytes still to be written
    bool m_lost = false;
    bool m_waitingForRoom = false;
    std::function<void()> m_lossHandler;
};

} // namespace zr
