// SPDX-License-Identifier: MIT
#pragma once

#include <QSharedDataPointer>
#include <QStringView>

/// True for the Unicode white space and line separators: space, tab, LF, VT, FF, CR, NEL, the no-break and
/// the other spaces of categories Zs, Zl and Zp (the Unicode property White_Space).
constexpr bool NSIsWhitespaceOrNewline(char16_t unit) noexcept {
    return QChar::isSpace(unit);
}

/// A set of Unicode characters. A value that shares its content; any thread. One made without arguments is
/// nil, which is not the empty set.
class NSCharacterSet {
public:
    NSCharacterSet() noexcept;
    ~NSCharacterSet();
    NSCharacterSet(const NSCharacterSet &) noexcept;
    NSCharacterSet(NSCharacterSet &&) noexcept;
    NSCharacterSet &operator=(const NSCharacterSet &) noexcept;
    NSCharacterSet &operator=(NSCharacterSet &&) noexcept;

    /// What NSIsWhitespaceOrNewline() holds for.
    static NSCharacterSet whitespaceAndNewlineCharacterSet();
    /// The same without LF, VT, FF, CR, NEL and the line and paragraph separators.
    static NSCharacterSet whitespaceCharacterSet();
    /// LF, VT, FF, CR, NEL and the line and paragraph separators.
    static NSCharacterSet newlineCharacterSet();
    /// The decimal digits of all scripts (category Nd).
    static NSCharacterSet decimalDigitCharacterSet();
    /// Letters and combining marks (categories L and M).
    static NSCharacterSet letterCharacterSet();
    /// Letters, combining marks and numbers (categories L, M and N).
    static NSCharacterSet alphanumericCharacterSet();
    /// Punctuation (categories P).
    static NSCharacterSet punctuationCharacterSet();
    /// The characters of the text; a surrogate without a partner stands for itself. nil gives the empty set.
    static NSCharacterSet characterSetWithCharactersInString(QStringView text);
    /// The code points from first to last, both included; the empty set if last is before first.
    static NSCharacterSet characterSetWithRange(char32_t first, char32_t last);

    bool isNull() const { return !d; }
    /// Whether a UTF-16 code unit is in the set; a surrogate is if it was put in alone. False for nil.
    bool characterIsMember(char16_t unit) const { return longCharacterIsMember(unit); }
    bool longCharacterIsMember(char32_t character) const;
    /// All characters that are not in this set; nil for nil.
    NSCharacterSet invertedSet() const;
    /// What is in one of both sets; nil counts as empty.
    NSCharacterSet formUnion(const NSCharacterSet &other) const;

private:
    struct Content;
    explicit NSCharacterSet(Content *content);
    static NSCharacterSet characterSetWithPattern(const char16_t *pattern);

    QExplicitlySharedDataPointer<const Content> d;
};
