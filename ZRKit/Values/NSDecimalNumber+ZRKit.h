// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSDecimalNumber.h"

#include <concepts>
#include <optional>

/// Money helpers on decimal numbers. An amount is an integer of hundredths, such as cents. Nothing here
/// raises: what can't be calculated is not-a-number. Any thread.
namespace ZRKit {

/// integer × 10^-places, exactly: 12345 with 2 is 123.45. The exponent is carried in 16 bits.
NSDecimalNumber decimalNumberWithInteger(qint64 integer, qint64 shiftDecimalPlaces);
template <std::floating_point Number>
NSDecimalNumber decimalNumberWithInteger(Number, qint64) = delete;

/// An amount's number: 12345 is 123.45.
NSDecimalNumber decimalNumberWithAmountInteger(qint64 amount);
template <std::floating_point Number>
NSDecimalNumber decimalNumberWithAmountInteger(Number) = delete;

/// The integer part, towards zero: 123.99 is 123, -1.5 is -1. Beyond 64 bits the nearest limit; 0 for
/// not-a-number.
qint64 integerValue(const NSDecimalNumber &number);

/// The number's amount, further places cut off: 12.345 is 1234. Round first if that is not wanted.
qint64 amountIntegerValue(const NSDecimalNumber &number);

/// The number rounded to so many decimal places.
NSDecimalNumber decimalNumberByRoundingToDecimalPlaces(const NSDecimalNumber &number, qint16 places,
                                                       NSRoundingMode roundingMode = NSRoundPlain);

/// Rounded plain to 2 places.
NSDecimalNumber fixedValue(const NSDecimalNumber &number);

/// Rounded plain to the nearest 0.05: 1.03 is 1.05.
NSDecimalNumber decimalNumberByRoundingToCHF(const NSDecimalNumber &number);

/// (number / 100) × percentage; zero for a nil percentage.
NSDecimalNumber decimalNumberCalculatePercentage(const NSDecimalNumber &number,
                                                 const std::optional<NSDecimalNumber> &percentage);

/// The number less so many percent of it.
NSDecimalNumber decimalNumberByDeductingPercentage(const NSDecimalNumber &number,
                                                   const std::optional<NSDecimalNumber> &percentage);

/// Neither zero nor not-a-number.
bool isTrue(const NSDecimalNumber &number);

} // namespace ZRKit
