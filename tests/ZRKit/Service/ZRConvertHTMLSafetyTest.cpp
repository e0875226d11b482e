// SPDX-License-Identifier: MIT
#include "tests/ZRKit/Service/Conversion.h"
#include "tests/support/HTTPServer.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

constexpr int red = 0xff0000;

/// A text with its %1 and %2 replaced, as often as they occur.
QString filled(const char *text, const QString &first, const QString &second = {}) {
    return QString::fromUtf8(text).replace(QStringLiteral("%1"), first).replace(QStringLiteral("%2"), second);
}

/// Documents in which something would be there if a script had run: "RAN" as text, or a request for /ran.
QStringList scriptedDocuments(const HTTPServer &server) {
    const QString ran = server.url(QStringLiteral("/ran")).toString();
    const QString js = server.url(QStringLiteral("/script.js")).toString();
    QStringList all;
    for (const char *text : {
             "<p>page<script>document.body.append('RAN')</script>",
             "<p>page<script type=module>document.body.append('RAN')</script>",
             "<p>page<script src='%2'></script><script src='%2' async></script><script src='%2' "
             "defer></script>",
             "<body onload='document.body.append(\"RAN\")'><p>page",
             "<p>page<img src='data:,x' onerror='document.body.append(\"RAN\")'>",
             "<p>page<style onload='document.body.append(\"RAN\")'>p{}</style>",
             "<p>page<svg><script>document.body.append('RAN')</script><g "
             "onload='document.body.append(\"RAN\")'/></svg>",
             "<p>page<svg><animate onbegin='document.body.append(\"RAN\")' attributeName=x dur=1s /></svg>",
             "<p>page<iframe src='javascript:\"RAN\"'></iframe>",
             "<p>page<iframe srcdoc='<script>document.write(\"RAN\")</script>'></iframe>",
             "<p>page<iframe src='data:text/html,<script>document.write(\"RAN\")</script>'></iframe>",
             "<p>page<iframe srcdoc='<p onclick=x>' onload='document.body.append(\"RAN\")'></iframe>",
             "<p>page<object data='javascript:\"RAN\"'></object><embed src='javascript:\"RAN\"'>",
             "<p>page<object data='data:text/html,<script>document.write(\"RAN\")</script>'></object>",
             "<meta http-equiv=refresh content='0;url=javascript:\"RAN\"'><p>page",
             "<meta http-equiv=refresh content='0;url=data:text/html,RAN'><p>page",
             "<p>page<a href='javascript:document.body.append(\"RAN\")' autofocus "
             "onfocus='document.body.append(\"RAN\")'>",
             "<p>page<input autofocus onfocus='document.body.append(\"RAN\")'>",
             "<p>page<details open ontoggle='document.body.append(\"RAN\")'></details>",
             "<p>page<video src='data:,x' onerror='document.body.append(\"RAN\")' autoplay></video>",
             "<p>page<form action='%1'><input type=submit autofocus></form>",
             "<p>page<link rel=stylesheet href='data:text/css,x' onload='document.body.append(\"RAN\")'>",
             "<p>page<link rel=modulepreload href='%2'><script type=importmap>{}</script>",
             "<p>page<script type=speculationrules>{\"prefetch\":[{\"urls\":[\"%1\"]}]}</script>",
             "<p>page<p style='background:url(javascript:document.body.append(1))'><p "
             "style='width:expression(RAN)'>",
             "<p>page<div style='animation:a 1ms' onanimationstart='document.body.append(\"RAN\")'></div>"
             "<style>@keyframes a{to{opacity:.5}}</style>",
         })
        all << filled(text, ran, js);
    return all;
}

} // namespace

TEST(ZRConvertHTMLSafety, ScriptsNeverRun) {
    HTTPServer server([](const HTTPServer::Request &request) {
        if (request.path == "/script.js")
            return HTTPServer::Response{.contentType = "text/javascript",
                                        .body = "document.body.append('RAN')"};
        return HTTPServer::Response{.body = "RAN"};
    });
    for (const QString &document : scriptedDocuments(server)) {
        const Conversion text(html(document));
        EXPECT_TRUE(text.reader.contains("page")) << document.toStdString();
        EXPECT_FALSE(text.reader.contains("RAN")) << document.toStdString();
        const Conversion bytes(document.toUtf8());
        EXPECT_FALSE(bytes.reader.contains("RAN")) << document.toStdString();
    }
    EXPECT_EQ(server.count("/ran"), 0);
}

