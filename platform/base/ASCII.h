// SPDX-License-Identifier: MIT
#pragma once

namespace zr {

// What formats of the net and of files mean by these words, whatever the locale. For units of any width.

constexpr bool isASCIIDigit(char32_t unit) {
    return unit - U'0' < 10;
}
constexpr char32_t toASCIILower(char32_t unit) {
    return unit - U'A' < 26 ? unit + 32 : unit;
}
constexpr bool isASCIILetter(char32_t unit) {
    return toASCIILower(unit) - U'a' < 26;
}
/// Space, tab, line feed, carriage return or form feed: the white space of HTML and CSS.
constexpr bool isASCIISpace(char32_t unit) {
    return unit == U' ' || (unit >= U'\t' && unit <= U'\r' && unit != U'\v');
}
/// 0 to 15, or -1 for anything but a hexadecimal digit.
constexpr int hexDigitValue(char32_t unit) {
    if (isASCIIDigit(unit))
        return int(unit - U'0');
    const char32_t letter = toASCIILower(unit) - U'a';
    return letter < 6 ? int(letter) + 10 : -1;
}

} // namespace zr
