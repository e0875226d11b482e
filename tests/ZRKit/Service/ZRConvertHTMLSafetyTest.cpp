// SPDX-License-Identifier: MIT
#include "tests/ZRKit/Service/Conversion.h"
#include "tests/support/FolderWatch.h"
#include "tests/support/HTTPServer.h"
#include "tests/support/LogCapture.h"

#include <QFile>
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <mutex>

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
             "<p style='transition:all 1ms' ontransitionrun='document.body.append(\"RAN\")' "
             "oncontentvisibilityautostatechange='document.body.append(\"RAN\")'>page",
             "<style>@keyframes a{to{opacity:.5}}</style><p style='animation:a 1ms infinite' "
             "onanimationiteration='document.body.append(\"RAN\")'>page",
             "<p>page<svg><script href='%2'></script><set onbegin='document.body.append(\"RAN\")' "
             "attributeName=x dur=1s /><foreignObject><iframe src='javascript:\"RAN\"'></iframe>"
             "</foreignObject><a href='javascript:document.body.append(1)' autofocus><text "
             "y=9>a</text></a></svg>",
             "<p>page<svg><a><set attributeName=href to='javascript:document.body.append(1)' /></a><use "
             "href='data:image/svg+xml,<svg id=x onload=\"document.body.append(1)\"/>#x'/></svg>",
             "<p>page<img src='data:image/svg+xml,<svg xmlns=\"http://www.w3.org/2000/svg\" "
             "onload=\"document.documentElement.append(1)\"><script href=\"%2\"/></svg>'>",
             "<p>page<object data='data:image/svg+xml,<svg xmlns=\"http://www.w3.org/2000/svg\"><script "
             "href=\"%2\"/></svg>'></object>",
             "<p>page<script>new Worker('%2');new SharedWorker('%2');navigator.serviceWorker.register('%2')"
             "</script>",
             "<script type=importmap>{\"imports\":{\"a\":\"%2\"}}</script><p>page<script type=module>import "
             "'a'</script><script type=module src='%2'></script><script nomodule src='%2'></script>",
             "<link rel=preload as=script href='%2'><p>page<script blocking=render async src='%2'></script>",
             "<link rel=expect blocking=render href='#never'><p>page",
             "<link rel=prerender href='%1'><link rel=next href='%1'><link rel=serviceworker "
             "href='%2'><p>page",
             "<p>page<script type=speculationrules>{\"prerender\":[{\"urls\":[\"%1\"],\"eagerness\":"
             "\"immediate\"}],\"prefetch\":[{\"source\":\"document\",\"eagerness\":\"immediate\"}]}</script>"
             "<a href='%1'>a</a>",
             "<p>page<a href='%1' ping='%1' autofocus>a</a><img attributionsrc='%1' src='data:,'>",
             "<p>page<form action='%1' target=_top><button autofocus>b</button></form><form "
             "action='javascript:document.body.append(1)'><input type=image src='data:,x' autofocus></form>",
             "<p>page<form><select autofocus onfocus='document.body.append(\"RAN\")'></select><textarea "
             "autofocus "
             "onfocus='document.body.append(\"RAN\")'></textarea></form><dialog open><button autofocus "
             "onfocus='document.body.append(\"RAN\")'></button></dialog>",
             "<p>page<div><template shadowrootmode=open><script src='%2'></script><iframe "
             "src='javascript:\"RAN\"'></iframe><slot></slot></template></div>",
             "<p>page<noscript><img src=x onerror='document.body.append(\"RAN\")'><script src='%2'></script>"
             "</noscript>",
             "<p>page<marquee onstart='document.body.append(\"RAN\")'>m</marquee><audio src='data:,x' "
             "autoplay "
             "onerror='document.body.append(\"RAN\")'></audio><track src='data:text/vtt,WEBVTT'>",
             "<p>page<portal src='%1'></portal><fencedframe src='%1'></fencedframe>",
             "<base href='javascript:document.body.append(1)//'><p>page<a href='x' autofocus>a</a>",
             "<p>page<iframe sandbox='allow-scripts allow-top-navigation' srcdoc='<script>top.location=\"%1\""
             "</script>'></iframe>",
             "<p>page<iframe srcdoc=\"<meta http-equiv=refresh "
             "content='0;url=javascript:document.write(1)'>\">"
             "</iframe>",
             "<p>page<iframe src='chrome://crash'></iframe><iframe src='chrome://hang'></iframe><object "
             "data='about:crash'></object><img src='chrome://hang'>",
             "<meta http-equiv=refresh content='0;url=chrome://hang'><p>page",
             "<p>page<script>document.write('RAN')",
         })
        all << filled(text, ran, js);
    return all;
}

