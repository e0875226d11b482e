// SPDX-License-Identifier: MIT
#include "platform/dates/NSDataDetector.h"

#include "platform/dates/DateWords.h"
#include "platform/dates/WallClock.h"

#include <array>
#include <cstdlib>

using namespace zr;

namespace {

// White space and fractions longer than this end an expression, so that each attempt looks a bounded way
// ahead.
constexpr qsizetype MostSpaces = 8;
constexpr qsizetype MostDigits = 9;
constexpr int MillisecondsOfMinute = 60 * 1000;
constexpr int MillisecondsOfHour = 60 * MillisecondsOfMinute;
constexpr int Noon = 12;

/// A word in lower case, empty where it is longer than any that is known.
struct Word {
    std::array<char16_t, 12> units{};
    qsizetype size = 0;
    qsizetype end = 0;
    bool capital = false;
    bool capitals = true; ///< nothing but capitals

    QStringView lower() const { return {units.data(), size}; }
    bool is(QStringView other) const { return lower() == other; }
    template <typename... Texts>
    bool isOneOf(Texts... others) const {
        return (is(others) || ...);
    }
};

struct Number {
    int value = 0;
    qsizetype length = 0;
    qsizetype end = 0;

    bool hasUpTo(qsizetype digits) const { return length >= 1 && length <= digits; }
};

/// A day that was read; an invalid date where there is no such day.
struct Day {
    qsizetype end;
    QDate date;
    std::optional<int> hour = {};
    // What a year behind a time may still complete: "Dec 24 10:00:00 2024".
    int monthWithoutYear = 0;
    int dayWithoutYear = 0;
    bool iso = false;
    // Where the text gave a moment instead of a day.
    QDateTime moment = {};
};

struct Time {
    qsizetype end;
    bool exists;
    qint64 milliseconds;
    bool seconds = false;
    bool ambiguousHalf = false;
    std::optional<int> offset = {};
};

/// What was read at some place: the date, invalid where it doesn't exist.
struct Found {
    qsizetype end;
    QDateTime date;
};

int fullYear(int value, qsizetype digits) {
    return digits > 2 ? value : value < 70 ? 2000 + value : 1900 + value;
}

class Scanner {
public:
    Scanner(QStringView text, const QDateTime &now, const QTimeZone &zone)
        : m_text(text), m_now(now), m_zone(zone), m_today(WallClock::at(now, zone).date()) {}

    std::optional<NSDataDetector::Match> next() {
        while (m_at < m_text.size()) {
            const qsizetype start = m_at;
            if (!isWordly(start)) {
                ++m_at;
                continue;
            }
            const auto found = startsApart(start) ? expression(start) : std::nullopt;
            if (!found) {
                m_at = isDigit(start) ? number(start).end : word(start).end;
                continue;
            }
            m_at = found->end;
            if (found->date.isValid())
                return NSDataDetector::Match{start, found->end - start, found->date.toUTC()};
        }
        return std::nullopt;
    }

private:
    char16_t at(qsizetype p) const { return p >= 0 && p < m_text.size() ? m_text[p].unicode() : u'\0'; }
    bool isDigit(qsizetype p) const { return at(p) >= u'0' && at(p) <= u'9'; }
    bool isLetter(qsizetype p) const { return p >= 0 && p < m_text.size() && m_text[p].isLetter(); }
    bool isWordly(qsizetype p) const { return isDigit(p) || isLetter(p) || at(p) == u'_'; }
    bool isSpace(qsizetype p) const { return p >= 0 && p < m_text.size() && m_text[p].isSpace(); }
    static bool isJoint(char16_t c) { return c == u'.' || c == u',' || c == u':' || c == u'/' || c == u'-'; }

    // Not in the middle of a word, a number, or something like a version or a telephone number.
    bool startsApart(qsizetype p) const {
        if (isWordly(p - 1) || at(p - 1) == u'+')
            return false;
        return !(isDigit(p) && isJoint(at(p - 1)) && isDigit(p - 2));
    }

