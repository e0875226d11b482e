// SPDX-License-Identifier: MIT
#include "platform/values/NSObjectRuntime.h"

#include "platform/base/NSError.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "platform/values/ValueKind.h"
#include "tests/platform/values/RuntimeObjects.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QPointF>
#include <QPointer>
#include <QRectF>
#include <QSharedPointer>
#include <QUrl>
#include <QUuid>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace zr;

using namespace NSObjectRuntime;

namespace {

QVariant decimal(const char *text) {
    return QVariant::fromValue(NSDecimalNumber(QString::fromLatin1(text)));
}

QString S(const char *text) {
    return QString::fromUtf8(text);
}

} // namespace

TEST(NSObjectRuntime, KindsAreThoseOfThePlatform) {
    Person person;
    EXPECT_EQ(kindOf({}), ValueKind::Nil);
    EXPECT_EQ(kindOf(QString()), ValueKind::Nil);
    EXPECT_EQ(kindOf(QByteArray()), ValueKind::Nil);
    EXPECT_EQ(kindOf(QDateTime()), ValueKind::Nil);
    EXPECT_EQ(kindOf(QUrl()), ValueKind::Nil);
    EXPECT_EQ(kindOf(QVariant::fromValue<QObject *>(nullptr)), ValueKind::Nil);
    EXPECT_EQ(kindOf(QVariant::fromValue<Person *>(nullptr)), ValueKind::Nil);
    EXPECT_EQ(kindOf(QVariant::fromValue(NSError())), ValueKind::Nil);
    EXPECT_EQ(kindOf(NSNull()), ValueKind::Null);
    EXPECT_EQ(kindOf(true), ValueKind::Number);
    EXPECT_EQ(kindOf(QVariant::fromValue(short(1))), ValueKind::Number);
    EXPECT_EQ(kindOf(QVariant::fromValue(1L)), ValueKind::Number);
    EXPECT_EQ(kindOf(QVariant::fromValue(Person::Merry)), ValueKind::Number);
    EXPECT_EQ(kindOf(decimal("1")), ValueKind::Decimal);
    EXPECT_EQ(kindOf(QStringLiteral("")), ValueKind::String);
    EXPECT_EQ(kindOf(QByteArray("")), ValueKind::Data);
    EXPECT_EQ(kindOf(QDateTime::currentDateTimeUtc()), ValueKind::Date);
    EXPECT_EQ(kindOf(QUrl(S("a"))), ValueKind::URL);
    EXPECT_EQ(kindOf(QVariantList()), ValueKind::Array);
    EXPECT_EQ(kindOf(QStringList()), ValueKind::Array);
    EXPECT_EQ(kindOf(QVariant::fromValue(QList<int>{1})), ValueKind::Array);
    EXPECT_EQ(kindOf(QVariantMap()), ValueKind::Dictionary);
    EXPECT_EQ(kindOf(QVariantHash()), ValueKind::Dictionary);
    EXPECT_EQ(kindOf(QVariant::fromValue(QMap<QString, int>())), ValueKind::Dictionary);
    EXPECT_EQ(kindOf(QVariant::fromValue(NSSet())), ValueKind::Set);
    EXPECT_EQ(kindOf(QVariant::fromValue(&person)), ValueKind::Object);
    EXPECT_EQ(kindOf(QVariant::fromValue(QPointer<Person>(&person))), ValueKind::Object);
    EXPECT_EQ(kindOf(QVariant::fromValue(QSharedPointer<Person>::create())), ValueKind::Object);
    EXPECT_EQ(kindOf(QVariant::fromValue(Address())), ValueKind::Gadget);
    EXPECT_EQ(kindOf(QUuid::createUuid()), ValueKind::Other);
    EXPECT_EQ(kindOf(QPointF()), ValueKind::Other);
    EXPECT_EQ(objectOf(QVariant::fromValue(QPointer<Person>(&person))), &person);
    EXPECT_EQ(arrayOf(QVariant::fromValue(QList<int>{1, 2})), (QVariantList{1, 2}));
    EXPECT_EQ(dictionaryOf(QVariantHash{{S("a"), 1}}), (QVariantMap{{S("a"), 1}}));
}

