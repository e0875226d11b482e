// SPDX-License-Identifier: MIT
#include "platform/text/Base64.h"

#include <algorithm>
#include <array>
#include <new>

namespace zr::Base64 {

namespace {

constexpr std::array<char16_t, 65> alphabet =
    std::to_array(u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");

constexpr uchar skipped = 126;
constexpr uchar invalid = 127;

constexpr std::array<uchar, 256> values = [] {
    std::array<uchar, 256> table{};
    table.fill(invalid);
    for (uchar value = 0; value < 64; ++value)
        table[alphabet[value]] = value;
    for (const char blank : {' ', '\t', '\n', '\v', '\f', '\r', '='})
        table[uchar(blank)] = skipped;
    return table;
}();

uchar valueOf(QChar unit) {
    return unit.unicode() < values.size() ? values[unit.unicode()] : invalid;
}

} // namespace

QString encoded(QByteArrayView bytes) try {
    if (bytes.isEmpty())
        return QStringLiteral("");
    QString text((bytes.size() + 2) / 3 * 4, u'=');
    QChar *out = text.data();
    for (qsizetype i = 0; i < bytes.size(); i += 3) {
        const qsizetype count = std::min<qsizetype>(bytes.size() - i, 3);
        quint32 bits = 0;
        for (qsizetype j = 0; j < 3; ++j)
            bits = bits << 8 | (j < count ? uchar(bytes[i + j]) : 0);
        for (qsizetype j = 0; j <= count; ++j)
            out[j] = alphabet[bits >> (18 - 6 * j) & 63];
        out += 4;
    }
    return text;
} catch (const std::bad_alloc &) {
    return {};
}

QByteArray decodedLeniently(QStringView text) try {
    if (text.isEmpty())
        return QByteArrayLiteral("");
    QByteArray data((text.size() + 3) / 4 * 3, Qt::Uninitialized);
    char *out = data.data();
    quint32 bits = 0;
    int pending = 0;
    for (const QChar unit : text) {
        const uchar value = valueOf(unit);
        if (value == invalid)
            return {};
        if (value == skipped)
            continue;
        bits = bits << 6 | value;
        if (++pending == 4) {
            *out++ = char(bits >> 16);
            *out++ = char(bits >> 8);
            *out++ = char(bits);
            pending = 0;
        }
    }
    if (pending == 1)
        return {};
    if (pending == 2) {
        *out++ = char(bits >> 4);
    } else if (pending == 3) {
        *out++ = char(bits >> 10);
        *out++ = char(bits >> 2);
    }
    data.truncate(out - data.constData());
    return data;
} catch (const std::bad_alloc &) {
    return {};
}

QByteArray decodedByLength(QStringView text) {
    if (text.size() % 4 != 0 ||
        std::any_of(text.begin(), text.end(), [](QChar unit) { return unit > u'\x7f'; }))
        return {};
    while (text.endsWith(u'='))
        text.chop(1);
    QByteArray data(text.size() / 4 * 3 + text.size() % 4 * 3 / 4, '\0');
    qsizetype size = 0;
    // A lone character at the end gives no byte: the result's length doesn't count one.
    const auto write = [&](quint32 byte) {
        if (size < data.size())
            data[size++] = char(byte);
    };
    for (qsizetype i = 0; i < text.size(); i += 4) {
        const auto unit = [&](qsizetype j) { return i + j < text.size() ? text[i + j] : QChar(u'='); };
        const auto value = [&](qsizetype j) { return std::min<quint32>(valueOf(unit(j)), 63); };
        write(value(0) << 2 | value(1) >> 4);
        if (unit(2) == u'=')
            continue;
        write(value(1) << 4 | value(2) >> 2);
        if (unit(3) != u'=')
            write(value(2) << 6 | value(3));
    }
    return data;
}

} // namespace zr::Base64
