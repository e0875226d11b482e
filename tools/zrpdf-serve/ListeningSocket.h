// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"
#include "tools/zrpdf-serve/ListenAddress.h"

#include <QByteArray>
#include <optional>
#include <sys/types.h>

namespace zr {

/// A socket that clients connect to. Its name in the file system, if it made one, goes with it.
class ListeningSocket {
public:
    /// Makes one that listens. A name that a dead server left is used again, that of a living one is not. Nothing, and one
    /// sentence about why, if that fails.
    static std::optional<ListeningSocket> open(const ListenAddress &address, QByteArray *problem);
    /// Takes over one that listens already. Nothing, and one sentence, if it is no such socket.
    static std::optional<ListeningSocket> adopt(int descriptor, QByteArray *problem);

    ListeningSocket(ListeningSocket &&other) noexcept = default;
    ListeningSocket &operator=(ListeningSocket &&other) noexcept = delete;
    ~ListeningSocket();

    int descriptor() const { return m_descriptor.get(); }
    /// As people read it.
    const QByteArray &name() const { return m_name; }
    bool isPath() const { return m_isPath; }
    /// Whether only this machine reaches it.
    bool isLocal() const { return m_isLocal; }
    /// Whether another process made it and keeps it open.
    bool isAdopted() const { return m_isAdopted; }

private:
    explicit ListeningSocket(FileDescriptor descriptor);
    static std::optional<ListeningSocket> openPath(const ListenAddress &address, QByteArray *problem);

    FileDescriptor m_descriptor;
    QByteArray m_name;
    bool m_isPath = false;
    bool m_isLocal = false;
    bool m_isAdopted = false;
    /// What was made in the file system; another server may have put its own there since.
    QByteArray m_made;
    dev_t m_device = 0;
    ino_t m_number = 0;
};

} // namespace zr
