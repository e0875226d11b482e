// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDate+ZRKit.h"

#include <gtest/gtest.h>
#include <limits>
#include <time.h>

using namespace ZRKit;

namespace {

/// The process's time zone is this one meanwhile.
class LocalZone {
public:
    explicit LocalZone(const char *name) : m_before(qgetenv("TZ")), m_had(qEnvironmentVariableIsSet("TZ")) {
        qputenv("TZ", name);
        tzset();
    }
    ~LocalZone() {
        if (m_had)
            qputenv("TZ", m_before);
        else
            qunsetenv("TZ");
        tzset();
    }
    LocalZone(const LocalZone &) = delete;
    LocalZone &operator=(const LocalZone &) = delete;

private:
    QByteArray m_before;
    bool m_had;
};

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
    EXPECT_FALSE(dateFromUNIXTimestampString(QString()).isValid());
}

TEST(NSDateUnixTime, ReadsAnyObjectByItsDouble) {
    EXPECT_EQ(dateFromUNIXTimestampObject(1704103200), utc("2024-01-01T10:00:00"));
    EXPECT_EQ(dateFromUNIXTimestampObject(0.5), utc("1970-01-01T00:00:00.500"));
    EXPECT_EQ(dateFromUNIXTimestampObject(QStringLiteral("1704103200")), utc("2024-01-01T10:00:00"));
    EXPECT_EQ(dateFromUNIXTimestampObject(QVariantList{1}), utc("1970-01-01T00:00:00"));
    EXPECT_EQ(dateFromUNIXTimestampObject(utc("2024-01-01T10:00:00.5")), utc("2024-01-01T10:00:00.500"));
    EXPECT_FALSE(dateFromUNIXTimestampObject(std::numeric_limits<double>::quiet_NaN()).isValid());
    EXPECT_FALSE(dateFromUNIXTimestampObject(QVariant()).isValid());
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
