// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include "platform/text/EscapeTable.h"

#include <algorithm>

namespace ZRKit {

namespace {

/// All but what RFC 3986 calls unreserved.
constexpr EscapeTable percentTable = [] {
    constexpr std::u16string_view unreserved =
        u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~";
    constexpr std::u16string_view digits = u"0123456789ABCDEF";
    EscapeTable table;
    for (char16_t unit = 0; unit < 128; ++unit) {
        const char16_t code[] = {u'%', digits[unit >> 4], digits[unit & 15]};
        if (unreserved.find(unit) == unreserved.npos)
            table.set(unit, {code, std::size(code)});
    }
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

struct EncodedSize {
    qsizetype size = 0;
    bool hasSurrogates = false;
};

/// How long the text is when encoded, if it is valid UTF-16: each half of a surrogate pair counts for half of
/// its four bytes.
EncodedSize encodedSize(QStringView text) {
    EncodedSize result;
    for (const QChar c : text) {
        const char16_t unit = c.unicode();
        if (unit < 0x80) {
            result.size += percentTable.size(unit);
        } else {
            result.hasSurrogates |= c.isSurrogate();
            result.size += unit < 0x800 || c.isSurrogate() ? 6 : 9;
        }
    }
    return result;
}

char16_t *writeByte(char16_t *out, char32_t byte) {
    constexpr const char16_t *digits = u"0123456789ABCDEF";
    *out++ = u'%';
    *out++ = digits[byte >> 4];
    *out++ = digits[byte & 15];
    return out;
}

/// For characters from U+0080 on.
char16_t *writeCharacter(char16_t *out, char32_t c) {
    const auto tail = [&](int shift) { return 0x80 | (c >> shift & 0x3f); };
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
    const auto [size, hasSurrogates] = encodedSize(text);
    if (hasSurrogates && !text.isValidUtf16())
        return urlEncode(withoutLoneSurrogates(text));
    if (size == text.size())
        return text;
    QString encoded(size + EscapeTable::slack, Qt::Uninitialized);
    auto *out = reinterpret_cast<char16_t *>(encoded.data());
    const QStringView units(text);
    for (qsizetype i = 0; i < units.size(); ++i) {
        const char16_t unit = units[i].unicode();
        if (unit < 0x80)
            out = percentTable.write(out, unit);
        else if (QChar::isHighSurrogate(unit))
            out = writeCharacter(out, QChar::surrogateToUcs4(unit, units[++i].unicode()));
        else
            out = writeCharacter(out, unit);
    }
    encoded.truncate(size);
    return encoded;
}

QUrl URL(const QString &text) {
    // Qt's strict mode lets what is not ASCII pass.
    const bool isASCII = std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
    const QUrl url = isASCII ? QUrl(text, QUrl::StrictMode) : QUrl();
    return url.isValid() ? url : QUrl();
}

QString humanizeURL(const QString &text) {
    const QString host = URL(text).host(QUrl::EncodeUnicode);
    return host.isEmpty() ? text : replace(host, QStringLiteral("www."), QStringLiteral(""));
}

} // namespace ZRKit
