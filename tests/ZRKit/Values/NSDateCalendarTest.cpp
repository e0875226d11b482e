// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDate+ZRKit.h"

#include "platform/values/NSNull.h"
#include "tests/support/LocalZone.h"

#include <gtest/gtest.h>
#include <limits>

using namespace ZRKit;

namespace {

QDateTime utc(const char *iso) {
    QDateTime date = QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODateWithMs);
    date.setTimeSpec(Qt::UTC);
    return date;
}

QString ago(qint64 milliseconds) {
    const QDateTime now = utc("2024-05-15T12:00:00");
    EXPECT_EQ(timeAgoInWords(now.addMSecs(milliseconds), now),
              timeAgoInWords(now.addMSecs(-milliseconds), now));
    return timeAgoInWords(now.addMSecs(-milliseconds), now);
}

constexpr qint64 Second = 1000, Minute = 60 * Second, Hour = 60 * Minute, Day = 24 * Hour;

} // namespace

TEST(NSDateCalendar, NewerComparesWholeSeconds) {
    EXPECT_FALSE(newerThan(utc("1970-01-01T00:00:10.900"), utc("1970-01-01T00:00:10.100")));
    EXPECT_TRUE(newerThan(utc("1970-01-01T00:00:11"), utc("1970-01-01T00:00:10.900")));
    EXPECT_FALSE(newerThan(utc("1970-01-01T00:00:10"), utc("1970-01-01T00:00:11")));
    // Down, not towards zero.
    EXPECT_TRUE(newerThan(utc("1970-01-01T00:00:00.100"), utc("1969-12-31T23:59:59.900")));
    EXPECT_FALSE(newerThan(QDateTime(), utc("1970-01-01T00:00:00")));
    EXPECT_FALSE(newerThan(utc("1970-01-01T00:00:00"), QDateTime()));
}

TEST(NSDateCalendar, MidnightIsTheLocalDaysStart) {
    const LocalZone zurich("Europe/Zurich");
    EXPECT_EQ(atMidnight(utc("2024-05-15T12:34:56.789")), utc("2024-05-14T22:00:00"));
    EXPECT_EQ(atMidnight(utc("2024-05-15T22:30:00")), utc("2024-05-15T22:00:00"));
    EXPECT_EQ(atMidnight(utc("2024-01-15T12:00:00")), utc("2024-01-14T23:00:00"));
    EXPECT_FALSE(atMidnight(QDateTime()).isValid());
}

TEST(NSDateCalendar, MidnightThatSummerTimeLeavesOutIsTheDaysFirstMoment) {
    const LocalZone beirut("Asia/Beirut");
    EXPECT_EQ(atMidnight(utc("2022-03-27T12:00:00")), utc("2022-03-26T22:00:00"));
}

TEST(NSDateCalendar, DaysSinceCountsDaysOf86400Seconds) {
    const LocalZone zurich("Europe/Zurich");
    EXPECT_EQ(daysSince(utc("2024-05-15T21:59:00"), utc("2024-05-14T22:00:00")), 0);
    EXPECT_EQ(daysSince(utc("2024-05-15T22:00:00"), utc("2024-05-15T21:59:00")), 1);
    EXPECT_EQ(daysSince(utc("2024-05-01T12:00:00"), utc("2024-05-15T12:00:00")), -14);
    // Summer time began on 31 March 2024: that day had 23 hours.
    EXPECT_EQ(daysSince(utc("2024-04-01T12:00:00"), utc("2024-03-31T12:00:00")), 0);
    EXPECT_EQ(daysSince(utc("2024-03-31T12:00:00"), utc("2024-04-01T12:00:00")), 0);
    EXPECT_EQ(daysSince(utc("2024-04-02T12:00:00"), utc("2024-03-31T12:00:00")), 1);
    // It ended on 27 October, a day of 25 hours.
    EXPECT_EQ(daysSince(utc("2024-10-28T12:00:00"), utc("2024-10-27T12:00:00")), 1);
    EXPECT_EQ(daysSince(QDateTime(), utc("2024-10-27T12:00:00")), 0);
}

