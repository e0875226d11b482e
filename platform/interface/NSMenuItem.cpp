// SPDX-License-Identifier: MIT
#include "platform/interface/NSMenuItem.h"

#include "platform/interface/ActionSending.h"

#include <QMenu>

using namespace zr;

NSMenuItem::NSMenuItem(const QString &title, const NSSelector &action, QObject *parent)
    : QAction(title, parent), m_action(action) {
    connect(this, &QAction::triggered, this, [this] { sendAction(m_action, m_target, this); });
}

NSMenuItem *NSMenuItem::separatorItem(QObject *parent) {
    auto *const item = new NSMenuItem(parent);
    item->setSeparator(true);
    return item;
}

void NSMenuItem::setSubmenu(QMenu *submenu) {
    const QString title = text().isEmpty() && submenu ? submenu->title() : text();
    setMenu(submenu);
    setText(title);
}

#include "moc_NSMenuItem.cpp"
