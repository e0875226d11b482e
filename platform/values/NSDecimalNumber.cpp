// SPDX-License-Identifier: MIT
#include "platform/values/NSDecimalNumber.h"

#include <QHashFunctions>
#include <algorithm>

namespace {

__extension__ using Mantissa = unsigned __int128;

constexpr Mantissa LargestMantissa = ~Mantissa(0);

constexpr Mantissa joined(quint64 high, quint64 low) {
    return Mantissa(high) << 64 | low;
}

} // namespace

NSDecimalNumber::NSDecimalNumber(qint64 integer)
    : NSDecimalNumber(0, integer < 0 ? 0 - quint64(integer) : quint64(integer), 0, integer < 0) {
}

NSDecimalNumber::NSDecimalNumber(quint64 mantissaHigh, quint64 mantissaLow, int exponent, bool negative) {
    Mantissa mantissa = joined(mantissaHigh, mantissaLow);
    if (mantissa == 0)
        return;
    while (exponent < MaxExponent && mantissa % 10 == 0) {
        mantissa /= 10;
        ++exponent;
    }
    while (exponent > MaxExponent && mantissa <= LargestMantissa / 10) {
        mantissa *= 10;
        --exponent;
    }
    if (exponent < MinExponent || exponent > MaxExponent) {
        *this = notANumber();
        return;
    }
    m_high = quint64(mantissa >> 64);
    m_low = quint64(mantissa);
    m_exponent = qint16(exponent);
    m_negative = negative;
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

    Mantissa mantissa = 0;
    qint64 exponent = 0;
    bool any = false, point = false, full = false;
    int firstDropped = 0;
    bool moreDropped = false;
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
        if (!full && mantissa <= (LargestMantissa - digit) / 10) {
            mantissa = mantissa * 10 + digit;
            exponent -= point;
            continue;
        }
        if (!full)
            firstDropped = int(digit);
        else
            moreDropped |= digit != 0;
        full = true;
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

    // What lies below the smallest exponent is rounded off like digits that the mantissa has no room for.
    while (exponent < MinExponent && (mantissa != 0 || firstDropped != 0)) {
        moreDropped |= firstDropped != 0;
        firstDropped = int(mantissa % 10);
        mantissa /= 10;
        ++exponent;
    }
    if (firstDropped > 5 || (firstDropped == 5 && (moreDropped || mantissa % 2 == 1))) {
        if (mantissa == LargestMantissa) {
            mantissa /= 10;
            ++exponent;
        }
        ++mantissa;
    }
    *this = NSDecimalNumber(quint64(mantissa >> 64), quint64(mantissa),
                            int(std::clamp<qint64>(exponent, -100000, 100000)), negative);
}

NSDecimalNumber NSDecimalNumber::notANumber() {
    NSDecimalNumber number;
    number.m_nan = true;
    return number;
}

QString NSDecimalNumber::stringValue() const {
    if (m_nan)
        return QStringLiteral("NaN");
    Mantissa mantissa = joined(m_high, m_low);
    QByteArray digits;
    do {
        digits.prepend(char('0' + int(mantissa % 10)));
        mantissa /= 10;
    } while (mantissa != 0);
    if (m_exponent > 0)
        digits.append(m_exponent, '0');
    if (m_exponent < 0) {
        const qsizetype places = -m_exponent;
        if (digits.size() <= places)
            digits.prepend(QByteArray(places - digits.size() + 1, '0'));
        digits.insert(digits.size() - places, '.');
    }
    if (m_negative)
        digits.prepend('-');
    return QString::fromLatin1(digits);
}

size_t qHash(const NSDecimalNumber &number, size_t seed) noexcept {
    return qHashMulti(seed, number.mantissaHigh(), number.mantissaLow(), number.exponent(),
                      number.isNegative(), number.isNaN());
}
