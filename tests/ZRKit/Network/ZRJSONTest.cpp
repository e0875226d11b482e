// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRJSON.h"

#include "ZRKit/Values/ZRCollection.h"
#include "platform/base/NSException.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"

#include <QDateTime>
#include <QStringList>
#include <QUrl>
#include <QVariantHash>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace ZRKit;

namespace {

QVariant date(const QString &iso) {
    return QDateTime::fromString(iso, Qt::ISODateWithMs);
}

QVariant decimal(const QString &text) {
    return QVariant::fromValue(NSDecimalNumber(text));
}

QString withoutSpace(QString text) {
    return text.remove(u' ').remove(u'\n');
}

} // namespace

TEST(ZRJSON, ReadsStringsAndData) {
    const QVariant value = QVariantMap{{u"a"_s, QVariantList{1LL, u"\u00e9"_s, true, NSNull()}}};
    EXPECT_EQ(fromJSON(u"{\"a\":[1,\"\u00e9\",true,null]}"_s), value);
    EXPECT_EQ(fromJSONData("{\"a\":[1,\"\xC3\xA9\",true,null]}"), value);
    EXPECT_TRUE(NSIsNull(fromJSON(u"[null]"_s).toList().at(0)));
}

TEST(ZRJSON, WhatIsNoJSONIsNil) {
    for (const QString &text : {u"1"_s, u"\"a\""_s, u"true"_s, u"null"_s, u"{"_s, u"[1,]"_s, u"nonsense"_s,
                                u""_s, QString(), u"[\"\xd800\"]"_s}) {
        EXPECT_FALSE(fromJSON(text).isValid()) << qPrintable(text);
        EXPECT_FALSE(fromJSONData(text.toUtf8().replace("\"?\"", "\xFF")).isValid()) << qPrintable(text);
    }
    EXPECT_FALSE(fromJSONData("[\"\xFF\"]").isValid());
}

TEST(ZRJSON, ADateBecomesItsUnixSeconds) {
    EXPECT_EQ(jsonObject(date(u"2001-09-09T01:46:40Z"_s)), QVariant(u"1000000000"_s));
    EXPECT_EQ(jsonObject(date(u"1970-01-01T00:00:00.999Z"_s)), QVariant(u"0"_s));
    EXPECT_EQ(jsonObject(date(u"1969-12-31T23:59:59.500Z"_s)), QVariant(u"-1"_s));
    EXPECT_EQ(jsonObject(date(u"2001-09-09T03:46:40+02:00"_s)), QVariant(u"1000000000"_s));
}

TEST(ZRJSON, ADecimalBecomesItsExactText) {
    EXPECT_EQ(jsonObject(decimal(u"0.1"_s)), QVariant(u"0.1"_s));
    EXPECT_EQ(toJSON(jsonObject(QVariantList{decimal(u"0.1"_s)})), u"[\"0.1\"]"_s);
    EXPECT_EQ(jsonObject(decimal(u"12345678901234567890123456789012345678"_s)),
              QVariant(u"12345678901234567890123456789012345678"_s));
}

TEST(ZRJSON, ContainersAreConvertedToAnyDepthAndTheInputStays) {
    const QVariant when = date(u"2001-09-09T01:46:40.7Z"_s);
    const QVariant input = QVariantMap{
        {u"list"_s, QVariantList{when, 1, QVariantMap{{u"deep"_s, QVariantList{when, decimal(u"1.50"_s)}}}}},
        {u"text"_s, u"x"_s},
        {u"null"_s, NSNull()}};
    const QVariant copy = input;
    const QVariant expected = QVariantMap{
        {u"list"_s,
         QVariantList{u"1000000000"_s, 1, QVariantMap{{u"deep"_s, QVariantList{u"1000000000"_s, u"1.5"_s}}}}},
        {u"text"_s, u"x"_s},
        {u"null"_s, NSNull()}};
    EXPECT_EQ(jsonObject(input), expected);
    EXPECT_EQ(input, copy);
    EXPECT_EQ(
        toJSON(jsonObject(input)),
        u"{\"list\":[\"1000000000\",1,{\"deep\":[\"1000000000\",\"1.5\"]}],\"null\":null,\"text\":\"x\"}"_s);

    QVariant deep = when;
    for (int i = 0; i < 2000; ++i)
        deep = i % 2 ? QVariant(QVariantMap{{u"k"_s, deep}}) : QVariant(QVariantList{deep});
    QVariant converted = jsonObject(deep);
    for (int i = 0; i < 1000; ++i) {
        converted = converted.toMap().value(u"k"_s);
        ASSERT_EQ(converted.toList().size(), 1);
        converted = converted.toList().at(0);
    }
    EXPECT_EQ(converted, QVariant(u"1000000000"_s));
}

