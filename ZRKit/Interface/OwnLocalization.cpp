// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/OwnLocalization.h"

#include "ZRKit/Interface/NSString+ZRLocalize.h"
#include "platform/values/NSObjectRuntime.h"

#include <QMetaProperty>
#include <QScopeGuard>

bool zr::localizesItself(QObject *object, const QString &prefix) {
    static QObjectList atIt;
    const NSSelector own("localizeWithPrefix:");
    const QVariant receiver = QVariant::fromValue(object);
    if (atIt.contains(object) || !NSObjectRuntime::respondsTo(receiver, own))
        return false;
    atIt.append(object);
    const auto done = qScopeGuard([] { atIt.removeLast(); });
    NSObjectRuntime::perform(receiver, own, {prefix});
    return true;
}

void zr::localizeProperty(QObject *object, const char *name, const QString &prefix) {
    const QMetaObject *const meta = object->metaObject();
    const QMetaProperty property = meta->property(meta->indexOfProperty(name));
    if (!property.isWritable() || property.metaType() != QMetaType::fromType<QString>())
        return;
    const QString text = property.read(object).toString();
    // Setting even the same text has effects: an action's tool tip is its title only until one is set.
    if (const QString localized = ZRKit::localizeWithPrefix(text, prefix); localized != text)
        property.write(object, localized);
}
