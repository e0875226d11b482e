// SPDX-License-Identifier: MIT
#include "platform/values/NSKeyValueCoding.h"

#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NSSet.h"
#include "tests/platform/values/RuntimeObjects.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QUrl>
#include <gtest/gtest.h>

using namespace NSKeyValueCoding;

namespace {

QString S(const char *text) {
    return QString::fromUtf8(text);
}

QVariant decimal(const char *text) {
    return QVariant::fromValue(NSDecimalNumber(S(text)));
}

QVariant record(const QVariant &n, const QVariant &s = {}) {
    QVariantMap map;
    if (n.isValid())
        map.insert(S("n"), n);
    if (s.isValid())
        map.insert(S("s"), s);
    return map;
}

QVariant at(const QVariant &value, const char *path) {
    return valueForKeyPath(value, S(path));
}

QString raised(const std::function<void()> &block) {
    try {
        block();
    } catch (const NSException &e) {
        return e.name();
    }
    return {};
}

} // namespace

TEST(NSKeyValueCoding, ReadsDictionariesAndObjects) {
    Person boss(S("Bo"), 50), ann(S("Ann"), 17, &boss);
    EXPECT_EQ(valueForKey(record(1), S("n")), QVariant(1));
    EXPECT_FALSE(valueForKey(record(1), S("x")).isValid());
    EXPECT_EQ(valueForKey(record(NSNull()), S("n")), NSNull());
    EXPECT_EQ(valueForKey(&ann, S("name")), QVariant(S("Ann")));
    EXPECT_EQ(valueForKey(&ann, S("greeting")), QVariant(S("I am Ann")));
    EXPECT_EQ(valueForKey(&ann, S("nickname")), QVariant(S("An")));
    EXPECT_EQ(valueForKey(&ann, S("adult")), QVariant(false));
    EXPECT_EQ(valueForKey(&ann, S("hidden")), QVariant(3));
    EXPECT_EQ(valueForKey(&ann, S("self")).value<Person *>(), &ann);
    EXPECT_EQ(valueForKey(&ann, S("className")), QVariant(S("Person")));
    EXPECT_EQ(valueForKeyPath(&ann, S("boss.name")), QVariant(S("Bo")));
    EXPECT_FALSE(valueForKeyPath(&ann, S("boss.boss.name")).isValid());
    ann.setProperty("extra", 5);
    EXPECT_EQ(valueForKey(&ann, S("extra")), QVariant(5));
    EXPECT_EQ(valueForKey(QVariant::fromValue(Address{S("Bern"), 3000}), S("zip")), QVariant(3000));
    EXPECT_FALSE(valueForKey(QVariant(), S("x")).isValid());
    EXPECT_FALSE(valueForKey(static_cast<QObject *>(nullptr), S("x")).isValid());
}

TEST(NSKeyValueCoding, ReadsWhatSingleValuesHave) {
    EXPECT_EQ(at(S("Abc"), "length"), QVariant(3));
    EXPECT_EQ(at(S("Abc"), "uppercaseString"), QVariant(S("ABC")));
    EXPECT_EQ(at(S("Abc"), "self.lowercaseString.length"), QVariant(3));
    EXPECT_EQ(at(S("12x"), "intValue"), QVariant(12));
    EXPECT_EQ(at(S("yes"), "boolValue"), QVariant(true));
    EXPECT_EQ(at(2.5, "stringValue"), QVariant(S("2.5")));
    EXPECT_EQ(at(decimal("2.5"), "integerValue"), QVariant(2));
    EXPECT_EQ(at(decimal("2.5"), "doubleValue"), QVariant(2.5));
    EXPECT_EQ(at(QByteArray("ab"), "length"), QVariant(2));
    EXPECT_EQ(at(QUrl(S("http://h/p?q")), "host"), QVariant(S("h")));
    EXPECT_FALSE(at(QUrl(S("http://h/p")), "query").isValid());
    EXPECT_EQ(at(QDateTime::fromMSecsSinceEpoch(1500, Qt::UTC), "timeIntervalSince1970"), QVariant(1.5));
    EXPECT_EQ(at(7, "description"), QVariant(S("7")));
}

