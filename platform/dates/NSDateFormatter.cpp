// SPDX-License-Identifier: MIT
#include "platform/dates/NSDateFormatter.h"

#include "platform/dates/WallClock.h"

#include <QFileInfo>
#include <array>
#include <cmath>
#include <unicode/udat.h>

using namespace zr;

namespace {

struct Closing {
    void operator()(UDateFormat *format) const { udat_close(format); }
};

/// Before every date there is, so that one calendar counts for all of them.
constexpr UDate EarliestChange = -1e18;

const UChar *units(const QString &text) {
    return reinterpret_cast<const UChar *>(text.utf16());
}

/// The system's zone by its name, if ICU knows it: not if TZ gives a rule, or a file that isn't one of the system's.
QString namedSystemZone() {
    QByteArray name = qEnvironmentVariableIsSet("TZ") ? qgetenv("TZ") : QTimeZone::systemTimeZoneId();
    if (name.startsWith(':'))
        name.remove(0, 1);
    if (name.startsWith('/')) {
        constexpr QByteArrayView Folder = "/zoneinfo/";
        const QByteArray file = QFile::encodeName(QFileInfo(QFile::decodeName(name)).canonicalFilePath());
        const qsizetype folder = file.indexOf(Folder);
        name = folder < 0 ? QByteArray() : file.mid(folder + Folder.size());
    }
    const QString zone = QString::fromLatin1(name);
    std::array<UChar, 64> canonical;
    UBool isKnown = false;
    UErrorCode status = U_ZERO_ERROR;
    ucal_getCanonicalTimeZoneID(units(zone), int32_t(zone.size()), canonical.data(),
                                int32_t(canonical.size()), &isKnown, &status);
    return U_SUCCESS(status) && isKnown ? zone : QString();
}

/// The system's zone at a moment, if it has no name: its distance from GMT, as ICU has it.
QString unnamedSystemZone(const QDateTime &moment) {
    const int seconds = WallClock::at(moment).offsetFromUtc();
    return (seconds < 0 ? QStringLiteral("GMT-") : QStringLiteral("GMT+")) +
           QTime(0, 0).addSecs(std::abs(seconds)).toString(QStringLiteral("HH:mm:ss"));
}

UDateFormatStyle udatStyle(NSDateFormatterStyle style) {
    switch (style) {
    case NSDateFormatterNoStyle:
        return UDAT_NONE;
    case NSDateFormatterShortStyle:
        return UDAT_SHORT;
    case NSDateFormatterMediumStyle:
        return UDAT_MEDIUM;
    case NSDateFormatterLongStyle:
        return UDAT_LONG;
    case NSDateFormatterFullStyle:
        return UDAT_FULL;
    }
    return UDAT_NONE;
}

} // namespace

struct NSDateFormatter::Private {
    QString locale;
    QString timeZone;
    QString pattern;
    NSDateFormatterStyle dateStyle = NSDateFormatterNoStyle;
    NSDateFormatterStyle timeStyle = NSDateFormatterNoStyle;

    std::unique_ptr<UDateFormat, Closing> format;
    QString zoneOfFormat;

    /// ICU's formatter for the properties and the zone; nullptr if they are unusable or ask for nothing.
    UDateFormat *ready(const QString &zone) {
        if (format && zone == zoneOfFormat)
            return format.get();
        const bool styled = pattern.isNull();
        if (styled && dateStyle == NSDateFormatterNoStyle && timeStyle == NSDateFormatterNoStyle)
            return nullptr;
        UErrorCode status = U_ZERO_ERROR;
        const QByteArray localeName = locale.toLatin1();
        format.reset(udat_open(
            styled ? udatStyle(timeStyle) : UDAT_PATTERN, styled ? udatStyle(dateStyle) : UDAT_PATTERN,
            locale.isNull() ? nullptr : localeName.constData(), units(zone), int32_t(zone.size()),
            styled ? nullptr : units(pattern), styled ? 0 : int32_t(pattern.size()), &status));
        if (U_FAILURE(status)) {
            format.reset();
            return nullptr;
        }
        zoneOfFormat = zone;
        const icu::LocalUCalendarPointer calendar(ucal_clone(udat_getCalendar(format.get()), &status));
        // Calendars other than the Gregorian one refuse this.
        ucal_setGregorianChange(calendar.getAlias(), EarliestChange, &status);
        udat_setCalendar(format.get(), calendar.getAlias());
        status = U_ZERO_ERROR;
        udat_set2DigitYearStart(format.get(), 0, &status);
        udat_setLenient(format.get(), false);
        udat_setBooleanAttribute(format.get(), UDAT_PARSE_ALLOW_NUMERIC, true, &status);
        udat_setBooleanAttribute(format.get(), UDAT_PARSE_ALLOW_WHITESPACE, true, &status);
        return format.get();
    }

