// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"

#include <QString>

namespace zr {

/// What the process of a service needs besides its listener.
namespace XPCServiceProcess {

/// The name under which a service that the client library has started finds its socket (LISTEN_FDNAMES). It says that
/// standard input is the lifeline.
inline constexpr char activatorName[] = "activator";

/// The listening socket that this process was started with (LISTEN_FDS, LISTEN_PID, see sd_listen_fds(3)),
/// not inherited by further processes; none, with the text of what is wrong.
FileDescriptor takeSocket(QString *error);

/// If this process was started by the client library: ends it as soon as its host has gone, whatever its other
/// threads are doing.
void watchLifeline();

/// Turns SIGTERM and SIGINT into bytes that can be read from the returned descriptor. A second signal ends
/// the process.
FileDescriptor watchTermination();

} // namespace XPCServiceProcess

} // namespace zr
