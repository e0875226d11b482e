// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyObject.h"
#include "platform/values/NSInvocation.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NSSelector.h"

#include <QByteArray>
#include <QDateTime>
#include <QStringList>
#include <QVariant>
#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace ZRKit {

// Reading loosely typed values. The receiver may be any value; each kind has one conversion, everything else
// gives the neutral value (false, 0, nil), and so does nil. A QJsonValue counts as what it holds. Any thread.

/// A number: whether it isn't zero. A string: whether, after white space, one sign and zeros, there is one of
/// Y, y, T, t or a digit from 1 to 9, so that "YES", "true" and "1" are true. (Unlike isTrue().)
bool toBool(const QVariant &receiver);

/// A number towards zero, saturating if a floating-point number or decimal is too large (an unsigned integer
/// keeps its 64 bits); the integer that a string begins with, saturating.
qint64 toInt(const QVariant &receiver);
qint64 toLong(const QVariant &receiver);
qint64 toLongLong(const QVariant &receiver);
/// The same without a sign: negative integers keep their 64 bits, and strings are read as strtoull() does.
quint64 toUnsignedLongLong(const QVariant &receiver);

/// A number, the number that a string begins with, or a date's seconds since 1970-01-01 UTC.
float toFloat(const QVariant &receiver);
double toDouble(const QVariant &receiver);

/// A string itself; the empty string for the null marker; data decoded as UTF-8, nil if it isn't valid;
/// otherwise the value's stringValue or, if it has none, its description; the empty string if it has neither.
QString toString(const QVariant &receiver);
/// toString(); nil if that is empty.
QString toStringNotEmpty(const QVariant &receiver);
/// A string, a stringValue or a description, as toString() finds them for other kinds; the default if that is
/// empty. Data and the null marker are described here, not decoded.
QString stringDefault(const QVariant &receiver, const AnyText &defaultString);

/// Data itself; empty data for the null marker; anything else toString() as UTF-8, in which a surrogate
/// without a partner is U+FFFD.
QByteArray toData(const QVariant &receiver);

/// A date itself; a string with "-" or ":" in it by dateFromHumanString(), any other string and a number as
/// seconds since 1970; nil for anything else and if the text can't be read.
QDateTime toDate(const QVariant &receiver);

/// Whether a number isn't zero, a URL isn't empty, or the count or length of anything that has one (strings,
/// data, containers, objects that declare one) isn't 0; true for all other values, false for the null marker.
/// The string "0" is true here.
bool isTrue(const QVariant &receiver);
/// False for the null marker and for nil.
bool isNotNull(const QVariant &receiver);
/// The value, nil for the null marker.
QVariant nilOrObject(const QVariant &receiver);
/// nilOrObject() by its other name.
QVariant zrNil(const QVariant &receiver);
/// Whether a string, array or dictionary isn't empty. Raises NSInvalidArgumentException for values that have
/// no `len`.
bool isNotEmpty(const QVariant &receiver);

/// The value's hash as 32 lower-case hexadecimal digits, of which the first 16 are zeros.
QString hashHexWith32Digits(const QVariant &receiver);
/// The name of the value's class, without namespaces.
QString className(const QVariant &receiver);

// Access that tolerates the wrong kind of container.

/// The keys of a dictionary, nil of anything else.
std::optional<QVariantList> zrKeys(const QVariant &receiver);
/// The values of a dictionary in the order of its keys, an array itself, nil of anything else.
std::optional<QVariantList> zrValues(const QVariant &receiver);
/// nil for a dictionary. Any other value is sent `objectForKey`, and the null marker in its answer reads as
/// nil. Raises NSInvalidArgumentException if the value doesn't respond to it.
QVariant zrKey(const QVariant &receiver, const AnyText &key);
/// A dictionary's value for the key, the default if it is missing or the null marker; nil for anything else.
QVariant zrKey(const QVariant &receiver, const AnyText &key, const AnyObject &defaultValue);
/// The first value that isn't nil or the null marker among a dictionary's values for the keys, which end with
/// the list or its first nil key; nil for anything else.
QVariant zrKeys(const QVariant &receiver, const QStringList &keys);
/// Whether a dictionary has a value for the key, be it the null marker.
bool zrHas(const QVariant &receiver, const AnyText &key);
/// An array's element; nil if the index is out of range, for the null marker and for anything but an array.
QVariant zrAt(const QVariant &receiver, qint64 index);

// Paths: components separated by "/". One is a dictionary's key, an array's index, or "*" or "?" for the
// first element of an array from which the rest of the path leads somewhere. Empty components are skipped, so
// the empty path is the receiver itself.

/// The value at the path, which may be the null marker; nil if the path leads nowhere. The flag
/// changes nothing.
QVariant valueAtPath(const QVariant &receiver, const AnyText &path);
inline QVariant path(const QVariant &receiver, const AnyText &path, std::same_as<bool> auto /*quiet*/) {
    return valueAtPath(receiver, path);
}
/// The same with the null marker read as nil.
QVariant path(const QVariant &receiver, const AnyText &path);
/// The same with a default for nil.
QVariant path(const QVariant &receiver, const AnyText &path, const AnyObject &defaultValue);
/// The first path() that isn't nil over paths that end with the list or its first nil.
QVariant paths(const QVariant &receiver, const QStringList &paths);
/// toStringNotEmpty() of the value at the path.
QString stringAtPath(const QVariant &receiver, const AnyText &path);

