// SPDX-License-Identifier: MIT
#include "platform/net/NSHTTPCookie.h"

#include "platform/net/NSHTTPCookieStorage.h"

#include <gtest/gtest.h>

namespace {

QUrl u(const char *url) {
    return QUrl(QString::fromLatin1(url));
}

NSHTTPCookie cookie(const char *line, const char *url = "http://www.example.com/dir/page") {
    return NSHTTPCookie::cookieWithHeaderLine(QString::fromUtf8(line), u(url));
}

QList<NSHTTPCookie> parsed(const char *field, const char *url = "http://www.example.com/") {
    return NSHTTPCookie::cookiesWithResponseHeaderFields(
        {{QStringLiteral("set-cookie"), QString::fromUtf8(field)}}, u(url));
}

/// Whether a request for the URL carries the cookie.
bool reaches(const NSHTTPCookie &cookie, const char *url) {
    NSHTTPCookieStorage storage;
    storage.setCookie(cookie);
    return !storage.cookiesForURL(u(url)).isEmpty();
}

TEST(HTTPCookie, NameAndValueAreTrimmedAndMayHoldAnything) {
    EXPECT_EQ(cookie("a=b").name(), QStringLiteral("a"));
    EXPECT_EQ(cookie("a=b").value(), QStringLiteral("b"));
    EXPECT_EQ(cookie("  a = b c ; Path=/").value(), QStringLiteral("b c"));
    EXPECT_EQ(cookie("a=b=c").value(), QStringLiteral("b=c"));
    EXPECT_EQ(cookie("a=\"quoted\"").value(), QStringLiteral("\"quoted\""));
    EXPECT_EQ(cookie("a=").value(), QStringLiteral(""));
    for (const char *line : {"", "a", "=b", " =b", ";a=b", "a\x01=b", "a=b\x7f"})
        EXPECT_TRUE(cookie(line).isNil()) << line;
    EXPECT_TRUE(cookie(("a=" + QByteArray(5000, 'x')).constData()).isNil());
}

TEST(HTTPCookie, WithoutAttributesItIsForTheHostTheFolderAndTheSession) {
    const NSHTTPCookie plain = cookie("a=b");
    EXPECT_EQ(plain.domain(), QStringLiteral("www.example.com"));
    EXPECT_EQ(plain.path(), QStringLiteral("/dir"));
    EXPECT_TRUE(plain.isSessionOnly());
    EXPECT_FALSE(plain.isSecure());
    EXPECT_FALSE(plain.isHTTPOnly());
    EXPECT_EQ(cookie("a=b", "http://host").path(), QStringLiteral("/"));
    EXPECT_EQ(cookie("a=b", "http://host/page").path(), QStringLiteral("/"));
    EXPECT_EQ(cookie("a=b", "http://host/x/y/").path(), QStringLiteral("/x/y"));
}

TEST(HTTPCookie, AttributesAreReadWhateverTheirCase) {
    const NSHTTPCookie all = cookie("a=b; PATH=/x; Domain=Example.COM; secure; HttpOnly; Unknown=1; "
                                    "expires=Wed, 09 Jun 2100 10:18:14 GMT");
    EXPECT_EQ(all.path(), QStringLiteral("/x"));
    EXPECT_EQ(all.domain(), QStringLiteral(".example.com"));
    EXPECT_TRUE(all.isSecure());
    EXPECT_TRUE(all.isHTTPOnly());
    EXPECT_EQ(all.expiresDate(), QDateTime(QDate(2100, 6, 9), QTime(10, 18, 14), Qt::UTC));
    EXPECT_EQ(cookie("a=b; Path=relative").path(), QStringLiteral("/dir"));
    EXPECT_EQ(cookie("a=b; Path=/x; Path=/y").path(), QStringLiteral("/y"));
}

TEST(HTTPCookie, DatesAreReadAsServersWriteThem) {
    const QDateTime date(QDate(1994, 11, 6), QTime(8, 49, 37), Qt::UTC);
    for (const char *text : {"Sun, 06 Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT",
                             "Sun Nov  6 08:49:37 1994", "6 nov 1994 8:49:37", "08:49:37 november-06-94"})
        EXPECT_EQ(cookie((QByteArray("a=b; Expires=") + text).constData()).expiresDate(), date) << text;
    EXPECT_EQ(cookie("a=b; Expires=1 Jan 69 00:00:00").expiresDate().date().year(), 2069);
    EXPECT_EQ(cookie("a=b; Expires=Thu, 01-Jan-70 00:00:01 GMT").expiresDate().date().year(), 1970);
    for (const char *text : {"", "tomorrow", "31 Feb 2020 00:00:00"})
        EXPECT_TRUE(cookie((QByteArray("a=b; Expires=") + text).constData()).isSessionOnly()) << text;
}

TEST(HTTPCookie, MaxAgeGoesBeforeExpires) {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const char *line : {"a=b; Max-Age=3600; Expires=Sun, 06 Nov 1994 08:49:37 GMT",
                             "a=b; Expires=Sun, 06 Nov 1994 08:49:37 GMT; max-age = 3600 "})
        EXPECT_NEAR(double(now.secsTo(cookie(line).expiresDate())), 3600, 60) << line;
    for (const char *past : {"0", "-1", "-9999999999"})
        EXPECT_LT(cookie((QByteArray("a=b; Max-Age=") + past).constData()).expiresDate(), now) << past;
    EXPECT_GT(cookie("a=b; Max-Age=9999999999").expiresDate(), now.addYears(50));
    EXPECT_TRUE(cookie("a=b; Max-Age=soon").isSessionOnly());
}

