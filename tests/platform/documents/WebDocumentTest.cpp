// SPDX-License-Identifier: MIT
#include "platform/documents/WebDocument.h"

#include <gtest/gtest.h>

namespace {

std::optional<WebDocument> document(const QByteArray &data, const QByteArray &mimeType = {},
                                    const QByteArray &charset = {}) {
    return WebDocument::documentWithData(data, mimeType, charset);
}

} // namespace

TEST(WebDocument, HTMLIsItsDecodedText) {
    const auto made = document("<p>caf\xE9 au lait");
    ASSERT_TRUE(made);
    EXPECT_EQ(made->text(), QString::fromUtf8("<p>café au lait"));
    EXPECT_EQ(made->mimeType(), "text/html");
    EXPECT_EQ(made->blankURL(), "about:blank");
    EXPECT_FALSE(made->archive());
}

TEST(WebDocument, WellFormedXMLIsParsedAsItsVocabulary) {
    const auto xhtml = document("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><html "
                                "xmlns=\"http://www.w3.org/1999/xhtml\"><body>\xE9<div/></body></html>");
    ASSERT_TRUE(xhtml);
    EXPECT_EQ(xhtml->mimeType(), "application/xhtml+xml");
    EXPECT_TRUE(xhtml->text().contains(QChar(0xE9)));
    const auto svg = document("<svg xmlns=\"http://www.w3.org/2000/svg\"/>");
    ASSERT_TRUE(svg);
    EXPECT_EQ(svg->mimeType(), "image/svg+xml");
    const auto feed = document("<?xml version=\"1.0\"?><rss/>");
    ASSERT_TRUE(feed);
    EXPECT_EQ(feed->mimeType(), "application/xml");
    EXPECT_TRUE(feed->blankURL().isEmpty());
    for (const auto &made : {xhtml, svg})
        EXPECT_TRUE(made->blankURL().startsWith("data:" + made->mimeType() + ","));
}

TEST(WebDocument, EntitiesOfTheXHTMLDoctypesAreKnown) {
    const QByteArray page = " PUBLIC \"-//W3C//DTD XHTML 1.0 Strict//EN\" \"x.dtd\"><html "
                            "xmlns=\"http://www.w3.org/1999/xhtml\"><body>&nbsp;&eacute;</body></html>";
    const auto made = document("<?xml version=\"1.0\"?><!DOCTYPE html" + page);
    ASSERT_TRUE(made);
    EXPECT_EQ(made->mimeType(), "application/xhtml+xml");
}

TEST(WebDocument, MalformedXMLIsReadAsHTML) {
    const auto xhtml =
        document("<?xml version=\"1.0\"?><html xmlns=\"http://www.w3.org/1999/xhtml\"><p>a<br>&nbsp;");
    ASSERT_TRUE(xhtml);
    EXPECT_EQ(xhtml->mimeType(), "text/html");
    const auto svg = document("<svg xmlns=\"http://www.w3.org/2000/svg\"><use xlink:href=\"#a\"/></svg>");
    ASSERT_TRUE(svg);
    EXPECT_EQ(svg->mimeType(), "text/html");
    EXPECT_TRUE(svg->text().contains(QStringLiteral("<svg xmlns")));
    const auto bomb =
        document("<?xml version=\"1.0\"?><!DOCTYPE svg [<!ENTITY a \"aaaaaaaaaaaaaaaaaaaa\"><!ENTITY b "
                 "\"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\"><!ENTITY c "
                 "\"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\">]><svg "
                 "xmlns=\"http://www.w3.org/2000/svg\"><text>&c;&c;&c;</text></svg>");
    ASSERT_TRUE(bomb);
    EXPECT_EQ(bomb->mimeType(), "text/html");
}

TEST(WebDocument, TextAndPicturesBecomeHTMLThatShowsThem) {
    const auto text = document("a < b");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->mimeType(), "text/html");
    EXPECT_TRUE(text->text().contains(QStringLiteral("a &lt; b")));
    const auto picture = document("GIF89a...");
    ASSERT_TRUE(picture);
    EXPECT_TRUE(picture->text().contains(QStringLiteral("src=\"data:image/gif;base64,R0lGODlhLi4u\"")));
}

TEST(WebDocument, AMIMETypeFromOutsideCountsMoreThanTheBytes) {
    EXPECT_TRUE(document("<p>x", "text/plain")->text().contains(QStringLiteral("&lt;p>x")));
    EXPECT_EQ(document("just text", "text/html")->text(), QStringLiteral("just text"));
    EXPECT_EQ(document("<p>x", "application/octet-stream")->text(), QStringLiteral("<p>x"));
    EXPECT_EQ(document("<p>\xC3\xA9", "text/html", "iso-8859-1")->text(), QString::fromUtf8("<p>Ã©"));
    EXPECT_FALSE(document("<p>x", "application/pdf"));
}

TEST(WebDocument, ArchivesAreServed) {
    const QByteArray message =
        "MIME-Version: 1.0\nContent-Type: multipart/related; boundary=b\n\n--b\nContent-Type: ";
    const auto page = document(message + "text/html\n\n<p>x\n--b--");
    ASSERT_TRUE(page);
    ASSERT_TRUE(page->archive());
    EXPECT_TRUE(page->text().isEmpty());
    const auto picture = document(message + "image/gif\n\nGIF89a\n--b--");
    ASSERT_TRUE(picture);
    EXPECT_FALSE(picture->archive());
    EXPECT_EQ(picture->mimeType(), "text/html");
}

TEST(WebDocument, WhatTheEngineCannotShowIsNoDocument) {
    EXPECT_FALSE(document(QByteArray()));
    EXPECT_FALSE(document(QByteArray("")));
    EXPECT_FALSE(document("%PDF-1.4"));
    EXPECT_FALSE(document(QByteArray("PK\3\4\0\0", 6)));
    EXPECT_FALSE(document("bplist00garbage"));
}
