// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSException.h"

#include <QByteArray>
#include <QVariant>

/// Name of the exception for bytes that are no archive, and for archives of unknown classes.
inline const QString NSInvalidUnarchiveOperationException =
    QStringLiteral("NSInvalidUnarchiveOperationException");

/// Reads keyed archives, binary or XML, of ours and of other writers.
///
/// | In the archive                                     | Value                                             |
/// |----------------------------------------------------|---------------------------------------------------|
/// | plain string; NSString, NSMutableString            | QString                                           |
/// | plain data; NSData, NSMutableData                  | QByteArray                                        |
/// | plain boolean                                      | bool                                              |
/// | plain integer                                      | qlonglong, above its range qulonglong             |
/// | plain real                                         | double                                            |
/// | NSNumber                                           | what it holds: bool, integer or double            |
/// | NSDate; plain date                                 | QDateTime (UTC, rounded to the millisecond)       |
/// | NSNull                                             | NSNull()                                          |
/// | NSURL                                              | QUrl, resolved against its base                   |
/// | NSUUID                                             | QUuid                                             |
/// | NSArray, NSMutableArray                            | QVariantList                                      |
/// | NSSet, NSMutableSet                                | QSet<QVariant>                                    |
/// | NSDictionary, NSMutableDictionary with string keys | QVariantMap                                       |
/// | NSError; NSDecimalNumber                           | NSError; NSDecimalNumber                          |
/// | the null object                                    | nil: an invalid QVariant                          |
///
/// An object that is used in several places is decoded once, and the values share their storage.
///
/// Archives are untrusted: bounds, depth (512 levels), cycles, sizes (4 million values) and classes are checked, and
/// every fault ends in an exception. Any thread.
class NSKeyedUnarchiver {
public:
    /// The value under "root". Raises NSInvalidUnarchiveOperationException for bytes that are no such archive, for
    /// empty data, for other classes (the reason names them) and for dictionaries with keys that are no strings.
    static QVariant unarchiveObjectWithData(const QByteArray &data);
};
