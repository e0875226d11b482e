// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDecimalNumber+ZRKit.h"

#include "ZRKit/Values/NSObject+ZRKit.h"

#include <gtest/gtest.h>
#include <limits>

using namespace ZRKit;

namespace {

NSDecimalNumber decimal(const char *text) {
    return NSDecimalNumber(QString::fromLatin1(text));
}

std::string text(const NSDecimalNumber &number) {
    return number.stringValue().toStdString();
}

const NSDecimalNumber NotANumber = NSDecimalNumber::notANumber();

} // namespace

TEST(NSDecimalNumberKit, IntegersAreShiftedExactly) {
    EXPECT_EQ(text(decimalNumberWithInteger(12345, 2)), "123.45");
    EXPECT_EQ(text(decimalNumberWithInteger(12345, -2)), "1234500");
    EXPECT_EQ(text(decimalNumberWithInteger(12345, 0)), "12345");
    EXPECT_EQ(text(decimalNumberWithInteger(std::numeric_limits<qint64>::min(), 10)),
              "-922337203.6854775808");
    EXPECT_EQ(text(decimalNumberWithInteger(std::numeric_limits<qint64>::max(), 0)), "9223372036854775807");
    // The exponent is carried in 16 bits.
    EXPECT_EQ(text(decimalNumberWithInteger(7, 65536 + 1)), "0.7");
    EXPECT_TRUE(decimalNumberWithInteger(7, 1000).isNaN());
    EXPECT_TRUE(decimalNumberWithInteger(7, -1000).isNaN());
    EXPECT_EQ(text(decimalNumberWithInteger(0, -1000)), "0");
}

TEST(NSDecimalNumberKit, AmountsAreHundredths) {
    EXPECT_EQ(text(decimalNumberWithAmountInteger(-5)), "-0.05");
    EXPECT_EQ(text(decimalNumberWithAmountInteger(0)), "0");
    EXPECT_EQ(text(decimalNumberWithAmountInteger(12345)), "123.45");
    for (const qint64 amount : {qint64(0), qint64(1), qint64(-1), qint64(99), qint64(-12345),
                                std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::min()})
        EXPECT_EQ(amountIntegerValue(decimalNumberWithAmountInteger(amount)), amount);
}

TEST(NSDecimalNumberKit, IntegerValueCutsPlacesOffAndSaturates) {
    EXPECT_EQ(integerValue(decimal("123.99")), 123);
    EXPECT_EQ(integerValue(decimal("-1.5")), -1);
    EXPECT_EQ(integerValue(decimal("0.999")), 0);
    EXPECT_EQ(integerValue(decimal("1e-128")), 0);
    EXPECT_EQ(integerValue(decimal("12e3")), 12000);
    EXPECT_EQ(integerValue(decimal("9223372036854775807.9")), std::numeric_limits<qint64>::max());
    EXPECT_EQ(integerValue(decimal("9223372036854775808")), std::numeric_limits<qint64>::max());
    EXPECT_EQ(integerValue(decimal("-9223372036854775808")), std::numeric_limits<qint64>::min());
    EXPECT_EQ(integerValue(decimal("-1e127")), std::numeric_limits<qint64>::min());
    EXPECT_EQ(integerValue(decimal("1e100")), std::numeric_limits<qint64>::max());
    EXPECT_EQ(integerValue(NotANumber), 0);
}

TEST(NSDecimalNumberKit, AmountIntegerValueTruncates) {
    EXPECT_EQ(amountIntegerValue(decimal("12.345")), 1234);
    EXPECT_EQ(amountIntegerValue(decimal("0.015")), 1);
    EXPECT_EQ(amountIntegerValue(decimal("-0.015")), -1);
    EXPECT_EQ(amountIntegerValue(fixedValue(decimal("0.015"))), 2);
    EXPECT_EQ(amountIntegerValue(NotANumber), 0);
}

