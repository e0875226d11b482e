// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFMetadata.h"
#include "platform/pdf/PDFDocument.h"
#include "tests/platform/pdf/PDFSamples.h"

#include <QDateTime>
#include <QXmlStreamReader>
#include <gtest/gtest.h>

namespace {

QByteArray packet(const QByteArray &descriptions) {
    return "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
           "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">"
           "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\" "
           "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\" "
           "xmlns:pdf=\"http://ns.adobe.com/pdf/1.3/\">" +
           descriptions + "</rdf:RDF></x:xmpmeta>\n<?xpacket end=\"w\"?>";
}

// Both ways to state a property, and some that are nobody's business.
const QByteArray oldDescriptions =
    "<rdf:Description rdf:about=\"uuid:1\" xmp:CreatorTool=\"Old creator\" xmp:Rating=\"5\">"
    "<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">Old title</rdf:li><rdf:li xml:lang=\"de\">Old "
    "title de</rdf:li></rdf:Alt></dc:title><dc:rights>kept rights</dc:rights></rdf:Description>"
    "<rdf:Description rdf:about=\"uuid:1\"><xmp:CreateDate>2001-01-01</xmp:CreateDate>"
    "<pdf:Producer>Old producer</pdf:Producer></rdf:Description>";

QVariantMap newAttributes() {
    return {{PDFDocumentTitleAttribute, QStringLiteral("T <&> \u05E9\U0001F600")},
            {PDFDocumentCreatorAttribute, QStringLiteral("New creator")},
            {PDFDocumentAuthorAttribute, QStringLiteral("New author")},
            {PDFDocumentCreationDateAttribute, QDateTime(QDate(2024, 2, 29), QTime(23, 59, 58), Qt::UTC)}};
}

// The text below every element of a name, one line each; empty where the packet is not well-formed.
QStringList texts(const QByteArray &xml, const QString &name) {
    QStringList list;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd())
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == name)
            list.append(reader.readElementText(QXmlStreamReader::IncludeChildElements));
    return reader.hasError() ? QStringList() : list;
}

QByteArray documentWith(const QByteArray &metadata,
                        const QByteArray &entries = "/Type /Metadata /Subtype /XML") {
    PDFBuilder builder;
    builder.add("<</Title (Old title)/Creator (Old creator)>>");
    builder.add("<</Type /Catalog/Pages 3 0 R/Metadata 5 0 R>>");
    builder.add("<</Type /Pages/Count 1/Kids [4 0 R]>>");
    builder.add("<</Type /Page/MediaBox [0 0 600 800]/Parent 3 0 R/Resources <<>>>>");
    builder.addStream(metadata, entries);
    return builder.file(2, 1);
}

} // namespace

TEST(PDFMetadata, PropertiesAreReplacedInBothTheirForms) {
    const QByteArray xml = PDFMetadataWith(packet(oldDescriptions), newAttributes());
    EXPECT_EQ(texts(xml, QStringLiteral("title")), QStringList(QStringLiteral("T <&> \u05E9\U0001F600")));
    EXPECT_EQ(texts(xml, QStringLiteral("CreatorTool")), QStringList(QStringLiteral("New creator")));
    EXPECT_EQ(texts(xml, QStringLiteral("creator")), QStringList(QStringLiteral("New author")));
    EXPECT_EQ(texts(xml, QStringLiteral("CreateDate")), QStringList(QStringLiteral("2024-02-29T23:59:58Z")));
    EXPECT_TRUE(texts(xml, QStringLiteral("Producer")).isEmpty());
    EXPECT_FALSE(xml.contains("Old "));
}

TEST(PDFMetadata, EverythingElseStays) {
    const QByteArray xml = PDFMetadataWith(packet(oldDescriptions), newAttributes());
    EXPECT_EQ(texts(xml, QStringLiteral("rights")), QStringList(QStringLiteral("kept rights")));
    EXPECT_TRUE(xml.contains("Rating=\"5\""));
    EXPECT_TRUE(xml.startsWith("<?xpacket begin=\"\xEF\xBB\xBF\""));
    EXPECT_TRUE(xml.trimmed().endsWith("<?xpacket end=\"w\"?>"));
    EXPECT_EQ(xml.count("about=\"uuid:1\""), 3);
}