TEST(ZRConvertHTMLSafety, ScriptsNeverRunInPagesOfServersAndFiles) {
    QStringList documents;
    HTTPServer server([&](const HTTPServer::Request &request) {
        if (request.path == "/script.js")
            return HTTPServer::Response{.contentType = "text/javascript",
                                        .body = "document.body.append('RAN')"};
        if (request.path == "/ran")
            return HTTPServer::Response{.body = "RAN"};
        if (request.path == "/worker.svg")
            return HTTPServer::Response{.contentType = "image/svg+xml",
                                        .body =
                                            "<svg xmlns='http://www.w3.org/2000/svg'><text y='20'>page</text>"
                                            "<script>document.documentElement.append('RAN')</script></svg>"};
        return HTTPServer::Response{.body = "<!doctype html>" +
                                            documents.value(request.path.mid(1).toInt()).toUtf8()};
    });
    documents = scriptedDocuments(server);
    const QTemporaryDir folder;
    for (int i = 0; i < documents.size(); ++i) {
        const Conversion served(server.url(QStringLiteral("/%1").arg(i)));
        EXPECT_TRUE(served.reader.contains("page")) << documents[i].toStdString();
        EXPECT_FALSE(served.reader.contains("RAN")) << documents[i].toStdString();
        QFile file(folder.filePath(QStringLiteral("%1.html").arg(i)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(documents[i].toUtf8());
        file.close();
        const Conversion local(QUrl::fromLocalFile(file.fileName()));
        EXPECT_TRUE(local.reader.contains("page")) << documents[i].toStdString();
        EXPECT_FALSE(local.reader.contains("RAN")) << documents[i].toStdString();
    }
    EXPECT_EQ(Conversion(server.url(QStringLiteral("/worker.svg"))).reader.text(), QStringLiteral("page"));
    EXPECT_EQ(server.count("/ran"), 0);
}

TEST(ZRConvertHTMLSafety, WithoutScriptsTheirSubstituteIsShown) {
    EXPECT_TRUE(
        Conversion(html(QStringLiteral("<noscript>no script</noscript>"))).reader.contains("no script"));
}

TEST(ZRConvertHTMLSafety, TextAndBytesReachNoLocalFile) {
    const QTemporaryDir folder;
    const auto write = [&](const char *name, const QByteArray &bytes) {
        QFile file(folder.filePath(QString::fromLatin1(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    };
    write("secret.html", "<body style='background:#f00'>SECRET");
    write("secret.txt", "SECRET");
    write("secret.css", "body{background:#f00 !important} p::after{content:'SECRET'}");
    write("secret.svg",
          "<svg xmlns='http://www.w3.org/2000/svg' width='300' height='300'><rect id='r' width='300' "
          "height='300' fill='#f00'/></svg>");
    const QString base = QUrl::fromLocalFile(folder.path()).toString();
    HTTPServer server([&](const HTTPServer::Request &request) {
        return HTTPServer::Response{
            .status = 302, .headers = {"Location: " + (base + QString::fromLatin1(request.path)).toLatin1()}};
    });
    const QString away = server.url(QString()).toString();

    QStringList documents;
    for (const QString &at :
         {base, away, QStringLiteral("view-source:") + base, QStringLiteral("file:") + folder.path(),
          QStringLiteral("FILE://localhost") + folder.path()}) {
        for (const char *text : {
                 "<p>page<img src='%1/secret.svg'>",
                 "<p>page<iframe src='%1/secret.html' width=400 height=400></iframe>",
                 "<p>page<iframe src='%1/secret.txt'></iframe>",
                 "<p>page<object data='%1/secret.html' width=400 height=400></object>",
                 "<p>page<embed src='%1/secret.svg' width=400 height=400>",
                 "<p>page<link rel=stylesheet href='%1/secret.css'>",
                 "<style>@import '%1/secret.css';</style><p>page",
                 "<style>p{background:url('%1/secret.svg');height:300px;mask:none}</style><p>page",
                 "<p>page<svg width=400 height=400><image href='%1/secret.svg' width=400 height=400 /></svg>",
                 "<p>page<svg width=400 height=400><use href='%1/secret.svg#r'/></svg>",
                 "<p>page<video poster='%1/secret.svg' width=400 height=400></video>",
                 "<p>page<input type=image src='%1/secret.svg'><picture><source "
                 "srcset='%1/secret.svg'><img></picture>",
                 "<meta http-equiv=refresh content='0; url=%1/secret.html'><p>page",
                 "<base href='%1/'><p>page<img src='secret.svg'><iframe src=secret.html></iframe>",
                 "<p>page<iframe srcdoc=\"<iframe src='%1/secret.html'></iframe><img "
                 "src='%1/secret.svg'>\"></iframe>",
                 "<p>page<iframe src=\"data:text/html,<iframe src='%1/secret.html'></iframe>\"></iframe>",
             })
            documents << filled(text, at);
    }
    for (const QString &document : documents) {
        for (const QVariant &data : {html(document), QVariant(document.toUtf8())}) {
            const Conversion made(data);
            EXPECT_TRUE(made.reader.contains("page")) << document.toStdString();
            EXPECT_FALSE(made.reader.contains("SECRET")) << document.toStdString();
            EXPECT_FALSE(made.reader.shows(red)) << document.toStdString();
        }
    }
    const QByteArray xhtml =
        "<?xml version='1.0'?><?xml-stylesheet href='" + base.toUtf8() +
        "/secret.css'?><!DOCTYPE html [<!ENTITY e SYSTEM '" + base.toUtf8() +
        "/secret.txt'>]><html xmlns='http://www.w3.org/1999/xhtml'><body><p>page&e;</p><img src='" +
        base.toUtf8() + "/secret.svg'/></body></html>";
    const QByteArray svg = "<svg xmlns='http://www.w3.org/2000/svg'><text y='20'>page</text><image href='" +
                           base.toUtf8() + "/secret.svg' width='200' height='200'/></svg>";
    for (const QByteArray &data : {xhtml, svg}) {
        const Conversion made(data);
        EXPECT_FALSE(made.reader.contains("SECRET")) << data.toStdString();
        EXPECT_FALSE(made.reader.shows(red)) << data.toStdString();
    }
}

TEST(ZRConvertHTMLSafety, APageOfAServerReachesNoLocalFile) {
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("secret.html")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("SECRET");
    file.close();
    const QByteArray at = QUrl::fromLocalFile(file.fileName()).toEncoded();
    HTTPServer server([&](const HTTPServer::Request &request) {
        if (request.path == "/away")
            return HTTPServer::Response{.status = 302, .headers = {"Location: " + at}};
        return HTTPServer::Response{.body = "<p>page<iframe src='" + at +
                                            "'></iframe><iframe src=/away></iframe>"};
    });
    const Conversion made(server.url(QStringLiteral("/")));
    EXPECT_TRUE(made.reader.contains("page"));
    EXPECT_FALSE(made.reader.contains("SECRET"));
    EXPECT_TRUE(Conversion(server.url(QStringLiteral("/away"))).failed());
}

TEST(ZRConvertHTMLSafety, NothingOfOneDocumentReachesAnother) {
    HTTPServer server([](const HTTPServer::Request &request) {
        if (request.path == "/locked" && !request.headers.contains("authorization"))
            return HTTPServer::Response{
                .status = 401, .body = "locked", .headers = {"WWW-Authenticate: Basic realm=r"}};
        return HTTPServer::Response{
            .contentType = request.path.endsWith(".png") ? "image/svg+xml" : "text/html",
            .body = request.path.endsWith(".png") ? "<svg xmlns='http://www.w3.org/2000/svg'/>"
                                                  : "<p>served<img src=/pic.png>",
            .headers = {"Set-Cookie: session=42; Max-Age=9999; Path=/", "Cache-Control: max-age=9999, public",
                        "ETag: \"tag\"", "Strict-Transport-Security: max-age=9999"}};
    });
    const QString picture = server.url(QStringLiteral("/pic.png")).toString();
    const QVariant asText = html(QStringLiteral("<p>text<img src='%1'>").arg(picture));
    QUrl withPassword = server.url(QStringLiteral("/locked"));
    withPassword.setUserName(QStringLiteral("me"));
    withPassword.setPassword(QStringLiteral("secret"));

    EXPECT_TRUE(Conversion(server.url(QStringLiteral("/page"))).reader.contains("served"));
    EXPECT_TRUE(Conversion(withPassword).reader.contains("served"));
    const int before = server.requests().size();
    EXPECT_TRUE(Conversion(asText).reader.contains("text"));
    EXPECT_TRUE(Conversion(html(QStringLiteral("<p>self-contained"))).reader.contains("self"));
    EXPECT_TRUE(Conversion(asText).reader.contains("text"));
    EXPECT_TRUE(Conversion(server.url(QStringLiteral("/page"))).reader.contains("served"));
    EXPECT_TRUE(Conversion(server.url(QStringLiteral("/locked"))).reader.contains("locked"));

    const QList<HTTPServer::Request> later = server.requests().sliced(before);
    // Twice the picture alone, then page and picture, then the page that asks for a password.
    EXPECT_EQ(server.count("/pic.png"), 5);
    EXPECT_GE(later.size(), 5);
    for (const HTTPServer::Request &request : later) {
        const bool sameDocument =
            request.path == "/pic.png" && request.headers.value("referer").endsWith("/page");
        EXPECT_TRUE(sameDocument || !request.headers.contains("cookie")) << request.path.toStdString();
        EXPECT_FALSE(request.headers.contains("if-none-match")) << request.path.toStdString();
        EXPECT_FALSE(request.headers.contains("authorization")) << request.path.toStdString();
    }
}

TEST(ZRConvertHTMLSafety, NoDocumentLeavesTracesInThePageOfTheNext) {
    const QVariant plain = html(QStringLiteral(
        "<style>p{color:#060;background:#eef}</style><p lang=ja>plain \u76f4</p><q>quoted</q><input value=in "
        "autofocus>"
        "<a href='x'>link</a><pre>fixed</pre><svg width=40 height=40><circle r=20 fill=teal /></svg>"));
    const Conversion reference(plain);
    for (const char *traces : {
             "<meta http-equiv=Content-Security-Policy content=\"default-src 'none'\"><p>x",
             "<meta http-equiv=content-language content=zh><meta http-equiv=default-style content=other><p>x",
             "<style title=a>p{color:red}</style><link rel='alternate stylesheet' title=b "
             "href='data:text/css,p{}'>",
             "<meta name=color-scheme content=dark><meta name=referrer content=no-referrer><p>x",
             "<base href='http://example.org/'><p>x<input autofocus>",
             "<meta name=viewport content='width=300,initial-scale=3'><p>x",
             "<p>x<iframe srcdoc='<p>y'></iframe><frameset>",
             "<style>@font-face{font-family:serif;src:local('DejaVu Sans "
             "Mono')}*{font-size:40px!important}</style><p>x",
             "<style>@property --a{syntax:'<color>';inherits:true;initial-value:red}@layer "
             "a,b;@page{size:a6}</style>",
             "<title>left over</title><p style='height:40000px;width:4000px'>x",
             "<html style='zoom:2;color-scheme:dark;writing-mode:vertical-rl' dir=rtl lang=ar><body><p>x",
         }) {
        ASSERT_FALSE(Conversion(QString::fromUtf8(traces)).failed());
        const Conversion next(plain);
        EXPECT_EQ(next.size(), reference.size()) << traces;
        EXPECT_EQ(next.reader.text(), reference.reader.text()) << traces;
        EXPECT_EQ(next.reader.picture(), reference.reader.picture()) << traces;
        EXPECT_FALSE(next.pdf.contains("left over"));
    }
}
