// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSSelector.h"

#include <QStringList>
#include <QVariant>
#include <optional>

enum NSComparisonResult : int {
    NSOrderedAscending = -1,
    NSOrderedSame = 0,
    NSOrderedDescending = 1,
};

/// What can be asked of any value, and of objects by the names that their meta-objects declare: invokable
/// methods and slots by their name and number of parameters, properties by their name, and writable ones by
/// "setName:". Any thread; an object must not be used by another one meanwhile.
namespace NSObjectRuntime {

/// The name of the value's class without namespaces: of an object's or gadget's meta-object, "NSNull" for the
/// null marker, otherwise of the C++ type; nil for nil.
QString className(const QVariant &value);

/// Equality across the C++ types of one kind:
/// - numbers, enumerators and decimals by their value, exactly, so 2^53 + 1 isn't 2^53 as a double; a double
///   that isn't whole counts as the decimal of its shortest text; not-a-number equals itself;
/// - arrays, dictionaries and sets by what they hold;
/// - objects if they are the same one, or as their own "isEqual:" says;
/// - a QJsonValue as what it holds.
/// nil equals nil only, the null marker itself only. Different kinds are never equal.
bool isEqual(const QVariant &a, const QVariant &b);

/// A hash in step with isEqual(); an object's own "hash" if it has one.
size_t hash(const QVariant &value);

/// The order of two values of one kind: numbers and decimals by value (not-a-number first), strings by their
/// UTF-16 units, dates by time; objects that declare "compare:" are asked. nil comes before everything.
/// Raises NSInvalidArgumentException if there is no order.
NSComparisonResult compare(const QVariant &a, const QVariant &b);

/// The value's text, for people and logs. The form is stable:
/// - nil "(null)", the null marker "<null>", strings as they are, numbers as stringValue() gives them;
/// - data "<00112233 44>", dates "2014-01-02 10:20:30 +0000" (UTC), URLs and errors their text;
/// - arrays "(", one element a line, each indented by four spaces and followed by a comma but the last, ")";
///   sets the same between "{(" and ")}" in the order of the elements' texts; dictionaries "{", lines "key =
///   value;" in the dictionary's own order, which is that of the keys unless its class has another, "}" (a
///   dictionary type registered with a text of its own has that); empty ones "()", "{()}" and "{}". Strings
///   inside containers stand in double quotes, with \" \\ \n \r \t escaped;
/// - objects what their "description" gives, or "<Class: 0x1234>";
/// - points "{1, 2}", sizes "{3, 4}", rectangles "{{1, 2}, {3, 4}}", UUIDs upper-case, other types what Qt
///   makes of them.
QString description(const QVariant &value);
/// The same with each line of a container, the first one too, indented by so many levels of four spaces; any
/// other value's text as it is.
QString description(const QVariant &value, int level);
/// The text that a value has inside a container whose lines are indented by so many levels: a string in
/// quotes, nested lines indented further.
QString descriptionInside(const QVariant &value, int level);

/// True for numbers, decimals, strings, and objects that declare "stringValue".
bool hasStringValue(const QVariant &value);
/// The text of a number (integers in decimal, bool as 1 and 0, others by the shortest digits that read back
/// as the same number), a decimal, a string, or what an object's own "stringValue" gives; nil for any other
/// value.
QString stringValue(const QVariant &value);

/// The nearest double of a number, a decimal, the number that a string begins with, a date's seconds since
/// 1970, or an object's own "doubleValue"; 0 for anything else.
double doubleValue(const QVariant &value);

/// Whether a message of this name can be sent to the value. Only objects and gadgets respond to any.
bool respondsTo(const QVariant &receiver, const NSSelector &selector);

/// What the value answers to a message without arguments; std::nullopt if it doesn't respond.
std::optional<QVariant> answer(const QVariant &receiver, const char *name);

/// Sends a message and gives its result (nil for void and for a nil receiver). Arguments are converted to the
/// parameters' types, nil to a default value. A gadget is a value: the message goes to a copy. Raises
/// NSInvalidArgumentException if the receiver doesn't respond, if the number of arguments differs, or if one
/// of them doesn't convert.
QVariant perform(const QVariant &receiver, const NSSelector &selector, const QVariantList &arguments = {});
/// The same with the object as the first argument if the message takes any; further ones are nil.
QVariant performWithObject(const QVariant &receiver, const NSSelector &selector, const QVariant &object);

/// The value as a parameter or property of that type takes it; an invalid variant if there is no conversion.
/// Numbers, decimals and strings become numbers as the kit's toInt(), toDouble() and toBool() have it (1.9 is
/// 1, "no" is false), and an enumerator by its number or name; numbers become strings by stringValue(); all
/// else converts as Qt has it. nil and, if the type can't hold it, the null marker become a default value.
QVariant converted(const QVariant &value, QMetaType type);

/// The names, as selectors, of the methods that the class itself declares, in the order of their declaration.
/// Those of its superclasses, signals and constructors are left out.
QStringList methodNames(const QMetaObject &metaObject);
/// The names of the properties that the class itself declares, in the order of their declaration.
QStringList propertyNames(const QMetaObject &metaObject);

/// Raises NSInvalidArgumentException: the receiver doesn't know the message.
[[noreturn]] void raiseUnrecognized(const QVariant &receiver, const NSSelector &selector);

} // namespace NSObjectRuntime
