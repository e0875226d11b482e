// SPDX-License-Identifier: MIT
#include "platform/web/WebArchiveServer.h"

#include "platform/archive/NSPropertyList.h"
#include "tests/platform/print/BrowserPage.h"
#include "tests/support/ListenOnLoopback.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

using namespace zr;

namespace {

/// Two pixels wide, three high.
const QByteArray png =
    QByteArray::fromBase64("iVBORw0KGgoAAAANSUhEUgAAAAIAAAADCAIAAAA2iEnWAAAAEElEQVR42mP4z8AARAwoFABE0AX7TM5x"
                           "DwAAAABJRU5ErkJggg==");

QByteArray part(const QByteArray &header, const QByteArray &body) {
    return "--b\r\n" + header + "\r\nContent-Transfer-Encoding: base64\r\n\r\n" + body.toBase64() + "\r\n";
}

WebArchive related(const QByteArrayList &parts) {
    const auto archive = WebArchive::archiveWithMIMEMessage(
        "MIME-Version: 1.0\r\nContent-Type: multipart/related; boundary=b\r\n\r\n" + parts.join() +
        "--b--\r\n");
    EXPECT_TRUE(archive.has_value());
    return archive.value_or(WebArchive());
}

QVariantMap resource(const char *url, const char *type, const QByteArray &data) {
    return {{QStringLiteral("WebResourceURL"), QString::fromUtf8(url)},
            {QStringLiteral("WebResourceMIMEType"), QString::fromUtf8(type)},
            {QStringLiteral("WebResourceData"), data}};
}

/// Which script-readable things a served page shows.
QString colourOf(BrowserPage &page, const char *selector) {
    return page
        .evaluate(QStringLiteral("getComputedStyle(document.querySelector('%1')).color")
                      .arg(QLatin1StringView(selector)))
        .toString();
}

QJsonArray widthsOfPictures(BrowserPage &page) {
    return page.evaluate(QStringLiteral("[...document.images].map(i => i.naturalWidth)")).toArray();
}

QString textOfFrame(BrowserPage &page, int index) {
    const QString origin =
        QStringLiteral("(async () => { const f = document.querySelectorAll('iframe')[%1]; "
                       "return f.contentDocument ? f.contentDocument.body.innerText : null })()");
    return page.evaluate(origin.arg(index)).toString();
}

/// Goes to the archive's page and waits for it.
void serve(BrowserPage &page, WebArchiveServer &server) {
    page.session().on("Fetch.requestPaused",
                      [&](const DevToolsMessage &event) { server.answer(event.object()); });
    bool isReady = false;
    server.start([&] { isReady = true; });
    while (!isReady && page.session().isOpen())
        DevToolsPipe::waitForEvents();
    page.navigate(QString::fromUtf8(server.url()));
}

/// Checks that tests/documents/page is there with all of its parts.
void expectSamplePage(BrowserPage &page) {
    EXPECT_EQ(colourOf(page, "h1"), QStringLiteral("rgb(10, 20, 30)"));
    EXPECT_EQ(colourOf(page, "#inline"), QStringLiteral("rgb(40, 50, 60)"));
    EXPECT_EQ(widthsOfPictures(page), (QJsonArray{16}));
    EXPECT_EQ(textOfFrame(page, 0), QString::fromUtf8("In the frame — naïve"));
}

/// A server that notices who comes by.
class Listener {
public:
    Listener() {
        int port = 0;
        m_fd = listenOnLoopback(&port);
        m_origin = "http://127.0.0.1:" + QByteArray::number(port) + "/";
    }
    ~Listener() { ::close(m_fd); }
    const QByteArray &origin() const { return m_origin; }
    bool hasBeenVisited() const { return isVisitedWithin(0); }
    bool isVisitedSoon() const { return isVisitedWithin(20000); }

private:
    bool isVisitedWithin(int milliseconds) const {
        pollfd listening{m_fd, POLLIN, 0};
        return ::poll(&listening, 1, milliseconds) == 1;
    }

    int m_fd = -1;
    QByteArray m_origin;
};

} // namespace

