// SPDX-License-Identifier: MIT
#include "platform/documents/WebDocument.h"

#include <QStringEncoder>
#include <gtest/gtest.h>

using namespace zr;

namespace {

std::optional<WebDocument> document(const QByteArray &data, const QByteArray &mimeType = {},
                                    const QByteArray &charset = {}) {
    return WebDocument::documentWithData(data, mimeType, charset);
}

} // namespace

TEST(WebDocument, HTMLIsItsDecodedText) {
    const auto made = document("<p>caf\xC3\xA9 au lait");
    ASSERT_TRUE(made);
    EXPECT_EQ(made->text(), QString::fromUtf8("<p>café au lait"));
    EXPECT_EQ(made->mimeType(), "text/html");
    EXPECT_EQ(made->blankURL(), "about:blank");
    EXPECT_FALSE(made->archive());
    EXPECT_TRUE(made->encodedData().isNull());
}

TEST(WebDocument, UTF8IsTextAtOnceUnlessAnotherEncodingIsClaimed) {
    for (const char *text :
         {"<p>\xC3\xA9", "<meta charset=utf-8><p>\xC3\xA9", "<META CHARSET = ' UTF8 '><p>\xC3\xA9",
          "<meta http-equiv=content-type content=\"text/html; charset=utf-8\"><p>\xC3\xA9",
          "<?xml version=\"1.0\" encoding=\"UTF-8\"?><svg "
          "xmlns=\"http://www.w3.org/2000/svg\">\xC3\xA9</svg>",
          "<p>the charset is \xC3\xA9", "<meta charset=koi8-r><p>ASCII", "<p>charset=big5 \xC3\xA9",
          "<meta charset=utf-8x><p>\xC3\xA9", "<meta charset><meta charset=\"\"><p charset=koi8-r>\xC3\xA9",
          "<!-- <meta charset=koi8-r> --><p>\xC3\xA9", "<meta name=x content='charset=koi8-r'><p>\xC3\xA9",
          "<title><meta charset=koi8-r></title><p title='<meta charset=koi8-r>'>\xC3\xA9"}) {
        const auto made = document(text);
        ASSERT_TRUE(made) << text;
        EXPECT_TRUE(made->encodedData().isNull()) << text;
        EXPECT_TRUE(made->text().contains(QString::fromUtf8(text))) << text;
    }
    for (const char *text :
         {"<meta charset=iso-8859-5><p>\xC3\xA9",
          "<META\nHTTP-EQUIV=content-type CONTENT='text/html;CHARSET = \"koi8-r\"'><p>\xC3\xA9",
          "<?xml version='1.0' encoding = 'big5' ?><p>\xC3\xA9", "<p>caf\xE9", "\x1B$B$\"\x1B(B",
          "<meta charset=utf-8>\xFF"}) {
        const auto made = document(text);
        ASSERT_TRUE(made) << text;
        EXPECT_EQ(made->encodedData(), text);
        EXPECT_TRUE(made->text().isNull() && made->mimeType().isEmpty()) << text;
    }
    const QByteArray style = "<style>" + QByteArray(5000, ' ') + "</style>",
                     meta = "<meta charset=koi8-r>\xC3\xA9";
    EXPECT_TRUE(document("<html><head>" + style + "</head><body>" + meta)->encodedData().isNull());
    EXPECT_FALSE(document("<html><head>" + style + meta + "</head><body>")->encodedData().isNull());
    EXPECT_FALSE(document("<html><head></head><body>" + meta)->encodedData().isNull());
    // Nothing in plain text is a declaration.
    EXPECT_EQ(document("charset=koi8-r \xC3\xA9")->mimeType(), "text/html");
}

TEST(WebDocument, ByteOrderMarksAndUTF16AreTextAtOnceWhateverIsClaimed) {
    const QString text = QString::fromUtf8("<meta charset=koi8-r><p>é 日本 😀");
    for (const auto form : {QStringConverter::Utf8, QStringConverter::Utf16LE, QStringConverter::Utf16BE,
                            QStringConverter::Utf32LE, QStringConverter::Utf32BE}) {
        QStringEncoder encoder(form, QStringConverter::Flag::WriteBom);
        const QByteArray bytes = encoder(text);
        EXPECT_EQ(document(bytes)->text(), text);
        EXPECT_EQ(document(bytes, "text/html", "koi8-r")->text(), text);
    }
    for (const auto form : {QStringConverter::Utf16LE, QStringConverter::Utf16BE}) {
        QStringEncoder encoder(form);
        const QByteArray bytes = encoder(text);
        EXPECT_EQ(document(bytes)->text(), text);
        EXPECT_EQ(document(bytes, "text/html", "utf-16")->encodedType(), "text/html; charset=utf-16");
    }
    EXPECT_EQ(document("\xEF\xBB\xBF"
                       "a\xFF"
                       "b",
                       "text/html")
                  ->text(),
              QString::fromUtf8("a\uFFFDb"));
    EXPECT_EQ(document(QByteArray("\xFF\xFE<\0p", 5), "text/html")->text(), QString::fromUtf8("<\uFFFD"));
    const auto empty = document("\xEF\xBB\xBF", "text/html");
    EXPECT_TRUE(empty->text().isEmpty() && empty->encodedData().isNull());
}

TEST(WebDocument, TheCharsetFromOutsideGoesToTheEngine) {
    EXPECT_EQ(document("<p>x", "text/html", "koi8-r")->encodedType(), "text/html; charset=koi8-r");
    EXPECT_EQ(document("x", "text/css", "koi8-r")->encodedType(), "text/plain; charset=koi8-r");
    EXPECT_EQ(document("<svg/>", "image/svg+xml", "latin1")->encodedType(), "text/html; charset=latin1");
    EXPECT_EQ(document("\xC3\xA9", "text/html", " UTF-8 ")->text(), QString::fromUtf8("é"));
    EXPECT_EQ(document("\xFF", "text/html", "utf-8")->encodedType(), "text/html; charset=utf-8");
    // What no header field can hold is left out.
    EXPECT_EQ(document("\xFF", "text/html", "koi8-r\r\nRefresh: 0")->encodedType(), "text/html");
}

TEST(WebDocument, OnceDecodedADocumentIsWhatItsKindMakesOfTheText) {
    const QString xhtml = QString::fromUtf8("<html xmlns=\"http://www.w3.org/1999/xhtml\">é</html>");
    EXPECT_EQ(document("\xE9", "application/xhtml+xml")->decoded(xhtml).mimeType(), "application/xhtml+xml");
    EXPECT_EQ(document("\xE9", "application/xhtml+xml")->decoded(QStringLiteral("<p>")).mimeType(),
              "text/html");
    const WebDocument text = document("\xE9 <")->decoded(QString::fromUtf8("é <"));
    EXPECT_TRUE(text.text().contains(QString::fromUtf8("\né &lt;</pre>")));
    EXPECT_TRUE(text.encodedData().isNull());
}

TEST(WebDocument, WellFormedXMLIsParsedAsItsVocabulary) {
    const auto xhtml = document("<?xml version=\"1.0\" encoding=\"utf-8\"?><html "
                                "xmlns=\"http://www.w3.org/1999/xhtml\"><body>\xC3\xA9<div/></body></html>");
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
