// SPDX-License-Identifier: MIT
#include "platform/predicates/NSSortDescriptor.h"

#include "platform/base/NSException.h"
#include "platform/predicates/PredicateText.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSStableSort.h"
#include "platform/values/ValueKind.h"

#include <QCollator>
#include <algorithm>
#include <optional>
#include <utility>

using namespace zr;

namespace {

NSComparisonResult resultOf(int order) {
    return order < 0 ? NSOrderedAscending : order > 0 ? NSOrderedDescending : NSOrderedSame;
}

/// How texts are compared under a name; nothing for an unknown one.
std::optional<NSComparisonResult> textOrder(const QString &selector, const QString &a, const QString &b) {
    if (selector == QStringLiteral("caseInsensitiveCompare:"))
        return resultOf(PredicateText::folded(a, NSCaseInsensitivePredicateOption)
                            .compare(PredicateText::folded(b, NSCaseInsensitivePredicateOption)));
    // The C locale's order isn't one for people.
    const QLocale locale;
    QCollator collator(locale.language() == QLocale::C ? QLocale(QLocale::English) : locale);
    if (selector == QStringLiteral("localizedCaseInsensitiveCompare:")) {
        collator.setCaseSensitivity(Qt::CaseInsensitive);
    } else if (selector == QStringLiteral("localizedStandardCompare:")) {
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        collator.setNumericMode(true);
    } else if (selector != QStringLiteral("localizedCompare:")) {
        return {};
    }
    return resultOf(collator.compare(a, b));
}

NSComparisonResult orderBySelector(const QString &selector, const QVariant &a, const QVariant &b) {
    const bool isNilA = kindOf(a) == ValueKind::Nil, isNilB = kindOf(b) == ValueKind::Nil;
    if (isNilA || isNilB)
        return resultOf(int(isNilB) - int(isNilA));
    if (selector == QStringLiteral("compare:"))
        return NSObjectRuntime::compare(a, b);
    const NSSelector message(selector);
    if (NSObjectRuntime::respondsTo(a, message))
        return resultOf(NSObjectRuntime::perform(a, message, {b}).toInt());
    if (kindOf(a) == ValueKind::String && kindOf(b) == ValueKind::String) {
        if (const auto order = textOrder(selector, a.toString(), b.toString()))
            return *order;
    }
    NSObjectRuntime::raiseUnrecognized(a, message);
}

} // namespace

NSSortDescriptor::NSSortDescriptor(const QString &key, bool ascending)
    : NSSortDescriptor(key, ascending, QString()) {
}

NSSortDescriptor::NSSortDescriptor(const QString &key, bool ascending, const QString &selector)
    : m_key(key), m_ascending(ascending),
      m_selector(selector.isNull() ? QStringLiteral("compare:") : selector) {
}

NSSortDescriptor::NSSortDescriptor(const QString &key, bool ascending, const Comparator &comparator)
    : m_key(key), m_ascending(ascending), m_comparator(comparator) {
    if (!comparator)
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("The comparator of a sort descriptor is nil."));
}

NSSortDescriptor NSSortDescriptor::reversedSortDescriptor() const {
    NSSortDescriptor reversed = *this;
    reversed.m_ascending = !m_ascending;
    return reversed;
}

QVariant NSSortDescriptor::valueOf(const QVariant &object) const {
    return m_key.isEmpty() ? object : NSKeyValueCoding::valueForKeyPath(object, m_key);
}

NSComparisonResult NSSortDescriptor::compareValues(const QVariant &a, const QVariant &b) const {
    const NSComparisonResult order = m_comparator ? m_comparator(a, b) : orderBySelector(m_selector, a, b);
    return m_ascending ? order : NSComparisonResult(-int(order));
}

NSComparisonResult NSSortDescriptor::compareObject(const QVariant &a, const QVariant &b) const {
    return compareValues(valueOf(a), valueOf(b));
}

QVariantList sortedArrayUsingDescriptors(const QVariantList &array,
                                         const QList<NSSortDescriptor> &descriptors) {
    struct Row {
        QVariant object;
        QVariantList values;
    };
    QList<Row> rows;
    rows.reserve(array.size());
    for (const QVariant &object : array) {
        Row row{object, {}};
        for (const NSSortDescriptor &descriptor : descriptors)
            row.values.append(descriptor.valueOf(object));
        rows.append(std::move(row));
    }
    NSStableSort(rows, [&](const Row &a, const Row &b) {
        for (qsizetype i = 0; i < descriptors.size(); ++i) {
            const NSComparisonResult order = descriptors.at(i).compareValues(a.values.at(i), b.values.at(i));
            if (order != NSOrderedSame)
                return int(order);
        }
        return 0;
    });
    QVariantList sorted;
    sorted.reserve(rows.size());
    for (const Row &row : std::as_const(rows))
        sorted.append(row.object);
    return sorted;
}
