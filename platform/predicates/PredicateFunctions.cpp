// SPDX-License-Identifier: MIT
#include "platform/predicates/PredicateFunctions.h"

#include "platform/base/NSException.h"
#include "platform/values/Coercion.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NSSet.h"
#include "platform/values/NumberText.h"
#include "platform/values/ValueKind.h"

#include <QDateTime>
#include <QString>
#include <QUrl>
#include <QUuid>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

using namespace zr;

namespace {

using NSObjectRuntime::compare;
using NSObjectRuntime::doubleValue;

// ---- Arithmetic

enum class Sign { Plus, Minus, Times, Over, Modulo, Power };

void requireNumber(const QVariant &value) {
    const ValueKind kind = kindOf(value);
    if (kind != ValueKind::Number && kind != ValueKind::Decimal)
        throw NSException(
            NSInvalidArgumentException,
            QStringLiteral("A value of class %1 is no number.").arg(NSObjectRuntime::className(value)));
}

/// A number as a signed 64-bit integer, where it is an integer that fits.
std::optional<qint64> wholeOf(const QVariant &value) {
    if (kindOf(value) != ValueKind::Number)
        return {};
    const Number number = numberOf(value);
    return number.sort == Number::Signed ? std::optional(number.whole) : std::nullopt;
}

/// What two integers give, where that is an integer that fits.
std::optional<QVariant> wholeResult(Sign sign, qint64 a, qint64 b) {
    qint64 result = 0;
    switch (sign) {
    case Sign::Plus:
        return __builtin_add_overflow(a, b, &result) ? std::nullopt : std::optional<QVariant>(result);
    case Sign::Minus:
        return __builtin_sub_overflow(a, b, &result) ? std::nullopt : std::optional<QVariant>(result);
    case Sign::Times:
        return __builtin_mul_overflow(a, b, &result) ? std::nullopt : std::optional<QVariant>(result);
    case Sign::Over:
    case Sign::Modulo:
        if (b == 0)
            return QVariant();
        if (b == -1) // the smallest number has no counterpart
            return sign == Sign::Modulo ? QVariant(qint64(0)) : wholeResult(Sign::Minus, 0, a);
        return sign == Sign::Over ? a / b : a % b;
    case Sign::Power:
        if (b < 0)
            return {};
        result = 1;
        for (; b > 0; b >>= 1) {
            if (b & 1 && __builtin_mul_overflow(result, a, &result))
                return {};
            if (b > 1 && __builtin_mul_overflow(a, a, &a))
                return {};
        }
        return result;
    }
    return {};
}

double realResult(Sign sign, double a, double b) {
    switch (sign) {
    case Sign::Plus:
        return a + b;
    case Sign::Minus:
        return a - b;
    case Sign::Times:
        return a * b;
    case Sign::Over:
        return a / b;
    case Sign::Modulo:
        return std::fmod(a, b);
    case Sign::Power:
        return std::pow(a, b);
    }
    return 0;
}

/// What decimals give; nothing where they don't have the operation.
std::optional<QVariant> decimalResult(Sign sign, const NSDecimalNumber &a, const NSDecimalNumber &b) {
    switch (sign) {
    case Sign::Plus:
        return QVariant::fromValue(a.decimalNumberByAdding(b));
    case Sign::Minus:
        return QVariant::fromValue(a.decimalNumberBySubtracting(b));
    case Sign::Times:
        return QVariant::fromValue(a.decimalNumberByMultiplyingBy(b));
    case Sign::Over:
        return b.isZero() ? QVariant() : QVariant::fromValue(a.decimalNumberByDividingBy(b));
    case Sign::Power:
        if (b.isNaN() || b.isNegative() || b.exponent() < 0)
            return {};
        return QVariant::fromValue(a.decimalNumberByRaisingToPower(b.unsignedLongLongValue()));
    case Sign::Modulo:
        return {};
    }
    return {};
}

NSDecimalNumber decimalOf(const QVariant &value) {
    return kindOf(value) == ValueKind::Decimal ? held<NSDecimalNumber>(value) : decimalOf(numberOf(value));
}

QVariant calculated(Sign sign, const QVariant &a, const QVariant &b) {
    if (isAbsent(a) || isAbsent(b))
        return {};
    requireNumber(a);
    requireNumber(b);
    const std::optional<qint64> wholeA = wholeOf(a), wholeB = wholeOf(b);
    if (wholeA && wholeB) {
        if (const auto result = wholeResult(sign, *wholeA, *wholeB))
            return *result;
    }
    if (kindOf(a) == ValueKind::Decimal || kindOf(b) == ValueKind::Decimal) {
        if (const auto result = decimalResult(sign, decimalOf(a), decimalOf(b)))
            return *result;
    }
    return realResult(sign, doubleValue(a), doubleValue(b));
}

template <Sign sign>
QVariant arithmetic(const QVariantList &arguments) {
    return calculated(sign, arguments.at(0), arguments.at(1));
}

QVariant negated(const QVariantList &arguments) {
    // Not a difference from zero, which would lose the sign of a zero.
    return calculated(Sign::Times, arguments.at(0), qint64(-1));
}

template <auto function>
QVariant real(const QVariantList &arguments) {
    const QVariant &value = arguments.at(0);
    if (isAbsent(value))
        return {};
    requireNumber(value);
    return function(doubleValue(value));
}

/// Integers are whole already.
template <auto function>
QVariant rounded(const QVariantList &arguments) {
    const QVariant &value = arguments.at(0);
    const bool isInteger = kindOf(value) == ValueKind::Number && numberOf(value).sort != Number::Real;
    return isInteger ? value : real<function>(arguments);
}

QVariant magnitude(const QVariantList &arguments) {
    const std::optional<qint64> whole = wholeOf(arguments.at(0));
    if (whole)
        return *whole < 0 ? negated(arguments) : arguments.at(0);
    return rounded<[](double number) { return std::fabs(number); }>(arguments);
}

// ---- Collections

QVariantList members(const QVariantList &arguments) {
    const ValueKind kind = arguments.size() == 1 ? kindOf(arguments.at(0)) : ValueKind::Other;
    const QVariantList all =
        kind == ValueKind::Array || kind == ValueKind::Set ? arrayOf(arguments.at(0)) : arguments;
    QVariantList present;
    std::copy_if(all.cbegin(), all.cend(), std::back_inserter(present),
                 [](const QVariant &value) { return !isAbsent(value); });
    return present;
}

QVariant sum(const QVariantList &arguments) {
    QVariant total = qint64(0);
    for (const QVariant &value : members(arguments))
        total = calculated(Sign::Plus, total, value);
    return total;
}

QVariant average(const QVariantList &arguments) {
    const QVariantList values = members(arguments);
    if (values.isEmpty())
        return {};
    const QVariant total = sum({QVariant(values)});
    return calculated(Sign::Over, wholeOf(total) ? QVariant(doubleValue(total)) : total, values.size());
}

template <NSComparisonResult wanted>
QVariant extreme(const QVariantList &arguments) {
    QVariant best;
    for (const QVariant &value : members(arguments)) {
        if (!best.isValid() || compare(value, best) == wanted)
            best = value;
    }
    return best;
}

QVariant count(const QVariantList &arguments) {
    if (arguments.size() == 1 && kindOf(arguments.at(0)) == ValueKind::Dictionary)
        return qint64(dictionaryOf(arguments.at(0)).size());
    return qint64(members(arguments).size());
}

QVariant elementAt(const QVariantList &arguments) {
    const QVariant &collection = arguments.at(0), &index = arguments.at(1);
    if (isAbsent(collection) || isAbsent(index))
        return {};
    if (kindOf(collection) == ValueKind::Dictionary && kindOf(index) == ValueKind::String)
        return dictionaryOf(collection).value(index.toString());
    const std::optional<qint64> whole = wholeOf(index);
    if (kindOf(collection) != ValueKind::Array || !whole)
        throw NSException(
            NSInvalidArgumentException,
            QStringLiteral("A value of class %1 has no element at an index of class %2.")
                .arg(NSObjectRuntime::className(collection), NSObjectRuntime::className(index)));
    const QVariantList elements = arrayOf(collection);
    const qint64 at = *whole < 0 ? *whole + elements.size() : *whole;
    return at >= 0 && at < elements.size() ? elements.at(at) : QVariant();
}

// ---- Texts

const QString &requireText(const QVariant &value) {
    if (kindOf(value) != ValueKind::String)
        throw NSException(
            NSInvalidArgumentException,
            QStringLiteral("A value of class %1 is no string.").arg(NSObjectRuntime::className(value)));
    return held<QString>(value);
}

QVariant upperCase(const QVariantList &arguments) {
    return isAbsent(arguments.at(0)) ? QVariant() : QVariant(requireText(arguments.at(0)).toUpper());
}

QVariant lowerCase(const QVariantList &arguments) {
    return isAbsent(arguments.at(0)) ? QVariant() : QVariant(requireText(arguments.at(0)).toLower());
}

QVariant length(const QVariantList &arguments) {
    return isAbsent(arguments.at(0)) ? QVariant() : QVariant(qint64(requireText(arguments.at(0)).size()));
}

QVariant now(const QVariantList &) {
    return QDateTime::currentDateTimeUtc();
}

// ---- Classes

QVariant dateOf(const QVariant &value) {
    // Whole milliseconds are exact in a double up to here.
    constexpr double Farthest = 8e12;
    requireNumber(value);
    const double seconds = doubleValue(value);
    if (!(std::fabs(seconds) <= Farthest))
        throw NSException(NSInvalidArgumentException, QStringLiteral("There is no such date."));
    return QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC).addMSecs(qint64(std::llround(seconds * 1000)));
}

