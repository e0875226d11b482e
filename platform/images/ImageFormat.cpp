// SPDX-License-Identifier: MIT
#include "platform/images/ImageFormat.h"

#include "platform/base/ASCII.h"

#include <algorithm>

using namespace zr;

namespace {

struct Signature {
    QByteArrayView start; ///< a "?" is any byte
    const char *format;
};

constexpr Signature signatures[] = {
    {QByteArrayView("\x89PNG\r\n\x1a\n", 8), "png"},
    {QByteArrayView("\xFF\xD8\xFF", 3), "jpeg"},
    {QByteArrayView("GIF87a", 6), "gif"},
    {QByteArrayView("GIF89a", 6), "gif"},
    {QByteArrayView("RIFF????WEBP", 12), "webp"},
    {QByteArrayView("II*\0", 4), "tiff"},
    {QByteArrayView("MM\0*", 4), "tiff"},
    {QByteArrayView("II+\0", 4), "tiff"},
    {QByteArrayView("MM\0+", 4), "tiff"},
    {QByteArrayView("BM", 2), "bmp"},
    {QByteArrayView("\0\0\1\0", 4), "ico"},
};

bool startsLike(QByteArrayView bytes, QByteArrayView start) {
    return bytes.size() >= start.size() &&
           std::equal(start.begin(), start.end(), bytes.begin(),
                      [](char wanted, char byte) { return wanted == '?' || wanted == byte; });
}

/// Whether it is text that begins with "<", in UTF-8 or UTF-16.
bool startsLikeXML(QByteArrayView bytes) {
    for (const QByteArrayView mark :
         {QByteArrayView("\xEF\xBB\xBF"), QByteArrayView("\xFF\xFE"), QByteArrayView("\xFE\xFF")})
        if (bytes.startsWith(mark)) {
            bytes = bytes.sliced(mark.size());
            break;
        }
    const auto first = std::find_if(bytes.begin(), bytes.end(),
                                    [](char byte) { return byte != '\0' && !isASCIISpace(byte); });
    return first != bytes.end() && *first == '<';
}

} // namespace

QByteArray zr::imageFormatOf(QByteArrayView bytes) {
    for (const Signature &signature : signatures)
        if (startsLike(bytes, signature.start))
            return signature.format;
    return startsLikeXML(bytes) ? QByteArrayLiteral("svg") : QByteArray();
}