TEST(NSDecimalNumberKit, RoundsByModeAndPlaces) {
    struct Row {
        const char *number;
        const char *plain, *down, *up, *bankers;
    };
    for (const Row &row :
         {Row{"2.5", "3", "2", "3", "2"}, Row{"-2.5", "-3", "-3", "-2", "-2"}, Row{"3.5", "4", "3", "4", "4"},
          Row{"2.4", "2", "2", "3", "2"}, Row{"-2.6", "-3", "-3", "-2", "-3"}, Row{"2", "2", "2", "2", "2"},
          Row{"0.5", "1", "0", "1", "0"}, Row{"-0.5", "-1", "-1", "0", "0"}}) {
        const NSDecimalNumber number = decimal(row.number);
        EXPECT_EQ(text(decimalNumberByRoundingToDecimalPlaces(number, 0)), row.plain) << row.number;
        EXPECT_EQ(text(decimalNumberByRoundingToDecimalPlaces(number, 0, NSRoundPlain)), row.plain)
            << row.number;
        EXPECT_EQ(text(decimalNumberByRoundingToDecimalPlaces(number, 0, NSRoundDown)), row.down)
            << row.number;
        EXPECT_EQ(text(decimalNumberByRoundingToDecimalPlaces(number, 0, NSRoundUp)), row.up) << row.number;
        EXPECT_EQ(text(decimalNumberByRoundingToDecimalPlaces(number, 0, NSRoundBankers)), row.bankers)
            << row.number;
    }
    EXPECT_EQ(text(decimalNumberByRoundingToDecimalPlaces(decimal("123.456"), 1)), "123.5");
    EXPECT_EQ(text(decimalNumberByRoundingToDecimalPlaces(decimal("123.456"), 10)), "123.456");
    EXPECT_EQ(text(decimalNumberByRoundingToDecimalPlaces(decimal("1250"), -2)), "1300");
    EXPECT_EQ(text(decimalNumberByRoundingToDecimalPlaces(decimal("49"), -2)), "0");
    EXPECT_EQ(
        text(decimalNumberByRoundingToDecimalPlaces(decimal("1.5"), std::numeric_limits<qint16>::min())),
        "0");
    EXPECT_TRUE(decimalNumberByRoundingToDecimalPlaces(decimal("1.5"), -200, NSRoundUp).isNaN());
    EXPECT_TRUE(decimalNumberByRoundingToDecimalPlaces(NotANumber, 2).isNaN());
}

TEST(NSDecimalNumberKit, FixedValueHasTwoPlaces) {
    EXPECT_EQ(text(fixedValue(decimal("2.345"))), "2.35");
    EXPECT_EQ(text(fixedValue(decimal("-2.345"))), "-2.35");
    EXPECT_EQ(text(fixedValue(decimal("2.344999"))), "2.34");
}

TEST(NSDecimalNumberKit, FrancsAreRoundedToFiveHundredths) {
    for (const auto &[number, rounded] : {std::pair{"0.024", "0"},
                                          {"0.025", "0.05"},
                                          {"1.02", "1"},
                                          {"1.03", "1.05"},
                                          {"1.075", "1.1"},
                                          {"-1.075", "-1.1"},
                                          {"99.99", "100"}})
        EXPECT_EQ(text(decimalNumberByRoundingToCHF(decimal(number))), rounded) << number;
    EXPECT_TRUE(decimalNumberByRoundingToCHF(NotANumber).isNaN());
    EXPECT_TRUE(decimalNumberByRoundingToCHF(NSDecimalNumber::maximumDecimalNumber()).isNaN());
}

TEST(NSDecimalNumberKit, PercentagesAreExactAndNilIsNone) {
    EXPECT_EQ(text(decimalNumberCalculatePercentage(decimal("200"), decimal("7.7"))), "15.4");
    EXPECT_EQ(text(decimalNumberCalculatePercentage(decimal("0.01"), decimal("33.333"))), "0.0033333");
    EXPECT_EQ(text(decimalNumberCalculatePercentage(decimal("200"), std::nullopt)), "0");
    EXPECT_EQ(text(decimalNumberByDeductingPercentage(decimal("200"), decimal("7.7"))), "184.6");
    EXPECT_EQ(text(decimalNumberByDeductingPercentage(decimal("200"), std::nullopt)), "200");
    EXPECT_EQ(text(decimalNumberByDeductingPercentage(decimal("200"), decimal("150"))), "-100");
    EXPECT_TRUE(decimalNumberCalculatePercentage(NotANumber, decimal("1")).isNaN());
    EXPECT_TRUE(decimalNumberByDeductingPercentage(decimal("1"), NotANumber).isNaN());
    // Nothing raises where a result is out of range.
    EXPECT_TRUE(decimalNumberCalculatePercentage(decimal("9e164"), decimal("9e164")).isNaN());
    EXPECT_TRUE(decimalNumberCalculatePercentage(decimal("1e-128"), decimal("1")).isNaN());
}

TEST(NSDecimalNumberKit, TruthIsNeitherZeroNorNotANumber) {
    EXPECT_FALSE(isTrue(decimal("0.00")));
    EXPECT_TRUE(isTrue(decimal("0.01")));
    EXPECT_TRUE(isTrue(decimal("-0.01")));
    EXPECT_FALSE(isTrue(NotANumber));
    for (const char *number : {"0.00", "0.01", "-3", "NaN"})
        EXPECT_EQ(isTrue(QVariant::fromValue(decimal(number))), isTrue(decimal(number))) << number;
}
