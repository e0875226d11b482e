// SPDX-License-Identifier: MIT
#pragma once

#include <QVariantList>
#include <QVariantMap>
#include <utility>

class QObject;

namespace zr {

/// What a value is to the platform, whatever C++ type holds it.
enum class ValueKind {
    Nil,        ///< NSIsNil()
    Null,       ///< the null marker
    Number,     ///< any arithmetic type, bool and enumerations
    Decimal,    ///< NSDecimalNumber
    String,     ///< QString
    Data,       ///< QByteArray
    Date,       ///< QDateTime
    URL,        ///< QUrl
    Array,      ///< QVariantList, QStringList and whatever else converts to QVariantList
    Dictionary, ///< QVariantMap, QVariantHash and whatever else converts to QVariantMap
    Set,        ///< NSSet
    Object,     ///< a QObject, by plain or by smart pointer
    Gadget,     ///< a value of a class with a meta-object
    Other,      ///< anything else
};

/// The kind of a value; any thread. A QJsonValue is an array, a dictionary, the null marker or nil as what it
/// holds; numbers and texts in one are Other until plain() takes them out.
ValueKind kindOf(const QVariant &value);

/// Whether it is nil or the null marker.
inline bool isAbsent(const QVariant &value) {
    const ValueKind kind = kindOf(value);
    return kind == ValueKind::Nil || kind == ValueKind::Null;
}

/// The value, or what a QJsonValue holds, which is then made in `made`.
const QVariant &plain(const QVariant &value, QVariant &made);

/// Whether a type is one of C++'s arithmetic types, bool included, or an enumeration.
bool isArithmetic(QMetaType type);

/// What the variant holds, without a copy. The variant must hold exactly a T.
template <typename T>
const T &held(const QVariant &value) {
    return *static_cast<const T *>(value.constData());
}

/// The elements of an array, or of a set in no particular order; empty for any other kind.
QVariantList arrayOf(const QVariant &value);
/// The entries of a dictionary; empty for any other kind.
QVariantMap dictionaryOf(const QVariant &value);

/// The number of elements of an array or set, or of entries of a dictionary; 0 for any other kind.
qsizetype countOf(const QVariant &collection);
/// An array's element, without a copy of the array; nullptr out of range and for any other kind. An element
/// that isn't stored as a value is made in `made`.
const QVariant *elementOf(const QVariant &array, qint64 index, QVariant &made);
/// A dictionary's value for the key, without a copy of the dictionary; nullptr if there is none, for a null
/// key and for any other kind.
const QVariant *entryOf(const QVariant &dictionary, const QString &key, QVariant &made);

using DictionaryEntries = QList<std::pair<QString, QVariant>>;
/// The entries of a dictionary in its own order, which is that of the keys unless its class has another;
/// empty for any other kind.
DictionaryEntries entriesOf(const QVariant &value);

/// How a registered class is looked into where it is.
struct DictionaryAccess {
    const void *dictionary = nullptr;
    qsizetype (*count)(const void *dictionary) = nullptr;
    const QVariant *(*find)(const void *dictionary, const QString &key) = nullptr;
};

/// Makes a class count as a dictionary wherever values are looked at. It has begin() and end() over its
/// entries, whose iterators have key() and value(), insert(key, value), size() and find(key), which gives a
/// pointer to the value or nullptr; if it has a description(), that is its text. Call it once for each class.
template <typename Dictionary>
bool registerDictionaryType() {
    bool done = QMetaType::registerConverter<Dictionary, QVariantMap>([](const Dictionary &dictionary) {
        QVariantMap map;
        for (auto at = dictionary.begin(); at != dictionary.end(); ++at)
            map.insert(at.key(), at.value());
        return map;
    });
    done &= QMetaType::registerConverter<Dictionary, DictionaryEntries>([](const Dictionary &dictionary) {
        DictionaryEntries entries;
        for (auto at = dictionary.begin(); at != dictionary.end(); ++at)
            entries.append({at.key(), at.value()});
        return entries;
    });
    done &= QMetaType::registerConverter<DictionaryEntries, Dictionary>([](const DictionaryEntries &entries) {
        Dictionary dictionary;
        for (const auto &[key, value] : entries)
            dictionary.insert(key, value);
        return dictionary;
    });
    done &= QMetaType::registerConverter<Dictionary, DictionaryAccess>([](const Dictionary &dictionary) {
        return DictionaryAccess{
            &dictionary,
            [](const void *at) { return qsizetype(static_cast<const Dictionary *>(at)->size()); },
            [](const void *at, const QString &key) {
                return static_cast<const Dictionary *>(at)->find(key);
            }};
    });
    if constexpr (requires(const Dictionary &dictionary) { dictionary.description(); })
        done &= QMetaType::registerConverter<Dictionary, QString>(&Dictionary::description);
    return done;
}

/// The object that a value points to; nullptr for any other kind.
QObject *objectOf(const QVariant &value);

} // namespace zr
