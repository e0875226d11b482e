// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface/NSMenuItem.h"

#include <QMenu>
#include <QPointer>

class QMenuBar;

/// A menu: a QMenu, with a title and items, some of which have submenus. Interface files hand it attributes that it
/// doesn't declare, as they do views. Main thread only.
///
/// The items are the menu's actions. Those that aren't NSMenuItem, such as interface files make, are as good.
class NSMenu : public QMenu {
    Q_OBJECT

public:
    explicit NSMenu(QWidget *parent = nullptr) : QMenu(parent) {}
    explicit NSMenu(const QString &title, QWidget *parent = nullptr) : QMenu(title, parent) {}

    QList<QAction *> itemArray() const { return actions(); }
    qsizetype numberOfItems() const { return actions().size(); }
    /// Raises NSRangeException for an index beyond the items.
    QAction *itemAtIndex(qsizetype index) const;
    /// The first item with exactly that title; nullptr if there is none.
    QAction *itemWithTitle(const QString &title) const;
    /// -1 if it is none of the items.
    qsizetype indexOfItem(const QAction *item) const { return actions().indexOf(item); }

    /// Adds an item at the end or before the one at the index. An item without a parent belongs to the menu then.
    /// Raises NSInvalidArgumentException for nil, NSRangeException for an index above the number of items.
    void addItem(QAction *item) { insertItem(item, numberOfItems()); }
    void insertItem(QAction *item, qsizetype index);
    /// Adds a new item.
    NSMenuItem *addItemWithTitle(const QString &title, const NSSelector &action = {});
    /// Takes the item out, and deletes it if it belongs to the menu. Nothing happens if it is none of the items.
    void removeItem(QAction *item);
    void removeAllItems();

    /// Shows the items in a menu bar as long as the menu lives, in place of what is there, and follows changes.
    /// nullptr ends that.
    void setMenuBar(QMenuBar *menuBar);

protected:
    bool event(QEvent *event) override;
    void actionEvent(QActionEvent *event) override;

private:
    QPointer<QMenuBar> m_menuBar;
};
