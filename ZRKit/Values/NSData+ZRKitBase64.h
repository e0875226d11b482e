// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyText.h"

#include <QByteArray>
#include <QString>

/// Base64, data URLs and digests of bytes. Asked of nil, a null QByteArray, each gives nil. Any thread.
namespace ZRKit {

/// The bytes in Base64 (RFC 4648), padded, on one line; "" for no bytes, nil if there is no memory.
QString base64EncodedString(const QByteArray &data);
/// The bytes of a Base64 text, read leniently: white space and "=" are skipped wherever they stand, padding
/// is not required. nil for nil, for a text with any other character outside the alphabet and for one with a
/// lone character left over; no bytes for "".
QByteArray dataWithBase64EncodedString(const AnyText &text);
/// "data:%@;base64,%@" with the type as given and the bytes in Base64 (RFC 2397).
QString dataURLWithMimeType(const QByteArray &data, const AnyText &mimeType);
/// The text that the bytes are in UTF-8; nil if they are not.
QString string(const QByteArray &data);
/// The digest as lower-case hexadecimal: 32, 40 and 64 characters.
QString zrMD5HexString(const QByteArray &data);
QString zrSHA1HexString(const QByteArray &data);
QString zrSHA256HexString(const QByteArray &data);

} // namespace ZRKit
