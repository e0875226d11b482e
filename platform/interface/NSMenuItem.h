// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSSelector.h"

#include <QAction>
#include <QPointer>
#include <QVariant>

class NSMenu;

/// An item of a menu: a QAction that sends an action to a target when it is chosen. Every QAction can stand in a
/// menu, so that what interface files make are items too. Main thread only.
///
/// The title is the action's text as Qt has it: "&" marks the letter that chooses the item, "&&" is an ampersand.
class NSMenuItem : public QAction {
    Q_OBJECT
    Q_PROPERTY(QString title READ title WRITE setTitle)
    Q_PROPERTY(QVariant representedObject READ representedObject WRITE setRepresentedObject)

public:
    explicit NSMenuItem(QObject *parent = nullptr) : NSMenuItem(QString(), NSSelector(), parent) {}
    /// An item that sends the action, which takes the item as its argument or none, to whoever responds to it first
    /// if there is no target.
    explicit NSMenuItem(const QString &title, const NSSelector &action = {}, QObject *parent = nullptr);

    /// A line between items.
    static NSMenuItem *separatorItem(QObject *parent = nullptr);
    bool isSeparatorItem() const { return isSeparator(); }

    QString title() const { return text(); }
    void setTitle(const QString &title) { setText(title); }

    /// nullptr if there is none.
    QMenu *submenu() const { return menu(); }
    /// Sets the submenu, which stays the caller's, or its parent's; nullptr for none. Item and submenu share one
    /// title from then on: the item's or, if that is empty, the submenu's.
    void setSubmenu(QMenu *submenu);

    /// The target isn't kept alive.
    QObject *target() const { return m_target; }
    void setTarget(QObject *target) { m_target = target; }
    NSSelector action() const { return m_action; }
    void setAction(const NSSelector &action) { m_action = action; }

    QVariant representedObject() const { return m_representedObject; }
    void setRepresentedObject(const QVariant &object) { m_representedObject = object; }

private:
    QPointer<QObject> m_target;
    NSSelector m_action;
    QVariant m_representedObject;
};
