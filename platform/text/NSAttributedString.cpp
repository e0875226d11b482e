// SPDX-License-Identifier: MIT
#include "platform/text/NSAttributedString.h"

#include "platform/base/NSException.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"

#include <algorithm>
#include <utility>

QString NSAttributedString::description() const {
    QString text = QStringLiteral("");
    for (const Run &run : m_runs)
        text.append(QStringView(m_string).mid(run.range.location, run.range.length))
            .append(NSObjectRuntime::description(run.attributes));
    return text;
}

NSAttributedString::NSAttributedString(const QString &string, const QVariantMap &attributes) {
    if (string.isEmpty())
        return;
    m_string = string;
    m_runs = {{{0, string.size()}, attributes}};
}

void NSAttributedString::requireWithin(NSRange range) const {
    if (!range.isWithin(length()))
        throw NSException(NSRangeException,
                          QStringLiteral("The range {%1, %2} is out of bounds; the string's length is %3.")
                              .arg(range.location)
                              .arg(range.length)
                              .arg(length()));
}

qsizetype NSAttributedString::runIndexAt(qsizetype location) const {
    const auto behind =
        std::upper_bound(m_runs.cbegin(), m_runs.cend(), location,
                         [](qsizetype at, const Run &run) { return at < run.range.location; });
    return behind - m_runs.cbegin() - 1;
}

QVariantMap NSAttributedString::attributesAtIndex(qsizetype location, NSRange *effectiveRange) const {
    requireWithin({location, 1});
    const Run &run = m_runs.at(runIndexAt(location));
    if (effectiveRange)
        *effectiveRange = run.range;
    return run.attributes;
}

QVariant NSAttributedString::attributeAtIndex(const QString &name, qsizetype location,
                                              NSRange *longestEffectiveRange) const {
    requireWithin({location, 1});
    const qsizetype index = runIndexAt(location);
    QVariant value = m_runs.at(index).attributes.value(name);
    if (longestEffectiveRange) {
        qsizetype first = index, last = index;
        while (first > 0 && m_runs.at(first - 1).attributes.value(name) == value)
            --first;
        while (last + 1 < m_runs.size() && m_runs.at(last + 1).attributes.value(name) == value)
            ++last;
        const qsizetype start = m_runs.at(first).range.location;
        *longestEffectiveRange = {start, m_runs.at(last).range.end() - start};
    }
    return value;
}

QList<NSAttributedString::Run> NSAttributedString::runsInRange(NSRange range, qsizetype movedTo) const {
    QList<Run> runs;
    if (range.length == 0)
        return runs;
    for (qsizetype i = runIndexAt(range.location); i < m_runs.size(); ++i) {
        const Run &run = m_runs.at(i);
        if (run.range.location >= range.end())
            break;
        const qsizetype start = std::max(run.range.location, range.location);
        const qsizetype end = std::min(run.range.end(), range.end());
        runs.append({{start - range.location + movedTo, end - start}, run.attributes});
    }
    return runs;
}

NSAttributedString NSAttributedString::attributedSubstringFromRange(NSRange range) const {
    requireWithin(range);
    NSAttributedString part;
    if (range.length > 0)
        part.m_string = m_string.mid(range.location, range.length);
    part.m_runs = runsInRange(range, 0);
    return part;
}

void NSAttributedString::enumerateAttributesInRange(
    NSRange range,
    const std::function<void(const QVariantMap &attributes, NSRange range, bool *stop)> &block) const {
    requireWithin(range);
    bool stop = false;
    // The block may change this very string.
    const QList<Run> runs = runsInRange(range, range.location);
    for (const Run &run : runs) {
        block(run.attributes, run.range, &stop);
        if (stop)
            return;
    }
}

// Takes runs that follow one another, joining equal neighbours.
void NSMutableAttributedString::setRuns(QList<Run> runs) {
    QList<Run> joined;
    joined.reserve(runs.size());
    for (Run &run : runs) {
        if (!joined.isEmpty() && joined.constLast().attributes == run.attributes)
            joined.last().range.length += run.range.length;
        else
            joined.append(std::move(run));
    }
    m_runs = joined;
}

void NSMutableAttributedString::appendAttributedString(const NSAttributedString &other) {
    const qsizetype offset = length();
    const QString text = other.string();
    const QList<Run> runs = other.runs();
    m_string += text;
    for (Run run : runs) {
        run.range.location += offset;
        if (!m_runs.isEmpty() && m_runs.constLast().attributes == run.attributes)
            m_runs.last().range.length += run.range.length;
        else
            m_runs.append(std::move(run));
    }
}

void NSMutableAttributedString::insertAttributedString(const NSAttributedString &other, qsizetype location) {
    replaceCharactersInRange({location, 0}, other);
}

void NSMutableAttributedString::replaceCharactersInRange(NSRange range, const NSAttributedString &other) {
    requireWithin(range);
    const QString text = other.string();
    QList<Run> runs = runsInRange({0, range.location}, 0);
    for (Run run : other.runs()) {
        run.range.location += range.location;
        runs.append(std::move(run));
    }
    runs += runsInRange({range.end(), length() - range.end()}, range.location + text.size());
    m_string.replace(range.location, range.length, text);
    setRuns(std::move(runs));
}

void NSMutableAttributedString::replaceCharactersInRange(NSRange range, const QString &text) {
    requireWithin(range);
    QVariantMap attributes;
    if (length() > 0) {
        const qsizetype source =
            range.length > 0 ? range.location : std::max<qsizetype>(range.location - 1, 0);
        attributes = attributesAtIndex(source);
    }
    replaceCharactersInRange(range, NSAttributedString(text, attributes));
}

void NSMutableAttributedString::deleteCharactersInRange(NSRange range) {
    replaceCharactersInRange(range, NSAttributedString());
}

void NSMutableAttributedString::setAttributedString(const NSAttributedString &other) {
    NSAttributedString::operator=(other);
}

void NSMutableAttributedString::changeAttributes(NSRange range,
                                                 const std::function<void(QVariantMap &)> &change) {
    requireWithin(range);
    if (range.length == 0)
        return;
    QList<Run> runs = runsInRange({0, range.location}, 0);
    for (Run &run : runsInRange(range, range.location)) {
        change(run.attributes);
        runs.append(std::move(run));
    }
    runs += runsInRange({range.end(), length() - range.end()}, range.end());
    setRuns(std::move(runs));
}

void NSMutableAttributedString::setAttributes(const QVariantMap &attributes, NSRange range) {
    changeAttributes(range, [&](QVariantMap &present) { present = attributes; });
}

void NSMutableAttributedString::addAttribute(const QString &name, const QVariant &value, NSRange range) {
    if (NSIsNil(value))
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("The attribute \"%1\" can't be nil.").arg(name));
    changeAttributes(range, [&](QVariantMap &present) { present.insert(name, value); });
}

void NSMutableAttributedString::addAttributes(const QVariantMap &attributes, NSRange range) {
    changeAttributes(range, [&](QVariantMap &present) { present.insert(attributes); });
}

void NSMutableAttributedString::removeAttribute(const QString &name, NSRange range) {
    changeAttributes(range, [&](QVariantMap &present) { present.remove(name); });
}
