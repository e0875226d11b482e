// SPDX-License-Identifier: MIT
#include "platform/dates/NSDataDetector.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

// A Wednesday, in a zone two hours ahead of UTC in summer, one in winter.
const QDateTime Reference(QDate(2024, 5, 15), QTime(8, 30), Qt::UTC);

NSDataDetector detector() {
    NSDataDetector detector;
    detector.setReferenceDate(Reference);
    detector.setTimeZone(QTimeZone("Europe/Zurich"));
    return detector;
}

struct Row {
    const char *text;
    // What is found of the text, between bars, and the date: local, or with Z in UTC. nullptr where nothing
    // is.
    const char *found;
    const char *date;
};

// Days, a time being 12:00 unless the text says otherwise.
constexpr Row Days[] = {
    {"2024-12-24", "2024-12-24", "2024-12-24 12:00"},
    {"on 2024-12-24.", "2024-12-24", "2024-12-24 12:00"},
    {"(2024-1-2)", "2024-1-2", "2024-01-02 12:00"},
    {"2024/12/24", "2024/12/24", "2024-12-24 12:00"},
    {"24.12.2024", "24.12.2024", "2024-12-24 12:00"},
    {"bis 24. 12. 2024!", "24. 12. 2024", "2024-12-24 12:00"},
    {"24.12. 2024", "24.12. 2024", "2024-12-24 12:00"},
    {"1.2.24", "1.2.24", "2024-02-01 12:00"},
    {"1.2.70", "1.2.70", "1970-02-01 12:00"},
    {"1.2.69", "1.2.69", "2069-02-01 12:00"},
    {"3.4.2024", "3.4.2024", "2024-04-03 12:00"},
    {"Am 24.12. feiern wir", "24.12.", "2024-12-24 12:00"},
    {"24.12., danach", "24.12.", "2024-12-24 12:00"},
    {"24. 12.", "24. 12.", "2024-12-24 12:00"},
    {"12/24/2024", "12/24/2024", "2024-12-24 12:00"},
    {"24/12/2024", "24/12/2024", "2024-12-24 12:00"},
    {"3/4/2024", "3/4/2024", "2024-03-04 12:00"},
    {"3/4/24", "3/4/24", "2024-03-04 12:00"},
    {"24-12-2024", "24-12-2024", "2024-12-24 12:00"},
    {"12-24-2024", "12-24-2024", "2024-12-24 12:00"},
    {"24-Dec-2024", "24-Dec-2024", "2024-12-24 12:00"},
    {"24/Dec/2024", "24/Dec/2024", "2024-12-24 12:00"},
    {"24 December 2024", "24 December 2024", "2024-12-24 12:00"},
    {"24 Dec 2024", "24 Dec 2024", "2024-12-24 12:00"},
    {"24 dec. 2024", "24 dec. 2024", "2024-12-24 12:00"},
    {"24th December 2024", "24th December 2024", "2024-12-24 12:00"},
    {"the 24th of December, 2024", "24th of December, 2024", "2024-12-24 12:00"},
    {"the 1st of May", "1st of May", "2024-05-01 12:00"},
    {"24 December", "24 December", "2024-12-24 12:00"},
    {"24\u00a0December\n2024", "24\u00a0December\n2024", "2024-12-24 12:00"},
    {"December 24, 2024", "December 24, 2024", "2024-12-24 12:00"},
    {"December 24 2024", "December 24 2024", "2024-12-24 12:00"},
    {"Dec 24th", "Dec 24th", "2024-12-24 12:00"},
    {"Dec. 24th, 2023", "Dec. 24th, 2023", "2023-12-24 12:00"},
    {"Sept. 3", "Sept. 3", "2024-09-03 12:00"},
    {"May 3rd", "May 3rd", "2024-05-03 12:00"},
    {"June the 2nd", "June the 2nd", "2024-06-02 12:00"},
    {"Dec 24 '25", "Dec 24 '25", "2025-12-24 12:00"},
    {"24. Dezember 2024", "24. Dezember 2024", "2024-12-24 12:00"},
    {"24. Dez. 2024", "24. Dez. 2024", "2024-12-24 12:00"},
    {"24.Dezember 2024", "24.Dezember 2024", "2024-12-24 12:00"},
    {"am 24. Dezember", "24. Dezember", "2024-12-24 12:00"},
    {"3. M\u00e4rz 2024", "3. M\u00e4rz 2024", "2024-03-03 12:00"},
    {"3. MAI", "3. MAI", "2024-05-03 12:00"},
    {"1. J\u00e4nner 2025", "1. J\u00e4nner 2025", "2025-01-01 12:00"},
    {"1 Januar 2025", "1 Januar 2025", "2025-01-01 12:00"},
    {"29.2.2024", "29.2.2024", "2024-02-29 12:00"},
    {"29 February 2000", "29 February 2000", "2000-02-29 12:00"},
    {"Tuesday, 24 December 2024", "Tuesday, 24 December 2024", "2024-12-24 12:00"},
    {"Tue Dec 24", "Tue Dec 24", "2024-12-24 12:00"},
    {"Tue. 12/24", "Tue. 12/24", "2024-12-24 12:00"},
    {"Tuesday the 24th of December", "Tuesday the 24th of December", "2024-12-24 12:00"},
    {"Dienstag, 24.12.2024", "Dienstag, 24.12.2024", "2024-12-24 12:00"},
    {"Dienstag, den 24. Dezember", "Dienstag, den 24. Dezember", "2024-12-24 12:00"},
    {"Di., 24.12.", "Di., 24.12.", "2024-12-24 12:00"},
    {"Di 24.12.2024", "Di 24.12.2024", "2024-12-24 12:00"},
    {"Monday, 24 December 2024", "Monday, 24 December 2024", "2024-12-24 12:00"},
    {"see you on Monday", "Monday", "2024-05-20 12:00"},
    {"Wednesday", "Wednesday", "2024-05-15 12:00"},
    {"bis Freitag.", "Freitag", "2024-05-17 12:00"},
    {"next Monday", "next Monday", "2024-05-20 12:00"},
    {"next Wednesday", "next Wednesday", "2024-05-22 12:00"},
    {"this Friday", "this Friday", "2024-05-17 12:00"},
    {"last Wednesday", "last Wednesday", "2024-05-08 12:00"},
    {"last Monday", "last Monday", "2024-05-13 12:00"},
    {"n\u00e4chsten Montag", "n\u00e4chsten Montag", "2024-05-20 12:00"},
    {"kommenden Mittwoch", "kommenden Mittwoch", "2024-05-22 12:00"},
    {"diesen Samstag", "diesen Samstag", "2024-05-18 12:00"},
    {"letzten Sonntag", "letzten Sonntag", "2024-05-12 12:00"},
    {"next week", "next week", "2024-05-22 12:00"},
    {"letzte Woche", "letzte Woche", "2024-05-08 12:00"},
    {"today", "today", "2024-05-15 12:00"},
    {"Tomorrow we sail", "Tomorrow", "2024-05-16 12:00"},
    {"yesterday's news", "yesterday", "2024-05-14 12:00"},
    {"the day after tomorrow", "day after tomorrow", "2024-05-17 12:00"},
    {"the day before yesterday", "day before yesterday", "2024-05-13 12:00"},
    {"heute", "heute", "2024-05-15 12:00"},
    {"Wir kommen morgen.", "morgen", "2024-05-16 12:00"},
    {"Morgen kommen wir.", "Morgen", "2024-05-16 12:00"},
    {"Gestern war es", "Gestern", "2024-05-14 12:00"},
    {"\u00fcbermorgen", "\u00fcbermorgen", "2024-05-17 12:00"},
    {"vorgestern", "vorgestern", "2024-05-13 12:00"},
    {"in two days", "in two days", "2024-05-17 12:00"},
    {"in 10 days", "in 10 days", "2024-05-25 12:00"},
    {"in a week", "in a week", "2024-05-22 12:00"},
    {"in 3 months", "in 3 months", "2024-08-15 12:00"},
    {"in one year", "in one year", "2025-05-15 12:00"},
    {"two weeks ago", "two weeks ago", "2024-05-01 12:00"},
    {"3 days ago", "3 days ago", "2024-05-12 12:00"},
    {"two days from now", "two days from now", "2024-05-17 12:00"},
    {"in zwei Tagen", "in zwei Tagen", "2024-05-17 12:00"},
    {"in einer Woche", "in einer Woche", "2024-05-22 12:00"},
    {"vor drei Wochen", "vor drei Wochen", "2024-04-24 12:00"},
    {"vor einem Jahr", "vor einem Jahr", "2023-05-15 12:00"},
    {"in 2 hours", "in 2 hours", "2024-05-15T10:30:00Z"},
    {"in zehn Minuten", "in zehn Minuten", "2024-05-15T08:40:00Z"},
    {"5 minutes ago", "5 minutes ago", "2024-05-15T08:25:00Z"},
    {"tomorrow morning", "tomorrow morning", "2024-05-16 09:00"},
    {"Friday evening", "Friday evening", "2024-05-17 19:00"},
    {"heute Morgen", "heute Morgen", "2024-05-15 09:00"},
    {"morgen fr\u00fch", "morgen fr\u00fch", "2024-05-16 09:00"},
    {"tonight", "tonight", "2024-05-15 19:00"},
};