QVariant numberOf(const QString &text) {
    bool isWhole = false;
    const qint64 whole = text.toLongLong(&isWhole);
    if (isWhole)
        return whole;
    if (text == QStringLiteral("nan"))
        return std::numeric_limits<double>::quiet_NaN();
    if (text == QStringLiteral("inf"))
        return std::numeric_limits<double>::infinity();
    if (text == QStringLiteral("-inf"))
        return -std::numeric_limits<double>::infinity();
    return NumberText::doubleValue(text);
}

QVariant dictionaryFrom(const QVariant &value) {
    const QVariantList pairs = arrayOf(value);
    QVariantMap dictionary;
    for (qsizetype i = 0; i + 1 < pairs.size(); i += 2)
        dictionary.insert(requireText(pairs.at(i)), pairs.at(i + 1));
    return dictionary;
}

QVariant cast(const QVariantList &arguments) {
    const QVariant &value = arguments.at(0);
    const QString &type = requireText(arguments.at(1));
    const ValueKind kind = kindOf(value);
    if (type == QStringLiteral("NSNull"))
        return kind == ValueKind::Nil ? NSNull() : value;
    const bool isText = kind == ValueKind::String;
    const bool isNumber = kind == ValueKind::Number || kind == ValueKind::Decimal;
    const bool isArray = kind == ValueKind::Array || kind == ValueKind::Set;
    if (type == QStringLiteral("NSString"))
        return isAbsent(value)                          ? QVariant()
               : NSObjectRuntime::hasStringValue(value) ? NSObjectRuntime::stringValue(value)
                                                        : NSObjectRuntime::description(value);
    if (isAbsent(value))
        return {};
    if (type == QStringLiteral("NSNumber") && isText)
        return numberOf(held<QString>(value));
    if (type == QStringLiteral("NSNumber") && kind == ValueKind::Date)
        return double(QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC).msecsTo(held<QDateTime>(value))) /
               1000;
    if (type == QStringLiteral("NSNumber") && isNumber)
        return kind == ValueKind::Decimal ? QVariant(doubleValue(value)) : value;
    if (type == QStringLiteral("NSDecimalNumber") && (isText || isNumber))
        return kind == ValueKind::Decimal
                   ? value
                   : QVariant::fromValue(NSDecimalNumber(NSObjectRuntime::stringValue(value)));
    if (type == QStringLiteral("NSDate") && kind == ValueKind::Date)
        return value;
    if (type == QStringLiteral("NSDate") && isNumber)
        return dateOf(value);
    if (type == QStringLiteral("NSURL") && (isText || kind == ValueKind::URL))
        return isText ? QVariant(QUrl(held<QString>(value))) : value;
    if (type == QStringLiteral("NSUUID") && isText)
        return QUuid(held<QString>(value));
    if (type == QStringLiteral("NSData") && isText)
        return QByteArray("").append(QByteArray::fromBase64(held<QString>(value).toLatin1()));
    if (type == QStringLiteral("NSSet") && isArray) {
        const QVariantList elements = arrayOf(value);
        return QVariant::fromValue(NSSet(elements.cbegin(), elements.cend()));
    }
    if (type == QStringLiteral("NSDictionary") && isArray)
        return dictionaryFrom(value);
    throw NSException(NSInvalidArgumentException,
                      QStringLiteral("A value of class %1 can't become one of class %2.")
                          .arg(NSObjectRuntime::className(value), type));
}

