// SPDX-License-Identifier: MIT
// Any text is decoded by both decoders within its bounds; any bytes survive coding.
#include "platform/text/Base64.h"

#include <cstdlib>

namespace {

/// Units of any size: each byte as it is, but two values that stand for units outside ASCII.
QString textOf(QByteArrayView bytes) {
    QString text = QString::fromLatin1(bytes);
    text.replace(u'\u00fe', u'\u4100').replace(u'\u00ff', u'\uff41');
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *input, size_t size) {
    using namespace zr;
    const QByteArrayView bytes(input, qsizetype(size));
    const QString text = textOf(bytes);
    const QByteArray lenient = Base64::decodedLeniently(text), byLength = Base64::decodedByLength(text);
    // The lenient decoder takes no more than it is given, and writes again what it read.
    if (lenient.size() > (text.size() + 3) / 4 * 3 || byLength.size() > text.size() / 4 * 3 ||
        (!lenient.isNull() && Base64::decodedLeniently(Base64::encoded(lenient)) != lenient))
        std::abort();
    const QString coded = Base64::encoded(bytes);
    if (coded != QString::fromLatin1(bytes.toByteArray().toBase64()) ||
        Base64::decodedLeniently(coded) != bytes || Base64::decodedByLength(coded) != bytes)
        std::abort();
    return 0;
}
