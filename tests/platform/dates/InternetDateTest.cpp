// SPDX-License-Identifier: MIT
// The plain parsers against ICU's patterns, over texts of the formats and over damaged ones.
#include "platform/dates/InternetDate.h"

#include "platform/dates/NSDateFormatter.h"

#include <QStringList>
#include <gtest/gtest.h>
#include <random>

namespace {

NSDateFormatter formatterFor(const QString &pattern) {
    NSDateFormatter formatter;
    formatter.setLocale(QStringLiteral("en_US_POSIX"));
    formatter.setTimeZone(QStringLiteral("GMT"));
    formatter.setDateFormat(pattern);
    return formatter;
}

std::vector<NSDateFormatter> formattersFor(const QStringList &patterns) {
    std::vector<NSDateFormatter> formatters;
    for (const QString &pattern : patterns)
        formatters.push_back(formatterFor(pattern));
    return formatters;
}

QDateTime firstOf(const std::vector<NSDateFormatter> &formatters, const QString &text) {
    for (const NSDateFormatter &formatter : formatters) {
        if (const QDateTime date = formatter.dateFromString(text); date.isValid())
            return date;
    }
    return {};
}

class Texts {
public:
    QString rfc822() {
        QString text;
        if (chance(2))
            text += name("Sun Mon Tue Wed Thu Fri Sat") + QStringLiteral(", ");
        text += number(1, 31, chance(2) ? 2 : 1) + u' ' +
                name("Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec") + u' ' + number(1600, 2400, 4) +
                u' ' + number(0, 23, 2) + u':' + number(0, 59, 2);
        if (chance(2))
            text += u':' + number(0, 59, 2);
        if (!chance(4))
            text += u' ' + (chance(2) ? name("GMT UT UTC Z") : offset(QString()));
        return damaged(text);
    }

    QString rfc3339() {
        QString text = number(1600, 2400, 4) + u'-' + number(1, 12, 2) + u'-' + number(1, 31, 2) + u'T' +
                       number(0, 23, 2) + u':' + number(0, 59, 2) + u':' + number(0, 59, 2);
        const bool fraction = chance(2);
        if (fraction)
            text += u'.' + number(0, 999999999, 1 + int(m_random() % 9));
        if (fraction || !chance(4))
            text += chance(2) ? QStringLiteral("Z") : offset(chance(2) ? QStringLiteral(":") : QString());
        return damaged(text);
    }

private:
    bool chance(unsigned of) { return m_random() % of == 0; }

    QString number(int least, int most, int digits) {
        const int value = least + int(m_random() % unsigned(most - least + 1));
        return QString::number(value).rightJustified(digits, u'0');
    }

    QString name(const char *names) {
        const QStringList list = QString::fromLatin1(names).split(u' ');
        return list.at(qsizetype(m_random() % size_t(list.size())));
    }

    QString offset(const QString &colon) {
        return (chance(2) ? u'+' : u'-') + number(0, 23, 2) + colon + number(0, 59, 2);
    }

    // Usually as it is; else in another case or with a character changed, removed or doubled.
    QString damaged(QString text) {
        switch (m_random() % 8) {
        case 0:
            return text.toLower();
        case 1:
            return text.toUpper();
        case 2: {
            const qsizetype at = qsizetype(m_random() % size_t(text.size()));
            static const QString others = QStringLiteral("0123456789-+:.,TZ gM");
            text[at] = others.at(qsizetype(m_random() % size_t(others.size())));
            return text;
        }
        case 3:
            return text.remove(qsizetype(m_random() % size_t(text.size())), 1);
        case 4: {
            const qsizetype at = qsizetype(m_random() % size_t(text.size()));
            return text.insert(at, text.at(at));
        }
        default:
            return text;
        }
    }

    std::mt19937 m_random{822};
};

constexpr int Cases = 20000;

} // namespace

TEST(InternetDate, ReadsMailDatesLikeTheirPatterns) {
    const auto withComma = formattersFor(
        {QStringLiteral("EEE, d MMM yyyy HH:mm:ss zzz"), QStringLiteral("EEE, d MMM yyyy HH:mm zzz"),
         QStringLiteral("EEE, d MMM yyyy HH:mm:ss"), QStringLiteral("EEE, d MMM yyyy HH:mm")});
    const auto without =
        formattersFor({QStringLiteral("d MMM yyyy HH:mm:ss zzz"), QStringLiteral("d MMM yyyy HH:mm zzz"),
                       QStringLiteral("d MMM yyyy HH:mm:ss"), QStringLiteral("d MMM yyyy HH:mm")});
    Texts texts;
    int read = 0;
    for (int i = 0; i < Cases; ++i) {
        const QString text = texts.rfc822();
        const auto own = InternetDate::rfc822(text);
        if (!own)
            continue;
        ++read;
        const QString upper = text.toUpper();
        const QDateTime date = firstOf(upper.contains(u',') ? withComma : without, upper);
        ASSERT_TRUE(date.isValid()) << qPrintable(text);
        ASSERT_EQ(date.toMSecsSinceEpoch(), *own) << qPrintable(text);
    }
    EXPECT_GT(read, Cases / 2);
}

TEST(InternetDate, ReadsTimestampsLikeTheirPatterns) {
    const auto formatters = formattersFor({QStringLiteral("yyyy'-'MM'-'dd'T'HH':'mm':'ssZZZ"),
                                           QStringLiteral("yyyy'-'MM'-'dd'T'HH':'mm':'ss.SSSZZZ"),
                                           QStringLiteral("yyyy'-'MM'-'dd'T'HH':'mm':'ss")});
    Texts texts;
    int read = 0;
    for (int i = 0; i < Cases; ++i) {
        const QString text = texts.rfc3339();
        const auto own = InternetDate::rfc3339(text);
        if (!own)
            continue;
        ++read;
        QString upper = text.toUpper().replace(u'Z', QStringLiteral("-0000"));
        if (upper.size() > 20)
            upper = upper.first(20) + upper.sliced(20).remove(u':');
        const QDateTime date = firstOf(formatters, upper);
        ASSERT_TRUE(date.isValid()) << qPrintable(text);
        ASSERT_EQ(date.toMSecsSinceEpoch(), *own) << qPrintable(text);
    }
    EXPECT_GT(read, Cases / 2);
}

TEST(InternetDate, ReadsTheEdgesOfTheCalendar) {
    const auto day = [](const char *date) {
        const auto read = InternetDate::rfc3339(QString::fromLatin1(date) + QStringLiteral("T00:00:00Z"));
        return read ? QString::number(*read / 86400000) : QStringLiteral("none");
    };
    EXPECT_EQ(day("1970-01-01"), QStringLiteral("0"));
    EXPECT_EQ(day("1969-12-31"), QStringLiteral("-1"));
    EXPECT_EQ(day("2000-02-29"), QString::number(QDate(1970, 1, 1).daysTo(QDate(2000, 2, 29))));
    EXPECT_EQ(day("1600-02-29"), QString::number(QDate(1970, 1, 1).daysTo(QDate(1600, 2, 29))));
    EXPECT_EQ(day("9999-12-31"), QString::number(QDate(1970, 1, 1).daysTo(QDate(9999, 12, 31))));
    for (const char *none :
         {"1900-02-29", "2023-02-29", "2024-04-31", "2024-00-01", "2024-01-00", "1599-12-31"})
        EXPECT_EQ(day(none), QStringLiteral("none")) << none;
    EXPECT_FALSE(InternetDate::rfc3339(u""));
    EXPECT_FALSE(InternetDate::rfc822(u""));
}
