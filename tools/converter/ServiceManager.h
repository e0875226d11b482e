// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <vector>

namespace zr {

/// What systemd and a program that it started say to one another.
namespace ServiceManager {

/// The listening sockets that were handed over (sd_listen_fds(3)), in order; they are closed in child processes. Empty
/// if there are none. Any thread, once.
std::vector<int> sockets();

/// Tells a state, such as "READY=1" (sd_notify(3)), if anybody wants to know. Any thread.
void notify(const QByteArray &state);

} // namespace ServiceManager

} // namespace zr
