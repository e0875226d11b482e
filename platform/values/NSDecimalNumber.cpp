// SPDX-License-Identifier: MIT
#include "platform/values/NSDecimalNumber.h"

#include <QHashFunctions>
#include <QVarLengthArray>
#include <algorithm>
#include <array>
#include <bit>
#include <boost/multiprecision/cpp_int.hpp>
#include <charconv>
#include <cmath>
#include <limits>

namespace {

__extension__ using Small = unsigned __int128;
// Holds every exact sum and product, and dividends long enough for 38 digits.
using Wide = boost::multiprecision::uint512_t;
// Without expression templates, whose temporaries refer to one another.
using Unbounded =
    boost::multiprecision::number<boost::multiprecision::cpp_int_backend<>, boost::multiprecision::et_off>;

constexpr int MaxDigits = NSDecimalNumber::MaxDigits;

constexpr auto SmallPowers = [] {
    std::array<Small, MaxDigits + 1> powers{};
    Small power = 1;
    for (Small &each : powers) {
        each = power;
        power *= 10;
    }
    return powers;
}();

constexpr Small Limit = SmallPowers[MaxDigits];

template <typename Integer>
const Integer &powerOf10(int n);

template <>
const Small &powerOf10<Small>(int n) {
    return SmallPowers[size_t(n)];
}

template <>
const Wide &powerOf10<Wide>(int n) {
    static const auto powers = [] {
        std::array<Wide, 155> table;
        table[0] = 1;
        for (size_t i = 1; i < table.size(); ++i)
            table[i] = table[i - 1] * 10;
        return table;
    }();
    return powers[size_t(n)];
}

template <typename Integer>
int bitCount(const Integer &number) {
    return int(msb(number)) + 1;
}

template <>
int bitCount(const Small &number) {
    const auto high = quint64(number >> 64);
    return high ? 128 - std::countl_zero(high) : 64 - std::countl_zero(quint64(number));
}

// Decimal digits; none for zero. 1233/4096 is just below the logarithm of 2.
template <typename Integer>
int digitCount(const Integer &number) {
    if (number == 0)
        return 0;
    const int least = (bitCount(number) - 1) * 1233 / 4096;
    if (std::is_same_v<Integer, Small> && least == MaxDigits)
        return MaxDigits + 1;
    return number < powerOf10<Integer>(least + 1) ? least + 1 : least + 2;
}

} // namespace

struct NSDecimalArithmetic {
    using Error = NSCalculationError;

    static Small mantissa(const NSDecimalNumber &number) { return Small(number.m_high) << 64 | number.m_low; }

    // A mantissa below Limit at an exponent of at least MinExponent.
    static Error store(bool negative, Small mantissa, qint64 exponent, NSDecimalNumber &into) {
        into = NSDecimalNumber();
        if (mantissa == 0)
            return NSCalculationNoError;
        while (exponent < NSDecimalNumber::MaxExponent) {
            const Small shorter = mantissa / 10;
            if (shorter * 10 != mantissa)
                break;
            mantissa = shorter;
            ++exponent;
        }
        while (exponent > NSDecimalNumber::MaxExponent && mantissa < Limit / 10) {
            mantissa *= 10;
            --exponent;
        }
        if (exponent > NSDecimalNumber::MaxExponent) {
            into = NSDecimalNumber::notANumber();
            return NSCalculationOverflow;
        }
        into.m_high = quint64(mantissa >> 64);
        into.m_low = quint64(mantissa);
        into.m_exponent = qint16(exponent);
        into.m_negative = negative;
        return NSCalculationNoError;
    }

