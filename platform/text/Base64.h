// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

/// The kit's own Base64 coder (RFC 4648, standard alphabet, "=" as padding), straight between bytes and UTF-16.
/// The two decoders differ in what they tolerate, and callers depend on the difference; for Base64 in bytes
/// there are QByteArray's. Each result is made in one buffer of its largest size. Any thread.
namespace zr::Base64 {

/// The text of the bytes, padded and without line breaks. nil if there is no memory for it; empty for no bytes.
QString encoded(QByteArrayView bytes);

/// Lenient decoding: white space (space, tab, LF, VT, FF, CR) and "=" are skipped wherever they stand, and
/// padding is neither required nor checked. nil if a character is outside the alphabet, if one lone character
/// is left over, and if there is no memory; empty for an empty text.
QByteArray decodedLeniently(QStringView text);

/// Strict-length decoding: nil if the length is no multiple of 4, or a unit is not ASCII. The "=" at the end are
/// dropped; with L units left the result has 3 L / 4 bytes, rounded down. No character is refused: one outside
/// the alphabet reads as 63. A group whose third or fourth character is "=" gives one or two bytes instead of
/// three; what such groups in the middle leave unfilled at the end of the result is zero.
QByteArray decodedByLength(QStringView text);

} // namespace zr::Base64
