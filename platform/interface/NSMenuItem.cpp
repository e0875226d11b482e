// SPDX-License-Identifier: MIT
#include "platform/interface/NSMenuItem.h"

#include "platform/interface/ActionSending.h"

#include <QMenu>

using namespace zr;

NSMenuItem::NSMenuItem(const QString &title, const NSSelector &action, QObject *parent)
    : QAction(title, parent), m_action(action) {
    connect(this, &QAction::triggered, this, [this] { sendAction(m_action, m_target, this); });
}

NSMenuItem::~NSMenuItem() {
    setSubmenu(nullptr);
}

NSMenuItem *NSMenuItem::separatorItem(QObject *parent) {
    auto *const item = new NSMenuItem(parent);
    item->setSeparator(true);
    return item;
}

void NSMenuItem::setSubmenu(QMenu *submenu) {
    const QPointer<QMenu> former = m_submenu;
    m_submenu = submenu;
    if (submenu) {
        // From here on the menu's title is the item's.
        const QString title = text().isEmpty() ? submenu->title() : text();
        setMenu(submenu);
        setText(title);
    } else if (menu()) {
        setMenu<QMenu *>(nullptr);
    }
    if (former && former != submenu && !former->parent())
        delete former;
}

#include "moc_NSMenuItem.cpp"