TEST(HTTPCookie, AHostSpeaksForItselfAndItsDomainOnly) {
    EXPECT_EQ(cookie("a=b; Domain=.example.com").domain(), QStringLiteral(".example.com"));
    EXPECT_EQ(cookie("a=b; Domain=www.example.com").domain(), QStringLiteral(".www.example.com"));
    EXPECT_EQ(cookie("a=b; Domain=").domain(), QStringLiteral("www.example.com"));
    for (const char *domain :
         {"other.com", "ww.example.com", "ample.com", "com", ".com", "x.www.example.com"})
        EXPECT_TRUE(cookie((QByteArray("a=b; Domain=") + domain).constData()).isNil()) << domain;
    EXPECT_EQ(cookie("a=b; Domain=127.0.0.1", "http://127.0.0.1/").domain(), QStringLiteral("127.0.0.1"));
    EXPECT_TRUE(cookie("a=b; Domain=0.0.1", "http://127.0.0.1/").isNil());
    EXPECT_TRUE(reaches(cookie("a=b; Domain=localhost", "http://localhost/"), "http://localhost/"));
}

TEST(HTTPCookie, NoHostSpeaksForAPublicSuffix) {
    EXPECT_TRUE(cookie("a=b; Domain=co.uk", "http://www.example.co.uk/").isNil());
    EXPECT_TRUE(cookie("a=b; Domain=github.io", "http://someone.github.io/").isNil());
    EXPECT_EQ(cookie("a=b; Domain=example.co.uk", "http://www.example.co.uk/").domain(),
              QStringLiteral(".example.co.uk"));
    EXPECT_TRUE(reaches(cookie("a=b; Domain=github.io", "http://github.io/"), "http://github.io/"));
}

TEST(HTTPCookie, HostsOfOtherScriptsAreWrittenInTwoWays) {
    const char *url = "http://www.xn--bcher-kva.de/";
    for (const char *domain : {"b\xc3\xbc"
                               "cher.de",
                               "xn--bcher-kva.de"})
        EXPECT_TRUE(reaches(cookie((QByteArray("a=b; Domain=") + domain).constData(), url), url)) << domain;
}

TEST(HTTPCookie, OneFieldMayHoldSeveral) {
    const auto three =
        parsed("a=1; Expires=Wed, 09 Jun 2100 10:18:14 GMT, b=2; Path=/, c=3,4; Max-Age=10,d=5, e");
    QStringList texts;
    for (const NSHTTPCookie &each : three)
        texts.append(each.name() + u'=' + each.value());
    EXPECT_EQ(texts.join(u' '), QStringLiteral("a=1 b=2 c=3,4 d=5, e"));
    EXPECT_TRUE(parsed("").isEmpty());
    EXPECT_TRUE(NSHTTPCookie::cookiesWithResponseHeaderFields({}, u("http://host/")).isEmpty());
    EXPECT_TRUE(parsed("a=1", "file:///x").isEmpty());
    EXPECT_EQ(parsed("a=1; Domain=other.org, b=2").size(), 1);
}