TEST(NSObjectRuntime, ClassNames) {
    Clerk clerk;
    EXPECT_EQ(className(QVariant::fromValue<QObject *>(&clerk)), S("Clerk"));
    EXPECT_EQ(className(QVariant::fromValue(Address())), S("Address"));
    EXPECT_EQ(className(1), S("int"));
    EXPECT_EQ(className(S("x")), S("QString"));
    EXPECT_EQ(className(QVariantList()), S("QVariantList"));
    EXPECT_TRUE(className({}).isNull());
}

TEST(NSObjectRuntime, NumbersAreEqualByValueAcrossTypes) {
    EXPECT_TRUE(isEqual(1, 1.0));
    EXPECT_TRUE(isEqual(true, 1u));
    EXPECT_TRUE(isEqual(1, decimal("1.0")));
    EXPECT_TRUE(isEqual(decimal("0.5"), 0.5));
    EXPECT_TRUE(isEqual(0.0, -0.0));
    EXPECT_FALSE(isEqual(1, 2));
    EXPECT_FALSE(isEqual(qlonglong(9007199254740993), 9007199254740992.0));
    EXPECT_FALSE(isEqual(qlonglong(-1), std::numeric_limits<quint64>::max()));
    EXPECT_TRUE(isEqual(std::numeric_limits<quint64>::max(), decimal("18446744073709551615")));
    EXPECT_FALSE(isEqual(std::numeric_limits<quint64>::max(), 0x1p64));
    EXPECT_TRUE(isEqual(std::nan(""), std::nan("")));
    EXPECT_TRUE(isEqual(decimal("0.1"), 0.1));
    EXPECT_FALSE(isEqual(decimal("0.10000000000000000001"), 0.1));
    EXPECT_TRUE(isEqual(decimal("-9223372036854775808"), -0x1p63));
    EXPECT_FALSE(isEqual(decimal("9223372036854774785"), 9223372036854774784.0));
    EXPECT_FALSE(isEqual(decimal("0"), 1e-300));
    EXPECT_EQ(compare(decimal("99999999999999999999999999999999999999"), 1e300), NSOrderedAscending);
    EXPECT_EQ(compare(decimal("0"), 1e-300), NSOrderedAscending);
    EXPECT_EQ(compare(decimal("0"), -1e-300), NSOrderedDescending);
    EXPECT_TRUE(isEqual(QVariant::fromValue(NSDecimalNumber::notANumber()), std::nan("")));
    EXPECT_FALSE(isEqual(1, S("1")));
    EXPECT_FALSE(isEqual(0, NSNull()));
    EXPECT_FALSE(isEqual(0, {}));
}

TEST(NSObjectRuntime, ContainersAreEqualByWhatTheyHold) {
    EXPECT_TRUE(isEqual(QVariantList({1, S("a")}), QVariantList({1.0, S("a")})));
    EXPECT_TRUE(isEqual(QStringList{S("a")}, QVariantList{S("a")}));
    EXPECT_FALSE(isEqual(QVariantList({1, 2}), QVariantList({2, 1})));
    EXPECT_TRUE(isEqual(QVariantMap{{S("k"), decimal("2")}}, QVariantHash{{S("k"), 2}}));
    EXPECT_FALSE(isEqual(QVariantMap{{S("k"), 2}}, QVariantMap{{S("l"), 2}}));
    EXPECT_TRUE(isEqual(QVariant::fromValue(NSSet{1, decimal("2")}), QVariant::fromValue(NSSet{2, 1.0})));
    EXPECT_FALSE(isEqual(QVariant::fromValue(NSSet{1, 2}), QVariant::fromValue(NSSet{1, 3})));
    EXPECT_FALSE(isEqual(QVariantList(), QVariantMap()));
    EXPECT_EQ(hash(QVariantList{S("a")}), hash(QStringList{S("a")}));
    EXPECT_EQ(hash(decimal("2")), hash(2));
    EXPECT_EQ(hash(QVariantMap{{S("k"), decimal("2")}}), hash(QVariantHash{{S("k"), 2}}));
}

