// SPDX-License-Identifier: MIT
#include "platform/values/NSSet.h"

#include "platform/base/NSError.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSObjectRuntime.h"

#include <QDateTime>
#include <QUrl>
#include <QUuid>
#include <cstring>

using namespace zr;

namespace {

// A full 64-bit mix with the seed inside: whoever doesn't know the seed can't make values collide.
size_t mixed(quint64 value, size_t seed) {
    value ^= seed;
    value ^= value >> 30;
    value *= Q_UINT64_C(0xbf58476d1ce4e5b9);
    value ^= value >> 27;
    value *= Q_UINT64_C(0x94d049bb133111eb);
    value ^= value >> 31;
    return size_t(value);
}

template <typename T>
const T &as(const QVariant &value) {
    return *static_cast<const T *>(value.constData());
}

size_t numberHash(double number, size_t seed) {
    quint64 bits = 0;
    if (number != 0) // zero and negative zero are equal
        std::memcpy(&bits, &number, sizeof bits);
    return mixed(bits, seed);
}

size_t listHash(const QVariantList &list, size_t seed) {
    size_t hash = seed;
    for (const QVariant &element : list)
        hash = mixed(hash, qHash(element, seed));
    return hash;
}

template <typename Pairs>
size_t pairsHash(const Pairs &pairs, size_t seed) {
    size_t sum = size_t(pairs.size());
    for (auto it = pairs.cbegin(); it != pairs.cend(); ++it)
        sum += mixed(qHash(it.value(), seed), qHash(it.key(), seed));
    return mixed(sum, seed);
}

} // namespace

size_t qHash(const QVariant &value, size_t seed) {
    const QMetaType type = value.metaType();
    switch (type.id()) {
    case QMetaType::Bool:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return numberHash(double(value.toLongLong()), seed);
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return numberHash(double(value.toULongLong()), seed);
    case QMetaType::Float:
    case QMetaType::Double:
        return numberHash(value.toDouble(), seed);
    case QMetaType::QString:
        return qHash(as<QString>(value), seed);
    case QMetaType::QByteArray:
        return qHash(as<QByteArray>(value), seed);
    case QMetaType::QDateTime:
        return qHash(as<QDateTime>(value), seed);
    case QMetaType::QUrl:
        return qHash(as<QUrl>(value), seed);
    case QMetaType::QUuid:
        return qHash(as<QUuid>(value), seed);
    case QMetaType::QVariantList:
        return listHash(as<QVariantList>(value), seed);
    case QMetaType::QVariantMap:
        return pairsHash(as<QVariantMap>(value), seed);
    case QMetaType::QVariantHash:
        return pairsHash(as<QVariantHash>(value), seed);
    default:
        break;
    }
    if (type == QMetaType::fromType<NSSet>()) {
        size_t sum = 0;
        for (const QVariant &element : as<NSSet>(value))
            sum += mixed(qHash(element, seed), seed);
        return mixed(sum, seed);
    }
    if (type == QMetaType::fromType<NSDecimalNumber>())
        return numberHash(NSObjectRuntime::doubleValue(value), seed);
    if (type == QMetaType::fromType<NSError>()) {
        const auto &error = as<NSError>(value);
        return qHashMulti(seed, error.domain(), error.code());
    }
    // Pointers to objects of related classes may be equal without having the same type.
    if (type.flags().testFlag(QMetaType::PointerToQObject))
        return mixed(quintptr(as<QObject *>(value)), seed);
    // Arrays and dictionaries of other types are equal to those above if they hold the same.
    switch (kindOf(value)) {
    case ValueKind::Array:
        return listHash(arrayOf(value), seed);
    case ValueKind::Dictionary:
        return pairsHash(dictionaryOf(value), seed);
    default:
        return mixed(quint64(type.id()), seed);
    }
}
