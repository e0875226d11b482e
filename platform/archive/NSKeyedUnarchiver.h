// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSException.h"

#include <QByteArray>
#include <QVariant>

/// Name of the exception for bytes that are no archive, or not one of known classes.
inline const QString NSInvalidUnarchiveOperationException =
    QStringLiteral("NSInvalidUnarchiveOperationException");

/// Reads keyed archives, binary or XML, of ours and of other writers.
///
/// | In the archive                                                         | Value          |
/// |------------------------------------------------------------------------|----------------|
/// | plain string; NSString, NSMutableString                                 | QString        |
/// | plain data; NSData, NSMutableData                                       | QByteArray     |
/// | plain boolean; plain integer; plain real; NSNumber                      | bool; qlonglong, or qulonglong
/// above its range; double | | NSDate; plain date                                                      |
/// QDateTime (UTC, rounded to the millisecond) | | NSNull | NSNull()       | | NSURL; NSUUID | QUrl (resolved
/// against its base); QUuid | | NSArray, NSMutableArray                                                 |
/// QVariantList   | | NSSet, NSMutableSet                                                     |
/// QSet<QVariant> | | NSDictionary, NSMutableDictionary with string keys                      | QVariantMap |
/// | NSError; NSDecimalNumber                                                | NSError; NSDecimalNumber |
/// | the null object                                                         | nil: an invalid QVariant |
///
/// An object that is used in several places is decoded once, and the values share their storage.
///
/// Archives are untrusted: bounds, depth, cycles, sizes and classes are checked (see DecodingBudget.h for the
/// limits), and every fault ends in an exception. Any thread.
class NSKeyedUnarchiver {
public:
    /// The value under "root". Throws NSInvalidUnarchiveOperationException, also for empty data, for other
    /// classes (named in the reason) and for dictionaries with keys that are not strings.
    static QVariant unarchiveObjectWithData(const QByteArray &data);
};
