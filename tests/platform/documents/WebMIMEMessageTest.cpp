// SPDX-License-Identifier: MIT
#include "platform/documents/WebMIMEMessage.h"

#include <gtest/gtest.h>

using namespace zr;

namespace {

WebMIMEPart read(const QByteArray &data) {
    const auto message = WebMIMEMessage::messageWithData(data);
    EXPECT_TRUE(message.has_value());
    return message.value_or(WebMIMEPart());
}

} // namespace

TEST(WebMIMEMessage, PartsBetweenBoundaries) {
    for (const QByteArray &end : {QByteArray("\n"), QByteArray("\r\n")}) {
        QByteArray data =
            "Content-Type: multipart/related; boundary=\"b\"\n\npreamble\n--b\nContent-Type: "
            "text/html\n\n<p>one\n\n--b \nContent-Type: text/css\n\nx--b\n--bb\n\n--b--\nepilogue\n--b\n\nno";
        data.replace("\n", end);
        const WebMIMEPart message = read(data);
        ASSERT_EQ(message.parts.size(), 2u);
        EXPECT_EQ(message.parts[0].type, "text/html");
        EXPECT_EQ(message.parts[0].body, "<p>one" + end);
        EXPECT_EQ(message.parts[1].body, "x--b" + end + "--bb" + end);
    }
}

TEST(WebMIMEMessage, MissingLastBoundaryEndsWithTheData) {
    const WebMIMEPart message =
        read("Content-Type: multipart/related; boundary=b\n\n--b\n\nfirst\n--b\n\nsecond\nend");
    ASSERT_EQ(message.parts.size(), 2u);
    EXPECT_EQ(message.parts[1].body, "second\nend");
    EXPECT_EQ(message.parts[1].type, "text/plain");
}

TEST(WebMIMEMessage, MultipartsWithinMultiparts) {
    const WebMIMEPart message =
        read("Content-Type: multipart/mixed; boundary=outer\n\n--outer\nContent-Type: multipart/alternative; "
             "boundary=inner\n\n--inner\n\ntext\n--inner\nContent-Type: "
             "text/html\n\n<p>\n--inner--\n--outer\n\nlast\n"
             "--outer--");
    ASSERT_EQ(message.parts.size(), 2u);
    ASSERT_EQ(message.parts[0].parts.size(), 2u);
    EXPECT_EQ(message.parts[0].parts[1].body, "<p>");
    EXPECT_EQ(message.parts[1].body, "last");
}

TEST(WebMIMEMessage, HeaderFieldsAreUnfoldedAndCaseless) {
    const WebMIMEPart message =
        read("FROM: x\r\ncontent-TYPE: Multipart/Related;\r\n\tstart=\"<a@b>\";\r\n "
             "type=\"text/html\"; (a comment) boundary = \"=_;x \\\" y\"\r\n\r\n--=_;x \" y\r\n"
             "Content-ID: < id@host >\r\nContent-Location:\r\n http://a.example/long/\r\n path\r\n\r\nx");
    EXPECT_EQ(message.type, "multipart/related");
    EXPECT_EQ(message.parameters.value("start"), "<a@b>");
    EXPECT_EQ(message.parameters.value("boundary"), "=_;x \" y");
    ASSERT_EQ(message.parts.size(), 1u);
    EXPECT_EQ(message.parts[0].contentID, "id@host");
    EXPECT_EQ(message.parts[0].location, "http://a.example/long/path");
}

TEST(WebMIMEMessage, ExtendedParameters) {
    const WebMIMEPart message =
        read("Content-Type: text/html; charset*=us-ascii'en'utf%2D8; boundary*0=\"a\"; "
             "boundary*1*=%62; boundary*2=c\n\nx");
    EXPECT_EQ(message.parameters.value("charset"), "utf-8");
    EXPECT_EQ(message.parameters.value("boundary"), "abc");
    EXPECT_EQ(message.body, "x");
}

