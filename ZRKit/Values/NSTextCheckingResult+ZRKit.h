// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyText.h"
#include "platform/text/NSTextCheckingResult.h"

#include <QString>
#include <QVariantList>

/// What a match stands for in the text that was searched. Any thread.
namespace ZRKit {

/// The text of the whole match; nil if the match doesn't lie within the string.
QString inString(const NSTextCheckingResult &result, const AnyText &string);
/// The text of a group, 0 for the whole match: nil if the result has no such group, the empty string if
/// the group took no part in the match.
QString inString(const NSTextCheckingResult &result, const AnyText &string, qsizetype at);
/// The texts of all groups from 0, each a string.
QVariantList groupsInString(const NSTextCheckingResult &result, const AnyText &string);

} // namespace ZRKit
