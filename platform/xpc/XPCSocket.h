// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"

#include <QByteArray>
#include <QString>

namespace zr {

/// A listening Unix socket that has no name in the file system, so that nothing is left when its process is
/// killed and no other user can reach it.
///
/// The socket is bound in a fresh folder of mode 0700, whose name and the socket's own are taken away at
/// once. `address` refers to the socket all the same: through it this process connects.
struct XPCPrivateSocket {
    FileDescriptor listening;
    FileDescriptor address;

    /// Makes one in the user's runtime folder, else in the folder for temporary files.
    /// \param error  receives the text of what failed
    /// \return both descriptors, or none
    static XPCPrivateSocket make(QString *error = nullptr);
    /// Removes the folders of processes that were killed while they made a socket.
    static void sweep();
};

/// The user's runtime folder, without a slash at its end; empty if there is none that is the user's own.
QByteArray XPCRuntimeFolder();

/// Connects to what listens at the path; none, with errno set, if nothing or another user does.
FileDescriptor XPCConnect(const QByteArray &path);
/// Connects to the socket that an address of XPCPrivateSocket refers to.
FileDescriptor XPCConnect(const FileDescriptor &address);

/// Whether the process at the other end runs under this process's user.
bool XPCPeerIsSameUser(int socket);

} // namespace zr
