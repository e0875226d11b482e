// SPDX-License-Identifier: MIT
#include "platform/documents/WebDocumentSniffer.h"

#include <QStringEncoder>
#include <gtest/gtest.h>

using namespace zr;

using Kind = WebDocumentKind;

namespace {

template <size_t N>
QByteArray raw(const char (&text)[N]) {
    return QByteArray(text, N - 1);
}

Kind kind(const QByteArray &data) {
    return WebDocumentSniffer::kindOfData(data);
}

QByteArray inUTF(QStringEncoder::Encoding encoding, const char *text) {
    QStringEncoder encoder(encoding, QStringEncoder::Flag::WriteBom);
    return encoder(QString::fromUtf8(text));
}

} // namespace

TEST(WebDocumentSniffer, HTMLBeginsWithItsDoctypeOrAnElementOfItsOwn) {
    for (const char *html : {"<!DOCTYPE html><p>x",
                             "<!doctype HTML public \"-//W3C//DTD HTML 4.01//EN\"><title>x",
                             "<html>",
                             "<HTML lang=en>",
                             "<head>",
                             "<script>1</script>",
                             "<iframe src=x>",
                             "<h1>x</h1>",
                             "<div class=a>",
                             "<font>",
                             "<table>",
                             "<a href=x>",
                             "<style>",
                             "<title>x",
                             "<b>",
                             "<body>",
                             "<br>",
                             "<br/>",
                             "<p>",
                             "<!-- comment --> x",
                             "  \n\t<p>indented",
                             "<ul><li>x",
                             "<img src=x>",
                             "<meta charset=utf-8>",
                             "<section>",
                             "<span>x</span>",
                             "<svg width=1>",
                             "<!-- a --><!-- b --><html>",
                             "<?php echo ?><html>",
                             "<?xml:namespace prefix = o ns = \"urn:x\" /><p>x<?php ?>"})
        EXPECT_EQ(kind(html), Kind::HTML) << html;
    for (const char *text : {"< p>", "<pq>", "<unknown>", "<3 you", "a <p>", "<"})
        EXPECT_EQ(kind(text), Kind::PlainText) << text;
}

TEST(WebDocumentSniffer, XHTMLHasAnXMLDeclarationAndItsNamespace) {
    EXPECT_EQ(kind("<?xml version=\"1.0\"?><html xmlns=\"http://www.w3.org/1999/xhtml\"><body/></html>"),
              Kind::XHTML);
    EXPECT_EQ(
        kind("<?xml version='1.0' encoding='utf-8'?>\n<!-- > --><?pi x?>\n<!DOCTYPE html PUBLIC "
             "\"-//W3C//DTD XHTML 1.0 Strict//EN\" \"http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd\" [\n"
             "<!ENTITY x \"y>\">]>\n<html\n  xmlns='http://www.w3.org/1999/xhtml' lang='en'>"),
        Kind::XHTML);
    EXPECT_EQ(kind("<?xml version=\"1.0\"?><h:html xmlns:h=\"http://www.w3.org/1999/xhtml\"/>"), Kind::XHTML);
    // Without a declaration such pages are served, and written, as HTML.
    EXPECT_EQ(kind("<html xmlns=\"http://www.w3.org/1999/xhtml\"><body/></html>"), Kind::HTML);
    EXPECT_EQ(kind("<?xml version=\"1.0\"?><html><body></html>"), Kind::HTML);
    EXPECT_EQ(kind("<?xml version=\"1.0\"?><!DOCTYPE html><HTML>"), Kind::HTML);
}

TEST(WebDocumentSniffer, SVGRootBehindDeclarationCommentsAndDoctype) {
    EXPECT_EQ(kind("<svg xmlns=\"http://www.w3.org/2000/svg\"/>"), Kind::SVG);
    EXPECT_EQ(kind("<?xml version=\"1.0\"?>\n<!-- Made by > hand -->\n<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG "
                   "1.1//EN\" "
                   "\"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd\">\n<svg width='1'\n "
                   "xmlns='http://www.w3.org/2000/svg'>"),
              Kind::SVG);
    EXPECT_EQ(kind("<s:svg xmlns:s='http://www.w3.org/2000/svg'/>"), Kind::SVG);
    EXPECT_EQ(kind("<!--" + QByteArray(100000, 'x') + "--><svg xmlns='http://www.w3.org/2000/svg'>"),
              Kind::SVG);
    EXPECT_EQ(kind("<!DOCTYPE svg [<!ENTITY a 'b]'> ]><svg xmlns='http://www.w3.org/2000/svg'>"), Kind::SVG);
    EXPECT_EQ(kind("<p><svg xmlns='http://www.w3.org/2000/svg'/>"), Kind::HTML);
}

