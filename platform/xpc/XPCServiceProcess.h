// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"

#include <QString>

/// What the process of a service needs beside its listener.
namespace XPCServiceProcess {

/// The listening socket that this process was started with (LISTEN_FDS, LISTEN_PID, see sd_listen_fds(3)),
/// not inherited by further processes; none, with the text of what is wrong.
zr::FileDescriptor takeSocket(QString *error);

/// Where this process was started by the client library: ends it as soon as its host has gone, whatever its
/// other threads are doing.
void watchLifeline();

/// Turns SIGTERM and SIGINT into bytes that can be read from the returned descriptor. A second signal ends
/// the process.
zr::FileDescriptor watchTermination();

} // namespace XPCServiceProcess
