// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>

/// Dates as the format counts them: seconds since 2001-01-01 00:00:00 UTC.
namespace zr::PropertyListDate {

/// The UTC date, to the millisecond; raises NSPropertyListReadCorruptError for not-a-number and for dates
/// more than 10^15 milliseconds from 1970 (the years -29719 to 33658).
QDateTime fromSeconds(double seconds);

/// The seconds of a date; not-a-number for invalid dates and those that fromSeconds() refuses.
double toSeconds(const QDateTime &date);

} // namespace zr::PropertyListDate
