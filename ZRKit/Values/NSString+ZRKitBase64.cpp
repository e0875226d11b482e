// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKitBase64.h"

#include "ZRKit/Values/NSData+ZRKitBase64.h"
#include "platform/text/Base64.h"
#include "platform/text/UTF8.h"

namespace ZRKit {

QString base64EncodedString(const QString &text) {
    return base64EncodedString(NSDataUsingUTF8(text));
}

QByteArray dataWithBase64DecodedString(const QString &text) {
    return text.isNull() ? QByteArray() : Base64::decodedByLength(text);
}

QString zrMD5HexString(const QString &text) {
    return zrMD5HexString(NSDataUsingUTF8(text));
}

QString zrSHA1HexString(const QString &text) {
    return zrSHA1HexString(NSDataUsingUTF8(text));
}

QString zrSHA256HexString(const QString &text) {
    return zrSHA256HexString(NSDataUsingUTF8(text));
}

} // namespace ZRKit
