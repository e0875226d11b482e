// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSPredicate.h"

#include <QList>
#include <optional>

enum NSCompoundPredicateType {
    NSNotPredicateType,
    NSAndPredicateType,
    NSOrPredicateType,
};

/// A predicate made of others; an immutable value, any thread may read it. AND of none holds, OR of none doesn't.
class NSCompoundPredicate : public NSPredicate {
public:
    static NSCompoundPredicate andPredicateWithSubpredicates(const QList<NSPredicate> &subpredicates);
    static NSCompoundPredicate orPredicateWithSubpredicates(const QList<NSPredicate> &subpredicates);
    static NSCompoundPredicate notPredicateWithSubpredicate(const NSPredicate &predicate);
    /// The predicate, if it is a compound.
    static std::optional<NSCompoundPredicate> from(const NSPredicate &predicate);

    NSCompoundPredicateType compoundPredicateType() const;
    QList<NSPredicate> subpredicates() const;

private:
    friend class NSPredicate;
    NSCompoundPredicate(NSCompoundPredicateType type, const QList<NSPredicate> &subpredicates);
    explicit NSCompoundPredicate(const NSPredicate &predicate) : NSPredicate(predicate) {}
};