    // Rounds mantissa × 10^exponent, of which `more` says that a fraction of the last place follows. Whoever
    // has more passes at least one digit too many.
    template <typename Integer>
    static Error round(bool negative, const Integer &mantissa, qint64 exponent, bool more,
                       NSRoundingMode mode, qint16 scale, NSDecimalNumber &into) {
        const int digits = digitCount(mantissa);
        const qint64 toScale =
            scale == NSDecimalNoScale ? std::numeric_limits<qint64>::min() : -qint64(scale) - exponent;
        const qint64 toFit = std::max<qint64>(digits - MaxDigits, NSDecimalNumber::MinExponent - exponent);
        const qint64 drop = std::max(toScale, toFit);
        if (drop <= 0)
            return store(negative, Small(mantissa), exponent, into);
        if constexpr (std::is_same_v<Integer, Small>) {
            if (drop > MaxDigits && drop <= digits) // 10^39 doesn't fit
                return round(negative, Wide(mantissa), exponent, more, mode, scale, into);
        }

        Small kept = 0;
        // How what is dropped compares with half of the last place kept; equal to nothing is `exact`.
        auto half = std::strong_ordering::less;
        bool exact = mantissa == 0 && !more;
        if (drop <= digits) {
            const Integer &power = powerOf10<Integer>(int(drop));
            const Integer quotient = mantissa / power;
            const Integer rest = mantissa - quotient * power;
            kept = Small(quotient);
            const Integer middle = power / 2;
            half = rest < middle           ? std::strong_ordering::less
                   : rest > middle || more ? std::strong_ordering::greater
                                           : std::strong_ordering::equal;
            exact = rest == 0 && !more;
        }
        bool away = false;
        switch (mode) {
        case NSRoundPlain:
            away = std::is_gteq(half);
            break;
        case NSRoundDown:
            away = negative && !exact;
            break;
        case NSRoundUp:
            away = !negative && !exact;
            break;
        case NSRoundBankers:
            away = std::is_gt(half) || (std::is_eq(half) && kept % 2 == 1);
            break;
        }
        kept += away && !exact;
        exponent += drop;
        if (kept == Limit) {
            kept /= 10;
            ++exponent;
        }
        const Error error = store(negative, kept, exponent, into);
        if (error != NSCalculationNoError || exact || toScale >= toFit)
            return error;
        if (kept == 0) {
            into = NSDecimalNumber::notANumber();
            return NSCalculationUnderflow;
        }
        return NSCalculationLossOfPrecision;
    }

    template <typename Integer>
    static NSDecimalNumber result(bool negative, const Integer &mantissa, qint64 exponent, bool more,
                                  const NSDecimalNumberHandler &behavior) {
        NSDecimalNumber number;
        const Error error =
            round(negative, mantissa, exponent, more, behavior.roundingMode(), behavior.scale(), number);
        if (error != NSCalculationNoError)
            behavior.exceptionDuringOperation(error);
        return number;
    }

    static NSDecimalNumber sum(const NSDecimalNumber &a, const NSDecimalNumber &b, bool negateB,
                               const NSDecimalNumberHandler &behavior);
    static NSDecimalNumber power(const NSDecimalNumber &base, quint64 power,
                                 const NSDecimalNumberHandler &behavior);
};

namespace {

using Arithmetic = NSDecimalArithmetic;

// The larger operand of a sum is never shifted further than this: what then lies below the other's last place
// can only decide a rounding.
constexpr int LongestShift = 80;

struct Magnitude {
    bool negative;
    Small mantissa;
    int exponent;
};

// The sum of two magnitudes of which the first has the larger exponent, `shift` above the second's.
template <typename Integer>
NSDecimalNumber aligned(const Magnitude &a, const Magnitude &b, int shift, bool more,
                        const NSDecimalNumberHandler &behavior) {
    const Integer high = Integer(a.mantissa) * powerOf10<Integer>(shift);
    const Integer low = Integer(b.mantissa);
    const int exponent = a.exponent - shift;
    if (a.negative == b.negative)
        return Arithmetic::result<Integer>(a.negative, high + low, exponent, more, behavior);
    if (high >= low + Integer(more ? 1 : 0))
        return Arithmetic::result<Integer>(a.negative, high - low - Integer(more ? 1 : 0), exponent, more,
                                           behavior);
    return Arithmetic::result<Integer>(b.negative, low - high, exponent, more, behavior);
}

// A number known to lie from mantissa to below mantissa + doubt, times 10^exponent; exact where the doubt is
// 0.
struct Interval {
    Unbounded mantissa;
    Unbounded doubt;
    qint64 exponent;

