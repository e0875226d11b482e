// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace zr {

/// Tells systemd a state, such as "READY=1" (sd_notify(3)), if it wants to know. Any thread.
void notifyServiceManager(const QByteArray &state);

} // namespace zr
