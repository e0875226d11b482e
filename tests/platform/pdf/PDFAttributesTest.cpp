// SPDX-License-Identifier: MIT
// Texts and dates of the information dictionary, in every form that files use.
#include "platform/pdf/PDFAttributes.h"
#include "platform/pdf/PDFDocument.h"
#include "tests/platform/pdf/PDFSamples.h"

#include <gtest/gtest.h>

namespace {

// A document whose title is the string of these bytes.
QByteArray documentTitled(const QByteArray &bytes) {
    PDFBuilder builder;
    builder.add("<</Title <" + bytes.toHex() + ">>>");
    builder.add("<</Type /Catalog/Pages 3 0 R>>");
    builder.add("<</Type /Pages/Count 1/Kids [4 0 R]>>");
    builder.add("<</Type /Page/MediaBox [0 0 600 800]/Parent 3 0 R/Resources <<>>>>");
    return builder.file(2, 1);
}

QString read(const QByteArray &bytes) {
    return PDFDocument(documentTitled(bytes))
        .documentAttributes()
        .value(PDFDocumentTitleAttribute)
        .toString();
}

QByteArray written(const QString &title) {
    PDFDocument document(documentTitled("old"));
    document.setDocumentAttributes({{PDFDocumentTitleAttribute, title}});
    return document.dataRepresentation();
}

} // namespace

TEST(PDFAttributes, PlainTextStaysReadableInTheFile) {
    EXPECT_TRUE(written(QStringLiteral("Invoice 7")).contains("(Invoice 7)"));
    EXPECT_TRUE(written(QStringLiteral("a(b)\\")).contains("(a\\(b\\)\\\\)"));
}

TEST(PDFAttributes, EveryCharacterOfPDFDocEncodingIsRead) {
    int characters = 0;
    for (int code = 0; code < 256; ++code) {
        const QString text = read(QByteArray(1, char(code)));
        ASSERT_EQ(text.size(), 1) << code;
        if (text[0] != QChar::ReplacementCharacter)
            ++characters;
    }
    // 0x7F, 0x9F and 0xAD stand for nothing.
    EXPECT_EQ(characters, 253);
    EXPECT_EQ(read("\xA0\x83\x93\x1F"), QStringLiteral("\u20AC\u2026\uFB01\u02DC"));
}

TEST(PDFAttributes, TextIsReadInEveryEncodingThatFilesUse) {
    EXPECT_EQ(read(QByteArray("\xFE\xFF\x4E\x2D", 4)), QStringLiteral("\u4E2D"));
    EXPECT_EQ(read(QByteArray("\xFF\xFE\x2D\x4E", 4)), QStringLiteral("\u4E2D"));
    EXPECT_EQ(read("\xEF\xBB\xBF\xE4\xB8\xAD"), QStringLiteral("\u4E2D"));
    EXPECT_EQ(read(""), QStringLiteral(""));
    EXPECT_FALSE(read("").isNull());
    EXPECT_FALSE(read("\xFE\xFF").isNull());
    // A language code between escape characters is no text.
    EXPECT_EQ(read(QByteArray("\xFE\xFF\0\x1B\0e\0n\0\x1B\0A", 12)), QStringLiteral("A"));
    // An odd last byte is dropped.
    EXPECT_EQ(read(QByteArray("\xFE\xFF\0A\0", 5)), QStringLiteral("A"));
}

TEST(PDFAttributes, TextThatLooksLikeAMarkIsNotTakenForOne) {
    for (const QString &text : {QStringLiteral("þÿx"), QStringLiteral("ÿþx"), QStringLiteral("ï»¿x")})
        EXPECT_EQ(PDFDocument(written(text)).documentAttributes().value(PDFDocumentTitleAttribute), text);
}

TEST(PDFAttributes, WhatNoTextStringCanCarryIsReplaced) {
    const QString broken = QString(QChar(0xD83D)) + u'a' + QChar(0xDE00) + QChar(0x1B);
    const QVariantMap clean = zr::pdfCleanAttributes({{PDFDocumentTitleAttribute, broken}});
    EXPECT_EQ(clean.value(PDFDocumentTitleAttribute), QStringLiteral("\uFFFDa\uFFFD\uFFFD"));
}

TEST(PDFAttributes, DatesAreWrittenInUtc) {
    EXPECT_EQ(zr::pdfDateText(QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3, 999), Qt::UTC)),
              QStringLiteral("D:20240229010203+00'00'"));
    EXPECT_EQ(zr::pdfDateText(QDateTime(QDate(2024, 1, 1), QTime(0, 30), Qt::OffsetFromUTC, 3600)),
              QStringLiteral("D:20231231233000+00'00'"));
}

TEST(PDFAttributes, DatesAreReadInEveryLength) {
    const auto expect = [](const char *text, QDate day, QTime time) {
        const QDateTime date = zr::pdfDate(QString::fromLatin1(text));
        EXPECT_EQ(date, QDateTime(day, time, Qt::UTC)) << text;
        EXPECT_EQ(date.timeSpec(), Qt::UTC);
    };
    expect("D:2024", QDate(2024, 1, 1), QTime(0, 0));
    expect("D:202405", QDate(2024, 5, 1), QTime(0, 0));
    expect("20240506", QDate(2024, 5, 6), QTime(0, 0));
    expect("D:2024050607", QDate(2024, 5, 6), QTime(7, 0));
    expect("D:20240506070809Z", QDate(2024, 5, 6), QTime(7, 8, 9));
    expect("D:20240506070809+02'30'", QDate(2024, 5, 6), QTime(4, 38, 9));
    expect("D:20240506070809-0230", QDate(2024, 5, 6), QTime(9, 38, 9));
    expect("D:20240506070809+02", QDate(2024, 5, 6), QTime(5, 8, 9));
    expect("D:20240506070809+00'00'", QDate(2024, 5, 6), QTime(7, 8, 9));
}

TEST(PDFAttributes, WhatIsNotADateIsNil) {
    for (const char *text : {"", "D:", "D:20", "D:20241301", "D:20240231", "D:2024050625", "yesterday",
                             "D:20240506070809+99'00'"})
        EXPECT_FALSE(zr::pdfDate(QString::fromLatin1(text)).isValid()) << text;
}