    qsizetype spaces(qsizetype p) const {
        const qsizetype end = p + MostSpaces;
        while (p < end && isSpace(p))
            ++p;
        return p;
    }

    qsizetype commaAndSpaces(qsizetype p) const { return spaces(at(p) == u',' ? p + 1 : p); }

    Number number(qsizetype p) const {
        Number read;
        for (; isDigit(p); ++p) {
            if (++read.length <= MostDigits)
                read.value = read.value * 10 + (at(p) - u'0');
        }
        read.end = p;
        return read;
    }

    Word word(qsizetype p) const {
        Word read;
        read.capital = p < m_text.size() && m_text[p].isUpper();
        bool fits = true;
        for (; isLetter(p) || at(p) == u'_'; ++p) {
            read.capitals = read.capitals && m_text[p].isUpper();
            fits = fits && read.size < qsizetype(read.units.size());
            if (fits)
                read.units[size_t(read.size++)] = m_text[p].toLower().unicode();
        }
        if (!fits || isDigit(p))
            read.size = 0;
        read.end = p;
        return read;
    }

    // The word that ends before the spaces at p.
    Word wordBefore(qsizetype p) const {
        for (qsizetype n = 0; n < MostSpaces && isSpace(p - 1); ++n)
            --p;
        qsizetype start = p;
        for (qsizetype n = 0; n < MostSpaces && isLetter(start - 1); ++n)
            --start;
        return word(start);
    }

    bool startsSentence(qsizetype p) const {
        for (qsizetype n = 0; n < MostSpaces && isSpace(p - 1); ++n) {
            if (at(--p) == u'\n')
                return true;
        }
        return !isWordly(p - 1) && at(p - 1) != u',' && at(p - 1) != u';';
    }

    std::optional<qsizetype> skippedWord(qsizetype p, std::initializer_list<QStringView> words) const {
        const Word read = word(p);
        for (const QStringView each : words) {
            if (read.is(each) && read.size > 0)
                return spaces(read.end);
        }
        return std::nullopt;
    }

    // Nothing goes on at p that would make a number read before it another one.
    bool endsNumber(qsizetype p) const {
        return !isWordly(p) && !(isJoint(at(p)) && isDigit(p + 1)) && at(p) != u'%';
    }

    // ---- Days

    Day calendarDay(qsizetype end, int year, int month, int day) const {
        return {end, QDate(year, month, day)};
    }

    Day dayWithoutYear(qsizetype end, int month, int day) const {
        Day read{end, QDate(m_today.year(), month, day)};
        read.monthWithoutYear = month;
        read.dayWithoutYear = day;
        return read;
    }

    // A year behind day and month: four digits, or two behind an apostrophe.
    std::optional<Number> looseYear(qsizetype p) const {
        qsizetype start = commaAndSpaces(p);
        const bool apostrophe = at(start) == u'\'' || at(start) == u'\u2019';
        if (start == p && !apostrophe)
            return std::nullopt;
        Number year = number(start + apostrophe);
        if (year.length != (apostrophe ? 2 : 4) || !endsNumber(year.end))
            return std::nullopt;
        year.value = fullYear(year.value, year.length);
        return year.value >= 1000 && year.value < 3000 ? std::optional(year) : std::nullopt;
    }

    Day dayOfMonth(qsizetype end, int month, int day) const {
        const auto year = looseYear(end);
        return year ? calendarDay(year->end, year->value, month, day) : dayWithoutYear(end, month, day);
    }

    // "Dec", "Dec." or "December".
    std::optional<std::pair<int, qsizetype>> month(qsizetype p) const {
        const Word name = word(p);
        const auto value = DateWords::month(name.lower());
        if (!value)
            return std::nullopt;
        return std::pair(*value, at(name.end) == u'.' && name.size <= 4 ? name.end + 1 : name.end);
    }

