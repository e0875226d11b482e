// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRLabel.h"

#include "ZRKit/Values/NSObject+ZRKit.h"

ZRLabel::ZRLabel(QWidget *parent) : NSTextField(parent) {
    setEditable(false);
}

void ZRLabel::setValue(const QVariant &value, const QString &forUndefinedKey) {
    ZRKit::handleIBKey(this, forUndefinedKey,
                       {{QStringList{QStringLiteral("shadow"), QStringLiteral("raised")}, [&] {
                             if (ZRKit::toBool(value))
                                 cell()->setBackgroundStyle(NSBackgroundStyleRaised);
                         }}});
}

#include "moc_ZRLabel.cpp"
