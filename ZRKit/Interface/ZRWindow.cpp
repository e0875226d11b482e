// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRWindow.h"

#include "ZRKit/Interface/NSString+ZRLocalize.h"
#include "platform/interface/NSApplication.h"

ZRWindow::~ZRWindow() {
    setRepresentedObject({});
}

void ZRWindow::awakeFromNib() {
    setTitle(ZRKit::localizeWithPrefix(title(), QString()));
}

void ZRWindow::doConfirmSheet(QObject *sender) {
    QObject *const button = sender ? sender : QObject::sender();
    endEditingFor(firstResponder());
    makeFirstResponder(this);
    if (!makeFirstResponder(button))
        endEditingFor(nullptr);
    // Who waits for the sheet may delete it.
    const QPointer<ZRWindow> self = this;
    NSApplication::sharedApplication().endSheet(this, NSModalResponseCancel);
    if (self)
        orderOut();
}

void ZRWindow::didClose() {
    NSWindow::didClose();
    askDelegate("windowDidClose:");
    setRepresentedObject({});
}

#include "moc_ZRWindow.cpp"
