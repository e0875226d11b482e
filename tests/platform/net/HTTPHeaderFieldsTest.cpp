// SPDX-License-Identifier: MIT
#include "platform/net/HTTPHeaderFields.h"

#include "platform/net/HTTPAuthorization.h"
#include "platform/net/NSURLRequest.h"
#include "platform/net/NSURLResponse.h"

#include <gtest/gtest.h>

namespace {

QVariantMap one(const char *name, const char *value) {
    return {{QString::fromLatin1(name), QString::fromUtf8(value)}};
}

TEST(HTTPHead, LinesBecomeFieldsWithCanonicalNames) {
    HTTPHeaderFields::Head head;
    EXPECT_FALSE(head.begin("Content-Type: text/html"));
    ASSERT_TRUE(head.begin("HTTP/1.1 404 Not Found\r\n"));
    EXPECT_EQ(head.statusCode, 404);
    for (const char *line :
         {"content-TYPE: text/html; charset=x\r\n", "etag:\"1\"\r\n", "X-A: 1\r\n", "x-a:2\n", "no colon\r\n",
          ": no name\r\n", "X-Empty:\r\n", "Set-Cookie: a=1, b\r\n", "set-cookie: c=2\r\n",
          "X-Utf8: caf\xc3\xa9", "X-Latin: caf\xe9"})
        head.add(line);
    EXPECT_EQ(head.fields,
              QVariantMap({{QStringLiteral("Content-Type"), QStringLiteral("text/html; charset=x")},
                           {QStringLiteral("Etag"), QStringLiteral("\"1\"")},
                           {QStringLiteral("X-A"), QStringLiteral("1, 2")},
                           {QStringLiteral("X-Empty"), QStringLiteral("")},
                           {QStringLiteral("Set-Cookie"), QStringLiteral("a=1, b, c=2")},
                           {QStringLiteral("X-Utf8"), QString::fromUtf8("caf\xc3\xa9")},
                           {QStringLiteral("X-Latin"), QString::fromUtf8("caf\xc3\xa9")}}));
    EXPECT_EQ(head.cookies, QList<QString>({QStringLiteral("a=1, b"), QStringLiteral("c=2")}));
    ASSERT_TRUE(head.begin("HTTP/2 200"));
    EXPECT_EQ(head.statusCode, 200);
    EXPECT_TRUE(head.fields.isEmpty());
    EXPECT_TRUE(head.begin("HTTP/1.1"));
    EXPECT_EQ(head.statusCode, 0);
}

TEST(HTTPResponse, ItsPropertiesComeFromTheFields) {
    const NSHTTPURLResponse response(
        QUrl(QStringLiteral("http://host/")), 200,
        {{QStringLiteral("Content-Type"), QStringLiteral("Text/HTML; a=\"x;charset=no\"; Charset=\"utf-8\"")},
         {QStringLiteral("Content-Length"), QStringLiteral("42")}});
    EXPECT_EQ(response.MIMEType(), QStringLiteral("text/html"));
    EXPECT_EQ(response.textEncodingName(), QStringLiteral("utf-8"));
    EXPECT_EQ(response.expectedContentLength(), 42);
    EXPECT_EQ(response.valueForHTTPHeaderField(QStringLiteral("content-length")), QStringLiteral("42"));
    EXPECT_TRUE(response.valueForHTTPHeaderField(QStringLiteral("None")).isNull());
    const NSHTTPURLResponse bare(QUrl(), 200, {});
    EXPECT_TRUE(bare.MIMEType().isNull());
    EXPECT_TRUE(bare.textEncodingName().isNull());
    EXPECT_EQ(bare.expectedContentLength(), NSURLResponseUnknownLength);
}

TEST(HTTPResponse, ALengthIsADecimalNumberOrUnknown) {
    EXPECT_EQ(HTTPHeaderFields::bodyLength(one("Content-Length", "7, 7")), 7);
    for (const char *text : {"", "-1", "+1", "1 2", "1,2", "0x10", "99999999999999999999", "7,"})
        EXPECT_EQ(HTTPHeaderFields::bodyLength(one("Content-Length", text)), -1) << text;
    QVariantMap chunked = one("Content-Length", "7");
    chunked.insert(QStringLiteral("Transfer-Encoding"), QStringLiteral("chunked"));
    EXPECT_EQ(HTTPHeaderFields::bodyLength(chunked), -1);
}

TEST(HTTPChallenges, SeveralMayShareAField) {
    const auto found = HTTPHeaderFields::challenges(QStringLiteral(
        "Bearer, DIGEST Realm=\"a \\\"b\\\", c\", nonce=abc , qop=\"auth\" Basic realm=x,NTLM"));
    ASSERT_EQ(found.size(), 4);
    EXPECT_EQ(found[0].scheme, QStringLiteral("bearer"));
    EXPECT_EQ(found[1].scheme, QStringLiteral("digest"));
    EXPECT_EQ(found[1].parameters.value(QStringLiteral("realm")), QVariant(QStringLiteral("a \"b\", c")));
    EXPECT_EQ(found[1].parameters.value(QStringLiteral("nonce")), QVariant(QStringLiteral("abc")));
    EXPECT_EQ(found[1].parameters.value(QStringLiteral("qop")), QVariant(QStringLiteral("auth")));
    EXPECT_EQ(found[2].scheme, QStringLiteral("basic"));
    EXPECT_EQ(found[2].parameters.value(QStringLiteral("realm")), QVariant(QStringLiteral("x")));
    EXPECT_EQ(found[3].scheme, QStringLiteral("ntlm"));
    EXPECT_TRUE(HTTPHeaderFields::challenges(QString()).isEmpty());
    EXPECT_TRUE(HTTPHeaderFields::challenges(QStringLiteral(" ,,\"\" ")).isEmpty());
    EXPECT_EQ(HTTPHeaderFields::challenges(QStringLiteral("Basic realm=\"open"))[0].parameters.value(
                  QStringLiteral("realm")),
              QVariant(QStringLiteral("open")));
}

HTTPHeaderFields::Challenge digestChallenge(const char *more) {
    return HTTPHeaderFields::challenges(
               QStringLiteral("Digest realm=\"http-auth@example.org\", "
                              "nonce=\"7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v\", "
                              "opaque=\"FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS\"") +
               QString::fromLatin1(more))
        .first();
}

QByteArray answerTo(const char *more) {
    return HTTPAuthorization::digest(digestChallenge(more), QStringLiteral("Mufasa"),
                                     QStringLiteral("Circle of Life"), {"GET", "/dir/index.html", ""},
                                     "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ");
}

TEST(HTTPAuthorization, DigestsAreThoseOfTheStandardsExamples) {
    EXPECT_TRUE(answerTo(", qop=\"auth, auth-int\", algorithm=MD5")
                    .contains("response=\"8ca523f5e9506fed4657c9700eebdbec\""));
    const QByteArray answer = answerTo(", qop=\"auth, auth-int\", algorithm=SHA-256");
    EXPECT_TRUE(
        answer.contains("response=\"753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1\""))
        << answer.toStdString();
    EXPECT_TRUE(answer.startsWith("Digest username=\"Mufasa\", realm=\"http-auth@example.org\", "));
    for (const char *part : {"uri=\"/dir/index.html\"", "algorithm=SHA-256", "qop=auth,", "nc=00000001",
                             "cnonce=\"f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ\"",
                             "opaque=\"FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS\""})
        EXPECT_TRUE(answer.contains(part)) << part;
}

TEST(HTTPAuthorization, WithoutProtectionTheOldFormIsUsed) {
    const QByteArray answer = answerTo("");
    EXPECT_FALSE(answer.isNull());
    EXPECT_FALSE(answer.contains("qop="));
    EXPECT_FALSE(answer.contains("cnonce="));
    EXPECT_TRUE(answerTo(", algorithm=md5-SESS").contains("cnonce="));
    EXPECT_TRUE(answerTo(", qop=auth-int").contains("qop=auth-int"));
    EXPECT_TRUE(answerTo(", qop=auth, userhash=true, algorithm=SHA-512-256").contains("userhash=true"));
    EXPECT_FALSE(answerTo(", qop=auth, userhash=true").contains("Mufasa"));
}

TEST(HTTPAuthorization, WhatIsUnknownIsNotAnswered) {
    for (const char *more : {", algorithm=SHA-1", ", algorithm=-sess-sess", ", qop=none"}) {
        EXPECT_FALSE(HTTPAuthorization::canDigest(digestChallenge(more))) << more;
        EXPECT_TRUE(answerTo(more).isNull()) << more;
    }
    EXPECT_FALSE(HTTPAuthorization::canDigest({QStringLiteral("digest"), {}}));
    EXPECT_FALSE(HTTPAuthorization::canDigest({QStringLiteral("basic"), one("nonce", "n")}));
}

TEST(HTTPAuthorization, BasicIsUTF8) {
    EXPECT_EQ(HTTPAuthorization::basic(QStringLiteral("user"), QString()), "Basic dXNlcjo=");
    EXPECT_EQ(HTTPAuthorization::basic(QStringLiteral("test"), QString::fromUtf8("123\xc2\xa3")),
              "Basic dGVzdDoxMjPCow==");
}

TEST(URLRequest, FieldsAreSetByNamesOfAnyCase) {
    NSMutableURLRequest request(QUrl(QStringLiteral("http://host/")));
    EXPECT_EQ(request.HTTPMethod(), QStringLiteral("GET"));
    EXPECT_EQ(request.timeoutInterval(), 60);
    EXPECT_TRUE(request.HTTPShouldHandleCookies());
    EXPECT_TRUE(request.HTTPBody().isNull());
    request.setValue(QStringLiteral("1"), QStringLiteral("X-Field"));
    request.setValue(QStringLiteral("2"), QStringLiteral("x-field"));
    EXPECT_EQ(request.allHTTPHeaderFields(), one("x-field", "2"));
    request.addValue(QStringLiteral("3"), QStringLiteral("X-FIELD"));
    EXPECT_EQ(request.valueForHTTPHeaderField(QStringLiteral("X-Field")), QStringLiteral("2,3"));
    request.addValue(QStringLiteral("4"), QStringLiteral("New"));
    request.setValue(QString(), QStringLiteral("X-field"));
    EXPECT_EQ(request.allHTTPHeaderFields(), one("New", "4"));
    EXPECT_TRUE(request.valueForHTTPHeaderField(QStringLiteral("X-Field")).isNull());
    const auto copy = request.mutableCopy();
    copy->setHTTPMethod(QStringLiteral("PUT"));
    EXPECT_EQ(request.HTTPMethod(), QStringLiteral("GET"));
    EXPECT_EQ(copy->allHTTPHeaderFields(), one("New", "4"));
    copy->setHTTPMethod(QString());
    EXPECT_EQ(copy->HTTPMethod(), QStringLiteral("GET"));
}

} // namespace
