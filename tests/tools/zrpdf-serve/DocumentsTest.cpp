// SPDX-License-Identifier: MIT
#include "tests/support/LoopbackServers.h"
#include "tests/support/OwnNetwork.h"
#include "tests/support/ProcessTree.h"
#include "tests/tools/zrpdf-serve/ServeTest.h"

namespace {

class Documents : public ServeTest {
protected:
    std::string text(const QByteArray &document, const QByteArray &type) const {
        const Answer answer =
            post(document, "/v1/pdf", type.isNull() ? QByteArray() : "Content-Type: " + type + "\r\n");
        return answer.isPDF() ? textOf(answer.body).toStdString() : "no PDF: " + answer.body.toStdString();
    }
};

constexpr const char *formType = "Content-Type: multipart/form-data; boundary=XX\r\n";

QByteArray file(const QByteArray &name, const QByteArray &content) {
    return "--XX\r\nContent-Disposition: form-data; name=\"" + name + "\"; filename=\"x\"\r\n\r\n" + content +
           "\r\n";
}

} // namespace

TEST_F(Documents, TheContentTypeTellsTheEncoding) {
    start();
    EXPECT_EQ(text("<p>\xC3\xA4", "text/html"), "ä");
    EXPECT_EQ(text("<p>\xC3\xA4", "text/html; charset=utf-8"), "ä");
    EXPECT_EQ(text("<p>\xE4", "text/html; charset=iso-8859-1"), "ä");
    EXPECT_EQ(text("<p>\xE4", "text/html; charset=koi8-r"), "Д");
    EXPECT_EQ(text("<p>\x93\xFA", "text/html; charset=shift_jis"), "日");
    EXPECT_EQ(text("<meta charset=koi8-r><p>\xE4", "text/html"), "Д");
    EXPECT_EQ(text("<meta charset=koi8-r><p>\xC3\xA4", "text/html; charset=utf-8"), "ä");
}

TEST_F(Documents, TheContentTypeTellsTheKind) {
    start();
    EXPECT_EQ(text("<p>x", "text/plain"), "<p>x");
    EXPECT_EQ(text("x&amp;y", "text/html"), "x&y");
    EXPECT_EQ(text("<p>x", "application/octet-stream"), "x");
    EXPECT_EQ(text("<p>x", {}), "x");
    EXPECT_EQ(
        text("<svg xmlns='http://www.w3.org/2000/svg'><text y='20'>drawn</text></svg>", "image/svg+xml"),
        "drawn");
    EXPECT_EQ(text("<html xmlns='http://www.w3.org/1999/xhtml'><body><p>strict</p></body></html>",
                   "application/xhtml+xml"),
              "strict");
    EXPECT_EQ(text("--B\r\nContent-Type: text/html\r\n\r\n<p>part</p>\r\n--B--\r\n",
                   "multipart/related; boundary=B"),
              "part");
}

TEST_F(Documents, AFormBringsThePageAndItsFiles) {
    start();
    const QByteArray body =
        file("style.css", "@import 'more/m.css'; p{margin:0}") +
        file("more/m.css", "div{height:100px;background:url(../img/b.svg)}") +
        file("img/a b.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='1900'/>") +
        file("img/b.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'/>") +
        file("index.html",
             "<!DOCTYPE html><link rel=stylesheet href=style.css><body style='margin:0'><div></div>"
             "<img style='display:block' src='img/a%20b.svg'>") +
        "--XX--\r\n";
    const Answer answer = post(body, "/v1/pdf?network=none", formType);
    ASSERT_TRUE(answer.isPDF()) << answer.body.left(500).toStdString();
    EXPECT_EQ(pageHeightOf(answer.body), 2000);
}

