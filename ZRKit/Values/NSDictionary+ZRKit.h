// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/NSArray+ZRKit.h"
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "platform/base/NSException.h"
#include "platform/values/NSEnumeration.h"
#include "platform/values/NSNull.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <concepts>
#include <optional>
#include <utility>

/// Dictionaries: QVariantMap, and whatever else answers like one (QVariantHash, ZRCollection). Keys are
/// strings. Any thread; blocks are called on the caller's.
namespace ZRKit {

/// Anything that answers value(key) like a dictionary.
template <typename T>
concept DictionaryLike = requires(const T &dictionary, const QString &k) {
    { dictionary.value(k) } -> std::convertible_to<QVariant>;
};

/// A dictionary whose entries can be counted and walked over.
template <typename T>
concept WholeDictionary = DictionaryLike<T> && requires(const T &dictionary) {
    { dictionary.size() } -> std::convertible_to<qsizetype>;
    { dictionary.cbegin().key() } -> std::convertible_to<QString>;
    { dictionary.cbegin().value() } -> std::convertible_to<QVariant>;
};

/// A dictionary that can be changed.
template <typename T>
concept MutableDictionary = DictionaryLike<T> &&
    requires(T &dictionary, const QString &k, const QVariant &v) {
    dictionary.insert(k, v);
};

/// The number of entries.
template <WholeDictionary Dictionary>
qsizetype len(const Dictionary &dictionary) {
    return dictionary.size();
}

/// The value for the key; nil if it is missing or the null marker, if the look-up raises, and for a nil key.
/// Empty values are values.
template <DictionaryLike Dictionary>
QVariant key(const Dictionary &dictionary, const AnyText &k) {
    if (k.isNull())
        return {};
    try {
        QVariant value = dictionary.value(k);
        return NSIsNull(value) ? QVariant() : value;
    } catch (...) {
        return {};
    }
}

/// key(), or the default if that is nil.
template <DictionaryLike Dictionary>
QVariant key(const Dictionary &dictionary, const AnyText &k, const AnyObject &defaultValue) {
    QVariant value = key(dictionary, k);
    return NSIsNil(value) ? defaultValue.value() : value;
}

/// The first key() that is not nil, over the keys in order; a null string ends the list. nil for an empty
/// list.
template <DictionaryLike Dictionary>
QVariant keys(const Dictionary &dictionary, const QStringList &list) {
    for (const QString &k : list) {
        if (k.isNull())
            break;
        QVariant value = key(dictionary, k);
        if (!NSIsNil(value))
            return value;
    }
    return {};
}

/// Whether there is an object for the key; the null marker is one.
template <DictionaryLike Dictionary>
bool has(const Dictionary &dictionary, const AnyText &k) {
    return !k.isNull() && !NSIsNil(dictionary.value(k));
}

/// The receiver's entries with the other's over them: of equal keys the other's wins.
template <WholeDictionary Dictionary, WholeDictionary Other = QVariantMap>
Dictionary mergeDict(const Dictionary &dictionary,
                     const Other &other) requires MutableDictionary<Dictionary> {
    Dictionary merged = dictionary;
    for (auto it = other.cbegin(); it != other.cend(); ++it)
        merged.insert(it.key(), it.value());
    return merged;
}

/// The same, just a copy for nil.
template <WholeDictionary Dictionary, WholeDictionary Other>
Dictionary mergeDict(const Dictionary &dictionary,
                     const std::optional<Other> &other) requires MutableDictionary<Dictionary> {
    return other ? mergeDict(dictionary, *other) : dictionary;
}

/// The block's results over all entries, `block(key, object)`, in the order of the keys, without those that
/// are nil.
template <WholeDictionary Dictionary, typename Block>
QVariantList zrFlatten(const Dictionary &dictionary, Block block) {
    QVariantList results;
    const NSEnumeration enumeration(dictionary);
    const Dictionary &entries = enumeration.elements();
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        QVariant result = blockResult(block(it.key(), it.value()));
        enumeration.verify();
        if (!NSIsNil(result))
            results.append(std::move(result));
    }
    return results;
}

/// Sets the object's properties to the receiver's values that aren't nil, by key-value coding: the properties
/// that its class itself declares, not its superclasses, the last declared first. Single values become the
/// property's type as toBool(), toInt(), toDouble(), toString(), toData() and toDate() have it.
void mapValuesToObject(const QVariantMap &dictionary, QObject *object);
/// The same for a dictionary of another type.
template <WholeDictionary Dictionary>
void mapValuesToObject(const Dictionary &dictionary, QObject *object) {
    mapValuesToObject(mergeDict(QVariantMap(), dictionary), object);
}

/// The values, by name, of the properties that the object's class itself declares, without those that a keyed
/// archive doesn't take; nothing if it declares none, and for nil.
std::optional<QVariantMap> dictionaryWithValuesOfObject(const QObject *object);

/// A copy as deepMutableCopy() of arrays makes it.
std::optional<QVariantMap> deepMutableCopy(const QVariantMap &dictionary);

/// Adds 1 to the number for the key, as toInt() reads it (0 if it is absent), stores the sum and gives it.
/// Raises NSInvalidArgumentException for a nil key.
template <MutableDictionary Dictionary>
qint64 incrementCounterForKey(Dictionary &dictionary, const AnyText &k) {
    if (k.isNull())
        throw NSException(NSInvalidArgumentException, QStringLiteral("The key of a counter can't be nil."));
    // Past the largest number it wraps, as the platform's integers do.
    const auto sum = qint64(quint64(toInt(key(dictionary, k))) + 1);
    dictionary.insert(k, sum);
    return sum;
}

/// Stores the first argument as the object under the second as the key, if neither is nil.
template <MutableDictionary Dictionary>
void keySet(Dictionary &dictionary, const AnyObject &first, const AnyText &second) {
    if (!first.isNil() && !second.isNull())
        dictionary.insert(second, first.value());
}

/// A dictionary of the pairs, key first, which may be written in braces or made at run time, without those
/// whose object is nil or the null marker; of equal keys the later pair wins. Kept in a variable that isn't
/// const, it can be changed. Raises NSInvalidArgumentException for an object whose key is nil.
QVariantMap ZRDictionaryWithKeysAndObjectsSkipNil(const QList<std::pair<QString, QVariant>> &keysAndObjects);

} // namespace ZRKit