constexpr Row Times[] = {
    {"12:30", "12:30", "2024-05-15 12:30"},
    {"at 9:05", "9:05", "2024-05-15 09:05"},
    {"00:00", "00:00", "2024-05-15 00:00"},
    {"24:00", "24:00", "2024-05-16 00:00"},
    {"15:30:45", "15:30:45", "2024-05-15 15:30:45"},
    {"15:30:45.5", "15:30:45.5", "2024-05-15 15:30:45.500"},
    {"15:30:45,123", "15:30:45,123", "2024-05-15 15:30:45.123"},
    {"15:30:45.123456789", "15:30:45.123456789", "2024-05-15 15:30:45.123"},
    {"15:30:45.99999999", "15:30:45.99999999", "2024-05-15 15:30:45.999"},
    {"3pm", "3pm", "2024-05-15 15:00"},
    {"3 PM", "3 PM", "2024-05-15 15:00"},
    {"3 p.m. sharp", "3 p.m.", "2024-05-15 15:00"},
    {"12am", "12am", "2024-05-15 00:00"},
    {"12 pm", "12 pm", "2024-05-15 12:00"},
    {"3:30pm", "3:30pm", "2024-05-15 15:30"},
    {"11:59:59 am", "11:59:59 am", "2024-05-15 11:59:59"},
    {"um 15 Uhr", "15 Uhr", "2024-05-15 15:00"},
    {"15 Uhr 30", "15 Uhr 30", "2024-05-15 15:30"},
    {"15.30 Uhr", "15.30 Uhr", "2024-05-15 15:30"},
    {"15:30 Uhr", "15:30 Uhr", "2024-05-15 15:30"},
    {"24 Uhr", "24 Uhr", "2024-05-16 00:00"},
    {"noon", "noon", "2024-05-15 12:00"},
    {"Mitternacht", "Mitternacht", "2024-05-15 00:00"},
    {"15:30Z", "15:30Z", "2024-05-15T15:30:00Z"},
    {"15:30 UTC", "15:30 UTC", "2024-05-15T15:30:00Z"},
    {"15:30 GMT+1", "15:30 GMT+1", "2024-05-15T14:30:00Z"},
    {"15:30 UTC-05:00", "15:30 UTC-05:00", "2024-05-15T20:30:00Z"},
    {"15:30+01:00", "15:30+01:00", "2024-05-15T14:30:00Z"},
    {"15:30 +0100", "15:30 +0100", "2024-05-15T14:30:00Z"},
    {"15:30 -0500", "15:30 -0500", "2024-05-15T20:30:00Z"},
    {"15:30 CET", "15:30 CET", "2024-05-15T14:30:00Z"},
    {"15:30 Uhr MESZ", "15:30 Uhr MESZ", "2024-05-15T13:30:00Z"},
    {"3pm PST", "3pm PST", "2024-05-15T23:00:00Z"},
    {"3pm EDT, please", "3pm EDT", "2024-05-15T19:00:00Z"},
    {"10:00-12:00", "10:00", "2024-05-15 10:00"},
    {"10:00 - 12:00", "10:00", "2024-05-15 10:00"},
};

