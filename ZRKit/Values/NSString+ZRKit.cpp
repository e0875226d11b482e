// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include "platform/base/NSException.h"
#include "platform/text/EditDistance.h"
#include "platform/text/EscapeTable.h"

#include <QStringBuilder>
#include <QStringMatcher>
#include <QVarLengthArray>
#include <algorithm>

namespace ZRKit {

namespace {

/// The check is the receiver's: nil has none.
void requireSet(const QString &receiver, const NSCharacterSet &set, const char *operation) {
    if (!receiver.isNull() && set.isNull())
        throw NSException(NSInvalidArgumentException,
                          QLatin1StringView(operation) + QStringLiteral(" - nil character set argument"));
}

constexpr EscapeTable htmlTable = [] {
    EscapeTable table;
    table.set(u'&', u"&amp;");
    table.set(u'<', u"&lt;");
    table.set(u'>', u"&gt;");
    table.set(u'"', u"&quot;");
    return table;
}();

constexpr EscapeTable htmlLinesTable = [] {
    EscapeTable table = htmlTable;
    table.set(u'\n', u"<br/>");
    return table;
}();

constexpr EscapeTable reprTable = [] {
    EscapeTable table;
    for (char16_t unit = 0; unit < u' '; ++unit) {
        const char16_t code[] = {
            u'\\', u'u', u'0', u'0', unit < 16 ? u'0' : u'1', u"0123456789abcdef"[unit & 15]};
        table.set(unit, {code, std::size(code)});
    }
    table.set(u'\b', u"\\b");
    table.set(u'\t', u"\\t");
    table.set(u'\n', u"\\n");
    table.set(u'\f', u"\\f");
    table.set(u'\r', u"\\r");
    table.set(u'\\', u"\\\\");
    table.set(u'\'', u"\\'");
    table.set(u'"', u"\\\"");
    return table;
}();

QString escaped(const QString &text, const EscapeTable &table) {
    const qsizetype size = table.size(text);
    if (size == text.size())
        return text;
    QString result(size + EscapeTable::slack, Qt::Uninitialized);
    table.write(reinterpret_cast<char16_t *>(result.data()), text);
    result.truncate(size);
    return result;
}

/// Finds a part again and again. Short parts are found by their first unit, which is fast, and slow by no
/// more than their length; long ones by a method that no text makes slow.
class Finder {
public:
    explicit Finder(const QString &part) : m_part(part) {
        if (isLong())
            m_matcher.setPattern(part);
    }
    /// -1 where it doesn't occur any more.
    qsizetype find(QStringView text, qsizetype from) const {
        if (isLong())
            return m_matcher.indexIn(text, from);
        for (;; ++from) {
            from = text.indexOf(m_part[0], from);
            if (from < 0 || text.size() - from < m_part.size())
                return -1;
            if (text.sliced(from, m_part.size()) == m_part)
                return from;
        }
    }

private:
    bool isLong() const { return m_part.size() > 32; }

    const QStringView m_part;
    QStringMatcher m_matcher;
};

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

NSRange range(const QString &text) {
    return {0, text.size()};
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
    const Finder finder(separator);
    for (qsizetype at; (at = finder.find(text, start)) >= 0; start = at + separator.size())
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
    const Finder finder(search);
    for (qsizetype at = 0; (at = finder.find(text, at)) >= 0; at += search.size())
        places.append(at);
    if (places.isEmpty())
        return text;
    QString result(text.size() + places.size() * (replacement.size() - search.size()), Qt::Uninitialized);
    QChar *out = result.data();
    qsizetype start = 0;
    for (const qsizetype at : places) {
        out = std::copy(text.begin() + start, text.begin() + at, out);
        out = std::copy(replacement.begin(), replacement.end(), out);
        start = at + search.size();
    }
    std::copy(text.begin() + start, text.end(), out);
    return result;
}

QString escape(const QString &text) {
    return escaped(text, htmlTable);
}

QString escapeWithBreakLine(const QString &text) {
    return escaped(text, htmlLinesTable);
}

QString repr(const QString &text) {
    if (text.isNull())
        return {};
    const QStringView units(text);
    bool escapes = false;
    for (const QChar unit : units)
        escapes |= unit < u' ' || unit == u'"' || unit == u'\\';
    if (!escapes)
        return u'"' % text % u'"';
    const qsizetype size = reprTable.size(text) + 2;
    QString quoted(size + EscapeTable::slack, Qt::Uninitialized);
    auto *out = reinterpret_cast<char16_t *>(quoted.data());
    *out++ = u'"';
    out = reprTable.write(out, text);
    *out = u'"';
    quoted.truncate(size);
    return quoted;
}

qint64 computeLevenshteinDistanceWithString(const QString &text, const QString &other) {
    if (text.isNull())
        return 0;
    return text.isEmpty() || other.isEmpty() ? -1 : NSEditDistance(text, other);
}

double computeLevenshteinDistanceQuotientWithString(const QString &text, const QString &other) {
    if (text.isNull())
        return 0;
    const qint64 distance = computeLevenshteinDistanceWithString(text, other);
    return distance < 0 ? 1 : double(distance) / (double(text.size() + other.size()) / 2);
}

} // namespace ZRKit
