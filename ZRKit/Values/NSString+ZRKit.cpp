// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include "platform/values/NSException.h"

#include <QStringMatcher>
#include <QVarLengthArray>
#include <algorithm>
#include <array>

namespace ZRKit {

namespace {

/// What the writers of escaped texts fill: a text of a size that was counted before.
class Writer {
public:
    explicit Writer(qsizetype size) : m_text(size, Qt::Uninitialized), m_out(m_text.data()) {}
    void put(QChar unit) { *m_out++ = unit; }
    void put(QStringView text) { m_out = std::copy(text.begin(), text.end(), m_out); }
    QString text() const { return m_text; }

private:
    QString m_text;
    QChar *m_out;
};

/// The check is the receiver's: nil has none.
void requireSet(const QString &receiver, const NSCharacterSet &set, const char *operation) {
    if (!receiver.isNull() && set.isNull())
        throw NSException(NSInvalidArgumentException,
                          QLatin1StringView(operation) + QStringLiteral(" - nil character set argument"));
}

/// What escape() writes for a unit; empty where the unit stays.
QStringView entity(char16_t unit, bool breaksLines) {
    switch (unit) {
    case u'&':
        return u"&amp;";
    case u'<':
        return u"&lt;";
    case u'>':
        return u"&gt;";
    case u'"':
        return u"&quot;";
    case u'\n':
        return breaksLines ? QStringView(u"<br/>") : QStringView();
    default:
        return {};
    }
}

QString escaped(const QString &text, bool breaksLines) {
    const QStringView units(text);
    qsizetype more = 0;
    for (const QChar unit : units) {
        const char16_t u = unit.unicode();
        more += 4 * (u == u'&') + 3 * (u == u'<') + 3 * (u == u'>') + 5 * (u == u'"');
        more += 4 * (breaksLines && u == u'\n');
    }
    if (more == 0)
        return text;
    Writer writer(units.size() + more);
    for (const QChar unit : units) {
        const QStringView written = entity(unit.unicode(), breaksLines);
        if (written.isEmpty())
            writer.put(unit);
        else
            writer.put(written);
    }
    return writer.text();
}

/// How many units repr() writes for an ASCII character where it escapes.
constexpr std::array<uchar, 128> reprWidths = [] {
    std::array<uchar, 128> widths{};
    widths.fill(1);
    std::fill_n(widths.begin(), 32, uchar(6));
    for (const char c : {'\b', '\t', '\n', '\f', '\r', '\\', '\'', '"'})
        widths[size_t(c)] = 2;
    return widths;
}();

char16_t reprLetter(char16_t unit) {
    switch (unit) {
    case u'\b':
        return u'b';
    case u'\t':
        return u't';
    case u'\n':
        return u'n';
    case u'\f':
        return u'f';
    case u'\r':
        return u'r';
    default:
        return unit;
    }
}

void writeRepr(Writer &writer, char16_t unit) {
    const int width = unit < reprWidths.size() ? reprWidths[unit] : 1;
    if (width == 1) {
        writer.put(unit);
    } else if (width == 2) {
        writer.put(u'\\');
        writer.put(reprLetter(unit));
    } else {
        writer.put(u"\\u00");
        writer.put(unit < 16 ? u'0' : u'1');
        writer.put(u"0123456789abcdef"[unit & 15]);
    }
}

} // namespace

bool isBlank(const QString &text) {
    return !text.isNull() && QStringView(text).trimmed().isEmpty();
}

bool empty(const QString &text) {
    return isBlank(text);
}

bool contains(const QString &text, const QString &part) {
    return !part.isEmpty() && text.contains(part);
}

bool eq(const QString &text, const QVariant &object) {
    if (text.isNull() || object.typeId() != QMetaType::QString)
        return false;
    const auto &other = *static_cast<const QString *>(object.constData());
    return !other.isNull() && text == other;
}

bool isValidEmail(const QString &text) {
    return text.contains(u'@') || text.contains(u'.');
}

qint64 len(const QString &text) {
    return text.size();
}

QString stringValueWithDefault(const QString &text, const QString &defaultValue) {
    return isBlank(text) ? defaultValue : text;
}

QString lower(const QString &text) {
    return text.toLower();
}

QString upper(const QString &text) {
    return text.toUpper();
}

QString strip(const QString &text) {
    return text.trimmed();
}

QString lstrip(const QString &text) {
    const auto first = std::find_if_not(text.begin(), text.end(), [](QChar c) { return c.isSpace(); });
    return first == text.begin() ? text : text.sliced(first - text.begin());
}

QString rstrip(const QString &text) {
    qsizetype end = text.size();
    while (end > 0 && text[end - 1].isSpace())
        --end;
    return end == text.size() ? text : text.first(end);
}

QString stringByLTrimmingCharactersInSet(const QString &text, const NSCharacterSet &set) {
    requireSet(text, set, "stringByLTrimmingCharactersInSet:");
    qsizetype start = 0;
    while (start < text.size() && set.characterIsMember(text[start].unicode()))
        ++start;
    return start == 0 ? text : text.sliced(start);
}

QString stringByRTrimmingCharactersInSet(const QString &text, const NSCharacterSet &set) {
    requireSet(text, set, "stringByRTrimmingCharactersInSet:");
    qsizetype end = text.size();
    while (end > 0 && set.characterIsMember(text[end - 1].unicode()))
        --end;
    return end == text.size() ? text : text.first(end);
}

QVariantList split(const QString &text) {
    QVariantList pieces;
    const QChar *const end = text.constData() + text.size();
    for (const QChar *at = text.constData(); at != end;) {
        if (at->isSpace()) {
            ++at;
            continue;
        }
        const QChar *const start = at;
        while (at != end && !at->isSpace())
            ++at;
        pieces.append(QString(start, at - start));
    }
    return pieces;
}

QVariantList splitBy(const QString &text, const QString &separator) {
    if (text.isNull())
        return {};
    if (separator.isEmpty())
        return {text};
    QVariantList pieces;
    qsizetype start = 0;
    for (qsizetype at; (at = text.indexOf(separator, start)) >= 0; start = at + separator.size())
        pieces.append(text.sliced(start, at - start));
    pieces.append(text.sliced(start));
    return pieces;
}

QString collapse(const QString &text) {
    return text.isEmpty() ? text : text.simplified();
}

QString stripAllBlanks(const QString &text) {
    if (std::none_of(text.begin(), text.end(), [](QChar c) { return c.isSpace(); }))
        return text;
    QString kept(text.size(), Qt::Uninitialized);
    QChar *const end =
        std::remove_copy_if(text.begin(), text.end(), kept.data(), [](QChar c) { return c.isSpace(); });
    kept.truncate(end - kept.constData());
    return kept;
}

QString sliceFrom(const QString &text, qint64 from, qint64 to) {
    if (text.isNull())
        return {};
    const qint64 length = text.size();
    if (length == 0 || from >= length)
        return QStringLiteral("");
    if (from < 0)
        from = std::max<qint64>(from + length, 0);
    const qint64 end = to < 0 ? length + to : to == 0 ? length : to;
    return end > from ? text.sliced(from, std::min(length, end) - from) : QStringLiteral("");
}

QString replace(const QString &text, const QString &search, const QString &replacement) {
    if (search.isEmpty() || replacement.isNull())
        return text;
    QVarLengthArray<qsizetype, 256> places;
    const QStringMatcher matcher(search);
    for (qsizetype at = 0; (at = matcher.indexIn(text, at)) >= 0; at += search.size())
        places.append(at);
    if (places.isEmpty())
        return text;
    Writer writer(text.size() + places.size() * (replacement.size() - search.size()));
    const QStringView units(text);
    qsizetype start = 0;
    for (const qsizetype at : places) {
        writer.put(units.sliced(start, at - start));
        writer.put(replacement);
        start = at + search.size();
    }
    writer.put(units.sliced(start));
    return writer.text();
}

QString escape(const QString &text) {
    return escaped(text, false);
}

QString escapeWithBreakLine(const QString &text) {
    return escaped(text, true);
}

QString repr(const QString &text) {
    if (text.isNull())
        return {};
    const QStringView units(text);
    bool escapes = false;
    for (const QChar unit : units)
        escapes |= unit < u' ' || unit == u'"' || unit == u'\\';
    if (!escapes) {
        Writer writer(units.size() + 2);
        writer.put(u'"');
        writer.put(units);
        writer.put(u'"');
        return writer.text();
    }
    qsizetype size = 2;
    for (const QChar unit : units)
        size += unit.unicode() < reprWidths.size() ? reprWidths[unit.unicode()] : 1;
    Writer writer(size);
    writer.put(u'"');
    for (const QChar unit : units)
        writeRepr(writer, unit.unicode());
    writer.put(u'"');
    return writer.text();
}

} // namespace ZRKit
