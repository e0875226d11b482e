// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyText.h"
#include "platform/text/NSRegularExpression.h"

#include <QMetaType>
#include <QVariantList>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <optional>

class ZRRegexMatch;

/// A regular expression with named groups, "(?<name>...)", on an engine that is given numbered groups only.
///
/// Names are taken out of the pattern before it is compiled, by text alone: an escaped parenthesis, or one within a
/// set or a comment, counts as a group. So do the openers of all other forms that begin with "(?", except (?: (?#
/// (?= (?! (?<! and (?<=. Patterns are written so that this doesn't matter.
///
/// An object that never changes: copies are the same object, and any thread may search with it. A search is given up
/// after five seconds of its thread's processor time, and a second more for each million units of text, or 128 MB
/// of memory: see NSRegularExpression.
class ZRRegex {
public:
    /// Case doesn't matter; white space in the pattern is ignored and # begins a comment; ^ and $ match at
    /// lines' ends.
    static constexpr NSRegularExpressionOptions DefaultOptions =
        NSRegularExpressionCaseInsensitive | NSRegularExpressionAllowCommentsAndWhitespace |
        NSRegularExpressionAnchorsMatchLines;
    /// Is given each match in order; `stop` set to true ends the search.
    using Block = std::function<void(const ZRRegexMatch &match, bool *stop)>;

    /// With `cache`, the object that was made before for this pattern with these options, as long as the
    /// process's cache keeps it (the last 500 that were asked for); otherwise a new one.
    static ZRRegex regexWithPattern(const ZRKit::AnyText &pattern, NSRegularExpressionOptions options,
                                    bool cache);

    /// A pattern that can't be compiled is logged, and makes an object whose regex() is nil. So is a name
    /// that is defined twice; it stands for the later group.
    explicit ZRRegex(const ZRKit::AnyText &pattern, NSRegularExpressionOptions options = DefaultOptions);

    /// As given, with its names.
    QString pattern() const;
    NSRegularExpressionOptions options() const;
    /// The number of each named group; nil for a pattern that has none.
    std::optional<QVariantMap> groupNameMappings() const;
    /// The expression without names; nil if it couldn't be compiled.
    NSRegularExpression regex() const;

    /// The texts of all matches, in order; none if the search is given up. nil if the pattern couldn't be compiled.
    std::optional<QVariantList> allStringMatchesinString(const ZRKit::AnyText &string) const;
    /// Calls the block for each match as it is found, so also for those before a search is given up. Reports
    /// without a match, which options can ask for, don't reach it.
    void enumerateMatchesInString(const ZRKit::AnyText &string, NSMatchingOptions options,
                                  const Block &usingBlock) const;
    void enumerateMatchesInString(const ZRKit::AnyText &string, const Block &usingBlock) const {
        enumerateMatchesInString(string, 0, usingBlock);
    }

    /// Whether both are the very same object, not only of the same pattern.
    friend bool operator==(const ZRRegex &a, const ZRRegex &b) { return a.m_configured == b.m_configured; }

private:
    struct Shared;
    struct Configured;

    static Shared &shared();

    std::shared_ptr<const Configured> m_configured;
};

/// One match of a ZRRegex, with the text that was searched. One thread at a time.
///
/// It answers for itself: what it has from its base stays empty, the engine's result is match().
class ZRRegexMatch : public NSTextCheckingResult {
    Q_GADGET
    Q_PROPERTY(QString text READ text)
    Q_PROPERTY(QString stringValue READ stringValue)

public:
    /// \param text  the string that was searched
    ZRRegexMatch(const ZRRegex &regex, const ZRKit::AnyText &text,
                 const NSTextCheckingResult &textCheckingResult)
        : m_regex(regex), m_text(text), m_match(textCheckingResult) {}

    /// The text of a named group, the empty string if it took no part; nil for a name that the pattern
    /// doesn't have.
    QString stringForGroupName(const ZRKit::AnyText &name) const;
    QString objectForKeyedSubscript(const ZRKit::AnyText &name) const { return stringForGroupName(name); }
    QString operator[](const ZRKit::AnyText &name) const { return stringForGroupName(name); }
    /// The text of the whole match.
    QString stringValue() const;
    QString text() const { return m_text; }
    NSTextCheckingResult match() const { return m_match; }

private:
    ZRRegex m_regex;
    QString m_text;
    NSTextCheckingResult m_match;
};
