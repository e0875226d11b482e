// SPDX-License-Identifier: MIT
#include "platform/values/NSDecimalNumberHandler.h"

void NSDecimalNumberHandler::exceptionDuringOperation(NSCalculationError error) const {
    switch (error) {
    case NSCalculationLossOfPrecision:
        if (m_exactness)
            throw NSException(NSDecimalNumberExactnessException,
                              QStringLiteral("a decimal result has more than 38 digits"));
        break;
    case NSCalculationUnderflow:
        if (m_underflow)
            throw NSException(NSDecimalNumberUnderflowException,
                              QStringLiteral("a decimal result is too small"));
        break;
    case NSCalculationOverflow:
        if (m_overflow)
            throw NSException(NSDecimalNumberOverflowException,
                              QStringLiteral("a decimal result is too large"));
        break;
    case NSCalculationDivideByZero:
        if (m_divideByZero)
            throw NSException(NSDecimalNumberDivideByZeroException,
                              QStringLiteral("a decimal number was divided by zero"));
        break;
    case NSCalculationNoError:
        break;
    }
}
