// SPDX-License-Identifier: MIT
#include "platform/values/NSDecimalNumber.h"

#include "platform/base/NeverDestroyed.h"
#include "platform/values/NumberText.h"

#include <QHashFunctions>
#include <QRegularExpression>
#include <algorithm>
#include <boost/multiprecision/cpp_int.hpp>
#include <charconv>
#include <cmath>
#include <limits>
#include <vector>

using namespace zr;

namespace {

// Without expression templates, whose temporaries refer to one another.
using Integer =
    boost::multiprecision::number<boost::multiprecision::cpp_int_backend<>, boost::multiprecision::et_off>;

constexpr int MaxDigits = NSDecimalNumber::MaxDigits;

/// Enough for the exact sum of any two numbers.
constexpr int LargestPower = 400;

Integer powerOf10(qint64 n) {
    static const zr::NeverDestroyed powers([] {
        std::vector<Integer> table(LargestPower + 1, 1);
        for (size_t i = 1; i < table.size(); ++i)
            table[i] = table[i - 1] * 10;
        return table;
    }());
    return n <= LargestPower ? (*powers)[size_t(n)] : boost::multiprecision::pow(Integer(10), unsigned(n));
}

/// Decimal digits; none for zero.
int digitCount(const Integer &number) {
    if (number == 0)
        return 0;
    const int least = int(msb(number)) * 1233 / 4096; // just below the logarithm of 2
    return number < powerOf10(least + 1) ? least + 1 : least + 2;
}

} // namespace

namespace zr {

/// mantissa × 10^exponent; `more` says that a fraction of the last place follows, and then the mantissa has
/// more digits than a number keeps.
struct DecimalResult {
    bool negative = false;
    Integer mantissa;
    qint64 exponent = 0;
    bool more = false;

    static DecimalResult of(const NSDecimalNumber &number) {
        return {number.isNegative(), (Integer(number.mantissaHigh()) << 64) + number.mantissaLow(),
                number.exponent(), false};
    }

    /// Drops digits from the end.
    void cut(qint64 digits) {
        if (digits <= 0)
            return;
        const Integer power = powerOf10(digits);
        more = more || mantissa % power != 0;
        mantissa /= power;
        exponent += digits;
    }

    NSCalculationError round(NSRoundingMode mode, qint16 scale, NSDecimalNumber &into) const;
    NSDecimalNumber rounded(const NSDecimalNumberHandler &behavior) const {
        NSDecimalNumber number;
        const NSCalculationError error = round(behavior.roundingMode(), behavior.scale(), number);
        if (error != NSCalculationNoError)
            behavior.exceptionDuringOperation(error);
        return number;
    }

private:
    /// For a mantissa of at most MaxDigits, an exponent not too small, and nothing more.
    NSCalculationError store(NSDecimalNumber &into);
};

NSCalculationError DecimalResult::store(NSDecimalNumber &into) {
    into = NSDecimalNumber();
    if (mantissa == 0)
        return NSCalculationNoError;
    for (; exponent < NSDecimalNumber::MaxExponent && mantissa % 10 == 0; ++exponent)
        mantissa /= 10;
    for (; exponent > NSDecimalNumber::MaxExponent && mantissa < powerOf10(MaxDigits - 1); --exponent)
        mantissa *= 10;
    if (exponent > NSDecimalNumber::MaxExponent) {
        into = NSDecimalNumber::notANumber();
        return NSCalculationOverflow;
    }
    into.m_high = quint64(mantissa >> 64);
    into.m_low = quint64(mantissa & std::numeric_limits<quint64>::max());
    into.m_exponent = qint16(exponent);
    into.m_negative = negative;
    return NSCalculationNoError;
}

NSCalculationError DecimalResult::round(NSRoundingMode mode, qint16 scale, NSDecimalNumber &into) const {
    const int digits = digitCount(mantissa);
    const qint64 toScale =
        scale == NSDecimalNoScale ? std::numeric_limits<qint64>::min() : -qint64(scale) - exponent;
    const qint64 toFit = std::max<qint64>(digits - MaxDigits, NSDecimalNumber::MinExponent - exponent);
    const qint64 drop = std::max(toScale, toFit);
    DecimalResult kept = *this;
    if (drop <= 0)
        return kept.store(into);

    // How what is dropped compares with half of the last place that is kept.
    int half = -1;
    bool isExact = mantissa == 0 && !more;
    if (drop <= digits) {
        const Integer power = powerOf10(drop);
        const Integer rest = mantissa % power;
        half = rest * 2 == power && more ? 1 : (rest * 2).compare(power);
        isExact = rest == 0 && !more;
        kept.mantissa /= power;
    } else {
        kept.mantissa = 0;
    }
    kept.exponent += drop;
    const bool isAway = mode == NSRoundPlain  ? half >= 0
                        : mode == NSRoundDown ? negative
                        : mode == NSRoundUp   ? !negative
                                              : half > 0 || (half == 0 && kept.mantissa % 2 == 1);
    if (isAway && !isExact)
        kept.mantissa += 1;
    const bool isZero = kept.mantissa == 0;
    // 38 nines may have become a one and 38 zeros.
    if (kept.mantissa == powerOf10(MaxDigits))
        kept.cut(1);
    const NSCalculationError error = kept.store(into);
    if (error != NSCalculationNoError || isExact || toScale >= toFit)
        return error;
    if (!isZero)
        return NSCalculationLossOfPrecision;
    into = NSDecimalNumber::notANumber();
    return NSCalculationUnderflow;
}

} // namespace zr

