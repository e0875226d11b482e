// SPDX-License-Identifier: MIT
#include "platform/store/AttributeValue.h"

#include "platform/archive/NSKeyedArchiver.h"
#include "platform/base/NSException.h"
#include "platform/store/NSEntityDescription.h"
#include "platform/values/Coercion.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

#include <QDateTime>
#include <QUuid>
#include <bit>
#include <limits>

using namespace zr;

namespace {

[[noreturn]] void raiseUnacceptable(const NSAttributeDescription &attribute, const QVariant &value) {
    throw NSException(
        NSInvalidArgumentException,
        QStringLiteral("The attribute \"%1\" of the entity \"%2\" can't take the value %3 of class %4.")
            .arg(attribute.name(), attribute.entity()->name(), NSDescription(value),
                 NSObjectRuntime::className(value)));
}

/// The whole part of a number or decimal; none if 64 bits don't hold it.
std::optional<qint64> wholePart(const QVariant &value, ValueKind kind) {
    if (kind == ValueKind::Decimal) {
        const NSDecimalNumber whole = held<NSDecimalNumber>(value).decimalNumberByRoundingAccordingToBehavior(
            NSDecimalNumberHandler(held<NSDecimalNumber>(value).isNegative() ? NSRoundUp : NSRoundDown, 0,
                                   false, false, false, false));
        const qint64 number = whole.longLongValue();
        return whole == NSDecimalNumber(number) ? std::optional(number) : std::nullopt;
    }
    const Number number = numberOf(value);
    if (number.sort == Number::Signed)
        return number.whole;
    if (number.sort == Number::Real && number.real > -0x1p63 - 1 && number.real < 0x1p63)
        return qint64(number.real);
    return std::nullopt;
}

QVariant integerValue(const NSAttributeDescription &attribute, const QVariant &value, ValueKind kind) {
    const auto whole = wholePart(value, kind);
    if (!whole)
        raiseUnacceptable(attribute, value);
    if (attribute.attributeType() == NSAttributeType::Integer64)
        return *whole;
    const bool isShort = attribute.attributeType() == NSAttributeType::Integer16;
    const qint64 least = isShort ? std::numeric_limits<qint16>::min() : std::numeric_limits<qint32>::min();
    const qint64 most = isShort ? std::numeric_limits<qint16>::max() : std::numeric_limits<qint32>::max();
    if (*whole < least || *whole > most)
        raiseUnacceptable(attribute, value);
    return int(*whole);
}

NSDecimalNumber decimalValue(const QVariant &value, ValueKind kind) {
    return kind == ValueKind::Decimal ? held<NSDecimalNumber>(value) : decimalOf(numberOf(value));
}

QVariant numericValue(const NSAttributeDescription &attribute, const QVariant &value, ValueKind kind) {
    switch (attribute.attributeType()) {
    case NSAttributeType::Decimal:
        return QVariant::fromValue(decimalValue(value, kind));
    case NSAttributeType::Double:
        return zr::doubleValue(value) + 0.0; // the store knows no -0
    case NSAttributeType::Float:
        return zr::floatValue(value) + 0.0F;
    case NSAttributeType::Boolean:
        return zr::boolValue(value);
    default:
        return integerValue(attribute, value, kind);
    }
}

bool isNumeric(NSAttributeType type) {
    switch (type) {
    case NSAttributeType::Integer16:
    case NSAttributeType::Integer32:
    case NSAttributeType::Integer64:
    case NSAttributeType::Decimal:
    case NSAttributeType::Double:
    case NSAttributeType::Float:
    case NSAttributeType::Boolean:
        return true;
    default:
        return false;
    }
}

ValueKind kindFor(NSAttributeType type) {
    switch (type) {
    case NSAttributeType::String:
        return ValueKind::String;
    case NSAttributeType::Date:
        return ValueKind::Date;
    case NSAttributeType::Data:
        return ValueKind::Data;
    case NSAttributeType::URI:
        return ValueKind::URL;
    default:
        return ValueKind::Other;
    }
}

/// Values that an archive can't hold are never the same.
bool isSameArchive(const QVariant &a, const QVariant &b) {
    try {
        return NSKeyedArchiver::archivedDataWithRootObject(a) ==
               NSKeyedArchiver::archivedDataWithRootObject(b);
    } catch (const NSException &) {
        return false;
    }
}

} // namespace

QVariant zr::attributeValue(const NSAttributeDescription &attribute, const QVariant &given) {
    QVariant made;
    const QVariant &value = plain(given, made);
    const ValueKind kind = kindOf(value);
    const NSAttributeType type = attribute.attributeType();
    if (kind == ValueKind::Nil)
        return {};
    if (type == NSAttributeType::Transformable)
        return value;
    if (isNumeric(type)) {
        if (kind != ValueKind::Number && kind != ValueKind::Decimal)
            raiseUnacceptable(attribute, value);
        return numericValue(attribute, value, kind);
    }
    if (type == NSAttributeType::UUID ? value.typeId() != QMetaType::QUuid : kind != kindFor(type))
        raiseUnacceptable(attribute, value);
    if (type == NSAttributeType::Date)
        return held<QDateTime>(value).toUTC();
    return value;
}

bool zr::isSameAttributeValue(NSAttributeType type, const QVariant &a, const QVariant &b) {
    if (!a.isValid() || !b.isValid())
        return a.isValid() == b.isValid();
    switch (type) {
    case NSAttributeType::Transformable:
        return isSameArchive(a, b);
    case NSAttributeType::Double:
        return std::bit_cast<quint64>(a.toDouble()) == std::bit_cast<quint64>(b.toDouble());
    case NSAttributeType::Float:
        return std::bit_cast<quint32>(a.toFloat()) == std::bit_cast<quint32>(b.toFloat());
    default:
        return a == b;
    }
}
