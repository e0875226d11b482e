// SPDX-License-Identifier: MIT
#pragma once

#include <QVariantList>
#include <QVariantMap>
#include <utility>

class QObject;

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

/// The kind of a value; any thread.
ValueKind kindOf(const QVariant &value);

/// What the variant holds, without a copy. The variant must hold exactly a T.
template <typename T>
const T &held(const QVariant &value) {
    return *static_cast<const T *>(value.constData());
}

/// The elements of an array, or of a set in no particular order; empty for any other kind.
QVariantList arrayOf(const QVariant &value);
/// The entries of a dictionary; empty for any other kind.
QVariantMap dictionaryOf(const QVariant &value);

using DictionaryEntries = QList<std::pair<QString, QVariant>>;
/// The entries of a dictionary in its own order, which is that of the keys unless its class has another;
/// empty for any other kind.
DictionaryEntries entriesOf(const QVariant &value);

/// Makes a class count as a dictionary wherever values are looked at. It has begin() and end() over its
/// entries, whose iterators have key() and value(), and insert(key, value); if it has a description(), that
/// is its text. Call it once for each class.
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
    if constexpr (requires(const Dictionary &dictionary) { dictionary.description(); })
        done &= QMetaType::registerConverter<Dictionary, QString>(&Dictionary::description);
    return done;
}

/// The object that a value points to; nullptr for any other kind.
QObject *objectOf(const QVariant &value);
