// SPDX-License-Identifier: MIT
#include "platform/values/NSSet.h"

#include "platform/base/NSError.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"

#include <QDateTime>
#include <QObject>
#include <QPoint>
#include <QUrl>
#include <QUuid>
#include <gtest/gtest.h>

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
            QVariantHash{{QStringLiteral("a"), 1}},
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
    EXPECT_EQ(qHash(QVariant(hash), 5), qHash(QVariant(reversed), 5));
}

TEST(NSSet, HashDependsOnOrderInListsAndOnTheSeed) {
    EXPECT_NE(qHash(QVariant(QVariantList{1, 2}), 0), qHash(QVariant(QVariantList{2, 1}), 0));
    EXPECT_NE(qHash(QVariant(1), 0), qHash(QVariant(1), 1));
    EXPECT_NE(qHash(QVariant(QStringLiteral("a")), 0), qHash(QVariant(QStringLiteral("b")), 0));
}

TEST(NSSet, ObjectsAreThemselves) {
    QObject a, b;
    const NSSet set = {QVariant::fromValue(&a), QVariant::fromValue(&b), QVariant::fromValue(&a)};
    EXPECT_EQ(set.size(), 2);
}
