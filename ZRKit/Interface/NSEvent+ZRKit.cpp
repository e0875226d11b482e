// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSEvent+ZRKit.h"

#include "platform/interface/NSApplication.h"

namespace {

bool isDown(NSEventModifierFlags key) {
    return NSApplication::sharedApplication().currentEvent().modifierFlags() & key;
}

} // namespace

bool ZRKit::zrCapsLockKeyIsDown() {
    return isDown(NSEventModifierFlagCapsLock);
}

bool ZRKit::zrShiftKeyIsDown() {
    return isDown(NSEventModifierFlagShift);
}

bool ZRKit::zrControlKeyIsDown() {
    return isDown(NSEventModifierFlagControl);
}

bool ZRKit::zrOptionKeyIsDown() {
    return isDown(NSEventModifierFlagOption);
}

bool ZRKit::zrCommandKeyIsDown() {
    return isDown(NSEventModifierFlagCommand);
}