    Interval times(const Interval &other, int precision) const {
        Interval product{mantissa * other.mantissa,
                         mantissa * other.doubt + doubt * other.mantissa + doubt * other.doubt,
                         exponent + other.exponent};
        const qint64 excess = (qint64(bitCount(product.mantissa)) - precision) * 1233 / 4096;
        if (excess > 0) {
            const Unbounded power = boost::multiprecision::pow(Unbounded(10), unsigned(excess));
            product.mantissa /= power;
            product.doubt = product.doubt / power + 2;
            product.exponent += excess;
        }
        return product;
    }
};

} // namespace

NSDecimalNumber NSDecimalArithmetic::sum(const NSDecimalNumber &a, const NSDecimalNumber &b, bool negateB,
                                         const NSDecimalNumberHandler &behavior) {
    if (a.isNaN() || b.isNaN())
        return NSDecimalNumber::notANumber();
    Magnitude high{a.isNegative(), mantissa(a), a.exponent()};
    Magnitude low{b.isNegative() != negateB, mantissa(b), b.exponent()};
    if (low.mantissa == 0)
        low.exponent = high.exponent;
    if (high.mantissa == 0)
        high.exponent = low.exponent;
    if (high.exponent < low.exponent)
        std::swap(high, low);
    const int shift = high.exponent - low.exponent;
    if (shift < MaxDigits && high.mantissa < SmallPowers[size_t(MaxDigits - shift)])
        return aligned<Small>(high, low, shift, false, behavior);
    if (shift <= LongestShift)
        return aligned<Wide>(high, low, shift, false, behavior);
    const int below = shift - LongestShift;
    const Small kept = below <= MaxDigits ? low.mantissa / SmallPowers[size_t(below)] : Small(0);
    const bool more =
        below > MaxDigits ? low.mantissa != 0 : kept * SmallPowers[size_t(below)] != low.mantissa;
    low.mantissa = kept;
    return aligned<Wide>(high, low, LongestShift, more, behavior);
}

NSDecimalNumber NSDecimalArithmetic::power(const NSDecimalNumber &base, quint64 power,
                                           const NSDecimalNumberHandler &behavior) {
    const bool negative = base.isNegative() && power % 2 == 1;
    Small root = mantissa(base);
    qint64 exponent = base.exponent();
    for (; root % 10 == 0; root /= 10)
        ++exponent;

    // Far out of range is settled by the logarithm, whose error is below a thousand for any power.
    const double magnitude = (std::log10(double(root)) + double(exponent)) * double(power);
    if (magnitude > 3000)
        return result<Small>(negative, 1, 3000, false, behavior);
    if (magnitude < -3000)
        return result<Small>(negative, 1, -3000, true, behavior);
    if (root == 1)
        return result<Small>(negative, 1, exponent * qint64(power), false, behavior);

    for (int precision = 256;; precision *= 2) {
        const Interval factor{Unbounded(root), 0, exponent};
        Interval value{1, 0, 0};
        for (int bit = 64 - std::countl_zero(power); bit-- > 0;) {
            value = value.times(value, precision);
            if (power >> bit & 1)
                value = value.times(factor, precision);
        }
        // Neither end of an inexact interval is the power itself: that has more digits than the precision,
        // the last one not 0. So it lies between, and both ends round alike once the interval is narrow
        // enough.
        const bool exact = value.doubt == 0;
        const auto rounded = [&](Unbounded mantissa, NSDecimalNumber &into) {
            qint64 place = value.exponent;
            bool more = !exact;
            if (const int excess = int((qint64(bitCount(mantissa)) - 400) * 1233 / 4096); excess > 0) {
                const Unbounded divisor = boost::multiprecision::pow(Unbounded(10), unsigned(excess));
                const Unbounded quotient = mantissa / divisor;
                more |= quotient * divisor != mantissa;
                mantissa = quotient;
                place += excess;
            }
            return round(negative, Wide(mantissa), place, more, behavior.roundingMode(), behavior.scale(),
                         into);
        };
        NSDecimalNumber low, high;
        const Error error = rounded(value.mantissa, low);
        if (!exact && (rounded(value.mantissa + value.doubt - 1, high) != error || low != high))
            continue;
        if (error != NSCalculationNoError)
            behavior.exceptionDuringOperation(error);
        return low;
    }
}

