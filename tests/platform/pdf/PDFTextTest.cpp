// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFText.h"

#include <gtest/gtest.h>

namespace {

QByteArray roundTripped(const QByteArray &bytes) {
    return PDFStringTokenBytes(PDFStringToken(bytes));
}

} // namespace

TEST(PDFText, PlainTextStaysReadableInTheFile) {
    EXPECT_EQ(PDFStringToken(PDFTextBytes(QStringLiteral("Invoice 7"))), "(Invoice 7)");
    EXPECT_EQ(PDFStringToken(PDFTextBytes(QStringLiteral("a(b)\\"))), "(a\\(b\\)\\\\)");
    EXPECT_EQ(PDFStringToken(PDFTextBytes(QStringLiteral("é"))), "(\\351)");
}

TEST(PDFText, EveryCharacterOfPDFDocEncodingTakesOneByte) {
    int characters = 0;
    for (int code = 0; code < 256; ++code) {
        const QByteArray bytes(1, char(code));
        const QString text = PDFTextFromBytes(bytes);
        ASSERT_EQ(text.size(), 1);
        if (text[0] == QChar::ReplacementCharacter)
            continue;
        ++characters;
        EXPECT_EQ(PDFTextBytes(text), bytes) << code;
    }
    // 256 less 21 control characters, 0x7F, 0x9F and 0xAD.
    EXPECT_EQ(characters, 232);
    EXPECT_EQ(PDFTextBytes(QStringLiteral("\u20AC\u2026\uFB01\u02DC")), "\xA0\x83\x93\x1F");
}

TEST(PDFText, OtherTextIsUtf16WithItsMark) {
    EXPECT_EQ(PDFTextBytes(QStringLiteral("\u4E2D")), QByteArray("\xFE\xFF\x4E\x2D", 4));
    EXPECT_EQ(PDFTextBytes(QStringLiteral("\U0001F600")), QByteArray("\xFE\xFF\xD8\x3D\xDE\x00", 6));
    EXPECT_EQ(PDFTextBytes(QString(1, QChar(0))), QByteArray("\xFE\xFF\0\0", 4));
}

TEST(PDFText, TextThatLooksLikeAMarkIsNotTakenForOne) {
    for (const QString &text : {QStringLiteral("þÿx"), QStringLiteral("ÿþx"), QStringLiteral("ï»¿x")})
        EXPECT_EQ(PDFTextFromBytes(PDFTextBytes(text)), text);
}

TEST(PDFText, TextIsReadInEveryEncodingThatFilesUse) {
    EXPECT_EQ(PDFTextFromBytes(QByteArray("\xFF\xFE\x2D\x4E", 4)), QStringLiteral("\u4E2D"));
    EXPECT_EQ(PDFTextFromBytes("\xEF\xBB\xBF\xE4\xB8\xAD"), QStringLiteral("\u4E2D"));
    EXPECT_EQ(PDFTextFromBytes(""), QStringLiteral(""));
    EXPECT_FALSE(PDFTextFromBytes("").isNull());
    EXPECT_FALSE(PDFTextFromBytes("\xFE\xFF").isNull());
    // A language code between escape characters is no text.
    EXPECT_EQ(PDFTextFromBytes(QByteArray("\xFE\xFF\0\x1B\0e\0n\0\x1B\0A", 12)), QStringLiteral("A"));
    // An odd last byte is dropped.
    EXPECT_EQ(PDFTextFromBytes(QByteArray("\xFE\xFF\0A\0", 5)), QStringLiteral("A"));
}

TEST(PDFText, WhatNoTextStringCanCarryIsReplaced) {
    const QString broken = QString(QChar(0xD83D)) + u'a' + QChar(0xDE00) + QChar(0x1B);
    EXPECT_EQ(PDFCleanText(broken), QStringLiteral("\uFFFDa\uFFFD\uFFFD"));
    EXPECT_EQ(PDFCleanText(QStringLiteral("\U0001F600")), QStringLiteral("\U0001F600"));
    EXPECT_TRUE(PDFCleanText(QString()).isNull());
}

TEST(PDFText, StringTokensOfAnyBytesReadBack) {
    QByteArray all;
    for (int code = 0; code < 256; ++code)
        all.append(char(code));
    EXPECT_EQ(roundTripped(all), all);
    EXPECT_EQ(roundTripped("\xFE\xFF" + all), "\xFE\xFF" + all);
    EXPECT_EQ(roundTripped(""), "");
    EXPECT_EQ(roundTripped("1\0012"), "1\0012");
}

TEST(PDFText, LiteralStringsAreReadAsWritten) {
    EXPECT_EQ(PDFStringTokenBytes("(a\\\nb)"), "ab");
    EXPECT_EQ(PDFStringTokenBytes("(a\\\r\nb)"), "ab");
    EXPECT_EQ(PDFStringTokenBytes("(a\r\nb\rc)"), "a\nb\nc");
    EXPECT_EQ(PDFStringTokenBytes("(\\0533\\53\\5)"), "+3+\5");
    EXPECT_EQ(PDFStringTokenBytes("((in)\\n\\r\\t\\b\\f\\x)"), "(in)\n\r\t\b\fx");
    EXPECT_EQ(PDFStringTokenBytes("<41 4\n2 5>"), "ABP");
}

TEST(PDFText, DatesAreWrittenInUtc) {
    EXPECT_EQ(PDFDateBytes(QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3, 999), Qt::UTC)),
              "D:20240229010203+00'00'");
    EXPECT_EQ(PDFDateBytes(QDateTime(QDate(2024, 1, 1), QTime(0, 30), Qt::OffsetFromUTC, 3600)),
              "D:20231231233000+00'00'");
}

TEST(PDFText, DatesAreReadInEveryLength) {
    const auto utc = [](int y, int m, int d, int h, int min, int s) {
        return QDateTime(QDate(y, m, d), QTime(h, min, s), Qt::UTC);
    };
    EXPECT_EQ(PDFDateFromBytes("D:2024"), utc(2024, 1, 1, 0, 0, 0));
    EXPECT_EQ(PDFDateFromBytes("D:202405"), utc(2024, 5, 1, 0, 0, 0));
    EXPECT_EQ(PDFDateFromBytes("20240506"), utc(2024, 5, 6, 0, 0, 0));
    EXPECT_EQ(PDFDateFromBytes("D:2024050607"), utc(2024, 5, 6, 7, 0, 0));
    EXPECT_EQ(PDFDateFromBytes("D:20240506070809Z"), utc(2024, 5, 6, 7, 8, 9));
    EXPECT_EQ(PDFDateFromBytes("D:20240506070809+02'30'"), utc(2024, 5, 6, 4, 38, 9));
    EXPECT_EQ(PDFDateFromBytes("D:20240506070809-0230"), utc(2024, 5, 6, 9, 38, 9));
    EXPECT_EQ(PDFDateFromBytes("D:20240506070809+02"), utc(2024, 5, 6, 5, 8, 9));
    EXPECT_EQ(PDFDateFromBytes("D:20240506070809+00'00'").timeSpec(), Qt::UTC);
}

TEST(PDFText, WhatIsNoDateIsNil) {
    for (const char *text : {"", "D:", "D:20", "D:20241301", "D:20240231", "D:2024050625", "yesterday",
                             "D:20240506070809+99'00'"})
        EXPECT_FALSE(PDFDateFromBytes(text).isValid()) << text;
}