TEST(WebDocumentSniffer, OtherXML) {
    EXPECT_EQ(kind("<?xml version=\"1.0\"?><rss version=\"2.0\"/>"), Kind::XML);
    EXPECT_EQ(kind("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict/></plist>"),
              Kind::PropertyListArchive);
    EXPECT_EQ(kind("<plist><dict/></plist>"), Kind::PlainText);
    EXPECT_EQ(kind("<!DOCTYPE plist PUBLIC \"x\" \"y\"><plist version=\"1.0\">"), Kind::PropertyListArchive);
}

TEST(WebDocumentSniffer, PicturesByTheirSignatures) {
    EXPECT_EQ(kind(raw("\x89PNG\r\n\x1A\n\0\0\0\rIHDR")), Kind::PNG);
    EXPECT_EQ(kind(raw("\xFF\xD8\xFF\xE0\0\x10JFIF")), Kind::JPEG);
    EXPECT_EQ(kind("GIF87a..."), Kind::GIF);
    EXPECT_EQ(kind("GIF89a..."), Kind::GIF);
    EXPECT_EQ(kind(raw("RIFF\x20\0\0\0WEBPVP8 xxxx")), Kind::WebP);
    EXPECT_EQ(kind(raw("BM\x46\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\2\0\0\0\2\0\0\0")), Kind::BMP);
    EXPECT_EQ(kind(raw("\0\0\1\0\1\0\x10\x10\0\0\1\0\x20\0\x68\4\0\0\x16\0\0\0x")), Kind::ICO);
    EXPECT_EQ(kind(raw("\0\0\0\x1C"
                       "ftypavif\0\0\0\0mif1")),
              Kind::AVIF);
    EXPECT_EQ(kind(raw("\xFF\x0A\xFA\x7F\0")), Kind::JXL);
    EXPECT_EQ(kind(raw("\0\0\0\x0CJXL \r\n\x87\n\0")), Kind::JXL);
    EXPECT_EQ(kind("BMW is a maker of cars, and this is a text"), Kind::PlainText);
    EXPECT_EQ(kind(raw("RIFF\x20\0\0\0WAVEfmt xxxx")), Kind::Unsupported);
    for (const Kind picture :
         {Kind::PNG, Kind::JPEG, Kind::GIF, Kind::WebP, Kind::BMP, Kind::ICO, Kind::AVIF, Kind::JXL})
        EXPECT_TRUE(WebDocumentSniffer::isPicture(picture));
    EXPECT_FALSE(WebDocumentSniffer::isPicture(Kind::SVG));
    EXPECT_FALSE(WebDocumentSniffer::isPicture(Kind::MHTML));
}

TEST(WebDocumentSniffer, WhatTheEngineCannotShow) {
    EXPECT_EQ(kind(QByteArray()), Kind::Unsupported);
    EXPECT_EQ(kind(QByteArray("")), Kind::Unsupported);
    EXPECT_EQ(kind("%PDF-1.7\n1 0 obj"), Kind::Unsupported);
    EXPECT_EQ(kind("%!PS-Adobe-3.0"), Kind::Unsupported);
    EXPECT_EQ(kind("{\\rtf1\\ansi hello}"), Kind::Unsupported);
    EXPECT_EQ(kind(raw("PK\3\4\x14\0\0\0")), Kind::Unsupported);
    EXPECT_EQ(kind(raw("\x1F\x8B\x08\0\0\0\0\0")), Kind::Unsupported);
    EXPECT_EQ(kind(raw("ID3\3\0\0\0\0\0\0")), Kind::Unsupported);
    EXPECT_EQ(kind(raw("OggS\0\2\0\0")), Kind::Unsupported);
    EXPECT_EQ(kind(raw("\0\0\0\x20"
                       "ftypisom\0\0\2\0isomiso2")),
              Kind::Unsupported);
    EXPECT_EQ(kind(raw("\x1A\x45\xDF\xA3webm")), Kind::Unsupported);
    EXPECT_EQ(kind(raw("\x7F"
                       "ELF\2\1\1\0")),
              Kind::Unsupported);
    EXPECT_EQ(kind(raw("MZ\x90\0\3\0\0\0")), Kind::Unsupported);
    EXPECT_EQ(kind(raw("wOF2\0\1\0\0")), Kind::Unsupported);
}

TEST(WebDocumentSniffer, TextIsWhatHasNoBinaryBytesAtItsStart) {
    EXPECT_EQ(kind("Just some text."), Kind::PlainText);
    EXPECT_EQ(kind("{\"json\": true}"), Kind::PlainText);
    EXPECT_EQ(kind("\x1B$B$\"\x1B(B tabs\t and \f form feeds"), Kind::PlainText);
    EXPECT_EQ(kind(QByteArray("caf\xE9 \xFF\x80")), Kind::PlainText);
    for (int byte = 0; byte < 0x20; ++byte) {
        const bool isBinary = byte <= 8 || byte == 0x0B || (byte >= 0x0E && byte <= 0x1A) || byte >= 0x1C;
        EXPECT_EQ(kind(QByteArray("some text") + char(byte) + "more"),
                  isBinary ? Kind::Unsupported : Kind::PlainText)
            << byte;
    }
    EXPECT_EQ(kind(QByteArray(1444, 'x') + '\0'), Kind::Unsupported);
    EXPECT_EQ(kind(QByteArray(1445, 'x') + '\0'), Kind::PlainText);
    EXPECT_EQ(kind(" "), Kind::PlainText);
}

