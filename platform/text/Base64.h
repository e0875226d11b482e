// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

/// The kit's own Base64 coder (RFC 4648, standard alphabet, "=" as padding), straight between bytes and
/// UTF-16. The two decoders differ in what they tolerate, and callers depend on the difference. Any thread.
namespace Base64 {

/// How the bulk of the work is done; every way gives the same answers.
enum class Way { Scalar, SSSE3, AVX2 };

/// The fastest way of this processor.
Way fastestWay() noexcept;

/// The text of the bytes, padded and without line breaks, made in one buffer of its final size.
/// Null where there is no memory for it; empty for no bytes.
/// \param way one that this processor has
QString encoded(QByteArrayView bytes, Way way = fastestWay());

/// Lenient decoding: white space (space, tab, LF, VT, FF, CR) and "=" are skipped wherever they stand, and
/// padding is neither required nor checked. Null where a character is outside the alphabet, where one lone
/// character is left over, and where there is no memory; empty for an empty text. The result's only buffer is
/// reserved at three bytes for each four units begun.
QByteArray decodedLeniently(QStringView text, Way way = fastestWay());

/// Strict-length decoding: null where the length is no multiple of 4, or a unit is not ASCII. The "=" at the
/// end are dropped; with L units left the result has 3 L / 4 bytes, rounded down. No character is refused:
/// one outside the alphabet reads as 63. A group whose third or fourth character is "=" gives one or two
/// bytes instead of three; what such groups in the middle leave unfilled at the end of the result is zero.
QByteArray decodedByLength(QStringView text, Way way = fastestWay());

} // namespace Base64