TEST(NSDateCalendar, AddsAllComponentsAtOnce) {
    const LocalZone zurich("Europe/Zurich");
    EXPECT_EQ(dateByAddingDays(utc("2024-01-31T12:00:00"), 0, 1, 0), utc("2024-02-29T12:00:00"));
    EXPECT_EQ(dateByAddingDays(utc("2024-01-31T12:00:00"), 1, 1, 0), utc("2024-03-01T12:00:00"));
    EXPECT_EQ(dateByAddingDays(utc("2024-02-29T12:00:00"), 0, 1, 1), utc("2025-03-29T12:00:00"));
    EXPECT_EQ(dateByAddingDays(utc("2024-02-29T12:00:00"), 0, 0, 1), utc("2025-02-28T12:00:00"));
    EXPECT_EQ(dateByAddingDays(utc("2024-03-31T10:00:00"), -1, -1, -1), utc("2023-02-27T11:00:00"));
    // The time of day stays across the beginning of summer time.
    EXPECT_EQ(dateByAddingDays(utc("2024-03-30T12:00:00"), 1, 0, 0), utc("2024-03-31T11:00:00"));
    EXPECT_EQ(dateByAddingDays(utc("2024-03-30T12:00:00.250"), 0, 0, 0), utc("2024-03-30T12:00:00.250"));
    EXPECT_FALSE(dateByAddingDays(QDateTime(), 1, 1, 1).isValid());
    constexpr int Most = std::numeric_limits<int>::max();
    EXPECT_FALSE(dateByAddingDays(utc("2024-03-30T12:00:00"), Most, Most, Most).isValid());
}

TEST(NSDateCalendar, ATimeThatSummerTimeLeavesOutComesAsMuchLater) {
    struct Row {
        const char *zone;
        const char *from;
        int days, months, years;
        const char *to;
    };
    for (const Row &row : {
             Row{"America/New_York", "2024-03-09T07:30:00", 1, 0, 0, "2024-03-10T07:30:00"}, // 02:30 -> 03:30
             Row{"America/New_York", "2024-03-11T06:30:00", -1, 0, 0, "2024-03-10T07:30:00"},
             Row{"America/New_York", "2024-02-10T07:30:00", 0, 1, 0, "2024-03-10T07:30:00"},
             Row{"Europe/Berlin", "2024-03-30T01:30:00", 1, 0, 0, "2024-03-31T01:30:00"},
             Row{"Europe/Berlin", "2023-03-31T00:30:00", 0, 0, 1, "2024-03-31T01:30:00"},
             Row{"Australia/Sydney", "2024-10-04T16:30:00", 1, 0, 0, "2024-10-05T16:30:00"},
             Row{"Australia/Lord_Howe", "2024-10-04T15:45:00", 1, 0, 0,
                 "2024-10-05T15:45:00"},                                                 // 02:15 -> 02:45
             Row{"Asia/Beirut", "2022-03-25T22:30:00", 1, 0, 0, "2022-03-26T22:30:00"},  // 00:30 -> 01:30
             Row{"Pacific/Apia", "2011-12-29T22:00:00", 1, 0, 0, "2011-12-30T22:00:00"}, // a whole day
             Row{"CET-1CEST,M3.5.0,M10.5.0/3", "2024-03-30T01:30:00", 1, 0, 0, "2024-03-31T01:30:00"},
         }) {
        const LocalZone zone(row.zone);
        EXPECT_EQ(dateByAddingDays(utc(row.from), row.days, row.months, row.years), utc(row.to))
            << row.zone << ' ' << row.from;
    }
}

TEST(NSDateCalendar, OfATimeThatComesTwiceTheFirstCounts) {
    const LocalZone york("America/New_York");
    EXPECT_EQ(dateByAddingDays(utc("2024-11-02T05:30:00"), 1, 0, 0), utc("2024-11-03T05:30:00"));
    EXPECT_EQ(dateByAddingDays(utc("2024-11-04T06:30:00"), -1, 0, 0), utc("2024-11-03T05:30:00"));
    // The second one stays what it is.
    EXPECT_EQ(dateByAddingDays(utc("2024-11-03T06:30:00"), 0, 0, 0), utc("2024-11-03T06:30:00"));
}

