// SPDX-License-Identifier: MIT
#include "platform/values/NumberText.h"

#include <array>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <type_traits>

namespace {

bool isDigit(QChar c) {
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

QStringView withoutSpace(QStringView text) {
    qsizetype at = 0;
    while (at < text.size() && text[at].isSpace())
        ++at;
    return text.sliced(at);
}

bool takeSign(QStringView &text) {
    const bool negative = text.startsWith(QLatin1Char('-'));
    if (negative || text.startsWith(QLatin1Char('+')))
        text = text.sliced(1);
    return negative;
}

/// The digits at the start as a number; the largest value if it doesn't fit, and then `fits` is false.
quint64 magnitude(QStringView text, bool &fits) {
    quint64 sum = 0;
    fits = true;
    for (const QChar c : text) {
        if (!isDigit(c))
            break;
        const unsigned digit = c.unicode() - u'0';
        if (__builtin_mul_overflow(sum, quint64(10), &sum) || __builtin_add_overflow(sum, digit, &sum)) {
            fits = false;
            return std::numeric_limits<quint64>::max();
        }
    }
    return sum;
}

/// The extent of digits, fraction and exponent at the start; 0 if there is no digit.
qsizetype numberLength(QStringView text) {
    qsizetype at = 0;
    const auto skipDigits = [&] {
        const qsizetype from = at;
        while (at < text.size() && isDigit(text[at]))
            ++at;
        return at - from;
    };
    qsizetype digits = skipDigits();
    if (at < text.size() && text[at] == QLatin1Char('.')) {
        ++at;
        digits += skipDigits();
    }
    if (digits == 0)
        return 0;
    const qsizetype end = at;
    if (at < text.size() && (text[at] == QLatin1Char('e') || text[at] == QLatin1Char('E'))) {
        ++at;
        if (at < text.size() && (text[at] == QLatin1Char('+') || text[at] == QLatin1Char('-')))
            ++at;
        if (skipDigits() > 0)
            return at;
    }
    return end;
}

template <typename Number>
Number parsed(const char *text) {
    static const locale_t c = ::newlocale(LC_ALL_MASK, "C", nullptr);
    if constexpr (std::is_same_v<Number, float>)
        return ::strtof_l(text, nullptr, c);
    else
        return ::strtod_l(text, nullptr, c);
}

template <typename Number>
Number realValue(QStringView text) {
    text = withoutSpace(text);
    const bool negative = takeSign(text);
    const Number number = parsed<Number>(text.first(numberLength(text)).toLatin1().constData());
    return negative ? -number : number;
}

template <typename Number>
QString shortestText(Number number) {
    if (std::isnan(number))
        return QStringLiteral("nan");
    if (std::isinf(number))
        return number < 0 ? QStringLiteral("-inf") : QStringLiteral("inf");
    const Number size = std::abs(number);
    // The longest plain form: a sign, "0.", five zeros and 17 digits.
    std::array<char, 64> buffer;
    const bool plain = size == 0 || (size >= Number(1e-6) && size < Number(1e21));
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                            plain ? std::chars_format::fixed : std::chars_format::scientific);
    return QString::fromLatin1(buffer.data(), end - buffer.data());
}

} // namespace

namespace zr::NumberText {

bool boolValue(QStringView text) {
    text = withoutSpace(text);
    takeSign(text);
    while (text.startsWith(QLatin1Char('0')))
        text = text.sliced(1);
    if (text.isEmpty())
        return false;
    const QChar c = text.front();
    return isDigit(c) || c == QLatin1Char('Y') || c == QLatin1Char('y') || c == QLatin1Char('T') ||
           c == QLatin1Char('t');
}

qint64 longLongValue(QStringView text) {
    text = withoutSpace(text);
    const bool negative = takeSign(text);
    bool fits = true;
    const quint64 size = magnitude(text, fits);
    constexpr auto largest = quint64(std::numeric_limits<qint64>::max());
    if (negative)
        return size > largest ? std::numeric_limits<qint64>::min() : -qint64(size);
    return size > largest ? std::numeric_limits<qint64>::max() : qint64(size);
}

quint64 unsignedLongLongValue(QStringView text) {
    while (!text.isEmpty() && (text.front() == u' ' || (text.front() >= u'\t' && text.front() <= u'\r')))
        text = text.sliced(1);
    const bool negative = takeSign(text);
    bool fits = true;
    const quint64 size = magnitude(text, fits);
    return negative && fits ? quint64(0) - size : size;
}

double doubleValue(QStringView text) {
    return realValue<double>(text);
}

float floatValue(QStringView text) {
    return realValue<float>(text);
}

QString text(double number) {
    return shortestText(number);
}

QString text(float number) {
    return shortestText(number);
}

} // namespace zr::NumberText
