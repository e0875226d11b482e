// SPDX-License-Identifier: MIT
#pragma once

#include "platform/dates/NSDateFormatter.h"

#include <QDateTime>
#include <QString>
#include <QVariant>

/// Dates as the web writes them, calendar days, and how long ago. Dates are in UTC, to the millisecond; nil
/// is an invalid one. What is made of a nil date is nil, false or 0. The "current" calendar and time zone are the
/// Gregorian calendar, for years before 1582 too, and the system's zone at the time of the call, in whatever form TZ
/// has it. Any thread, unless an operation says otherwise.
namespace ZRKit {

/// Whether the date's whole second is later than the other's.
bool newerThan(const QDateTime &date, const QDateTime &other);

/// The start of the date's day in the current time zone.
QDateTime atMidnight(const QDateTime &date);

/// The seconds between the two dates' midnights, date less other, in days of 86400 s, truncated: 0 for two
/// days with the start of summer time between them.
qint64 daysSince(const QDateTime &date, const QDateTime &other);

/// The date by a pattern of Unicode Technical Standard 35 in the current time zone.
/// @param pattern nil for "yyyy'-'MM'-'dd' 'HH':'mm':'ss"
/// @param locale an ICU locale identifier; nil for "en_US"
QString formatDate(const QDateTime &date, const QString &pattern = {}, const QString &locale = {});

/// "2024-12-24"
QString descriptionDate(const QDateTime &date);
/// "2024-12-24 18:30:00"
QString descriptionDateTime(const QDateTime &date);
/// The text "HH:mm:ss" for every date: its pattern quotes the letters.
QString descriptionTime(const QDateTime &date);

/// The date and its time in a style of the system's locale, in the current time zone.
QString formatDateWithStyle(const QDateTime &date, NSDateFormatterStyle style);

/// How far from now, past or future: "1 min", "44 mins", "1 hour", "2 hours", "1 day", "2 days".
/// @param now nil for the present moment
QString timeAgoInWords(const QDateTime &date, const QDateTime &now = {});

/// Unix time in whole seconds, rounded down, as decimal text.
QString unixTimeStampString(const QDateTime &date);
/// The same as a double; nil for nil.
QVariant unixTimeStampObject(const QDateTime &date);

/// The date moved in the current calendar and time zone: first by the months and years at once, to the
/// month's last day if it has no such day, then by the days. The time of day stays; one that summer time leaves out
/// comes as much later as clocks are put forward (02:30 becomes 03:30), of one that comes twice it is the first. nil
/// beyond what dates hold.
QDateTime dateByAddingDays(const QDateTime &date, int days, int months, int years);

/// RFC 822, or else RFC 3339. Like dateFromRFC822String(), not on two threads at once; raises for nil.
QDateTime dateFromInternetDateTimeString(const QString &text);

/// A date of mail and RSS (RFC 822, with years of four digits): "Mon, 01 Jan 2024 10:00:00 GMT". Weekday,
/// seconds and zone may be missing; without a zone it is GMT. nil for other text; raises
/// NSInvalidArgumentException for nil. Takes no lock: never call it on two threads at once.
QDateTime dateFromRFC822String(const QString &text);

/// A timestamp of ISO 8601 as in RFC 3339: "2024-01-01T10:00:00.123+01:00". The fraction may be missing, and
/// then the zone too; without one it is GMT. nil for other text, and for nil.
QDateTime dateFromRFC3339String(const QString &text);

/// The seconds since 1970 that the text starts with, fractions kept; other text, and nil, is 0. nil beyond 2^53
/// milliseconds.
QDateTime dateFromUNIXTimestampString(const QString &text);

/// toDouble() of the value as seconds since 1970, which is 0 for nil and the null marker; nil beyond the same limit.
QDateTime dateFromUNIXTimestampObject(const QVariant &seconds);

/// The first date in free text, English or German, as NSDataDetector finds them; else a day and month such as
/// "24.12" in the present year. Times without a zone are in the current time zone, a day without a time means
/// 12:00. nil if there is none, and for nil and empty text.
/// @param now what "today" and the present year are told from; nil for the present moment
QDateTime dateFromHumanString(const QString &text, const QDateTime &now = {});

/// By a pattern of Unicode Technical Standard 35 in en_US_POSIX and GMT; nil if the text doesn't match. A year
/// of two digits ("yy") is one from 1970 to 2069. The pattern's formatter is kept.
QDateTime dateFromString(const QString &text, const QString &format);

} // namespace ZRKit
