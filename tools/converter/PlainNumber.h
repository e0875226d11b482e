// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/ASCII.h"

#include <QByteArray>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>

namespace zr {

/// The number in decimal digits with at most one point among them, as people write it: no sign, no exponent, no blanks, no
/// words such as "inf". Nothing for any other text.
inline std::optional<double> plainNumber(const QByteArray &text) {
    const bool isPlain =
        !text.isEmpty() && text.size() <= 15 && isASCIIDigit(uchar(text.front())) &&
        isASCIIDigit(uchar(text.back())) && text.count('.') <= 1 &&
        std::all_of(text.begin(), text.end(), [](char c) { return c == '.' || isASCIIDigit(uchar(c)); });
    return isPlain ? std::optional(text.toDouble()) : std::nullopt;
}

/// A time of a millisecond or more, written as a number of seconds.
inline std::optional<std::chrono::milliseconds> plainSeconds(const QByteArray &text) {
    const auto seconds = plainNumber(text);
    if (!seconds || *seconds < 0.001 || *seconds > 1e9)
        return {};
    return std::chrono::milliseconds(std::llround(*seconds * 1000));
}

} // namespace zr
