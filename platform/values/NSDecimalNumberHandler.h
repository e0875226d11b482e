// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSException.h"

#include <limits>

/// Which of the two neighbours a number is rounded to.
enum NSRoundingMode {
    NSRoundPlain = 0,  ///< the nearer one, halves away from zero: 2.5 is 3, -2.5 is -3
    NSRoundDown = 1,   ///< the one nearer to negative infinity
    NSRoundUp = 2,     ///< the one nearer to positive infinity
    NSRoundBankers = 3 ///< the nearer one, halves to the one with an even last digit
};

/// What went wrong in a calculation, if anything.
enum NSCalculationError {
    NSCalculationNoError = 0,
    NSCalculationLossOfPrecision, ///< the exact result has more than 38 significant digits
    NSCalculationUnderflow,       ///< the result is too small to be told from zero
    NSCalculationOverflow,        ///< the result is too large
    NSCalculationDivideByZero
};

/// As a scale: every decimal place is kept that there is room for.
inline constexpr qint16 NSDecimalNoScale = std::numeric_limits<qint16>::max();

inline const QString NSDecimalNumberExactnessException = QStringLiteral("NSDecimalNumberExactnessException");
inline const QString NSDecimalNumberUnderflowException = QStringLiteral("NSDecimalNumberUnderflowException");
inline const QString NSDecimalNumberOverflowException = QStringLiteral("NSDecimalNumberOverflowException");
inline const QString NSDecimalNumberDivideByZeroException =
    QStringLiteral("NSDecimalNumberDivideByZeroException");

/// How a decimal calculation rounds, and which of its errors raise an NSException. What doesn't raise goes
/// on: with the rounded number after a loss of precision, with not-a-number after the others. A value; any
/// thread.
class NSDecimalNumberHandler {
public:
    /// @param scale decimal places to keep; negative ones round to tens, hundreds and so on.
    constexpr NSDecimalNumberHandler(NSRoundingMode mode, qint16 scale, bool raiseOnExactness,
                                     bool raiseOnOverflow, bool raiseOnUnderflow, bool raiseOnDivideByZero)
        : m_mode(mode), m_scale(scale), m_exactness(raiseOnExactness), m_overflow(raiseOnOverflow),
          m_underflow(raiseOnUnderflow), m_divideByZero(raiseOnDivideByZero) {}

    /// Plain rounding, all places, raises on everything but a loss of precision: what calculations use that
    /// are given no handler.
    static constexpr NSDecimalNumberHandler defaultDecimalNumberHandler() {
        return {NSRoundPlain, NSDecimalNoScale, false, true, true, true};
    }

    constexpr NSRoundingMode roundingMode() const { return m_mode; }
    constexpr qint16 scale() const { return m_scale; }
    /// Raises the error's exception if this handler was told to.
    void exceptionDuringOperation(NSCalculationError error) const;

private:
    NSRoundingMode m_mode;
    qint16 m_scale;
    bool m_exactness;
    bool m_overflow;
    bool m_underflow;
    bool m_divideByZero;
};
