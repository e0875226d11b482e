// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSData+ZRKitBase64.h"

#include "platform/text/Base64.h"
#include "platform/text/MessageDigest.h"
#include "platform/text/UTF8.h"
#include "platform/values/NSLog.h"

using namespace zr;

namespace ZRKit {

namespace {

QString digestText(MessageDigest digest, const QByteArray &data) {
    return data.isNull() ? QString() : QString::fromLatin1(NSMessageDigest(digest, data).toHex());
}

} // namespace

QString base64EncodedString(const QByteArray &data) {
    return data.isNull() ? QString() : Base64::encoded(data);
}

QByteArray dataWithBase64EncodedString(const AnyText &text) {
    return text.isNull() ? QByteArray() : Base64::decodedLeniently(text);
}

QString dataURLWithMimeType(const QByteArray &data, const AnyText &mimeType) {
    return data.isNull() ? QString() : NSFormat("data:%@;base64,%@", {mimeType, base64EncodedString(data)});
}

QString string(const QByteArray &data) {
    return data.isNull() ? QString() : NSStringFromUTF8(data);
}

QString zrMD5HexString(const QByteArray &data) {
    return digestText(MessageDigest::MD5, data);
}

QString zrSHA1HexString(const QByteArray &data) {
    return digestText(MessageDigest::SHA1, data);
}

QString zrSHA256HexString(const QByteArray &data) {
    return digestText(MessageDigest::SHA256, data);
}

} // namespace ZRKit
