// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSData+ZRKitBase64.h"

#include "examples/kit/Example.h"

using namespace ZRKit;

namespace {

void encoding() {
    expect(base64EncodedString(QByteArray("Man")) == QStringLiteral("TWFu"));
    expect(base64EncodedString(QByteArray("M")) == QStringLiteral("TQ=="));
    expect(dataURLWithMimeType(QByteArray("\x89\x50"), QStringLiteral("image/png")) ==
           QStringLiteral("data:image/png;base64,iVA="));
}

void lenientDecoding() {
    expect(dataWithBase64EncodedString(QStringLiteral("TW\r\nFu")) == "Man");
    expect(dataWithBase64EncodedString(QStringLiteral("QQ")) == "A");
    expect(dataWithBase64EncodedString(QStringLiteral("TW@u")).isNull());
    expect(dataWithBase64EncodedString(QStringLiteral("TWFuT")).isNull());
}

void text() {
    expect(string(QByteArray("h\xc3\xa9")) == QStringLiteral("hé"));
    expect(string(QByteArray("h\xe9")).isNull());
}

void digests() {
    const QByteArray abc("abc");
    expect(zrMD5HexString(abc) == QStringLiteral("900150983cd24fb0d6963f7d28e17f72"));
    expect(zrSHA1HexString(abc) == QStringLiteral("a9993e364706816aba3e25717850c26c9cd0d89d"));
    expect(zrSHA256HexString(abc).startsWith(QStringLiteral("ba7816bf8f01cfea")));
}

} // namespace

EXAMPLE(NSData_ZRKitBase64) {
    encoding();
    lenientDecoding();
    text();
    digests();
}