TEST(NSDateCalendar, YearsBefore1582AreOfTheSameCalendarEverywhere) {
    const LocalZone gmt("GMT");
    const QDateTime date = utc("1500-03-01T10:00:00");
    EXPECT_EQ(dateFromRFC3339String(QStringLiteral("1500-03-01T10:00:00Z")), date);
    EXPECT_EQ(dateFromRFC3339String(QStringLiteral("1500-03-01T10:00:00.000+00:00")), date);
    EXPECT_EQ(dateFromRFC822String(QStringLiteral("1 Mar 1500 10:00:00 GMT")), date);
    EXPECT_EQ(dateFromString(QStringLiteral("1500-03-01 10"), QStringLiteral("yyyy-MM-dd HH")), date);
    EXPECT_EQ(dateFromHumanString(QStringLiteral("1500-03-01 10:00")), date);
    EXPECT_EQ(descriptionDateTime(date), QStringLiteral("1500-03-01 10:00:00"));
    EXPECT_EQ(dateByAddingDays(utc("1500-02-28T10:00:00"), 1, 0, 0), date); // no leap year
    // Days that one country or another left out.
    EXPECT_EQ(dateFromRFC3339String(QStringLiteral("1582-10-10T00:00:00Z")), utc("1582-10-10T00:00:00"));
    EXPECT_FALSE(dateFromRFC3339String(QStringLiteral("1500-02-29T00:00:00Z")).isValid());
}

TEST(NSDateCalendar, YearsOfTwoDigitsAreOfTheSameCenturyEverywhere) {
    const LocalZone gmt("GMT");
    const auto pattern = [](const char *text) {
        return dateFromString(QString::fromLatin1(text), QStringLiteral("d.M.yy"));
    };
    const auto human = [](const char *text) { return dateFromHumanString(QString::fromLatin1(text)); };
    for (const auto &[text, year] :
         {std::pair("1.2.00", 2000), std::pair("1.2.24", 2024), std::pair("1.2.69", 2069),
          std::pair("1.2.70", 1970), std::pair("1.2.99", 1999)}) {
        EXPECT_EQ(pattern(text).date(), QDate(year, 2, 1));
        EXPECT_EQ(human(text).date(), QDate(year, 2, 1));
    }
    // Where the pattern has four, they are the year itself.
    EXPECT_EQ(dateFromRFC822String(QStringLiteral("1 Feb 24 10:00")), utc("0024-02-01T10:00:00"));
}

TEST(NSDateTexts, PatternsAreFilledInLocalTime) {
    const LocalZone zurich("Europe/Zurich");
    const QDateTime date = utc("2024-05-15T22:03:04");
    EXPECT_EQ(formatDate(date), QStringLiteral("2024-05-16 00:03:04"));
    EXPECT_EQ(formatDate(date, QStringLiteral("EEEE d MMMM, h:mm a")),
              QStringLiteral("Thursday 16 May, 12:03 AM"));
    EXPECT_EQ(formatDate(date, QStringLiteral("EEEE"), QStringLiteral("de_CH")),
              QStringLiteral("Donnerstag"));
    EXPECT_EQ(formatDate(date, QString(), QStringLiteral("de")), QStringLiteral("2024-05-16 00:03:04"));
    EXPECT_EQ(formatDate(date, QStringLiteral("XXX")), QStringLiteral("+02:00"));
    EXPECT_EQ(formatDate(date, u'\'' + QString(200, u'y') + u'\''), QString(200, u'y'));
    EXPECT_TRUE(formatDate(QDateTime()).isNull());
}

TEST(NSDateTexts, AreInTheSystemsZoneInWhateverFormItIsGiven) {
    const QDateTime summer = utc("2024-07-01T12:00:00");
    const QDateTime winter = utc("2024-01-01T12:00:00");
    struct Row {
        const char *zone, *summer, *winter, *offset;
    };
    for (const Row &row : {
             Row{"Europe/Berlin", "2024-07-01 14:00:00", "2024-01-01 13:00:00", "+02:00"},
             Row{":Europe/Berlin", "2024-07-01 14:00:00", "2024-01-01 13:00:00", "+02:00"},
             Row{"/usr/share/zoneinfo/Europe/Berlin", "2024-07-01 14:00:00", "2024-01-01 13:00:00", "+02:00"},
             Row{":/usr/share/zoneinfo/Europe/Berlin", "2024-07-01 14:00:00", "2024-01-01 13:00:00",
                 "+02:00"},
             Row{"CET-1CEST,M3.5.0,M10.5.0/3", "2024-07-01 14:00:00", "2024-01-01 13:00:00", "+02:00"},
             Row{"EST5EDT,M3.2.0,M11.1.0", "2024-07-01 08:00:00", "2024-01-01 07:00:00", "-04:00"},
             Row{"<+0330>-3:30", "2024-07-01 15:30:00", "2024-01-01 15:30:00", "+03:30"},
             Row{"UTC+3", "2024-07-01 09:00:00", "2024-01-01 09:00:00", "-03:00"},
             Row{"", "2024-07-01 12:00:00", "2024-01-01 12:00:00", "+00:00"},
         }) {
        const LocalZone zone(row.zone);
        EXPECT_EQ(descriptionDateTime(summer), QLatin1String(row.summer)) << row.zone;
        EXPECT_EQ(formatDate(winter), QLatin1String(row.winter)) << row.zone;
        EXPECT_EQ(formatDate(summer, QStringLiteral("xxx")), QLatin1String(row.offset)) << row.zone;
        EXPECT_EQ(dateFromHumanString(QLatin1String(row.summer)), summer) << row.zone;
        EXPECT_EQ(dateFromHumanString(QLatin1String(row.winter)), winter) << row.zone;
        EXPECT_EQ(atMidnight(summer).toLocalTime().time(), QTime(0, 0)) << row.zone;
        EXPECT_FALSE(formatDateWithStyle(summer, NSDateFormatterFullStyle).isEmpty()) << row.zone;
    }
}

