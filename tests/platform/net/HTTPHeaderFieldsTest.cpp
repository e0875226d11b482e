// SPDX-License-Identifier: MIT
#include "platform/net/HTTPHeaderFields.h"

#include "platform/net/NSURLRequest.h"
#include "platform/net/NSURLResponse.h"

#include <gtest/gtest.h>

using namespace zr;

namespace {

QVariantMap one(const char *name, const char *value) {
    return {{QString::fromLatin1(name), QString::fromUtf8(value)}};
}

TEST(HTTPHeaderFields, NamesAreWrittenInOneWay) {
    for (const auto &[name, canonical] :
         {std::pair("content-TYPE", "Content-Type"), std::pair("ETag", "Etag"), std::pair("x--a1b", "X--A1b"),
          std::pair("", "")})
        EXPECT_EQ(HTTPHeaderFields::canonicalName(name), QString::fromLatin1(canonical));
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
