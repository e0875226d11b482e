// SPDX-License-Identifier: MIT
#include "platform/values/Coercion.h"

#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NumberText.h"
#include "platform/values/ValueKind.h"

#include <QDateTime>
#include <cmath>
#include <limits>

namespace zr {

namespace {

qint64 integerOf(double number) {
    if (std::isnan(number))
        return 0;
    if (number >= 0x1p63)
        return std::numeric_limits<qint64>::max();
    return number < -0x1p63 ? std::numeric_limits<qint64>::min() : qint64(number);
}

/// What the functions give for a value's number, decimal, text or date.
template <typename Result, typename OfNumber, typename OfDecimal, typename OfText, typename OfDate>
Result coerced(const QVariant &given, OfNumber ofNumber, OfDecimal ofDecimal, OfText ofText, OfDate ofDate) {
    QVariant made;
    const QVariant &value = plain(given, made);
    switch (kindOf(value)) {
    case ValueKind::Number:
        return ofNumber(numberOf(value));
    case ValueKind::Decimal:
        return ofDecimal(held<NSDecimalNumber>(value));
    case ValueKind::String:
        return ofText(held<QString>(value));
    case ValueKind::Date:
        return ofDate(double(held<QDateTime>(value).toMSecsSinceEpoch()) / 1000);
    default:
        return Result();
    }
}

constexpr auto no = [](double) { return 0; };

} // namespace

bool boolValue(const QVariant &value) {
    return coerced<bool>(
        value, [](const Number &number) { return number.asDouble() != 0; },
        [](const NSDecimalNumber &decimal) { return !decimal.isZero(); }, NumberText::boolValue, no);
}

qint64 longLongValue(const QVariant &value) {
    return coerced<qint64>(
        value,
        [](const Number &number) {
            return number.sort == Number::Real     ? integerOf(number.real)
                   : number.sort == Number::Signed ? number.whole
                                                   : qint64(number.large);
        },
        [](const NSDecimalNumber &decimal) { return decimal.longLongValue(); }, NumberText::longLongValue,
        no);
}

quint64 unsignedLongLongValue(const QVariant &value) {
    return coerced<quint64>(
        value,
        [](const Number &number) {
            if (number.sort != Number::Real)
                return number.sort == Number::Signed ? quint64(number.whole) : number.large;
            if (number.real >= 0x1p64)
                return std::numeric_limits<quint64>::max();
            return number.real >= 0x1p63 ? quint64(number.real) : quint64(integerOf(number.real));
        },
        [](const NSDecimalNumber &decimal) { return decimal.unsignedLongLongValue(); },
        NumberText::unsignedLongLongValue, no);
}

double doubleValue(const QVariant &value) {
    return coerced<double>(
        value, [](const Number &number) { return number.asDouble(); },
        [](const NSDecimalNumber &decimal) { return decimal.doubleValue(); }, NumberText::doubleValue,
        [](double seconds) { return seconds; });
}

float floatValue(const QVariant &value) {
    return coerced<float>(
        value,
        [](const Number &number) {
            return number.sort == Number::Signed     ? float(number.whole)
                   : number.sort == Number::Unsigned ? float(number.large)
                                                     : float(number.real);
        },
        [](const NSDecimalNumber &decimal) { return decimal.floatValue(); }, NumberText::floatValue,
        [](double seconds) { return float(seconds); });
}

NSDecimalNumber decimalOf(const Number &number) {
    return number.sort == Number::Signed     ? NSDecimalNumber(number.whole)
           : number.sort == Number::Unsigned ? NSDecimalNumber(number.large)
                                             : NSDecimalNumber::decimalNumberWithDouble(number.real);
}

Number numberOf(const QVariant &value) {
    switch (value.typeId()) {
    case QMetaType::Float:
        return {Number::Real, 0, 0, double(held<float>(value))};
    case QMetaType::Double:
        return {Number::Real, 0, 0, held<double>(value)};
    case QMetaType::ULong:
    case QMetaType::ULongLong: {
        const quint64 large = value.toULongLong();
        if (large > quint64(std::numeric_limits<qint64>::max()))
            return {Number::Unsigned, 0, large, 0};
        return {Number::Signed, qint64(large), 0, 0};
    }
    default:
        return {Number::Signed, value.toLongLong(), 0, 0};
    }
}

} // namespace zr
