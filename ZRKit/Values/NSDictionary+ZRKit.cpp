// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDictionary+ZRKit.h"

#include "ZRKit/Values/PropertyListCopy.h"
#include "platform/base/NSError.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

#include <QMetaProperty>
#include <QObject>
#include <QUuid>

using namespace zr;

namespace ZRKit {

namespace {

/// What keyed archives take.
bool isCodable(const QVariant &value) {
    switch (kindOf(value)) {
    case ValueKind::Nil:
    case ValueKind::Object:
    case ValueKind::Gadget:
        return false;
    case ValueKind::Other:
        return value.typeId() == QMetaType::QUuid || value.metaType() == QMetaType::fromType<NSError>();
    default:
        return true;
    }
}

/// A single value as the kit's own rules, not Qt's, make the type of it.
QVariant coerced(const QVariant &value, QMetaType type) {
    switch (kindOf(value)) {
    case ValueKind::Null:
    case ValueKind::Array:
    case ValueKind::Dictionary:
    case ValueKind::Set:
    case ValueKind::Object:
    case ValueKind::Gadget:
        return value;
    default:
        break;
    }
    switch (type.id()) {
    case QMetaType::QString:
        return toString(value);
    case QMetaType::QByteArray:
        return toData(value);
    case QMetaType::QDateTime:
        return toDate(value);
    default:
        return value;
    }
}

} // namespace

void mapValuesToObject(const QVariantMap &dictionary, QObject *object) {
    if (!object)
        return;
    const QMetaObject &metaObject = *object->metaObject();
    for (int i = metaObject.propertyCount() - 1; i >= metaObject.propertyOffset(); --i) {
        const QMetaProperty property = metaObject.property(i);
        const QString name = QString::fromUtf8(property.name());
        const QVariant value = dictionary.value(name);
        if (!NSIsNil(value))
            NSKeyValueCoding::setValueForKey(object, coerced(value, property.metaType()), name);
    }
}

std::optional<QVariantMap> dictionaryWithValuesOfObject(const QObject *object) {
    if (!object)
        return {};
    const QStringList names = NSObjectRuntime::propertyNames(*object->metaObject());
    if (names.isEmpty())
        return {};
    QVariantMap values;
    for (const QString &name : names) {
        const QVariant value = object->property(name.toUtf8().constData());
        if (isCodable(value))
            values.insert(name, value);
    }
    return values;
}

std::optional<QVariantMap> deepMutableCopy(const QVariantMap &dictionary) {
    const std::optional<QVariant> copy = propertyListCopy(dictionary);
    return copy ? std::optional(copy->toMap()) : std::nullopt;
}

QVariantMap ZRDictionaryWithKeysAndObjectsSkipNil(const QList<std::pair<QString, QVariant>> &keysAndObjects) {
    QVariantMap dictionary;
    for (const auto &[k, object] : keysAndObjects) {
        if (NSIsNil(object) || NSIsNull(object))
            continue;
        if (k.isNull())
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("The key of an object can't be nil."));
        dictionary.insert(k, object);
    }
    return dictionary;
}

} // namespace ZRKit
