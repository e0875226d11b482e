// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFDocument.h"
#include "platform/values/NSNull.h"
#include "tests/platform/pdf/PDFSamples.h"

#include <gtest/gtest.h>

namespace {

QDateTime moment() {
    return QDateTime(QDate(2024, 2, 29), QTime(23, 59, 58), Qt::UTC);
}

} // namespace

TEST(PDFDocument, WhatIsNoDocumentIsNilAndHasNothing) {
    for (const QByteArray &data : {QByteArray(), QByteArray(""), QByteArray("%PDF-1.4\n"),
                                   QByteArray("words"), QByteArray(100000, '\0'), QByteArray(3000, '<')}) {
        PDFDocument document(data);
        EXPECT_TRUE(document.isNil());
        EXPECT_TRUE(document.documentAttributes().isEmpty());
        EXPECT_EQ(document.pageCount(), 0);
        EXPECT_TRUE(document.pageBox(0).isNull());
        EXPECT_FALSE(document.setPageBox(0, QSizeF(10, 10)));
        document.setDocumentAttributes({{PDFDocumentTitleAttribute, QStringLiteral("t")}});
        EXPECT_TRUE(document.documentAttributes().isEmpty());
        EXPECT_TRUE(document.dataRepresentation().isNull());
    }
}

TEST(PDFDocument, AttributesAreReadFromTheInformationDictionary) {
    const QVariantMap attributes = PDFDocument(sampleDocument()).documentAttributes();
    EXPECT_EQ(attributes.value(PDFDocumentTitleAttribute), QStringLiteral("Old title"));
    EXPECT_EQ(attributes.value(PDFDocumentCreatorAttribute), QStringLiteral("Old creator"));
    EXPECT_EQ(attributes.value(PDFDocumentProducerAttribute), QStringLiteral("Sample"));
    EXPECT_EQ(attributes.value(PDFDocumentCreationDateAttribute),
              QDateTime(QDate(2020, 1, 2), QTime(3, 4, 5), Qt::UTC));
    EXPECT_EQ(attributes.value(PDFDocumentModificationDateAttribute),
              QDateTime(QDate(2020, 1, 2), QTime(2, 4, 5), Qt::UTC));
    EXPECT_EQ(attributes.size(), 5);
}

TEST(PDFDocument, AttributesThatAreSetAreReadByOthers) {
    PDFDocument document(sampleDocument());
    QVariantMap attributes = document.documentAttributes();
    attributes[PDFDocumentTitleAttribute] = QStringLiteral("Über \u4E2D (1) \U0001F600");
    attributes[PDFDocumentCreatorAttribute] = QStringLiteral("Host 1.0 (test) \\ tool");
    attributes[PDFDocumentCreationDateAttribute] = moment();
    document.setDocumentAttributes(attributes);
    const QByteArray data = document.dataRepresentation();
    EXPECT_TRUE(isSound(data));
    EXPECT_EQ(infoLine(data, QStringLiteral("Title")), QStringLiteral("Über \u4E2D (1) \U0001F600"));
    EXPECT_EQ(infoLine(data, QStringLiteral("Creator")), QStringLiteral("Host 1.0 (test) \\ tool"));
    EXPECT_EQ(infoLine(data, QStringLiteral("CreationDate")), QStringLiteral("2024-02-29T23:59:58Z"));
    EXPECT_EQ(PDFDocument(data).documentAttributes(), attributes);
}

TEST(PDFDocument, AbsentNilAndNullAttributesAreRemovedWithoutTrace) {
    for (const QVariant &absent : {QVariant(), QVariant(QString()), NSNull()}) {
        PDFDocument document(sampleDocument());
        document.setDocumentAttributes({{PDFDocumentTitleAttribute, absent},
                                        {PDFDocumentCreatorAttribute, absent},
                                        {PDFDocumentCreationDateAttribute, moment()}});
        const QByteArray data = document.dataRepresentation();
        EXPECT_TRUE(isSound(data));
        EXPECT_FALSE(data.contains("Old title"));
        EXPECT_FALSE(data.contains("Old creator"));
        EXPECT_TRUE(infoLine(data, QStringLiteral("Title")).isNull());
        EXPECT_TRUE(infoLine(data, QStringLiteral("Creator")).isNull());
        EXPECT_EQ(PDFDocument(data).documentAttributes(),
                  QVariantMap({{PDFDocumentCreationDateAttribute, moment()}}));
        EXPECT_TRUE(data.contains("/Trapped /False"));
    }
}

TEST(PDFDocument, PageBoxIsCutFromTheTopLeftToExactlyTheSize) {
    PDFDocument document(sampleDocument(QSizeF(600, 1140)));
    EXPECT_EQ(document.pageBox(0), QRectF(0, 0, 600, 1140));
    ASSERT_TRUE(document.setPageBox(0, QSizeF(599.92, 1131.37)));
    EXPECT_EQ(document.pageBox(0), QRectF(0, 0, 599.92, 1131.37));
    const QByteArray data = document.dataRepresentation();
    EXPECT_TRUE(isSound(data));
    EXPECT_EQ(infoLine(data, QStringLiteral("Page size")), QStringLiteral("599.92 x 1131.37 pts"));
    EXPECT_EQ(PDFDocument(data).pageBox(0), QRectF(0, 0, 599.92, 1131.37));
    // The link moved by what was cut off below it.
    EXPECT_TRUE(data.contains("/Rect [20 1011.37 140 1031.37]"));
    EXPECT_TRUE(data.contains("/XYZ 20 91.87 0"));
}

TEST(PDFDocument, SidesAboveTheLimitGetAUserUnitAndLookTheSame) {
    const QByteArray before = sampleDocument(QSizeF(600, 20000));
    PDFDocument document(before);
    ASSERT_TRUE(document.setPageBox(0, QSizeF(600, 20000)));
    const QByteArray data = document.dataRepresentation();
    EXPECT_TRUE(isSound(data));
    EXPECT_TRUE(data.startsWith("%PDF-1.6"));
    EXPECT_TRUE(data.contains("/UserUnit 2"));
    EXPECT_EQ(infoLine(data, QStringLiteral("Page size")), QStringLiteral("300 x 10000 pts"));
    EXPECT_EQ(PDFDocument(data).pageBox(0), QRectF(0, 0, 600, 20000));
    const QByteArray expected = picture(before, 36);
    ASSERT_FALSE(expected.isEmpty());
    EXPECT_EQ(picture(data, 36), expected);
}