TEST(WebArchiveServer, MIMEArchiveIsServedWholeWithItsContentIDs) {
    BrowserPage page;
    WebArchiveServer server(
        page.session(),
        related(
            {part("Content-Type: text/html; charset=utf-8\r\nContent-Location: http://a.example/d/p.html",
                  "<!doctype html><link rel=stylesheet href=s.css><link rel=stylesheet href=\"cid:two\"><p "
                  "id=one>caf\xC3\xA9<p id=two>x<img src=i.png><img src=\"cid:pic%40x\"><img "
                  "srcset=\"http://b.example/i.png 1x\"><img src=missing.png><iframe "
                  "src=\"cid:frame\"></iframe>"),
             part("Content-Type: text/css\r\nContent-Location: http://a.example/d/s.css",
                  "#one{color:rgb(1,2,3)}"),
             part("Content-Type: application/octet-stream\r\nContent-ID: <two>", "#two{color:rgb(4,5,6)}"),
             part("Content-Type: image/png\r\nContent-Location: http://a.example/d/i.png", png),
             part("Content-Type: image/png\r\nContent-ID: <pic@x>", png),
             part("Content-Type: application/octet-stream\r\nContent-Location: https://b.example/i.png", png),
             part("Content-Type: text/html\r\nContent-ID: <frame>\r\nContent-Location: "
                  "http://a.example/d/f.html",
                  "<p>framed<img src=i.png>")}));
    EXPECT_EQ(server.url(), "http://a.example/d/p.html");
    serve(page, server);
    EXPECT_EQ(page.evaluate(QStringLiteral("document.querySelector('#one').innerText")).toString(),
              QString::fromUtf8("café"));
    EXPECT_EQ(colourOf(page, "#one"), QStringLiteral("rgb(1, 2, 3)"));
    EXPECT_EQ(colourOf(page, "#two"), QStringLiteral("rgb(4, 5, 6)"));
    EXPECT_EQ(widthsOfPictures(page), (QJsonArray{2, 2, 2, 0}));
    EXPECT_EQ(textOfFrame(page, 0), QStringLiteral("framed"));
    EXPECT_EQ(page.evaluate(QStringLiteral(
                                "document.querySelector('iframe').contentDocument.images[0].naturalWidth"))
                  .toInt(),
              2);
}

TEST(WebArchiveServer, PropertyListArchiveIsServedWithFramesOfOtherSites) {
    BrowserPage page;
    const QVariantMap frame{
        {QStringLiteral("WebMainResource"), resource("https://other.example/f", "text/html",
                                                     "<style>body{background:url(bg.png)}</style><p>framed")},
        {QStringLiteral("WebSubresources"),
         QVariantList{resource("https://other.example/bg.png", "image/png", png)}}};
    const QVariantMap root{
        {QStringLiteral("WebMainResource"),
         resource(
             "https://a.example/", "text/html",
             "<meta http-equiv=Content-Security-Policy content=\"default-src 'none'\"><link rel=stylesheet "
             "href=https://cdn.example/s.css><p>x<iframe src=https://other.example/f></iframe>")},
        {QStringLiteral("WebSubresources"),
         QVariantList{resource("https://cdn.example/s.css", "text/css", "p{color:rgb(7,8,9)}")}},
        {QStringLiteral("WebSubframeArchives"), QVariantList{frame}}};
    const auto archive = WebArchive::archiveWithPropertyList(NSPropertyList::dataFromPropertyList(root));
    ASSERT_TRUE(archive);
    WebArchiveServer server(page.session(), *archive);
    serve(page, server);
    EXPECT_EQ(colourOf(page, "p"), QStringLiteral("rgb(7, 8, 9)"));
    const QJsonObject tree =
        page.session().callAndWait("Page.getResourceTree").object()[u"frameTree"].toObject();
    const QJsonObject framed = tree[u"childFrames"].toArray().first().toObject();
    EXPECT_EQ(framed[u"frame"].toObject()[u"url"].toString(), QStringLiteral("https://other.example/f"));
    bool hasBackground = false;
    for (const QJsonValue &each : framed[u"resources"].toArray())
        hasBackground |= each[u"url"].toString() == QStringLiteral("https://other.example/bg.png") &&
                         !each[u"failed"].toBool();
    EXPECT_TRUE(hasBackground);
}

