// SPDX-License-Identifier: MIT
#include "platform/dates/InternetDate.h"

#include <array>

namespace {

// Before, ICU's calendar may be the Julian one.
constexpr int FirstYear = 1600;
constexpr qsizetype MostFractionDigits = 9;

constexpr bool isDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}

constexpr char16_t upper(char16_t c) {
    return c >= u'a' && c <= u'z' ? char16_t(c - 32) : c;
}

/// Takes a text apart from its front; a failure sticks.
class Reader {
public:
    explicit Reader(QStringView text) : m_at(text.utf16()), m_end(m_at + text.size()) {}

    bool failed() const { return m_failed; }
    bool atEnd() const { return m_at == m_end; }
    bool startsWithDigit() const { return m_at != m_end && isDigit(*m_at); }

    bool takes(char16_t c) {
        if (m_at == m_end || upper(*m_at) != c)
            return false;
        ++m_at;
        return true;
    }

    void expect(char16_t c) { m_failed |= !takes(c); }

    // A number of so many digits, no further digit behind it.
    int number(qsizetype least, qsizetype most) {
        int value = 0;
        qsizetype n = 0;
        for (; startsWithDigit(); ++m_at, ++n) {
            if (n == most) {
                m_failed = true;
                return 0;
            }
            value = value * 10 + (*m_at - u'0');
        }
        m_failed |= n < least;
        m_length = n;
        return value;
    }

    qsizetype lastLength() const { return m_length; }

    // The index of the three letters among names of three letters.
    int name(const char16_t *names, int count) {
        if (m_end - m_at < 3) {
            m_failed = true;
            return 0;
        }
        for (int i = 0; i < count; ++i) {
            const char16_t *each = names + ptrdiff_t(3) * i;
            if (upper(m_at[0]) == each[0] && upper(m_at[1]) == each[1] && upper(m_at[2]) == each[2]) {
                m_at += 3;
                return i;
            }
        }
        m_failed = true;
        return 0;
    }

    // Minutes east of GMT of "+0100", with `colon` also "+01:00".
    int offset(bool colon) {
        const bool west = takes(u'-');
        if (!west)
            expect(u'+');
        const int hours = twoDigits();
        if (colon)
            takes(u':');
        const int minutes = twoDigits();
        m_failed |= hours > 23 || minutes > 59;
        return (west ? -1 : 1) * (hours * 60 + minutes);
    }

private:
    int twoDigits() {
        if (m_end - m_at < 2 || !isDigit(m_at[0]) || !isDigit(m_at[1])) {
            m_failed = true;
            return 0;
        }
        const int value = (m_at[0] - u'0') * 10 + (m_at[1] - u'0');
        m_at += 2;
        return value;
    }

    const char16_t *m_at;
    const char16_t *m_end;
    qsizetype m_length = 0;
    bool m_failed = false;
};

// Days from 1970-01-01 of a day of the Gregorian calendar after the year 0; years begin in March here, so
// that the leap day comes last.
constexpr qint64 dayNumber(int year, int month, int day) {
    const int y = month <= 2 ? year - 1 : year;
    const int monthFromMarch = (month + 9) % 12;
    return qint64(y) * 365 + y / 4 - y / 100 + y / 400 + (153 * monthFromMarch + 2) / 5 + day - 1 - 719468;
}
static_assert(dayNumber(1970, 1, 1) == 0 && dayNumber(2000, 3, 1) == 11017);

constexpr int daysIn(int month, int year) {
    constexpr std::array<int, 12> Days = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return Days[size_t(month - 1)] + (month == 2 && leap);
}

struct Fields {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
    int offset = 0;

    std::optional<qint64> milliseconds() const {
        if (year < FirstYear || month < 1 || month > 12 || day < 1 || day > daysIn(month, year) ||
            hour > 23 || minute > 59 || second > 59)
            return std::nullopt;
        const qint64 minutes = (dayNumber(year, month, day) * 24 + hour) * 60 + minute - offset;
        return (minutes * 60 + second) * 1000 + millisecond;
    }
};

} // namespace

std::optional<qint64> InternetDate::rfc822(QStringView text) {
    Reader in(text);
    Fields fields;
    if (!in.startsWithDigit()) {
        in.name(u"SUNMONTUEWEDTHUFRISAT", 7);
        in.expect(u',');
        in.expect(u' ');
    }
    fields.day = in.number(1, 2);
    in.expect(u' ');
    fields.month = 1 + in.name(u"JANFEBMARAPRMAYJUNJULAUGSEPOCTNOVDEC", 12);
    in.expect(u' ');
    fields.year = in.number(4, 4);
    in.expect(u' ');
    fields.hour = in.number(2, 2);
    in.expect(u':');
    fields.minute = in.number(2, 2);
    if (in.takes(u':'))
        fields.second = in.number(2, 2);
    if (!in.failed() && in.takes(u' ')) {
        if (in.takes(u'G')) {
            in.expect(u'M');
            in.expect(u'T');
        } else if (in.takes(u'U')) {
            in.expect(u'T');
            in.takes(u'C');
        } else if (!in.takes(u'Z')) {
            fields.offset = in.offset(false);
        }
    }
    return in.failed() || !in.atEnd() ? std::nullopt : fields.milliseconds();
}

std::optional<qint64> InternetDate::rfc3339(QStringView text) {
    Reader in(text);
    Fields fields;
    fields.year = in.number(4, 4);
    in.expect(u'-');
    fields.month = in.number(2, 2);
    in.expect(u'-');
    fields.day = in.number(2, 2);
    in.expect(u'T');
    fields.hour = in.number(2, 2);
    in.expect(u':');
    fields.minute = in.number(2, 2);
    in.expect(u':');
    fields.second = in.number(2, 2);
    const bool fraction = in.takes(u'.');
    if (fraction) {
        fields.millisecond = in.number(1, MostFractionDigits);
        qsizetype places = in.lastLength();
        for (; places < 3; ++places)
            fields.millisecond *= 10;
        for (; places > 3; --places)
            fields.millisecond /= 10;
    }
    if (!in.failed() && !in.takes(u'Z') && (fraction || !in.atEnd()))
        fields.offset = in.offset(true);
    return in.failed() || !in.atEnd() ? std::nullopt : fields.milliseconds();
}