    // The end of "st", "nd", "rd" or "th" at p, else p.
    qsizetype ordinalSuffix(qsizetype p) const {
        const Word suffix = word(p);
        return suffix.isOneOf(u"st", u"nd", u"rd", u"th") ? suffix.end : p;
    }

    std::optional<Day> numericDay(qsizetype p, bool behindWeekday) const {
        const Number first = number(p);
        const char16_t joint = at(first.end);
        if (first.length == 4 && (joint == u'-' || joint == u'/'))
            return yearFirst(first, joint);
        if (!first.hasUpTo(2))
            return std::nullopt;
        if (joint == u'.')
            return dottedDay(first);
        if (joint == u'/' || joint == u'-')
            return joinedDay(first, joint, behindWeekday);
        return spelledDay(first);
    }

    std::optional<Day> yearFirst(const Number &year, char16_t joint) const {
        const Number month = number(year.end + 1);
        if (!month.hasUpTo(2) || at(month.end) != joint)
            return std::nullopt;
        const Number day = number(month.end + 1);
        const char16_t behind = at(day.end);
        const bool time = (behind == u'T' || behind == u't') && isDigit(day.end + 1);
        if (!day.hasUpTo(2) || !(time || endsNumber(day.end)))
            return std::nullopt;
        Day read = calendarDay(day.end, year.value, month.value, day.value);
        read.iso = true;
        return read;
    }

    // "24.12.2024", "24. 12. 2024", "24.12.", "24. Dezember 2024"
    std::optional<Day> dottedDay(const Number &day) const {
        const qsizetype start = spaces(day.end + 1);
        if (const auto named = month(start))
            return dayOfMonth(named->second, named->first, day.value);
        const Number month = number(start);
        if (!month.hasUpTo(2) || at(month.end) != u'.')
            return std::nullopt;
        const qsizetype behind = month.end + 1;
        if (const Number year = number(behind); year.length > 0) {
            if ((year.length != 4 && year.length != 2) || !endsNumber(year.end))
                return std::nullopt;
            return calendarDay(year.end, fullYear(year.value, year.length), month.value, day.value);
        }
        if (isWordly(behind))
            return std::nullopt;
        return dayOfMonth(behind, month.value, day.value);
    }

    // "12/24/2024", "24-12-2024", "24-Dec-2024", behind a weekday also "12/24"
    std::optional<Day> joinedDay(const Number &first, char16_t joint, bool behindWeekday) const {
        const qsizetype start = first.end + 1;
        if (const auto named = month(start)) {
            const Number year = number(named->second + 1);
            if (at(named->second) != joint || (year.length != 4 && year.length != 2) || !endsYear(year.end))
                return std::nullopt;
            return calendarDay(year.end, fullYear(year.value, year.length), named->first, first.value);
        }
        const Number second = number(start);
        if (!second.hasUpTo(2))
            return std::nullopt;
        const bool monthFirst = joint == u'/' ? first.value <= 12 : second.value > 12;
        const int month = monthFirst ? first.value : second.value;
        const int day = monthFirst ? second.value : first.value;
        if (at(second.end) == joint) {
            const Number year = number(second.end + 1);
            if ((year.length != 4 && (year.length != 2 || joint == u'-')) || !endsYear(year.end))
                return std::nullopt;
            return calendarDay(year.end, fullYear(year.value, year.length), month, day);
        }
        if (!behindWeekday || joint != u'/' || !endsNumber(second.end))
            return std::nullopt;
        return dayWithoutYear(second.end, month, day);
    }

    // A colon and a time may follow at once, as in the logs of servers: "24/Dec/2024:10:00:00".
    bool endsYear(qsizetype p) const { return endsNumber(p) || (at(p) == u':' && isDigit(p + 1)); }

    // "24 December 2024", "24th of December"
    std::optional<Day> spelledDay(const Number &day) const {
        const qsizetype suffix = ordinalSuffix(day.end);
        qsizetype start = spaces(suffix);
        if (start == suffix)
            return std::nullopt;
        start = skippedWord(start, {u"of"}).value_or(start);
        const auto named = month(start);
        if (!named)
            return std::nullopt;
        return dayOfMonth(named->second, named->first, day.value);
    }

