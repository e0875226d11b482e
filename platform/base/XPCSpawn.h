// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"

#include <QByteArray>
#include <sys/types.h>

/// A service that was just started.
struct XPCSpawned {
    pid_t pid = 0;
    /// Becomes readable when the process ends.
    zr::FileDescriptor process;
    /// Held by the activator alone: when it closes, the service ends.
    zr::FileDescriptor lifeline;
    /// The error number where nothing was started.
    int failure = 0;
};

/// The name under which an activated service finds its socket (LISTEN_FDNAMES). It says that standard input
/// is the lifeline.
inline constexpr char XPCActivatorSocketName[] = "activator";

/// Starts the executable with the listening socket as systemd's socket activation passes it: descriptor 3,
/// LISTEN_FDS, LISTEN_PID, LISTEN_FDNAMES.
///
/// The process gets a session of its own (keys pressed in the host's terminal don't reach it), default signal
/// handling, the root folder as working folder, this process's standard error, and no other descriptor. Its
/// standard input is the read end of the lifeline. Its start costs the same however large this process is.
XPCSpawned XPCSpawn(const QByteArray &executable, int listeningSocket);
