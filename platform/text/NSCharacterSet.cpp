// SPDX-License-Identifier: MIT
#include "platform/text/NSCharacterSet.h"

#include "platform/base/NeverDestroyed.h"

#include <unicode/uniset.h>

struct NSCharacterSet::Content : QSharedData {
    icu::UnicodeSet characters;
};

NSCharacterSet::NSCharacterSet() noexcept = default;
NSCharacterSet::~NSCharacterSet() = default;
NSCharacterSet::NSCharacterSet(const NSCharacterSet &) noexcept = default;
NSCharacterSet::NSCharacterSet(NSCharacterSet &&) noexcept = default;
NSCharacterSet &NSCharacterSet::operator=(const NSCharacterSet &) noexcept = default;
NSCharacterSet &NSCharacterSet::operator=(NSCharacterSet &&) noexcept = default;

NSCharacterSet::NSCharacterSet(Content *content) : d(content) {
    content->characters.freeze();
}

NSCharacterSet NSCharacterSet::characterSetWithPattern(const char16_t *pattern) {
    auto *const content = new Content;
    UErrorCode status = U_ZERO_ERROR;
    content->characters.applyPattern(pattern, status);
    return NSCharacterSet(content);
}

NSCharacterSet NSCharacterSet::whitespaceAndNewlineCharacterSet() {
    static const zr::NeverDestroyed set(characterSetWithPattern(u"[:White_Space:]"));
    return *set;
}

NSCharacterSet NSCharacterSet::whitespaceCharacterSet() {
    static const zr::NeverDestroyed set(
        characterSetWithPattern(uR"([[:White_Space:]-[\n-\r\u0085\u2028\u2029]])"));
    return *set;
}

NSCharacterSet NSCharacterSet::newlineCharacterSet() {
    static const zr::NeverDestroyed set(characterSetWithPattern(uR"([\n-\r\u0085\u2028\u2029])"));
    return *set;
}

NSCharacterSet NSCharacterSet::decimalDigitCharacterSet() {
    static const zr::NeverDestroyed set(characterSetWithPattern(u"[:Nd:]"));
    return *set;
}

NSCharacterSet NSCharacterSet::letterCharacterSet() {
    static const zr::NeverDestroyed set(characterSetWithPattern(u"[[:L:][:M:]]"));
    return *set;
}

NSCharacterSet NSCharacterSet::alphanumericCharacterSet() {
    static const zr::NeverDestroyed set(characterSetWithPattern(u"[[:L:][:M:][:N:]]"));
    return *set;
}

NSCharacterSet NSCharacterSet::punctuationCharacterSet() {
    static const zr::NeverDestroyed set(characterSetWithPattern(u"[:P:]"));
    return *set;
}

NSCharacterSet NSCharacterSet::characterSetWithCharactersInString(QStringView text) {
    auto *const content = new Content;
    content->characters.addAll(icu::UnicodeString(false, text.utf16(), int32_t(text.size())));
    return NSCharacterSet(content);
}

NSCharacterSet NSCharacterSet::characterSetWithRange(char32_t first, char32_t last) {
    auto *const content = new Content;
    if (first <= last && first <= QChar::LastValidCodePoint)
        content->characters.add(UChar32(first), UChar32(qMin<char32_t>(last, QChar::LastValidCodePoint)));
    return NSCharacterSet(content);
}

bool NSCharacterSet::longCharacterIsMember(char32_t character) const {
    return d && d->characters.contains(UChar32(character));
}

NSCharacterSet NSCharacterSet::invertedSet() const {
    if (!d)
        return {};
    auto *const content = new Content;
    content->characters.addAll(d->characters).complement();
    return NSCharacterSet(content);
}

NSCharacterSet NSCharacterSet::formUnion(const NSCharacterSet &other) const {
    auto *const content = new Content;
    for (const NSCharacterSet &set : {*this, other}) {
        if (set.d)
            content->characters.addAll(set.d->characters);
    }
    return NSCharacterSet(content);
}