TEST(WebDocumentSniffer, SeesThroughByteOrderMarksAndUTF16) {
    EXPECT_EQ(kind("\xEF\xBB\xBF<!DOCTYPE html>"), Kind::HTML);
    EXPECT_EQ(kind("\xEF\xBB\xBFtext"), Kind::PlainText);
    EXPECT_EQ(kind("\xEF\xBB\xBF<?xml version=\"1.0\"?><svg xmlns=\"http://www.w3.org/2000/svg\"/>"),
              Kind::SVG);
    for (const auto encoding : {QStringEncoder::Utf16LE, QStringEncoder::Utf16BE, QStringEncoder::Utf32LE,
                                QStringEncoder::Utf32BE}) {
        EXPECT_EQ(kind(inUTF(encoding, "<p>x")), Kind::HTML);
        EXPECT_EQ(kind(inUTF(encoding, "plain é")), Kind::PlainText);
        EXPECT_EQ(kind(inUTF(encoding, "<svg xmlns='http://www.w3.org/2000/svg'/>")), Kind::SVG);
    }
    EXPECT_EQ(kind(raw("<\0h\0t\0m\0l\0>\0")), Kind::HTML);
    EXPECT_EQ(kind(raw("\0<\0p\0>\0x")), Kind::HTML);
}

TEST(WebDocumentSniffer, MIMEMessages) {
    EXPECT_EQ(kind("From: <Saved>\r\nSubject: x\r\nMIME-Version: 1.0\r\nContent-Type: multipart/related;\r\n"
                   "\ttype=\"text/html\";\r\n\tboundary=\"b\"\r\n\r\n--b--"),
              Kind::MHTML);
    EXPECT_EQ(kind("\n\nContent-Type: multipart/related; boundary=b\n\n--b--"), Kind::MHTML);
    EXPECT_EQ(kind("MIME-Version: 1.0\nContent-Type: text/html\n\n<p>x"), Kind::MHTML);
    EXPECT_EQ(
        kind("From someone Sat Jan  1\nMIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=b\n\n--b"),
        Kind::MHTML);
    EXPECT_EQ(kind("Content-Type: multipart/related\n\nno boundary"), Kind::PlainText);
    EXPECT_EQ(kind("Note: this is a text\nContent-Type: text/html\n\nabout mail"), Kind::PlainText);
    EXPECT_EQ(kind("Dear reader\nContent-Type: multipart/related; boundary=b\n\n"), Kind::PlainText);
    EXPECT_EQ(kind("MIME-Version: 1.0\nContent-Type: text/plain\n\nx"), Kind::PlainText);
}

TEST(WebDocumentSniffer, BinaryPropertyLists) {
    EXPECT_EQ(kind(raw("bplist00\xD1\1\2\0")), Kind::PropertyListArchive);
}

TEST(WebDocumentSniffer, MIMETypes) {
    EXPECT_EQ(WebDocumentSniffer::kindOfMIMEType("text/html"), Kind::HTML);
    EXPECT_EQ(WebDocumentSniffer::kindOfMIMEType(" Text/HTML ; charset=utf-8"), Kind::HTML);
    EXPECT_EQ(WebDocumentSniffer::kindOfMIMEType("application/xhtml+xml"), Kind::XHTML);
    EXPECT_EQ(WebDocumentSniffer::kindOfMIMEType("image/svg+xml"), Kind::SVG);
    EXPECT_EQ(WebDocumentSniffer::kindOfMIMEType("application/atom+xml"), Kind::XML);
    EXPECT_EQ(WebDocumentSniffer::kindOfMIMEType("text/css"), Kind::PlainText);
    EXPECT_EQ(WebDocumentSniffer::kindOfMIMEType("application/json"), Kind::PlainText);
    EXPECT_EQ(WebDocumentSniffer::kindOfMIMEType("image/jpg"), Kind::JPEG);
    EXPECT_EQ(WebDocumentSniffer::kindOfMIMEType("multipart/related; boundary=x"), Kind::MHTML);
    EXPECT_EQ(WebDocumentSniffer::kindOfMIMEType("application/pdf"), Kind::Unsupported);
    EXPECT_EQ(WebDocumentSniffer::kindOfMIMEType("image/tiff"), Kind::Unsupported);
    EXPECT_EQ(WebDocumentSniffer::kindOfMIMEType(""), Kind::Unsupported);
    EXPECT_EQ(WebDocumentSniffer::mimeTypeOfKind(Kind::WebP), "image/webp");
    EXPECT_EQ(WebDocumentSniffer::mimeTypeOfKind(Kind::MHTML), QByteArray());
    EXPECT_EQ(WebDocumentSniffer::mimeTypeOfKind(Kind::Unsupported), QByteArray());
}
