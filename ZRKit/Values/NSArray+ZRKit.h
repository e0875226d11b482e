// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyText.h"
#include "platform/text/NSAttributedString.h"
#include "platform/values/NSEnumeration.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "platform/values/NSStableSort.h"

#include <QVariantList>
#include <initializer_list>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

/// Arrays: tolerant access, slices, and operations over blocks.
///
/// Arrays are QVariantList and every other QList, such as QStringList; nil is then the element type's default
/// value. Blocks are called on the caller's thread, in order. A block that changes the very variable that is
/// being enumerated makes the operation raise NSGenericException; one that only reads it doesn't (see
/// NSEnumeration.h). What a block raises passes to the caller. Any thread.
namespace ZRKit {

/// An array as an argument, whatever its elements' type.
class AnyArray : public QVariantList {
public:
    AnyArray() = default;
    AnyArray(const QVariantList &array) : QVariantList(array) {}
    AnyArray(std::initializer_list<QVariant> elements) : QVariantList(elements) {}
    template <typename T>
    AnyArray(const QList<T> &array) {
        reserve(array.size());
        for (const T &element : array)
            append(QVariant::fromValue(element));
    }
};

/// A block's result as an object.
template <typename T>
QVariant blockResult(T &&value) {
    if constexpr (std::is_convertible_v<T, QVariant>)
        return QVariant(std::forward<T>(value));
    else
        return QVariant::fromValue(std::forward<T>(value));
}

// What zrSelect() and zrMatch() of arrays and sets do.
template <typename Collection, typename Block>
Collection selectedFrom(const Collection &collection, Block &block) {
    Collection selected;
    const NSEnumeration enumeration(collection);
    for (const auto &element : enumeration.elements()) {
        const bool isSelected = block(element);
        enumeration.verify();
        if (isSelected)
            selected << element;
    }
    return selected;
}
template <typename Collection, typename Block>
typename Collection::value_type firstMatchIn(const Collection &collection, Block &block) {
    const NSEnumeration enumeration(collection);
    for (const auto &element : enumeration.elements()) {
        const bool isHit = block(element);
        enumeration.verify();
        if (isHit)
            return element;
    }
    return {};
}

/// The number of elements.
template <typename T>
qsizetype len(const QList<T> &array) {
    return array.size();
}

/// The element at the index; nil if the index is not below the count. A negative index is a huge one.
template <typename T>
T at(const QList<T> &array, quint64 index) {
    return index < quint64(array.size()) ? array.at(qsizetype(index)) : T();
}

/// The first element, nil for an empty array.
template <typename T>
T first(const QList<T> &array) {
    return array.isEmpty() ? T() : array.constFirst();
}

/// The last element, nil for an empty array.
template <typename T>
T last(const QList<T> &array) {
    return array.isEmpty() ? T() : array.constLast();
}

/// The range that sliceFrom() means in an array of so many elements; raises NSRangeException.
struct SliceRange {
    qsizetype location = 0;
    qsizetype length = 0;
};
SliceRange sliceRange(qsizetype count, qint64 from, qint64 to);

/// The elements from `from` up to, not including, `to`. Both count from the end when negative, and 0 as `to`
/// means the end. Raises NSRangeException if that begins before the first element and asks for more than
/// there are, and if it begins behind the end with `to` larger still; the slices of strings don't.
template <typename T>
QList<T> sliceFrom(const QList<T> &array, qint64 from, qint64 to) {
    const SliceRange range = sliceRange(array.size(), from, to);
    return array.mid(range.location, range.length);
}

/// The elements' descriptions with the separator between them; the empty string for an empty array.
QString join(const AnyArray &array, const AnyText &separator);

/// The attributed strings of an array with the separator between them. Raises NSInvalidArgumentException for
/// an element that is no attributed string.
NSMutableAttributedString joinAttributedStrings(const AnyArray &array, const NSAttributedString &separator);

/// The block's results in order, those that are nil left out.
template <typename T, typename Block>
QVariantList zrMap(const QList<T> &array, Block block) {
    QVariantList results;
    const NSEnumeration enumeration(array);
    for (const T &element : enumeration.elements()) {
        QVariant result = blockResult(block(element));
        enumeration.verify();
        if (!NSIsNil(result))
            results.append(std::move(result));
    }
    return results;
}

/// The elements for which the block answers true.
template <typename T, typename Block>
QList<T> zrSelect(const QList<T> &array, Block block) {
    return selectedFrom(array, block);
}

/// The same as zrSelect().
template <typename T, typename Block>
QList<T> zrFilter(const QList<T> &array, Block block) {
    return zrSelect(array, std::move(block));
}

/// The first element for which the block answers true, with no further call; nil if there is none.
template <typename T, typename Block>
T zrMatch(const QList<T> &array, Block block) {
    return firstMatchIn(array, block);
}

/// The same as zrMatch().
template <typename T, typename Block>
T zrAny(const QList<T> &array, Block block) {
    return zrMatch(array, std::move(block));
}

/// The accumulator after all elements: `block(accumulator, element)` makes the next from the one before, the
/// first of which is `initial`. Its type is one that holds both `initial` and what the block gives: a double
/// for a start of 0 and a block of doubles.
template <typename T, typename Initial, typename Block>
auto zrReduce(const QList<T> &array, Initial initial, Block block) {
    using Accumulator = std::common_type_t<Initial, std::invoke_result_t<Block &, Initial, const T &>>;
    Accumulator accumulator = std::move(initial);
    const NSEnumeration enumeration(array);
    for (const T &element : enumeration.elements()) {
        accumulator = block(std::move(accumulator), element);
        enumeration.verify();
    }
    return accumulator;
}

/// A sorted copy: `block(a, b)` answers whether a comes before b. Elements of which neither comes before the
/// other stay in their order.
template <typename T, typename Block>
QList<T> zrSorted(const QList<T> &array, Block block) {
    const NSEnumeration enumeration(array);
    QList<T> elements = enumeration.elements();
    NSStableSort(elements, [&](const T &a, const T &b) {
        const int order = block(a, b) ? -1 : block(b, a) ? 1 : 0;
        enumeration.verify();
        return order;
    });
    return elements;
}

/// A copy sorted by the elements' "compare:", see NSObjectRuntime::compare(); equal elements stay in their
/// order. Raises NSInvalidArgumentException for elements that have no order.
QVariantList sorted(const AnyArray &array);

/// A copy sorted by the elements' values for the key, in DESCENDING order: the largest first. Equal ones stay
/// in their order, elements without a value come last.
QVariantList zrSortBy(const AnyArray &array, const AnyText &key);

/// What zrGroupBy() calls its block with.
std::vector<QVariantList> groupsByValue(const AnyArray &array, const AnyText &keyPath);

/// The results, without those that are nil, of the block over arrays of the elements that have the same value
/// for the key path (see NSObjectRuntime::isEqual()), in the order in which the values first appear. Elements
/// whose value is nil are in none of them.
template <typename T, typename Block>
QVariantList zrGroupBy(const QList<T> &array, const AnyText &keyPath, Block block) {
    QVariantList results;
    const NSEnumeration enumeration(array);
    for (const QVariantList &group : groupsByValue(enumeration.elements(), keyPath)) {
        QVariant result = blockResult(block(group));
        enumeration.verify();
        if (!NSIsNil(result))
            results.append(std::move(result));
    }
    return results;
}

/// The elements, each once.
NSSet set(const AnyArray &array);
/// The same as set(): every set is one that can be changed.
NSSet mutableSet(const AnyArray &array);

/// A copy in which each array, at any depth, is a QVariantList and each dictionary a QVariantMap; nothing if
/// it holds anything that a property list can't: nil, the null marker, sets, URLs, objects.
std::optional<QVariantList> deepMutableCopy(const AnyArray &array);

} // namespace ZRKit
