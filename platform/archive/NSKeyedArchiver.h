// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSException.h"

#include <QByteArray>
#include <QVariant>

/// Name of the exception for values that cannot be archived.
inline const QString NSInvalidArchiveOperationException =
    QStringLiteral("NSInvalidArchiveOperationException");

/// Keyed archives: a tree of values as a binary property list that keeps classes and sharing.
///
/// | Value                                   | Archived as                                 |
/// |-----------------------------------------|---------------------------------------------|
/// | QString, QByteArray                     | plain string, plain data                    |
/// | bool; integer types; double; float      | plain boolean, integer, real (8 or 4 bytes) |
/// | QDateTime                               | NSDate, to the millisecond                  |
/// | NSNull()                                | NSNull                                      |
/// | QUrl, QUuid                             | NSURL, NSUUID                               |
/// | QVariantList, QStringList               | NSArray                                     |
/// | QSet<QVariant>                          | NSSet                                       |
/// | QVariantMap, QVariantHash               | NSDictionary                                |
/// | NSError, NSDecimalNumber                | the classes of these names                  |
/// | nil, typed or not, anywhere in the tree | the archive's null object                   |
///
/// Equal short strings and numbers are stored once, and so is what shares its storage (a list used in two
/// places). Trees of more than 4 million values are archived, but NSKeyedUnarchiver refuses them. URLs are archived in
/// their encoded form. Any thread.
class NSKeyedArchiver {
public:
    /// The archive of a value. Raises NSInvalidArchiveOperationException for any other kind of value (the reason names
    /// its type), for invalid URLs, dates out of range, and trees deeper than 512 levels.
    static QByteArray archivedDataWithRootObject(const QVariant &root);
};
