// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSPredicate.h"

#include <QString>

/// Writes predicates and expressions in the format language, with no more parentheses than reading them back
/// needs.
namespace zr::PredicateWriter {

QString text(const NSPredicate &predicate);
QString text(const NSExpression &expression);

} // namespace zr::PredicateWriter
