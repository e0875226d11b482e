// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRWindowController.h"

#include "platform/interface/NSWindow.h"

ZRWindowController::~ZRWindowController() {
    setRepresentedObject({});
}

NSWindow *ZRWindowController::window() {
    configureOnce();
    return NSWindowController::window();
}

void ZRWindowController::configureOnce() {
    if (!std::exchange(m_isConfigured, true))
        configure();
}

#include "moc_ZRWindowController.cpp"
