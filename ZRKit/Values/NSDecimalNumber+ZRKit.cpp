// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDecimalNumber+ZRKit.h"

namespace ZRKit {

namespace {

constexpr NSDecimalNumberHandler quiet(NSRoundingMode mode = NSRoundPlain, qint16 scale = NSDecimalNoScale) {
    return {mode, scale, false, false, false, false};
}

} // namespace

NSDecimalNumber decimalNumberWithInteger(qint64 integer, qint64 shiftDecimalPlaces) {
    const auto power = qint16(0 - quint64(shiftDecimalPlaces));
    return NSDecimalNumber(integer).decimalNumberByMultiplyingByPowerOf10(power, quiet());
}

NSDecimalNumber decimalNumberWithAmountInteger(qint64 amount) {
    return decimalNumberWithInteger(amount, 2);
}

qint64 integerValue(const NSDecimalNumber &number) {
    return number.longLongValue();
}

qint64 amountIntegerValue(const NSDecimalNumber &number) {
    return integerValue(number.decimalNumberByMultiplyingByPowerOf10(2, quiet()));
}

NSDecimalNumber decimalNumberByRoundingToDecimalPlaces(const NSDecimalNumber &number, qint16 places,
                                                       NSRoundingMode roundingMode) {
    return number.decimalNumberByRoundingAccordingToBehavior(quiet(roundingMode, places));
}

NSDecimalNumber fixedValue(const NSDecimalNumber &number) {
    return decimalNumberByRoundingToDecimalPlaces(number, 2);
}

NSDecimalNumber decimalNumberByRoundingToCHF(const NSDecimalNumber &number) {
    const NSDecimalNumber twentieths(20);
    return number.decimalNumberByMultiplyingBy(twentieths, quiet(NSRoundPlain, 0))
        .decimalNumberByDividingBy(twentieths, quiet());
}

NSDecimalNumber decimalNumberCalculatePercentage(const NSDecimalNumber &number,
                                                 const std::optional<NSDecimalNumber> &percentage) {
    if (!percentage)
        return NSDecimalNumber::zero();
    return number.decimalNumberByDividingBy(NSDecimalNumber(100), quiet())
        .decimalNumberByMultiplyingBy(*percentage, quiet());
}

NSDecimalNumber decimalNumberByDeductingPercentage(const NSDecimalNumber &number,
                                                   const std::optional<NSDecimalNumber> &percentage) {
    return number.decimalNumberBySubtracting(decimalNumberCalculatePercentage(number, percentage), quiet());
}

bool isTrue(const NSDecimalNumber &number) {
    return !number.isNaN() && !number.isZero();
}

} // namespace ZRKit
