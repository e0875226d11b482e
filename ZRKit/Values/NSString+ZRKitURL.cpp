// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include <array>

namespace ZRKit {

namespace {

/// What RFC 3986 calls unreserved.
constexpr std::array<bool, 128> unreserved = [] {
    std::array<bool, 128> table{};
    for (const char c : "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~")
        table[size_t(c)] = c != '\0';
    return table;
}();

QString withoutLoneSurrogates(QString text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            ++i;
        else if (text[i].isSurrogate())
            text[i] = QChar::ReplacementCharacter;
    }
    return text;
}

/// How long the text is when encoded. It must be valid UTF-16: each half of a surrogate pair counts for half
/// of its four bytes.
qsizetype encodedSize(QStringView text) {
    qsizetype size = 0;
    for (const QChar c : text) {
        const char16_t unit = c.unicode();
        if (unit < 0x80)
            size += unreserved[unit] ? 1 : 3;
        else
            size += unit < 0x800 ? 6 : c.isSurrogate() ? 6 : 9;
    }
    return size;
}

char16_t *writeByte(char16_t *out, char32_t byte) {
    constexpr const char16_t *digits = u"0123456789ABCDEF";
    *out++ = u'%';
    *out++ = digits[byte >> 4];
    *out++ = digits[byte & 15];
    return out;
}

char16_t *writeCharacter(char16_t *out, char32_t c) {
    const auto tail = [&](int shift) { return 0x80 | (c >> shift & 0x3f); };
    if (c < 0x80)
        return writeByte(out, c);
    if (c < 0x800)
        return writeByte(writeByte(out, 0xc0 | c >> 6), tail(0));
    if (c < 0x10000)
        return writeByte(writeByte(writeByte(out, 0xe0 | c >> 12), tail(6)), tail(0));
    return writeByte(writeByte(writeByte(writeByte(out, 0xf0 | c >> 18), tail(12)), tail(6)), tail(0));
}

} // namespace

QString urlEncode(const QString &text) {
    if (text.isEmpty())
        return text;
    const QString whole = text.isValidUtf16() ? text : withoutLoneSurrogates(text);
    const qsizetype size = encodedSize(whole);
    if (size == whole.size())
        return whole;
    QString encoded(size, Qt::Uninitialized);
    auto *out = reinterpret_cast<char16_t *>(encoded.data());
    const QStringView units(whole);
    for (qsizetype i = 0; i < units.size(); ++i) {
        const char16_t unit = units[i].unicode();
        if (unit < 0x80 && unreserved[unit])
            *out++ = unit;
        else if (QChar::isHighSurrogate(unit))
            out = writeCharacter(out, QChar::surrogateToUcs4(unit, units[++i].unicode()));
        else
            out = writeCharacter(out, unit);
    }
    return encoded;
}

} // namespace ZRKit
