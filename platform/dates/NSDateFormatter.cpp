// SPDX-License-Identifier: MIT
#include "platform/dates/NSDateFormatter.h"

#include <QTimeZone>
#include <cmath>
#include <unicode/udat.h>

namespace {

struct Closing {
    void operator()(UDateFormat *format) const { udat_close(format); }
};

const UChar *units(const QString &text) {
    return reinterpret_cast<const UChar *>(text.utf16());
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

    // ICU's formatter for the properties; nullptr where they are unusable or ask for nothing.
    UDateFormat *ready() {
        const QString zone =
            timeZone.isNull() ? QString::fromLatin1(QTimeZone::systemTimeZoneId()) : timeZone;
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
        udat_setLenient(format.get(), false);
        udat_setBooleanAttribute(format.get(), UDAT_PARSE_ALLOW_NUMERIC, true, &status);
        udat_setBooleanAttribute(format.get(), UDAT_PARSE_ALLOW_WHITESPACE, true, &status);
        return format.get();
    }
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
    UDateFormat *format = date.isValid() ? d->ready() : nullptr;
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

QDateTime NSDateFormatter::dateFromString(const QString &text) const {
    UDateFormat *format = text.isNull() ? nullptr : d->ready();
    if (!format)
        return {};
    UErrorCode status = U_ZERO_ERROR;
    int32_t end = 0;
    const double milliseconds = udat_parse(format, units(text), int32_t(text.size()), &end, &status);
    if (U_FAILURE(status) || !QStringView(text).sliced(end).trimmed().isEmpty() ||
        !(std::abs(milliseconds) < 9e15))
        return {};
    return QDateTime::fromMSecsSinceEpoch(qint64(milliseconds), Qt::UTC);
}
