// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDate+ZRKit.h"

#include "examples/kit/Example.h"

using namespace ZRKit;

namespace {

void webDates() {
    const QDateTime ten(QDate(2024, 1, 1), QTime(10, 0), Qt::UTC);
    expect(dateFromRFC822String(QStringLiteral("Mon, 01 Jan 2024 10:00:00 GMT")) == ten);
    expect(dateFromRFC3339String(QStringLiteral("2024-01-01T11:00:00.000+01:00")) == ten);
    expect(dateFromInternetDateTimeString(QStringLiteral("2024-01-01T10:00:00Z")) == ten);
    expect(dateFromString(QStringLiteral("01.01.2024 10 h"), QStringLiteral("dd.MM.yyyy HH 'h'")) == ten);
    expect(!dateFromRFC3339String(QStringLiteral("2024-02-30T10:00:00Z")).isValid());
}

void unixTime() {
    const QDateTime date = dateFromUNIXTimestampString(QStringLiteral("1704103200.9"));
    expect(unixTimeStampString(date) == QStringLiteral("1704103200"));
    expect(unixTimeStampObject(date) == QVariant(1704103200.0));
    expect(dateFromUNIXTimestampObject(1704103200) == date.addMSecs(-900));
}

void humanDates() {
    const QDateTime now(QDate(2024, 5, 15), QTime(12, 0), Qt::UTC);
    const auto day = [&](const QString &text) { return dateFromHumanString(text, now).toLocalTime().date(); };
    expect(day(QStringLiteral("see you on Dec 24th at 3pm")) == QDate(2024, 12, 24));
    expect(day(QStringLiteral("am 24. Dezember 2025 um 18 Uhr")) == QDate(2025, 12, 24));
    expect(day(QStringLiteral("24.12")) == QDate(2024, 12, 24));
    expect(day(QStringLiteral("in two days")) == QDate(2024, 5, 17));
    expect(!dateFromHumanString(QStringLiteral("30 February 2024"), now).isValid());
}

void days() {
    const QDateTime noon = QDateTime(QDate(2024, 1, 31), QTime(12, 0)).toUTC();
    expect(atMidnight(noon).toLocalTime() == QDateTime(QDate(2024, 1, 31), QTime(0, 0)));
    const QDateTime later = dateByAddingDays(noon, 1, 1, 0);
    expect(later.toLocalTime() == QDateTime(QDate(2024, 3, 1), QTime(12, 0)));
    expect(daysSince(later, noon) == 30);
    expect(newerThan(later, noon));
    expect(!newerThan(noon.addMSecs(900), noon.addMSecs(100)));
}

void texts() {
    const QDateTime noon = QDateTime(QDate(2024, 1, 31), QTime(12, 0)).toUTC();
    expect(descriptionDate(noon) == QStringLiteral("2024-01-31"));
    expect(descriptionDateTime(noon) == QStringLiteral("2024-01-31 12:00:00"));
    expect(descriptionTime(noon) == QStringLiteral("HH:mm:ss"));
    expect(formatDate(noon, QStringLiteral("EEEE, d. MMMM"), QStringLiteral("de_CH")) ==
           QStringLiteral("Mittwoch, 31. Januar"));
    expect(!formatDateWithStyle(noon, NSDateFormatterMediumStyle).isEmpty());
    expect(timeAgoInWords(noon, noon.addSecs(90 * 60)) == QStringLiteral("2 hours"));
    expect(timeAgoInWords(QDateTime::currentDateTimeUtc()) == QStringLiteral("1 min"));
}

} // namespace

EXAMPLE(NSDate_ZRKit) {
    webDates();
    unixTime();
    humanDates();
    days();
    texts();
}
