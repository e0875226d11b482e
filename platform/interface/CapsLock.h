// SPDX-License-Identifier: MIT
#pragma once

class QEvent;

namespace zr {

/// Looks whether a key's event says something of caps lock; to be called for every event. Main thread.
void noteCapsLock(const QEvent &event);

/// Whether caps lock is on: Qt doesn't tell, but an X server does, and elsewhere the latest key that the program got.
/// Main thread.
bool capsLockIsOn();

} // namespace zr
