// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSObject+ZRKit.h"

#include "ZRKit/Values/ZRCollection.h"
#include "platform/base/NSException.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNull.h"
#include "platform/values/ValueKind.h"

#include <QJsonArray>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace zr;

namespace {

QString S(const char *text) {
    return QString::fromUtf8(text);
}

const QVariant tree = QVariantMap{{S("a"), QVariantList{QVariantMap{{S("c"), 1}}, QVariantMap{{S("b"), 2}}}},
                                  {S("n"), NSNull()},
                                  {S("s"), S("text")},
                                  {S("e"), S("")},
                                  {S("l"), QVariantList{1, S("x")}}};

} // namespace

TEST(NSObject, PathLeadsThroughDictionariesAndArrays) {
    EXPECT_EQ(ZRKit::path(QVariantMap{{S("a"), QVariantList{QVariantMap{{S("b"), 1}}}}}, S("a/0/b")),
              QVariant(1));
    EXPECT_EQ(ZRKit::path(tree, S("//a//")), ZRKit::path(tree, S("a")));
    EXPECT_EQ(ZRKit::path(tree, S("a/0/c")), QVariant(1));
    EXPECT_EQ(ZRKit::path(tree, S("a/1/b")), QVariant(2));
    EXPECT_EQ(ZRKit::path(tree, S("//s//")), QVariant(S("text")));
    EXPECT_EQ(ZRKit::path(tree, S("")), tree);
    EXPECT_EQ(ZRKit::path(tree, QString()), tree);
    EXPECT_EQ(ZRKit::path(tree, S("//")), tree);
    EXPECT_EQ(ZRKit::path(tree, S("l/01")), QVariant(S("x")));
    EXPECT_EQ(ZRKit::path(tree, S("l/1x")), QVariant(S("x")));
    EXPECT_EQ(ZRKit::path(tree, S("l/ +1")), QVariant(S("x")));
    EXPECT_EQ(ZRKit::path(tree, S("l/00000000000000000000001")), QVariant(S("x")));
    EXPECT_EQ(ZRKit::path(tree, S("e")), QVariant(S("")));
    for (const char *nowhere :
         {"x", "a/5/b", "a/x", "a/00", "a/-1", "a/0/x", "s/0", "n/x", "l/0/0", "a/99999999999",
          "a/99999999999999999999", "a/+", "a/-0", "l/18446744073709551617"})
        EXPECT_FALSE(ZRKit::path(tree, S(nowhere)).isValid()) << nowhere;
    EXPECT_FALSE(ZRKit::path({}, S("a")).isValid());
    EXPECT_FALSE(ZRKit::path(S("text"), S("a")).isValid());
}

TEST(NSObject, PathWildcardsTakeTheFirstElementThatLeadsSomewhere) {
    EXPECT_EQ(ZRKit::path(tree, S("a/*/b")), QVariant(2));
    EXPECT_EQ(ZRKit::path(tree, S("a/?/b")), QVariant(2));
    EXPECT_EQ(ZRKit::path(tree, S("l/*")), QVariant(1));
    EXPECT_FALSE(ZRKit::path(tree, S("a/*/x")).isValid());
    EXPECT_FALSE(ZRKit::path(QVariantList(), S("*")).isValid());
    EXPECT_EQ(ZRKit::path(QVariantMap{{S("*"), 3}}, S("*")), QVariant(3));
    EXPECT_EQ(ZRKit::path(QVariantList{QVariantList{}, QVariantList{NSNull(), 4}}, S("*/*"), true), NSNull());
}

TEST(NSObject, PathEndsAtTheNullMarkerInItsOwnWays) {
    EXPECT_FALSE(ZRKit::path(tree, S("n")).isValid());
    EXPECT_EQ(ZRKit::path(tree, S("n"), false), NSNull());
    EXPECT_EQ(ZRKit::path(tree, S("n"), true), NSNull());
    EXPECT_EQ(ZRKit::path(tree, S("n"), S("default")), QVariant(S("default")));
    EXPECT_EQ(ZRKit::path(tree, S("n"), 5), QVariant(5));
    EXPECT_EQ(ZRKit::path(tree, S("e"), 5), QVariant(S("")));
    EXPECT_FALSE(ZRKit::path({}, S("e"), 5).isValid());
    EXPECT_EQ(ZRKit::paths(tree, {S("x"), S("n"), S("s"), S("a")}), QVariant(S("text")));
    EXPECT_FALSE(ZRKit::paths(tree, {}).isValid());
    EXPECT_FALSE(ZRKit::paths(tree, {S("x"), QString(), S("s")}).isValid());
    EXPECT_EQ(ZRKit::stringAtPath(tree, S("a/0/c")), S("1"));
    EXPECT_TRUE(ZRKit::stringAtPath(tree, S("e")).isNull());
    EXPECT_TRUE(ZRKit::stringAtPath(tree, S("n")).isNull());
    EXPECT_TRUE(ZRKit::stringAtPath(tree, S("x")).isNull());
}

