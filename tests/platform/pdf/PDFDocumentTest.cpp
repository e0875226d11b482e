// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFDocument.h"
#include "platform/values/NSNull.h"
#include "tests/platform/pdf/PDFSamples.h"

#include <QDateTime>
#include <gtest/gtest.h>

namespace {

QDateTime moment() {
    return QDateTime(QDate(2024, 2, 29), QTime(23, 59, 58), Qt::UTC);
}

QByteArray stamped(const QByteArray &data, const QVariantMap &attributes) {
    PDFDocument document(data);
    document.setDocumentAttributes(attributes);
    return document.dataRepresentation();
}

QByteArray withTitle(const QByteArray &data, const QString &title) {
    return stamped(data, {{PDFDocumentTitleAttribute, title}});
}

QString titleOf(const QByteArray &data) {
    return PDFDocument(data).documentAttributes().value(PDFDocumentTitleAttribute).toString();
}

// The sample in forms that only a full reader knows.
QList<QByteArray> otherForms() {
    const QByteArray plain = sampleDocument();
    return {rewritten(plain, {QStringLiteral("--object-streams=generate")}),
            rewritten(plain, {QStringLiteral("--linearize")}), rewritten(plain, {QStringLiteral("--qdf")}),
            rewritten(plain, {QStringLiteral("--encrypt"), QStringLiteral(""), QStringLiteral("owner"),
                              QStringLiteral("256"), QStringLiteral("--")})};
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
    attributes[PDFDocumentAuthorAttribute] = QStringLiteral("A. Uthor");
    attributes[PDFDocumentSubjectAttribute] = QStringLiteral("On things");
    attributes[PDFDocumentKeywordsAttribute] = QStringLiteral("one, two");
    attributes[PDFDocumentCreationDateAttribute] = moment();
    document.setDocumentAttributes(attributes);
    EXPECT_EQ(document.documentAttributes(), attributes);
    const QByteArray data = document.dataRepresentation();
    EXPECT_TRUE(isSound(data));
    EXPECT_EQ(infoLine(data, QStringLiteral("Title")), QStringLiteral("Über \u4E2D (1) \U0001F600"));
    EXPECT_EQ(infoLine(data, QStringLiteral("Creator")), QStringLiteral("Host 1.0 (test) \\ tool"));
    EXPECT_EQ(infoLine(data, QStringLiteral("Author")), QStringLiteral("A. Uthor"));
    EXPECT_EQ(infoLine(data, QStringLiteral("Subject")), QStringLiteral("On things"));
    EXPECT_EQ(infoLine(data, QStringLiteral("Keywords")), QStringLiteral("one, two"));
    EXPECT_EQ(infoLine(data, QStringLiteral("CreationDate")), QStringLiteral("2024-02-29T23:59:58Z"));
    EXPECT_EQ(PDFDocument(data).documentAttributes(), attributes);
}

TEST(PDFDocument, AbsentNilAndNullAttributesAreRemovedWithoutTrace) {
    for (const QVariant &absent : {QVariant(), QVariant(QString()), NSNull()}) {
        const QByteArray data = stamped(sampleDocument(), {{PDFDocumentTitleAttribute, absent},
                                                           {PDFDocumentCreatorAttribute, absent},
                                                           {PDFDocumentCreationDateAttribute, moment()}});
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

TEST(PDFDocument, AnEmptyTitleIsATitle) {
    const QByteArray data = withTitle(sampleDocument(), QStringLiteral(""));
    const QVariantMap attributes = PDFDocument(data).documentAttributes();
    ASSERT_TRUE(attributes.contains(PDFDocumentTitleAttribute));
    EXPECT_EQ(attributes.value(PDFDocumentTitleAttribute).toString(), QStringLiteral(""));
}

TEST(PDFDocument, TitlesOfAnyUnicodeSurvive) {
    QString everything;
    for (char32_t c = 0; c < 0x11000; c += c < 0x3000 ? 1 : 97)
        if ((c < 0xD800 || c > 0xDFFF) && c != 0x1B)
            everything += QString::fromUcs4(&c, 1);
    const QList<QString> titles = {QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467 family"),
                                   QStringLiteral("\u05E9\u05DC\u05D5\u05DD \u0645\u0631\u062D\u0628\u0627"),
                                   QStringLiteral("a") + QChar(0) + QStringLiteral("b"),
                                   QString(QChar(0)),
                                   QStringLiteral("line\nline\r\n\ttab"),
                                   QStringLiteral("((( \\ )))"),
                                   QStringLiteral("endobj\nendstream\n%%EOF\nstartxref\n0"),
                                   QString(200000, u'x'),
                                   QString(200000, QChar(0x4E2D)),
                                   everything};
    QList<QByteArray> documents = otherForms();
    documents.append(sampleDocument());
    for (const QByteArray &document : documents)
        for (const QString &title : titles) {
            const QByteArray data = withTitle(document, title);
            ASSERT_EQ(titleOf(data), title) << title.left(20).toStdString();
            // Twice, because what was written is read again.
            ASSERT_EQ(titleOf(withTitle(data, title)), title) << title.left(20).toStdString();
        }
}

TEST(PDFDocument, UnicodeTitlesAreReadAlikeByOthers) {
    for (const QString &title :
         {QStringLiteral("\U0001F600 emoji"), QStringLiteral("\u05E9\u05DC\u05D5\u05DD"),
          QStringLiteral("€ … ﬁ"), QStringLiteral("þÿ mark"), QStringLiteral("Zażółć")}) {
        const QByteArray data = withTitle(sampleDocument(), title);
        EXPECT_EQ(infoLine(data, QStringLiteral("Title")), title);
    }
}

TEST(PDFDocument, WhatTextCannotCarryIsReplacedAtOnce) {
    PDFDocument document(sampleDocument());
    document.setDocumentAttributes(
        {{PDFDocumentTitleAttribute, QString(QChar(0xD800)) + u'a' + QChar(0x1B)}});
    EXPECT_EQ(document.documentAttributes().value(PDFDocumentTitleAttribute),
              QStringLiteral("\uFFFDa\uFFFD"));
    EXPECT_EQ(titleOf(document.dataRepresentation()), QStringLiteral("\uFFFDa\uFFFD"));
}

TEST(PDFDocument, UnknownKeysAndValuesOfNoTextAreIgnored) {
    PDFDocument document(sampleDocument());
    document.setDocumentAttributes({{QStringLiteral("Nonsense"), QStringLiteral("x")},
                                    {PDFDocumentTitleAttribute, QVariantMap{{QStringLiteral("a"), 1}}},
                                    {PDFDocumentCreatorAttribute, 42},
                                    {PDFDocumentCreationDateAttribute, QStringLiteral("no date")}});
    EXPECT_EQ(document.documentAttributes(),
              QVariantMap({{PDFDocumentCreatorAttribute, QStringLiteral("42")}}));
}

TEST(PDFDocument, DatesAreKeptToTheSecondInUtc) {
    const QDateTime local(QDate(2024, 7, 1), QTime(1, 30, 15, 750), Qt::OffsetFromUTC, 2 * 3600);
    PDFDocument document(stamped(sampleDocument(), {{PDFDocumentCreationDateAttribute, local}}));
    const QDateTime read = document.documentAttributes().value(PDFDocumentCreationDateAttribute).toDateTime();
    EXPECT_EQ(read, QDateTime(QDate(2024, 6, 30), QTime(23, 30, 15), Qt::UTC));
    EXPECT_EQ(read.timeSpec(), Qt::UTC);
}

TEST(PDFDocument, ADocumentWithoutInformationGetsIt) {
    PDFBuilder builder;
    builder.add("<</Type /Catalog/Pages 2 0 R>>");
    builder.add("<</Type /Pages/Count 1/Kids [3 0 R]>>");
    builder.add("<</Type /Page/MediaBox [0 0 600 800]/Parent 2 0 R/Resources <<>>>>");
    const QByteArray bare = builder.file(1, 0);
    EXPECT_TRUE(PDFDocument(bare).documentAttributes().isEmpty());
    for (const QByteArray &data : {bare, rewritten(bare, {QStringLiteral("--object-streams=generate")})}) {
        const QByteArray written = withTitle(data, QStringLiteral("First"));
        EXPECT_TRUE(isSound(written));
        EXPECT_EQ(titleOf(written), QStringLiteral("First"));
        EXPECT_EQ(infoLine(written, QStringLiteral("Title")), QStringLiteral("First"));
    }
}

TEST(PDFDocument, EveryFormOfFileIsReadAndStamped) {
    for (const QByteArray &data : otherForms()) {
        ASSERT_FALSE(data.isEmpty());
        PDFDocument document(data);
        EXPECT_EQ(document.documentAttributes(), PDFDocument(sampleDocument()).documentAttributes());
        EXPECT_EQ(document.pageCount(), 1);
        EXPECT_EQ(document.pageBox(0), QRectF(0, 0, 600, 1131.12));
        document.setDocumentAttributes({{PDFDocumentTitleAttribute, QStringLiteral("New")}});
        const QByteArray written = document.dataRepresentation();
        EXPECT_TRUE(isSound(written));
        EXPECT_FALSE(written.contains("Old title"));
        EXPECT_EQ(infoLine(written, QStringLiteral("Title")), QStringLiteral("New"));
        EXPECT_TRUE(infoLine(written, QStringLiteral("Creator")).isNull());
        EXPECT_EQ(picture(written), picture(data));
    }
}

TEST(PDFDocument, EarlierRevisionsAreNotCarriedAlong) {
    // A revision appended to the sample: its new information takes the old one's place.
    QByteArray data = sampleDocument();
    const qsizetype old = data.lastIndexOf("startxref\n") + 10;
    const QByteArray previous = data.mid(old, data.indexOf('\n', old) - old);
    const QByteArray at = QByteArray::number(data.size()).rightJustified(10, '0');
    data += "1 0 obj\n<</Title (Second title)>>\nendobj\n";
    const QByteArray start = QByteArray::number(data.size());
    data += "xref\n0 1\n0000000000 65535 f \n1 1\n" + at +
            " 00000 n \ntrailer\n<</Size 12/Root 2 0 R/Info 1 0 R/Prev " + previous + ">>\nstartxref\n" +
            start + "\n%%EOF\n";
    ASSERT_EQ(infoLine(data, QStringLiteral("Title")), QStringLiteral("Second title"));
    EXPECT_EQ(titleOf(data), QStringLiteral("Second title"));
    const QByteArray written = withTitle(data, QStringLiteral("Third"));
    EXPECT_TRUE(isSound(written));
    EXPECT_FALSE(written.contains("Old title"));
    EXPECT_FALSE(written.contains("Second title"));
    EXPECT_EQ(titleOf(written), QStringLiteral("Third"));
}

TEST(PDFDocument, EncryptionWithAnEmptyPasswordIsKept) {
    const QByteArray data = otherForms().last();
    ASSERT_EQ(infoLine(data, QStringLiteral("Encrypted")).left(3), QStringLiteral("yes"));
    const QByteArray written = withTitle(data, QStringLiteral("New"));
    EXPECT_EQ(infoLine(written, QStringLiteral("Encrypted")).left(3), QStringLiteral("yes"));
    EXPECT_EQ(infoLine(written, QStringLiteral("Title")), QStringLiteral("New"));
}

TEST(PDFDocument, ADocumentThatNeedsAPasswordIsNil) {
    const QByteArray data =
        rewritten(sampleDocument(), {QStringLiteral("--encrypt"), QStringLiteral("user"),
                                     QStringLiteral("owner"), QStringLiteral("256"), QStringLiteral("--")});
    ASSERT_FALSE(data.isEmpty());
    EXPECT_TRUE(PDFDocument(data).isNil());
}

TEST(PDFDocument, ADocumentWithoutPagesIsOne) {
    PDFBuilder builder;
    builder.add("<</Type /Catalog/Pages 2 0 R>>");
    builder.add("<</Type /Pages/Count 0/Kids []>>");
    PDFDocument document(builder.file(1, 0));
    EXPECT_FALSE(document.isNil());
    EXPECT_EQ(document.pageCount(), 0);
    EXPECT_FALSE(document.setPageBox(0, QSizeF(10, 10)));
    document.setDocumentAttributes({{PDFDocumentTitleAttribute, QStringLiteral("t")}});
    EXPECT_EQ(titleOf(document.dataRepresentation()), QStringLiteral("t"));
}

TEST(PDFDocument, UnchangedDocumentsComeOutSound) {
    const QByteArray plain = sampleDocument();
    QList<QByteArray> forms = otherForms();
    forms.append(plain);
    for (const QByteArray &data : forms) {
        const PDFDocument document(data);
        EXPECT_TRUE(isSound(document.dataRepresentation()));
        // Asked a second time it gives the same document again.
        EXPECT_EQ(picture(document.dataRepresentation()), picture(plain));
    }
}

TEST(PDFDocument, DamagedFilesAreRepaired) {
    QByteArray data = sampleDocument();
    data.replace("startxref\n", "startxref\n9");
    PDFDocument document(data);
    ASSERT_FALSE(document.isNil());
    document.setDocumentAttributes({{PDFDocumentTitleAttribute, QStringLiteral("Mended")}});
    const QByteArray written = document.dataRepresentation();
    EXPECT_TRUE(isSound(written));
    EXPECT_EQ(titleOf(written), QStringLiteral("Mended"));
    EXPECT_EQ(picture(written), picture(sampleDocument()));
}

TEST(PDFDocument, MetadataThatWouldTellTheOldAttributesIsRemoved) {
    const QByteArray packet = "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF "
                              "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\" "
                              "xmlns:dc=\"http://purl.org/dc/elements/1.1/\"><rdf:Description "
                              "rdf:about=\"\"><dc:title><rdf:Alt><rdf:li "
                              "xml:lang=\"x-default\">Old "
                              "title</rdf:li></rdf:Alt></dc:title></rdf:Description></rdf:RDF></x:xmpmeta>";
    PDFBuilder builder;
    builder.add("<</Title (Old title)>>");
    builder.add("<</Type /Catalog/Pages 3 0 R/Metadata 5 0 R>>");
    builder.add("<</Type /Pages/Count 1/Kids [4 0 R]>>");
    builder.add("<</Type /Page/MediaBox [0 0 600 800]/Parent 3 0 R/Resources <<>>>>");
    builder.addStream(packet, "/Type /Metadata /Subtype /XML");
    const QByteArray data = builder.file(2, 1);
    const QStringList meta = {QStringLiteral("-meta"), QStringLiteral("@")};
    ASSERT_TRUE(output(QStringLiteral("pdfinfo"), meta, data).contains("Old title"));
    const QByteArray written = withTitle(data, QStringLiteral("New"));
    EXPECT_TRUE(isSound(written));
    EXPECT_FALSE(written.contains("Old title"));
    EXPECT_TRUE(output(QStringLiteral("pdfinfo"), meta, written).isEmpty());
    // It stays as long as the attributes do.
    PDFDocument document(data);
    ASSERT_TRUE(document.setPageBox(0, QSizeF(600, 700)));
    EXPECT_TRUE(output(QStringLiteral("pdfinfo"), meta, document.dataRepresentation()).contains("Old title"));
}

TEST(PDFDocument, AMovedOneIsTheSameDocument) {
    PDFDocument first(sampleDocument());
    first.setDocumentAttributes({{PDFDocumentTitleAttribute, QStringLiteral("Kept")}});
    PDFDocument second(std::move(first));
    EXPECT_EQ(titleOf(second.dataRepresentation()), QStringLiteral("Kept"));
    EXPECT_EQ(second.pageCount(), 1);
}

TEST(PDFDocument, ChangesMayFollowOneAnotherAndAWriting) {
    PDFDocument document(sampleDocument());
    document.setDocumentAttributes({{PDFDocumentTitleAttribute, QStringLiteral("First")}});
    const QByteArray first = document.dataRepresentation();
    document.setDocumentAttributes({{PDFDocumentCreatorAttribute, QStringLiteral("Second")}});
    ASSERT_TRUE(document.setPageBox(0, QSizeF(600, 500)));
    const PDFDocument second(document.dataRepresentation());
    EXPECT_EQ(titleOf(first), QStringLiteral("First"));
    EXPECT_EQ(second.documentAttributes(),
              QVariantMap({{PDFDocumentCreatorAttribute, QStringLiteral("Second")}}));
    EXPECT_EQ(second.pageBox(0), QRectF(0, 0, 600, 500));
}
