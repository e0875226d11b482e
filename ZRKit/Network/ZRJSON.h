// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyText.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

/// Every value's short way into and out of JSON text (RFC 8259). Any thread.
///
/// What is read and written, and how, is NSJSONSerialization's: arrays and dictionaries only at the top. A
/// ZRCollection is written in its own order.
namespace ZRKit {

/// The value of a JSON text; nil if it isn't one.
QVariant fromJSON(const AnyText &string);
/// The value of a JSON text in UTF-8; nil if it isn't one.
QVariant fromJSONData(const QByteArray &data);

/// What JSON can hold of a value. A dictionary gives a new one, an array a new one, each with the jsonObject() of
/// what it holds, to any depth; a date the text of its whole Unix seconds, rounded down; a decimal its exact text;
/// anything else itself.
/// \throws NSException NSInvalidArgumentException for a dictionary with keys that are not strings
QVariant jsonObject(const QVariant &receiver);

/// The value as compact JSON text; nil for nil.
/// \throws NSException NSInvalidArgumentException for what JSON can't hold; convert dates and decimals that are to
/// be texts with jsonObject() first
QByteArray toJSONData(const QVariant &receiver);
/// The same as a string.
QString toJSON(const QVariant &receiver);
/// The same over indented lines.
QString toJSONPretty(const QVariant &receiver);

} // namespace ZRKit