TEST(NSObjectRuntime, NilNullMarkerAndEmptyValuesEqualOnlyThemselves) {
    const QVariantList values = {QVariant(),     NSNull(),      S(""), QByteArray(""),
                                 QVariantList(), QVariantMap(), 0,     false};
    for (int i = 0; i < values.size(); ++i) {
        for (int j = 0; j < values.size(); ++j) {
            const bool bothNumbers = i >= 6 && j >= 6;
            EXPECT_EQ(isEqual(values[i], values[j]), i == j || bothNumbers) << i << ' ' << j;
        }
    }
    EXPECT_TRUE(isEqual(QVariant(), QString()));
}

TEST(NSObjectRuntime, ObjectsAreEqualIfTheyAreTheSame) {
    Person a(S("A")), b(S("A"));
    EXPECT_TRUE(isEqual(QVariant::fromValue(&a), QVariant::fromValue<QObject *>(&a)));
    EXPECT_FALSE(isEqual(QVariant::fromValue(&a), QVariant::fromValue(&b)));
    EXPECT_TRUE(isEqual(QVariant::fromValue(Address{S("C"), 1}), QVariant::fromValue(Address{S("C"), 1})));
    EXPECT_FALSE(isEqual(QVariant::fromValue(Address{S("C"), 1}), QVariant::fromValue(Address{S("C"), 2})));
}

TEST(NSObjectRuntime, CompareOrdersNumbersStringsAndDates) {
    const QVariantList ascending = {std::nan(""),
                                    -std::numeric_limits<double>::infinity(),
                                    decimal("-10"),
                                    -9.5,
                                    decimal("-9"),
                                    std::numeric_limits<double>::denorm_min(),
                                    decimal("0.5"),
                                    true,
                                    2,
                                    decimal("2.05"),
                                    decimal("2.5"),
                                    decimal("10.25"),
                                    9007199254740992.0,
                                    qlonglong(9007199254740993),
                                    std::numeric_limits<qint64>::max(),
                                    0x1p63,
                                    std::numeric_limits<quint64>::max(),
                                    0x1p64};
    for (int i = 0; i < ascending.size(); ++i) {
        for (int j = 0; j < ascending.size(); ++j)
            EXPECT_EQ(int(compare(ascending[i], ascending[j])), i < j ? -1 : i > j ? 1 : 0) << i << ' ' << j;
    }
    EXPECT_EQ(compare(S("B"), S("a")), NSOrderedAscending);
    EXPECT_EQ(compare(S("a"), S("a")), NSOrderedSame);
    EXPECT_EQ(compare(S("b"), S("aa")), NSOrderedDescending);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    EXPECT_EQ(compare(now, now.addMSecs(1)), NSOrderedAscending);
    EXPECT_EQ(compare({}, 1), NSOrderedAscending);
    EXPECT_EQ(compare(S(""), {}), NSOrderedDescending);
    EXPECT_EQ(compare({}, {}), NSOrderedSame);
}

TEST(NSObjectRuntime, CompareAsksObjectsAndRefusesWhatHasNoOrder) {
    Person young(S("Y"), 3), old(S("O"), 80);
    EXPECT_EQ(compare(QVariant::fromValue(&young), QVariant::fromValue(&old)), NSOrderedAscending);
    EXPECT_EQ(compare(QVariant::fromValue(&old), QVariant::fromValue(&young)), NSOrderedDescending);
    QObject plain;
    EXPECT_THROW(compare(QVariant::fromValue(&plain), 1), NSException);
    EXPECT_THROW(compare(1, S("1")), NSException);
    EXPECT_THROW(compare(QVariantList(), QVariantList()), NSException);
    EXPECT_THROW(compare(NSNull(), 1), NSException);
}

