// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/NSMenu+ZRLocalize.h"
#include "platform/interface/NSMenu.h"

#include <QVariant>

/// A menu that is localised when an interface file has been loaded, as attributes of the file say:
///
/// | attribute                  | effect                                                            |
/// |----------------------------|-------------------------------------------------------------------|
/// | `localize`                 | whether the menu is localised                                     |
/// | `localizeprefix`, `prefix` | the menu is localised, with the value as the prefix               |
///
/// Names are matched as ZRKit::handleIBKey() has it: "IB" and "$" before them and upper case make no difference.
/// Unknown ones do nothing. Main thread only.
class ZRMenu : public NSMenu {
    Q_OBJECT

public:
    using NSMenu::NSMenu;

    /// False at first.
    bool localize() const { return m_localize; }
    void setLocalize(bool flag) { m_localize = flag; }
    void setLocalize(auto) = delete;
    /// nil at first.
    QString localizePrefix() const { return m_localizePrefix; }
    void setLocalizePrefix(const QString &prefix) { m_localizePrefix = prefix; }

    /// An attribute of an interface file. "localize" is what the value answers to `booleanValue`, if it is an object
    /// or gadget that declares it, otherwise its ZRKit::toBool().
    Q_INVOKABLE virtual void setValue(const QVariant &value, const QString &forUndefinedKey);
    /// Localises the menu with its prefix if localize() says so; see NSMenu+ZRLocalize.h.
    Q_INVOKABLE virtual void awakeFromNib();

private:
    bool m_localize = false;
    QString m_localizePrefix;
};
