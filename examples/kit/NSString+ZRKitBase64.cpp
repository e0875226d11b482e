// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKitBase64.h"

#include "examples/kit/Example.h"

using namespace ZRKit;

namespace {

void encoding() {
    expect(base64EncodedString(QStringLiteral("é€")) == QStringLiteral("w6nigqw="));
}

void strictLengthDecoding() {
    expect(dataWithBase64DecodedString(QStringLiteral("TWE=")) == "Ma");
    expect(dataWithBase64DecodedString(QStringLiteral("TWE")).isNull());
    expect(dataWithBase64DecodedString(QStringLiteral("TW-u")) ==
           dataWithBase64DecodedString(QStringLiteral("TW/u")));
}

void digests() {
    const QString empty = QStringLiteral("");
    expect(zrMD5HexString(empty) == QStringLiteral("d41d8cd98f00b204e9800998ecf8427e"));
    expect(zrSHA1HexString(empty) == QStringLiteral("da39a3ee5e6b4b0d3255bfef95601890afd80709"));
    expect(zrSHA256HexString(empty).startsWith(QStringLiteral("e3b0c44298fc1c14")));
}

} // namespace

EXAMPLE(NSString_ZRKitBase64) {
    encoding();
    strictLengthDecoding();
    digests();
}
