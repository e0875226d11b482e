// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include <gtest/gtest.h>
#include <random>

namespace {

TEST(NSStringURL, EncodingLeavesOnlyUnreservedCharacters) {
    EXPECT_EQ(ZRKit::urlEncode(QStringLiteral("a b/c?d=é%")), QStringLiteral("a%20b%2Fc%3Fd%3D%C3%A9%25"));
    const QString kept = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~");
    EXPECT_EQ(ZRKit::urlEncode(kept), kept);
    EXPECT_EQ(ZRKit::urlEncode(QStringLiteral("\ufffc€𝄞")), QStringLiteral("%EF%BF%BC%E2%82%AC%F0%9D%84%9E"));
    EXPECT_TRUE(ZRKit::urlEncode(QStringLiteral("")).isEmpty());
    EXPECT_FALSE(ZRKit::urlEncode(QStringLiteral("")).isNull());
    EXPECT_TRUE(ZRKit::urlEncode(QString()).isNull());
}

TEST(NSStringURL, EveryCharacterIsEncodedByTheRule) {
    for (char32_t c = 0; c <= QChar::LastValidCodePoint; ++c) {
        if (QChar::isSurrogate(c))
            continue;
        const QString text = QString::fromUcs4(&c, 1);
        QString expected;
        for (const char byte : text.toUtf8()) {
            if ((byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                (byte >= 'a' && byte <= 'z') || byte == '-' || byte == '_' || byte == '.' || byte == '~')
                expected += QLatin1Char(byte);
            else
                expected += QString::asprintf("%%%02X", unsigned(uchar(byte)));
        }
        ASSERT_EQ(ZRKit::urlEncode(text), expected) << unsigned(c);
    }
}

TEST(NSStringURL, RandomTextsAreEncodedAsQtEncodesThem) {
    std::mt19937 random(1);
    for (int round = 0; round < 5000; ++round) {
        QString text;
        for (unsigned count = random() % 40; count > 0; --count) {
            const char32_t c = random() % (random() % 4 ? 0x80 : 0x11000);
            text += QChar::fromUcs4(QChar::isSurrogate(c) ? U'x' : c);
        }
        ASSERT_EQ(ZRKit::urlEncode(text), QString::fromLatin1(QUrl::toPercentEncoding(text)));
    }
}

TEST(NSStringURL, HalfASurrogatePairIsEncodedAsTheReplacementCharacter) {
    const QString text = QStringLiteral("a") + QChar(0xd834) + QStringLiteral("b") + QChar(0xdd1e);
    EXPECT_EQ(ZRKit::urlEncode(text), QStringLiteral("a%EF%BF%BDb%EF%BF%BD"));
}

} // namespace