NSDecimalNumber::NSDecimalNumber(quint64 mantissaHigh, quint64 mantissaLow, int exponent, bool negative) {
    Arithmetic::round(negative, Small(mantissaHigh) << 64 | mantissaLow, exponent, false, NSRoundPlain,
                      NSDecimalNoScale, *this);
}

NSDecimalNumber::NSDecimalNumber(const QString &text) {
    const auto isDigit = [](QChar c) { return c >= u'0' && c <= u'9'; };
    *this = notANumber();
    qsizetype at = 0;
    const auto sign = [&] {
        if (at < text.size() && (text[at] == u'-' || text[at] == u'+'))
            return text[at++] == u'-';
        return false;
    };
    const bool negative = sign();

    Small mantissa = 0;
    qint64 exponent = 0;
    bool any = false, point = false;
    int dropped = -1;
    bool more = false;
    for (; at < text.size(); ++at) {
        const QChar c = text[at];
        if (c == u'.' && !point) {
            point = true;
            continue;
        }
        if (!isDigit(c))
            break;
        any = true;
        const unsigned digit = c.unicode() - u'0';
        if (mantissa < Limit / 10) {
            mantissa = mantissa * 10 + digit;
            exponent -= point;
            continue;
        }
        if (dropped < 0)
            dropped = int(digit);
        else
            more |= digit != 0;
        exponent += !point;
    }
    if (!any)
        return;
    if (at < text.size() && (text[at] == u'e' || text[at] == u'E')) {
        ++at;
        const bool down = sign();
        const qsizetype start = at;
        qint64 given = 0;
        for (; at < text.size() && isDigit(text[at]); ++at)
            given = qMin<qint64>(given * 10 + (text[at].unicode() - u'0'), Q_INT64_C(1) << 48);
        if (at == start)
            return;
        exponent += down ? -given : given;
    }
    if (at != text.size())
        return;

    const NSCalculationError error =
        dropped < 0
            ? Arithmetic::round(negative, mantissa, exponent, false, NSRoundPlain, NSDecimalNoScale, *this)
            : Arithmetic::round(negative, Wide(mantissa) * 10 + dropped, exponent - 1, more, NSRoundPlain,
                                NSDecimalNoScale, *this);
    if (error == NSCalculationUnderflow)
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
    const Small nines = Limit - 1;
    return {quint64(nines >> 64), quint64(nines), MaxExponent, false};
}

NSDecimalNumber NSDecimalNumber::minimumDecimalNumber() {
    const Small nines = Limit - 1;
    return {quint64(nines >> 64), quint64(nines), MaxExponent, true};
}

QString NSDecimalNumber::stringValue() const {
    if (m_nan)
        return QStringLiteral("NaN");
    // Filled from the end: sign, "0.", up to 128 leading zeros and 38 digits; or 38 digits and 127 zeros.
    char text[1 + 2 + MaxDigits + -MinExponent];
    char *const end = text + sizeof text;
    char *at = end;
    if (m_exponent > 0) {
        at -= m_exponent;
        std::fill(at, end, '0');
    }
    int places = m_exponent < 0 ? -m_exponent : 0;
    const auto put = [&](unsigned digit) {
        *--at = char('0' + digit);
        if (places > 0 && --places == 0)
            *--at = '.';
    };
    Small mantissa = Arithmetic::mantissa(*this);
    for (; mantissa >> 64 != 0; mantissa /= 10)
        put(unsigned(mantissa % 10));
    auto low = quint64(mantissa);
    for (; low != 0; low /= 10)
        put(unsigned(low % 10));
    while (places > 0)
        put(0);
    if (at == end || *at == '.')
        put(0);
    if (m_negative)
        *--at = '-';
    return QString::fromLatin1(at, end - at);
}

