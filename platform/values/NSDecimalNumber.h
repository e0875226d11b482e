// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSDecimalNumberHandler.h"

#include <QMetaType>
#include <QString>
#include <QtGlobal>
#include <compare>
#include <concepts>
#include <type_traits>

namespace zr {
struct DecimalResult;
}

/// An exact base-10 number: sign × mantissa × 10^exponent, or not-a-number.
///
/// The mantissa has up to 38 significant digits; the exponent is -128 to 127. A value has one form only: no
/// trailing zeros in the mantissa while the exponent can take them up, and zero is never negative. So equal
/// numbers are equal member by member. Construction rounds what it can't hold exactly plain (halves away
/// from zero). Plain values; any thread.
///
/// Calculations give the exact result rounded once, by the handler's mode, to its scale or to 38 digits,
/// whichever keeps less. Not-a-number makes every result not-a-number and raises nothing.
class NSDecimalNumber {
public:
    static constexpr int MaxDigits = 38;
    static constexpr int MinExponent = -128;
    static constexpr int MaxExponent = 127;

    /// Zero.
    constexpr NSDecimalNumber() = default;
    /// The exact value of an integer; a character is none.
    template <std::integral Integer>
    requires(!std::is_same_v<Integer, char> &&
             !std::is_same_v<Integer, char16_t>) constexpr explicit NSDecimalNumber(Integer integer)
        : NSDecimalNumber(isBelowZero(integer) ? 0 - quint64(integer) : quint64(integer),
                          isBelowZero(integer)) {}
    /// The number a text stands for: sign, digits with an optional point, optional exponent ("-12.50",
    /// "1e-3"). A number too small is zero, one too large and any other text not-a-number.
    explicit NSDecimalNumber(const QString &text);
    explicit NSDecimalNumber(const char16_t *text) : NSDecimalNumber(QString::fromUtf16(text)) {}
    /// sign × (high × 2^64 + low) × 10^exponent; not-a-number if that is too large or too small.
    NSDecimalNumber(quint64 mantissaHigh, quint64 mantissaLow, int exponent, bool negative);

    /// The decimal number of the shortest text that reads back as the same double: 0.1 is exactly 0.1.
    /// Not-a-number for a not-a-number, an infinity and a number too large; one too small is zero.
    static NSDecimalNumber decimalNumberWithDouble(double number);
    static NSDecimalNumber zero() { return {}; }
    static NSDecimalNumber one() { return NSDecimalNumber(1); }
    static NSDecimalNumber notANumber();
    /// 38 nines with the exponent 127.
    static NSDecimalNumber maximumDecimalNumber();
    /// The maximum's negative.
    static NSDecimalNumber minimumDecimalNumber();

    bool isNaN() const { return m_nan; }
    bool isZero() const { return !m_nan && m_high == 0 && m_low == 0; }
    bool isNegative() const { return m_negative; }
    int exponent() const { return m_exponent; }
    quint64 mantissaHigh() const { return m_high; }
    quint64 mantissaLow() const { return m_low; }

    /// Plain decimal text without an exponent: "-12.5", "0", "NaN".
    QString stringValue() const;
    /// The nearest double.
    double doubleValue() const;
    /// The nearest float, rounded once.
    float floatValue() const;
    /// The integer part, towards zero; beyond 64 bits the nearest limit; 0 for not-a-number.
    qint64 longLongValue() const;
    /// The same for unsigned integers; negative numbers wrap, as strtoull has it, and saturate beyond 64
    /// bits.
    quint64 unsignedLongLongValue() const;

    using Handler = NSDecimalNumberHandler;
    static constexpr Handler DefaultBehavior = Handler::defaultDecimalNumberHandler();

    NSDecimalNumber decimalNumberByAdding(const NSDecimalNumber &number,
                                          const Handler &behavior = DefaultBehavior) const;
    NSDecimalNumber decimalNumberBySubtracting(const NSDecimalNumber &number,
                                               const Handler &behavior = DefaultBehavior) const;
    NSDecimalNumber decimalNumberByMultiplyingBy(const NSDecimalNumber &number,
                                                 const Handler &behavior = DefaultBehavior) const;
    NSDecimalNumber decimalNumberByDividingBy(const NSDecimalNumber &number,
                                              const Handler &behavior = DefaultBehavior) const;
    /// To the power 0 every number is 1.
    NSDecimalNumber decimalNumberByRaisingToPower(quint64 power,
                                                  const Handler &behavior = DefaultBehavior) const;
    /// Shifts the decimal point to the right, or with a negative power to the left.
    NSDecimalNumber decimalNumberByMultiplyingByPowerOf10(qint16 power,
                                                          const Handler &behavior = DefaultBehavior) const;
    NSDecimalNumber decimalNumberByRoundingAccordingToBehavior(const Handler &behavior) const;

    /// By value; not-a-number comes before every number and equals itself, so that collections can be sorted
    /// and searched.
    std::strong_ordering compare(const NSDecimalNumber &number) const;
    friend std::strong_ordering operator<=>(const NSDecimalNumber &a, const NSDecimalNumber &b) {
        return a.compare(b);
    }
    friend bool operator==(const NSDecimalNumber &, const NSDecimalNumber &) = default;

private:
    friend struct zr::DecimalResult;

    template <std::integral Integer>
    static constexpr bool isBelowZero(Integer integer) {
        return std::is_signed_v<Integer> && qint64(integer) < 0;
    }

    constexpr NSDecimalNumber(quint64 magnitude, bool negative) {
        if (magnitude == 0)
            return;
        for (; magnitude % 10 == 0; magnitude /= 10)
            ++m_exponent;
        m_low = magnitude;
        m_negative = negative;
    }

    quint64 m_high = 0;
    quint64 m_low = 0;
    qint16 m_exponent = 0;
    bool m_negative = false;
    bool m_nan = false;
};

size_t qHash(const NSDecimalNumber &number, size_t seed = 0) noexcept;

Q_DECLARE_METATYPE(NSDecimalNumber)