TEST(NSKeyValueCoding, UnknownKeysRaiseWithTheKey) {
    Person person;
    for (const QVariant &value : {QVariant(S("x")), QVariant(1), NSNull(), QVariant::fromValue(&person)}) {
        try {
            valueForKey(value, S("nothing"));
            FAIL();
        } catch (const NSException &e) {
            EXPECT_EQ(e.name(), NSUndefinedKeyException);
            EXPECT_EQ(e.userInfo().value(S("NSUnknownUserInfoKey")), QVariant(S("nothing")));
        }
    }
    Lenient lenient;
    EXPECT_EQ(valueForKey(&lenient, S("x")), QVariant(S("no x")));
}

TEST(NSKeyValueCoding, CollectionsReadEachElement) {
    const QVariant array = QVariantList{record(1), record({}), record(NSNull())};
    EXPECT_EQ(valueForKey(array, S("n")), QVariant(QVariantList{1, NSNull(), NSNull()}));
    const QVariant set = QVariant::fromValue(NSSet{record(1, 1), record(1, 2), record({}, 3)});
    EXPECT_EQ(valueForKey(set, S("n")), QVariant::fromValue(NSSet{1}));
    EXPECT_EQ(at(QStringList{S("a"), S("bcd")}, "length"), QVariant(QVariantList{1, 3}));
}

TEST(NSKeyValueCoding, CountSumAverageExtremes) {
    const QVariant array = QVariantList{record(3), record(1), record({}), record(NSNull()), record(2)};
    EXPECT_EQ(at(array, "@count"), QVariant(5));
    EXPECT_EQ(at(array, "@count.n"), QVariant(5));
    EXPECT_EQ(at(array, "@sum.n"), QVariant(6));
    EXPECT_EQ(at(array, "@avg.n"), QVariant(1.2));
    EXPECT_EQ(at(array, "@min.n"), QVariant(1));
    EXPECT_EQ(at(array, "@max.n"), QVariant(3));
    EXPECT_EQ(at(QVariantMap{{S("a"), array}}, "a.@max.n"), QVariant(3));
    EXPECT_EQ(at(QVariantMap{{S("a"), array}}, "@count"), QVariant(1));
    EXPECT_EQ(at(QVariantList{S("b"), S("a")}, "@min.self"), QVariant(S("a")));
    EXPECT_EQ(at(QVariantList{1, 2.5}, "@sum.self"), QVariant(3.5));
    EXPECT_EQ(at(QVariantList{S("1.5"), 1}, "@sum.self"), QVariant(2.5));
    constexpr qint64 largest = std::numeric_limits<qint64>::max();
    EXPECT_EQ(at(QVariantList{largest, 1}, "@sum.self"), QVariant(Q_UINT64_C(9223372036854775808)));
    EXPECT_EQ(at(QVariantList{largest, largest, -largest, 1u}, "@sum.self"),
              QVariant(Q_UINT64_C(9223372036854775808)));
    EXPECT_EQ(at(QVariantList{largest, largest, largest}, "@sum.self"), QVariant(3 * 0x1p63));
    EXPECT_EQ(at(QVariantList{-largest, -largest}, "@sum.self"), QVariant(-0x1p64));
    EXPECT_EQ(at(QVariantList{decimal("0.1"), decimal("0.2"), 1, 0.5, NSNull()}, "@sum.self"),
              decimal("1.8"));
    EXPECT_EQ(at(QVariantList{decimal("0.1"), decimal("0.2")}, "@avg.self"), decimal("0.15"));
    EXPECT_EQ(at(QVariant::fromValue(NSSet{1, 2, 3}), "@sum.self"), QVariant(6));
    EXPECT_EQ(at(QVariantList(), "@sum.self"), QVariant(0));
    EXPECT_EQ(at(QVariantList(), "@avg.self"), QVariant(0));
    EXPECT_FALSE(at(QVariantList(), "@max.self").isValid());
    EXPECT_EQ(valueForKey(array, S("@count")), QVariant(5));
}