namespace {

/// Both numbers' signed mantissas at the smaller one of their exponents.
struct Aligned {
    Aligned(const NSDecimalNumber &a, const NSDecimalNumber &b) {
        const DecimalResult one = DecimalResult::of(a), other = DecimalResult::of(b);
        exponent = std::min(one.exponent, other.exponent);
        const auto signedAt = [this](const DecimalResult &number) {
            const Integer mantissa = number.mantissa * powerOf10(number.exponent - exponent);
            return number.negative ? Integer(-mantissa) : mantissa;
        };
        first = signedAt(one);
        second = signedAt(other);
    }
    Integer first, second;
    qint64 exponent = 0;
};

NSDecimalNumber signedResult(const Integer &value, qint64 exponent, const NSDecimalNumberHandler &behavior) {
    return DecimalResult{value < 0, abs(value), exponent, false}.rounded(behavior);
}

} // namespace

NSDecimalNumber::NSDecimalNumber(quint64 mantissaHigh, quint64 mantissaLow, int exponent, bool negative) {
    DecimalResult{negative, (Integer(mantissaHigh) << 64) + mantissaLow, exponent, false}.round(
        NSRoundPlain, NSDecimalNoScale, *this);
}

NSDecimalNumber::NSDecimalNumber(const QString &text) {
    static const zr::NeverDestroyed<QRegularExpression> form(
        QStringLiteral(R"(\A([-+]?)([0-9]*+)(?:\.([0-9]*+))?(?:[eE]([-+]?[0-9]++))?\z)"));
    constexpr qsizetype Enough = 100; // digits; of those behind only counts whether there are any
    constexpr qint64 Far = Q_INT64_C(1) << 48;
    const auto parts = form->match(text);
    const QString whole = parts.captured(2), places = parts.captured(3);
    QByteArray digits = (whole + places).toLatin1();
    if (!parts.hasMatch() || digits.isEmpty()) {
        *this = notANumber();
        return;
    }
    const qint64 exponent = std::clamp(NumberText::longLongValue(parts.captured(4)), -Far, Far);
    DecimalResult result{parts.captured(1) == u'-', 0, exponent - places.size(), false};
    const qsizetype leading =
        std::find_if(digits.cbegin(), digits.cend(), [](char c) { return c != '0'; }) - digits.cbegin();
    digits.remove(0, leading); // a zero in front would mean an octal number
    if (digits.size() > Enough) {
        result.more =
            std::any_of(digits.cbegin() + Enough, digits.cend(), [](char digit) { return digit != '0'; });
        result.exponent += digits.size() - Enough;
        digits.truncate(Enough);
    }
    if (!digits.isEmpty())
        result.mantissa = Integer(digits.constData());
    if (result.round(NSRoundPlain, NSDecimalNoScale, *this) == NSCalculationUnderflow)
        *this = NSDecimalNumber();
}

NSDecimalNumber NSDecimalNumber::decimalNumberWithDouble(double number) {
    if (!std::isfinite(number))
        return notANumber();
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::scientific);
    return NSDecimalNumber(QString::fromLatin1(text, end.ptr - text));
}

NSDecimalNumber NSDecimalNumber::notANumber() {
    NSDecimalNumber number;
    number.m_nan = true;
    return number;
}

NSDecimalNumber NSDecimalNumber::maximumDecimalNumber() {
    return NSDecimalNumber(QString(MaxDigits, u'9') + u'e' + QString::number(MaxExponent));
}

NSDecimalNumber NSDecimalNumber::minimumDecimalNumber() {
    return zero().decimalNumberBySubtracting(maximumDecimalNumber());
}

QString NSDecimalNumber::stringValue() const {
    if (m_nan)
        return QStringLiteral("NaN");
    QString text = QString::fromStdString(DecimalResult::of(*this).mantissa.str());
    if (m_exponent >= 0) {
        text += QString(isZero() ? 0 : m_exponent, u'0');
    } else {
        text = text.rightJustified(1 - m_exponent, u'0');
        text.insert(text.size() + m_exponent, u'.');
    }
    return m_negative ? u'-' + text : text;
}

