// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSArray+ZRKit.h"

#include "ZRKit/Values/PropertyListCopy.h"
#include "platform/base/NSException.h"
#include "platform/predicates/NSSortDescriptor.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSObjectRuntime.h"

#include <QHash>
#include <QStringList>
#include <algorithm>

namespace ZRKit {

SliceRange sliceRange(qsizetype count, qint64 from, qint64 to) {
    if (count == 0)
        return {};
    if (from < 0)
        from += count;
    const qint64 end = to < 0 ? count + to : to == 0 ? count : to;
    if (end <= from)
        return {};
    // Both differences are of a larger and a smaller number, which unsigned arithmetic holds.
    quint64 length = 0;
    if (from < count)
        length = std::min(quint64(count) - quint64(from), quint64(end) - quint64(from));
    const quint64 location = quint64(std::max<qint64>(from, 0));
    if (location > quint64(count) || length > quint64(count) - location)
        throw NSException(NSRangeException,
                          QStringLiteral("The range {%1, %2} is out of bounds; the array's count is %3.")
                              .arg(location)
                              .arg(length)
                              .arg(count));
    return {qsizetype(location), qsizetype(length)};
}

QString join(const AnyArray &array, const AnyText &separator) {
    QStringList descriptions;
    descriptions.reserve(array.size());
    for (const QVariant &element : array)
        descriptions.append(NSObjectRuntime::description(element));
    return descriptions.isEmpty() ? QStringLiteral("") : descriptions.join(separator);
}

NSMutableAttributedString joinAttributedStrings(const AnyArray &array, const NSAttributedString &separator) {
    NSMutableAttributedString joined;
    for (qsizetype i = 0; i < array.size(); ++i) {
        const QVariant &element = array.at(i);
        if (i > 0)
            joined.appendAttributedString(separator);
        if (element.metaType() == QMetaType::fromType<NSAttributedString>())
            joined.appendAttributedString(element.value<NSAttributedString>());
        else if (element.metaType() == QMetaType::fromType<NSMutableAttributedString>())
            joined.appendAttributedString(element.value<NSMutableAttributedString>());
        else
            throw NSException(
                NSInvalidArgumentException,
                QStringLiteral("%1 is no attributed string.").arg(NSObjectRuntime::description(element)));
    }
    return joined;
}

QVariantList sorted(const AnyArray &array) {
    QVariantList elements = array;
    NSStableSort(elements, NSObjectRuntime::compare);
    return elements;
}

QVariantList zrSortBy(const AnyArray &array, const AnyText &key) {
    return sortedArrayUsingDescriptors(array, {NSSortDescriptor(key, false)});
}

std::vector<QVariantList> groupsByValue(const AnyArray &array, const AnyText &keyPath) {
    if (keyPath.isEmpty())
        throw NSException(NSInvalidArgumentException, QStringLiteral("Grouping needs a key path."));
    std::vector<QVariantList> groups;
    QHash<QVariant, size_t> places;
    for (const QVariant &element : array) {
        const QVariant value = NSKeyValueCoding::valueForKeyPath(element, keyPath);
        if (NSIsNil(value))
            continue;
        const auto at = places.constFind(value);
        const size_t place = at == places.constEnd() ? groups.size() : *at;
        if (place == groups.size()) {
            places.insert(value, place);
            groups.emplace_back();
        }
        groups[place].append(element);
    }
    return groups;
}

NSSet set(const AnyArray &array) {
    return NSSet(array.cbegin(), array.cend());
}

NSSet mutableSet(const AnyArray &array) {
    return set(array);
}

std::optional<QVariantList> deepMutableCopy(const AnyArray &array) {
    const std::optional<QVariant> copy = propertyListCopy(QVariant(array));
    return copy ? std::optional(copy->toList()) : std::nullopt;
}

} // namespace ZRKit
