// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSComparisonPredicate.h"

#include <QLatin1String>
#include <array>

namespace zr {

/// How the format language writes a comparison.
struct PredicateOperator {
    QLatin1String text;
    NSPredicateOperatorType type;
};

inline constexpr std::array PredicateOperators = {
    PredicateOperator{QLatin1String("=="), NSEqualToPredicateOperatorType},
    PredicateOperator{QLatin1String("!="), NSNotEqualToPredicateOperatorType},
    PredicateOperator{QLatin1String("<"), NSLessThanPredicateOperatorType},
    PredicateOperator{QLatin1String("<="), NSLessThanOrEqualToPredicateOperatorType},
    PredicateOperator{QLatin1String(">"), NSGreaterThanPredicateOperatorType},
    PredicateOperator{QLatin1String(">="), NSGreaterThanOrEqualToPredicateOperatorType},
    PredicateOperator{QLatin1String("IN"), NSInPredicateOperatorType},
    PredicateOperator{QLatin1String("BETWEEN"), NSBetweenPredicateOperatorType},
    PredicateOperator{QLatin1String("CONTAINS"), NSContainsPredicateOperatorType},
    PredicateOperator{QLatin1String("BEGINSWITH"), NSBeginsWithPredicateOperatorType},
    PredicateOperator{QLatin1String("ENDSWITH"), NSEndsWithPredicateOperatorType},
    PredicateOperator{QLatin1String("LIKE"), NSLikePredicateOperatorType},
    PredicateOperator{QLatin1String("MATCHES"), NSMatchesPredicateOperatorType},
};

} // namespace zr
