// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSRange.h"

#include <QList>
#include <memory>

class NSRegularExpression;

namespace zr {
class CompiledExpression;
class ExpressionSearch;
} // namespace zr

/// One finding in a text: the range of the whole, and of each capture group that took part.
///
/// A value that doesn't keep the text; any thread. The default one is a finding of nothing, without ranges.
class NSTextCheckingResult {
public:
    NSTextCheckingResult() = default;
    /// \param ranges  the whole match first, then the groups; NSNotFound as location for one that
    /// took no part
    static NSTextCheckingResult
    regularExpressionCheckingResultWithRanges(const QList<NSRange> &ranges,
                                              const NSRegularExpression &regularExpression);

    /// The whole match; nowhere for the default one.
    NSRange range() const { return m_range; }
    /// The range of a group, 0 for the whole; its location is NSNotFound if the group took no part.
    /// \throws NSException NSRangeException for a number that isn't below numberOfRanges()
    NSRange rangeAtIndex(qsizetype index) const {
        if (index < 0 || index >= numberOfRanges())
            refuseIndex(index);
        return index == 0 ? m_range : m_groups[index - 1];
    }
    /// One more than the expression has capture groups.
    qsizetype numberOfRanges() const { return m_range.isNotFound() ? 0 : m_groups.size() + 1; }
    /// The expression that matched; nil for the default one.
    NSRegularExpression regularExpression() const;
    /// The same finding with all ranges moved by so many units.
    /// \throws NSException NSInvalidArgumentException if that would make a location negative
    NSTextCheckingResult resultByAdjustingRangesWithOffset(qsizetype offset) const;

private:
    friend class NSRegularExpression;
    friend class zr::ExpressionSearch;

    [[noreturn]] void refuseIndex(qsizetype index) const;

    NSRange m_range{NSNotFound, 0};
    QList<NSRange> m_groups;
    std::shared_ptr<const zr::CompiledExpression> m_expression;
};

Q_DECLARE_TYPEINFO(NSTextCheckingResult, Q_RELOCATABLE_TYPE);
