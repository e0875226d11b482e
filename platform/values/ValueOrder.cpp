// SPDX-License-Identifier: MIT
#include "platform/base/NSError.h"
#include "platform/base/NSException.h"
#include "platform/values/Coercion.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NSSet.h"
#include "platform/values/ValueKind.h"

#include <QDateTime>
#include <QUrl>
#include <QUuid>
#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>

using namespace zr;

namespace {

// ---- Numbers

template <typename T>
NSComparisonResult order(const T &a, const T &b) {
    return a < b ? NSOrderedAscending : b < a ? NSOrderedDescending : NSOrderedSame;
}

/// Whether the number is an integer that 64 bits hold.
bool isInteger(double number) {
    return number == std::floor(number) && number >= -0x1p63 && number < 0x1p64;
}

bool isNumeric(ValueKind kind) {
    return kind == ValueKind::Number || kind == ValueKind::Decimal;
}

/// What a number counts as beside numbers of other types; nothing for a double that no decimal is. A whole
/// double that an integer may equal is what it is exactly, any other the decimal of its shortest text, so
/// that 0.1 equals 0.1.
std::optional<NSDecimalNumber> decimalOf(const QVariant &value, ValueKind kind) {
    if (kind == ValueKind::Decimal)
        return held<NSDecimalNumber>(value);
    const Number number = numberOf(value);
    if (number.sort == Number::Signed)
        return NSDecimalNumber(number.whole);
    if (number.sort == Number::Unsigned)
        return NSDecimalNumber(number.large);
    if (isInteger(number.real))
        return number.real < 0 ? NSDecimalNumber(qint64(number.real)) : NSDecimalNumber(quint64(number.real));
    const NSDecimalNumber decimal = NSDecimalNumber::decimalNumberWithDouble(number.real);
    return std::isnan(number.real) || decimal.doubleValue() == number.real ? std::optional(decimal)
                                                                           : std::nullopt;
}

NSComparisonResult orderNumeric(const QVariant &a, ValueKind kindA, const QVariant &b, ValueKind kindB) {
    if (kindA == ValueKind::Number && kindB == ValueKind::Number) {
        const Number one = numberOf(a), other = numberOf(b);
        if (one.sort == Number::Signed && other.sort == Number::Signed)
            return order(one.whole, other.whole);
        if (one.sort == Number::Real && other.sort == Number::Real && !std::isnan(one.real) &&
            !std::isnan(other.real))
            return order(one.real, other.real);
    }
    const auto one = decimalOf(a, kindA), other = decimalOf(b, kindB);
    if ((one && one->isNaN()) || (other && other->isNaN()) || (one && other))
        return order(one.value_or(NSDecimalNumber()), other.value_or(NSDecimalNumber()));
    return order(NSObjectRuntime::doubleValue(a), NSObjectRuntime::doubleValue(b));
}

// ---- Containers

bool equalArrays(const QVariant &a, const QVariant &b) {
    const QVariantList one = arrayOf(a), other = arrayOf(b);
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), NSObjectRuntime::isEqual);
}

bool equalDictionaries(const QVariant &a, const QVariant &b) {
    const QVariantMap one = dictionaryOf(a), other = dictionaryOf(b);
    return std::equal(one.keyValueBegin(), one.keyValueEnd(), other.keyValueBegin(), other.keyValueEnd(),
                      [](const auto &x, const auto &y) {
                          return x.first == y.first && NSObjectRuntime::isEqual(x.second, y.second);
                      });
}

// ---- Hashes

/// A full 64-bit mix with the seed inside: without the seed nobody can make values collide.
size_t mixed(quint64 value, size_t seed) {
    value ^= seed;
    value ^= value >> 30;
    value *= Q_UINT64_C(0xbf58476d1ce4e5b9);
    value ^= value >> 27;
    value *= Q_UINT64_C(0x94d049bb133111eb);
    value ^= value >> 31;
    return size_t(value);
}

/// Equal numbers have equal hashes, whatever their types: integers by their bits, others by the nearest
/// double.
size_t numericHash(const QVariant &value, ValueKind kind, size_t seed) {
    if (kind == ValueKind::Number && numberOf(value).sort == Number::Signed)
        return mixed(quint64(numberOf(value).whole), seed);
    const auto decimal = decimalOf(value, kind);
    if (decimal && !decimal->isNaN() && decimal->exponent() >= 0) {
        if (const qint64 whole = decimal->longLongValue(); *decimal == NSDecimalNumber(whole))
            return mixed(quint64(whole), seed);
        if (const quint64 whole = decimal->unsignedLongLongValue(); *decimal == NSDecimalNumber(whole))
            return mixed(whole, seed);
    }
    const double real = NSObjectRuntime::doubleValue(value);
    return mixed(std::isnan(real) ? 1 : std::bit_cast<quint64>(real), ~seed);
}

size_t arrayHash(const QVariantList &elements, size_t seed) {
    size_t hash = seed;
    for (const QVariant &element : elements)
        hash = mixed(hash, std::hash<QVariant>()(element, seed));
    return hash;
}

