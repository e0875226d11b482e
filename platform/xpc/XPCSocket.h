// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"

#include <QByteArray>
#include <QString>

/// A listening Unix socket that has no name in the file system, so that nothing is left when its process is
/// killed and no other user can reach it.
///
/// The socket is bound in a fresh folder of mode 0700, whose name and the socket's own are taken away at
/// once. `address` refers to the socket all the same: through it this process connects.
struct XPCPrivateSocket {
    zr::FileDescriptor listening;
    zr::FileDescriptor address;

    /// Makes one in the user's runtime folder, else in the folder for temporary files.
    /// \param error  where given, receives the text of what failed
    /// \return both descriptors, or none
    static XPCPrivateSocket make(QString *error = nullptr);
    /// Removes folders that processes left which were killed while they made a socket.
    static void sweep();
};

/// The user's runtime folder, without a slash at its end; empty where there is none that is the user's own.
QByteArray XPCRuntimeFolder();

/// Connects to what listens at the path; none, with errno set, where nothing does or another user would.
zr::FileDescriptor XPCConnect(const QByteArray &path);
/// Connects to the socket that an address of XPCPrivateSocket refers to.
zr::FileDescriptor XPCConnect(const zr::FileDescriptor &address);

/// Whether the process at the other end runs under this process's user.
bool XPCPeerIsSameUser(int socket);