TEST(WebMIMEMessage, TransferEncodings) {
    EXPECT_EQ(read("Content-Transfer-Encoding: Quoted-Printable\n\na=3Db=\nc=C3=A9 \t\n=zz=\r\nd").body,
              "a=bc\xC3\xA9\n=zzd");
    EXPECT_EQ(read("Content-Transfer-Encoding: base64\r\n\r\nSGVs\r\nbG8=\r\n").body, "Hello");
    EXPECT_EQ(read("Content-Transfer-Encoding: 8bit\n\n\xE9=3D").body, "\xE9=3D");
    EXPECT_EQ(read(QByteArray("Content-Transfer-Encoding: binary\n\n\0\1=", 38)).body,
              QByteArray("\0\1=", 3));
    EXPECT_EQ(read("Content-Transfer-Encoding: 7bit (really)\n\nx").body, "x");
}

TEST(WebMIMEMessage, QuotedPrintableKeepsLineEnds) {
    EXPECT_EQ(WebMIMEMessage::decodeQuotedPrintable("a\r\nb\nc"), "a\r\nb\nc");
    EXPECT_EQ(WebMIMEMessage::decodeQuotedPrintable("=41=6a=4A=="), "AjJ=");
    EXPECT_EQ(WebMIMEMessage::decodeQuotedPrintable("="), "");
    EXPECT_EQ(WebMIMEMessage::decodeQuotedPrintable("=4"), "=4");
    EXPECT_EQ(WebMIMEMessage::decodeQuotedPrintable(""), "");
}

TEST(WebMIMEMessage, EncodedWords) {
    EXPECT_EQ(WebMIMEMessage::decodeEncodedWords("=?utf-8?Q?caf=C3=A9_au?="), "caf\xC3\xA9 au");
    EXPECT_EQ(WebMIMEMessage::decodeEncodedWords("a =?ISO-8859-1?q?=E9?= =?utf-8*fr?B?w6k=?= b"),
              "a \xC3\xA9\xC3\xA9 b");
    EXPECT_EQ(WebMIMEMessage::decodeEncodedWords("=?none?Q?x?= =?utf-8?X?x?= =?"),
              "=?none?Q?x?= =?utf-8?X?x?= =?");
    EXPECT_EQ(read("Content-Location: =?us-ascii?Q?http=3A//a.exa?=\n =?us-ascii?Q?mple/x?=\n\n").location,
              "http://a.example/x");
}

TEST(WebMIMEMessage, ForwardedMessagesAreOpened) {
    const WebMIMEPart message = read("Content-Type: message/rfc822\n\nContent-Type: text/html\n\n<p>");
    ASSERT_EQ(message.parts.size(), 1u);
    EXPECT_EQ(message.parts[0].type, "text/html");
    EXPECT_EQ(message.parts[0].body, "<p>");
}

TEST(WebMIMEMessage, HostileMessagesEnd) {
    QByteArray deep;
    for (int i = 0; i < 1000; ++i) {
        const QByteArray boundary = "b" + QByteArray::number(i) + "x";
        deep += "Content-Type: multipart/mixed; boundary=" + boundary + "\n\n--" + boundary + "\n";
    }
    EXPECT_FALSE(WebMIMEMessage::messageWithData(deep).has_value());
    QByteArray wide = "Content-Type: multipart/mixed; boundary=b\n\n";
    for (int i = 0; i < 50000; ++i)
        wide += "--b\n\n";
    EXPECT_FALSE(WebMIMEMessage::messageWithData(wide).has_value());
    EXPECT_FALSE(WebMIMEMessage::messageWithData("Content-Type: multipart/mixed\n\nx").has_value());
    EXPECT_TRUE(read(QByteArray()).body.isEmpty());
    EXPECT_TRUE(read("Content-Type: multipart/mixed; boundary=b\n\n--b").parts.empty() ||
                read("Content-Type: multipart/mixed; boundary=b\n\n--b").parts[0].body.isEmpty());
}
