// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDate+ZRKit.h"

#include "ZRKit/Values/NSObject+ZRKit.h"
#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/dates/NSDataDetector.h"
#include "platform/dates/WallClock.h"
#include "platform/values/NumberText.h"

#include <QHash>
#include <QMutex>
#include <cmath>

namespace ZRKit {

namespace {

constexpr double MostMilliseconds = 9007199254740992.0;
constexpr qint64 MillisecondsOfDay = Q_INT64_C(86400000);

qint64 wholeSeconds(const QDateTime &date) {
    const qint64 milliseconds = date.toMSecsSinceEpoch();
    return milliseconds / 1000 - (milliseconds % 1000 < 0);
}

NSDateFormatter webFormatter() {
    NSDateFormatter formatter;
    formatter.setLocale(QStringLiteral("en_US_POSIX"));
    formatter.setTimeZone(QStringLiteral("GMT"));
    return formatter;
}

// The first answer of a formatter that is given one pattern after another.
QDateTime firstParsed(NSDateFormatter &formatter, const QString &text,
                      std::initializer_list<QString> patterns) {
    for (const QString &pattern : patterns) {
        formatter.setDateFormat(pattern);
        QDateTime date = formatter.dateFromString(text);
        if (date.isValid())
            return date;
    }
    return {};
}

QDateTime fromSeconds(double seconds) {
    const double milliseconds = std::round(seconds * 1000);
    return std::abs(milliseconds) <= MostMilliseconds
               ? QDateTime::fromMSecsSinceEpoch(qint64(milliseconds), Qt::UTC)
               : QDateTime();
}

} // namespace

bool newerThan(const QDateTime &date, const QDateTime &other) {
    return date.isValid() && other.isValid() && wholeSeconds(date) > wholeSeconds(other);
}

QDateTime atMidnight(const QDateTime &date) {
    return date.isValid() ? date.toLocalTime().date().startOfDay().toUTC() : QDateTime();
}

qint64 daysSince(const QDateTime &date, const QDateTime &other) {
    if (!date.isValid() || !other.isValid())
        return 0;
    return atMidnight(other).msecsTo(atMidnight(date)) / MillisecondsOfDay;
}

QString formatDate(const QDateTime &date, const QString &pattern, const QString &locale) {
    NSDateFormatter formatter;
    formatter.setLocale(locale.isNull() ? QStringLiteral("en_US") : locale);
    formatter.setDateFormat(pattern.isNull() ? QStringLiteral("yyyy'-'MM'-'dd' 'HH':'mm':'ss") : pattern);
    return formatter.stringFromDate(date);
}

QString descriptionDate(const QDateTime &date) {
    return formatDate(date, QStringLiteral("yyyy'-'MM'-'dd'"));
}

QString descriptionDateTime(const QDateTime &date) {
    return formatDate(date, QStringLiteral("yyyy'-'MM'-'dd' 'HH':'mm':'ss'"));
}

QString descriptionTime(const QDateTime &date) {
    return formatDate(date, QStringLiteral("'HH':'mm':'ss'"));
}

QString formatDateWithStyle(const QDateTime &date, NSDateFormatterStyle style) {
    NSDateFormatter formatter;
    formatter.setDateStyle(style);
    formatter.setTimeStyle(style);
    return formatter.stringFromDate(date);
}

QString timeAgoInWords(const QDateTime &date, const QDateTime &now) {
    if (!date.isValid())
        return {};
    const qint64 present = now.isValid() ? now.toMSecsSinceEpoch() : QDateTime::currentMSecsSinceEpoch();
    const double minutes = std::round(std::abs(double(present - date.toMSecsSinceEpoch())) / 1000 / 60.0);
    const auto rounded = [](double number) { return QString::number(std::round(number), 'f', 0); };
    if (minutes <= 1)
        return QStringLiteral("1 min");
    if (minutes < 45)
        return rounded(minutes) + QStringLiteral(" mins");
    if (minutes < 90)
        return QStringLiteral("1 hour");
    if (minutes < 1440)
        return rounded(minutes / 60.0) + QStringLiteral(" hours");
    if (minutes < 2880)
        return QStringLiteral("1 day");
    return rounded(minutes / 1440.0) + QStringLiteral(" days");
}

QString unixTimeStampString(const QDateTime &date) {
    return date.isValid() ? QString::number(wholeSeconds(date)) : QString();
}

QVariant unixTimeStampObject(const QDateTime &date) {
    return date.isValid() ? QVariant(double(wholeSeconds(date))) : QVariant();
}

QDateTime dateByAddingDays(const QDateTime &date, int days, int months, int years) {
    if (!date.isValid())
        return {};
    const QDateTime local = zr::WallClock::at(date);
    const qint64 allMonths = qint64(years) * 12 + months;
    if (allMonths != int(allMonths))
        return {};
    const QDate day = local.date().addMonths(int(allMonths)).addDays(days);
    return day == local.date() ? date : zr::WallClock::moment(day, local.time());
}

QDateTime dateFromInternetDateTimeString(const QString &text) {
    const QDateTime date = dateFromRFC822String(text);
    return date.isValid() ? date : dateFromRFC3339String(text);
}

QDateTime dateFromRFC822String(const QString &text) {
    if (text.isNull())
        throw NSException(NSInvalidArgumentException, QStringLiteral("a date text is nil"));
    static zr::NeverDestroyed formatter(webFormatter());
    const QString upper = text.toUpper();
    if (upper.contains(u','))
        return firstParsed(
            *formatter, upper,
            {QStringLiteral("EEE, d MMM yyyy HH:mm:ss zzz"), QStringLiteral("EEE, d MMM yyyy HH:mm zzz"),
             QStringLiteral("EEE, d MMM yyyy HH:mm:ss"), QStringLiteral("EEE, d MMM yyyy HH:mm")});
    return firstParsed(*formatter, upper,
                       {QStringLiteral("d MMM yyyy HH:mm:ss zzz"), QStringLiteral("d MMM yyyy HH:mm zzz"),
                        QStringLiteral("d MMM yyyy HH:mm:ss"), QStringLiteral("d MMM yyyy HH:mm")});
}

QDateTime dateFromRFC3339String(const QString &text) {
    if (text.isNull())
        return {};
    static QMutex mutex;
    static zr::NeverDestroyed formatter(webFormatter());
    const QMutexLocker lock(&mutex);
    constexpr qsizetype BehindTime = 20;
    QString upper = text.toUpper();
    upper.replace(u'Z', u"-0000"_qs);
    if (upper.size() > BehindTime)
        upper = upper.first(BehindTime) + upper.sliced(BehindTime).remove(u':');
    return firstParsed(*formatter, upper,
                       {QStringLiteral("yyyy'-'MM'-'dd'T'HH':'mm':'ssZZZ"),
                        QStringLiteral("yyyy'-'MM'-'dd'T'HH':'mm':'ss.SSSZZZ"),
                        QStringLiteral("yyyy'-'MM'-'dd'T'HH':'mm':'ss")});
}

QDateTime dateFromUNIXTimestampString(const QString &text) {
    return fromSeconds(zr::NumberText::doubleValue(text));
}

QDateTime dateFromUNIXTimestampObject(const QVariant &seconds) {
    return fromSeconds(toDouble(seconds));
}

QDateTime dateFromHumanString(const QString &text, const QDateTime &now) {
    if (!isTrue(text))
        return {};
    NSDataDetector detector;
    detector.setReferenceDate(now);
    if (const auto match = detector.firstMatchInString(text))
        return match->date;
    const qsizetype pieces = text.count(u'.') + 1;
    if (pieces != 2 && pieces != 3)
        return {};
    const QDateTime present = now.isValid() ? now : QDateTime::currentDateTimeUtc();
    const QString year = QString::number(present.toLocalTime().date().year());
    const auto match = detector.firstMatchInString(pieces == 2 ? text + u'.' + year : text + year);
    return match ? match->date : QDateTime();
}

QDateTime dateFromString(const QString &text, const QString &format) {
    static QMutex mutex;
    static zr::NeverDestroyed<QHash<QString, std::shared_ptr<NSDateFormatter>>> formatters;
    const QMutexLocker lock(&mutex);
    auto formatter = formatters->find(format);
    if (formatter == formatters->end()) {
        formatter = formatters->insert(format, std::make_shared<NSDateFormatter>(webFormatter()));
        (*formatter)->setDateFormat(format);
    }
    return (*formatter)->dateFromString(text);
}

} // namespace ZRKit