    // "December 24", "Dec. 24th, 2024"
    std::optional<Day> monthFirstDay(qsizetype p) const {
        const auto named = month(p);
        if (!named)
            return std::nullopt;
        // Verbs, unless they start with a capital.
        if (const Word name = word(p); !name.capital && name.isOneOf(u"may", u"march", u"mar"))
            return std::nullopt;
        qsizetype start = spaces(named->second);
        if (start == named->second)
            return std::nullopt;
        start = skippedWord(start, {u"the"}).value_or(start);
        const Number day = number(start);
        if (!day.hasUpTo(2))
            return std::nullopt;
        const qsizetype end = ordinalSuffix(day.end);
        if (!endsNumber(end) && !(at(end) == u',' && isDigit(end + 1)))
            return std::nullopt;
        return dayOfMonth(end, named->first, day.value);
    }

    std::optional<Day> absoluteDay(qsizetype p, bool behindWeekday) const {
        return isDigit(p) ? numericDay(p, behindWeekday) : monthFirstDay(p);
    }

    // "Tue, 24 Dec 2024", "Dienstag, den 24.12.", "Monday"
    std::optional<Day> weekdayDay(qsizetype p) const {
        const Word name = word(p);
        const auto whole = DateWords::weekday(name.lower());
        if (!whole && !DateWords::shortWeekday(name.lower()))
            return std::nullopt;
        const qsizetype dot = !whole && at(name.end) == u'.' ? name.end + 1 : name.end;
        qsizetype start = commaAndSpaces(dot);
        if (start > dot) {
            start = skippedWord(start, {u"the", u"den", u"der", u"dem"}).value_or(start);
            if (auto day = absoluteDay(start, true))
                return day;
        }
        if (!whole)
            return std::nullopt;
        return withPartOfDay({name.end, m_today.addDays((*whole - m_today.dayOfWeek() + 7) % 7)});
    }

    // "next Monday", "letzte Woche"
    std::optional<Day> directedDay(qsizetype p) const {
        const Word name = word(p);
        const auto direction = DateWords::direction(name.lower());
        if (!direction)
            return std::nullopt;
        const qsizetype start = spaces(name.end);
        if (start == name.end)
            return std::nullopt;
        const Word what = word(start);
        if (*direction != 0 && DateWords::unit(what.lower()) == DateWords::Weeks)
            return Day{what.end, m_today.addDays(qint64(*direction) * 7)};
        const auto weekday = DateWords::weekday(what.lower());
        if (!weekday)
            return std::nullopt;
        int days = (*weekday - m_today.dayOfWeek() + 7) % 7;
        if (*direction > 0 && days == 0)
            days = 7;
        if (*direction < 0)
            days -= 7;
        return withPartOfDay({what.end, m_today.addDays(days)});
    }

    // "today", "übermorgen"
    std::optional<Day> relativeDay(qsizetype p) const {
        const Word name = word(p);
        const auto days = DateWords::relativeDay(name.lower());
        if (!days || (name.is(u"morgen") && isMorning(p, name)))
            return std::nullopt;
        Day day{name.end, m_today.addDays(*days)};
        if (name.is(u"tonight"))
            day.hour = DateWords::partOfDay(name.lower());
        return withPartOfDay(day);
    }

    // Whether the German word for both means the morning here.
    bool isMorning(qsizetype p, const Word &name) const {
        const Word before = wordBefore(p);
        return (name.capital && !startsSentence(p)) ||
               before.isOneOf(u"guten", u"jeden", u"am", u"der", u"den", u"diesen", u"nächsten");
    }

    // "the day after tomorrow" from the word "day"
    std::optional<Day> dayBeyond(qsizetype p) const {
        const Word name = word(p);
        if (!name.is(u"day"))
            return std::nullopt;
        const Word side = word(spaces(name.end));
        const Word other = word(spaces(side.end));
        if (side.is(u"after") && other.is(u"tomorrow"))
            return withPartOfDay({other.end, m_today.addDays(2)});
        if (side.is(u"before") && other.is(u"yesterday"))
            return withPartOfDay({other.end, m_today.addDays(-2)});
        return std::nullopt;
    }