TEST(NSObject, PathsLeadThroughContainersOfEveryType) {
    const QVariant tree = QVariantHash{
        {S("a"),
         QVariant::fromValue(ZRCollection{
             {S("b"), QStringList{S("x"), S("y")}},
             {S("c"), QVariantList{QVariant::fromValue(ZRCollection{{S("d"), QStringList{S("z")}}})}}})}};
    EXPECT_EQ(ZRKit::path(tree, S("a/b/1")), QVariant(S("y")));
    EXPECT_EQ(ZRKit::path(tree, S("a/c/0/d/0")), QVariant(S("z")));
    EXPECT_EQ(ZRKit::path(tree, S("a/*/d/?")), QVariant()) << "a wildcard is a key to a dictionary";
    EXPECT_EQ(ZRKit::path(tree, S("a/c/*/d/?")), QVariant(S("z")));
    EXPECT_FALSE(ZRKit::path(tree, S("a/b/2")).isValid());
    EXPECT_FALSE(ZRKit::path(tree, S("a/b/x")).isValid());
}

TEST(NSObject, ANilKeyHasNoValue) {
    for (const QVariant &dictionary : {QVariant(QVariantMap{{S(""), 1}}), QVariant(QVariantHash{{S(""), 1}}),
                                       QVariant::fromValue(ZRCollection{{S(""), 1}})}) {
        EXPECT_TRUE(ZRKit::zrHas(dictionary, S("")));
        EXPECT_FALSE(ZRKit::zrHas(dictionary, QString()));
        EXPECT_EQ(ZRKit::zrKey(dictionary, QString(), 5), QVariant(5));
        EXPECT_EQ(ZRKit::zrKey(dictionary, S(""), 5), QVariant(1));
    }
}

TEST(NSObject, DumpsTreesAsLines) {
    EXPECT_EQ(ZRKit::dump(QVariantMap{{S("a"), QVariantList{1, S("x")}}}),
              S("/ = {1}\n/a = [2]\n/a/0 = 1\n/a/1 = \"x\""));
    EXPECT_EQ(ZRKit::dump(S("a\nb")), S("/ = \"a\\nb\""));
    EXPECT_EQ(ZRKit::dump(QVariantList{NSNull(), 1.5, true}), S("/ = [3]\n/0 = <null>\n/1 = 1.5\n/2 = 1"));
    QStringList lines = {S("first")};
    EXPECT_EQ(ZRKit::dump(1, 2, S("p"), &lines), (QStringList{S("first"), S("p = 2")}));
    EXPECT_EQ(lines, (QStringList{S("first"), S("p = 2")}));
    EXPECT_TRUE(ZRKit::dump({}).isNull());
}

