// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSPredicate.h"

#include <optional>

/// How two values are compared.
enum NSPredicateOperatorType {
    NSLessThanPredicateOperatorType,
    NSLessThanOrEqualToPredicateOperatorType,
    NSGreaterThanPredicateOperatorType,
    NSGreaterThanOrEqualToPredicateOperatorType,
    NSEqualToPredicateOperatorType,
    NSNotEqualToPredicateOperatorType,
    NSMatchesPredicateOperatorType,
    NSLikePredicateOperatorType,
    NSBeginsWithPredicateOperatorType,
    NSEndsWithPredicateOperatorType,
    NSInPredicateOperatorType,
    NSContainsPredicateOperatorType,
    NSBetweenPredicateOperatorType,
};

/// Whether the left value itself is compared, or the elements of it.
enum NSComparisonPredicateModifier {
    NSDirectPredicateModifier,
    NSAllPredicateModifier, ///< it holds for each element
    NSAnyPredicateModifier, ///< it holds for some element
};

/// How texts are compared; or'ed together.
enum NSComparisonPredicateOption : unsigned {
    NSCaseInsensitivePredicateOption = 1,
    NSDiacriticInsensitivePredicateOption = 2,
    NSNormalizedPredicateOption = 4, ///< unit by unit, as without options
};
using NSComparisonPredicateOptions = unsigned;

/// A predicate that compares two expressions; an immutable value, any thread may read it.
class NSComparisonPredicate : public NSPredicate {
public:
    NSComparisonPredicate(const NSExpression &left, const NSExpression &right,
                          NSComparisonPredicateModifier modifier, NSPredicateOperatorType type,
                          NSComparisonPredicateOptions options = 0);
    /// The predicate, if it is a comparison.
    static std::optional<NSComparisonPredicate> from(const NSPredicate &predicate);

    NSExpression leftExpression() const;
    NSExpression rightExpression() const;
    NSComparisonPredicateModifier comparisonPredicateModifier() const;
    NSPredicateOperatorType predicateOperatorType() const;
    NSComparisonPredicateOptions options() const;

private:
    explicit NSComparisonPredicate(const NSPredicate &predicate) : NSPredicate(predicate) {}
};
