// SPDX-License-Identifier: MIT
#pragma once

#include <QVariantList>
#include <QVariantMap>

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
/// The object that a value points to; nullptr for any other kind.
QObject *objectOf(const QVariant &value);