TEST(NSObjectRuntime, DescriptionsOfSingleValues) {
    const struct {
        QVariant value;
        const char *text;
    } rows[] = {
        {QVariant(), "(null)"},
        {QString(), "(null)"},
        {NSNull(), "<null>"},
        {S(""), ""},
        {S("a\"b\n"), "a\"b\n"},
        {-5, "-5"},
        {true, "1"},
        {false, "0"},
        {std::numeric_limits<quint64>::max(), "18446744073709551615"},
        {std::numeric_limits<qint64>::min(), "-9223372036854775808"},
        {0.1, "0.1"},
        {0.1f, "0.1"},
        {1e6, "1000000"},
        {QVariant::fromValue(char(65)), "65"},
        {QVariant::fromValue(Person::Merry), "2"},
        {decimal("1.50"), "1.5"},
        {QByteArray(""), "<>"},
        {QByteArray("\x01\xab\x02\x03\xff", 5), "<01ab0203 ff>"},
        {QDateTime::fromMSecsSinceEpoch(1388658030999, Qt::UTC), "2014-01-02 10:20:30 +0000"},
        {QUrl(S("http://host/\xc3\xa4 b")), "http://host/%C3%A4%20b"},
        {QUuid(S("{12345678-9abc-def0-1234-56789abcdef0}")), "12345678-9ABC-DEF0-1234-56789ABCDEF0"},
        {QPointF(1, 2.5), "{1, 2.5}"},
        {QSizeF(3, 4), "{3, 4}"},
        {QRectF(1, 2, 3, 4), "{{1, 2}, {3, 4}}"},
        {QVariant::fromValue(NSError(S("d"), 3, {{NSLocalizedDescriptionKey, S("m")}})),
         "Error Domain=d Code=3 \"m\""},
        {QVariant::fromValue(Address{S("Bern"), 3000}), "Bern 3000"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(description(row.value), S(row.text));
        EXPECT_EQ(NSDescription(row.value), S(row.text));
    }
}

TEST(NSObjectRuntime, DescriptionsOfContainersAreReadableAndStable) {
    EXPECT_EQ(description(QVariantList()), S("()"));
    EXPECT_EQ(description(QVariantMap()), S("{}"));
    EXPECT_EQ(description(QVariant::fromValue(NSSet())), S("{()}"));
    EXPECT_EQ(description(QVariantList{1, S("a\n\"b\"\\\t\r"), NSNull()}),
              S("(\n    1,\n    \"a\\n\\\"b\\\"\\\\\\t\\r\",\n    <null>\n)"));
    EXPECT_EQ(
        description(
            QVariantHash{{S("b"), 1}, {S("a"), QVariantList{2, QVariantMap{{S("x"), QVariantMap()}}}}}),
        S("{\n    a = (\n        2,\n        {\n            x = {};\n        }\n    );\n    b = 1;\n}"));
    EXPECT_EQ(description(QVariant::fromValue(NSSet{S("b"), S("c"), S("a")})),
              S("{(\n    \"a\",\n    \"b\",\n    \"c\"\n)}"));
}

TEST(NSObjectRuntime, DescriptionOfAnObjectIsItsOwnOrItsClassAndAddress) {
    Person person;
    EXPECT_EQ(description(QVariant::fromValue(&person)),
              QStringLiteral("<Person: 0x%1>").arg(quintptr(&person), 0, 16));
    person.setProperty("description", S("dynamic"));
    EXPECT_NE(description(QVariant::fromValue(&person)), S("dynamic"));
}

TEST(NSObjectRuntime, StringValuesAreOfNumbersAndStringsOnly) {
    EXPECT_EQ(stringValue(-5), S("-5"));
    EXPECT_EQ(stringValue(1700000000.0), S("1700000000"));
    EXPECT_EQ(stringValue(decimal("12.30")), S("12.3"));
    EXPECT_EQ(stringValue(S("x")), S("x"));
    EXPECT_FALSE(hasStringValue(QByteArray("x")));
    EXPECT_TRUE(stringValue(QByteArray("x")).isNull());
    EXPECT_TRUE(stringValue(NSNull()).isNull());
    EXPECT_TRUE(stringValue({}).isNull());
}

TEST(NSObjectRuntime, RespondsToWhatTheMetaObjectDeclares) {
    Clerk clerk;
    const QVariant value = QVariant::fromValue(&clerk);
    for (const char *name :
         {"greeting", "desk", "note:", "add::", "add:to:", "name", "setName:", "fixed", "setTitle:"})
        EXPECT_TRUE(respondsTo(value, NSSelector(name))) << name;
    for (const char *name : {"", "unknown", "greeting:", "add:", "happened", "setFixed:", "log", "set:"})
        EXPECT_FALSE(respondsTo(value, NSSelector(name))) << name;
    EXPECT_FALSE(respondsTo(value, NSSelector()));
    EXPECT_FALSE(respondsTo(QStringLiteral("text"), NSSelector("length")));
    EXPECT_FALSE(respondsTo({}, NSSelector("name")));
    EXPECT_TRUE(respondsTo(QVariant::fromValue(Address()), NSSelector("city")));
}

TEST(NSObjectRuntime, PerformsMethodsAndProperties) {
    Person person(S("Ann"), 30);
    const QVariant value = QVariant::fromValue(&person);
    EXPECT_EQ(perform(value, NSSelector("greeting")), QVariant(S("I am Ann")));
    EXPECT_EQ(perform(value, NSSelector("add::"), {2, S("3.5")}), QVariant(5));
    EXPECT_EQ(perform(value, NSSelector("add::"), {decimal("2.9"), decimal("3.5")}), QVariant(5));
    EXPECT_EQ(perform(value, NSSelector("same:"), {NSNull()}), NSNull());
    EXPECT_FALSE(perform(value, NSSelector("same:"), {QVariant()}).isValid());
    EXPECT_FALSE(perform(value, NSSelector("note:"), {S("noted")}).isValid());
    perform(value, NSSelector("note:"), {QVariant()});
    EXPECT_EQ(person.log, (QStringList{S("noted"), QString()}));
    EXPECT_EQ(perform(value, NSSelector("name")), QVariant(S("Ann")));
    perform(value, NSSelector("setName:"), {S("Bea")});
    EXPECT_EQ(perform(value, NSSelector("name")), QVariant(S("Bea")));
    EXPECT_EQ(perform(QVariant::fromValue(Address{S("Bern"), 3000}), NSSelector("zip")), QVariant(3000));
    EXPECT_FALSE(perform({}, NSSelector("name")).isValid());
}

TEST(NSObjectRuntime, PerformRaisesWhatCannotBe) {
    Person person;
    const QVariant value = QVariant::fromValue(&person);
    EXPECT_THROW(perform(value, NSSelector("unknown")), NSException);
    EXPECT_THROW(perform(S("text"), NSSelector("length")), NSException);
    EXPECT_THROW(perform(value, NSSelector("add::"), {1}), NSException);
    EXPECT_THROW(perform(value, NSSelector("add::"), {1, QVariantMap()}), NSException);
    EXPECT_THROW(perform(value, NSSelector("setAge:"), {QVariantMap()}), NSException);
    try {
        perform(value, NSSelector("fail"));
        FAIL();
    } catch (const NSException &e) {
        EXPECT_EQ(e.name(), NSRangeException);
    }
}

TEST(NSObjectRuntime, OwnMembersLeaveSuperclassesOut) {
    EXPECT_EQ(methodNames(Clerk::staticMetaObject), QStringList{S("desk")});
    const QStringList names = methodNames(Person::staticMetaObject);
    EXPECT_TRUE(names.contains(S("add::")));
    EXPECT_TRUE(names.contains(S("note:")));
    EXPECT_FALSE(names.contains(S("happened")));
    EXPECT_FALSE(names.contains(S("deleteLater")));
    EXPECT_EQ(
        propertyNames(Person::staticMetaObject),
        (QStringList{S("name"), S("age"), S("boss"), S("fixed"), S("anything"), S("mood"), S("_hidden")}));
    EXPECT_TRUE(propertyNames(Clerk::staticMetaObject).isEmpty());
}

TEST(NSObjectRuntime, NamespacesOfObjectPointersDoNotMatterForNil) {
    EXPECT_EQ(description(QVariant::fromValue<Person *>(nullptr)), S("(null)"));
    EXPECT_TRUE(NSIsNil(QVariant::fromValue<QObject *>(nullptr)));
}

TEST(NSObjectRuntime, DescriptionsOfContainersAreIndentedByLevels) {
    EXPECT_EQ(description(QVariantList{1, S("x")}, 1), S("    (\n        1,\n        \"x\"\n    )"));
    EXPECT_EQ(description(QVariantMap{{S("a"), QVariantList{}}}, 2),
              S("        {\n            a = ();\n        }"));
    EXPECT_EQ(description(QVariant::fromValue(NSSet{1}), 1), S("    {(\n        1\n    )}"));
    EXPECT_EQ(description(QVariantList{1}, 0), description(QVariantList{1}));
    for (const QVariant &value : {QVariant(S("x")), QVariant(5), NSNull(), QVariant()})
        EXPECT_EQ(description(value, 3), description(value));
    EXPECT_EQ(descriptionInside(S("x"), 1), S("\"x\""));
    EXPECT_EQ(descriptionInside(QVariantList{1}, 1), S("(\n        1\n    )"));
}

TEST(NSObjectRuntime, AnswersToMessagesWithoutArguments) {
    Person ann(S("Ann"), 17);
    const QVariant person = QVariant::fromValue(&ann);
    EXPECT_EQ(answer(person, "name"), QVariant(S("Ann")));
    EXPECT_EQ(answer(person, "greeting"), QVariant(S("I am Ann")));
    EXPECT_FALSE(answer(person, "note")) << "one that takes an argument";
    EXPECT_FALSE(answer(person, "unknown"));
    EXPECT_FALSE(answer(person, ""));
    EXPECT_FALSE(answer(S("text"), "length"));
    EXPECT_FALSE(answer(QVariant(), "name"));
}

/// A value whose methods change it.
struct Counter {
    Q_GADGET
    Q_PROPERTY(int count MEMBER count)
public:
    int count = 0;
    Q_INVOKABLE int increment() { return ++count; }
    Q_INVOKABLE int add(int more) { return count += more; }
};

TEST(NSObjectRuntime, AMessageToAValueChangesNoCopyOfIt) {
    const QVariant value = QVariant::fromValue(Counter{3}), copy = value;
    EXPECT_EQ(perform(value, NSSelector("increment")), QVariant(4));
    EXPECT_EQ(perform(value, NSSelector("add:"), {5}), QVariant(8));
    perform(value, NSSelector("setCount:"), {9});
    EXPECT_EQ(answer(value, "increment"), QVariant(4));
    EXPECT_EQ(value.value<Counter>().count, 3);
    EXPECT_EQ(copy.value<Counter>().count, 3);
}

TEST(NSObjectRuntime, PerformsWithAnObjectIfTheMessageTakesOne) {
    Person person(S("Ann"), 30);
    const QVariant value = QVariant::fromValue(&person);
    EXPECT_EQ(performWithObject(value, NSSelector("greeting"), S("x")), QVariant(S("I am Ann")));
    EXPECT_EQ(performWithObject(value, NSSelector("same:"), S("x")), QVariant(S("x")));
    EXPECT_EQ(performWithObject(value, NSSelector("add::"), 4), QVariant(4)) << "nil is 0";
}

TEST(NSObjectRuntime, AJsonValueCountsAsWhatItHolds) {
    EXPECT_EQ(kindOf(QJsonValue(QJsonValue::Null)), ValueKind::Null);
    EXPECT_EQ(kindOf(QJsonValue(QJsonValue::Undefined)), ValueKind::Nil);
    EXPECT_EQ(kindOf(QJsonValue(QJsonArray{1})), ValueKind::Array);
    EXPECT_EQ(kindOf(QJsonValue(QJsonObject{{S("a"), 1}})), ValueKind::Dictionary);
    EXPECT_EQ(arrayOf(QJsonValue(QJsonArray{1, S("a")})), (QVariantList{1, S("a")}));
    EXPECT_EQ(dictionaryOf(QJsonValue(QJsonObject{{S("a"), 1}})), (QVariantMap{{S("a"), 1}}));
    EXPECT_TRUE(NSIsNull(QJsonValue(QJsonValue::Null)));
    EXPECT_TRUE(NSIsNil(QJsonValue(QJsonValue::Undefined)));
    EXPECT_EQ(description(QVariantList{QJsonValue(S("a")), QJsonValue(2.5), QJsonValue(QJsonValue::Null)}),
              description(QVariantList{S("a"), 2.5, NSNull()}));
    EXPECT_EQ(stringValue(QJsonValue(2.5)), S("2.5"));
    EXPECT_TRUE(hasStringValue(QJsonValue(true)));
    EXPECT_EQ(doubleValue(QJsonValue(S("2.5x"))), 2.5);
    EXPECT_EQ(compare(QJsonValue(2), 3), NSOrderedAscending);
}

#include "NSObjectRuntimeTest.moc"
