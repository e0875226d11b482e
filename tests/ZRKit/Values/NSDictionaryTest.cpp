// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDictionary+ZRKit.h"

#include "platform/values/NSException.h"

#include <QVariantHash>
#include <gtest/gtest.h>

namespace {

TEST(NSDictionary, KeyGivesTheValue) {
    const QVariantMap dictionary{{QStringLiteral("a"), 1}, {QStringLiteral("b"), QStringLiteral("text")}};
    EXPECT_EQ(ZRKit::key(dictionary, QStringLiteral("a")), QVariant(1));
    EXPECT_EQ(ZRKit::key(dictionary, QStringLiteral("b")), QVariant(QStringLiteral("text")));
    EXPECT_EQ(ZRKit::key(QVariantHash{{QStringLiteral("a"), 1}}, QStringLiteral("a")), QVariant(1));
}

TEST(NSDictionary, KeyReadsTheNullMarkerAndAMissingKeyAsNil) {
    const QVariantMap dictionary{{QStringLiteral("null"), NSNull()}};
    EXPECT_FALSE(ZRKit::key(dictionary, QStringLiteral("null")).isValid());
    EXPECT_FALSE(ZRKit::key(dictionary, QStringLiteral("missing")).isValid());
    EXPECT_FALSE(ZRKit::key(dictionary, QString()).isValid());
    EXPECT_FALSE(ZRKit::key(QVariantMap(), QStringLiteral("a")).isValid());
}

TEST(NSDictionary, KeyKeepsEmptyValues) {
    const QVariantMap dictionary{{QStringLiteral("text"), QStringLiteral("")},
                                 {QStringLiteral("data"), QByteArray("")},
                                 {QStringLiteral("list"), QVariantList()},
                                 {QStringLiteral("zero"), 0},
                                 {QStringLiteral(""), QStringLiteral("empty key")}};
    for (const QString &k : dictionary.keys())
        EXPECT_FALSE(NSIsNil(ZRKit::key(dictionary, k))) << k.toStdString();
    EXPECT_EQ(ZRKit::key(dictionary, QStringLiteral("")), QVariant(QStringLiteral("empty key")));
}

TEST(NSDictionary, KeyGivesNilWhenTheLookupThrows) {
    struct Broken {
        QVariant value(const QString &k) const {
            if (k == QStringLiteral("good"))
                return 1;
            if (k == QStringLiteral("bad"))
                throw NSException(NSInvalidArgumentException, QStringLiteral("bad key"));
            throw 5;
        }
    };
    EXPECT_EQ(ZRKit::key(Broken(), QStringLiteral("good")), QVariant(1));
    EXPECT_FALSE(ZRKit::key(Broken(), QStringLiteral("bad")).isValid());
    EXPECT_FALSE(ZRKit::key(Broken(), QStringLiteral("worse")).isValid());
}

} // namespace
