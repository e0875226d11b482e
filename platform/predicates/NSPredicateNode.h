// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSComparisonPredicate.h"
#include "platform/predicates/NSCompoundPredicate.h"

#include <memory>
#include <variant>

/// What a predicate holds; for the predicate classes only.
struct NSPredicate::Node {
    struct Comparison {
        NSExpression left, right;
        NSComparisonPredicateModifier modifier = NSDirectPredicateModifier;
        NSPredicateOperatorType type = NSEqualToPredicateOperatorType;
        NSComparisonPredicateOptions options = 0;
        friend bool operator==(const Comparison &, const Comparison &) = default;
    };
    struct Compound {
        NSCompoundPredicateType type = NSAndPredicateType;
        QList<NSPredicate> subpredicates;
        friend bool operator==(const Compound &, const Compound &) = default;
    };
    /// Blocks can't be compared: equal are those that came from one call.
    struct Function {
        std::shared_ptr<const Block> block;
        friend bool operator==(const Function &, const Function &) = default;
    };

    std::variant<bool, Comparison, Compound, Function> content;
    int depth = 1;

    /// One more than the deepest child; raises if that is too deep.
    static int above(int deepest);
};
