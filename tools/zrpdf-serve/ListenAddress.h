// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <optional>
#include <sys/socket.h>

namespace zr {

/// Where to listen: a path in the file system, or an address and a port. A value; any thread.
class ListenAddress {
public:
    /// Reads "127.0.0.1:8080", "[::1]:8080", "localhost:8080" (127.0.0.1), or a path, which has a "/". Nothing, and the
    /// reason as a part of a sentence, for anything else. Other names of hosts are none: they may mean many addresses.
    static std::optional<ListenAddress> read(const QByteArray &text, QByteArray *problem);
    /// The socket in the user's runtime folder. Nothing, and one sentence, if there is no such folder.
    static std::optional<ListenAddress> inRuntimeFolder(QByteArray *problem);

    bool isPath() const { return !m_path.isNull(); }
    const QByteArray &path() const { return m_path; }
    /// Whether only this machine reaches it.
    bool isLocal() const { return isPath() || isLoopback(socketAddress()); }
    const sockaddr *socketAddress() const { return reinterpret_cast<const sockaddr *>(&m_address); }
    socklen_t socketAddressSize() const { return m_size; }

    static bool isLoopback(const sockaddr *address);
    /// The address as read() takes it; "a Unix socket" for one without a name.
    static QByteArray text(const sockaddr *address, socklen_t size);

private:
    QByteArray m_path;
    sockaddr_storage m_address{};
    socklen_t m_size = 0;
};

} // namespace zr
