// SPDX-License-Identifier: MIT
#include "platform/dates/NSDateFormatter.h"

#include "tests/support/LocalZone.h"

#include <gtest/gtest.h>

namespace {

const QDateTime Date(QDate(2024, 1, 31), QTime(18, 5, 9, 250), Qt::UTC);

NSDateFormatter formatter(const QString &pattern) {
    NSDateFormatter formatter;
    formatter.setLocale(QStringLiteral("en_US_POSIX"));
    formatter.setTimeZone(QStringLiteral("GMT"));
    formatter.setDateFormat(pattern);
    return formatter;
}

} // namespace

TEST(NSDateFormatter, WritesAndReadsBack) {
    const NSDateFormatter both = formatter(QStringLiteral("EEE yyyy-MM-dd HH:mm:ss.SSS zzz"));
    EXPECT_EQ(both.stringFromDate(Date), QStringLiteral("Wed 2024-01-31 18:05:09.250 GMT"));
    EXPECT_EQ(both.dateFromString(both.stringFromDate(Date)), Date);
    EXPECT_EQ(both.dateFromString(QStringLiteral("Wed 2024-01-31 18:05:09.250 GMT")).timeSpec(), Qt::UTC);
}

TEST(NSDateFormatter, ReadingWantsTheWholeTextAndDatesThatExist) {
    const NSDateFormatter day = formatter(QStringLiteral("yyyy-MM-dd"));
    EXPECT_TRUE(day.dateFromString(QStringLiteral("2024-02-29")).isValid());
    EXPECT_TRUE(day.dateFromString(QStringLiteral(" 2024-2-09 ")).isValid());
    for (const char *text :
         {"2023-02-29", "2024-13-01", "2024-01-01x", "x2024-01-01", "2024-01", "2024-01-9", ""})
        EXPECT_FALSE(day.dateFromString(QString::fromLatin1(text)).isValid()) << text;
    EXPECT_FALSE(day.dateFromString(QString()).isValid());
    EXPECT_EQ(formatter(QStringLiteral("HH:mm")).dateFromString(QStringLiteral("7:30")),
              QDateTime(QDate(1970, 1, 1), QTime(7, 30), Qt::UTC));
}

TEST(NSDateFormatter, PropertiesCountFromWhenTheyAreSet) {
    NSDateFormatter one = formatter(QStringLiteral("EEEE HH"));
    EXPECT_EQ(one.stringFromDate(Date), QStringLiteral("Wednesday 18"));
    one.setLocale(QStringLiteral("de_DE"));
    EXPECT_EQ(one.stringFromDate(Date), QStringLiteral("Mittwoch 18"));
    one.setTimeZone(QStringLiteral("America/New_York"));
    EXPECT_EQ(one.stringFromDate(Date), QStringLiteral("Mittwoch 13"));
    one.setDateFormat(QStringLiteral("d. MMMM"));
    EXPECT_EQ(one.stringFromDate(Date), QStringLiteral("31. Januar"));
    EXPECT_EQ(one.locale(), QStringLiteral("de_DE"));
    EXPECT_EQ(one.timeZone(), QStringLiteral("America/New_York"));
    EXPECT_EQ(one.dateFormat(), QStringLiteral("d. MMMM"));

    one.setDateStyle(NSDateFormatterMediumStyle);
    EXPECT_TRUE(one.dateFormat().isNull());
    EXPECT_EQ(one.stringFromDate(Date), QStringLiteral("31.01.2024"));
    one.setTimeStyle(NSDateFormatterShortStyle);
    EXPECT_EQ(one.stringFromDate(Date), QStringLiteral("31.01.2024, 13:05"));
    EXPECT_EQ(one.dateStyle(), NSDateFormatterMediumStyle);
    EXPECT_EQ(one.timeStyle(), NSDateFormatterShortStyle);
    NSDateFormatter moved = std::move(one);
    EXPECT_EQ(moved.stringFromDate(Date), QStringLiteral("31.01.2024, 13:05"));
}

TEST(NSDateFormatter, WithoutPatternAndStylesThereIsNothingToWrite) {
    const NSDateFormatter plain;
    EXPECT_TRUE(plain.stringFromDate(Date).isNull());
    EXPECT_FALSE(plain.dateFromString(QStringLiteral("2024")).isValid());
    EXPECT_TRUE(formatter(QStringLiteral("yyyy")).stringFromDate(QDateTime()).isNull());
}

TEST(NSDateFormatter, ReadsInTheSystemsZoneInWhateverFormItIsGiven) {
    for (const char *name :
         {"Europe/Berlin", "/usr/share/zoneinfo/Europe/Berlin", "CET-1CEST,M3.5.0,M10.5.0/3"}) {
        const LocalZone zone(name);
        NSDateFormatter local;
        local.setLocale(QStringLiteral("en_US_POSIX"));
        local.setDateFormat(QStringLiteral("yyyy-MM-dd HH:mm"));
        const auto read = [&](const char *text) { return local.dateFromString(QString::fromLatin1(text)); };
        EXPECT_EQ(read("2024-01-31 19:05"), QDateTime(QDate(2024, 1, 31), QTime(18, 5), Qt::UTC)) << name;
        EXPECT_EQ(read("2024-07-31 19:05"), QDateTime(QDate(2024, 7, 31), QTime(17, 5), Qt::UTC)) << name;
        // The night before summer time.
        EXPECT_EQ(read("2024-03-31 01:59"), QDateTime(QDate(2024, 3, 31), QTime(0, 59), Qt::UTC)) << name;
        EXPECT_EQ(read("2024-03-31 03:00"), QDateTime(QDate(2024, 3, 31), QTime(1, 0), Qt::UTC)) << name;
        local.setDateFormat(QStringLiteral("yyyy-MM-dd HH:mm xx"));
        EXPECT_EQ(read("2024-07-31 19:05 -0500"), QDateTime(QDate(2024, 8, 1), QTime(0, 5), Qt::UTC)) << name;
        EXPECT_FALSE(read("2024-07-31 19:05").isValid()) << name;
    }
}
