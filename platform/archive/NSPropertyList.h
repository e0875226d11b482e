// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSException.h"
#include "platform/values/NSSet.h"

#include <QByteArray>
#include <QMetaType>
#include <QVariant>

/// Name of the exception for bytes that are no valid property list.
inline const QString NSPropertyListReadCorruptError = QStringLiteral("NSPropertyListReadCorruptError");
/// Name of the exception for values that a property list cannot hold.
inline const QString NSPropertyListWriteInvalidError = QStringLiteral("NSPropertyListWriteInvalidError");

/// A reference to another object by number; property lists hold them where they carry keyed archives.
struct NSPropertyListUID {
    quint64 value = 0;
    friend bool operator==(NSPropertyListUID, NSPropertyListUID) = default;
};
Q_DECLARE_METATYPE(NSPropertyListUID)

/// Property lists: trees of plain values as bytes.
///
/// | Value                                  | Written from                     | Read as              |
/// |----------------------------------------|----------------------------------|----------------------|
/// | string, data, date                     | QString, QByteArray, QDateTime   | the same, dates UTC  |
/// | integer, real, boolean                 | arithmetic types, bool           | qlonglong, or qulonglong
/// above its range; double; bool | | array, dictionary, set                 | QVariantList and QStringList,
/// QVariantMap and QVariantHash, QSet<QVariant> | QVariantList, QVariantMap, QSet<QVariant>; ordered sets as
/// QVariantList | | reference                              | NSPropertyListUID                | the same | |
/// null marker (binary form only)         | NSNull()                         | the same             |
///
/// nil (typed or not) has no place in a property list. Dates keep whole milliseconds. Strings are UTF-16 as
/// they stand. All functions may be called from any thread.
///
/// What is read is untrusted: bounds, depth, cycles and sizes are checked (see DecodingBudget.h for the
/// limits), and every fault ends in an exception.
class NSPropertyList {
public:
    /// The value in the binary form ("bplist00"). Equal strings and numbers are stored once, and so are data
    /// and long strings that share their bytes. Throws NSPropertyListWriteInvalidError for any other kind of
    /// value.
    static QByteArray dataFromPropertyList(const QVariant &value);

    /// The value of a binary or XML property list. Throws NSPropertyListReadCorruptError.
    static QVariant propertyListFromData(const QByteArray &data);
};