double NSDecimalNumber::doubleValue() const {
    return m_nan ? std::numeric_limits<double>::quiet_NaN() : NumberText::doubleValue(stringValue());
}

float NSDecimalNumber::floatValue() const {
    return m_nan ? std::numeric_limits<float>::quiet_NaN() : NumberText::floatValue(stringValue());
}

qint64 NSDecimalNumber::longLongValue() const {
    return NumberText::longLongValue(stringValue());
}

quint64 NSDecimalNumber::unsignedLongLongValue() const {
    return NumberText::unsignedLongLongValue(stringValue());
}

NSDecimalNumber NSDecimalNumber::decimalNumberByAdding(const NSDecimalNumber &number,
                                                       const Handler &behavior) const {
    if (m_nan || number.m_nan)
        return notANumber();
    const Aligned both(*this, number);
    return signedResult(both.first + both.second, both.exponent, behavior);
}

NSDecimalNumber NSDecimalNumber::decimalNumberBySubtracting(const NSDecimalNumber &number,
                                                            const Handler &behavior) const {
    if (m_nan || number.m_nan)
        return notANumber();
    const Aligned both(*this, number);
    return signedResult(both.first - both.second, both.exponent, behavior);
}

NSDecimalNumber NSDecimalNumber::decimalNumberByMultiplyingBy(const NSDecimalNumber &number,
                                                              const Handler &behavior) const {
    if (m_nan || number.m_nan)
        return notANumber();
    const DecimalResult a = DecimalResult::of(*this), b = DecimalResult::of(number);
    return DecimalResult{a.negative != b.negative, a.mantissa * b.mantissa, a.exponent + b.exponent, false}
        .rounded(behavior);
}

NSDecimalNumber NSDecimalNumber::decimalNumberByDividingBy(const NSDecimalNumber &number,
                                                           const Handler &behavior) const {
    if (m_nan || number.m_nan)
        return notANumber();
    if (number.isZero()) {
        behavior.exceptionDuringOperation(NSCalculationDivideByZero);
        return notANumber();
    }
    const DecimalResult a = DecimalResult::of(*this), b = DecimalResult::of(number);
    // Then the quotient has at least one digit too many.
    const int shift = MaxDigits + 1 + digitCount(b.mantissa);
    const Integer dividend = a.mantissa * powerOf10(shift);
    return DecimalResult{a.negative != b.negative, dividend / b.mantissa, a.exponent - b.exponent - shift,
                         dividend % b.mantissa != 0}
        .rounded(behavior);
}

NSDecimalNumber NSDecimalNumber::decimalNumberByRaisingToPower(quint64 power, const Handler &behavior) const {
    // The result's relative error stays below 2^65 times that of one step. A power that isn't exact has more
    // digits than these and isn't near a number of 39, so what is cut off can't change how it is rounded.
    constexpr int Digits = 256;
    // Out of range in any case, and multiples of it still fit.
    static constexpr qint64 Far = 10000;
    if (m_nan)
        return notANumber();
    DecimalResult result{false, 1, 0, false}, factor = DecimalResult::of(*this);
    factor.negative = false;
    for (; factor.mantissa != 0 && factor.mantissa % 10 == 0; ++factor.exponent)
        factor.mantissa /= 10;
    const auto multiply = [](DecimalResult &into, const DecimalResult &by) {
        into.mantissa *= by.mantissa;
        into.exponent += by.exponent;
        into.more |= by.more;
        const int digits = digitCount(into.mantissa);
        into.cut(digits - Digits);
        into.exponent = std::clamp(into.exponent, -Far, Far);
    };
    for (quint64 rest = power; rest != 0; rest >>= 1) {
        if (rest & 1)
            multiply(result, factor);
        multiply(factor, DecimalResult(factor));
    }
    result.negative = m_negative && power % 2 == 1;
    return result.rounded(behavior);
}

NSDecimalNumber NSDecimalNumber::decimalNumberByMultiplyingByPowerOf10(qint16 power,
                                                                       const Handler &behavior) const {
    if (m_nan)
        return notANumber();
    DecimalResult shifted = DecimalResult::of(*this);
    shifted.exponent += power;
    return shifted.rounded(behavior);
}

NSDecimalNumber NSDecimalNumber::decimalNumberByRoundingAccordingToBehavior(const Handler &behavior) const {
    return decimalNumberByMultiplyingByPowerOf10(0, behavior);
}

std::strong_ordering NSDecimalNumber::compare(const NSDecimalNumber &number) const {
    if (m_nan || number.m_nan)
        return int(number.m_nan) <=> int(m_nan);
    const Aligned both(*this, number);
    return both.first.compare(both.second) <=> 0;
}

size_t qHash(const NSDecimalNumber &number, size_t seed) noexcept {
    return qHashMulti(seed, number.mantissaHigh(), number.mantissaLow(), number.exponent(),
                      number.isNegative(), number.isNaN());
}
