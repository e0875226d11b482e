// SPDX-License-Identifier: MIT
#include "platform/interface/NSMenu.h"

#include "platform/base/NSException.h"
#include "platform/interface/InterfaceAttributes.h"

#include <QActionEvent>
#include <QMenuBar>
#include <algorithm>

namespace {

[[noreturn]] void raiseBeyond(qsizetype index, qsizetype count) {
    throw NSException(NSRangeException,
                      QStringLiteral("The index %1 is beyond the menu's %2 items.").arg(index).arg(count));
}

} // namespace

QAction *NSMenu::itemAtIndex(qsizetype index) const {
    const QList<QAction *> items = actions();
    if (index < 0 || index >= items.size())
        raiseBeyond(index, items.size());
    return items.at(index);
}

QAction *NSMenu::itemWithTitle(const QString &title) const {
    const QList<QAction *> items = actions();
    const auto found =
        std::find_if(items.begin(), items.end(), [&](const QAction *item) { return item->text() == title; });
    return found == items.end() ? nullptr : *found;
}

void NSMenu::insertItem(QAction *item, qsizetype index) {
    if (!item)
        throw NSException(NSInvalidArgumentException, QStringLiteral("A menu has no nil among its items."));
    const QList<QAction *> items = actions();
    if (index < 0 || index > items.size())
        raiseBeyond(index, items.size());
    if (!item->parent())
        item->setParent(this);
    insertAction(items.value(index), item);
}

NSMenuItem *NSMenu::addItemWithTitle(const QString &title, const NSSelector &action) {
    auto *const item = new NSMenuItem(title, action, this);
    addItem(item);
    return item;
}

void NSMenu::removeItem(QAction *item) {
    if (indexOfItem(item) < 0)
        return;
    removeAction(item);
    if (item->parent() == this)
        // It may be the item that is just being chosen.
        item->deleteLater();
}

void NSMenu::removeAllItems() {
    for (QAction *item : actions())
        removeItem(item);
}

void NSMenu::setMenuBar(QMenuBar *menuBar) {
    if (m_menuBar && m_menuBar != menuBar)
        m_menuBar->clear();
    m_menuBar = menuBar;
    if (!menuBar)
        return;
    menuBar->clear();
    menuBar->addActions(actions());
}

bool NSMenu::event(QEvent *event) {
    return zr::attributeArrived(this, event) || QMenu::event(event);
}

void NSMenu::actionEvent(QActionEvent *event) {
    QMenu::actionEvent(event);
    if (!m_menuBar)
        return;
    if (event->type() == QEvent::ActionAdded)
        m_menuBar->insertAction(event->before(), event->action());
    else if (event->type() == QEvent::ActionRemoved)
        m_menuBar->removeAction(event->action());
}

#include "moc_NSMenu.cpp"