constexpr auto latin(const char *text) {
    return QLatin1String(text);
}

const std::array Functions = {
    PredicateFunction{latin("add:to:"), latin("+"), 2, 2, 1, arithmetic<Sign::Plus>},
    PredicateFunction{latin("from:subtract:"), latin("-"), 2, 2, 1, arithmetic<Sign::Minus>},
    PredicateFunction{latin("multiply:by:"), latin("*"), 2, 2, 2, arithmetic<Sign::Times>},
    PredicateFunction{latin("divide:by:"), latin("/"), 2, 2, 2, arithmetic<Sign::Over>},
    PredicateFunction{latin("raise:toPower:"), latin("**"), 2, 2, 3, arithmetic<Sign::Power>},
    PredicateFunction{latin("negate:"), latin("-"), 1, 1, 4, negated},
    PredicateFunction{latin("modulus:by:"), latin("modulus"), 2, 2, 0, arithmetic<Sign::Modulo>},
    PredicateFunction{latin("abs:"), latin("abs"), 1, 1, 0, magnitude},
    PredicateFunction{latin("ceiling:"), latin("ceiling"), 1, 1, 0,
                      rounded<[](double number) { return std::ceil(number); }>},
    PredicateFunction{latin("floor:"), latin("floor"), 1, 1, 0,
                      rounded<[](double number) { return std::floor(number); }>},
    PredicateFunction{latin("trunc:"), latin("trunc"), 1, 1, 0,
                      rounded<[](double number) { return std::trunc(number); }>},
    PredicateFunction{latin("sqrt:"), latin("sqrt"), 1, 1, 0,
                      real<[](double number) { return std::sqrt(number); }>},
    PredicateFunction{latin("ln:"), latin("ln"), 1, 1, 0,
                      real<[](double number) { return std::log(number); }>},
    PredicateFunction{latin("log:"), latin("log"), 1, 1, 0,
                      real<[](double number) { return std::log10(number); }>},
    PredicateFunction{latin("exp:"), latin("exp"), 1, 1, 0,
                      real<[](double number) { return std::exp(number); }>},
    PredicateFunction{latin("sum:"), latin("sum"), 1, PredicateFunction::Any, 0, sum},
    PredicateFunction{latin("average:"), latin("average"), 1, PredicateFunction::Any, 0, average},
    PredicateFunction{latin("min:"), latin("min"), 1, PredicateFunction::Any, 0, extreme<NSOrderedAscending>},
    PredicateFunction{latin("max:"), latin("max"), 1, PredicateFunction::Any, 0,
                      extreme<NSOrderedDescending>},
    PredicateFunction{latin("count:"), latin("count"), 1, PredicateFunction::Any, 0, count},
    PredicateFunction{latin("uppercase:"), latin("uppercase"), 1, 1, 0, upperCase},
    PredicateFunction{latin("lowercase:"), latin("lowercase"), 1, 1, 0, lowerCase},
    PredicateFunction{latin("length:"), latin("length"), 1, 1, 0, length},
    PredicateFunction{latin("objectFrom:withIndex:"), latin("["), 2, 2, 0, elementAt},
    PredicateFunction{latin("castObject:toType:"), latin("CAST"), 2, 2, 0, cast},
    PredicateFunction{latin("now"), latin("now"), 0, 0, 0, now},
};

} // namespace

const PredicateFunction *PredicateFunction::named(QStringView name) {
    const auto it = std::find_if(Functions.begin(), Functions.end(),
                                 [&](const PredicateFunction &function) { return function.name == name; });
    return it == Functions.end() ? nullptr : &*it;
}

const PredicateFunction *PredicateFunction::written(QStringView text) {
    const auto it = std::find_if(Functions.begin(), Functions.end(), [&](const PredicateFunction &function) {
        return function.text.compare(text, Qt::CaseInsensitive) == 0;
    });
    return it == Functions.end() ? nullptr : &*it;
}
