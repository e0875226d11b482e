// SPDX-License-Identifier: MIT
#include "platform/values/NSSet.h"

#include "platform/base/NSError.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"
#include "tests/platform/values/RuntimeObjects.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QObject>
#include <QPoint>
#include <QUrl>
#include <QUuid>
#include <gtest/gtest.h>
#include <limits>

using namespace zr;

namespace {

QVariantList everyKind() {
    return {QVariant(),
            NSNull(),
            true,
            2,
            -2,
            3u,
            qlonglong(-4),
            qulonglong(5),
            Q_UINT64_C(18446744073709551615),
            6.5,
            QStringLiteral(""),
            QStringLiteral("text"),
            QByteArray("text"),
            QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC),
            QUrl(QStringLiteral("https://host.test/")),
            QUuid(QStringLiteral("{12345678-9abc-def0-1234-56789abcdef0}")),
            QVariantList{},
            QVariantList{1, 2},
            QVariantList{2, 1},
            QStringList{QStringLiteral("a")},
            QVariantMap{{QStringLiteral("a"), 1}},
            QVariantMap{{QStringLiteral("a"), 2}},
            QVariant::fromValue(NSSet{1, 2}),
            QVariant::fromValue(NSError(QStringLiteral("d"), 1)),
            QVariant::fromValue(NSError(QStringLiteral("d"), 2)),
            QVariant::fromValue(NSDecimalNumber(QStringLiteral("1.5"))),
            QPoint(1, 2)};
}

} // namespace

TEST(NSSet, HoldsEveryKindOnce) {
    NSSet set;
    const QVariantList values = everyKind();
    for (int round = 0; round < 2; ++round) {
        for (const QVariant &value : values)
            set.insert(value);
    }
    EXPECT_EQ(set.size(), values.size());
    for (const QVariant &value : values)
        EXPECT_TRUE(set.contains(value)) << qPrintable(NSDescription(value));
    EXPECT_FALSE(set.contains(QStringLiteral("other")));
}

TEST(NSSet, EqualNumbersOfDifferentTypesAreOneElement) {
    const NSSet set = {1,
                       1u,
                       qlonglong(1),
                       qulonglong(1),
                       1.0,
                       1.0f,
                       true,
                       QVariant::fromValue(char(1)),
                       QVariant::fromValue(short(1))};
    EXPECT_EQ(set.size(), 1);
    EXPECT_EQ((NSSet{0.0, -0.0, 0, false}).size(), 1);
    EXPECT_EQ((NSSet{Q_INT64_C(9007199254740993), Q_INT64_C(9007199254740992)}).size(), 2);
}

TEST(NSSet, EqualContainersAreOneElement) {
    NSSet one, other;
    for (int i = 0; i < 100; ++i) {
        one.insert(i);
        other.insert(double(99 - i));
    }
    EXPECT_EQ(one, other);
    const QVariantMap map = {{QStringLiteral("k"), QVariantList{1, QVariant::fromValue(one)}}};
    const QVariantMap same = {{QStringLiteral("k"), QVariantList{1.0, QVariant::fromValue(other)}}};
    EXPECT_EQ((NSSet{map, same}).size(), 1);
    QVariantHash hash, reversed;
    for (int i = 0; i < 100; ++i) {
        hash.insert(QString::number(i), i);
        reversed.insert(QString::number(99 - i), 99 - i);
    }
    EXPECT_EQ((NSSet{hash, reversed}).size(), 1);
}

TEST(NSSet, HashDependsOnOrderInListsAndOnTheSeed) {
    const std::hash<QVariant> hash;
    EXPECT_NE(hash(QVariantList{1, 2}, 0), hash(QVariantList{2, 1}, 0));
    EXPECT_NE(hash(1, 0), hash(1, 1));
    EXPECT_NE(hash(QStringLiteral("a"), 0), hash(QStringLiteral("b"), 0));
}

TEST(NSSet, NeighboursAmongLargeIntegersHaveHashesOfTheirOwn) {
    QSet<size_t> hashes;
    for (qint64 i = 0; i < 100; ++i)
        hashes.insert(std::hash<QVariant>()((Q_INT64_C(1) << 60) + i, 0));
    EXPECT_EQ(hashes.size(), 100);
}

QVariant decimal(const char *text) {
    return QVariant::fromValue(NSDecimalNumber(QString::fromLatin1(text)));
}

