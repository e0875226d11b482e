// SPDX-License-Identifier: MIT
#include "platform/text/NSCharacterSet.h"

#include <algorithm>
#include <bitset>
#include <vector>

/// The code points at which membership changes, in ascending order; those below the first are not in the set.
struct NSCharacterSet::Content : QSharedData {
    explicit Content(std::vector<char32_t> changes) : boundaries(std::move(changes)) {
        for (char32_t c = 0; c < common.size(); ++c)
            common[c] = find(c);
    }
    bool find(char32_t character) const {
        const auto above = std::upper_bound(boundaries.begin(), boundaries.end(), character);
        return (above - boundaries.begin()) % 2 == 1;
    }

    const std::vector<char32_t> boundaries;
    std::bitset<256> common;
};

namespace {

constexpr char32_t pastLast = QChar::LastValidCodePoint + 1;

template <typename Test>
std::vector<char32_t> boundariesWhere(Test test) {
    std::vector<char32_t> boundaries;
    bool inside = false;
    for (char32_t c = 0; c < pastLast; ++c) {
        if (test(c) != inside) {
            boundaries.push_back(c);
            inside = !inside;
        }
    }
    return boundaries;
}

bool isNewline(char32_t c) {
    return (c >= 0x0a && c <= 0x0d) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

} // namespace

NSCharacterSet::NSCharacterSet() noexcept = default;
NSCharacterSet::~NSCharacterSet() = default;
NSCharacterSet::NSCharacterSet(const NSCharacterSet &) noexcept = default;
NSCharacterSet::NSCharacterSet(NSCharacterSet &&) noexcept = default;
NSCharacterSet &NSCharacterSet::operator=(const NSCharacterSet &) noexcept = default;
NSCharacterSet &NSCharacterSet::operator=(NSCharacterSet &&) noexcept = default;

NSCharacterSet::NSCharacterSet(Content *content) : d(content) {
}

NSCharacterSet NSCharacterSet::whitespaceAndNewlineCharacterSet() {
    static const NSCharacterSet set(
        new Content(boundariesWhere([](char32_t c) { return QChar::isSpace(c); })));
    return set;
}

NSCharacterSet NSCharacterSet::whitespaceCharacterSet() {
    static const NSCharacterSet set(
        new Content(boundariesWhere([](char32_t c) { return QChar::isSpace(c) && !isNewline(c); })));
    return set;
}

NSCharacterSet NSCharacterSet::newlineCharacterSet() {
    static const NSCharacterSet set(new Content(boundariesWhere(isNewline)));
    return set;
}

NSCharacterSet NSCharacterSet::decimalDigitCharacterSet() {
    static const NSCharacterSet set(
        new Content(boundariesWhere([](char32_t c) { return QChar::isDigit(c); })));
    return set;
}

NSCharacterSet NSCharacterSet::letterCharacterSet() {
    static const NSCharacterSet set(
        new Content(boundariesWhere([](char32_t c) { return QChar::isLetter(c) || QChar::isMark(c); })));
    return set;
}

NSCharacterSet NSCharacterSet::alphanumericCharacterSet() {
    static const NSCharacterSet set(new Content(
        boundariesWhere([](char32_t c) { return QChar::isLetterOrNumber(c) || QChar::isMark(c); })));
    return set;
}

NSCharacterSet NSCharacterSet::punctuationCharacterSet() {
    static const NSCharacterSet set(
        new Content(boundariesWhere([](char32_t c) { return QChar::isPunct(c); })));
    return set;
}

NSCharacterSet NSCharacterSet::characterSetWithCharactersInString(QStringView text) {
    std::vector<char32_t> characters;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar unit = text[i];
        const bool isPair = unit.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        characters.push_back(isPair ? QChar::surrogateToUcs4(unit, text[i + 1]) : unit.unicode());
        i += isPair;
    }
    std::sort(characters.begin(), characters.end());
    std::vector<char32_t> boundaries;
    for (const char32_t c : characters) {
        if (!boundaries.empty() && boundaries.back() == c + 1)
            continue;
        if (!boundaries.empty() && boundaries.back() == c) {
            boundaries.back() = c + 1;
        } else {
            boundaries.push_back(c);
            boundaries.push_back(c + 1);
        }
    }
    return NSCharacterSet(new Content(std::move(boundaries)));
}

NSCharacterSet NSCharacterSet::characterSetWithRange(char32_t first, char32_t last) {
    std::vector<char32_t> boundaries;
    if (first <= last && first < pastLast)
        boundaries = {first, last < pastLast ? last + 1 : pastLast};
    return NSCharacterSet(new Content(std::move(boundaries)));
}

bool NSCharacterSet::longCharacterIsMember(char32_t character) const {
    if (!d || character >= pastLast)
        return false;
    return character < d->common.size() ? d->common[character] : d->find(character);
}

NSCharacterSet NSCharacterSet::invertedSet() const {
    if (!d)
        return {};
    std::vector<char32_t> boundaries = d->boundaries;
    if (!boundaries.empty() && boundaries.front() == 0)
        boundaries.erase(boundaries.begin());
    else
        boundaries.insert(boundaries.begin(), 0);
    return NSCharacterSet(new Content(std::move(boundaries)));
}

NSCharacterSet NSCharacterSet::formUnion(const NSCharacterSet &other) const {
    std::vector<char32_t> all;
    for (const NSCharacterSet &set : {*this, other}) {
        if (set.d)
            all.insert(all.end(), set.d->boundaries.begin(), set.d->boundaries.end());
    }
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    std::vector<char32_t> boundaries;
    bool inside = false;
    for (const char32_t c : all) {
        const bool now = longCharacterIsMember(c) || other.longCharacterIsMember(c);
        if (now != inside) {
            boundaries.push_back(c);
            inside = now;
        }
    }
    return NSCharacterSet(new Content(std::move(boundaries)));
}
