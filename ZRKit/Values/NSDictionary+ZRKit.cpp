// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDictionary+ZRKit.h"

#include "ZRKit/Values/PropertyListCopy.h"
#include "platform/base/NSError.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSObjectRuntime.h"

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

} // namespace

void mapValuesToObject(const QVariantMap &dictionary, QObject *object) {
    if (!object)
        return;
    const QStringList names = NSObjectRuntime::propertyNames(*object->metaObject());
    for (auto name = names.crbegin(); name != names.crend(); ++name) {
        const QVariant value = dictionary.value(*name);
        if (!NSIsNil(value))
            NSKeyValueCoding::setValueForKey(object, value, *name);
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
    return propertyListCopy(dictionary);
}

QVariantMap
ZRDictionaryWithKeysAndObjectsSkipNil(std::initializer_list<std::pair<QString, QVariant>> keysAndObjects) {
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