namespace {

/// The nearest number of a decimal that isn't not-a-number.
template <typename Number>
Number nearest(Small mantissa, int exponent, bool negative) {
    char text[64];
    char *const end = text + sizeof text;
    char *at = std::to_chars(text + 45, end, exponent).ptr;
    char *const last = at;
    at = text + 45;
    *--at = 'e';
    do
        *--at = char('0' + int(mantissa % 10));
    while ((mantissa /= 10) != 0);
    if (negative)
        *--at = '-';
    Number number = 0;
    if (std::from_chars(at, last, number).ec == std::errc::result_out_of_range && exponent > 0)
        number =
            negative ? -std::numeric_limits<Number>::infinity() : std::numeric_limits<Number>::infinity();
    return number;
}

} // namespace

double NSDecimalNumber::doubleValue() const {
    if (m_nan)
        return std::numeric_limits<double>::quiet_NaN();
    constexpr double Powers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    // One correctly rounded step of exact operands.
    if (m_high == 0 && m_low <= Q_UINT64_C(1) << 53 && std::abs(m_exponent) < int(std::size(Powers))) {
        const double magnitude =
            m_exponent < 0 ? double(m_low) / Powers[-m_exponent] : double(m_low) * Powers[m_exponent];
        return m_negative ? -magnitude : magnitude;
    }
    return nearest<double>(Arithmetic::mantissa(*this), m_exponent, m_negative);
}

float NSDecimalNumber::floatValue() const {
    return m_nan ? std::numeric_limits<float>::quiet_NaN()
                 : nearest<float>(Arithmetic::mantissa(*this), m_exponent, m_negative);
}

namespace {

constexpr Small LargestUnsigned = std::numeric_limits<quint64>::max();

// The integer part's magnitude; something above LargestUnsigned for all that are.
Small integerPart(const NSDecimalNumber &number) {
    Small mantissa = Arithmetic::mantissa(number);
    int exponent = number.exponent();
    if (number.isNaN() || exponent < -MaxDigits)
        return 0;
    if (exponent < 0)
        return mantissa / SmallPowers[size_t(-exponent)];
    for (; exponent > 0 && mantissa <= LargestUnsigned; --exponent)
        mantissa *= 10;
    return mantissa;
}

} // namespace

qint64 NSDecimalNumber::longLongValue() const {
    constexpr qint64 Largest = std::numeric_limits<qint64>::max();
    const Small magnitude = integerPart(*this);
    if (magnitude > Small(Largest))
        return m_negative ? std::numeric_limits<qint64>::min() : Largest;
    return m_negative ? -qint64(magnitude) : qint64(magnitude);
}

quint64 NSDecimalNumber::unsignedLongLongValue() const {
    const Small magnitude = integerPart(*this);
    if (magnitude > LargestUnsigned)
        return quint64(LargestUnsigned);
    return m_negative ? 0 - quint64(magnitude) : quint64(magnitude);
}

NSDecimalNumber NSDecimalNumber::decimalNumberByAdding(const NSDecimalNumber &number,
                                                       const Handler &behavior) const {
    return Arithmetic::sum(*this, number, false, behavior);
}

NSDecimalNumber NSDecimalNumber::decimalNumberBySubtracting(const NSDecimalNumber &number,
                                                            const Handler &behavior) const {
    return Arithmetic::sum(*this, number, true, behavior);
}