TEST(NSDateTexts, DescriptionsEndInAnUnmatchedQuoteAndTheTimeIsLiteral) {
    const LocalZone zurich("Europe/Zurich");
    const QDateTime date = utc("2024-05-15T22:03:04");
    EXPECT_EQ(descriptionDate(date), QStringLiteral("2024-05-16"));
    EXPECT_EQ(descriptionDateTime(date), QStringLiteral("2024-05-16 00:03:04"));
    EXPECT_EQ(descriptionTime(date), QStringLiteral("HH:mm:ss"));
    EXPECT_EQ(descriptionTime(utc("1999-01-01T01:01:01")), QStringLiteral("HH:mm:ss"));
}

TEST(NSDateTexts, StylesGoFromNothingToEverything) {
    const LocalZone zurich("Europe/Zurich");
    const QDateTime date = utc("2024-05-15T22:03:04");
    EXPECT_TRUE(formatDateWithStyle(date, NSDateFormatterNoStyle).isEmpty());
    qsizetype before = 0;
    for (const auto style : {NSDateFormatterShortStyle, NSDateFormatterMediumStyle, NSDateFormatterLongStyle,
                             NSDateFormatterFullStyle}) {
        const QString text = formatDateWithStyle(date, style);
        EXPECT_GT(text.size(), before) << qPrintable(text);
        EXPECT_TRUE(text.contains(QStringLiteral("16"))) << qPrintable(text);
        before = text.size();
    }
}

TEST(NSDateTexts, TimeAgoInWordsRoundsItsQuotients) {
    EXPECT_EQ(ago(0), QStringLiteral("1 min"));
    EXPECT_EQ(ago(Minute + 29 * Second), QStringLiteral("1 min"));
    EXPECT_EQ(ago(Minute + 30 * Second), QStringLiteral("2 mins"));
    EXPECT_EQ(ago(44 * Minute + 29 * Second), QStringLiteral("44 mins"));
    EXPECT_EQ(ago(44 * Minute + 30 * Second), QStringLiteral("1 hour"));
    EXPECT_EQ(ago(89 * Minute), QStringLiteral("1 hour"));
    EXPECT_EQ(ago(90 * Minute), QStringLiteral("2 hours"));
    EXPECT_EQ(ago(149 * Minute), QStringLiteral("2 hours"));
    EXPECT_EQ(ago(150 * Minute), QStringLiteral("3 hours"));
    EXPECT_EQ(ago(Day - Minute), QStringLiteral("24 hours"));
    EXPECT_EQ(ago(Day), QStringLiteral("1 day"));
    EXPECT_EQ(ago(2 * Day - Minute), QStringLiteral("1 day"));
    EXPECT_EQ(ago(36 * Hour), QStringLiteral("1 day"));
    EXPECT_EQ(ago(2 * Day), QStringLiteral("2 days"));
    EXPECT_EQ(ago(60 * Hour), QStringLiteral("3 days"));
    EXPECT_EQ(ago(3650 * Day), QStringLiteral("3650 days"));
    EXPECT_EQ(timeAgoInWords(QDateTime::currentDateTimeUtc().addSecs(-7200)), QStringLiteral("2 hours"));
    EXPECT_TRUE(timeAgoInWords(QDateTime()).isNull());
}