constexpr Row Both[] = {
    {"2024-01-02T10:15:30Z", "2024-01-02T10:15:30Z", "2024-01-02T10:15:30Z"},
    {"2024-01-02T10:15", "2024-01-02T10:15", "2024-01-02 10:15"},
    {"2024-01-02t10:15:30.25+01:00", "2024-01-02t10:15:30.25+01:00", "2024-01-02T09:15:30.250Z"},
    {"2024-01-02T10:15:30-05:00", "2024-01-02T10:15:30-05:00", "2024-01-02T15:15:30Z"},
    {"2024-01-02T10:15:30+01", "2024-01-02T10:15:30+01", "2024-01-02T09:15:30Z"},
    {"2024-01-02 10:15", "2024-01-02 10:15", "2024-01-02 10:15"},
    {"2024-01-02 10:15:30 +0000", "2024-01-02 10:15:30 +0000", "2024-01-02T10:15:30Z"},
    {"2024-07-02 10:15", "2024-07-02 10:15", "2024-07-02T08:15:00Z"},
    {"2024-12-31T24:00:00Z", "2024-12-31T24:00:00Z", "2025-01-01T00:00:00Z"},
    {"24.12.2024 18:30", "24.12.2024 18:30", "2024-12-24 18:30"},
    {"24.12.2024, 18:30 Uhr", "24.12.2024, 18:30 Uhr", "2024-12-24 18:30"},
    {"am 24.12. um 18 Uhr", "24.12. um 18 Uhr", "2024-12-24 18:00"},
    {"24.12.2024 - 18:30", "24.12.2024 - 18:30", "2024-12-24 18:30"},
    {"24. Dezember 2024, 18.30 Uhr MEZ", "24. Dezember 2024, 18.30 Uhr MEZ", "2024-12-24T17:30:00Z"},
    {"12/24/2024 6:30 PM", "12/24/2024 6:30 PM", "2024-12-24 18:30"},
    {"December 24, 2024 at 6:30pm", "December 24, 2024 at 6:30pm", "2024-12-24 18:30"},
    {"Dec 24th at 18:30", "Dec 24th at 18:30", "2024-12-24 18:30"},
    {"24 Dec 2024 18:30:00 GMT", "24 Dec 2024 18:30:00 GMT", "2024-12-24T18:30:00Z"},
    {"Tue, 24 Dec 2024 18:30:00 +0100", "Tue, 24 Dec 2024 18:30:00 +0100", "2024-12-24T17:30:00Z"},
    {"Tue Dec 24 18:30:00 2024", "Tue Dec 24 18:30:00 2024", "2024-12-24 18:30"},
    {"Tue Dec 24 18:30:00 UTC 2019", "Tue Dec 24 18:30:00 UTC 2019", "2019-12-24T18:30:00Z"},
    {"[24/Dec/2024:18:30:00 +0000]", "24/Dec/2024:18:30:00 +0000", "2024-12-24T18:30:00Z"},
    {"tomorrow at 3pm", "tomorrow at 3pm", "2024-05-16 15:00"},
    {"tomorrow at noon", "tomorrow at noon", "2024-05-16 12:00"},
    {"morgen um 15 Uhr", "morgen um 15 Uhr", "2024-05-16 15:00"},
    {"heute Abend um 8:30", "heute Abend um 8:30", "2024-05-15 20:30"},
    {"Monday 3pm", "Monday 3pm", "2024-05-20 15:00"},
    {"Montag, 15:00", "Montag, 15:00", "2024-05-20 15:00"},
    {"next Monday at 10:00", "next Monday at 10:00", "2024-05-20 10:00"},
    {"in two days at 10:00", "in two days at 10:00", "2024-05-17 10:00"},
    {"at 3pm tomorrow", "3pm tomorrow", "2024-05-16 15:00"},
    {"10:00 on Monday", "10:00 on Monday", "2024-05-20 10:00"},
    {"15 Uhr am 24.12.2024", "15 Uhr am 24.12.2024", "2024-12-24 15:00"},
    {"10:30 am Montag", "10:30 am Montag", "2024-05-20 10:30"},
    {"18:30, 24 December 2024", "18:30, 24 December 2024", "2024-12-24 18:30"},
    {"18:30 UTC on 24 December 2024", "18:30 UTC on 24 December 2024", "2024-12-24T18:30:00Z"},
};

