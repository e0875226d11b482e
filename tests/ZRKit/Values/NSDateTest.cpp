// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDate+ZRKit.h"

#include "platform/base/NSException.h"

#include <gtest/gtest.h>

using namespace ZRKit;

namespace {

QDateTime utc(const char *iso) {
    QDateTime date = QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODateWithMs);
    date.setTimeSpec(Qt::UTC);
    return date;
}

QString text(const char *latin1) {
    return QString::fromLatin1(latin1);
}

} // namespace

TEST(NSDateRFC822, ReadsEveryPattern) {
    const QDateTime ten = utc("2024-01-01T10:00:00");
    for (const char *with :
         {"Mon, 01 Jan 2024 10:00:00 GMT", "Mon, 1 Jan 2024 10:00 GMT", "Mon, 1 Jan 2024 10:00:00",
          "Mon, 1 Jan 2024 10:00", "01 Jan 2024 10:00:00 GMT", "1 Jan 2024 10:00 GMT", "1 Jan 2024 10:00:00",
          "01 Jan 2024 10:00", "MON, 01 JAN 2024 11:00:00 +0100", "mon, 01 jan 2024 05:00:00 est",
          "Monday, 1 January 2024 10:00:00 UT", "Mon,  1 Jan 2024 10:00:00 Z", "Mon, 1 Jan 2024 02:00 PST"})
        EXPECT_EQ(dateFromRFC822String(text(with)), ten) << with;
}

TEST(NSDateRFC822, RefusesWhatMatchesNoPattern) {
    for (const char *with : {"", "x", "Mon 1 Jan 2024 10:00", "Mon, 1 Jan 2024",
                             "Fri, 30 Feb 2024 10:00:00 GMT", "1 Jan 2024 25:00", "1 Jan 2024 10:00:60 GMT",
                             "1 Jan 2024 10:00:00 GMT tail", "2024-01-01T10:00:00Z", "1 Foo 2024 10:00"})
        EXPECT_FALSE(dateFromRFC822String(text(with)).isValid()) << with;
}

TEST(NSDateRFC822, NilRaises) {
    EXPECT_THROW(dateFromRFC822String(QString()), NSException);
    EXPECT_THROW(dateFromInternetDateTimeString(QString()), NSException);
}

TEST(NSDateRFC3339, ReadsEveryPattern) {
    EXPECT_EQ(dateFromRFC3339String(text("2024-01-01T10:00:00Z")), utc("2024-01-01T10:00:00"));
    EXPECT_EQ(dateFromRFC3339String(text("2024-01-01t10:00:00z")), utc("2024-01-01T10:00:00"));
    EXPECT_EQ(dateFromRFC3339String(text("2024-01-01T10:00:00+01:00")), utc("2024-01-01T09:00:00"));
    EXPECT_EQ(dateFromRFC3339String(text("2024-01-01T10:00:00-0530")), utc("2024-01-01T15:30:00"));
    EXPECT_EQ(dateFromRFC3339String(text("2024-01-01T10:00:00.123+01:00")), utc("2024-01-01T09:00:00.123"));
    EXPECT_EQ(dateFromRFC3339String(text("2024-01-01T10:00:00.5Z")), utc("2024-01-01T10:00:00.500"));
    EXPECT_EQ(dateFromRFC3339String(text("2024-01-01T10:00:00.123999Z")), utc("2024-01-01T10:00:00.123"));
    EXPECT_EQ(dateFromRFC3339String(text("2024-01-01T10:00:00")), utc("2024-01-01T10:00:00"));
}

TEST(NSDateRFC3339, RefusesWhatMatchesNoPattern) {
    EXPECT_FALSE(dateFromRFC3339String(QString()).isValid());
    for (const char *with : {"", "2024-01-01", "2024-01-01T10:00:00.5", "2024-02-30T10:00:00Z",
                             "2024-13-01T10:00:00Z", "2024-01-01T24:00:00Z", "2024-01-01T10:00:00+2400",
                             "2024-01-01T10:00:00Zulu", "Mon, 01 Jan 2024 10:00:00 GMT"})
        EXPECT_FALSE(dateFromRFC3339String(text(with)).isValid()) << with;
}

TEST(NSDateInternet, FallsThroughFromRFC822ToRFC3339) {
    EXPECT_EQ(dateFromInternetDateTimeString(text("Mon, 01 Jan 2024 10:00:00 GMT")),
              utc("2024-01-01T10:00:00"));
    EXPECT_EQ(dateFromInternetDateTimeString(text("2024-01-01T10:00:00Z")), utc("2024-01-01T10:00:00"));
    EXPECT_FALSE(dateFromInternetDateTimeString(text("neither")).isValid());
}

namespace {

// As "now": a spring noon of 2024.
const QDateTime Now(QDate(2024, 5, 15), QTime(12, 0), Qt::UTC);

QDate dayOf(const char *human) {
    return dateFromHumanString(text(human), Now).toLocalTime().date();
}

} // namespace

TEST(NSDateHuman, NilAndEmptyTextGiveNil) {
    EXPECT_FALSE(dateFromHumanString(QString()).isValid());
    EXPECT_FALSE(dateFromHumanString(QStringLiteral("")).isValid());
    EXPECT_FALSE(dateFromHumanString(text("nothing like it")).isValid());
}

TEST(NSDateHuman, TheFirstDateInTheTextCounts) {
    EXPECT_EQ(dayOf("2014-01-02"), QDate(2014, 1, 2));
    EXPECT_EQ(dayOf("from 24.12.2024 to 2.1.2025"), QDate(2024, 12, 24));
    EXPECT_EQ(dateFromHumanString(text("2024-12-24T18:30:00Z")), utc("2024-12-24T18:30:00"));
}

TEST(NSDateHuman, DayAndMonthAreOnesOfThePresentYear) {
    EXPECT_EQ(dayOf("24.12"), QDate(2024, 12, 24));
    EXPECT_EQ(dayOf("24.12."), QDate(2024, 12, 24));
    EXPECT_EQ(dayOf("3.4"), QDate(2024, 4, 3));
    EXPECT_EQ(dateFromHumanString(text("24.12")).toLocalTime().date(),
              QDate(QDate::currentDate().year(), 12, 24));
}

TEST(NSDateHuman, OtherNumbersOfPiecesAreNoDate) {
    EXPECT_FALSE(dateFromHumanString(text("2412"), Now).isValid());
    EXPECT_FALSE(dateFromHumanString(text("1.2.3.4"), Now).isValid());
    // The year is appended to what looks like one already.
    EXPECT_FALSE(dateFromHumanString(text("30.2.2024"), Now).isValid());
    EXPECT_FALSE(dateFromHumanString(text("31.12."), utc("2024-05-15T12:00:00")).isNull());
    EXPECT_FALSE(dateFromHumanString(text("29.2"), utc("2023-05-15T12:00:00")).isValid());
}