    Day withPartOfDay(Day day) const {
        const qsizetype start = spaces(day.end);
        const Word part = word(start);
        if (const auto hour = DateWords::partOfDay(part.lower()); hour && start > day.end) {
            day.hour = hour;
            day.end = part.end;
        }
        return day;
    }

    // "two days", "3 weeks": how many, of what, and where it ends
    struct Distance {
        int count;
        DateWords::Unit unit;
        qsizetype end;
    };

    std::optional<Distance> distance(qsizetype p) const {
        Distance read{};
        if (isDigit(p)) {
            const Number count = number(p);
            if (!count.hasUpTo(4))
                return std::nullopt;
            read = {count.value, {}, count.end};
        } else {
            const Word count = word(p);
            const auto value = DateWords::number(count.lower());
            if (!value)
                return std::nullopt;
            read = {*value, {}, count.end};
        }
        const qsizetype start = spaces(read.end);
        const Word name = word(start);
        const auto unit = DateWords::unit(name.lower());
        if (!unit || start == read.end)
            return std::nullopt;
        return Distance{read.count, *unit, name.end};
    }

    // "in two days", "vor 3 Wochen", "2 hours ago"
    std::optional<Day> distantDay(qsizetype p) const {
        if (const auto start = skippedWord(p, {u"in"})) {
            const auto ahead = distance(*start);
            return ahead ? std::optional(moved(*ahead, ahead->end, 1)) : std::nullopt;
        }
        if (const auto start = skippedWord(p, {u"vor"})) {
            const auto back = distance(*start);
            return back ? std::optional(moved(*back, back->end, -1)) : std::nullopt;
        }
        const auto either = distance(p);
        if (!either)
            return std::nullopt;
        const Word behind = word(spaces(either->end));
        if (behind.is(u"ago"))
            return moved(*either, behind.end, -1);
        const Word last = word(spaces(behind.end));
        if (behind.is(u"from") && last.isOneOf(u"now", u"today"))
            return moved(*either, last.end, 1);
        return std::nullopt;
    }

    Day moved(const Distance &by, qsizetype end, int sign) const {
        Day day{end, m_today};
        const int count = sign * by.count;
        switch (by.unit) {
        case DateWords::Minutes:
            day.moment = m_now.addSecs(qint64(count) * 60);
            break;
        case DateWords::Hours:
            day.moment = m_now.addSecs(qint64(count) * 3600);
            break;
        case DateWords::Days:
            day.date = m_today.addDays(count);
            break;
        case DateWords::Weeks:
            day.date = m_today.addDays(qint64(count) * 7);
            break;
        case DateWords::Months:
            day.date = m_today.addMonths(count);
            break;
        case DateWords::Years:
            day.date = m_today.addYears(count);
            break;
        }
        return day;
    }

    std::optional<Day> day(qsizetype p) const {
        if (isDigit(p)) {
            const auto absolute = numericDay(p, false);
            return absolute ? absolute : distantDay(p);
        }
        using Reading = std::optional<Day> (Scanner::*)(qsizetype) const;
        static constexpr Reading Readings[] = {&Scanner::monthFirstDay, &Scanner::weekdayDay,
                                               &Scanner::directedDay,   &Scanner::relativeDay,
                                               &Scanner::dayBeyond,     &Scanner::distantDay};
        for (const Reading reading : Readings) {
            if (auto read = (this->*reading)(p))
                return read;
        }
        return std::nullopt;
    }

    // ---- Times