NSDecimalNumber NSDecimalNumber::decimalNumberByMultiplyingBy(const NSDecimalNumber &number,
                                                              const Handler &behavior) const {
    if (m_nan || number.m_nan)
        return notANumber();
    const bool negative = m_negative != number.m_negative;
    const int exponent = m_exponent + number.m_exponent;
    if (m_high == 0 && number.m_high == 0)
        return Arithmetic::result<Small>(negative, Small(m_low) * number.m_low, exponent, false, behavior);
    const Wide product = Wide(Arithmetic::mantissa(*this)) * Wide(Arithmetic::mantissa(number));
    return Arithmetic::result(negative, product, exponent, false, behavior);
}

NSDecimalNumber NSDecimalNumber::decimalNumberByDividingBy(const NSDecimalNumber &number,
                                                           const Handler &behavior) const {
    if (m_nan || number.m_nan)
        return notANumber();
    if (number.isZero()) {
        behavior.exceptionDuringOperation(NSCalculationDivideByZero);
        return notANumber();
    }
    const bool negative = m_negative != number.m_negative;
    const Small dividend = Arithmetic::mantissa(*this);
    const Small divisor = Arithmetic::mantissa(number);
    const int exponent = m_exponent - number.m_exponent;
    if (divisor == 1 || dividend == 0)
        return Arithmetic::result<Small>(negative, dividend, exponent, false, behavior);
    const int shift = MaxDigits + 1 + digitCount(divisor) - digitCount(dividend);
    const Wide shifted = Wide(dividend) * powerOf10<Wide>(shift);
    const Wide quotient = shifted / Wide(divisor);
    const bool more = quotient * Wide(divisor) != shifted;
    return Arithmetic::result(negative, quotient, exponent - shift, more, behavior);
}

NSDecimalNumber NSDecimalNumber::decimalNumberByRaisingToPower(quint64 power, const Handler &behavior) const {
    if (m_nan)
        return notANumber();
    if (power == 0)
        return one().decimalNumberByRoundingAccordingToBehavior(behavior);
    if (isZero())
        return {};
    return Arithmetic::power(*this, power, behavior);
}

NSDecimalNumber NSDecimalNumber::decimalNumberByMultiplyingByPowerOf10(qint16 power,
                                                                       const Handler &behavior) const {
    if (m_nan)
        return notANumber();
    return Arithmetic::result(m_negative, Arithmetic::mantissa(*this), qint64(m_exponent) + power, false,
                              behavior);
}

NSDecimalNumber NSDecimalNumber::decimalNumberByRoundingAccordingToBehavior(const Handler &behavior) const {
    return decimalNumberByMultiplyingByPowerOf10(0, behavior);
}

std::strong_ordering NSDecimalNumber::compare(const NSDecimalNumber &number) const {
    if (m_nan || number.m_nan)
        return int(number.m_nan) <=> int(m_nan);
    const auto signOf = [](const NSDecimalNumber &n) { return n.isZero() ? 0 : n.m_negative ? -1 : 1; };
    const int sign = signOf(*this);
    if (const auto order = sign <=> signOf(number); std::is_neq(order) || sign == 0)
        return order;
    Small a = Arithmetic::mantissa(*this), b = Arithmetic::mantissa(number);
    const int digitsA = digitCount(a), digitsB = digitCount(b);
    auto order = digitsA + m_exponent <=> digitsB + number.m_exponent;
    if (std::is_eq(order)) {
        (digitsA < digitsB ? a : b) *= SmallPowers[size_t(std::abs(digitsA - digitsB))];
        order = a <=> b;
    }
    if (sign > 0 || std::is_eq(order))
        return order;
    return std::is_lt(order) ? std::strong_ordering::greater : std::strong_ordering::less;
}

size_t qHash(const NSDecimalNumber &number, size_t seed) noexcept {
    return qHashMulti(seed, number.mantissaHigh(), number.mantissaLow(), number.exponent(),
                      number.isNegative(), number.isNaN());
}