TEST(WebArchiveServer, WhatTheArchiveHasNotTouchesNeitherNetworkNorFiles) {
    BrowserPage page;
    const Listener listener;
    QByteArray html =
        "<link rel=preconnect href=@><link rel=preload as=image href=@1><link rel=prefetch href=@2><link "
        "rel=stylesheet href=@3><img src=@4><iframe src=@5></iframe><object data=@6></object><embed "
        "src=@7><video src=@8 poster=@9></video><style>@import "
        "url(@a);@font-face{font-family:f;src:url(@b)}p{font-family:f}</style><body background=@c><p>x<img "
        "src=file://" ZR_SOURCE_DIR "/tests/documents/red.png><iframe src=file:///etc/passwd></iframe>";
    html.replace("@", listener.origin());
    html.replace(listener.origin() + "import", "@import")
        .replace(listener.origin() + "font-face", "@font-face");
    WebArchiveServer server(page.session(), related({part("Content-Type: text/html", html)}));
    serve(page, server);
    EXPECT_EQ(page.evaluate(QStringLiteral("document.querySelector('p').innerText")).toString(),
              QStringLiteral("x"));
    EXPECT_EQ(widthsOfPictures(page), (QJsonArray{0, 0}));
    EXPECT_FALSE(listener.hasBeenVisited());
    // The same requests do reach the listener without a server.
    page.session().callAndWait("Fetch.disable");
    page.session().on("Fetch.requestPaused", {});
    page.evaluate(QStringLiteral("fetch('%1x', {mode: 'no-cors'}).catch(() => 0), 0")
                      .arg(QString::fromUtf8(listener.origin())));
    EXPECT_TRUE(listener.isVisitedSoon());
}

TEST(WebArchiveServer, FontsOfOtherOriginsAreAllowed) {
    BrowserPage page;
    // A font that isn't one is refused by the decoder, after the fetch: only the fetch is looked at here.
    WebArchiveServer server(
        page.session(),
        related(
            {part(
                 "Content-Type: text/html\r\nContent-Location: https://a.example/",
                 "<style>@font-face{font-family:f;src:url(https://cdn.example/f.woff2)}</style><p "
                 "style='font-family:f'>x<img crossorigin=use-credentials src=https://cdn.example/i.png><img "
                 "crossorigin src=https://cdn.example/i.png>"),
             part("Content-Type: font/woff2\r\nContent-Location: https://cdn.example/f.woff2", "wOF2"),
             part("Content-Type: image/png\r\nContent-Location: https://cdn.example/i.png", png)}));
    QStringList failures;
    page.session().on("Network.loadingFailed", [&](const DevToolsMessage &event) {
        failures << event.object()[u"type"].toString() +
                        event.object()[u"corsErrorStatus"].toObject()[u"corsError"].toString();
    });
    page.session().callAndWait("Network.enable");
    serve(page, server);
    EXPECT_EQ(widthsOfPictures(page), (QJsonArray{2, 2}));
    EXPECT_EQ(failures, QStringList());
}

TEST(WebArchiveServer, PropertyListsOfAnotherWriterAreServedWhole) {
    for (const char *form : {"binary", "xml"}) {
        QProcess python;
        python.start(
            QStringLiteral("python3"),
            {QStringLiteral(ZR_SOURCE_DIR "/tests/documents/make_webarchive.py"), QLatin1StringView(form)});
        ASSERT_TRUE(python.waitForFinished()) << form;
        ASSERT_EQ(python.exitCode(), 0) << python.readAllStandardError().constData();
        const auto archive = WebArchive::archiveWithData(python.readAllStandardOutput());
        ASSERT_TRUE(archive) << form;
        BrowserPage page;
        WebArchiveServer server(page.session(), *archive);
        serve(page, server);
        expectSamplePage(page);
    }
}

TEST(WebArchiveServer, TheBrowsersOwnSnapshotsComeBackWhole) {
    QByteArray snapshot;
    {
        const QTemporaryDir folder;
        BrowserPage page(BrowserProcess::arguments(), folder.path());
        page.navigate(QStringLiteral("file://" ZR_SOURCE_DIR "/tests/documents/page/index.html"));
        snapshot = page.session()
                       .callAndWait("Page.captureSnapshot", DevToolsParams().add("format", "mhtml"))
                       .object()[u"data"]
                       .toString()
                       .toUtf8();
    }
    ASSERT_TRUE(snapshot.startsWith("From: <Saved by Blink>")) << snapshot.left(100).constData();
    const auto archive = WebArchive::archiveWithData(snapshot);
    ASSERT_TRUE(archive);
    BrowserPage page;
    WebArchiveServer server(page.session(), *archive);
    serve(page, server);
    expectSamplePage(page);
}
