// SPDX-License-Identifier: MIT
#pragma once

#include <QMetaType>
#include <QString>
#include <QtGlobal>

/// An exact base-10 number: sign × mantissa × 10^exponent, or not-a-number.
///
/// The mantissa is an unsigned 128-bit integer, so at least 38 decimal digits are exact; the exponent is -128
/// to 127. A value has one form only: no trailing zeros in the mantissa while the exponent can take them up,
/// and zero is never negative. So equal numbers are equal member by member. Copies are plain values; any
/// thread.
class NSDecimalNumber {
public:
    static constexpr int MinExponent = -128;
    static constexpr int MaxExponent = 127;

    /// Zero.
    constexpr NSDecimalNumber() = default;
    /// The exact value of an integer.
    NSDecimalNumber(qint64 integer);
    /// The number a text stands for: sign, digits with an optional point, optional exponent ("-12.50",
    /// "1e-3"). Digits past what the mantissa holds are rounded, half to even; an exponent out of range and
    /// any other text give not-a-number.
    explicit NSDecimalNumber(const QString &text);
    /// sign × (high × 2^64 + low) × 10^exponent; not-a-number where that is out of range.
    NSDecimalNumber(quint64 mantissaHigh, quint64 mantissaLow, int exponent, bool negative);

    static NSDecimalNumber notANumber();

    bool isNaN() const { return m_nan; }
    bool isZero() const { return !m_nan && m_high == 0 && m_low == 0; }
    bool isNegative() const { return m_negative; }
    int exponent() const { return m_exponent; }
    quint64 mantissaHigh() const { return m_high; }
    quint64 mantissaLow() const { return m_low; }

    /// Plain decimal text without an exponent: "-12.5", "0", "NaN".
    QString stringValue() const;

    /// Not-a-number equals itself, so that it can be found in collections.
    friend bool operator==(const NSDecimalNumber &, const NSDecimalNumber &) = default;

private:
    quint64 m_high = 0;
    quint64 m_low = 0;
    qint16 m_exponent = 0;
    bool m_negative = false;
    bool m_nan = false;
};

size_t qHash(const NSDecimalNumber &number, size_t seed = 0) noexcept;

Q_DECLARE_METATYPE(NSDecimalNumber)
