// SPDX-License-Identifier: MIT
#include "platform/documents/WebArchive.h"

#include "platform/archive/NSPropertyList.h"

#include <QVariantMap>
#include <gtest/gtest.h>

using namespace zr;

namespace {

QByteArray part(const QByteArray &header, const QByteArray &body) {
    return "--b\r\n" + header + "\r\n\r\n" + body + "\r\n";
}

std::optional<WebArchive> related(const QByteArrayList &parts, const QByteArray &more = {}) {
    return WebArchive::archiveWithData("MIME-Version: 1.0\r\nContent-Type: multipart/related; boundary=b" +
                                       more + "\r\n\r\n" + parts.join() + "--b--\r\n");
}

QVariantMap resource(const char *url, const char *type, const QByteArray &data,
                     const char *encoding = nullptr) {
    QVariantMap map{{QStringLiteral("WebResourceURL"), QString::fromUtf8(url)},
                    {QStringLiteral("WebResourceMIMEType"), QString::fromUtf8(type)},
                    {QStringLiteral("WebResourceData"), data}};
    if (encoding)
        map.insert(QStringLiteral("WebResourceTextEncodingName"), QString::fromUtf8(encoding));
    return map;
}

std::optional<WebArchive> listed(const QVariantMap &root) {
    return WebArchive::archiveWithData(NSPropertyList::dataFromPropertyList(root));
}

const QString mainKey = QStringLiteral("WebMainResource");
const QString subKey = QStringLiteral("WebSubresources");
const QString framesKey = QStringLiteral("WebSubframeArchives");

} // namespace

TEST(WebArchive, MIMEMainResourceIsTheFirstPartAndKeepsItsAddress) {
    const auto archive =
        related({part("Content-Type: text/html; charset=\"koi8-r\"\r\nContent-Location: "
                      "http://a.example/dir/page.html",
                      "<img src=i.png>"),
                 part("Content-Type: image/png\r\nContent-Location: http://a.example/dir/i.png\r\n"
                      "Content-Transfer-Encoding: base64",
                      "UE5H")});
    ASSERT_TRUE(archive);
    EXPECT_EQ(archive->mainResource().url, "http://a.example/dir/page.html");
    EXPECT_EQ(archive->mainResource().contentType(), "text/html; charset=koi8-r");
    EXPECT_EQ(archive->mainResource().data, "<img src=i.png>");
    const WebResource *picture = archive->resourceForURL("http://a.example/dir/i.png");
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->data, "PNG");
    EXPECT_EQ(picture->contentType(), "image/png");
    EXPECT_EQ(archive->resourceForURL("http://a.example/dir/j.png"), nullptr);
}

TEST(WebArchive, StartParameterNamesTheMainResource) {
    const auto archive =
        related({part("Content-Type: text/css\r\nContent-Location: http://a.example/s.css", "p{}"),
                 part("Content-Type: text/html\r\nContent-ID: <root@x>", "<p>root")},
                "; start=\"<root@x>\"");
    ASSERT_TRUE(archive);
    EXPECT_EQ(archive->mainResource().data, "<p>root");
    EXPECT_NE(archive->resourceForURL("http://a.example/s.css"), nullptr);
}

TEST(WebArchive, RichestAlternativeIsTheMainResource) {
    const auto archive = WebArchive::archiveWithData(
        "MIME-Version: 1.0\nContent-Type: multipart/related; boundary=o\n\n--o\nContent-Type: "
        "multipart/alternative; "
        "boundary=i\n\n--i\nContent-Type: text/plain\n\nplain\n--i\nContent-Type: text/html\n\n<img "
        "src=\"cid:p@x\">\n"
        "--i--\n--o\nContent-Type: image/gif\nContent-ID: <p@x>\n\nGIF\n--o--");
    ASSERT_TRUE(archive);
    const QByteArray html = archive->mainResource().data;
    ASSERT_TRUE(html.startsWith("<img src=\"https://")) << html.constData();
    const WebResource *picture = archive->resourceForURL(html.mid(10, html.indexOf('"', 10) - 10));
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->data, "GIF");
}

