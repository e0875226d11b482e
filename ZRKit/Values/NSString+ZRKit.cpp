// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include "platform/base/NSException.h"
#include "platform/values/ValueKind.h"

#include <QLocale>
#include <algorithm>
#include <numeric>
#include <vector>

namespace ZRKit {

namespace {

/// The check is the receiver's: nil has none.
void requireSet(const QString &receiver, const NSCharacterSet &set, const char *operation) {
    if (!receiver.isNull() && set.isNull())
        throw NSException(NSInvalidArgumentException,
                          QLatin1StringView(operation) + QStringLiteral(" - nil character set argument"));
}

bool isSpace(QChar unit) {
    return unit.isSpace();
}

/// What repr() writes for a unit.
QString escapedUnit(QChar unit) {
    constexpr QStringView special = u"\\'\"\b\t\n\f\r", letters = u"\\'\"btnfr";
    if (const qsizetype index = special.indexOf(unit); index >= 0)
        return QStringLiteral("\\") + letters[index];
    return unit < u' ' ? QStringLiteral("\\u%1").arg(unit.unicode(), 4, 16, QChar(u'0')) : QString(unit);
}

} // namespace

bool isBlank(const AnyText &text) {
    return !text.isNull() && QStringView(text).trimmed().isEmpty();
}

bool empty(const AnyText &text) {
    return isBlank(text);
}

bool contains(const AnyText &text, const AnyText &part) {
    return !part.isEmpty() && text.contains(part);
}

bool eq(const AnyText &text, const AnyObject &object) {
    const QVariant &value = object.value();
    return !text.isNull() && zr::kindOf(value) == zr::ValueKind::String && text == zr::held<QString>(value);
}

bool isValidEmail(const AnyText &text) {
    return text.contains(u'@') || text.contains(u'.');
}

qint64 len(const AnyText &text) {
    return text.size();
}

NSRange range(const AnyText &text) {
    return {0, text.size()};
}

QString stringValueWithDefault(const AnyText &text, const AnyText &defaultValue) {
    return isBlank(text) ? defaultValue : text;
}

QString lower(const AnyText &text) {
    // With ICU's mapping, which knows the final sigma.
    return text.isEmpty() ? QString(text) : QLocale::c().toLower(text);
}

QString upper(const AnyText &text) {
    return text.isEmpty() ? QString(text) : QLocale::c().toUpper(text);
}

QString strip(const AnyText &text) {
    return text.trimmed();
}

QString lstrip(const AnyText &text) {
    const auto first = std::find_if_not(text.begin(), text.end(), isSpace);
    return first == text.begin() ? QString(text) : text.sliced(first - text.begin());
}

QString rstrip(const AnyText &text) {
    qsizetype end = text.size();
    while (end > 0 && text[end - 1].isSpace())
        --end;
    return end == text.size() ? QString(text) : text.first(end);
}

QString stringByLTrimmingCharactersInSet(const AnyText &text, const NSCharacterSet &set) {
    requireSet(text, set, "stringByLTrimmingCharactersInSet:");
    qsizetype start = 0;
    while (start < text.size() && set.characterIsMember(text[start].unicode()))
        ++start;
    return start == 0 ? QString(text) : text.sliced(start);
}

QString stringByRTrimmingCharactersInSet(const AnyText &text, const NSCharacterSet &set) {
    requireSet(text, set, "stringByRTrimmingCharactersInSet:");
    qsizetype end = text.size();
    while (end > 0 && set.characterIsMember(text[end - 1].unicode()))
        --end;
    return end == text.size() ? QString(text) : text.first(end);
}

QVariantList split(const AnyText &text) {
    QVariantList pieces;
    auto start = std::find_if_not(text.begin(), text.end(), isSpace);
    while (start != text.end()) {
        const auto end = std::find_if(start, text.end(), isSpace);
        pieces.append(QString(start, end - start));
        start = std::find_if_not(end, text.end(), isSpace);
    }
    return pieces;
}

QVariantList splitBy(const AnyText &text, const AnyText &separator) {
    if (text.isNull())
        return {};
    if (separator.isEmpty())
        return {text};
    QVariantList pieces;
    for (const QString &piece : text.split(separator))
        pieces.append(piece);
    return pieces;
}

QString collapse(const AnyText &text) {
    return text.isEmpty() ? QString(text) : text.simplified();
}

QString stripAllBlanks(const AnyText &text) {
    return QString(text).removeIf(isSpace);
}

QString sliceFrom(const AnyText &text, qint64 from, qint64 to) {
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

QString escape(const AnyText &text) {
    return QString(text)
        .replace(u'&', QStringLiteral("&amp;"))
        .replace(u'<', QStringLiteral("&lt;"))
        .replace(u'>', QStringLiteral("&gt;"))
        .replace(u'"', QStringLiteral("&quot;"));
}

QString escapeWithBreakLine(const AnyText &text) {
    return escape(text).replace(u'\n', QStringLiteral("<br/>"));
}

QString repr(const AnyText &text) {
    if (text.isNull())
        return {};
    const bool escapes = std::any_of(text.begin(), text.end(),
                                     [](QChar unit) { return unit < u' ' || unit == u'"' || unit == u'\\'; });
    QString quoted(u'"');
    for (const QChar unit : text) {
        if (escapes)
            quoted += escapedUnit(unit);
        else
            quoted += unit;
    }
    return quoted + u'"';
}

qint64 computeLevenshteinDistanceWithString(const AnyText &text, const AnyText &other) {
    if (text.isNull())
        return 0;
    if (text.isEmpty() || other.isEmpty())
        return -1;
    // One row of the table; the cell above to the left is kept before it is written over.
    std::vector<qint64> row(size_t(other.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (const QChar unit : text) {
        qint64 diagonal = row[0]++;
        for (size_t i = 1; i < row.size(); ++i) {
            const qint64 replaced = diagonal + (unit == other[qsizetype(i) - 1] ? 0 : 1);
            diagonal = row[i];
            row[i] = std::min({row[i] + 1, row[i - 1] + 1, replaced});
        }
    }
    return row.back();
}

double computeLevenshteinDistanceQuotientWithString(const AnyText &text, const AnyText &other) {
    if (text.isNull())
        return 0;
    const qint64 distance = computeLevenshteinDistanceWithString(text, other);
    return distance < 0 ? 1 : double(distance) / (double(text.size() + other.size()) / 2);
}

} // namespace ZRKit
