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

/// A reference to another object by number, as keyed archives hold them.
struct NSPropertyListUID {
    quint64 value = 0;
    friend bool operator==(NSPropertyListUID, NSPropertyListUID) = default;
};
Q_DECLARE_METATYPE(NSPropertyListUID)

/// Property lists: trees of plain values as bytes.
///
/// | Value                          | Written from                | Read as                               |
/// |--------------------------------|-----------------------------|---------------------------------------|
/// | string                         | QString                     | QString                               |
/// | data                           | QByteArray                  | QByteArray                            |
/// | date                           | QDateTime                   | QDateTime in UTC                      |
/// | integer                        | integer types               | qlonglong, above its range qulonglong |
/// | real                           | float, double               | double                                |
/// | boolean                        | bool                        | bool                                  |
/// | array                          | QVariantList, QStringList   | QVariantList; ordered sets too        |
/// | dictionary                     | QVariantMap, QVariantHash   | QVariantMap                           |
/// | set                            | QSet<QVariant>              | QSet<QVariant>                        |
/// | reference                      | NSPropertyListUID           | NSPropertyListUID                     |
/// | null marker (binary form only) | NSNull()                    | NSNull()                              |
///
/// nil (typed or not) has no place in a property list. Dates keep whole milliseconds. Strings are UTF-16 as they stand,
/// surrogates without a partner included. Any thread may call all functions.
///
/// What is read is untrusted: bounds, depth (512 levels), cycles and sizes (4 million values) are checked, and every
/// fault ends in an exception.
class NSPropertyList {
public:
    /// The value in the binary form ("bplist00"). Equal strings and numbers are stored once, and so are data
    /// and long strings that share their bytes. Raises NSPropertyListWriteInvalidError for any other kind of
    /// value.
    static QByteArray dataFromPropertyList(const QVariant &value);

    /// The value of a binary or XML property list. Raises NSPropertyListReadCorruptError for other bytes.
    static QVariant propertyListFromData(const QByteArray &data);
};
