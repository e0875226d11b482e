// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRWindow.h"

#include "ZRKit/Interface/NSString+ZRLocalize.h"
#include "platform/interface/NSApplication.h"
#include "platform/values/NSObjectRuntime.h"

#include <QScopeGuard>

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
    NSApplication::sharedApplication().endSheet(this, NSModalResponseCancel);
    orderOut();
}

void ZRWindow::didClose() {
    NSWindow::didClose();
    const auto dropped = qScopeGuard([this] { setRepresentedObject({}); });
    const QVariant told = QVariant::fromValue(delegate());
    if (const NSSelector windowDidClose("windowDidClose:"); NSObjectRuntime::respondsTo(told, windowDidClose))
        NSObjectRuntime::perform(told, windowDidClose, {QVariant::fromValue<QObject *>(this)});
}

#include "moc_ZRWindow.cpp"
