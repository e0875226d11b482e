// SPDX-License-Identifier: MIT
// Any text is decoded alike by every way of the processor, by both decoders; any bytes survive coding.
#include "platform/text/Base64.h"

#include <cstdlib>

namespace {

/// Units of any size: each byte as it is, but two values that stand for units outside ASCII.
QString textOf(QByteArrayView bytes) {
    QString text = QString::fromLatin1(bytes);
    text.replace(u'\u00fe', u'\u4100').replace(u'\u00ff', u'\uff41');
    return text;
}

bool same(const QByteArray &a, const QByteArray &b) {
    return a == b && a.isNull() == b.isNull();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *input, size_t size) {
    using Base64::Way;
    const QByteArrayView bytes(input, qsizetype(size));
    const QString text = textOf(bytes);
    const QString coded = Base64::encoded(bytes, Way::Scalar);
    for (int way = int(Way::Scalar); way <= int(Base64::fastestWay()); ++way) {
        if (!same(Base64::decodedLeniently(text, Way(way)), Base64::decodedLeniently(text, Way::Scalar)) ||
            !same(Base64::decodedByLength(text, Way(way)), Base64::decodedByLength(text, Way::Scalar)) ||
            Base64::encoded(bytes, Way(way)) != coded || Base64::decodedLeniently(coded, Way(way)) != bytes ||
            Base64::decodedByLength(coded, Way(way)) != bytes)
            std::abort();
    }
    return 0;
}