    std::optional<Time> time(qsizetype p) const {
        if (!isDigit(p))
            return spelledTime(p);
        const Number hour = number(p);
        if (!hour.hasUpTo(2))
            return std::nullopt;
        if (at(hour.end) == u':')
            return clockTime(hour);
        if (at(hour.end) == u'.') {
            const Number minute = number(hour.end + 1);
            const Word oClock = word(spaces(minute.end));
            if (minute.length == 2 && oClock.is(u"uhr"))
                return withZone(timeOfDay(oClock.end, hour.value, minute.value, 0, 0));
        }
        if (const auto half = halfOfDay(hour.end))
            return withZone(halved(timeOfDay(half->second, hour.value, 0, 0, 0), hour.value, half->first));
        const Word oClock = word(spaces(hour.end));
        if (!oClock.is(u"uhr"))
            return std::nullopt;
        const qsizetype start = spaces(oClock.end);
        const Number minute = number(start);
        if (start > oClock.end && minute.length == 2 && minute.value < 60 && endsNumber(minute.end) &&
            at(minute.end) != u'.')
            return withZone(timeOfDay(minute.end, hour.value, minute.value, 0, 0));
        return withZone(timeOfDay(oClock.end, hour.value, 0, 0, 0));
    }

    std::optional<Time> spelledTime(qsizetype p) const {
        const Word name = word(p);
        if (name.is(u"noon"))
            return timeOfDay(name.end, Noon, 0, 0, 0);
        if (name.isOneOf(u"midnight", u"mitternacht"))
            return timeOfDay(name.end, 0, 0, 0, 0);
        return std::nullopt;
    }

    // "15:30", "15:30:45.5", with what may follow
    std::optional<Time> clockTime(const Number &hour) const {
        const Number minute = number(hour.end + 1);
        if (minute.length != 2)
            return std::nullopt;
        Number second;
        int millisecond = 0;
        qsizetype end = minute.end;
        if (at(end) == u':' && isDigit(end + 1)) {
            second = number(end + 1);
            if (second.length != 2)
                return std::nullopt;
            end = second.end;
            if ((at(end) == u'.' || at(end) == u',') && isDigit(end + 1)) {
                const Number fraction = number(end + 1);
                if (fraction.length > MostDigits)
                    return std::nullopt;
                millisecond = milliseconds(fraction);
                end = fraction.end;
            }
        }
        Time read = timeOfDay(end, hour.value, minute.value, second.value, millisecond);
        read.seconds = second.length > 0;
        if (const auto half = halfOfDay(end)) {
            read.end = half->second;
            return withZone(halved(read, hour.value, half->first));
        }
        if (const Word oClock = word(spaces(end)); oClock.is(u"uhr"))
            read.end = oClock.end;
        else
            read.ambiguousHalf = hour.value >= 1 && hour.value < Noon;
        read = withZone(read);
        // What goes on like this is no time: an address, a ratio, a date by itself.
        if (isWordly(read.end) ||
            (isJoint(at(read.end)) && at(read.end) != u',' && at(read.end) != u'-' && isWordly(read.end + 1)))
            return Time{skippedRun(read.end), false, 0};
        return read;
    }

    static int milliseconds(const Number &fraction) {
        int value = fraction.value;
        for (qsizetype digits = fraction.length; digits > 3; --digits)
            value /= 10;
        for (qsizetype digits = fraction.length; digits < 3; ++digits)
            value *= 10;
        return value;
    }

    qsizetype skippedRun(qsizetype p) const {
        while (isWordly(p) || (isJoint(at(p)) && isWordly(p + 1)))
            ++p;
        return p;
    }

    static Time timeOfDay(qsizetype end, int hour, int minute, int second, int millisecond) {
        const bool lastMoment = hour == 24 && minute == 0 && second == 0 && millisecond == 0;
        const qint64 milliseconds = ((qint64(hour) * 60 + minute) * 60 + second) * 1000 + millisecond;
        return {end, (hour < 24 || lastMoment) && minute < 60 && second < 60, milliseconds};
    }

