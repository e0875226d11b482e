// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyText.h"

#include <QByteArray>
#include <QString>

/// Base64 and digests of texts. Asked of nil, a null QString, each gives nil. Any thread.
namespace ZRKit {

/// The text's UTF-8 bytes in Base64, as for data. nil if the text has a surrogate without a partner.
QString base64EncodedString(const AnyText &text);
/// The bytes of a Base64 text whose length is a multiple of 4, else nil, as for a text that is not ASCII. No
/// character is refused: each one outside the alphabet reads as "/" does, so that damaged text gives damaged
/// bytes.
QByteArray dataWithBase64DecodedString(const AnyText &text);
/// The digest of the text's UTF-8 bytes as lower-case hexadecimal: 32, 40 and 64 characters.
/// nil if the text has a surrogate without a partner.
QString zrMD5HexString(const AnyText &text);
QString zrSHA1HexString(const AnyText &text);
QString zrSHA256HexString(const AnyText &text);

} // namespace ZRKit