TEST(NSKeyValueCoding, Unions) {
    const QVariant array = QVariantList{record(2), record(1.0), record({}), record(1), record(NSNull())};
    EXPECT_EQ(at(array, "@unionOfObjects.n"), QVariant(QVariantList{2, 1.0, 1, NSNull()}));
    EXPECT_EQ(at(array, "@distinctUnionOfObjects.n"), QVariant(QVariantList{2, 1.0, NSNull()}));
    EXPECT_EQ(at(QVariantList{decimal("1"), 1}, "@distinctUnionOfObjects.self").toList().size(), 1);
    EXPECT_EQ(at(QVariant::fromValue(NSSet{record(1, 1), record(1, 2)}), "@distinctUnionOfObjects.n"),
              QVariant::fromValue(NSSet{1}));
    const QVariant nested =
        QVariantList{QVariantList{record(1), record(2)}, QVariantList{record(2), record({})}};
    EXPECT_EQ(at(nested, "@unionOfArrays.n"), QVariant(QVariantList{1, 2, 2}));
    EXPECT_EQ(at(nested, "@distinctUnionOfArrays.n"), QVariant(QVariantList{1, 2}));
    const QVariant sets = QVariantList{QVariant::fromValue(NSSet{1}), QVariant::fromValue(NSSet{1, 2}),
                                       QVariant::fromValue(NSSet())};
    EXPECT_EQ(at(sets, "@distinctUnionOfSets.self"), QVariant::fromValue(NSSet{1, 2}));
    EXPECT_EQ(at(sets, "@unionOfSets.self").toList().size(), 3);
    EXPECT_EQ(at(QVariantList{nested}, "@unionOfObjects.@unionOfArrays.n").toList().size(), 1);
}

TEST(NSKeyValueCoding, WrongOperatorsRaise) {
    EXPECT_EQ(raised([] { at(QVariantList{1}, "@median.self"); }), NSInvalidArgumentException);
    EXPECT_EQ(raised([] { at(QVariantList{1}, "@sum"); }), NSInvalidArgumentException);
    EXPECT_EQ(raised([] { at(QVariantList{1}, "@unionOfArrays.self"); }), NSInvalidArgumentException);
    EXPECT_EQ(raised([] { at(QVariantList({1, S("a")}), "@max.self"); }), NSInvalidArgumentException);
    EXPECT_EQ(raised([] { at(S("text"), "@count"); }), NSUndefinedKeyException);
}

TEST(NSKeyValueCoding, WritesDictionariesInPlace) {
    QVariant map = QVariantMap{{S("a"), 1}};
    setValueForKey(map, S("x"), S("b"));
    setValueForKey(map, QVariant(), S("a"));
    setValueForKey(map, NSNull(), S("c"));
    EXPECT_EQ(map, QVariant(QVariantMap{{S("b"), S("x")}, {S("c"), NSNull()}}));
    QVariant hash = QVariantHash{{S("a"), 1}};
    setValueForKey(hash, 2, S("a"));
    EXPECT_EQ(hash, QVariant(QVariantHash{{S("a"), 2}}));
    QVariant array = QVariantList{record(1), record(2)};
    setValueForKey(array, 9, S("n"));
    EXPECT_EQ(array, QVariant(QVariantList{record(9), record(9)}));
    QVariant tree = QVariantMap{{S("a"), QVariantMap{{S("b"), QVariantList{record(1)}}}}};
    setValueForKeyPath(tree, 5, S("a.b.n"));
    EXPECT_EQ(at(tree, "a.b.n"), QVariant(QVariantList{5}));
    setValueForKeyPath(tree, 5, S("x.y"));
    EXPECT_EQ(at(tree, "@count"), QVariant(1));
    QVariant nothing;
    setValueForKey(nothing, 1, S("a"));
    EXPECT_FALSE(nothing.isValid());
}

