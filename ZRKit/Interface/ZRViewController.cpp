// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRViewController.h"

#include "ZRKit/Interface/NSView+ZRLocalize.h"
#include "platform/values/NSObjectRuntime.h"

using namespace zr;

ZRViewController::ZRViewController() = default;

QString ZRViewController::name() const {
    return nameWithoutModules(QString::fromUtf8(metaObject()->className()));
}

QWidget *ZRViewController::view() {
    configureOnce();
    QWidget *const view = NSViewController::view();
    if (view && !std::exchange(m_isLocalized, true))
        ZRKit::localizeWithPrefix(view, name());
    return view;
}

void ZRViewController::configureOnce() {
    if (std::exchange(m_isConfigured, true))
        return;
    const QVariant self = QVariant::fromValue<QObject *>(this);
    if (const NSSelector configure("configureViewController"); NSObjectRuntime::respondsTo(self, configure))
        NSObjectRuntime::perform(self, configure);
}

QString zr::nameWithoutModules(const QString &className) {
    // A colon in a class's name is one of the two of a namespace.
    return className.sliced(std::max(className.lastIndexOf(u'.'), className.lastIndexOf(u':')) + 1);
}

#include "moc_ZRViewController.cpp"