TEST(WebArchive, ContentIDsBecomeAddressesInPagesAndStyleSheets) {
    const auto archive = related(
        {part("Content-Type: text/html\r\nContent-Location: https://a.example/",
              "<link href=\"cid:css-1@x\"><iframe src=\"cid:frame%401\"></iframe><p>cid:css-1@x"),
         part("Content-Type: text/css\r\nContent-Location: cid:css-1@x", "p{background:url(cid:bg)}"),
         part("Content-Type: text/html\r\nContent-ID: <frame@1>\r\nContent-Location: https://b.example/f",
              "<p>framed"),
         part("Content-Type: image/png\r\nContent-ID: <bg>", "PNG")});
    ASSERT_TRUE(archive);
    const QByteArray html = archive->mainResource().data;
    EXPECT_TRUE(html.contains("src=\"https://b.example/f\"")) << html.constData();
    EXPECT_TRUE(html.endsWith("<p>cid:css-1@x"));
    const qsizetype at = html.indexOf("href=\"") + 6;
    const WebResource *css = archive->resourceForURL(html.mid(at, html.indexOf('"', at) - at));
    ASSERT_NE(css, nullptr);
    ASSERT_TRUE(css->data.startsWith("p{background:url(https://"));
    const WebResource *picture = archive->resourceForURL(css->data.mid(17, css->data.indexOf(')') - 17));
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->data, "PNG");
}

TEST(WebArchive, FramesOfOneAddressAreToldApartByContentID) {
    const auto archive = related(
        {part("Content-Type: text/html\r\nContent-Location: https://a.example/",
              "<iframe src=\"cid:f1\"></iframe><iframe src=\"cid:f2\"></iframe>"),
         part("Content-Type: text/html\r\nContent-ID: <f1>\r\nContent-Location: https://b.example/f", "one"),
         part("Content-Type: text/html\r\nContent-ID: <f2>\r\nContent-Location: https://b.example/f",
              "two")});
    ASSERT_TRUE(archive);
    const QByteArray html = archive->mainResource().data;
    const qsizetype first = html.indexOf("src=\"") + 5, second = html.lastIndexOf("src=\"") + 5;
    const WebResource *one = archive->resourceForURL(html.mid(first, html.indexOf('"', first) - first));
    const WebResource *two = archive->resourceForURL(html.mid(second, html.indexOf('"', second) - second));
    ASSERT_TRUE(one && two);
    EXPECT_EQ(one->data, "one");
    EXPECT_EQ(two->data, "two");
}

TEST(WebArchive, RelativeLocationsResolveAgainstBasesAndTheMainResource) {
    const auto archive = related(
        {part("Content-Type: text/html\r\nContent-Location: http://a.example/d/p.html", "x"),
         part("Content-Type: image/png\r\nContent-Location: i.png", "1"),
         part("Content-Type: image/png\r\nContent-Base: http://b.example/e/\r\nContent-Location: ../j.png",
              "2")});
    ASSERT_TRUE(archive);
    ASSERT_NE(archive->resourceForURL("http://a.example/d/i.png"), nullptr);
    ASSERT_NE(archive->resourceForURL("http://b.example/j.png"), nullptr);
    const auto nameless = related({part("Content-Type: text/html", "<img src=i.png>"),
                                   part("Content-Type: image/png\r\nContent-Location: i.png", "1")});
    ASSERT_TRUE(nameless);
    EXPECT_EQ(nameless->mainResource().url, WebArchive::madeUpOrigin);
    EXPECT_NE(nameless->resourceForURL(QByteArray(WebArchive::madeUpOrigin) + "i.png"), nullptr);
}

