// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/PDFRequest.h"

#include "tools/zrpdf-serve/Problem.h"

#include <QUrl>
#include <gtest/gtest.h>

using namespace zr;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr PDFRequest::Limits limits{60s, NetworkMode::Public};

HTTPRequest html(const HTTPFields &query = {}, HTTPFields header = {}) {
    header.append(HTTPField("content-type", "text/html"));
    return {.method = "POST", .query = query, .header = header, .body = "<p>x"};
}

HTTPRequest body(const QByteArray &contentType, const QByteArray &data) {
    return {.method = "POST", .header = {{"content-type", contentType}}, .body = data};
}

QVariant dataOf(const QByteArray &contentType, const QByteArray &data) {
    return PDFRequest::read(body(contentType, data), limits).task.value(u"data"_s);
}

std::string problemOf(const HTTPRequest &request) {
    try {
        PDFRequest::checkHead(request, limits);
        PDFRequest::read(request, limits);
    } catch (const Problem &problem) {
        return problem.code().toStdString();
    }
    return "";
}

} // namespace

TEST(PDFRequest, WithoutOptionsNothingButTheNetworkModeIsSaid) {
    const PDFRequest request = PDFRequest::read(html(), limits);
    EXPECT_EQ(request.timeout, 60s);
    EXPECT_EQ(request.task, (QVariantMap{{u"data"_s, QByteArray("<p>x")}, {u"network"_s, u"public"_s}}));
}

TEST(PDFRequest, OptionsStandInTheQueryOrTheHeader) {
    const QVariantMap wanted{{u"data"_s, QByteArray("<p>x")},
                             {u"network"_s, u"none"_s},
                             {u"pdfTitle"_s, u"Ä b"_s},
                             {u"pdfCreator"_s, u""_s},
                             {u"tagged"_s, true}};
    const HTTPFields query{{"title", "\xC3\x84 b"},
                           {"creator", ""},
                           {"tagged", "true"},
                           {"network", "none"},
                           {"timeout", "1.5"}};
    EXPECT_EQ(PDFRequest::read(html(query), limits).task, wanted);
    EXPECT_EQ(PDFRequest::read(html(query), limits).timeout, 1500ms);
    HTTPFields header;
    for (const auto &[name, value] : query)
        header.append(HTTPField("zrpdf-" + name, value));
    EXPECT_EQ(PDFRequest::read(html({}, header), limits).task, wanted);
    EXPECT_EQ(
        PDFRequest::read(html({}, {{"zrpdf-title", "utf-8''%c3%84%20b"}}), limits).task.value(u"pdfTitle"_s),
        u"Ä b"_s);
}

TEST(PDFRequest, OptionsStandInForms) {
    const PDFRequest request =
        PDFRequest::read(body("application/x-www-form-urlencoded",
                              "url=https%3A%2F%2Fexample.org%2Fa%3Fb&title=T&tagged=false&timeout=2"),
                         limits);
    EXPECT_EQ(request.task, (QVariantMap{{u"data"_s, QUrl(u"https://example.org/a?b"_s)},
                                         {u"network"_s, u"public"_s},
                                         {u"pdfTitle"_s, u"T"_s}}));
    EXPECT_EQ(request.timeout, 2s);
}

TEST(PDFRequest, AnAddressMayStandInTheQuery) {
    const HTTPRequest request{.method = "POST", .query = {{"url", "http://example.org/"}}};
    EXPECT_EQ(PDFRequest::read(request, limits).task.value(u"data"_s), QUrl(u"http://example.org/"_s));
}

TEST(PDFRequest, UnknownWrongAndRepeatedOptionsAreRefused) {
    EXPECT_EQ(problemOf(html({{"titel", "x"}})), "unknown-option");
    EXPECT_EQ(problemOf(html({{"", "x"}})), "unknown-option");
    EXPECT_EQ(problemOf(html({{"Title", "x"}})), "unknown-option");
    EXPECT_EQ(problemOf(html({}, {{"zrpdf-titel", "x"}})), "unknown-option");
    EXPECT_EQ(problemOf(html({}, {{"zrpdf-url", "http://a/"}})), "unknown-option");
    EXPECT_EQ(problemOf(html({}, {{"x-zrpdf-titel", "x"}})), "");
    EXPECT_EQ(problemOf(html({{"title", "x"}, {"title", "x"}})), "repeated-option");
    EXPECT_EQ(problemOf(html({{"title", "x"}}, {{"zrpdf-title", "x"}})), "repeated-option");
    EXPECT_EQ(problemOf(html({{"title", "\xFF"}})), "bad-option");
    EXPECT_EQ(problemOf(html({{"title", QByteArray("a\0b", 3)}})), "bad-option");
    EXPECT_EQ(problemOf(html({{"title", QByteArray(8193, 'a')}})), "bad-option");
    EXPECT_EQ(problemOf(html({{"title", QByteArray(8192, 'a')}})), "");
    for (const char *wrong : {"", "1", "yes", "TRUE", " true"})
        EXPECT_EQ(problemOf(html({{"tagged", wrong}})), "bad-option") << wrong;
    EXPECT_EQ(problemOf(html({{"tagged", QByteArray()}})), "bad-option");
    for (const char *wrong :
         {"", "0", "-1", "1e1", "nan", "inf", "1s", " 1", "0x1", "1.", ".5", "1,5", "0.0001"})
        EXPECT_EQ(problemOf(html({{"timeout", wrong}})), "bad-option") << wrong;
    for (const char *wrong : {"", "ALL", "private", "none "})
        EXPECT_EQ(problemOf(html({{"network", wrong}})), "bad-option") << wrong;
}