TEST(NSKeyValueCoding, WritesObjects) {
    Person boss(S("Bo"), 50), ann(S("Ann"), 17, &boss);
    setValueForKey(&ann, S("Bea"), S("name"));
    setValueForKey(&ann, S("18"), S("age"));
    setValueForKey(&ann, S("Dr."), S("title"));
    setValueForKey(&ann, 4, S("hidden"));
    setValueForKey(&ann, NSNull(), S("anything"));
    EXPECT_EQ(valueForKey(&ann, S("name")), QVariant(S("Bea")));
    EXPECT_EQ(valueForKey(&ann, S("age")), QVariant(18));
    EXPECT_EQ(valueForKey(&ann, S("hidden")), QVariant(4));
    EXPECT_EQ(valueForKey(&ann, S("anything")), NSNull());
    EXPECT_EQ(ann.log, QStringList{S("title Dr.")});
    setValueForKeyPath(&ann, 51, S("boss.age"));
    EXPECT_EQ(valueForKey(&boss, S("age")), QVariant(51));
    setValueForKey(&ann, QVariant(), S("age"));
    EXPECT_EQ(ann.log.last(), S("nil age"));
    setValueForKey(&ann, QVariant(), S("name"));
    EXPECT_TRUE(valueForKey(&ann, S("name")).toString().isNull());
    ann.setProperty("extra", 5);
    setValueForKey(&ann, 6, S("extra"));
    EXPECT_EQ(ann.property("extra"), QVariant(6));
    QVariant address = QVariant::fromValue(Address{S("Bern"), 3000});
    const QVariant before = address;
    setValueForKey(address, 3001, S("zip"));
    EXPECT_EQ(valueForKey(address, S("zip")), QVariant(3001));
    EXPECT_EQ(valueForKey(before, S("zip")), QVariant(3000));
    Lenient lenient;
    setValueForKey(&lenient, 1, S("any"));
    EXPECT_EQ(lenient.values, (QVariantMap{{S("any"), 1}}));
}

TEST(NSKeyValueCoding, WritingWhatCannotBeWrittenRaises) {
    Person ann;
    EXPECT_EQ(raised([&] { setValueForKey(&ann, 1, S("fixed")); }), NSUndefinedKeyException);
    EXPECT_EQ(raised([&] { setValueForKey(&ann, 1, S("unknown")); }), NSUndefinedKeyException);
    EXPECT_EQ(raised([&] { setValueForKey(&ann, 1, S("")); }), NSUndefinedKeyException);
    EXPECT_EQ(raised([&] { setValueForKey(&ann, QVariantMap(), S("age")); }), NSInvalidArgumentException);
    Interval interval;
    EXPECT_EQ(raised([&] { setValueForKey(&interval, QVariant(), S("interval")); }),
              NSInvalidArgumentException);
    QVariant text = S("text");
    EXPECT_EQ(raised([&] { setValueForKey(text, 1, S("length")); }), NSUndefinedKeyException);
}

/// Has a property of every arithmetic sort.
class Numbers : public QObject {
    Q_OBJECT
    Q_PROPERTY(int whole MEMBER whole)
    Q_PROPERTY(quint64 large MEMBER large)
    Q_PROPERTY(bool flag MEMBER flag)
    Q_PROPERTY(double real MEMBER real)
    Q_PROPERTY(float narrow MEMBER narrow)
    Q_PROPERTY(QString text MEMBER text)
    Q_PROPERTY(NSDecimalNumber amount MEMBER amount)
public:
    int whole = 0;
    quint64 large = 0;
    bool flag = false;
    double real = 0;
    float narrow = 0;
    QString text;
    NSDecimalNumber amount;
};

