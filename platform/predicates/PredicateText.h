// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSComparisonPredicate.h"

#include <QString>

/// How predicates look at texts. Any thread.
namespace zr::PredicateText {

/// The text as one that is compared unit by unit under the options: case folded, diacritics taken away.
QString folded(const QString &text, NSComparisonPredicateOptions options);

/// Whether the pattern covers all of the text: `*` any units, `?` one, a backslash takes the next unit as it
/// is. Takes the product of both lengths at worst.
bool isLike(QStringView text, QStringView pattern);

/// Whether the regular expression covers all of the text. Raises NSInvalidArgumentException for an invalid one. A
/// search that is given up (see NSRegularExpression) doesn't match.
bool matches(const QString &text, const QString &pattern, NSComparisonPredicateOptions options);

} // namespace zr::PredicateText
