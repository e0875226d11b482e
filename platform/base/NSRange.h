// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>
#include <limits>

/// The location that stands for "nowhere".
inline constexpr qsizetype NSNotFound = std::numeric_limits<qsizetype>::max();

/// A stretch of a string or an array: where it begins and how long it is, in the string's UTF-16 units or the
/// array's elements.
struct NSRange {
    qsizetype location = 0;
    qsizetype length = 0;

    /// The first place behind the range.
    constexpr qsizetype end() const { return location + length; }
    constexpr bool isNotFound() const { return location == NSNotFound; }
    /// Whether all of it lies within so many units.
    constexpr bool isWithin(qsizetype size) const {
        return location >= 0 && length >= 0 && location <= size && length <= size - location;
    }

    friend constexpr bool operator==(const NSRange &, const NSRange &) = default;
};