TEST_F(Documents, WhatAFormDoesNotBringIsFetchedIfTheNetworkModeLets) {
    // The browser keeps pages from this machine's own addresses unless they are of this machine themselves.
    ASSERT_TRUE(OwnNetwork::enter()) << OwnNetwork::needs;
    put("b.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='1300'/>");
    ServerProcess pictures;
    pictures.start(QStringLiteral("python3"),
                   {QStringLiteral("-u"), QStringLiteral("-m"), QStringLiteral("http.server"),
                    QStringLiteral("8088"), QStringLiteral("--directory"), QString::fromUtf8(path(""))},
                   QString::fromUtf8(path("pictures.log")));
    ASSERT_TRUE(ProcessTree::waitUntil([] { return HTTPConnection(8088).isConnected(); }));
    start();
    const QByteArray body =
        file("index.html", "<!DOCTYPE html><link rel=stylesheet href=a.css><body>"
                           "<img src='http://198.41.0.4:8088/b.svg'><img src=missing.svg>") +
        file("a.css",
             "body{margin:0} img{display:block} body::after{content:'';display:block;height:100px}") +
        "--XX--\r\n";
    int asked = 0;
    for (const char *mode : {"all", "public"}) {
        EXPECT_GE(pageHeightOf(post(body, QByteArray("/v1/pdf?network=") + mode, formType).body), 1400)
            << mode;
        EXPECT_EQ(pictures.said().count("GET /b.svg"), ++asked);
    }
    EXPECT_LT(pageHeightOf(post(body, "/v1/pdf?network=none", formType).body), 1400);
    EXPECT_EQ(pictures.said().count("GET /"), asked);
}

TEST_F(Documents, ThePageOfAFormCanBeInAFolder) {
    start();
    const QByteArray body =
        file("site/page.html",
             "<!DOCTYPE html><body style='margin:0'><img style='display:block' src='../up.svg'>") +
        file("up.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='1800'/>") + "--XX--\r\n";
    EXPECT_EQ(pageHeightOf(post(body, "/v1/pdf", formType).body), 1800);
}

TEST_F(Documents, AFormsFieldsAreOptions) {
    start();
    const QByteArray field = "--XX\r\nContent-Disposition: form-data; name=\"timeout\"\r\n\r\n";
    EXPECT_TRUE(post(file("index.html", "<p>x") + field + "5\r\n--XX--\r\n", "/v1/pdf", formType).isPDF());
    EXPECT_EQ(post(file("index.html", "<p>x") + field + "99\r\n--XX--\r\n", "/v1/pdf", formType).code(),
              "timeout-not-allowed");
    EXPECT_EQ(
        post(file("index.html", "<p>x") + field + "5\r\n--XX--\r\n", "/v1/pdf?timeout=4", formType).code(),
        "repeated-option");
    EXPECT_EQ(post(file("../x", "<p>x") + "--XX--\r\n", "/v1/pdf", formType).code(), "bad-form");
    EXPECT_EQ(post(file("index.html", "<p>x"), "/v1/pdf", formType).code(), "bad-form");
}

TEST_F(Documents, AnAddressIsFetched) {
    NginxServer nginx;
    start();
    const QByteArray url = nginx.url(QStringLiteral("/text.txt")).toEncoded();
    const Answer answer = post("url=" + url.toPercentEncoding(), "/v1/pdf",
                               "Content-Type: application/x-www-form-urlencoded\r\n");
    ASSERT_TRUE(answer.isPDF()) << answer.body.toStdString();
    EXPECT_TRUE(post("", "/v1/pdf?url=" + url.toPercentEncoding(), "").isPDF());
    const QByteArray field =
        "--XX\r\nContent-Disposition: form-data; name=\"url\"\r\n\r\n" + url + "\r\n--XX--\r\n";
    EXPECT_TRUE(post(field, "/v1/pdf", formType).isPDF());
}

TEST_F(Documents, ReferencesOfABodyLeadToNoLocalFile) {
    start();
    put("secret.txt", "secret");
    EXPECT_EQ(text("<p>x<iframe src='file://" + path("secret.txt") + "'></iframe>", "text/html"), "x");
    EXPECT_EQ(text("<p>\xE4<iframe src='file://" + path("secret.txt") + "'></iframe>",
                   "text/html; charset=iso-8859-1"),
              "ä");
}