constexpr Row Nothing[] = {
    {"", nullptr, nullptr},
    {"no date here", nullptr, nullptr},
    {"2024-02-30", nullptr, nullptr},
    {"2023-02-29T10:00:00Z", nullptr, nullptr},
    {"2024-13-01 10:00", nullptr, nullptr},
    {"2024-00-10", nullptr, nullptr},
    {"0000-01-01", nullptr, nullptr},
    {"31.4.2024", nullptr, nullptr},
    {"30.2.", nullptr, nullptr},
    {"32.12.2024", nullptr, nullptr},
    {"24.13.2024", nullptr, nullptr},
    {"0.5.2024", nullptr, nullptr},
    {"13/13/2024", nullptr, nullptr},
    {"30 February 2024 at 10:00", nullptr, nullptr},
    {"February 30th", nullptr, nullptr},
    {"31. November 2024, 18 Uhr", nullptr, nullptr},
    {"25:00", nullptr, nullptr},
    {"24:01", nullptr, nullptr},
    {"12:60", nullptr, nullptr},
    {"12:30:60", nullptr, nullptr},
    {"13pm", nullptr, nullptr},
    {"0am", nullptr, nullptr},
    {"25 Uhr", nullptr, nullptr},
    {"2024-01-02T25:00:00Z", nullptr, nullptr},
    {"2024-01-02 10:00 +2500", nullptr, nullptr},
    {"24.12.2024 25:30", nullptr, nullptr},
    // An hour that the start of summer time leaves out.
    {"31.3.2024 02:30", nullptr, nullptr},
    {"192.168.10.24", nullptr, nullptr},
    {"version 1.2.3", nullptr, nullptr},
    {"v1.2.", nullptr, nullptr},
    {"3.1415", nullptr, nullptr},
    {"1.234.567", nullptr, nullptr},
    {"24.12", nullptr, nullptr},
    {"1/2", nullptr, nullptr},
    {"16:9", nullptr, nullptr},
    {"00:1a:2b:3c:4d:5e", nullptr, nullptr},
    {"10:20:30:40:50:60", nullptr, nullptr},
    {"127.0.0.1:8080", nullptr, nullptr},
    {"044-123-45-67", nullptr, nullptr},
    {"+41 44 123 45 67", nullptr, nullptr},
    {"December 2024", nullptr, nullptr},
    {"in the 1990s", nullptr, nullptr},
    {"Guten Morgen!", nullptr, nullptr},
    {"Am Morgen war es kalt", nullptr, nullptr},
    {"we may 3 times march 5 miles", nullptr, nullptr},
    {"so 3 Leute", nullptr, nullptr},
    {"in two minds", nullptr, nullptr},
    {"todays", nullptr, nullptr},
    {"mondays", nullptr, nullptr},
    {"a24.12.2024b", nullptr, nullptr},
    {"1 Uhrwerk", nullptr, nullptr},
    {"5 amps", nullptr, nullptr},
};