    QDateTime read(const QString &text, const QString &zone);
};

NSDateFormatter::NSDateFormatter() : d(std::make_unique<Private>()) {
}

NSDateFormatter::~NSDateFormatter() = default;
NSDateFormatter::NSDateFormatter(NSDateFormatter &&) noexcept = default;
NSDateFormatter &NSDateFormatter::operator=(NSDateFormatter &&) noexcept = default;

QString NSDateFormatter::locale() const {
    return d->locale;
}

void NSDateFormatter::setLocale(const QString &identifier) {
    d->locale = identifier;
    d->format.reset();
}

QString NSDateFormatter::timeZone() const {
    return d->timeZone;
}

void NSDateFormatter::setTimeZone(const QString &identifier) {
    d->timeZone = identifier;
    d->format.reset();
}

QString NSDateFormatter::dateFormat() const {
    return d->pattern;
}

void NSDateFormatter::setDateFormat(const QString &pattern) {
    const bool patterned = !d->pattern.isNull() && !pattern.isNull();
    d->pattern = pattern;
    if (d->format && patterned)
        udat_applyPattern(d->format.get(), false, units(pattern), int32_t(pattern.size()));
    else
        d->format.reset();
}

NSDateFormatterStyle NSDateFormatter::dateStyle() const {
    return d->dateStyle;
}

void NSDateFormatter::setDateStyle(NSDateFormatterStyle style) {
    d->pattern = QString();
    d->dateStyle = style;
    d->format.reset();
}

NSDateFormatterStyle NSDateFormatter::timeStyle() const {
    return d->timeStyle;
}

void NSDateFormatter::setTimeStyle(NSDateFormatterStyle style) {
    d->pattern = QString();
    d->timeStyle = style;
    d->format.reset();
}

QString NSDateFormatter::stringFromDate(const QDateTime &date) const {
    if (!date.isValid())
        return {};
    QString zone = d->timeZone.isNull() ? namedSystemZone() : d->timeZone;
    if (zone.isNull())
        zone = unnamedSystemZone(date);
    UDateFormat *format = d->ready(zone);
    if (!format)
        return {};
    QString text(64, Qt::Uninitialized);
    for (;;) {
        UErrorCode status = U_ZERO_ERROR;
        const int32_t length =
            udat_format(format, double(date.toMSecsSinceEpoch()), reinterpret_cast<UChar *>(text.data()),
                        int32_t(text.size()), nullptr, &status);
        const bool fits = length <= text.size();
        text.resize(length);
        if (fits)
            return U_SUCCESS(status) ? text : QString();
    }
}

QDateTime NSDateFormatter::Private::read(const QString &text, const QString &zone) {
    UDateFormat *readingFormat = ready(zone);
    if (!readingFormat)
        return {};
    UErrorCode status = U_ZERO_ERROR;
    int32_t end = 0;
    const double milliseconds = udat_parse(readingFormat, units(text), int32_t(text.size()), &end, &status);
    if (U_FAILURE(status) || !QStringView(text).sliced(end).trimmed().isEmpty() ||
        !(std::abs(milliseconds) < 9e15))
        return {};
    return QDateTime::fromMSecsSinceEpoch(qint64(milliseconds), Qt::UTC);
}

QDateTime NSDateFormatter::dateFromString(const QString &text) const {
    if (text.isNull())
        return {};
    const QString zone = d->timeZone.isNull() ? namedSystemZone() : d->timeZone;
    if (!zone.isNull())
        return d->read(text, zone);
    // A first reading tells what clocks show, and so which distance from GMT applies.
    const QDateTime shown = d->read(text, QStringLiteral("GMT"));
    if (!shown.isValid())
        return {};
    return d->read(text, unnamedSystemZone(WallClock::moment(shown.date(), shown.time())));
}