    // Whether it is the afternoon, and the end, of "am", "pm", "a.m.", "p.m." behind optional spaces.
    std::optional<std::pair<bool, qsizetype>> halfOfDay(qsizetype p) const {
        const qsizetype start = spaces(p);
        const char16_t half = QChar::toLower(at(start));
        if (half != u'a' && half != u'p')
            return std::nullopt;
        qsizetype end = start + 1;
        const bool dotted = at(end) == u'.';
        end += dotted;
        if (QChar::toLower(at(end)) != u'm')
            return std::nullopt;
        ++end;
        if (dotted && at(end) == u'.')
            ++end;
        // "am" in front of a day is German for "on": "10:30 am 24.12."
        if (half == u'a' && !dotted && start > p && isDigit(spaces(end)) && numericDay(spaces(end), true))
            return std::nullopt;
        if (half == u'a' && !dotted && start > p && weekdayDay(spaces(end)))
            return std::nullopt;
        if (isWordly(end))
            return std::nullopt;
        return std::pair(half == u'p', end);
    }

    static Time halved(Time time, int hour, bool afternoon) {
        if (hour < 1 || hour > Noon)
            time.exists = false;
        if (hour == Noon)
            time.milliseconds -= qint64(Noon) * MillisecondsOfHour;
        if (afternoon)
            time.milliseconds += qint64(Noon) * MillisecondsOfHour;
        return time;
    }

    Time withZone(Time time) const {
        const qsizetype attached = time.end;
        const bool spaced = isSpace(attached);
        const qsizetype start = attached + spaced;
        qsizetype end = start;
        std::optional<int> base;
        if (isLetter(start)) {
            const Word name = word(start);
            base = name.capitals || (name.is(u"z") && !spaced) ? DateWords::zoneOffset(name.lower())
                                                               : std::nullopt;
            if (!base)
                return time;
            end = name.end;
            if (!name.isOneOf(u"utc", u"gmt")) {
                time.end = end;
                time.offset = base;
                return time;
            }
        }
        if (const auto offset = signedOffset(end, base.has_value(), spaced, time.seconds)) {
            time.end = offset->second;
            time.offset = offset->first;
            time.exists = time.exists && std::abs(offset->first) < 24 * 3600;
        } else if (base) {
            time.end = end;
            time.offset = base;
        }
        return time;
    }

    // "+01:00", "-0500"; behind "GMT" also "+1". "10:00-12:00" is two times.
    std::optional<std::pair<int, qsizetype>> signedOffset(qsizetype p, bool named, bool spaced,
                                                          bool behindSeconds) const {
        const char16_t sign = at(p);
        const bool west = sign == u'-' || sign == u'\u2212';
        if ((sign != u'+' && !west) || !isDigit(p + 1))
            return std::nullopt;
        Number hours = number(p + 1);
        Number minutes;
        if (hours.length == 4) {
            minutes = {hours.value % 100, 2, hours.end};
            hours.value /= 100;
        } else if (hours.hasUpTo(2) && at(hours.end) == u':') {
            minutes = number(hours.end + 1);
            if (hours.length != 2 || minutes.length != 2)
                return std::nullopt;
        } else if (!hours.hasUpTo(2) || !(named || (behindSeconds && hours.length == 2 && !spaced))) {
            return std::nullopt;
        }
        if (west && !named && !behindSeconds && !(spaced && hours.length == 4))
            return std::nullopt;
        const qsizetype end = std::max(hours.end, minutes.end);
        if (isWordly(end) || (isJoint(at(end)) && isDigit(end + 1)))
            return std::nullopt;
        const int seconds = minutes.value < 60 ? (hours.value * 60 + minutes.value) * 60 : 24 * 3600;
        return std::pair(west ? -seconds : seconds, end);
    }

    // ---- Both

    std::optional<Found> expression(qsizetype p) const {
        if (auto read = day(p)) {
            if (read->moment.isValid())
                return Found{read->end, read->moment};
            return resolved(*read, timeBehind(*read));
        }
        auto clock = time(p);
        if (!clock)
            return std::nullopt;
        if (const auto read = dayBehind(clock->end); read && !read->moment.isValid()) {
            const qsizetype end = read->end;
            Found found = resolved(*read, clock);
            found.end = end;
            return found;
        }
        Day today{clock->end, m_today};
        return resolved(today, clock);
    }