QDateTime expected(const char *text) {
    const QString date = QString::fromLatin1(text);
    if (date.endsWith(u'Z'))
        return QDateTime::fromString(date, Qt::ISODateWithMs);
    QDateTime local = QDateTime::fromString(date, Qt::ISODateWithMs);
    return QDateTime(local.date(), local.time(), QTimeZone("Europe/Zurich")).toUTC();
}

template <size_t Size>
void expectRows(const Row (&rows)[Size]) {
    for (const Row &row : rows) {
        const QString text = QString::fromUtf8(row.text);
        const auto match = detector().firstMatchInString(text);
        if (!row.found) {
            EXPECT_FALSE(match) << row.text << " is " << qPrintable(match->date.toString(Qt::ISODateWithMs));
            continue;
        }
        ASSERT_TRUE(expected(row.date).isValid()) << row.date;
        if (!match) {
            ADD_FAILURE() << row.text << " is not found";
            continue;
        }
        EXPECT_EQ(text.mid(match->location, match->length).toUtf8().toStdString(), row.found) << row.text;
        EXPECT_EQ(match->date, expected(row.date))
            << row.text << " is " << qPrintable(match->date.toString(Qt::ISODateWithMs));
        EXPECT_EQ(match->date.timeSpec(), Qt::UTC);
    }
}

} // namespace

