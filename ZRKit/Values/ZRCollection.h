// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSRange.h"

#include <QLocale>
#include <QMetaType>
#include <QStringList>
#include <QVariantHash>
#include <QVariantMap>
#include <initializer_list>
#include <optional>
#include <utility>

/// A dictionary that keeps its entries in the order in which their keys first came.
///
/// Copies are independent, and ordered too. Look-ups take one hash; removing keys takes a walk over the
/// order. Walks over a collection that changes meanwhile raise NSGenericException. One thread at a time.
class ZRCollection {
public:
    class const_iterator;

    ZRCollection() = default;
    /// Empty, with room for so many entries; a number below 0 counts as 0.
    explicit ZRCollection(qsizetype capacity);
    /// The entries in the order given; of equal keys the later object wins, in the first one's place.
    ZRCollection(std::initializer_list<std::pair<QString, QVariant>> entries);

    /// A copy starts with no changes counted; the receiver of an assignment counts one.
    ZRCollection(const ZRCollection &other) : m_dictionary(other.m_dictionary), m_array(other.m_array) {}
    ZRCollection &operator=(const ZRCollection &other);
    ~ZRCollection() = default;

    /// The objects by key.
    const QVariantHash &dictionary() const { return m_dictionary; }
    /// The keys in their order, each once.
    const QStringList &array() const { return m_array; }

    qsizetype count() const { return m_array.size(); }
    /// The object for the key, nil if there is none.
    QVariant objectForKey(const QString &key) const {
        const QVariant *object = find(key);
        return object ? *object : QVariant();
    }
    /// The same without a copy, nullptr if there is none. Valid until the collection changes.
    const QVariant *find(const QString &key) const;
    /// Stores the object; a new key goes to the end, one that is there keeps its place. Raises
    /// NSInvalidArgumentException if the object or the key is nil.
    void setObject(const QVariant &object, const QString &key);
    /// Removes the entry; nothing happens if there is none.
    void removeObjectForKey(const QString &key);
    /// Removes an entry that is there for the key, then inserts this one at the position. Raises
    /// NSRangeException, with nothing removed, if the position is then behind the end;
    /// NSInvalidArgumentException for nil.
    void insertObject(const QVariant &object, const QString &key, qsizetype index);

    /// The key's position, NSNotFound if there is none.
    qsizetype indexOfKey(const QString &key) const;
    /// The key at the position; raises NSRangeException.
    QString keyAtIndex(qsizetype index) const;
    /// The object whose key is at the position; raises NSRangeException.
    QVariant objectAtIndex(qsizetype index) const;

    /// Walks over keys, one nextObject() after the other, until that is null. Raises NSGenericException when
    /// the collection has changed since the walk began; lives no longer than the collection.
    class KeyEnumerator {
    public:
        /// The next key, null behind the last one.
        QString nextObject();
        /// All keys that are still to come.
        QStringList allObjects();

    private:
        friend class ZRCollection;
        KeyEnumerator(const ZRCollection &collection, bool isReverse);
        const ZRCollection *m_collection;
        quint64 m_mutations;
        qsizetype m_next;
        int m_step;
    };
    /// The keys in insertion order.
    KeyEnumerator keyEnumerator() const { return {*this, false}; }
    /// The keys in reverse insertion order.
    KeyEnumerator reverseKeyEnumerator() const { return {*this, true}; }

    /// A copy, which can be changed and is ordered too.
    ZRCollection copy() const { return *this; }

    QStringList allKeys() const { return m_array; }
    /// The objects in the order of their keys.
    QVariantList allValues() const;
    void removeAllObjects();
    void removeObjectsForKeys(const QStringList &keys);
    /// setObject() for each entry, in the order of the dictionary's keys.
    void addEntriesFromDictionary(const QVariantMap &other);
    void addEntriesFromDictionary(const ZRCollection &other);

    /// The nested description: a line for each entry between braces, indented by four spaces a level.
    QString descriptionWithLocale(const QLocale &locale, int level = 0) const;
    /// descriptionWithLocale() of the C locale at level 0.
    QString description() const;

    /// Equal keys with equal objects, whatever the order, as dictionaries compare.
    friend bool operator==(const ZRCollection &a, const ZRCollection &b) {
        return a.m_dictionary == b.m_dictionary;
    }

    // The names that Qt's dictionaries have for the same.
    qsizetype size() const { return count(); }
    bool isEmpty() const { return m_array.isEmpty(); }
    bool contains(const QString &key) const { return find(key); }
    QVariant value(const QString &key) const { return objectForKey(key); }
    void insert(const QString &key, const QVariant &object) { setObject(object, key); }
    QVariantMap toVariantMap() const;
    /// The entries in order; the iterators raise as enumerators do.
    const_iterator begin() const;
    const_iterator end() const;
    const_iterator cbegin() const;
    const_iterator cend() const;

    /// Counts the changes made to this very collection.
    quint64 mutationCount() const { return m_mutations; }

private:
    QVariantHash m_dictionary;
    QStringList m_array;
    quint64 m_mutations = 0;
};

/// A place in the order of a ZRCollection.
class ZRCollection::const_iterator {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::pair<QString, QVariant>;
    using difference_type = qptrdiff;
    using pointer = void;
    using reference = value_type;

    QString key() const;
    QVariant value() const;
    /// Key and object.
    value_type operator*() const { return {key(), value()}; }
    const_iterator &operator++();
    friend bool operator==(const const_iterator &a, const const_iterator &b) {
        return a.m_index == b.m_index;
    }

private:
    friend class ZRCollection;
    const_iterator(const ZRCollection &collection, qsizetype index)
        : m_collection(&collection), m_mutations(collection.m_mutations), m_index(index) {}
    void verify() const;

    const ZRCollection *m_collection;
    quint64 m_mutations;
    qsizetype m_index;
};

inline ZRCollection::const_iterator ZRCollection::begin() const {
    return {*this, 0};
}
inline ZRCollection::const_iterator ZRCollection::end() const {
    return {*this, count()};
}
inline ZRCollection::const_iterator ZRCollection::cbegin() const {
    return begin();
}
inline ZRCollection::const_iterator ZRCollection::cend() const {
    return end();
}

namespace ZRKit {

/// The text of an object inside a nested description: a string as it is; a collection, or an object that has
/// "descriptionWithLocale:indent:" or "descriptionWithLocale:", as that says; a number with the locale's
/// decimal separator; an array, dictionary or set indented by the level; anything else by its description.
QString DescriptionForObject(const QVariant &object, const QLocale &locale, int level);

std::optional<QVariantMap> deepMutableCopy(const ZRCollection &collection);

} // namespace ZRKit

Q_DECLARE_METATYPE(ZRCollection)