TEST(NSDateUnixTime, IsTextAndNumberInWholeSecondsRoundedDown) {
    EXPECT_EQ(unixTimeStampString(utc("2024-01-01T10:00:00.999")), QStringLiteral("1704103200"));
    EXPECT_EQ(unixTimeStampString(utc("1969-12-31T23:59:59.999")), QStringLiteral("-1"));
    EXPECT_EQ(unixTimeStampString(utc("1970-01-01T00:00:00")), QStringLiteral("0"));
    const QVariant object = unixTimeStampObject(utc("2024-01-01T10:00:00.999"));
    EXPECT_EQ(object.metaType().id(), QMetaType::Double);
    EXPECT_EQ(object.toDouble(), 1704103200.0);
    EXPECT_TRUE(unixTimeStampString(QDateTime()).isNull());
    EXPECT_FALSE(unixTimeStampObject(QDateTime()).isValid());
}

TEST(NSDateUnixTime, ReadsTheNumberThatATextStartsWith) {
    const auto read = [](const char *text) { return dateFromUNIXTimestampString(QString::fromLatin1(text)); };
    EXPECT_EQ(read("1704103200"), utc("2024-01-01T10:00:00"));
    EXPECT_EQ(read(" 1704103200.25 s"), utc("2024-01-01T10:00:00.250"));
    EXPECT_EQ(read("-1.5"), utc("1969-12-31T23:59:58.500"));
    EXPECT_EQ(read("1e3"), utc("1970-01-01T00:16:40"));
    EXPECT_EQ(read("text"), utc("1970-01-01T00:00:00"));
    EXPECT_EQ(read(""), utc("1970-01-01T00:00:00"));
    EXPECT_EQ(read("inf"), utc("1970-01-01T00:00:00"));
    EXPECT_FALSE(read("1e300").isValid());
    EXPECT_EQ(dateFromUNIXTimestampString(QString()), utc("1970-01-01T00:00:00"));
}

TEST(NSDateUnixTime, ReadsAnyObjectByItsDouble) {
    EXPECT_EQ(dateFromUNIXTimestampObject(1704103200), utc("2024-01-01T10:00:00"));
    EXPECT_EQ(dateFromUNIXTimestampObject(0.5), utc("1970-01-01T00:00:00.500"));
    EXPECT_EQ(dateFromUNIXTimestampObject(QStringLiteral("1704103200")), utc("2024-01-01T10:00:00"));
    EXPECT_EQ(dateFromUNIXTimestampObject(QVariantList{1}), utc("1970-01-01T00:00:00"));
    EXPECT_EQ(dateFromUNIXTimestampObject(utc("2024-01-01T10:00:00.5")), utc("2024-01-01T10:00:00.500"));
    EXPECT_FALSE(dateFromUNIXTimestampObject(std::numeric_limits<double>::quiet_NaN()).isValid());
    EXPECT_EQ(dateFromUNIXTimestampObject(QVariant()), utc("1970-01-01T00:00:00"));
    EXPECT_EQ(dateFromUNIXTimestampObject(NSNull()), utc("1970-01-01T00:00:00"));
}

TEST(NSDatePatterns, AreReadInGMTWithEnglishNames) {
    const LocalZone zurich("Europe/Zurich");
    const auto read = [](const char *text, const char *format) {
        return dateFromString(QString::fromLatin1(text), QString::fromLatin1(format));
    };
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(read("24 December 2024", "d MMMM yyyy"), utc("2024-12-24T00:00:00"));
        EXPECT_EQ(read("24/12/24 18:30", "dd/MM/yy HH:mm"), utc("2024-12-24T18:30:00"));
        EXPECT_EQ(read("18:30", "HH:mm"), utc("1970-01-01T18:30:00"));
    }
    EXPECT_EQ(read("2024-12-24 +0100", "yyyy-MM-dd Z"), utc("2024-12-23T23:00:00"));
    EXPECT_FALSE(read("24 Dezember 2024", "d MMMM yyyy").isValid());
    EXPECT_FALSE(read("30 February 2024", "d MMMM yyyy").isValid());
    EXPECT_FALSE(read("24 December 2024 at noon", "d MMMM yyyy").isValid());
    EXPECT_FALSE(read("", "d MMMM yyyy").isValid());
    EXPECT_FALSE(dateFromString(QString(), QStringLiteral("yyyy")).isValid());
    EXPECT_FALSE(dateFromString(QStringLiteral("2024"), QString()).isValid());
}