    std::optional<Time> timeBehind(const Day &day) const {
        const char16_t behind = at(day.end);
        if (day.iso && (behind == u'T' || behind == u't')) {
            const auto read = time(day.end + 1);
            return read ? read : std::optional(Time{day.end + 1, false, 0});
        }
        if (behind == u':' && isDigit(day.end + 1))
            return time(day.end + 1);
        qsizetype start = commaAndSpaces(day.end);
        if (start == day.end)
            return std::nullopt;
        if (at(start) == u'-' || at(start) == u'@' || at(start) == u'\u2013')
            start = spaces(start + 1);
        start = skippedWord(start, {u"at", u"um", u"ab", u"from", u"von", u"by", u"gegen"}).value_or(start);
        return time(start);
    }

    std::optional<Day> dayBehind(qsizetype p) const {
        qsizetype start = commaAndSpaces(p);
        if (start == p)
            return std::nullopt;
        start = skippedWord(start, {u"on", u"am"}).value_or(start);
        start = skippedWord(start, {u"the", u"den", u"dem"}).value_or(start);
        return day(start);
    }

    Found resolved(Day day, const std::optional<Time> &time) const {
        Found found{day.end, {}};
        if (!time)
            return {day.end, moment(day.date, qint64(day.hour.value_or(Noon)) * MillisecondsOfHour)};
        found.end = std::max(found.end, time->end);
        if (day.monthWithoutYear != 0 && time->end > day.end) {
            const Number year = number(spaces(time->end));
            if (year.length == 4 && year.end > time->end + 4 && endsNumber(year.end) && year.value >= 1000) {
                day.date = QDate(year.value, day.monthWithoutYear, day.dayWithoutYear);
                found.end = year.end;
            }
        }
        if (!time->exists || !day.date.isValid())
            return found;
        qint64 milliseconds = time->milliseconds;
        // "tomorrow evening at 8:30"
        if (time->ambiguousHalf && day.hour.value_or(0) > Noon && day.hour.value_or(0) < 22)
            milliseconds += qint64(Noon) * MillisecondsOfHour;
        if (time->offset)
            found.date =
                QDateTime(day.date, QTime(0, 0), Qt::OffsetFromUTC, *time->offset).addMSecs(milliseconds);
        else
            found.date = moment(day.date, milliseconds);
        return found;
    }

    // A wall-clock time in the zone; nil if clocks never show it.
    QDateTime moment(const QDate &date, qint64 milliseconds) const {
        const qint64 day = qint64(24) * MillisecondsOfHour;
        const QDate on = date.addDays(milliseconds / day);
        if (!on.isValid())
            return {};
        const QTime clock = QTime::fromMSecsSinceStartOfDay(int(milliseconds % day));
        const QDateTime moment = WallClock::moment(on, clock, m_zone);
        const QDateTime shown = WallClock::at(moment, m_zone);
        return shown.date() == on && shown.time() == clock ? moment : QDateTime();
    }

    QStringView m_text;
    QDateTime m_now;
    QTimeZone m_zone;
    QDate m_today;
    qsizetype m_at = 0;
};

Scanner scannerFor(const NSDataDetector &detector, const QString &text) {
    const QDateTime now =
        detector.referenceDate().isValid() ? detector.referenceDate() : QDateTime::currentDateTimeUtc();
    return {text, now, detector.timeZone()};
}

} // namespace

std::optional<NSDataDetector::Match> NSDataDetector::firstMatchInString(const QString &text) const {
    return scannerFor(*this, text).next();
}

QList<NSDataDetector::Match> NSDataDetector::matchesInString(const QString &text) const {
    QList<Match> matches;
    Scanner scanner = scannerFor(*this, text);
    while (const auto match = scanner.next())
        matches.append(*match);
    return matches;
}
