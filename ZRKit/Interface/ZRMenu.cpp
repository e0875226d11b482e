// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRMenu.h"

#include "ZRKit/Values/NSObject+ZRKit.h"

void ZRMenu::setValue(const QVariant &value, const QString &forUndefinedKey) {
    ZRKit::handleIBKey(this, forUndefinedKey,
                       {{QStringLiteral("localize"),
                         [&] {
                             m_localize = ZRKit::toBool(
                                 NSObjectRuntime::answer(value, "booleanValue").value_or(value));
                         }},
                        {QStringList{QStringLiteral("localizeprefix"), QStringLiteral("prefix")}, [&] {
                             m_localize = true;
                             m_localizePrefix = ZRKit::toString(value);
                         }}});
}

void ZRMenu::awakeFromNib() {
    if (m_localize)
        ZRKit::localizeWithPrefix(this, m_localizePrefix);
}

#include "moc_ZRMenu.cpp"