TEST(WebArchive, FileAddressesMoveToTheMadeUpHost) {
    const auto archive =
        related({part("Content-Type: text/html\r\nContent-Location: file:///C:/My%20Docs/p.htm",
                      "<base href=\"file:///C:/My%20Docs/\"><img src=\"file:///C:/My%20Docs/i.png\"><a "
                      "href=\"file:///etc/passwd\">"),
                 part("Content-Type: image/png\r\nContent-Location: file:///C:/My%20Docs/i.png", "PNG")});
    ASSERT_TRUE(archive);
    EXPECT_EQ(archive->mainResource().url, "https://archive.invalid/C:/My%20Docs/p.htm");
    EXPECT_EQ(archive->mainResource().data, "<base href=\"https://archive.invalid/C:/My%20Docs/\"><img "
                                            "src=\"https://archive.invalid/C:/My%20Docs/i.png\"><a "
                                            "href=\"file:///etc/passwd\">");
    EXPECT_NE(archive->resourceForURL("https://archive.invalid/C:/My Docs/i.png"), nullptr);
    for (const WebResource &each : archive->resources())
        EXPECT_FALSE(each.url.startsWith("file:"));
}

TEST(WebArchive, LookupsDoNotMindSpelling) {
    const auto archive =
        related({part("Content-Type: text/html\r\nContent-Location: http://A.example:80/p%C3%A9#x", "p"),
                 part("Content-Type: image/png\r\nContent-Location: https://b.example", "1")});
    ASSERT_TRUE(archive);
    EXPECT_NE(archive->resourceForURL("http://a.example/p%c3%a9"), nullptr);
    EXPECT_NE(archive->resourceForURL("http://a.example/p\xC3\xA9#frag"), nullptr);
    EXPECT_NE(archive->resourceForURL("https://a.example/p%C3%A9"), nullptr);
    EXPECT_NE(archive->resourceForURL("https://b.example/"), nullptr);
    EXPECT_EQ(archive->resourceForURL("https://b.example/?q"), nullptr);
    EXPECT_EQ(archive->resourceForURL(""), nullptr);
}

TEST(WebArchive, UTF16PagesAreRewrittenToo) {
    const QString html = QStringLiteral("<img src=\"cid:a\">");
    const QByteArray utf16(reinterpret_cast<const char *>(html.utf16()), html.size() * 2);
    const auto archive =
        related({part("Content-Type: text/html; charset=utf-16le\r\nContent-Transfer-Encoding: base64",
                      utf16.toBase64()),
                 part("Content-Type: image/png\r\nContent-ID: <a>", "1")});
    ASSERT_TRUE(archive);
    EXPECT_TRUE(archive->mainResource().data.startsWith("<img src=\"https://"));
    EXPECT_EQ(archive->mainResource().contentType(), "text/html; charset=utf-8");
}

TEST(WebArchive, TypesThatNoHeaderFieldCanHoldAreLeftOut) {
    const auto typed = [](const char *type, const char *encoding) {
        return listed({{mainKey, resource("https://a.example/", "text/html", "x")},
                       {subKey, QVariantList{resource("https://a.example/b", type, "y", encoding)}}})
            ->resources()[1]
            .contentType();
    };
    EXPECT_EQ(typed("text/css", "koi8-r"), "text/css; charset=koi8-r");
    EXPECT_EQ(typed("text/css", "koi8-r\r\nRefresh: 0"), "text/css");
    EXPECT_EQ(typed("text/css", "\xC3\xA9"), "text/css");
    EXPECT_EQ(typed("text/css\nRefresh: 0", "koi8-r"), QByteArray());
}

TEST(WebArchive, MIMEMessagesThatAreNoArchive) {
    EXPECT_FALSE(related({}));
    EXPECT_FALSE(related({part("Content-Type: application/pdf", "%PDF-1.7")}));
    EXPECT_FALSE(related({part("Content-Type: text/html", "")}));
    EXPECT_FALSE(WebArchive::archiveWithData("plain text"));
    EXPECT_FALSE(WebArchive::archiveWithData(""));
    EXPECT_TRUE(related({part("Content-Type: application/octet-stream", "<html>x")}));
}

