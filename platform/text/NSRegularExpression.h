// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/text/NSTextCheckingResult.h"

#include <QList>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

/// How a pattern is read; or'ed together.
enum NSRegularExpressionOption : quint64 {
    NSRegularExpressionCaseInsensitive = 1 << 0,
    NSRegularExpressionAllowCommentsAndWhitespace = 1 << 1, ///< white space is ignored, # begins a comment
    NSRegularExpressionIgnoreMetacharacters = 1 << 2,       ///< the pattern is a literal text
    NSRegularExpressionDotMatchesLineSeparators = 1 << 3,
    NSRegularExpressionAnchorsMatchLines = 1 << 4, ///< ^ and $ match at each line's ends
    NSRegularExpressionUseUnixLineSeparators = 1 << 5,
    NSRegularExpressionUseUnicodeWordBoundaries = 1 << 6,
};
using NSRegularExpressionOptions = quint64;

/// How a text is searched; or'ed together.
enum NSMatchingOption : quint64 {
    NSMatchingReportProgress = 1 << 0, ///< the block is called without a result now and then in a long search
    NSMatchingReportCompletion = 1 << 1,       ///< the block is called without a result at the end
    NSMatchingAnchored = 1 << 2,               ///< only a match that begins where the range does
    NSMatchingWithTransparentBounds = 1 << 3,  ///< what looks ahead or behind sees past the range
    NSMatchingWithoutAnchoringBounds = 1 << 4, ///< ^ and $ don't match at the range's ends as such
};
using NSMatchingOptions = quint64;

/// What a block is told about one of its calls; or'ed together.
enum NSMatchingFlag : quint64 {
    NSMatchingProgress = 1 << 0,
    NSMatchingCompleted = 1 << 1,
    NSMatchingHitEnd = 1 << 2,        ///< the match looked at the end of the range: more text might extend it
    NSMatchingRequiredEnd = 1 << 3,   ///< more text might undo the match
    NSMatchingInternalError = 1 << 4, ///< the search was given up (see NSRegularExpression)
};
using NSMatchingFlags = quint64;

/// A compiled regular expression in ICU's syntax, run by ICU directly over the string's own UTF-16.
///
/// A value that shares its compiled form; any thread may search with it, several at once. A nil expression
/// finds nothing, and so does any expression in a nil text.
///
/// No pattern and text hang a caller for ever: a search is given up once it has used five seconds of its
/// thread's processor time, and a second more for each million units of text, or 128 MB of memory for
/// backtracking. A line then goes to the log, and the operation returns what it returns if nothing matches: no
/// matches, or the text as it was. Only enumerateMatchesInString() has called its block for the matches before;
/// a block that asked for the completion is told (NSMatchingInternalError). The time that blocks take doesn't
/// count.
class NSRegularExpression {
public:
    /// Called for each match, in order; `stop` set to true ends the search. The result is null in calls that
    /// report progress or completion.
    using Block = std::function<void(const NSTextCheckingResult *result, NSMatchingFlags flags, bool *stop)>;

    /// A nil expression.
    NSRegularExpression() = default;
    /// Compiles the pattern. If that fails the expression is nil, and `error` says why and where
    /// (NSCocoaErrorDomain, 2048). An empty pattern fails. Unknown option bits are kept and mean nothing.
    explicit NSRegularExpression(const QString &pattern, NSRegularExpressionOptions options = 0,
                                 NSError *error = nullptr);
    static NSRegularExpression regularExpressionWithPattern(const QString &pattern,
                                                            NSRegularExpressionOptions options = 0,
                                                            NSError *error = nullptr);

    bool isNil() const { return !m_compiled; }
    explicit operator bool() const { return !isNil(); }

    /// As given; nil for a nil expression.
    QString pattern() const;
    NSRegularExpressionOptions options() const;
    qsizetype numberOfCaptureGroups() const;

    /// The operations below search a range of the text, or all of it.
    /// \throws NSException NSRangeException for a range beyond the text, and for texts of 2^31 units and more
    void enumerateMatchesInString(const QString &string, NSMatchingOptions options,
                                  std::optional<NSRange> range, const Block &block) const;
    QList<NSTextCheckingResult> matchesInString(const QString &string, NSMatchingOptions options = 0,
                                                std::optional<NSRange> range = {}) const;
    qsizetype numberOfMatchesInString(const QString &string, NSMatchingOptions options = 0,
                                      std::optional<NSRange> range = {}) const;
    std::optional<NSTextCheckingResult> firstMatchInString(const QString &string,
                                                           NSMatchingOptions options = 0,
                                                           std::optional<NSRange> range = {}) const;
    /// NSNotFound as location, and no length, if there is no match.
    NSRange rangeOfFirstMatchInString(const QString &string, NSMatchingOptions options = 0,
                                      std::optional<NSRange> range = {}) const;

    /// The text with each match replaced. In the template $0 is the match, $1 and so on are its groups (empty if
    /// a group took no part); as many digits count as make the number of an existing group. A backslash makes the
    /// next character plain. A nil text stays nil.
    QString stringByReplacingMatchesInString(const QString &string, NSMatchingOptions options,
                                             std::optional<NSRange> range, const QString &withTemplate) const;
    /// The same in place; gives the number of replacements.
    qsizetype replaceMatchesInString(QString &string, NSMatchingOptions options, std::optional<NSRange> range,
                                     const QString &withTemplate) const;
    /// What the template gives for one match.
    /// \param offset  is added to the result's locations, for a text that has been changed since the search
    QString replacementStringForResult(const NSTextCheckingResult &result, const QString &inString,
                                       qsizetype offset, const QString &templateText) const;

    /// The pattern that matches this text and nothing else, whatever the options but IgnoreMetacharacters are
    /// (letters stay subject to CaseInsensitive).
    static QString escapedPatternForString(const QString &string);
    /// The template that gives this text.
    static QString escapedTemplateForString(const QString &string);

    /// Equal patterns with equal options.
    friend bool operator==(const NSRegularExpression &a, const NSRegularExpression &b) {
        return a.isNil() == b.isNil() && a.options() == b.options() && a.pattern() == b.pattern();
    }

private:
    friend class NSTextCheckingResult;

    std::shared_ptr<const zr::CompiledExpression> m_compiled;
};