TEST(NSKeyValueCoding, NumbersAndTextsBecomeWhatAPropertyHoldsAsCoercionHasIt) {
    Numbers numbers;
    for (const QVariant &value :
         {QVariant(1.9), QVariant(S("1.9")), decimal("1.9"), QVariant(QJsonValue(1.9))}) {
        setValueForKey(&numbers, value, S("whole"));
        EXPECT_EQ(numbers.whole, 1) << value.typeName();
        setValueForKey(&numbers, value, S("real"));
        EXPECT_EQ(numbers.real, 1.9) << value.typeName();
        setValueForKey(&numbers, value, S("narrow"));
        EXPECT_EQ(numbers.narrow, 1.9f) << value.typeName();
        setValueForKey(&numbers, value, S("text"));
        EXPECT_EQ(numbers.text, S("1.9")) << value.typeName();
    }
    const auto flagFor = [&](const QVariant &value) {
        setValueForKey(&numbers, value, S("flag"));
        return numbers.flag;
    };
    for (const QVariant &value :
         {QVariant(0.4), QVariant(S("yes")), QVariant(S("1")), QVariant(-1), decimal("0.01")})
        EXPECT_TRUE(flagFor(value)) << qPrintable(NSDescription(value));
    for (const QVariant &value :
         {QVariant(S("no")), QVariant(S("0")), QVariant(S("0.5")), QVariant(S("")), QVariant(0.0)})
        EXPECT_FALSE(flagFor(value)) << qPrintable(NSDescription(value));
    setValueForKey(&numbers, S("18446744073709551615"), S("large"));
    EXPECT_EQ(numbers.large, std::numeric_limits<quint64>::max());
    setValueForKey(&numbers, 1e30, S("large"));
    EXPECT_EQ(numbers.large, std::numeric_limits<quint64>::max());
    setValueForKey(&numbers, true, S("text"));
    EXPECT_EQ(numbers.text, S("1"));
    setValueForKey(&numbers, S("1.25"), S("amount"));
    EXPECT_EQ(numbers.amount, NSDecimalNumber(S("1.25")));
    for (const QVariant &value :
         {QVariant(QVariantList{1}), QVariant(QByteArray("1")), QVariant(QDateTime::currentDateTime())})
        EXPECT_EQ(raised([&] { setValueForKey(&numbers, value, S("whole")); }), NSInvalidArgumentException);
}

TEST(NSKeyValueCoding, EnumeratorsAreSetByNumberAndByName) {
    Person person;
    setValueForKey(&person, 2, S("mood"));
    EXPECT_EQ(valueForKey(&person, S("mood")).toInt(), Person::Merry);
    setValueForKey(&person, S("Calm"), S("mood"));
    EXPECT_EQ(valueForKey(&person, S("mood")).toInt(), Person::Calm);
}

TEST(NSKeyValueCoding, WhatWasFoundInAClassIsFoundInItsSubclassesAndOtherClassesToo) {
    for (int round = 0; round < 3; ++round) {
        Person person(S("Ann"), 17);
        Clerk clerk(S("Bo"), 50);
        Interval interval;
        EXPECT_EQ(valueForKey(&person, S("name")), QVariant(S("Ann")));
        EXPECT_EQ(valueForKey(&clerk, S("name")), QVariant(S("Bo")));
        EXPECT_EQ(valueForKey(&clerk, S("desk")), QVariant(12));
        EXPECT_EQ(raised([&] { valueForKey(&person, S("desk")); }), NSUndefinedKeyException);
        EXPECT_EQ(raised([&] { valueForKey(&interval, S("name")); }), NSUndefinedKeyException);
        person.setProperty("desk", 7);
        EXPECT_EQ(valueForKey(&person, S("desk")), QVariant(7)) << "a dynamic property that came later";
        EXPECT_EQ(raised([&] { valueForKey(&person, S("")); }), NSUndefinedKeyException);
    }
    Person one;
    const QVariant person = QVariant::fromValue<QObject *>(&one);
    for (int i = 0; i < 3000; ++i)
        EXPECT_FALSE(NSObjectRuntime::respondsTo(person, NSSelector(QStringLiteral("no%1").arg(i))));
}

TEST(NSKeyValueCoding, AJsonValueIsReadAsWhatItHolds) {
    const QVariant tree = QJsonValue(QJsonObject{{S("n"), 2}, {S("a"), QJsonArray{1, S("two")}}});
    EXPECT_EQ(at(tree, "n"), QVariant(2));
    EXPECT_EQ(at(tree, "a.@count"), QVariant(2));
    EXPECT_EQ(at(QJsonValue(S("three")), "length"), QVariant(5));
    EXPECT_EQ(at(QVariantList{QJsonValue(1), QJsonValue(2.5)}, "@sum.doubleValue"), QVariant(3.5));
    EXPECT_FALSE(at(QJsonValue(QJsonValue::Undefined), "length").isValid());
}

#include "NSKeyValueCodingTest.moc"