TEST(WebArchive, PropertyListsHoldMainResourceSubresourcesAndFrames) {
    const QVariantMap inner{{mainKey, resource("https://c.example/inner", "text/html", "inner")}};
    const QVariantMap frame{
        {mainKey, resource("https://b.example/frame", "text/html", "frame", "windows-1252")},
        {subKey, QVariantList{resource("https://b.example/i.gif", "image/gif", "GIF")}},
        {framesKey, QVariantList{inner}}};
    QVariantMap main = resource("https://a.example/", "text/html", "<p>main", "UTF-8");
    main.insert(QStringLiteral("WebResourceFrameName"), QStringLiteral(""));
    main.insert(QStringLiteral("WebResourceResponse"), QByteArray("ignored"));
    const auto archive =
        listed({{mainKey, main},
                {subKey, QVariantList{resource("https://a.example/s.css", "text/css", "p{}")}},
                {framesKey, QVariantList{frame}}});
    ASSERT_TRUE(archive);
    EXPECT_EQ(archive->resources().size(), 5u);
    EXPECT_EQ(archive->mainResource().contentType(), "text/html; charset=UTF-8");
    ASSERT_NE(archive->resourceForURL("https://b.example/frame"), nullptr);
    EXPECT_EQ(archive->resourceForURL("https://b.example/frame")->contentType(),
              "text/html; charset=windows-1252");
    EXPECT_NE(archive->resourceForURL("https://b.example/i.gif"), nullptr);
    EXPECT_NE(archive->resourceForURL("https://c.example/inner"), nullptr);
    EXPECT_NE(archive->resourceForURL("https://a.example/s.css"), nullptr);
}

TEST(WebArchive, XMLPropertyLists) {
    const auto archive = WebArchive::archiveWithData(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Example//DTD PLIST "
        "1.0//EN\" "
        "\"http://example.com/p.dtd\">\n<plist version=\"1.0\"><dict><key>WebMainResource</key><dict>"
        "<key>WebResourceData</key><data>\n\tPHA+eG1s\n</data><key>WebResourceMIMEType</key><string>text/"
        "html</string>"
        "<key>WebResourceURL</key><string>file:///Users/x/a%20b.html</string></dict></dict></plist>");
    ASSERT_TRUE(archive);
    EXPECT_EQ(archive->mainResource().data, "<p>xml");
    EXPECT_EQ(archive->mainResource().url, "https://archive.invalid/Users/x/a%20b.html");
}

TEST(WebArchive, PropertyListsThatAreNoArchive) {
    EXPECT_FALSE(listed({}));
    EXPECT_FALSE(listed({{mainKey, QStringLiteral("text")}}));
    EXPECT_FALSE(listed({{mainKey, resource("https://a.example/", "text/html", QByteArray(""))}}));
    EXPECT_FALSE(listed({{mainKey, resource("https://a.example/", "application/pdf", "%PDF-1.7")}}));
    EXPECT_FALSE(WebArchive::archiveWithData(NSPropertyList::dataFromPropertyList(QVariantList{1})));
    EXPECT_FALSE(WebArchive::archiveWithData("bplist00garbage"));
    EXPECT_FALSE(WebArchive::archiveWithData("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"));
    QVariantMap wrong = resource("https://a.example/", "text/html", "x");
    wrong.insert(QStringLiteral("WebResourceData"), QStringLiteral("text, not data"));
    EXPECT_FALSE(listed({{mainKey, wrong}}));
}

TEST(WebArchive, FramesBeyondTheDepthLimitAreNoArchive) {
    const auto nested = [](int depth) {
        QVariantMap archive{{mainKey, resource("https://a.example/", "text/html", "x")}};
        for (int i = 0; i < depth; ++i) {
            archive = {
                {mainKey, resource(QByteArray("https://a.example/" + QByteArray::number(i)).constData(),
                                   "text/html", "x")},
                {framesKey, QVariantList{archive}}};
        }
        return listed(archive);
    };
    EXPECT_TRUE(nested(10));
    EXPECT_FALSE(nested(40));
}
