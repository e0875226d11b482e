// SPDX-License-Identifier: MIT
// What one document's page, server or failure could leave behind for the next document.
#include "platform/web/WebEngine.h"
#include "tests/ZRKit/Service/Conversion.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/ProcessTree.h"

#include <QCoreApplication>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

using namespace zr;

namespace {

/// The processes that pages live in.
std::set<pid_t> renderers() {
    std::set<pid_t> found;
    if (BrowserProcess *browser = WebEngine::shared().process()) {
        for (const ProcessTree::Process &entry : ProcessTree::below(browser->keeperPid())) {
            if (entry.command.find("--type=renderer") != std::string::npos)
                found.insert(entry.pid);
        }
    }
    return found;
}

/// Waits while the engine goes on making and throwing away pages.
bool engineBrings(const std::function<bool()> &condition) {
    return ProcessTree::waitUntil([&] {
        QCoreApplication::processEvents();
        return condition();
    });
}

bool endSoon(const std::set<pid_t> &processes) {
    return engineBrings([&] {
        const std::set<pid_t> running = renderers();
        return std::none_of(processes.begin(), processes.end(),
                            [&](pid_t pid) { return running.contains(pid); });
    });
}

void expectPlainConversion() {
    EXPECT_EQ(Conversion(html(QStringLiteral("<p>plain"))).reader.text(), QStringLiteral("plain"));
}

/// A page that has served no document yet, whatever ran before.
void startWithANewPage() {
    HTTPServer server([](const HTTPServer::Request &) { return HTTPServer::Response{.body = "<p>x"}; });
    EXPECT_FALSE(Conversion(server.url(QStringLiteral("/"))).failed());
    // The process of the page that met a server takes a moment to end, and two pages may have been made in its place. The
    // second document comes when they have been.
    for (int i = 0; i < 2; ++i) {
        expectPlainConversion();
        EXPECT_TRUE(engineBrings([] { return renderers().size() == 1; }));
    }
}

/// Whether the renderer that served the last document is not there for the one after the next.
void expectReplacedAfter(const char *what, const std::function<void()> &task) {
    startWithANewPage();
    const std::set<pid_t> before = renderers();
    ASSERT_FALSE(before.empty()) << what;
    expectPlainConversion();
    ASSERT_EQ(renderers(), before) << what;
    task();
    expectPlainConversion();
    EXPECT_TRUE(endSoon(before)) << what;
}

/// A server that asks to be remembered in every way that needs no script.
HTTPServer::Response memorable(const HTTPServer::Request &request) {
    const QByteArray remember =
        "Cache-Control: public, max-age=99999, immutable\r\nETag: \"one\"\r\n"
        "Last-Modified: Wed, 01 Jan 2020 00:00:00 GMT\r\nExpires: Fri, 01 Jan 2100 00:00:00 GMT\r\n"
        "Set-Cookie: a=1; Max-Age=99999; Path=/\r\nSet-Cookie: b=2; Path=/; HttpOnly; SameSite=Lax\r\n"
        "Strict-Transport-Security: max-age=99999; includeSubDomains\r\n"
        "Accept-CH: Sec-CH-UA-Full-Version-List, Sec-CH-UA-Platform-Version, DPR, Viewport-Width, "
        "Device-Memory\r\nAlt-Svc: h3=\":443\"; ma=99999\r\n"
        "Reporting-Endpoints: default=\"/report\"\r\nReport-To: {\"group\":\"default\",\"max_age\":99999,"
        "\"endpoints\":[{\"url\":\"/report\"}]}\r\nNEL: {\"report_to\":\"default\",\"max_age\":99999,"
        "\"success_fraction\":1}\r\nAccess-Control-Allow-Origin: *\r\nAccess-Control-Max-Age: 99999\r\n"
        "Origin-Agent-Cluster: ?1\r\nService-Worker-Allowed: /";
    if (request.path == "/moved")
        return {.status = 301, .headers = {remember, "Location: /page"}, .keepsConnection = true};
    if (request.path.endsWith(".svg"))
        return {.contentType = "image/svg+xml",
                .body = "<svg xmlns='http://www.w3.org/2000/svg'/>",
                .headers = {remember},
                .keepsConnection = true};
    if (request.path.endsWith(".css"))
        return {.contentType = "text/css",
                .body = "p{background:url(/sheet.svg)}",
                .headers = {remember},
                .keepsConnection = true};
    // It shares nothing with its page: whichever of them asked first would be the referrer.
    if (request.path == "/frame")
        return {.body = "<!doctype html><p>framed", .headers = {remember}, .keepsConnection = true};
    return {.body = "<!doctype html><link rel=stylesheet href=/style.css><p>served<img src=/picture.svg>"
                    "<iframe src=/frame></iframe>",
            .headers = {remember},
            .keepsConnection = true};
}

/// What a conversion asked a server for, as text that is the same whenever the requests are.
std::vector<std::string> requestsOf(const HTTPServer &server, const QVariant &document) {
    const qsizetype before = server.requests().size();
    EXPECT_FALSE(Conversion(document).failed());
    std::vector<std::string> lines;
    std::set<int> earlier;
    const QList<HTTPServer::Request> all = server.requests();
    for (qsizetype i = 0; i < all.size(); ++i) {
        if (i < before) {
            earlier.insert(all[i].connection);
            continue;
        }
        EXPECT_FALSE(earlier.contains(all[i].connection)) << "over an earlier document's connection";
        QByteArray line = all[i].path;
        for (auto header = all[i].headers.cbegin(); header != all[i].headers.cend(); ++header)
            line += " " + header.key() + "=" + header.value();
        lines.push_back(line.toStdString());
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

} // namespace

TEST(ZRConvertHTMLIsolation, WhatServersHaveBrowsersRememberIsForgotten) {
    HTTPServer server(memorable);
    const QString at = server.url(QString()).toString();
    const QVariant text = html(QStringLiteral("<p>text<img src='%1/picture.svg'><link rel=stylesheet "
                                              "href='%1/style.css'><iframe src='%1/frame'></iframe>")
                                   .arg(at));
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("page.html")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<!doctype html><p>file<img src='" + at.toUtf8() + "/picture.svg'>");
    file.close();
    const QList<QVariant> documents = {text, server.url(QStringLiteral("/page")),
                                       server.url(QStringLiteral("/moved")),
                                       QUrl::fromLocalFile(file.fileName()), text.toString().toUtf8()};
    std::vector<std::vector<std::string>> first;
    for (const QVariant &document : documents)
        first.push_back(requestsOf(server, document));
    EXPECT_EQ(first[1].size(), 5u);
    for (int round = 0; round < 2; ++round) {
        expectPlainConversion();
        for (qsizetype i = 0; i < documents.size(); ++i)
            EXPECT_EQ(requestsOf(server, documents[i]), first[size_t(i)]) << i;
    }
    EXPECT_EQ(server.count("/report"), 0);
}

TEST(ZRConvertHTMLIsolation, CredentialsOfOneAddressAreNotSentForAnother) {
    HTTPServer server([](const HTTPServer::Request &request) {
        const bool known = request.headers.value("authorization") == "Basic bWU6c2VjcmV0";
        return HTTPServer::Response{.status = known ? 200 : 401,
                                    .body = known ? "<p>open" : "<p>locked",
                                    .headers = {"WWW-Authenticate: Basic realm=r"},
                                    .keepsConnection = true};
    });
    const QUrl plain = server.url(QStringLiteral("/locked"));
    QUrl named = plain;
    named.setUserInfo(QStringLiteral("me:secret"));
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(Conversion(named).reader.text(), QStringLiteral("open"));
        EXPECT_EQ(Conversion(plain).reader.text(), QStringLiteral("locked"));
        expectPlainConversion();
        const QString frame = QStringLiteral("<p>text<iframe src='%1'></iframe>").arg(plain.toString());
        EXPECT_FALSE(Conversion(html(frame)).reader.contains("open"));
    }
}

TEST(ZRConvertHTMLIsolation, NoDocumentKnowsWhichOthersWereVisited) {
    HTTPServer server([](const HTTPServer::Request &) { return HTTPServer::Response{.body = "<p>x"}; });
    const QUrl url = server.url(QStringLiteral("/visited"));
    const QVariant asking =
        html(QStringLiteral("<style>a{color:#00f}a:visited{color:#f00}</style><a href='%1' "
                            "style='font:bold 200px serif'>visited</a>")
                 .arg(url.toString()));
    EXPECT_FALSE(Conversion(url).failed());
    const Conversion asked(asking);
    EXPECT_TRUE(asked.reader.shows(0x0000ff));
    EXPECT_FALSE(asked.reader.shows(0xff0000));
}

TEST(ZRConvertHTMLIsolation, ARendererThatMetTheNetworkIsReplaced) {
    HTTPServer server([](const HTTPServer::Request &request) {
        return HTTPServer::Response{.status = request.path == "/missing" ? 404 : 200, .body = "<p>x"};
    });
    const QString at = server.url(QString()).toString();
    expectReplacedAfter("a page",
                        [&] { EXPECT_FALSE(Conversion(server.url(QStringLiteral("/"))).failed()); });
    for (const char *part :
         {"<img src='%1/'>", "<img src='%1/missing'>", "<link rel=stylesheet href='%1/missing'>",
          "<iframe src='%1/'></iframe>", "<object data='%1/'></object>", "<style>@import '%1/x';</style>",
          "<p style='background:url(%1/x)'>x", "<link rel=prefetch href='%1/x'>",
          "<video src='%1/x'></video>", "<link rel=preload as=fetch href='%1/x'>",
          "<img src='http://127.0.0.1:1/'>"}) {
        expectReplacedAfter(part, [&] {
            EXPECT_FALSE(
                Conversion(html(QString::fromLatin1(part).replace(QStringLiteral("%1"), at))).failed());
        });
    }
}

TEST(ZRConvertHTMLIsolation, ARendererThatMetFilesIsReplaced) {
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("page.html")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<!doctype html><p>file<img src=missing.png>");
    file.close();
    expectReplacedAfter("a file",
                        [&] { EXPECT_FALSE(Conversion(QUrl::fromLocalFile(file.fileName())).failed()); });
}

TEST(ZRConvertHTMLIsolation, ARendererThatFailedIsReplaced) {
    expectReplacedAfter("a broken picture",
                        [] { EXPECT_TRUE(Conversion(QByteArray("\x89PNG\r\n\x1a\n broken", 15)).failed()); });
    expectReplacedAfter("a missing file", [] {
        EXPECT_TRUE(Conversion(QUrl(QStringLiteral("file:///no/such/file.html"))).failed());
    });
    expectReplacedAfter("a document that is too large", [] {
        EXPECT_TRUE(Conversion(html(QStringLiteral("<div style='height:40000000px'>x"))).failed());
    });
}

TEST(ZRConvertHTMLIsolation, ARendererServesABoundedNumberOfDocuments) {
    WebEngine::setEndurance({.ofPage = 10});
    const auto restored = qScopeGuard([] { WebEngine::setEndurance({}); });
    startWithANewPage();
    const std::set<pid_t> first = renderers();
    ASSERT_FALSE(first.empty());
    for (int i = 0; i < 5; ++i)
        expectPlainConversion();
    EXPECT_EQ(renderers(), first);
    for (int i = 0; i < 6; ++i)
        expectPlainConversion();
    EXPECT_TRUE(endSoon(first));
}

TEST(ZRConvertHTMLIsolation, HintsAboutTheNetworkMakeNoConnection) {
    HTTPServer server([](const HTTPServer::Request &) { return HTTPServer::Response{.body = "x"}; });
    const QString at = server.url(QString()).toString();
    expectPlainConversion();
    for (const char *hint :
         {"<link rel=preconnect href='%1'>", "<link rel=dns-prefetch href='%1'>",
          "<link rel='&#112;reconnect' crossorigin href='%1'>", "<link rel=prerender href='%1'>",
          "<a href='%1' ping='%1/ping' autofocus>x</a>"}) {
        const Conversion made(
            html(QString::fromLatin1(hint).replace(QStringLiteral("%1"), at) + QStringLiteral("<p>page")));
        EXPECT_TRUE(made.reader.contains("page")) << hint;
    }
    expectPlainConversion();
    EXPECT_EQ(server.connections(), 0);
}
