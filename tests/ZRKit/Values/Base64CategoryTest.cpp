// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSData+ZRKitBase64.h"
#include "ZRKit/Values/NSString+ZRKitBase64.h"

#include <gtest/gtest.h>

namespace {

TEST(NSDataBase64, EncodesWithPaddingOnOneLine) {
    EXPECT_EQ(ZRKit::base64EncodedString(QByteArray("Man")), QStringLiteral("TWFu"));
    EXPECT_EQ(ZRKit::base64EncodedString(QByteArray("Ma")), QStringLiteral("TWE="));
    EXPECT_EQ(ZRKit::base64EncodedString(QByteArray("M")), QStringLiteral("TQ=="));
    const QString longText = ZRKit::base64EncodedString(QByteArray(3000, '\xff'));
    EXPECT_EQ(longText, QString(4000, u'/'));
}

TEST(NSDataBase64, NoBytesGiveTheEmptyTextAndNilGivesNil) {
    EXPECT_TRUE(ZRKit::base64EncodedString(QByteArray("")).isEmpty());
    EXPECT_FALSE(ZRKit::base64EncodedString(QByteArray("")).isNull());
    EXPECT_TRUE(ZRKit::base64EncodedString(QByteArray()).isNull());
}

TEST(NSDataBase64, LenientDecodingNeitherRequiresNorChecksPadding) {
    for (const QString &text : {QStringLiteral("QQ"), QStringLiteral("QQ=="), QStringLiteral("Q Q = =")})
        EXPECT_EQ(ZRKit::dataWithBase64EncodedString(text), QByteArray("A")) << text.toStdString();
    EXPECT_EQ(ZRKit::dataWithBase64EncodedString(QStringLiteral("QQ==QQ==")),
              ZRKit::dataWithBase64EncodedString(QStringLiteral("QQQQ")));
    EXPECT_EQ(ZRKit::dataWithBase64EncodedString(QStringLiteral("TWE")), QByteArray("Ma"));
}

TEST(NSDataBase64, LenientDecodingTakesBrokenLinesAndAllSixKindsOfWhiteSpace) {
    EXPECT_EQ(ZRKit::dataWithBase64EncodedString(QStringLiteral("TW\r\nFu\n")), QByteArray("Man"));
    EXPECT_EQ(ZRKit::dataWithBase64EncodedString(QStringLiteral(" T\tW\nF\vu\f\r")), QByteArray("Man"));
}

TEST(NSDataBase64, LenientDecodingIsNilForWhatIsOutsideTheAlphabetAndForALoneLeftover) {
    for (const QString &text :
         {QStringLiteral("TW@u"), QStringLiteral("TWFuT"), QStringLiteral("T"), QStringLiteral("TW-u"),
          QStringLiteral("TW_u"), QStringLiteral("TWÄu"), QStringLiteral("TWFu\u00a0"),
          QStringLiteral("TWFu\u4141"), QString(QStringLiteral("TWFu") + QChar(u'\0'))})
        EXPECT_TRUE(ZRKit::dataWithBase64EncodedString(text).isNull()) << text.toStdString();
}

TEST(NSDataBase64, LenientDecodingOfNilIsNilAndOfNothingNoBytes) {
    EXPECT_TRUE(ZRKit::dataWithBase64EncodedString(QString()).isNull());
    for (const QString &text : {QStringLiteral(""), QStringLiteral(" \n"), QStringLiteral("====")}) {
        EXPECT_TRUE(ZRKit::dataWithBase64EncodedString(text).isEmpty());
        EXPECT_FALSE(ZRKit::dataWithBase64EncodedString(text).isNull());
    }
}

TEST(NSDataBase64, DataURLsCarryTheTypeAsGiven) {
    EXPECT_EQ(ZRKit::dataURLWithMimeType(QByteArray("\x89\x50"), QStringLiteral("image/png")),
              QStringLiteral("data:image/png;base64,iVA="));
    EXPECT_EQ(ZRKit::dataURLWithMimeType(QByteArray(""), QStringLiteral("a %@ b")),
              QStringLiteral("data:a %@ b;base64,"));
    EXPECT_TRUE(ZRKit::dataURLWithMimeType(QByteArray(), QStringLiteral("image/png")).isNull());
}

TEST(NSDataBase64, StringIsTheUTF8TextOrNil) {
    EXPECT_EQ(ZRKit::string(QByteArray("h\xc3\xa9")), QStringLiteral("hé"));
    EXPECT_TRUE(ZRKit::string(QByteArray("h\xe9")).isNull());
    EXPECT_FALSE(ZRKit::string(QByteArray("")).isNull());
    EXPECT_TRUE(ZRKit::string(QByteArray()).isNull());
}

TEST(NSDataBase64, DigestsAreThePublishedOnes) {
    const QByteArray abc("abc");
    EXPECT_EQ(ZRKit::zrMD5HexString(abc), QStringLiteral("900150983cd24fb0d6963f7d28e17f72"));
    EXPECT_EQ(ZRKit::zrSHA1HexString(abc), QStringLiteral("a9993e364706816aba3e25717850c26c9cd0d89d"));
    EXPECT_EQ(ZRKit::zrSHA256HexString(abc),
              QStringLiteral("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"));
    EXPECT_EQ(ZRKit::zrMD5HexString(QByteArray("")), QStringLiteral("d41d8cd98f00b204e9800998ecf8427e"));
    EXPECT_EQ(ZRKit::zrSHA1HexString(QByteArray("")),
              QStringLiteral("da39a3ee5e6b4b0d3255bfef95601890afd80709"));
    EXPECT_EQ(ZRKit::zrSHA256HexString(QByteArray("")),
              QStringLiteral("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"));
    const QByteArray million(1'000'000, 'a');
    EXPECT_EQ(ZRKit::zrMD5HexString(million), QStringLiteral("7707d6ae4e027c70eea2a935c2296f21"));
    EXPECT_EQ(ZRKit::zrSHA1HexString(million), QStringLiteral("34aa973cd4c4daa4f61eeb2bdbad27316534016f"));
    EXPECT_EQ(ZRKit::zrSHA256HexString(million),
              QStringLiteral("cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"));
}

TEST(NSDataBase64, DigestsOfNilAreNil) {
    EXPECT_TRUE(ZRKit::zrMD5HexString(QByteArray()).isNull());
    EXPECT_TRUE(ZRKit::zrSHA1HexString(QByteArray()).isNull());
    EXPECT_TRUE(ZRKit::zrSHA256HexString(QByteArray()).isNull());
}

TEST(NSStringBase64, EncodesTheUTF8Bytes) {
    EXPECT_EQ(ZRKit::base64EncodedString(QStringLiteral("Man")), QStringLiteral("TWFu"));
    EXPECT_EQ(ZRKit::base64EncodedString(QStringLiteral("é€")), QStringLiteral("w6nigqw="));
    EXPECT_FALSE(ZRKit::base64EncodedString(QStringLiteral("")).isNull());
    EXPECT_TRUE(ZRKit::base64EncodedString(QString()).isNull());
}

TEST(NSStringBase64, StrictDecodingWantsWholeGroupsOfASCII) {
    EXPECT_EQ(ZRKit::dataWithBase64DecodedString(QStringLiteral("TWE=")), QByteArray("Ma"));
    for (const QString &text : {QStringLiteral("TWE"), QStringLiteral("TWFuT"), QStringLiteral("TWFu\n"),
                                QStringLiteral("TWÄu"), QStringLiteral("TWF\u4141"), QString()})
        EXPECT_TRUE(ZRKit::dataWithBase64DecodedString(text).isNull()) << text.toStdString();
    EXPECT_TRUE(ZRKit::dataWithBase64DecodedString(QStringLiteral("")).isEmpty());
    EXPECT_FALSE(ZRKit::dataWithBase64DecodedString(QStringLiteral("")).isNull());
}

TEST(NSStringBase64, StrictDecodingReadsEveryForeignCharacterAsTheSlash) {
    const QByteArray slash = ZRKit::dataWithBase64DecodedString(QStringLiteral("TW/u"));
    EXPECT_EQ(slash, QByteArray("Mo\xee"));
    for (const QString &text : {QStringLiteral("TW-u"), QStringLiteral("TW_u"), QStringLiteral("TW u"),
                                QStringLiteral("TW@u"), QStringLiteral("TW\nu")})
        EXPECT_EQ(ZRKit::dataWithBase64DecodedString(text), slash) << text.toStdString();
    EXPECT_EQ(ZRKit::dataWithBase64DecodedString(QStringLiteral("=WFu")), QByteArray("\xfd\x61\x6e"));
}

TEST(NSStringBase64, TheTwoDecodersDifferAsTheyAreMeantTo) {
    const QString lines = QStringLiteral("TWFu\nTWF");
    EXPECT_EQ(ZRKit::dataWithBase64EncodedString(lines), QByteArray("ManMa"));
    EXPECT_EQ(ZRKit::dataWithBase64DecodedString(lines), QByteArray("Man\xfd\x35\x85"));
    EXPECT_TRUE(ZRKit::dataWithBase64EncodedString(QStringLiteral("TW-u")).isNull());
    EXPECT_FALSE(ZRKit::dataWithBase64DecodedString(QStringLiteral("TW-u")).isNull());
    EXPECT_EQ(ZRKit::dataWithBase64EncodedString(QStringLiteral("TWE")), QByteArray("Ma"));
    EXPECT_TRUE(ZRKit::dataWithBase64DecodedString(QStringLiteral("TWE")).isNull());
}

TEST(NSStringBase64, DigestsAreOfTheUTF8Bytes) {
    const QString text = QStringLiteral("é");
    EXPECT_EQ(ZRKit::zrMD5HexString(text), ZRKit::zrMD5HexString(QByteArray("\xc3\xa9")));
    EXPECT_EQ(ZRKit::zrSHA1HexString(text), ZRKit::zrSHA1HexString(QByteArray("\xc3\xa9")));
    EXPECT_EQ(ZRKit::zrSHA256HexString(text), ZRKit::zrSHA256HexString(QByteArray("\xc3\xa9")));
    EXPECT_EQ(ZRKit::zrMD5HexString(QStringLiteral("")), QStringLiteral("d41d8cd98f00b204e9800998ecf8427e"));
    EXPECT_EQ(ZRKit::zrSHA1HexString(QStringLiteral("")),
              QStringLiteral("da39a3ee5e6b4b0d3255bfef95601890afd80709"));
    EXPECT_TRUE(ZRKit::zrMD5HexString(QString()).isNull());
}

TEST(NSStringBase64, HalfASurrogatePairHasNoBytesToEncode) {
    const QString half(QChar(0xd834));
    EXPECT_TRUE(ZRKit::base64EncodedString(half).isNull());
    EXPECT_TRUE(ZRKit::zrSHA256HexString(half).isNull());
}

} // namespace
