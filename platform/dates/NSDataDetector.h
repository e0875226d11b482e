// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QTimeZone>
#include <optional>

/// Finds dates in running text, English and German.
///
/// Days: 2024-12-24, 24.12.2024, 24.12., 12/24/2024 (day first if the first number is no month),
/// 24-12-2024, 24 December 2024, Dec 24th, 24. Dezember 2024, all of them also behind a weekday; a weekday's
/// name, next, last and this Monday; today, tomorrow, yesterday, the day after tomorrow, in two days, 3 weeks
/// ago, and their German counterparts. Times: 15:30, 15:30:45.5, 3pm, 3:30 p.m., 15 Uhr, 15.30 Uhr, noon,
/// midnight; with a zone (Z, UTC, GMT+1, +01:00, CET, PST and the like) or without. A day and a time may
/// stand in either order.
///
/// A date without a year is one of the reference's year, a time without a day one of its day, a day without a
/// time means 12:00, or what its part of the day suggests ("tomorrow morning" 9:00). A year of two digits is one from
/// 1970 to 2069. A weekday next to a date is ignored. What doesn't exist (30 February, 25:00, an hour that summer time
/// leaves out) is not found, nor any part of it; of an hour that comes twice the first one counts.
///
/// The time for a text grows with its length only. A value; any thread may read it.
class NSDataDetector {
public:
    struct Match {
        qsizetype location; ///< in UTF-16 units
        qsizetype length;
        QDateTime date; ///< in UTC
    };

    /// The moment that "today" and missing years mean; nil, the default, for that of each call.
    QDateTime referenceDate() const { return m_reference; }
    void setReferenceDate(const QDateTime &date) { m_reference = date; }
    /// The zone of times without one; invalid, the default, for the system's in whatever form TZ has it.
    QTimeZone timeZone() const { return m_zone; }
    void setTimeZone(const QTimeZone &zone) { m_zone = zone; }

    /// The first date of the text.
    std::optional<Match> firstMatchInString(const QString &text) const;
    /// All dates of the text, in their order; none overlaps another.
    QList<Match> matchesInString(const QString &text) const;

private:
    QDateTime m_reference;
    QTimeZone m_zone;
};
