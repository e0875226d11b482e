// SPDX-License-Identifier: MIT
#pragma once

namespace ZRKit {

// Which modifier keys were held at the current event (NSApplication::currentEvent()); all false if there is none. On the
// keyboards that Qt knows, option is Alt and command is Meta. Main thread only.

bool zrCapsLockKeyIsDown();
bool zrShiftKeyIsDown();
bool zrControlKeyIsDown();
bool zrOptionKeyIsDown();
bool zrCommandKeyIsDown();

} // namespace ZRKit