/// Appends a line for the value, and for whatever it holds, to the lines (to a new list for nullptr), and
/// returns them:
/// - `/a = {1}` for a dictionary of 1 entry;
/// - `/a = [2]` for an array of 2 elements;
/// - `/a = "text"` for a string, line feeds as \n;
/// - `/a = description` for anything else.
QStringList dump(const QVariant &receiver, const QVariant &value, const AnyText &path, QStringList *result);
/// The lines of the receiver, joined by line feeds.
QString dump(const QVariant &receiver);
/// Does nothing.
void dumpToLog(const QVariant &receiver);

// Objects at run time. What a receiver responds to is what its meta-object declares: see NSObjectRuntime.

/// The names of the methods that the receiver's class itself declares, in their order; none for values
/// without a class of their own.
QStringList methodsArray(const AnyObject &receiver);
QStringList methodsArray(const QMetaObject &metaObject);

/// The selector of the name without "-", "." and "/", of any length; nil for nullptr.
NSSelector selectorByCName(const AnyObject &receiver, const char *name);
/// Sends the message that selectorByCName() names, with the object as its first argument if it takes any
/// (further ones are nil), and gives the result; nil if the receiver doesn't respond. A value as receiver
/// doesn't change. Raises as NSObjectRuntime::perform().
QVariant performByCName(const AnyObject &receiver, const char *name, const AnyObject &object);
/// The message that selectorByCName() names, to be sent later; std::nullopt if the receiver doesn't respond.
std::optional<NSInvocation> invocationByCName(const AnyObject &receiver, const char *name);

/// A new object of the class, whose `setDelegate` has been given the delegate if it has one.
template <std::derived_from<QObject> Class>
std::unique_ptr<Class> newWithDelegate(const AnyObject &delegate) {
    auto object = std::make_unique<Class>();
    const QVariant receiver = QVariant::fromValue<QObject *>(object.get());
    if (const NSSelector selector("setDelegate:"); NSObjectRuntime::respondsTo(receiver, selector))
        NSObjectRuntime::perform(receiver, selector, {delegate.value()});
    return object;
}

/// Whether key-value coding can set the key: the receiver responds to "set<Key>:", or its class itself
/// declares a writable property named "_<key>", "_is<Key>", "<key>" or "is<Key>". The latter counts only if
/// the class information "accessInstanceVariablesDirectly" (Q_CLASSINFO) isn't "NO". Raises NSRangeException
/// for the empty key.
bool canSetValueForKey(const AnyObject &receiver, const AnyText &key);
/// The same for keys joined by points: each of them on the value of the one before it. False if such a value
/// is nil.
bool canSetValueForKeyPath(const AnyObject &receiver, const AnyText &keyPath);

/// What interface attributes stand for. Calls the block of the first entry whose text, or one of whose texts
/// in an array, equals the key without a leading "IB" and then "$", in lower case. The block may change the
/// table.
using IBKeyTable = std::vector<std::pair<QVariant, std::function<void()>>>;
void handleIBKey(const AnyObject &receiver, const AnyText &key, const IBKeyTable &table);

// Notifications of the default center; the receiver must be an object.

/// Sends the receiver the message whenever anybody posts the name.
void addObserverName(QObject *receiver, const AnyText &name, const NSSelector &selector);
/// Posts the name with the receiver as its sender.
void postNotificationName(const AnyObject &receiver, const AnyText &name);
/// Removes all of the receiver's registrations.
void removeAllObservers(QObject *receiver);

// Blocks for the main queue. They run once, whatever becomes of the receiver; all return at once, on any
// thread.

/// Runs the block after the delay in seconds, of which whole nanoseconds count.
void performAfterDelay(const AnyObject &receiver, double seconds, std::function<void()> block);
void performBlock(const AnyObject &receiver, std::function<void()> block, double afterDelay);
/// Runs the block after 10 ms, so that what waits to be drawn is drawn first.
void performBlockAfterUIRefresh(const AnyObject &receiver, std::function<void()> block);
/// Adds the block to the main operation queue.
void performBlockOnMainThread(const AnyObject &receiver, std::function<void()> block);

// Values attached to an object by key, in one dictionary. They are released with the object.

/// All of them; nil if there never were any.
QVariant associatedValues(const QObject *receiver);
/// Attaches a copy of the dictionary, which keeps its class and order, in place of all of them. Anything but
/// a dictionary fails an assertion, which is logged, and is attached all the same: nil as no dictionary, a
/// value that has no mutable copy (a number, a date ...) by raising NSInvalidArgumentException.
void setAssociatedValues(QObject *receiver, const QVariant &associatedValues);
/// The value for the key, nil if there is none. Raises NSInvalidArgumentException if what is attached isn't a
/// dictionary.
QVariant associatedObjectForKey(const QObject *receiver, const AnyText &key);
/// Attaches a value. The object's lock (NSObjectLock) is held only while the dictionary is looked up or made.
/// Raises NSInvalidArgumentException for nil as the object or the key, and if what is attached isn't a
/// dictionary.
void setAssociatedObject(QObject *receiver, const AnyObject &object, const AnyText &key);

} // namespace ZRKit
