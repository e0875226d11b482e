// SPDX-License-Identifier: MIT
#include "ZRKit/Values/PropertyListCopy.h"

#include "ZRKit/Values/ZRCollection.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"

#include <QDateTime>

namespace ZRKit {

namespace {

std::optional<QVariant> copied(const QVariant &value);

template <typename Dictionary>
std::optional<QVariantMap> copiedDictionary(const Dictionary &dictionary) {
    QVariantMap copy;
    for (auto it = dictionary.cbegin(); it != dictionary.cend(); ++it) {
        const std::optional<QVariant> value = copied(it.value());
        if (!value)
            return {};
        copy.insert(it.key(), *value);
    }
    return copy;
}

template <typename Container>
std::optional<QVariant> wrapped(const std::optional<Container> &container) {
    return container ? std::optional<QVariant>(*container) : std::nullopt;
}

std::optional<QVariant> copied(const QVariant &value) {
    if (NSIsNil(value))
        return {};
    switch (value.metaType().id()) {
    case QMetaType::QString:
    case QMetaType::QByteArray:
    case QMetaType::QDateTime:
    case QMetaType::Bool:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return value;
    case QMetaType::QVariantList:
        return wrapped(propertyListCopy(value.toList()));
    case QMetaType::QStringList: {
        QVariantList strings;
        for (const QString &string : value.toStringList())
            strings.append(string);
        return wrapped(propertyListCopy(strings));
    }
    case QMetaType::QVariantMap:
        return wrapped(copiedDictionary(value.toMap()));
    case QMetaType::QVariantHash:
        return wrapped(copiedDictionary(value.toHash()));
    default:
        break;
    }
    if (value.metaType() == QMetaType::fromType<ZRCollection>())
        return wrapped(copiedDictionary(value.value<ZRCollection>()));
    if (value.metaType() == QMetaType::fromType<NSDecimalNumber>())
        return value;
    return {};
}

} // namespace

std::optional<QVariantList> propertyListCopy(const QVariantList &array) {
    QVariantList copy;
    copy.reserve(array.size());
    for (const QVariant &element : array) {
        const std::optional<QVariant> value = copied(element);
        if (!value)
            return {};
        copy.append(*value);
    }
    return copy;
}

std::optional<QVariantMap> propertyListCopy(const QVariantMap &dictionary) {
    return copiedDictionary(dictionary);
}

} // namespace ZRKit