TEST(NSObject, TolerantAccess) {
    const QVariant map = QVariantMap{{S("b"), 1}, {S("a"), NSNull()}};
    const QVariant list = QVariantList{7, NSNull()};
    EXPECT_EQ(ZRKit::zrKeys(map), (QVariantList{S("a"), S("b")}));
    EXPECT_FALSE(ZRKit::zrKeys(list).has_value());
    EXPECT_EQ(ZRKit::zrValues(map), (QVariantList{NSNull(), 1}));
    EXPECT_EQ(ZRKit::zrValues(list), list.toList());
    EXPECT_FALSE(ZRKit::zrValues(S("x")).has_value());
    EXPECT_FALSE(ZRKit::zrKey(map, S("b")).isValid());
    EXPECT_THROW(ZRKit::zrKey(S("x"), S("b")), NSException);
    EXPECT_FALSE(ZRKit::zrKey({}, S("b")).isValid());
    EXPECT_EQ(ZRKit::zrKey(map, S("b"), 5), QVariant(1));
    EXPECT_EQ(ZRKit::zrKey(map, S("a"), 5), QVariant(5));
    EXPECT_EQ(ZRKit::zrKey(map, S("x"), 5), QVariant(5));
    EXPECT_FALSE(ZRKit::zrKey(S("x"), S("b"), 5).isValid());
    EXPECT_EQ(ZRKit::zrKeys(map, {S("x"), S("a"), S("b")}), QVariant(1));
    EXPECT_FALSE(ZRKit::zrKeys(map, {}).isValid());
    EXPECT_FALSE(ZRKit::zrKeys(list, {S("x")}).isValid());
    EXPECT_TRUE(ZRKit::zrHas(map, S("a")));
    EXPECT_FALSE(ZRKit::zrHas(map, S("x")));
    EXPECT_FALSE(ZRKit::zrHas(list, S("a")));
    EXPECT_EQ(ZRKit::zrAt(list, 0), QVariant(7));
    for (const int index : {1, 2, -1})
        EXPECT_FALSE(ZRKit::zrAt(list, index).isValid());
    EXPECT_FALSE(ZRKit::zrAt(map, 0).isValid());
}

TEST(NSObject, OrderedDictionariesAreDictionariesInTheirOwnOrder) {
    const ZRCollection ordered = {{S("b"), 1}, {S("a"), QVariantList{S("x")}}};
    const QVariant value = QVariant::fromValue(ordered);
    EXPECT_EQ(kindOf(value), ValueKind::Dictionary);
    EXPECT_EQ(ZRKit::path(value, S("a/0")), QVariant(S("x")));
    EXPECT_EQ(ZRKit::dump(value), S("/ = {2}\n/b = 1\n/a = [1]\n/a/0 = \"x\""));
    EXPECT_EQ(ZRKit::zrKeys(value), (QVariantList{S("b"), S("a")}));
    EXPECT_EQ(ZRKit::zrValues(value)->first(), QVariant(1));
    EXPECT_TRUE(ZRKit::zrHas(value, S("a")));
    EXPECT_FALSE(ZRKit::zrKey(value, S("a")).isValid());
    EXPECT_TRUE(ZRKit::isTrue(value));
    EXPECT_TRUE(ZRKit::isNotEmpty(value));
    EXPECT_FALSE(ZRKit::isTrue(QVariant::fromValue(ZRCollection())));
    EXPECT_EQ(NSObjectRuntime::description(value), ordered.description());
    const QVariant same = QVariantMap{{S("a"), QVariantList{S("x")}}, {S("b"), 1.0}};
    EXPECT_TRUE(NSObjectRuntime::isEqual(value, same));
    EXPECT_EQ(NSObjectRuntime::hash(value), NSObjectRuntime::hash(same));
    QVariant changed = value;
    NSKeyValueCoding::setValueForKey(changed, 3, S("c"));
    NSKeyValueCoding::setValueForKey(changed, 2, S("b"));
    NSKeyValueCoding::setValueForKey(changed, QVariant(), S("a"));
    EXPECT_EQ(changed.value<ZRCollection>().array(), (QStringList{S("b"), S("c")}));
    EXPECT_EQ(ZRKit::path(changed, S("b")), QVariant(2));
    EXPECT_EQ(NSKeyValueCoding::valueForKey(changed, S("@count")), QVariant(2));
}

TEST(NSObject, HashHexHas32LowerCaseDigits) {
    for (const QVariant &value : {QVariant(0), QVariant(S("x")), tree, NSNull()}) {
        const QString hex = ZRKit::hashHexWith32Digits(value);
        EXPECT_EQ(hex.size(), 32);
        EXPECT_TRUE(hex.startsWith(QString(16, QLatin1Char('0'))));
        EXPECT_EQ(hex, hex.toLower());
        EXPECT_EQ(hex, ZRKit::hashHexWith32Digits(value));
    }
    EXPECT_TRUE(ZRKit::hashHexWith32Digits({}).isNull());
}

