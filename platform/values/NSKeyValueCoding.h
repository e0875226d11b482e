// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

/// Raised for a key that the receiver doesn't have. The user info holds the key under
/// "NSUnknownUserInfoKey".
inline const QString NSUndefinedKeyException = QStringLiteral("NSUnknownKeyException");

/// Reading and writing by key on any value. Everything runs on the caller's thread, which must own what it
/// reads.
namespace NSKeyValueCoding {

/// The receiver's value for the key; nil for a nil receiver.
/// - Dictionary: the entry; "@count" is the number of entries.
/// - Array: an array with the value of each element, the null marker for one that is nil. Set: a set of the
///   values that aren't nil. "@count" is the number of elements.
/// - Object, gadget: the method or property <key>, get<Key>, is<Key> or _<key>, in that order, or an object's
///   dynamic property; then an object's own valueForUndefinedKey().
/// - Any value but dictionaries, arrays and sets has "self", "description", "className" and "hash"; strings
///   and data have "length"; strings "uppercaseString" and "lowercaseString"; strings, numbers and decimals
///   "stringValue", "boolValue", "intValue", "integerValue", "longLongValue", "doubleValue" and "floatValue";
///   URLs "absoluteString", "scheme", "host", "path" and "query"; dates "timeIntervalSince1970".
/// Raises NSUndefinedKeyException for any other key.
QVariant valueForKey(const QVariant &receiver, const QString &key);
inline QVariant valueForKey(QObject *receiver, const QString &key) {
    return valueForKey(QVariant::fromValue(receiver), key);
}

/// The value at the end of keys joined by points, nil as soon as one is nil. On an array or set a key that
/// begins with "@" is an operator over the values of the rest of the path, taken from each element:
/// - @count: the number of elements; the rest, if any, is ignored.
/// - @sum, @avg: nil and the null marker count as 0; 0 for no elements. Sums of integers are integers if they
///   fit, sums with decimals are decimals, all others, and averages without decimals, are doubles.
/// - @min, @max: by NSObjectRuntime::compare(), without nil and null markers; nil if nothing is left.
/// - @unionOfObjects, @distinctUnionOfObjects: the values that aren't nil, each once in the latter, in the
///   order of their first appearance. The latter of a set is a set.
/// - @unionOfArrays, @unionOfSets, @distinctUnionOfArrays, @distinctUnionOfSets: the same over the elements
///   of the arrays or sets that are the receiver's elements; the last gives a set.
/// Raises NSInvalidArgumentException for other operators and for a missing rest, otherwise as valueForKey().
QVariant valueForKeyPath(const QVariant &receiver, const QString &keyPath);
inline QVariant valueForKeyPath(QObject *receiver, const QString &keyPath) {
    return valueForKeyPath(QVariant::fromValue(receiver), keyPath);
}

/// Sets the receiver's value for the key; nothing for a nil receiver.
/// - Dictionary: stores the value, nil removes the entry. Array, set: sets the key of each element.
/// - Object, gadget: calls set<Key>, or writes the property _<key>, is<Key> or _is<Key>, or an object's
///   existing dynamic property; then an object's own setValue(value, forUndefinedKey). Values are converted
///   as NSObjectRuntime::converted() has it. nil for a number goes to the object's own
///   setNilValueForKey(key).
/// Raises NSUndefinedKeyException for any other key or value, NSInvalidArgumentException for nil as a number
/// and for a value that the property can't take.
void setValueForKey(QVariant &receiver, const QVariant &value, const QString &key);
inline void setValueForKey(QObject *receiver, const QVariant &value, const QString &key) {
    QVariant object = QVariant::fromValue(receiver);
    setValueForKey(object, value, key);
}

/// Sets the value at the end of keys joined by points. Nothing happens if a value on the way is nil.
void setValueForKeyPath(QVariant &receiver, const QVariant &value, const QString &keyPath);
inline void setValueForKeyPath(QObject *receiver, const QVariant &value, const QString &keyPath) {
    QVariant object = QVariant::fromValue(receiver);
    setValueForKeyPath(object, value, keyPath);
}

} // namespace NSKeyValueCoding
