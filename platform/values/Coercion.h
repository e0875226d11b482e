// SPDX-License-Identifier: MIT
#pragma once

#include <QVariant>

class NSDecimalNumber;

namespace zr {

// Numbers out of loosely typed values: of numbers and decimals by value, of strings by the number that they
// begin with (see NumberText.h), of dates as their seconds since 1970 for the floating-point types. Anything
// else gives 0 or false.

bool boolValue(const QVariant &value);
/// Towards zero, and the nearest end of the range for a floating-point number or decimal beyond it. An
/// unsigned integer keeps its 64 bits.
qint64 longLongValue(const QVariant &value);
/// The same; a negative integer keeps its 64 bits.
quint64 unsignedLongLongValue(const QVariant &value);
double doubleValue(const QVariant &value);
float floatValue(const QVariant &value);

/// A number of any arithmetic type, by its sort.
struct Number {
    enum Sort { Signed, Unsigned, Real } sort = Signed;
    qint64 whole = 0;  ///< if Signed
    quint64 large = 0; ///< if Unsigned: more than a qint64 holds
    double real = 0;   ///< if Real

    double asDouble() const {
        return sort == Signed ? double(whole) : sort == Unsigned ? double(large) : real;
    }
};

/// The value must be a number.
Number numberOf(const QVariant &value);
/// The same number; of a floating-point one, what its shortest text says.
NSDecimalNumber decimalOf(const Number &number);

} // namespace zr
