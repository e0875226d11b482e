// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKitBase64.h"

#include "ZRKit/Values/NSData+ZRKitBase64.h"
#include "ZRKit/Values/NSString+ZRKit.h"
#include "platform/text/Base64.h"

using namespace zr;

namespace ZRKit {

QString base64EncodedString(const AnyText &text) {
    return base64EncodedString(data(text));
}

QByteArray dataWithBase64DecodedString(const AnyText &text) {
    return text.isNull() ? QByteArray() : Base64::decodedByLength(text);
}

QString zrMD5HexString(const AnyText &text) {
    return zrMD5HexString(data(text));
}

QString zrSHA1HexString(const AnyText &text) {
    return zrSHA1HexString(data(text));
}

QString zrSHA256HexString(const AnyText &text) {
    return zrSHA256HexString(data(text));
}

} // namespace ZRKit
