// SPDX-License-Identifier: MIT
#include "platform/values/NSDecimalNumber.h"

#include "platform/values/NSNull.h"

#include <QHashFunctions>
#include <QVariant>
#include <gtest/gtest.h>
#include <limits>

namespace {

QString back(const char *text) {
    return NSDecimalNumber(QString::fromLatin1(text)).stringValue();
}

NSDecimalNumber decimal(const char *text) {
    return NSDecimalNumber(QString::fromLatin1(text));
}

} // namespace

TEST(NSDecimalNumber, ReadsAndWritesPlainDecimalText) {
    for (const char *text :
         {"0", "1", "-1", "10", "123.45", "-0.05", "0.000000000000000001",
          "12345678901234567890123456789012345678", "-99999999999999999999999999999999999999"})
        EXPECT_EQ(back(text), QLatin1String(text));
    EXPECT_EQ(back("+7"), QStringLiteral("7"));
    EXPECT_EQ(back("1.500"), QStringLiteral("1.5"));
    EXPECT_EQ(back("000120"), QStringLiteral("120"));
    EXPECT_EQ(back(".5"), QStringLiteral("0.5"));
    EXPECT_EQ(back("5."), QStringLiteral("5"));
    EXPECT_EQ(back("1.25e2"), QStringLiteral("125"));
    EXPECT_EQ(back("-125E-3"), QStringLiteral("-0.125"));
    EXPECT_EQ(back("1e+3"), QStringLiteral("1000"));
}

TEST(NSDecimalNumber, OtherTextIsNotANumber) {
    for (const char *text :
         {"", "-", ".", "e5", "1e", "1e-", "abc", "1 ", " 1", "1.2.3", "0x10", "1,5", "NaN", "--1", "1f"})
        EXPECT_TRUE(decimal(text).isNaN()) << text;
    EXPECT_TRUE(NSDecimalNumber(QString()).isNaN());
    EXPECT_TRUE(NSDecimalNumber(QStringLiteral("\u0661")).isNaN());
    EXPECT_EQ(NSDecimalNumber::notANumber().stringValue(), QStringLiteral("NaN"));
}

TEST(NSDecimalNumber, HoldsEveryIntegerExactly) {
    for (const qint64 integer : {Q_INT64_C(0), Q_INT64_C(-1), Q_INT64_C(1000),
                                 std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::max()})
        EXPECT_EQ(NSDecimalNumber(integer).stringValue(), QString::number(integer));
}

TEST(NSDecimalNumber, EqualValuesHaveOneForm) {
    EXPECT_EQ(decimal("1.0"), decimal("1"));
    EXPECT_EQ(decimal("100e-2"), decimal("1"));
    EXPECT_EQ(decimal("-0"), decimal("0"));
    EXPECT_EQ(decimal("0e50"), NSDecimalNumber());
    EXPECT_FALSE(decimal("-0").isNegative());
    EXPECT_EQ(qHash(decimal("2.50"), 1), qHash(decimal("2.5"), 1));
    EXPECT_FALSE(decimal("1") == decimal("-1"));
    EXPECT_FALSE(decimal("1") == decimal("10"));
    EXPECT_EQ(decimal("1200").exponent(), 2);
    EXPECT_EQ(decimal("1200").mantissaLow(), 12u);
    EXPECT_EQ(NSDecimalNumber(1, 0, 0, true).stringValue(), QStringLiteral("-18446744073709551616"));
    EXPECT_EQ(NSDecimalNumber::notANumber(), NSDecimalNumber::notANumber());
    EXPECT_FALSE(NSDecimalNumber::notANumber() == NSDecimalNumber());
}

TEST(NSDecimalNumber, RoundsDigitsPastThirtyEightHalfAwayFromZero) {
    EXPECT_EQ(back("99999999999999999999999999999999999999.4"),
              QStringLiteral("99999999999999999999999999999999999999"));
    EXPECT_EQ(back("99999999999999999999999999999999999999.5"),
              QStringLiteral("100000000000000000000000000000000000000"));
    EXPECT_EQ(back("10000000000000000000000000000000000000.5"),
              QStringLiteral("10000000000000000000000000000000000001"));
    EXPECT_EQ(back("-10000000000000000000000000000000000000.5"),
              QStringLiteral("-10000000000000000000000000000000000001"));
    EXPECT_EQ(back("10000000000000000000000000000000000000.4999999999"),
              QStringLiteral("10000000000000000000000000000000000000"));
    EXPECT_EQ(back("340282366920938463463374607431768211455"),
              QStringLiteral("340282366920938463463374607431768211460"));
    EXPECT_EQ(NSDecimalNumber(~0ULL, ~0ULL, 0, true).stringValue(),
              QStringLiteral("-340282366920938463463374607431768211460"));
    EXPECT_EQ(back("3402823669209384634633746074317682114550000"),
              QStringLiteral("3402823669209384634633746074317682114600000"));
}

TEST(NSDecimalNumber, WhatIsTooLargeIsNotANumberAndTinyTextRoundsToZero) {
    EXPECT_EQ(decimal("1e127").exponent(), 127);
    EXPECT_EQ(decimal("1e164"), decimal("10000000000000000000000000000000000000e127"));
    EXPECT_FALSE(decimal("99999999999999999999999999999999999999e127").isNaN());
    EXPECT_TRUE(decimal("99999999999999999999999999999999999999.5e127").isNaN());
    EXPECT_TRUE(decimal("1e165").isNaN());
    EXPECT_TRUE(decimal("1e99999999999999999999").isNaN());
    EXPECT_EQ(decimal("1e-128").exponent(), -128);
    EXPECT_EQ(decimal("16e-129"), decimal("2e-128"));
    EXPECT_EQ(decimal("4e-129"), NSDecimalNumber());
    EXPECT_EQ(decimal("5e-129"), decimal("1e-128"));
    EXPECT_EQ(decimal("6e-200"), NSDecimalNumber());
    EXPECT_EQ(decimal("1e-99999999999999999999"), NSDecimalNumber());
    EXPECT_TRUE(NSDecimalNumber(0, 1, -129, false).isNaN());
    EXPECT_TRUE(NSDecimalNumber(0, 1, 200, false).isNaN());
    EXPECT_EQ(NSDecimalNumber(0, 0, 5000, true), NSDecimalNumber());
}

TEST(NSDecimalNumber, TravelsInVariants) {
    const QVariant value = QVariant::fromValue(decimal("1.10"));
    EXPECT_EQ(value, QVariant::fromValue(decimal("1.1")));
    EXPECT_NE(value, QVariant::fromValue(decimal("1.2")));
    EXPECT_STREQ(value.metaType().name(), "NSDecimalNumber");
    EXPECT_FALSE(NSIsNil(value));
    EXPECT_EQ(NSDescription(value), QStringLiteral("1.1"));
}
