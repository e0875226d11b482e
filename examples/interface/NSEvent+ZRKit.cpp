// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSEvent+ZRKit.h"

#include "examples/kit/Example.h"
#include "platform/interface/NSApplication.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QPushButton>

EXAMPLE(NSEvent_ZRKit) {
    expect(NSApplication::sharedApplication().currentEvent().isNil());
    expect(!ZRKit::zrShiftKeyIsDown());

    QPushButton button(QStringLiteral("Delete"));
    bool forGood = false;
    QObject::connect(&button, &QPushButton::pressed, [&] { forGood = ZRKit::zrShiftKeyIsDown(); });

    // What a user does who presses Shift and Space.
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Space, Qt::ShiftModifier);
    QCoreApplication::sendEvent(&button, &press);
    expect(forGood);
    expect(!ZRKit::zrControlKeyIsDown() && !ZRKit::zrCommandKeyIsDown());

    const NSEvent event = NSApplication::sharedApplication().currentEvent();
    expect(event.type() == NSEventTypeKeyDown);
    expect(event.modifierFlags() == NSEventModifierFlagShift);
}