TEST(NSObject, ADefaultIsNeverTakenForTheFlag) {
    const QString path = S("no/such/path");
    EXPECT_EQ(ZRKit::path(tree, path, "d"), QVariant(S("d")));
    EXPECT_EQ(ZRKit::path(tree, path, u"d"), QVariant(S("d")));
    EXPECT_EQ(ZRKit::path(tree, path, u'd'), QVariant(S("d")));
    EXPECT_EQ(ZRKit::path(tree, path, QChar(u'd')), QVariant(S("d")));
    EXPECT_EQ(ZRKit::path(tree, path, QLatin1String("d")), QVariant(S("d")));
    EXPECT_EQ(ZRKit::path(tree, path, QStringView(u"d")), QVariant(S("d")));
    EXPECT_EQ(ZRKit::path(tree, path, S("d")), QVariant(S("d")));
    EXPECT_EQ(ZRKit::path(tree, path, 5), QVariant(5));
    EXPECT_EQ(ZRKit::path(tree, path, 2.5), QVariant(2.5));
    EXPECT_EQ(ZRKit::path(tree, path, QVariantList{1}), QVariant(QVariantList{1}));
    QObject object;
    EXPECT_EQ(ZRKit::path(tree, path, &object).value<QObject *>(), &object);
    EXPECT_FALSE(ZRKit::path(tree, path, nullptr).isValid());
    EXPECT_FALSE(ZRKit::path(tree, path, true).isValid()) << "the flag";
    EXPECT_TRUE(NSIsNull(ZRKit::path(tree, u"n", false)));
}

TEST(NSObject, TextsMayBeLiterals) {
    EXPECT_EQ(ZRKit::path(tree, u"a/1/b"), QVariant(2));
    EXPECT_EQ(ZRKit::path(tree, "a/1/b"), QVariant(2));
    EXPECT_EQ(ZRKit::path(tree, S("a/") + S("1/b")), QVariant(2));
    EXPECT_EQ(ZRKit::stringAtPath(tree, u"s"), S("text"));
    EXPECT_EQ(ZRKit::stringDefault(S(""), u"default"), S("default"));
    EXPECT_EQ(ZRKit::zrKey(tree, u"s", u"d"), QVariant(S("text")));
    EXPECT_EQ(ZRKit::zrKey(tree, u'x', "d"), QVariant(S("d")));
    EXPECT_TRUE(ZRKit::zrHas(tree, u"n"));
}

TEST(NSObject, AJsonValueCountsAsWhatItHolds) {
    EXPECT_EQ(ZRKit::toInt(QJsonValue(2.9)), 2);
    EXPECT_EQ(ZRKit::toDouble(QJsonValue(S("2.5x"))), 2.5);
    EXPECT_TRUE(ZRKit::toBool(QJsonValue(S("yes"))));
    EXPECT_EQ(ZRKit::toString(QJsonValue(S("text"))), S("text"));
    EXPECT_EQ(ZRKit::toString(QJsonValue(2.5)), S("2.5"));
    EXPECT_EQ(ZRKit::toString(QJsonValue(QJsonValue::Null)), S(""));
    EXPECT_EQ(ZRKit::toData(QJsonValue(S("a"))), QByteArray("a"));
    EXPECT_EQ(ZRKit::toDate(QJsonValue(S("2014-01-02"))), ZRKit::toDate(S("2014-01-02")));
    EXPECT_FALSE(ZRKit::isTrue(QJsonValue(0)));
    EXPECT_FALSE(ZRKit::isTrue(QJsonValue(QJsonArray())));
    EXPECT_FALSE(ZRKit::isNotNull(QJsonValue(QJsonValue::Null)));
    EXPECT_FALSE(ZRKit::isNotEmpty(QJsonValue(S(""))));
    EXPECT_TRUE(ZRKit::isNotEmpty(QJsonValue(QJsonArray{1})));
    const QVariant json = QJsonValue(QJsonObject{{S("a"), QJsonArray{1, QJsonObject{{S("b"), S("x")}}}}});
    EXPECT_EQ(ZRKit::path(json, S("a/1/b")), QVariant(S("x")));
    EXPECT_EQ(ZRKit::path(json, S("a/*/b")), QVariant(S("x")));
    EXPECT_EQ(ZRKit::zrAt(QJsonValue(QJsonArray{1, 2}), 1), QVariant(2));
    EXPECT_EQ(ZRKit::dump(json), S("/ = {1}\n/a = [2]\n/a/0 = 1\n/a/1 = {1}\n/a/1/b = \"x\""));
    EXPECT_EQ(ZRKit::dump(QVariantList{QJsonValue(S("s"))}), S("/ = [1]\n/0 = \"s\""));
}
