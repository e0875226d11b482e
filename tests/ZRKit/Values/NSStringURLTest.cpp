// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include "ZRKit/Values/ZRCollection.h"
#include "platform/base/NSException.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"

#include <gtest/gtest.h>
#include <random>

namespace {

TEST(NSStringURL, EncodingLeavesOnlyUnreservedCharacters) {
    EXPECT_EQ(ZRKit::urlEncode(QStringLiteral("a b/c?d=é%")), QStringLiteral("a%20b%2Fc%3Fd%3D%C3%A9%25"));
    const QString kept = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~");
    EXPECT_EQ(ZRKit::urlEncode(kept), kept);
    EXPECT_EQ(ZRKit::urlEncode(QStringLiteral("\ufffc€𝄞")), QStringLiteral("%EF%BF%BC%E2%82%AC%F0%9D%84%9E"));
    EXPECT_TRUE(ZRKit::urlEncode(QStringLiteral("")).isEmpty());
    EXPECT_FALSE(ZRKit::urlEncode(QStringLiteral("")).isNull());
    EXPECT_TRUE(ZRKit::urlEncode(QString()).isNull());
}

TEST(NSStringURL, EveryCharacterIsEncodedByTheRule) {
    for (char32_t c = 0; c <= QChar::LastValidCodePoint; ++c) {
        if (QChar::isSurrogate(c))
            continue;
        const QString text = QString::fromUcs4(&c, 1);
        QString expected;
        for (const char byte : text.toUtf8()) {
            if ((byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                (byte >= 'a' && byte <= 'z') || byte == '-' || byte == '_' || byte == '.' || byte == '~')
                expected += QLatin1Char(byte);
            else
                expected += QString::asprintf("%%%02X", unsigned(uchar(byte)));
        }
        ASSERT_EQ(ZRKit::urlEncode(text), expected) << unsigned(c);
    }
}

TEST(NSStringURL, HalfASurrogatePairIsEncodedAsTheReplacementCharacter) {
    const QString text = QStringLiteral("a") + QChar(0xd834) + QStringLiteral("b") + QChar(0xdd1e);
    EXPECT_EQ(ZRKit::urlEncode(text), QStringLiteral("a%EF%BF%BDb%EF%BF%BD"));
}

TEST(NSStringURL, AnyObjectsTextIsEncoded) {
    EXPECT_EQ(ZRKit::urlEncode(QVariant(QStringLiteral("a b"))), QStringLiteral("a%20b"));
    EXPECT_EQ(ZRKit::urlEncode(QVariant(QUrl(QStringLiteral("http://h/a b?x=1")))),
              QStringLiteral("http%3A%2F%2Fh%2Fa%2520b%3Fx%3D1"));
    EXPECT_EQ(ZRKit::urlEncode(QVariant(QByteArray("h\xc3\xa9"))), QStringLiteral("h%C3%A9"));
    EXPECT_EQ(ZRKit::urlEncode(QVariant(-1.5)), QStringLiteral("-1.5"));
    EXPECT_EQ(ZRKit::urlEncode(QVariant(12)), QStringLiteral("12"));
    EXPECT_EQ(ZRKit::urlEncode(QVariant::fromValue(NSDecimalNumber(QStringLiteral("1.50")))),
              QStringLiteral("1.5"));
    // A date has no stringValue: its description.
    const QVariant date = QDateTime::fromSecsSinceEpoch(0, Qt::UTC);
    EXPECT_EQ(ZRKit::urlEncode(date), QStringLiteral("1970-01-01%2000%3A00%3A00%20%2B0000"));
    EXPECT_EQ(ZRKit::urlEncode(QVariant(QVariantList{})), QStringLiteral("%28%29"));
}

TEST(NSStringURL, WhatHasNoTextIsEncodedAsNothing) {
    for (const QVariant &object : {QVariant(), NSNull(), QVariant(QString()), QVariant(QByteArray("\xff")),
                                   QVariant(QStringLiteral(""))}) {
        EXPECT_TRUE(ZRKit::urlEncode(object).isEmpty());
        EXPECT_FALSE(ZRKit::urlEncode(object).isNull());
    }
}

TEST(NSStringURL, QueriesHaveSortedKeys) {
    EXPECT_EQ(ZRKit::queryStringWithDictionary(
                  QVariantMap{{QStringLiteral("b"), 2}, {QStringLiteral("a"), QStringLiteral("x y")}}),
              QStringLiteral("a=x%20y&b=2"));
    EXPECT_EQ(ZRKit::queryStringWithDictionary(
                  ZRCollection{{QStringLiteral("b"), 2}, {QStringLiteral("a"), QStringLiteral("x y")}}),
              QStringLiteral("a=x%20y&b=2"));
    EXPECT_EQ(ZRKit::queryStringWithDictionary(QVariantMap{{QStringLiteral("é&="), NSNull()},
                                                           {QStringLiteral("B"), true},
                                                           {QStringLiteral("a"), QByteArray("\xff")}}),
              QStringLiteral("B=1&a=&%C3%A9%26%3D="));
    EXPECT_TRUE(ZRKit::queryStringWithDictionary(QVariantMap()).isEmpty());
    EXPECT_FALSE(ZRKit::queryStringWithDictionary(QVariantMap()).isNull());
}

TEST(NSStringURL, AQueryIsAppendedWithTheMarkThatFits) {
    const QVariantMap query{{QStringLiteral("a"), 1}};
    EXPECT_EQ(ZRKit::addQuery(QStringLiteral("http://h/p"), query), QStringLiteral("http://h/p?a=1"));
    EXPECT_EQ(ZRKit::addQuery(QStringLiteral("http://h/p?x=1"), query), QStringLiteral("http://h/p?x=1&a=1"));
    EXPECT_EQ(ZRKit::addQuery(QStringLiteral("p"), QVariantMap()), QStringLiteral("p?"));
    EXPECT_EQ(ZRKit::addQuery(QStringLiteral("p?"), QVariantMap()), QStringLiteral("p?&"));
    EXPECT_EQ(ZRKit::addQuery(QStringLiteral(""), query), QStringLiteral("?a=1"));
    EXPECT_TRUE(ZRKit::addQuery(QString(), query).isNull());
}

TEST(NSStringURL, AnAppendedQueryKeepsTheDictionarysOrder) {
    EXPECT_EQ(ZRKit::addQuery(QStringLiteral("p"),
                              ZRCollection{{QStringLiteral("z"), 1}, {QStringLiteral("a"), 2}}),
              QStringLiteral("p?z=1&a=2"));
}

TEST(NSStringURL, QueriesAreParsed) {
    EXPECT_EQ(ZRKit::parseQuery(QStringLiteral("a=1&b=x%20y%C3%A9&c=")),
              (QVariantMap{{QStringLiteral("a"), QStringLiteral("1")},
                           {QStringLiteral("b"), QStringLiteral("x yé")},
                           {QStringLiteral("c"), QStringLiteral("")}}));
    EXPECT_EQ(ZRKit::parseQuery(QStringLiteral("a%20=1+1=2=3&a%20=é%f0%9d%84%9e")),
              (QVariantMap{{QStringLiteral("a%20"), QStringLiteral("é𝄞")}}));
    EXPECT_EQ(ZRKit::parseQuery(QStringLiteral("a=1+1=2")),
              (QVariantMap{{QStringLiteral("a"), QStringLiteral("1+1")}}));
    EXPECT_EQ(ZRKit::parseQuery(QStringLiteral("=v")),
              (QVariantMap{{QStringLiteral(""), QStringLiteral("v")}}));
    EXPECT_EQ(ZRKit::parseQuery(QString()), QVariantMap());
}

TEST(NSStringURL, MalformedQueriesRaise) {
    const auto raised = [](const char *query) {
        try {
            ZRKit::parseQuery(QString::fromUtf8(query));
        } catch (const NSException &e) {
            return e.name();
        }
        return QString();
    };
    for (const char *query : {"", "a", "a=1&", "a=1&b", "&a=1", "a=1&&b=2"})
        EXPECT_EQ(raised(query), NSRangeException) << query;
    for (const char *query : {"a=%ff", "a=%c3", "a=%c3x", "a=%", "a=%4", "a=%zz", "a=x%ed%a0%80", "a=%C3é"})
        EXPECT_EQ(raised(query), NSInvalidArgumentException) << query;
}

TEST(NSStringURL, WhatIsEncodedComesBack) {
    std::mt19937 random(2);
    for (int round = 0; round < 500; ++round) {
        QVariantMap query;
        for (int i = 0; i < 4; ++i) {
            QString value;
            for (unsigned count = random() % 20; count > 0; --count)
                value += QChar(char16_t(1 + random() % 0x7ff));
            query.insert(QStringLiteral("k%1").arg(i), value.isNull() ? QStringLiteral("") : value);
        }
        ASSERT_EQ(ZRKit::parseQuery(ZRKit::queryStringWithDictionary(query)), query);
    }
}

TEST(NSStringURL, URLsFollowTheRFC) {
    for (const char *text : {"http://h/p?q#f", "HTTPS://user:pw@www.Example.com:8080/a%20b", "relative/path",
                             "/a/b", "mailto:a@b.c", "file:///tmp/x", "http://[::1]/", "?q=1"})
        EXPECT_TRUE(ZRKit::URL(QString::fromLatin1(text)).isValid()) << text;
    for (const char *text :
         {"", "not a url", "http://h/a b", "http://h/é", "http://h:port/", "http://h/%zz", "http://h/<x>",
          "http://h/\"x\"", "http://h/{x}", "http://[::1/", "http://h/a\\b"}) {
        EXPECT_FALSE(ZRKit::URL(QString::fromUtf8(text)).isValid()) << text;
        EXPECT_TRUE(ZRKit::URL(QString::fromUtf8(text)).isEmpty()) << text;
    }
    EXPECT_FALSE(ZRKit::URL(QString()).isValid());
}

TEST(NSStringURL, HumanizedURLsAreTheirHosts) {
    const auto humanized = [](const char *text) {
        return ZRKit::humanizeURL(QString::fromUtf8(text)).toStdString();
    };
    EXPECT_EQ(humanized("https://www.example.com/path?q=1#f"), "example.com");
    EXPECT_EQ(humanized("http://user:pw@www.a.www.b:8080/"), "a.b");
    EXPECT_EQ(humanized("http://WWW.Example.com"), "example.com");
    EXPECT_EQ(humanized("http://[::1]:80/"), "::1");
    for (const char *same :
         {"not a url", "www.example.com", "/www.a/b", "file:///www.a", "mailto:www.a@b", ""})
        EXPECT_EQ(humanized(same), same);
    EXPECT_TRUE(ZRKit::humanizeURL(QString()).isNull());
}

} // namespace