TEST(NSDataDetector, FindsDays) {
    expectRows(Days);
}

TEST(NSDataDetector, FindsTimes) {
    expectRows(Times);
}

TEST(NSDataDetector, FindsDaysWithTimes) {
    expectRows(Both);
}

TEST(NSDataDetector, LeavesAloneWhatIsNoDateOrDoesNotExist) {
    expectRows(Nothing);
}

TEST(NSDataDetector, FindsAllDatesOfAText) {
    const QString text = QStringLiteral(
        "Created 2024-01-02, due 24.12.2024 at 18:30 (not 30.2.2024!), or tomorrow; 10:00-12:00.");
    QStringList found;
    qsizetype end = 0;
    for (const NSDataDetector::Match &match : detector().matchesInString(text)) {
        EXPECT_GE(match.location, end);
        end = match.location + match.length;
        found.append(text.mid(match.location, match.length));
    }
    EXPECT_EQ(found, QStringList({QStringLiteral("2024-01-02"), QStringLiteral("24.12.2024 at 18:30"),
                                  QStringLiteral("tomorrow"), QStringLiteral("10:00")}));
    EXPECT_TRUE(detector().matchesInString(QString()).isEmpty());
}

TEST(NSDataDetector, WithoutReferenceAndZoneThePresentAndTheSystemsZoneCount) {
    const NSDataDetector plain;
    EXPECT_FALSE(plain.referenceDate().isValid());
    EXPECT_FALSE(plain.timeZone().isValid());
    const QDate before = QDate::currentDate();
    const auto match = plain.firstMatchInString(QStringLiteral("today at 15:30"));
    const QDate after = QDate::currentDate();
    ASSERT_TRUE(match);
    const QDateTime local = match->date.toLocalTime();
    EXPECT_EQ(local.time(), QTime(15, 30));
    EXPECT_TRUE(local.date() == before || local.date() == after);
}

TEST(NSDataDetector, AMegabyteOfHardTextEnds) {
    // Each gives every attempt much to look at; a scan that began anew for each character would take hours.
    for (const char *piece :
         {"1", "1.", "1:", " ", "a", "1 ", "12:30:", "in a ", "_", "may 1 ", "1 Uhr ", "- "}) {
        const QString text = QString::fromLatin1(piece).repeated((1 << 20) / qsizetype(std::strlen(piece)));
        for (const NSDataDetector::Match &match : detector().matchesInString(text))
            ASSERT_LE(match.location + match.length, text.size());
    }
}
