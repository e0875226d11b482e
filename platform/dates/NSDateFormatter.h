// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QString>
#include <memory>

/// How long the text is, if a formatter has a style instead of a pattern.
enum NSDateFormatterStyle {
    NSDateFormatterNoStyle = 0,
    NSDateFormatterShortStyle = 1,  ///< 1/31/24
    NSDateFormatterMediumStyle = 2, ///< Jan 31, 2024
    NSDateFormatterLongStyle = 3,   ///< January 31, 2024
    NSDateFormatterFullStyle = 4    ///< Wednesday, January 31, 2024
};

/// Writes and reads dates by patterns in the syntax of Unicode Technical Standard 35, by ICU.
///
/// The whole text must match, white space around it left out, and dates and times that don't exist are
/// refused. Days, minutes and seconds need the pattern's two digits. What a pattern leaves open is that of 1
/// January 1970, 00:00. The calendar is the Gregorian one for all times, before 1582 too (unless the locale has
/// another); a year of two digits ("yy") is one from 1970 to 2069. Making a formatter's machinery is costly; it is
/// kept until a property other than the pattern changes. Use one formatter on one thread at a time.
class NSDateFormatter {
public:
    /// The system's locale and time zone, no pattern and no styles.
    NSDateFormatter();
    ~NSDateFormatter();
    NSDateFormatter(NSDateFormatter &&) noexcept;
    NSDateFormatter &operator=(NSDateFormatter &&) noexcept;

    /// An ICU locale identifier such as "en_US_POSIX"; nil for the system's.
    QString locale() const;
    void setLocale(const QString &identifier);
    /// An IANA time-zone identifier or "GMT"; nil for the system's at the moment of use, in whatever form TZ has
    /// it. A zone that has no name is written as its distance from GMT.
    QString timeZone() const;
    void setTimeZone(const QString &identifier);
    /// The pattern; nil while styles count. Setting a pattern ends the styles, and setting a style the pattern.
    QString dateFormat() const;
    void setDateFormat(const QString &pattern);
    NSDateFormatterStyle dateStyle() const;
    void setDateStyle(NSDateFormatterStyle style);
    NSDateFormatterStyle timeStyle() const;
    void setTimeStyle(NSDateFormatterStyle style);

    /// The date as text; nil for nil and for an invalid pattern.
    QString stringFromDate(const QDateTime &date) const;
    /// The date that the text stands for, in UTC; nil if it doesn't match, and for nil.
    QDateTime dateFromString(const QString &text) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
