// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDecimalNumber+ZRKit.h"

#include "examples/kit/Example.h"

using namespace ZRKit;

namespace {

NSDecimalNumber decimal(const char *text) {
    return NSDecimalNumber(QString::fromLatin1(text));
}

void amounts() {
    expect(decimalNumberWithAmountInteger(12345) == decimal("123.45"));
    expect(decimalNumberWithAmountInteger(-5).stringValue() == QStringLiteral("-0.05"));
    expect(decimalNumberWithInteger(12345, 3) == decimal("12.345"));
    expect(decimalNumberWithInteger(12345, -2) == decimal("1234500"));
    expect(amountIntegerValue(decimal("12.345")) == 1234);
    expect(amountIntegerValue(fixedValue(decimal("12.345"))) == 1235);
    expect(integerValue(decimal("123.99")) == 123);
    expect(integerValue(decimal("-1.5")) == -1);
}

void rounding() {
    expect(decimalNumberByRoundingToDecimalPlaces(decimal("2.5"), 0) == decimal("3"));
    expect(decimalNumberByRoundingToDecimalPlaces(decimal("-2.5"), 0, NSRoundDown) == decimal("-3"));
    expect(decimalNumberByRoundingToDecimalPlaces(decimal("-2.5"), 0, NSRoundUp) == decimal("-2"));
    expect(decimalNumberByRoundingToDecimalPlaces(decimal("2.5"), 0, NSRoundBankers) == decimal("2"));
    expect(decimalNumberByRoundingToDecimalPlaces(decimal("1250"), -2) == decimal("1300"));
    expect(fixedValue(decimal("2.345")) == decimal("2.35"));
    expect(decimalNumberByRoundingToCHF(decimal("1.03")) == decimal("1.05"));
}

void percentages() {
    expect(decimalNumberCalculatePercentage(decimal("200"), decimal("7.7")) == decimal("15.4"));
    expect(decimalNumberByDeductingPercentage(decimal("200"), decimal("7.7")) == decimal("184.6"));
    expect(decimalNumberByDeductingPercentage(decimal("200"), std::nullopt) == decimal("200"));
}

void truth() {
    expect(isTrue(decimal("0.01")));
    expect(!isTrue(decimal("0.00")));
    expect(!isTrue(NSDecimalNumber::notANumber()));
}

void arithmetic() {
    const NSDecimalNumber third = decimal("1").decimalNumberByDividingBy(decimal("3"));
    expect(third.stringValue() == QStringLiteral("0.33333333333333333333333333333333333333"));
    expect(decimal("0.1").decimalNumberByAdding(decimal("0.2")) == decimal("0.3"));
    expect(decimal("1.01").decimalNumberByRaisingToPower(2) == decimal("1.0201"));
    expect(decimal("1.10") == decimal("1.1"));
    expect(decimal("9") < decimal("10"));

    const NSDecimalNumberHandler cents(NSRoundBankers, 2, false, false, false, false);
    expect(decimal("0.333").decimalNumberByMultiplyingBy(decimal("0.5"), cents) == decimal("0.17"));
    expect(decimal("1").decimalNumberByDividingBy(NSDecimalNumber::zero(), cents).isNaN());
}

} // namespace

EXAMPLE(NSDecimalNumber_ZRKit) {
    amounts();
    rounding();
    percentages();
    truth();
    arithmetic();
}