/// XML documents that programs belong to: scripts of their own, and style sheets of XSLT.
QList<QByteArray> scriptedXML(const HTTPServer &server) {
    const QByteArray script = server.url(QStringLiteral("/script.js")).toEncoded();
    const QByteArray xhtml = "<html xmlns='http://www.w3.org/1999/xhtml'><head><title>t</title></head><body "
                             "onload='document.body.append(\"RAN\")'><p>page</p><script src='" +
                             script + "'/><iframe src='javascript:\"RAN\"'/></body></html>";
    const QByteArray svg =
        "<svg xmlns='http://www.w3.org/2000/svg' onload='document.documentElement.append(1)'>"
        "<text y='20'>page</text><script href='" +
        script + "'/><script>document.documentElement.append('RAN')</script></svg>";
    const QByteArray sheet =
        "data:text/xml,%3Cxsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'%3E"
        "%3Cxsl:template "
        "match='/'%3E%3Chtml%3E%3Cbody%3ER%3Cxsl:text/%3EAN%3C/body%3E%3C/html%3E%3C/xsl:template%3E"
        "%3C/xsl:stylesheet%3E";
    QList<QByteArray> all{xhtml, svg};
    for (const QByteArray &href :
         {server.url(QStringLiteral("/ran")).toEncoded(), QByteArray("http://127.0.0.1:1/x.xsl"), sheet,
          QByteArray(), QByteArray("#s"), QByteArray("file:///no/such/file.xsl")}) {
        for (const QByteArray &root : {xhtml, svg, QByteArray("<root id='s'>page</root>")})
            all << "<?xml version='1.0'?><?xml-stylesheet type='text/xsl' href=\"" + href + "\"?>" + root;
    }
    return all;
}

/// A message whose only part is the document.
QByteArray archived(const QByteArray &type, const QByteArray &location, const QByteArray &body) {
    return "MIME-Version: 1.0\r\nContent-Type: multipart/related; boundary=B\r\n\r\n--B\r\nContent-Type: " +
           type + "\r\nContent-Location: " + location + "\r\n\r\n" + body + "\r\n--B--\r\n";
}

QByteArray typeOf(const QByteArray &xml) {
    return xml.contains("<svg")    ? "image/svg+xml"
           : xml.contains("<html") ? "application/xhtml+xml"
                                   : "application/xml";
}

/// What a server with scripts and pages that nobody must ask for answers.
HTTPServer::Response scriptServer(const HTTPServer::Request &request) {
    if (request.path == "/script.js")
        return {.contentType = "text/javascript", .body = "document.body.append('RAN')"};
    return {.body = "RAN"};
}

