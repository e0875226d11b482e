// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/base/NSException.h"

#include <QByteArray>
#include <QVariant>

/// How JSON is read; or'ed together.
enum NSJSONReadingOption : quint64 {
    NSJSONReadingMutableContainers = 1 << 0, ///< without meaning here: containers are values
    NSJSONReadingMutableLeaves = 1 << 1,     ///< without meaning here: so are strings
    NSJSONReadingFragmentsAllowed = 1 << 2,  ///< any value may stand at the top, not only an object or array
};
using NSJSONReadingOptions = quint64;

/// How JSON is written; or'ed together.
enum NSJSONWritingOption : quint64 {
    NSJSONWritingPrettyPrinted = 1 << 0, ///< a line for each member and element, two spaces a level
    NSJSONWritingSortedKeys = 1 << 1,    ///< by UTF-16 units; a QVariantMap's keys are so anyway
    NSJSONWritingFragmentsAllowed = 1 << 2,
    NSJSONWritingWithoutEscapingSlashes = 1 << 3, ///< "/" instead of "\/"
};
using NSJSONWritingOptions = quint64;

/// JSON (RFC 8259) to values and back, in UTF-8. Any thread.
///
/// object ↔ QVariantMap, array ↔ QVariantList, string ↔ QString, true and false ↔ bool, null ↔ the null
/// marker. An integer of the signed 64-bit range is a qlonglong, one above it and within the unsigned range a
/// qulonglong; every other number, and -0, is the nearest double.
namespace NSJSONSerialization {

/// How deep arrays and objects may lie in one another, in both directions.
inline constexpr int MaximumDepth = 512;

/// The value of a JSON text. nil if the text isn't JSON; `error` then says why and where (NSCocoaErrorDomain,
/// 3840).
///
/// Strict: no comments, no trailing commas, no other number forms. Besides what RFC 8259 forbids these are
/// refused: invalid UTF-8, escapes that make half a surrogate pair, numbers and exponents beyond those of a
/// double, more depth than MaximumDepth. A byte-order mark is skipped. Of members with one name the last counts.
QVariant JSONObjectWithData(const QByteArray &data, NSJSONReadingOptions options = 0,
                            NSError *error = nullptr);

/// The JSON text of an array or dictionary. Whatever else counts as one, such as a QStringList or a QVariantHash,
/// is written as one, a dictionary in its own order.
///
/// Numbers are written as the shortest text that reads back as the same number of their type, decimals exactly.
/// Whole numbers have no exponent up to the largest that a double holds exactly.
/// \throws NSException NSInvalidArgumentException for what JSON can't hold: other types, nil, numbers that are
/// not finite, strings with half a surrogate pair, keys that are not strings, more depth than MaximumDepth, and
/// anything but an array or dictionary at the top (unless NSJSONWritingFragmentsAllowed)
QByteArray dataWithJSONObject(const QVariant &object, NSJSONWritingOptions options = 0);

/// Whether dataWithJSONObject() writes the object.
bool isValidJSONObject(const QVariant &object);

} // namespace NSJSONSerialization
