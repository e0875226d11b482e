// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFText.h"

#include <array>

namespace {

constexpr char16_t undefinedCode = 0xFFFF;

// PDFDocEncoding where it differs from Latin 1 (ISO 32000-1, annex D.3).
constexpr std::array<char16_t, 8> from18 = {0x02D8, 0x02C7, 0x02C6, 0x02D9, 0x02DD, 0x02DB, 0x02DA, 0x02DC};
constexpr std::array<char16_t, 33> from80 = {
    0x2022, 0x2020, 0x2021, 0x2026, 0x2014, 0x2013, 0x0192, 0x2044, 0x2039, 0x203A,        0x2212,
    0x2030, 0x201E, 0x201C, 0x201D, 0x2018, 0x2019, 0x201A, 0x2122, 0xFB01, 0xFB02,        0x0141,
    0x0152, 0x0160, 0x0178, 0x017D, 0x0131, 0x0142, 0x0153, 0x0161, 0x017E, undefinedCode, 0x20AC};

char16_t unicodeOf(quint8 code) {
    if (code >= 0x18 && code < 0x20)
        return from18[code - 0x18];
    if (code >= 0x80 && code <= 0xA0)
        return from80[code - 0x80];
    if (code == 0x7F || code == 0xAD || (code < 0x18 && code != '\t' && code != '\n' && code != '\r'))
        return undefinedCode;
    return code;
}

// -1 where the encoding lacks the character.
int codeOf(char16_t character) {
    if (character < 0x100 && unicodeOf(quint8(character)) == character)
        return character;
    for (size_t i = 0; i < from18.size(); ++i)
        if (from18[i] == character)
            return int(0x18 + i);
    for (size_t i = 0; i < from80.size(); ++i)
        if (from80[i] == character && character != undefinedCode)
            return int(0x80 + i);
    return -1;
}

bool startsLikeUnicode(const QByteArray &bytes) {
    return bytes.startsWith("\xFE\xFF") || bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xEF\xBB\xBF");
}

QString fromUtf16(const QByteArray &bytes, qsizetype start, bool bigEndian) {
    QString text = QStringLiteral("");
    text.reserve((bytes.size() - start) / 2);
    for (qsizetype i = start; i + 1 < bytes.size(); i += 2) {
        const auto first = quint8(bytes[i]), second = quint8(bytes[i + 1]);
        text.append(QChar(bigEndian ? first << 8 | second : second << 8 | first));
    }
    // Language codes stand between two escape characters.
    for (qsizetype from = text.indexOf(QChar(0x1B)); from >= 0; from = text.indexOf(QChar(0x1B), from)) {
        const qsizetype to = text.indexOf(QChar(0x1B), from + 1);
        text.remove(from, to < 0 || to - from > 16 ? 1 : to - from + 1);
    }
    return text;
}

bool isOctal(char c) {
    return c >= '0' && c <= '7';
}

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

QString PDFCleanText(const QString &text) {
    QString clean = text;
    for (qsizetype i = 0; i < clean.size(); ++i) {
        const QChar c = std::as_const(clean)[i];
        if (c.isHighSurrogate() && i + 1 < clean.size() && std::as_const(clean)[i + 1].isLowSurrogate())
            ++i;
        else if (c.isSurrogate() || c == QChar(0x1B))
            clean[i] = QChar::ReplacementCharacter;
    }
    return clean;
}

QByteArray PDFTextBytes(const QString &text) {
    QByteArray bytes;
    bytes.reserve(text.size() + 1);
    for (const QChar c : text) {
        const int code = codeOf(c.unicode());
        if (code < 0)
            break;
        bytes.append(char(code));
    }
    if (bytes.size() == text.size() && !startsLikeUnicode(bytes))
        return bytes;
    bytes = "\xFE\xFF";
    bytes.reserve(2 + 2 * text.size());
    for (const QChar c : text) {
        bytes.append(char(c.unicode() >> 8));
        bytes.append(char(c.unicode() & 0xFF));
    }
    return bytes;
}

QString PDFTextFromBytes(const QByteArray &bytes) {
    if (bytes.startsWith("\xFE\xFF"))
        return PDFCleanText(fromUtf16(bytes, 2, true));
    if (bytes.startsWith("\xFF\xFE"))
        return PDFCleanText(fromUtf16(bytes, 2, false));
    if (bytes.startsWith("\xEF\xBB\xBF"))
        return PDFCleanText(QString::fromUtf8(bytes.constData() + 3, bytes.size() - 3));
    QString text = QStringLiteral("");
    text.reserve(bytes.size());
    for (const char c : bytes) {
        const char16_t character = unicodeOf(quint8(c));
        text.append(character == undefinedCode ? QChar(QChar::ReplacementCharacter) : QChar(character));
    }
    return text;
}

QByteArray PDFDateBytes(const QDateTime &date) {
    return date.toUTC().toString(u"'D:'yyyyMMddHHmmss").toLatin1() + "+00'00'";
}

QDateTime PDFDateFromBytes(const QByteArray &bytes) {
    qsizetype at = bytes.startsWith("D:") ? 2 : 0;
    // The next `digits` digits as a number; -1 where there are fewer.
    const auto number = [&](int digits) {
        if (bytes.size() - at < digits)
            return -1;
        int value = 0;
        for (int i = 0; i < digits; ++i) {
            const char c = bytes[at + i];
            if (c < '0' || c > '9')
                return -1;
            value = value * 10 + (c - '0');
        }
        at += digits;
        return value;
    };
    const int year = number(4);
    if (year < 0)
        return {};
    std::array<int, 5> rest = {1, 1, 0, 0, 0};
    for (int &part : rest) {
        const int value = number(2);
        if (value < 0)
            break;
        part = value;
    }
    int offset = 0;
    if (at < bytes.size() && (bytes[at] == '+' || bytes[at] == '-')) {
        const int sign = bytes[at++] == '-' ? -1 : 1;
        const int hours = std::max(0, number(2));
        if (at < bytes.size() && bytes[at] == '\'')
            ++at;
        const int minutes = std::max(0, number(2));
        if (hours > 23 || minutes > 59)
            return {};
        offset = sign * (hours * 3600 + minutes * 60);
    }
    const QDate day(year, rest[0], rest[1]);
    const QTime time(rest[2], rest[3], rest[4]);
    if (!day.isValid() || !time.isValid())
        return {};
    return QDateTime(day, time, Qt::UTC).addSecs(-offset);
}

QByteArray PDFStringTokenBytes(QByteArrayView token) {
    QByteArray bytes;
    bytes.reserve(token.size());
    if (token.startsWith('<')) {
        int high = -1;
        for (const char c : token) {
            const int value = hexValue(c);
            if (value < 0)
                continue;
            if (high < 0) {
                high = value;
            } else {
                bytes.append(char(high << 4 | value));
                high = -1;
            }
        }
        if (high >= 0)
            bytes.append(char(high << 4));
        return bytes;
    }
    for (qsizetype i = 1; i + 1 < token.size(); ++i) {
        char c = token[i];
        if (c == '\r') {
            // Any end of line inside a string stands for a line feed.
            bytes.append('\n');
            i += token[i + 1] == '\n';
            continue;
        }
        if (c != '\\') {
            bytes.append(c);
            continue;
        }
        c = token[++i];
        switch (c) {
        case 'n':
            bytes.append('\n');
            break;
        case 'r':
            bytes.append('\r');
            break;
        case 't':
            bytes.append('\t');
            break;
        case 'b':
            bytes.append('\b');
            break;
        case 'f':
            bytes.append('\f');
            break;
        case '\r':
            i += token[i + 1] == '\n';
            break;
        case '\n':
            break;
        default:
            if (isOctal(c)) {
                int value = c - '0';
                for (int digits = 1; digits < 3 && isOctal(token[i + 1]); ++digits)
                    value = value * 8 + (token[++i] - '0');
                bytes.append(char(value));
            } else {
                bytes.append(c);
            }
        }
    }
    return bytes;
}

QByteArray PDFStringToken(const QByteArray &bytes) {
    if (startsLikeUnicode(bytes))
        return '<' + bytes.toHex().toUpper() + '>';
    QByteArray token = "(";
    token.reserve(bytes.size() + 2);
    for (const char c : bytes) {
        const auto code = quint8(c);
        if (c == '(' || c == ')' || c == '\\')
            token.append('\\').append(c);
        else if (code >= 0x20 && code < 0x7F)
            token.append(c);
        else
            token.append('\\').append(QByteArray::number(code, 8).rightJustified(3, '0'));
    }
    return token.append(')');
}
