// SPDX-License-Identifier: MIT
#include "platform/values/NSDecimalNumberHandler.h"

void NSDecimalNumberHandler::exceptionDuringOperation(NSCalculationError error) const {
    const auto raiseIf = [](bool asked, const QString &name, const char *reason) {
        if (asked)
            throw NSException(name, QString::fromLatin1(reason));
    };
    raiseIf(m_exactness && error == NSCalculationLossOfPrecision, NSDecimalNumberExactnessException,
            "a decimal result has more than 38 digits");
    raiseIf(m_underflow && error == NSCalculationUnderflow, NSDecimalNumberUnderflowException,
            "a decimal result is too small");
    raiseIf(m_overflow && error == NSCalculationOverflow, NSDecimalNumberOverflowException,
            "a decimal result is too large");
    raiseIf(m_divideByZero && error == NSCalculationDivideByZero, NSDecimalNumberDivideByZeroException,
            "a decimal number was divided by zero");
}