TEST(PDFMetadata, AbsentAttributesAreRemoved) {
    const QByteArray xml = PDFMetadataWith(packet(oldDescriptions), {});
    for (const char *name : {"title", "CreatorTool", "CreateDate", "Producer"})
        EXPECT_TRUE(texts(xml, QString::fromLatin1(name)).isEmpty()) << name;
    EXPECT_FALSE(xml.contains("Old "));
    EXPECT_EQ(texts(xml, QStringLiteral("rights")).size(), 1);
}

TEST(PDFMetadata, ChangingTwiceLeavesOneOfEach) {
    const QByteArray once = PDFMetadataWith(packet(oldDescriptions), newAttributes());
    const QByteArray twice = PDFMetadataWith(once, newAttributes());
    EXPECT_EQ(texts(twice, QStringLiteral("title")).size(), 1);
    EXPECT_EQ(texts(twice, QStringLiteral("CreatorTool")).size(), 1);
}

TEST(PDFMetadata, CharactersThatXmlCannotHoldAreReplaced) {
    const QByteArray xml =
        PDFMetadataWith(packet(oldDescriptions),
                        {{PDFDocumentTitleAttribute, QString(QChar(0)) + QStringLiteral("a\u0001b")}});
    EXPECT_EQ(texts(xml, QStringLiteral("title")), QStringList(QStringLiteral("\uFFFDa\uFFFDb")));
}

TEST(PDFMetadata, WhatIsNoPacketIsRefused) {
    for (const QByteArray &xml : {QByteArray(), QByteArray("words"), QByteArray("<a/>"), packet("<open>"),
                                  QByteArray("<!DOCTYPE a [<!ENTITY b \"c\">]>") + packet("&b;")})
        EXPECT_TRUE(PDFMetadataWith(xml, newAttributes()).isNull()) << xml.constData();
}

TEST(PDFMetadata, APacketInUtf16IsRead) {
    const QString text = QString::fromUtf8(packet(oldDescriptions));
    QByteArray bytes = "\xFF\xFE";
    bytes.append(reinterpret_cast<const char *>(text.utf16()), text.size() * 2);
    EXPECT_EQ(texts(PDFMetadataWith(bytes, newAttributes()), QStringLiteral("CreatorTool")).size(), 1);
}

TEST(PDFMetadata, DocumentsKeepItInStepWithTheirAttributes) {
    PDFDocument document(documentWith(packet(oldDescriptions)));
    document.setDocumentAttributes(newAttributes());
    const QByteArray data = document.dataRepresentation();
    EXPECT_TRUE(isSound(data));
    EXPECT_EQ(PDFDocument(data).documentAttributes(), newAttributes());
    const QByteArray xml =
        output(QStringLiteral("pdfinfo"), {QStringLiteral("-meta"), QStringLiteral("@")}, data);
    EXPECT_EQ(texts(xml, QStringLiteral("title")), QStringList(QStringLiteral("T <&> \u05E9\U0001F600")));
    EXPECT_EQ(texts(xml, QStringLiteral("CreatorTool")), QStringList(QStringLiteral("New creator")));
    EXPECT_FALSE(data.contains("Old "));
}

TEST(PDFMetadata, DocumentsLoseAPacketThatCannotBeKeptInStep) {
    for (const QByteArray &data :
         {documentWith("Old title, not XML"), documentWith("Old title", "/Filter /FlateDecode"),
          documentWith(packet("<rdf:Description><dc:title>Old title</dc:title>"))}) {
        PDFDocument document(data);
        ASSERT_FALSE(document.isNil());
        document.setDocumentAttributes(newAttributes());
        const QByteArray written = document.dataRepresentation();
        EXPECT_TRUE(isSound(written));
        EXPECT_FALSE(written.contains("/Metadata"));
        EXPECT_FALSE(written.contains("Old title"));
    }
}

TEST(PDFMetadata, DocumentsWithoutAnyGetNone) {
    PDFDocument document(sampleDocument());
    document.setDocumentAttributes(newAttributes());
    EXPECT_FALSE(document.dataRepresentation().contains("/Metadata"));
}