/// Values of which those in one row are equal to one another and to no other.
QList<QVariantList> rowsOfEquals() {
    const QString a = QStringLiteral("a");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    return {
        {QVariant(), QString(), QByteArray(), QDateTime(), QUrl(), QVariant::fromValue(NSError()),
         QJsonValue(QJsonValue::Undefined)},
        {NSNull(), QJsonValue(QJsonValue::Null)},
        {0, false, 0.0, -0.0, decimal("0"), decimal("-0.0"), QVariant::fromValue(char(0)), QJsonValue(0)},
        {1, true, 1u, 1.0f, 1.0, decimal("1"), decimal("1.000"), QVariant::fromValue(Person::Calm),
         QJsonValue(1)},
        {2, decimal("2"), QVariant::fromValue(Person::Merry)},
        {-1, -1.0, decimal("-1")},
        {0.1, decimal("0.1"), QJsonValue(0.1)},
        {0.1f},
        {0.5, 0.5f, decimal("0.5")},
        {nan, -nan, std::numeric_limits<float>::quiet_NaN(),
         QVariant::fromValue(NSDecimalNumber::notANumber())},
        {std::numeric_limits<double>::infinity(), std::numeric_limits<float>::infinity()},
        {Q_INT64_C(9007199254740993), decimal("9007199254740993")},
        {Q_INT64_C(9007199254740992), 9007199254740992.0, decimal("9007199254740992")},
        {Q_UINT64_C(9223372036854775808), 0x1p63, decimal("9223372036854775808")},
        {decimal("9223372036854776000")},
        {std::numeric_limits<quint64>::max(), decimal("18446744073709551615")},
        {0x1p64, decimal("18446744073709552000")},
        {decimal("18446744073709551616")},
        {1e-128, decimal("1e-128")},
        {1.2345e-128},
        {1e300},
        {QStringLiteral("1"), QJsonValue(QStringLiteral("1"))},
        {QStringLiteral("")},
        {QByteArray("1")},
        {QByteArray("")},
        {QDateTime(QDate(2020, 1, 1), QTime(1, 0), Qt::OffsetFromUTC, 3600),
         QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC)},
        {QStringList{a}, QVariantList{a}, QJsonArray{a}, QJsonValue(QJsonArray{a})},
        {QVariantList{1, decimal("2")}, QVariant::fromValue(QList<int>{1, 2}),
         QVariant::fromValue(QList<double>{1, 2})},
        {QVariantList{}, QStringList{}, QVariant::fromValue(QList<int>())},
        {QVariantMap{{a, 1}}, QVariantHash{{a, 1.0}}, QVariant::fromValue(QMap<QString, int>{{a, 1}}),
         QJsonObject{{a, 1}}, QJsonValue(QJsonObject{{a, 1}})},
        {QVariantMap{}, QVariantHash{}},
        {QVariant::fromValue(NSSet{1, decimal("2")}), QVariant::fromValue(NSSet{2.0, true})},
        {QVariant::fromValue(NSSet{QVariantList{a}}), QVariant::fromValue(NSSet{QStringList{a}})},
        {QVariant::fromValue(NSSet{})},
    };
}

TEST(NSSet, EqualValuesOfWhateverTypesAreOneMember) {
    const QList<QVariantList> rows = rowsOfEquals();
    NSSet all;
    for (const QVariantList &row : rows) {
        for (const QVariant &value : row)
            all.insert(value);
    }
    EXPECT_EQ(all.size(), rows.size());
    for (qsizetype i = 0; i < rows.size(); ++i) {
        for (const QVariant &a : rows[i]) {
            EXPECT_TRUE(all.contains(a)) << qPrintable(NSDescription(a));
            for (qsizetype j = 0; j < rows.size(); ++j) {
                for (const QVariant &b : rows[j]) {
                    ASSERT_EQ(NSObjectRuntime::isEqual(a, b), i == j)
                        << a.typeName() << ' ' << qPrintable(NSDescription(a)) << " and " << b.typeName()
                        << ' ' << qPrintable(NSDescription(b));
                    if (i == j) {
                        ASSERT_EQ(NSObjectRuntime::hash(a), NSObjectRuntime::hash(b))
                            << qPrintable(NSDescription(a));
                    }
                }
            }
        }
    }
}

TEST(NSSet, NumbersOfAllTypesAreOrderedWithoutContradiction) {
    QVariantList numbers;
    for (const QVariantList &row : rowsOfEquals()) {
        for (const QVariant &value : row) {
            const ValueKind kind = kindOf(value);
            if (kind == ValueKind::Number || kind == ValueKind::Decimal)
                numbers << value;
        }
    }
    using NSObjectRuntime::compare;
    for (const QVariant &a : numbers) {
        for (const QVariant &b : numbers) {
            ASSERT_EQ(compare(a, b), -compare(b, a));
            for (const QVariant &c : numbers) {
                if (compare(a, b) <= 0 && compare(b, c) <= 0) {
                    ASSERT_LE(compare(a, c), 0) << qPrintable(NSDescription(QVariantList{a, b, c}));
                }
            }
        }
    }
}

/// Equals its namesakes and says so by its hash as well.
class Named : public QObject {
    Q_OBJECT
public:
    explicit Named(const QString &name) { setObjectName(name); }
    Q_INVOKABLE bool isEqual(const QVariant &other) const {
        const auto *object = other.value<QObject *>();
        return object && object->objectName() == objectName();
    }
    Q_INVOKABLE qulonglong hash() const { return qHash(objectName()); }
};

/// Equals everything of its class, and has no hash.
class Alike : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE bool isEqual(const QVariant &other) const {
        return qobject_cast<Alike *>(other.value<QObject *>());
    }
};

TEST(NSSet, ObjectsThatSayWhatEqualsThemAreMembersByThat) {
    Named one(QStringLiteral("x")), same(QStringLiteral("x")), other(QStringLiteral("y"));
    const NSSet named{QVariant::fromValue<QObject *>(&one), QVariant::fromValue<QObject *>(&same),
                      QVariant::fromValue<QObject *>(&other)};
    EXPECT_EQ(named.size(), 2);
    EXPECT_TRUE(named.contains(QVariant::fromValue<QObject *>(&same)));
    Alike a, b;
    EXPECT_EQ((NSSet{QVariant::fromValue<QObject *>(&a), QVariant::fromValue<QObject *>(&b)}).size(), 1);
}

TEST(NSSet, ObjectsAreThemselves) {
    QObject a, b;
    const NSSet set = {QVariant::fromValue(&a), QVariant::fromValue(&b), QVariant::fromValue(&a)};
    EXPECT_EQ(set.size(), 2);
}

#include "NSSetTest.moc"