/// A folder of files that a document must not get at; they say SECRET.
class SecretFolder {
public:
    SecretFolder() {
        write(QStringLiteral("secret.html"), "<body style='background:#f00'>SECRET");
        write(QStringLiteral("secret.txt"), "SECRET");
        write(QStringLiteral("secret.css"), "body{background:#f00 !important} p::after{content:'SECRET'}");
        write(QStringLiteral("secret.svg"),
              "<svg xmlns='http://www.w3.org/2000/svg' width='300' height='300'>"
              "<rect id='r' width='300' height='300' fill='#f00'/></svg>");
        write(QStringLiteral("secret.ttf"), "SECRET");
    }
    QString path() const { return m_folder.path(); }
    void write(const QString &name, const QByteArray &bytes) const {
        QFile file(m_folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    /// XHTML and SVG, whose parsers have ways of their own.
    QList<QVariant> xmlDocuments() const {
        const QByteArray at = base.toUtf8();
        const QByteArray xhtml = "<html xmlns='http://www.w3.org/1999/xhtml'";
        return {
            QByteArray("<?xml version='1.0'?><?xml-stylesheet href='" + at +
                       "/secret.css'?><!DOCTYPE html [<!ENTITY e SYSTEM '" + at + "/secret.txt'>]>" + xhtml +
                       "><body><p>page&e;</p><img src='" + at + "/secret.svg'/></body></html>"),
            QByteArray("<?xml version='1.0'?><!DOCTYPE html SYSTEM '" + at + "/secret.txt'>" + xhtml +
                       "><body><p>page</p></body></html>"),
            QByteArray("<?xml version='1.0'?>" + xhtml + " xmlns:xi='http://www.w3.org/2001/XInclude' " +
                       "xml:base='" + at + "/'><body><p>page</p><xi:include parse='text' href='" + at +
                       "/secret.txt'/><img src='secret.svg'/></body></html>"),
            QByteArray("<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink'>"
                       "<text y='20'>page</text><image href='" +
                       at + "/secret.svg' width='200' height='200'/><image xlink:href='" + at +
                       "/secret.svg' width='200' height='200'/><use href='" + at +
                       "/secret.svg#r'/><style>@import '" + at +
                       "/secret.css';</style><filter id='f'><feImage href='" + at +
                       "/secret.svg'/></filter><rect filter='url(#f)' width='9' height='9' fill='url(" + at +
                       "/secret.svg#r)'/></svg>")};
    }

private:
    const QTemporaryDir m_folder;

public:
    const QString base = QUrl::fromLocalFile(m_folder.path()).toString();
};

/// Documents that reach for the secret files of a folder in every way that needs no script.
QStringList reachingDocuments(const QString &at) {
    QStringList documents;
    for (const char *text : {
             "<p>page<img src='%1/secret.svg'>",
             "<p>page<iframe src='%1/secret.html' width=400 height=400></iframe>",
             "<p>page<iframe src='%1/secret.txt'></iframe>",
             "<p>page<object data='%1/secret.html' width=400 height=400></object>",
             "<p>page<embed src='%1/secret.svg' width=400 height=400>",
             "<p>page<link rel=stylesheet href='%1/secret.css'>",
             "<link rel='alternate stylesheet' title=x href='%1/secret.css'><p>page",
             "<link rel=preload as=image href='%1/secret.svg'><link rel=preload as=style "
             "href='%1/secret.css'><link rel=prefetch href='%1/secret.html'><link rel=icon "
             "href='%1/secret.svg'><p>page",
             "<style>@import '%1/secret.css';</style><p>page",
             "<style>@import url('%1/secret.css') layer(x) supports(color:red);</style><p>page",
             "<style>p{background:url('%1/secret.svg');height:300px;mask:none}</style><p>page",
             "<style>p{background:image-set('%1/secret.svg' 1x);list-style-image:url(%1/secret.svg);cursor:"
             "url(%1/secret.svg),auto;border-image:url(%1/secret.svg) 9}</style><p>page",
             "<style>p::before{content:url('%1/secret.svg')}p{shape-outside:url(%1/secret.svg);filter:url("
             "%1/secret.svg#r);mask-image:url(%1/secret.svg)}</style><p>page",
             "<style>@font-face{font-family:f;src:url('%1/secret.ttf')}i{font-family:f}</style><p>page<i>i",
             "<p style=\"background:url('%1/secret.svg')\">page",
             "<body background='%1/secret.svg'><p>page",
             "<table background='%1/secret.svg'><tr><td background='%1/secret.svg'><p>page</table>",
             "<p>page<svg width=400 height=400><image href='%1/secret.svg' width=400 height=400 /></svg>",
             "<p>page<svg width=400 height=400><use href='%1/secret.svg#r'/></svg>",
             "<p>page<svg><filter id=f><feImage href='%1/secret.svg'/></filter><rect filter='url(#f)' "
             "width=9 "
             "height=9 fill='url(%1/secret.svg#r)'/></svg>",
             "<p>page<video poster='%1/secret.svg' width=400 height=400></video>",
             "<p>page<video src='%1/secret.html' autoplay></video><audio src='%1/secret.html' "
             "autoplay></audio>",
             "<p>page<input type=image src='%1/secret.svg'><picture><source "
             "srcset='%1/secret.svg'><img></picture>",
             "<p>page<img srcset='%1/secret.svg 1x, %1/secret.svg 2x'>",
             "<meta http-equiv=refresh content='0; url=%1/secret.html'><p>page",
             "<base href='%1/'><p>page<img src='secret.svg'><iframe src=secret.html></iframe>",
             "<p>page<iframe srcdoc=\"<iframe src='%1/secret.html'></iframe><img "
             "src='%1/secret.svg'>\"></iframe>",
             "<p>page<iframe src=\"data:text/html,<iframe src='%1/secret.html'></iframe>\"></iframe>",
             "<p>page<iframe srcdoc=\"<meta http-equiv=refresh content='0;url=%1/secret.html'>\"></iframe>",
             "<p>page<a href='%1/secret.html' download autofocus>x</a><form action='%1/secret.html'><input "
             "autofocus type=submit></form>",
         })
        documents << filled(text, at);
    return documents;
}

} // namespace

TEST(ZRConvertHTMLSafety, ScriptsNeverRun) {
    HTTPServer server(scriptServer);
    for (const QString &document : scriptedDocuments(server)) {
        const QString text = Conversion(html(document)).reader.text();
        EXPECT_TRUE(text.contains(QStringLiteral("page"))) << document.toStdString();
        EXPECT_FALSE(text.contains(QStringLiteral("RAN"))) << document.toStdString();
        EXPECT_EQ(Conversion(document.toUtf8()).reader.text(), text) << document.toStdString();
    }
    EXPECT_EQ(server.count("/ran"), 0);
}

TEST(ZRConvertHTMLSafety, ScriptsNeverRunInArchives) {
    HTTPServer server(scriptServer);
    for (const QString &document : scriptedDocuments(server)) {
        const QString text =
            Conversion(archived("text/html; charset=utf-8", "http://host.example/", document.toUtf8()))
                .reader.text();
        EXPECT_TRUE(text.contains(QStringLiteral("page"))) << document.toStdString();
        EXPECT_FALSE(text.contains(QStringLiteral("RAN"))) << document.toStdString();
    }
    for (const QByteArray &document : scriptedXML(server)) {
        const QString text =
            Conversion(archived(typeOf(document), "http://host.example/", document)).reader.text();
        EXPECT_TRUE(text.contains(QStringLiteral("page"))) << document.toStdString();
        EXPECT_FALSE(text.contains(QStringLiteral("RAN"))) << document.toStdString();
    }
    EXPECT_EQ(server.connections(), 0);
}

TEST(ZRConvertHTMLSafety, ProgramsOfXMLNeverRun) {
    QList<QByteArray> documents;
    HTTPServer server([&](const HTTPServer::Request &request) {
        const int number = request.path.mid(1).toInt() - 1;
        return number < 0 ? scriptServer(request)
                          : HTTPServer::Response{.contentType = typeOf(documents[number]),
                                                 .body = documents[number]};
    });
    documents = scriptedXML(server);
    const QTemporaryDir folder;
    for (int i = 0; i < documents.size(); ++i) {
        QFile file(folder.filePath(QStringLiteral("%1.xml").arg(i)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(documents[i]);
        file.close();
        const QUrl served = server.url(QStringLiteral("/%1").arg(i + 1));
        const QVariant framed = html(QStringLiteral("<iframe src='%1'></iframe>").arg(served.toString()));
        for (const QVariant &document : {QVariant(documents[i]), QVariant(served),
                                         QVariant(QUrl::fromLocalFile(file.fileName())), framed}) {
            const QString text = Conversion(document).reader.text();
            EXPECT_TRUE(text.contains(QStringLiteral("page")))
                << document.toString().toStdString() << documents[i].toStdString();
            EXPECT_FALSE(text.contains(QStringLiteral("RAN"))) << documents[i].toStdString();
        }
    }
    EXPECT_EQ(server.count("/ran"), 0);
}

TEST(ZRConvertHTMLSafety, DocumentsThatReplaceThemselvesAreShownOrFail) {
    QByteArray body;
    HTTPServer server([&](const HTTPServer::Request &) { return HTTPServer::Response{.body = body}; });
    for (const char *address : {"about:blank", "about:srcdoc", "", "#fragment", "x.html", "blob:null/x"}) {
        const QString document =
            QStringLiteral("<noscript><meta content='0;url=%1' http-equiv=Refresh></noscript><p>page")
                .arg(QString::fromLatin1(address));
        // Markup that is given is loaded without its reload.
        EXPECT_EQ(Conversion(html(document)).reader.text(), QStringLiteral("page")) << address;
        EXPECT_EQ(Conversion(document.toUtf8()).reader.text(), QStringLiteral("page")) << address;
        body = document.toUtf8();
        for (const QVariant &other : {QVariant(server.url(QStringLiteral("/"))),
                                      QVariant(archived("text/html", "http://host.example/", body))}) {
            const LogCapture log;
            const Conversion made(other);
            if (made.failed())
                EXPECT_TRUE(
                    log.lines().join(u'\n').contains(QStringLiteral("The document has replaced itself")))
                    << address << log.lines().join(u'\n').toStdString();
            else
                EXPECT_EQ(made.reader.text(), QStringLiteral("page")) << address;
        }
    }
    EXPECT_EQ(server.count("/x.html"), 0);
}

TEST(ZRConvertHTMLSafety, ScriptsNeverRunInPagesOfServersAndFiles) {
    QStringList documents;
    std::mutex mutex; // of the documents
    HTTPServer server([&](const HTTPServer::Request &request) {
        if (request.path == "/script.js" || request.path == "/ran")
            return scriptServer(request);
        if (request.path == "/worker.svg")
            return HTTPServer::Response{.contentType = "image/svg+xml",
                                        .body =
                                            "<svg xmlns='http://www.w3.org/2000/svg'><text y='20'>page</text>"
                                            "<script>document.documentElement.append('RAN')</script></svg>"};
        const std::lock_guard lock(mutex);
        return HTTPServer::Response{.body = "<!doctype html>" +
                                            documents.value(request.path.mid(1).toInt()).toUtf8()};
    });
    {
        const std::lock_guard lock(mutex);
        documents = scriptedDocuments(server);
    }
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
    const SecretFolder folder;
    HTTPServer server([&](const HTTPServer::Request &request) {
        return HTTPServer::Response{
            .status = 302,
            .headers = {"Location: " + (folder.base + QString::fromLatin1(request.path)).toLatin1()}};
    });
    FolderWatch watch(folder.path());
    QList<QVariant> documents;
    for (const QString &at :
         {folder.base, server.url(QString()).toString(), QStringLiteral("view-source:") + folder.base,
          QStringLiteral("file:") + folder.path(), QStringLiteral("FILE://localhost") + folder.path()}) {
        for (const QString &document : reachingDocuments(at)) {
            documents << html(document);
            if (at == folder.base)
                documents << document.toUtf8();
        }
    }
    documents << folder.xmlDocuments();
    for (const QVariant &document : documents) {
        const QString text = Conversion(document).reader.text();
        EXPECT_TRUE(text.contains(QStringLiteral("page"))) << document.toString().toStdString();
        EXPECT_FALSE(text.contains(QStringLiteral("SECRET"))) << document.toString().toStdString();
        EXPECT_EQ(watch.opened(), QStringList()) << document.toString().toStdString();
    }
}

TEST(ZRConvertHTMLSafety, ArchivesReachNoLocalFile) {
    const SecretFolder folder;
    FolderWatch watch(folder.path());
    QList<QByteArray> archives;
    // By absolute addresses, and by relative ones of a page that says it was a file there.
    for (const QString &document : reachingDocuments(folder.base)) {
        const QByteArray text = "<!doctype html>" + document.toUtf8();
        archives << archived("text/html", "http://host.example/page.html", text)
                 << archived("text/html", folder.base.toUtf8() + "/page.html", text);
    }
    for (const QString &document : reachingDocuments(QStringLiteral(".")))
        archives << archived("text/html", folder.base.toUtf8() + "/page.html",
                             "<!doctype html>" + document.toUtf8());
    for (const QVariant &document : folder.xmlDocuments())
        archives << archived(document.toByteArray().contains("<svg") ? "image/svg+xml"
                                                                     : "application/xhtml+xml",
                             folder.base.toUtf8() + "/page.xml", document.toByteArray());
    for (const QByteArray &archive : archives) {
        const QString text = Conversion(archive).reader.text();
        EXPECT_TRUE(text.contains(QStringLiteral("page"))) << archive.toStdString();
        EXPECT_FALSE(text.contains(QStringLiteral("SECRET"))) << archive.toStdString();
        EXPECT_EQ(watch.opened(), QStringList()) << archive.toStdString();
    }
}

TEST(ZRConvertHTMLSafety, FilesReachFilesBesideThem) {
    const SecretFolder folder;
    const QStringList documents = reachingDocuments(folder.base);
    QSet<QString> reached;
    for (int i = 0; i < documents.size(); ++i) {
        const QString name = QStringLiteral("page%1.html").arg(i);
        folder.write(name, "<!doctype html>" + documents[i].toUtf8());
        FolderWatch watch(folder.path());
        EXPECT_TRUE(Conversion(QUrl::fromLocalFile(folder.path() + u'/' + name)).reader.contains("page"))
            << documents[i].toStdString();
        for (const QString &opened : watch.opened())
            reached << opened;
    }
    for (const char *name : {"secret.html", "secret.txt", "secret.css", "secret.svg", "secret.ttf"})
        EXPECT_TRUE(reached.contains(QString::fromLatin1(name))) << name;
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
