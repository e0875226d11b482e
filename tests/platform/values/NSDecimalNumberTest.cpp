// SPDX-License-Identifier: MIT
#include "platform/values/NSDecimalNumber.h"

#include "platform/values/NSNull.h"

#include <QHashFunctions>
#include <QVariant>
#include <cmath>
#include <cstdlib>
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

TEST(NSDecimalNumber, FloatValueIsRoundedOnce) {
    for (const char *text :
         {"0", "1", "-0.1", "123.99", "16777217", "3402823466385288598117041834845169254.4",
          "12345678901234567890.123456789012345678", "1e-45", "7e-46", "1e38"})
        EXPECT_EQ(decimal(text).floatValue(), std::strtof(text, nullptr)) << text;
    EXPECT_EQ(decimal("1.000000059604644775390626").floatValue(), 1.00000012f)
        << "a double between would give 1";
    EXPECT_EQ(decimal("34e37").floatValue(), 34e37f);
    EXPECT_EQ(decimal("35e37").floatValue(), std::numeric_limits<float>::infinity());
    EXPECT_EQ(decimal("-1e127").floatValue(), -std::numeric_limits<float>::infinity());
    EXPECT_EQ(decimal("1e-128").floatValue(), 0);
    EXPECT_TRUE(std::isnan(NSDecimalNumber::notANumber().floatValue()));
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

TEST(NSDecimalNumber, HoldsEveryInteger) {
    EXPECT_EQ(NSDecimalNumber(0), NSDecimalNumber::zero());
    EXPECT_EQ(NSDecimalNumber(true), NSDecimalNumber::one());
    EXPECT_EQ(NSDecimalNumber(-5), decimal("-5"));
    EXPECT_EQ(NSDecimalNumber(7u), decimal("7"));
    EXPECT_EQ(NSDecimalNumber(std::numeric_limits<qint64>::min()), decimal("-9223372036854775808"));
    EXPECT_EQ(NSDecimalNumber(std::numeric_limits<quint64>::max()), decimal("18446744073709551615"));
}

TEST(NSDecimalNumber, IsMadeFromADoublesShortestText) {
    EXPECT_EQ(NSDecimalNumber::decimalNumberWithDouble(0.1), decimal("0.1"));
    EXPECT_EQ(NSDecimalNumber::decimalNumberWithDouble(-1e21), decimal("-1e21"));
    EXPECT_EQ(NSDecimalNumber::decimalNumberWithDouble(-0.0), NSDecimalNumber());
    EXPECT_EQ(NSDecimalNumber::decimalNumberWithDouble(5e-324), NSDecimalNumber());
    for (const double number :
         {1e165, 1e308, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
        EXPECT_TRUE(NSDecimalNumber::decimalNumberWithDouble(number).isNaN()) << number;
}

TEST(NSDecimalNumber, GivesTheNearestDouble) {
    EXPECT_EQ(decimal("0.1").doubleValue(), 0.1);
    EXPECT_EQ(decimal("-1e-128").doubleValue(), -1e-128);
    EXPECT_EQ(NSDecimalNumber::maximumDecimalNumber().doubleValue(), 1e165);
    EXPECT_EQ(decimal("9007199254740993").doubleValue(), 9007199254740992.0);
    EXPECT_EQ(decimal("0").doubleValue(), 0);
    EXPECT_TRUE(std::isnan(NSDecimalNumber::notANumber().doubleValue()));
}

TEST(NSDecimalNumber, GivesItsIntegerPart) {
    EXPECT_EQ(decimal("-123.99").longLongValue(), -123);
    EXPECT_EQ(decimal("1e30").longLongValue(), std::numeric_limits<qint64>::max());
    EXPECT_EQ(decimal("-1e30").longLongValue(), std::numeric_limits<qint64>::min());
    EXPECT_EQ(decimal("18446744073709551615.5").unsignedLongLongValue(), std::numeric_limits<quint64>::max());
    EXPECT_EQ(decimal("18446744073709551616").unsignedLongLongValue(), std::numeric_limits<quint64>::max());
    EXPECT_EQ(decimal("-1").unsignedLongLongValue(), std::numeric_limits<quint64>::max());
    EXPECT_EQ(decimal("-18446744073709551615").unsignedLongLongValue(), 1u);
    EXPECT_EQ(NSDecimalNumber::notANumber().unsignedLongLongValue(), 0u);
}

TEST(NSDecimalNumber, IsOrderedByValueAndNotANumberComesFirst) {
    const NSDecimalNumber ordered[] = {NSDecimalNumber::notANumber(),
                                       NSDecimalNumber::minimumDecimalNumber(),
                                       decimal("-10"),
                                       decimal("-9.99"),
                                       decimal("-1e-128"),
                                       decimal("0"),
                                       decimal("1e-128"),
                                       decimal("0.1"),
                                       decimal("0.11"),
                                       decimal("9"),
                                       decimal("10"),
                                       decimal("99999999999999999999999999999999999999"),
                                       decimal("1e38"),
                                       NSDecimalNumber::maximumDecimalNumber()};
    for (size_t i = 0; i < std::size(ordered); ++i) {
        for (size_t j = 0; j < std::size(ordered); ++j)
            EXPECT_EQ(ordered[i] <=> ordered[j], i <=> j) << i << ' ' << j;
    }
}

TEST(NSDecimalNumber, NotANumberMakesEveryResultNotANumberAndRaisesNothing) {
    const NSDecimalNumber nan = NSDecimalNumber::notANumber(), one = NSDecimalNumber::one();
    for (const auto &[a, b] : {std::pair(nan, one), {one, nan}, {nan, nan}}) {
        EXPECT_TRUE(a.decimalNumberByAdding(b).isNaN());
        EXPECT_TRUE(a.decimalNumberBySubtracting(b).isNaN());
        EXPECT_TRUE(a.decimalNumberByMultiplyingBy(b).isNaN());
        EXPECT_TRUE(a.decimalNumberByDividingBy(b).isNaN());
    }
    EXPECT_TRUE(nan.decimalNumberByDividingBy(NSDecimalNumber()).isNaN());
    EXPECT_TRUE(nan.decimalNumberByRaisingToPower(0).isNaN());
    EXPECT_TRUE(nan.decimalNumberByMultiplyingByPowerOf10(1).isNaN());
}

TEST(NSDecimalNumber, RaisesWhatTheHandlerAsksFor) {
    const auto nameOf = [](auto calculate) {
        try {
            calculate();
        } catch (const NSException &exception) {
            return exception.name();
        }
        return QString();
    };
    const NSDecimalNumber largest = NSDecimalNumber::maximumDecimalNumber();
    const NSDecimalNumber tiny = decimal("1e-128");
    EXPECT_EQ(nameOf([&] { largest.decimalNumberByAdding(largest); }), NSDecimalNumberOverflowException);
    EXPECT_EQ(nameOf([&] { tiny.decimalNumberByMultiplyingBy(tiny); }), NSDecimalNumberUnderflowException);
    EXPECT_EQ(nameOf([&] { tiny.decimalNumberByDividingBy(NSDecimalNumber()); }),
              NSDecimalNumberDivideByZeroException);
    EXPECT_EQ(nameOf([&] { decimal("1").decimalNumberByDividingBy(decimal("3")); }), QString());

    const NSDecimalNumberHandler exact(NSRoundPlain, NSDecimalNoScale, true, false, false, false);
    EXPECT_EQ(nameOf([&] { decimal("1").decimalNumberByDividingBy(decimal("3"), exact); }),
              NSDecimalNumberExactnessException);
    EXPECT_EQ(nameOf([&] { decimal("1").decimalNumberByDividingBy(decimal("8"), exact); }), QString());
    EXPECT_TRUE(largest.decimalNumberByAdding(largest, exact).isNaN());
    EXPECT_TRUE(tiny.decimalNumberByMultiplyingBy(tiny, exact).isNaN());
    EXPECT_TRUE(tiny.decimalNumberByDividingBy(NSDecimalNumber(), exact).isNaN());
    // Rounding to a scale is what was asked for, no loss.
    const NSDecimalNumberHandler cents(NSRoundPlain, 2, true, true, true, true);
    EXPECT_EQ(decimal("0.001").decimalNumberByRoundingAccordingToBehavior(cents), NSDecimalNumber());
    EXPECT_EQ(decimal("1").decimalNumberByDividingBy(decimal("3"), cents), decimal("0.33"));
}

TEST(NSDecimalNumber, PowersOfAnySizeEnd) {
    constexpr quint64 Most = std::numeric_limits<quint64>::max();
    const NSDecimalNumberHandler quiet(NSRoundPlain, NSDecimalNoScale, false, false, false, false);
    EXPECT_EQ(decimal("1").decimalNumberByRaisingToPower(Most), decimal("1"));
    EXPECT_EQ(decimal("-1").decimalNumberByRaisingToPower(Most), decimal("-1"));
    EXPECT_EQ(decimal("0").decimalNumberByRaisingToPower(Most), decimal("0"));
    EXPECT_EQ(decimal("0").decimalNumberByRaisingToPower(0), decimal("1"));
    EXPECT_TRUE(decimal("2").decimalNumberByRaisingToPower(Most, quiet).isNaN());
    EXPECT_TRUE(decimal("0.5").decimalNumberByRaisingToPower(Most, quiet).isNaN());
    EXPECT_TRUE(decimal("10").decimalNumberByRaisingToPower(Most, quiet).isNaN());
    EXPECT_EQ(decimal("1.00000000000000000001").decimalNumberByRaisingToPower(Most, quiet).stringValue(),
              QStringLiteral("1.202577825599849155874754345407019456"));
}