TEST(HTTPCookie, ARequestCarriesThemInOrder) {
    EXPECT_TRUE(NSHTTPCookie::requestHeaderFieldsWithCookies({}).isEmpty());
    EXPECT_EQ(NSHTTPCookie::requestHeaderFieldsWithCookies({cookie("b=2"), NSHTTPCookie(), cookie("a=")}),
              QVariantMap({{QStringLiteral("Cookie"), QStringLiteral("b=2; a=")}}));
}

QStringList carried(const NSHTTPCookieStorage &storage, const char *url) {
    QStringList pairs;
    const QVariantList found = storage.cookiesForURL(u(url));
    for (const QVariant &each : found)
        pairs.append(each.value<NSHTTPCookie>().name() + u'=' + each.value<NSHTTPCookie>().value());
    return pairs;
}

TEST(HTTPCookieStorage, HostPathAndSecurityMustMatch) {
    const NSHTTPCookie host = cookie("a=b; Path=/x");
    EXPECT_TRUE(reaches(host, "http://www.example.com/x"));
    EXPECT_TRUE(reaches(host, "https://WWW.EXAMPLE.com:8080/x/y?q"));
    EXPECT_FALSE(reaches(host, "http://www.example.com/xy"));
    EXPECT_FALSE(reaches(host, "http://www.example.com/"));
    EXPECT_FALSE(reaches(host, "http://a.www.example.com/x"));
    EXPECT_FALSE(reaches(host, "http://example.com/x"));
    const NSHTTPCookie domain = cookie("a=b; Domain=example.com; Path=/x/; Secure");
    EXPECT_TRUE(reaches(domain, "https://example.com/x/"));
    EXPECT_TRUE(reaches(domain, "https://a.b.example.com/x/y"));
    EXPECT_FALSE(reaches(domain, "https://badexample.com/x/"));
    EXPECT_FALSE(reaches(domain, "http://example.com/x/"));
    EXPECT_FALSE(reaches(domain, "https://example.com/x"));
    EXPECT_FALSE(reaches(NSHTTPCookie(), "http://www.example.com/"));
}

TEST(HTTPCookieStorage, LongerPathsComeFirstThenOlderOnes) {
    NSHTTPCookieStorage storage;
    for (const char *line : {"a=1; Path=/", "b=2; Path=/dir", "c=3; Path=/", "d=4; Path=/dir/page"})
        storage.setCookie(cookie(line));
    EXPECT_EQ(carried(storage, "http://www.example.com/dir/page").join(u' '),
              QStringLiteral("d=4 b=2 a=1 c=3"));
    EXPECT_EQ(carried(storage, "http://www.example.com/").join(u' '), QStringLiteral("a=1 c=3"));
    EXPECT_TRUE(carried(storage, "http://example.com/").isEmpty());
}

TEST(HTTPCookieStorage, ANewOneReplacesItsOlder) {
    NSHTTPCookieStorage storage;
    storage.setCookies(
        {QVariant::fromValue(cookie("a=1; Path=/")), QVariant::fromValue(cookie("b=2; Path=/")),
         QVariant::fromValue(cookie("a=3; Path=/")), QVariant::fromValue(cookie("a=4; Path=/x")), 7});
    EXPECT_EQ(carried(storage, "http://www.example.com/").join(u' '), QStringLiteral("b=2 a=3"));
    storage.setCookie(cookie("a=; Path=/; Max-Age=0"));
    EXPECT_EQ(carried(storage, "http://www.example.com/x").join(u' '), QStringLiteral("a=4 b=2"));
    storage.deleteCookie(cookie("b=; Path=/"));
    EXPECT_EQ(storage.cookies().size(), 1);
    storage.removeAllCookies();
    EXPECT_TRUE(storage.cookies().isEmpty());
}

TEST(HTTPCookieStorage, ServersCannotFillTheMemory) {
    NSHTTPCookieStorage storage;
    for (int i = 0; i < 1000; ++i)
        storage.setCookie(cookie(("c" + QByteArray::number(i) + "=1").constData()));
    EXPECT_EQ(storage.cookies().size(), 180);
    EXPECT_EQ(storage.cookies().last().name(), QStringLiteral("c999"));
}

} // namespace
