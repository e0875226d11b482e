// SPDX-License-Identifier: MIT
#pragma once

#include <QStringView>
#include <optional>

/// The words of dates in English and German. All are asked for in lower case.
namespace zr::DateWords {

/// 1 to 12.
std::optional<int> month(QStringView word);
/// 1 (Monday) to 7, by the whole name.
std::optional<int> weekday(QStringView word);
/// The same by the usual abbreviations, many of which are words of their own.
std::optional<int> shortWeekday(QStringView word);
/// Days from today: "tomorrow" is 1.
std::optional<int> relativeDay(QStringView word);
/// The hour that a part of a day suggests: "evening" is 19.
std::optional<int> partOfDay(QStringView word);
/// "two" is 2; the articles are 1.
std::optional<int> number(QStringView word);

enum Unit { Minutes, Hours, Days, Weeks, Months, Years };
std::optional<Unit> unit(QStringView word);

/// -1 for "last", 0 for "this", 1 for "next", before a weekday or a week.
std::optional<int> direction(QStringView word);
/// Seconds east of UTC of a zone's abbreviation.
std::optional<int> zoneOffset(QStringView word);

} // namespace zr::DateWords