TEST(PDFRequest, NoMoreThanTheLimitsMayBeAskedFor) {
    EXPECT_EQ(problemOf(html({{"timeout", "60"}})), "");
    EXPECT_EQ(problemOf(html({{"timeout", "60.001"}})), "timeout-not-allowed");
    EXPECT_EQ(problemOf(html({{"network", "all"}})), "network-not-allowed");
    EXPECT_EQ(problemOf(html({{"network", "public"}})), "");
    EXPECT_EQ(problemOf(html({{"network", "none"}})), "");
}

TEST(PDFRequest, OnlyWebAddressesAreConverted) {
    const auto problem = [](const QByteArray &url) {
        return problemOf({.method = "POST", .query = {{"url", url}}});
    };
    EXPECT_EQ(problem("https://example.org"), "");
    EXPECT_EQ(problem("HTTP://example.org/\xC3\xA4"), "");
    for (const char *wrong : {"", "file:///etc/passwd", "data:text/html,x", "example.org", "//example.org/",
                              "http:///x", "http://", "ftp://example.org/", "javascript:1", "about:blank",
                              "http://a b/", "http://example.org:99999/"})
        EXPECT_EQ(problem(wrong), "bad-url") << wrong;
}

TEST(PDFRequest, ThereIsExactlyOneDocument) {
    EXPECT_EQ(problemOf(body("text/html", "")), "no-document");
    EXPECT_EQ(problemOf({.method = "POST"}), "no-document");
    EXPECT_EQ(problemOf(body("application/x-www-form-urlencoded", "title=x")), "no-document");
    EXPECT_EQ(problemOf(body("multipart/form-data; boundary=X",
                             "--X\r\nContent-Disposition: form-data; name=\"a.html\"\r\n\r\n\r\n--X--")),
              "no-document");
    EXPECT_EQ(problemOf(html({{"url", "http://example.org/"}})), "bad-request");
}

TEST(PDFRequest, BytesAreSentAsTheyAreIfTheyTellTheSameAsTheirType) {
    EXPECT_EQ(dataOf("text/html", "<p>\xE4"), QByteArray("<p>\xE4"));
    EXPECT_EQ(dataOf("application/octet-stream", "<p>\xE4"), QByteArray("<p>\xE4"));
    EXPECT_EQ(PDFRequest::read({.method = "POST", .body = "<p>"}, limits).task.value(u"data"_s),
              QByteArray("<p>"));
    EXPECT_EQ(dataOf("image/png", "\x89PNG\r\n\x1A\n"), QByteArray("\x89PNG\r\n\x1A\n"));
}

TEST(PDFRequest, WhatTheTypeTellsBeyondTheBytesGoesWithThem) {
    EXPECT_EQ(dataOf("text/html; charset=UTF-8", "<p>\xC3\xA4"), u"<p>ä"_s);
    EXPECT_EQ(dataOf("Text/HTML;charset=\"utf8\"", "<p>"), u"<p>"_s);
    EXPECT_EQ(dataOf("text/html; charset=iso-8859-1", "<p>\xE4"),
              QUrl(u"data:text/html;charset=iso-8859-1;base64,PHA+5A=="_s));
    EXPECT_EQ(dataOf("text/plain", "<p>"), QUrl(u"data:text/plain;base64,PHA+"_s));
    EXPECT_EQ(dataOf("text/html; charset=\"a,b\"", "<p>"), QUrl(u"data:text/html;base64,PHA+"_s));
    EXPECT_EQ(
        dataOf("multipart/related; boundary=X", "--X\r\n\r\nx\r\n--X--"),
        QByteArray(
            "MIME-Version: 1.0\r\nContent-Type: multipart/related; boundary=X\r\n\r\n--X\r\n\r\nx\r\n--X--"));
}

TEST(PDFRequest, OtherTypesAreRefused) {
    for (const char *type : {"application/pdf", "application/zip", "font/woff2", "video/mp4",
                             "multipart/mixed; boundary=x", "nonsense"})
        EXPECT_EQ(problemOf(body(type, "x")), "unsupported-type") << type;
    HTTPRequest packed = html();
    packed.header.append(HTTPField("content-encoding", "gzip"));
    EXPECT_EQ(problemOf(packed), "unsupported-coding");
    HTTPRequest twice = html();
    twice.header.append(HTTPField("content-type", "text/plain"));
    EXPECT_EQ(problemOf(twice), "bad-request");
}
