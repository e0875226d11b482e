// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QByteArrayView>
#include <QString>

/// The text encodings of the web (WHATWG Encoding Standard); None stands for "unknown".
enum class WebTextEncoding : quint8 {
    None,
    UTF8,
    IBM866,
    ISO8859_2,
    ISO8859_3,
    ISO8859_4,
    ISO8859_5,
    ISO8859_6,
    ISO8859_7,
    ISO8859_8,
    ISO8859_8_I,
    ISO8859_10,
    ISO8859_13,
    ISO8859_14,
    ISO8859_15,
    ISO8859_16,
    KOI8_R,
    KOI8_U,
    Macintosh,
    Windows874,
    Windows1250,
    Windows1251,
    Windows1252,
    Windows1253,
    Windows1254,
    Windows1255,
    Windows1256,
    Windows1257,
    Windows1258,
    MacCyrillic,
    GBK,
    GB18030,
    Big5,
    EUC_JP,
    ISO2022_JP,
    ShiftJIS,
    EUC_KR,
    Replacement,
    UTF16BE,
    UTF16LE,
    UserDefined,
    /// Not of the standard, which has no UTF-32: only a byte-order mark names these.
    UTF32BE,
    UTF32LE,
};

/// The encoding a label such as "latin1" or " UTF-8 " means on the web, None for an unknown one. Case and
/// surrounding blanks don't count.
WebTextEncoding WebTextEncodingForLabel(QByteArrayView label);

/// The standard's name of an encoding, such as "windows-1252"; empty for None.
QByteArray WebTextEncodingName(WebTextEncoding encoding);

/// Every label there is, in lower case, in no order.
QByteArrayList WebTextEncodingLabels();

/// The encoding a byte-order mark at the start of the bytes tells, None where there is none. `length`, if
/// given, gets the mark's length in bytes.
WebTextEncoding WebTextEncodingOfByteOrderMark(QByteArrayView bytes, int *length = nullptr);

/// The text of bytes in an encoding, as browsers read it: every malformed sequence becomes U+FFFD. A
/// byte-order mark is no special case here. None reads as windows-1252. Any thread.
QString WebDecodeText(QByteArrayView bytes, WebTextEncoding encoding);

/// True where the bytes decode in the encoding without a single U+FFFD of the decoder's own.
bool WebTextIsValid(QByteArrayView bytes, WebTextEncoding encoding);
