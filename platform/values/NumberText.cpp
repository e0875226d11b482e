// SPDX-License-Identifier: MIT
#include "platform/values/NumberText.h"

#include <array>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>

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

locale_t plainLocale() {
    static const locale_t c = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return c;
}

/// The number at the start as the C library reads it, which would also take hexadecimal ones, infinities and
/// the like.
QByteArray numberIn(QStringView text) {
    text = withoutSpace(text);
    const qsizetype sign = text.startsWith(u'-') || text.startsWith(u'+') ? 1 : 0;
    return text.first(sign + numberLength(text.sliced(sign))).toLatin1();
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
    if (text.startsWith(u'-') || text.startsWith(u'+'))
        text = text.sliced(1);
    while (text.startsWith(QLatin1Char('0')))
        text = text.sliced(1);
    if (text.isEmpty())
        return false;
    const QChar c = text.front();
    return isDigit(c) || c == QLatin1Char('Y') || c == QLatin1Char('y') || c == QLatin1Char('T') ||
           c == QLatin1Char('t');
}

qint64 longLongValue(QStringView text) {
    return ::strtoll_l(withoutSpace(text).toLatin1().constData(), nullptr, 10, plainLocale());
}

quint64 unsignedLongLongValue(QStringView text) {
    return ::strtoull_l(text.toLatin1().constData(), nullptr, 10, plainLocale());
}

double doubleValue(QStringView text) {
    return ::strtod_l(numberIn(text).constData(), nullptr, plainLocale());
}

float floatValue(QStringView text) {
    return ::strtof_l(numberIn(text).constData(), nullptr, plainLocale());
}

QString text(double number) {
    return shortestText(number);
}

QString text(float number) {
    return shortestText(number);
}

} // namespace zr::NumberText