TEST(ZRJSON, OtherDictionariesAndArraysAreConvertedToo) {
    const QVariant when = date(u"2001-09-09T01:46:40Z"_s);
    EXPECT_EQ(jsonObject(QVariantHash{{u"a"_s, when}}), QVariant(QVariantMap{{u"a"_s, u"1000000000"_s}}));
    EXPECT_EQ(jsonObject(QVariant::fromValue(ZRCollection{{u"b"_s, when}})),
              QVariant(QVariantMap{{u"b"_s, u"1000000000"_s}}));
    EXPECT_EQ(jsonObject(QStringList{u"a"_s}), QVariant(QVariantList{u"a"_s}));
}

TEST(ZRJSON, KeysThatAreNoTextsAreRefused) {
    const QVariant numbers = QVariant::fromValue(QMap<int, QVariant>{{1, 1}});
    EXPECT_THROW(jsonObject(numbers), NSException);
    EXPECT_THROW(jsonObject(QVariantList{QVariantMap{{u"a"_s, numbers}}}), NSException);
    EXPECT_THROW(jsonObject(QVariant::fromValue(QHash<double, QVariant>{{1.5, 1}})), NSException);
    EXPECT_EQ(jsonObject(QVariant::fromValue(QMap<QString, int>{{u"a"_s, 1}})),
              QVariant(QVariantMap{{u"a"_s, 1}}));
}

TEST(ZRJSON, WholeNumbersAreWrittenWithoutAnExponent) {
    EXPECT_EQ(toJSON(fromJSON(u"[100000.0,1e10,0.5]")), u"[100000,10000000000,0.5]"_s);
}

TEST(ZRJSON, AnythingElseIsItself) {
    const QVariant values[] = {u"text"_s,
                               u""_s,
                               5,
                               5.5,
                               true,
                               std::numeric_limits<qulonglong>::max(),
                               NSNull(),
                               QByteArray("data"),
                               QUrl(u"https://host.test/"_s),
                               QVariant::fromValue(NSSet{date(u"2001-09-09T01:46:40Z"_s)}),
                               QVariant()};
    for (const QVariant &value : values) {
        const QVariant converted = jsonObject(value);
        EXPECT_EQ(converted, value);
        EXPECT_EQ(converted.metaType(), value.metaType());
    }
}

TEST(ZRJSON, WritesCompactAndPretty) {
    const QVariant value = QVariantMap{{u"b"_s, QVariantList{1, 2.5, u"\u00e9"_s}}, {u"a"_s, QVariantMap()}};
    EXPECT_EQ(toJSON(value), u"{\"a\":{},\"b\":[1,2.5,\"\u00e9\"]}"_s);
    EXPECT_EQ(toJSONData(value), QByteArray("{\"a\":{},\"b\":[1,2.5,\"\xC3\xA9\"]}"));
    EXPECT_NE(toJSONPretty(value), toJSON(value));
    EXPECT_EQ(withoutSpace(toJSONPretty(value)), toJSON(value));
    EXPECT_EQ(fromJSON(toJSONPretty(value)), fromJSON(toJSON(value)));
}

TEST(ZRJSON, ACollectionIsWrittenInItsOrder) {
    const QVariant collection = QVariant::fromValue(
        ZRCollection{{u"z"_s, 1}, {u"a"_s, QVariant::fromValue(ZRCollection())}, {u"m"_s, 3}});
    EXPECT_EQ(toJSON(collection), u"{\"z\":1,\"a\":{},\"m\":3}"_s);
    EXPECT_EQ(toJSON(QVariantList{collection}), u"[{\"z\":1,\"a\":{},\"m\":3}]"_s);
    EXPECT_EQ(withoutSpace(toJSONPretty(collection)), toJSON(collection));
}

TEST(ZRJSON, WritingDoesNotConvertByItself) {
    EXPECT_THROW(toJSON(QVariantList{date(u"2001-09-09T01:46:40Z"_s)}), NSException);
    EXPECT_EQ(toJSON(QVariantList{decimal(u"0.1"_s)}), u"[0.1]"_s);
}

TEST(ZRJSON, TheRefusalReachesTheCaller) {
    const QVariant refused[] = {QVariantList{QByteArray("x")},
                                QVariantList{QUrl(u"https://host.test/"_s)},
                                QVariantList{QVariant::fromValue(NSSet())},
                                QVariantList{qQNaN()},
                                QVariant::fromValue(QMap<int, QVariant>{{1, 1}}),
                                u"fragment"_s,
                                5,
                                NSNull()};
    for (const QVariant &value : refused) {
        EXPECT_THROW(toJSONData(value), NSException);
        EXPECT_THROW(toJSON(value), NSException);
        EXPECT_THROW(toJSONPretty(value), NSException);
    }
}

TEST(ZRJSON, NilGivesNil) {
    EXPECT_TRUE(toJSONData(QVariant()).isNull());
    EXPECT_TRUE(toJSON(QVariant()).isNull());
    EXPECT_TRUE(toJSONPretty(QVariant(QString())).isNull());
    EXPECT_FALSE(jsonObject(QVariant()).isValid());
}
