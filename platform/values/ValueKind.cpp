// SPDX-License-Identifier: MIT
#include "platform/values/ValueKind.h"

#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"

#include <QDateTime>
#include <QJsonValue>
#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QVariantHash>

namespace zr {

namespace {

constexpr auto SmartPointers =
    QMetaType::SharedPointerToQObject | QMetaType::WeakPointerToQObject | QMetaType::TrackingPointerToQObject;

ValueKind rareKind(const QVariant &value) {
    const QMetaType type = value.metaType();
    if (type == QMetaType::fromType<NSDecimalNumber>())
        return ValueKind::Decimal;
    if (type == QMetaType::fromType<NSSet>())
        return ValueKind::Set;
    const QMetaType::TypeFlags flags = type.flags();
    if (flags & (QMetaType::PointerToQObject | SmartPointers))
        return objectOf(value) ? ValueKind::Object : ValueKind::Nil;
    if (NSIsNil(value))
        return ValueKind::Nil;
    if (isArithmetic(type))
        return ValueKind::Number;
    if (flags & QMetaType::IsGadget)
        return ValueKind::Gadget;
    if (value.canConvert<QVariantMap>())
        return ValueKind::Dictionary;
    if (value.canConvert<QVariantList>())
        return ValueKind::Array;
    return ValueKind::Other;
}

ValueKind jsonKind(const QJsonValue &value) {
    switch (value.type()) {
    case QJsonValue::Array:
        return ValueKind::Array;
    case QJsonValue::Object:
        return ValueKind::Dictionary;
    case QJsonValue::Null:
        return ValueKind::Null;
    case QJsonValue::Undefined:
        return ValueKind::Nil;
    default:
        return ValueKind::Other;
    }
}

/// The registered class's, without functions for any other dictionary.
DictionaryAccess accessTo(const QVariant &dictionary) {
    DictionaryAccess access;
    if (dictionary.typeId() >= QMetaType::User &&
        !QMetaType::convert(dictionary.metaType(), dictionary.constData(),
                            QMetaType::fromType<DictionaryAccess>(), &access))
        return {};
    return access;
}

} // namespace

bool isArithmetic(QMetaType type) {
    switch (type.id()) {
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
        return true;
    default:
        return bool(type.flags() & QMetaType::IsEnumeration);
    }
}

ValueKind kindOf(const QVariant &value) {
    const auto unlessNil = [](bool nil, ValueKind kind) { return nil ? ValueKind::Nil : kind; };
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        return ValueKind::Nil;
    case QMetaType::Nullptr:
        return ValueKind::Null;
    case QMetaType::QString:
        return unlessNil(held<QString>(value).isNull(), ValueKind::String);
    case QMetaType::QByteArray:
        return unlessNil(held<QByteArray>(value).isNull(), ValueKind::Data);
    case QMetaType::QDateTime:
        return unlessNil(!held<QDateTime>(value).isValid(), ValueKind::Date);
    case QMetaType::QUrl:
        return unlessNil(held<QUrl>(value).isEmpty(), ValueKind::URL);
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        return ValueKind::Array;
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return ValueKind::Dictionary;
    case QMetaType::QJsonValue:
        return jsonKind(held<QJsonValue>(value));
    default:
        return rareKind(value);
    }
}

const QVariant &plain(const QVariant &value, QVariant &made) {
    if (value.typeId() != QMetaType::QJsonValue)
        return value;
    made = held<QJsonValue>(value).toVariant();
    return made;
}

QVariantList arrayOf(const QVariant &value) {
    QVariant made;
    switch (kindOf(value)) {
    case ValueKind::Array:
        return plain(value, made).toList();
    case ValueKind::Set: {
        const auto &set = held<NSSet>(value);
        return QVariantList(set.begin(), set.end());
    }
    default:
        return {};
    }
}

QVariantMap dictionaryOf(const QVariant &value) {
    QVariant made;
    return kindOf(value) == ValueKind::Dictionary ? plain(value, made).toMap() : QVariantMap();
}

qsizetype countOf(const QVariant &collection) {
    switch (collection.typeId()) {
    case QMetaType::QVariantList:
        return held<QVariantList>(collection).size();
    case QMetaType::QStringList:
        return held<QStringList>(collection).size();
    case QMetaType::QVariantMap:
        return held<QVariantMap>(collection).size();
    case QMetaType::QVariantHash:
        return held<QVariantHash>(collection).size();
    default:
        break;
    }
    switch (kindOf(collection)) {
    case ValueKind::Array:
        return arrayOf(collection).size();
    case ValueKind::Set:
        return held<NSSet>(collection).size();
    case ValueKind::Dictionary: {
        const DictionaryAccess access = accessTo(collection);
        return access.count ? access.count(access.dictionary) : dictionaryOf(collection).size();
    }
    default:
        return 0;
    }
}

const QVariant *elementOf(const QVariant &array, qint64 index, QVariant &made) {
    const auto isInside = [index](const auto &elements) { return index >= 0 && index < elements.size(); };
    if (array.typeId() == QMetaType::QVariantList) {
        const auto &elements = held<QVariantList>(array);
        return isInside(elements) ? &elements[index] : nullptr;
    }
    if (array.typeId() == QMetaType::QStringList) {
        const auto &elements = held<QStringList>(array);
        made = isInside(elements) ? elements[index] : QVariant();
        return isInside(elements) ? &made : nullptr;
    }
    const QVariantList elements = kindOf(array) == ValueKind::Array ? arrayOf(array) : QVariantList();
    if (!isInside(elements))
        return nullptr;
    made = elements[index];
    return &made;
}

const QVariant *entryOf(const QVariant &dictionary, const QString &key, QVariant &made) {
    const auto search = [&key](const auto &entries) {
        const auto at = entries.constFind(key);
        return at == entries.constEnd() ? nullptr : &at.value();
    };
    if (key.isNull())
        return nullptr;
    if (dictionary.typeId() == QMetaType::QVariantMap)
        return search(held<QVariantMap>(dictionary));
    if (dictionary.typeId() == QMetaType::QVariantHash)
        return search(held<QVariantHash>(dictionary));
    if (kindOf(dictionary) != ValueKind::Dictionary)
        return nullptr;
    if (const DictionaryAccess access = accessTo(dictionary); access.find)
        return access.find(access.dictionary, key);
    const QVariantMap entries = dictionaryOf(dictionary);
    const QVariant *entry = search(entries);
    if (!entry)
        return nullptr;
    made = *entry;
    return &made;
}

DictionaryEntries entriesOf(const QVariant &value) {
    if (value.typeId() >= QMetaType::User && value.canConvert<DictionaryEntries>() &&
        kindOf(value) == ValueKind::Dictionary)
        return value.value<DictionaryEntries>();
    DictionaryEntries entries;
    const QVariantMap dictionary = dictionaryOf(value);
    for (auto at = dictionary.begin(); at != dictionary.end(); ++at)
        entries.append({at.key(), at.value()});
    return entries;
}

QObject *objectOf(const QVariant &value) {
    const QMetaType::TypeFlags flags = value.metaType().flags();
    if (flags & QMetaType::PointerToQObject)
        return held<QObject *>(value);
    return flags & SmartPointers ? value.value<QObject *>() : nullptr;
}

} // namespace zr