size_t dictionaryHash(const QVariantMap &entries, size_t seed) {
    size_t hash = seed;
    for (auto at = entries.cbegin(); at != entries.cend(); ++at)
        hash = mixed(hash, mixed(qHash(at.key(), seed), std::hash<QVariant>()(at.value(), seed)));
    return hash;
}

size_t setHash(const NSSet &members, size_t seed) {
    size_t sum = 0;
    for (const QVariant &member : members)
        sum += mixed(std::hash<QVariant>()(member, seed), seed);
    return mixed(sum, seed);
}

/// Objects that say by themselves what equals them hash as they say, or all alike.
size_t objectHash(const QVariant &value, size_t seed) {
    if (const auto own = NSObjectRuntime::answer(value, "hash"))
        return mixed(own->toULongLong(), seed);
    const bool comparesItself = NSObjectRuntime::respondsTo(value, NSSelector("isEqual:"));
    return mixed(comparesItself ? 0 : quintptr(objectOf(value)), seed);
}

/// Gadgets that say how they hash do so as they say, others of one class all alike.
size_t otherHash(const QVariant &value, size_t seed) {
    if (const auto own = NSObjectRuntime::answer(value, "hash"))
        return mixed(own->toULongLong(), seed);
    const QMetaType type = value.metaType();
    if (type.id() == QMetaType::QUuid)
        return qHash(held<QUuid>(value), seed);
    if (type == QMetaType::fromType<NSError>())
        return qHashMulti(seed, held<NSError>(value).domain(), held<NSError>(value).code());
    return mixed(quint64(type.id()), seed);
}

} // namespace

size_t std::hash<QVariant>::operator()(const QVariant &given, size_t seed) const {
    QVariant made;
    const QVariant &value = plain(given, made);
    const ValueKind kind = kindOf(value);
    switch (kind) {
    case ValueKind::Nil:
    case ValueKind::Null:
        return mixed(quint64(kind), seed);
    case ValueKind::Number:
    case ValueKind::Decimal:
        return numericHash(value, kind, seed);
    case ValueKind::String:
        return qHash(held<QString>(value), seed);
    case ValueKind::Data:
        return qHash(held<QByteArray>(value), seed);
    case ValueKind::Date:
        return qHash(held<QDateTime>(value), seed);
    case ValueKind::URL:
        return qHash(held<QUrl>(value), seed);
    case ValueKind::Array:
        return arrayHash(arrayOf(value), seed);
    case ValueKind::Dictionary:
        return dictionaryHash(dictionaryOf(value), seed);
    case ValueKind::Set:
        return setHash(held<NSSet>(value), seed);
    case ValueKind::Object:
        return objectHash(value, seed);
    case ValueKind::Gadget:
    case ValueKind::Other:
        return otherHash(value, seed);
    }
    return seed;
}

template <>
bool qHashEquals(const QVariant &a, const QVariant &b) {
    return NSObjectRuntime::isEqual(a, b);
}

namespace NSObjectRuntime {

bool isEqual(const QVariant &givenA, const QVariant &givenB) {
    QVariant madeA, madeB;
    const QVariant &a = plain(givenA, madeA), &b = plain(givenB, madeB);
    const ValueKind kind = kindOf(a), other = kindOf(b);
    if (isNumeric(kind) && isNumeric(other))
        return orderNumeric(a, kind, b, other) == NSOrderedSame;
    if (kind != other)
        return false;
    switch (kind) {
    case ValueKind::Nil:
    case ValueKind::Null:
        return true;
    case ValueKind::Array:
        return equalArrays(a, b);
    case ValueKind::Dictionary:
        return equalDictionaries(a, b);
    case ValueKind::Object: {
        if (objectOf(a) == objectOf(b))
            return true;
        const NSSelector selector("isEqual:");
        return respondsTo(a, selector) && perform(a, selector, {b}).toBool();
    }
    default:
        return a == b;
    }
}

size_t hash(const QVariant &value) {
    if (objectOf(value)) {
        if (const auto own = answer(value, "hash"))
            return size_t(own->toULongLong());
    }
    return std::hash<QVariant>()(value, 0);
}

NSComparisonResult compare(const QVariant &givenA, const QVariant &givenB) {
    QVariant madeA, madeB;
    const QVariant &a = plain(givenA, madeA), &b = plain(givenB, madeB);
    const ValueKind kind = kindOf(a), other = kindOf(b);
    if (kind == ValueKind::Nil || other == ValueKind::Nil)
        return order(kind != ValueKind::Nil, other != ValueKind::Nil);
    if (isNumeric(kind) && isNumeric(other))
        return orderNumeric(a, kind, b, other);
    const NSSelector selector("compare:");
    if (kind == ValueKind::Object || kind == ValueKind::Gadget)
        return NSComparisonResult(std::clamp(perform(a, selector, {b}).toInt(), -1, 1));
    if (kind == other && kind == ValueKind::String)
        return NSComparisonResult(std::clamp(held<QString>(a).compare(held<QString>(b)), -1, 1));
    if (kind == other && kind == ValueKind::Date)
        return order(held<QDateTime>(a), held<QDateTime>(b));
    throw NSException(NSInvalidArgumentException,
                      QStringLiteral("There is no order between %1 and %2.").arg(className(a), className(b)));
}

} // namespace NSObjectRuntime
