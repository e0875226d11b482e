// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSRange.h"
#include "platform/text/NSAttributedString.h"
#include "platform/text/NSCharacterSet.h"
#include "platform/text/NSRegularExpression.h"

#include <QString>
#include <QUrl>
#include <QVariant>
#include <QVariantMap>

class ZRCollection;

/// The kit's short vocabulary on strings. Lengths, indexes and characters are UTF-16 code units; white space
/// is what NSIsWhitespaceOrNewline() says. Asked of nil, a null QString, every operation gives the neutral
/// value of its result: nil, false, 0 or no pieces. So nil is neither blank nor empty, while "" is both. Any
/// thread, without exception.
namespace ZRKit {

// Tests

/// True where nothing but white space is in the text; false for nil.
bool isBlank(const QString &text);
/// The same as isBlank().
bool empty(const QString &text);
/// Whether the part occurs in the text, unit by unit. Nothing and nil never occur.
bool contains(const QString &text, const QString &part);
/// True where the object is a string equal to the text; false for anything else, nil included.
bool eq(const QString &text, const QVariant &object);
/// True where there is an "@" or a "." in the text; one of them is enough.
bool isValidEmail(const QString &text);
qint64 len(const QString &text);
/// From 0 over the whole length.
NSRange range(const QString &text);

// Transformations

/// The text itself, or the default where the text is blank.
QString stringValueWithDefault(const QString &text, const QString &defaultValue);
/// Unicode's full case mapping, independent of the locale.
QString lower(const QString &text);
QString upper(const QString &text);
/// The text without white space at both ends, at its start, at its end.
QString strip(const QString &text);
QString lstrip(const QString &text);
QString rstrip(const QString &text);
/// The text without the leading (trailing) characters of the set. Raises NSInvalidArgumentException for a nil
/// set.
QString stringByLTrimmingCharactersInSet(const QString &text, const NSCharacterSet &set);
QString stringByRTrimmingCharactersInSet(const QString &text, const NSCharacterSet &set);
/// The pieces between runs of white space, without empty ones.
QVariantList split(const QString &text);
/// The pieces between the separators, empty ones too. Without a separator (nil or "") the text is the only
/// piece.
QVariantList splitBy(const QString &text, const QString &separator);
/// Runs of white space made one space each, none at the ends.
QString collapse(const QString &text);
/// Without any white space.
QString stripAllBlanks(const QString &text);
/// The units from one index to before another. Negative ones count from the end, and 0 as `to` is the end of
/// the text; "" where nothing lies between.
QString sliceFrom(const QString &text, qint64 from, qint64 to);
/// Every occurrence of the search text, from the start on, replaced by toString() of the replacement. The
/// text itself where the search is nil or "", or the replacement is nil.
QString replace(const QString &text, const QString &search, const QVariant &replacement);
QString replace(const QString &text, const QString &search, const QString &replacement);
/// Every match of the expression replaced by what the template makes of it, see NSRegularExpression. nil for
/// a nil expression.
QString replaceRegEx(const QString &text, const NSRegularExpression &expression, const QString &withTemplate);
/// HTML's "&amp;", "&lt;", "&gt;" and "&quot;" for their characters; the apostrophe stays.
QString escape(const QString &text);
/// escape(), and "<br/>" for each line feed.
QString escapeWithBreakLine(const QString &text);
/// The text in double quotes, for logs and literals: backslash, double quote and everything below U+0020
/// escaped with a backslash, as \b \t \n \f \r or \uXXXX. An apostrophe is escaped too, but only in a text
/// that has one of those.
QString repr(const QString &text);

/// The host of the text read as a URL, every "www." removed; in lower case, as hosts are compared (RFC 3986).
/// The text itself where it is no URL or has no host.
QString humanizeURL(const QString &text);
/// A path and one more component with one "/" between them. Repeated slashes become one, and none stays at
/// the end.
QString joinPath(const QString &path, const QString &component);

// Encoding and queries

/// The text's UTF-8 bytes, all but ASCII letters, digits and "-_.~" as "%XX" with upper-case digits (RFC
/// 3986). A surrogate without a partner counts as U+FFFD.
QString urlEncode(const QString &text);
/// The same of any object's text: nothing of nil and the null marker, data read as UTF-8 (nothing of what
/// isn't), a URL in its encoded form, anything else by its stringValue or description. Never nil.
QString urlEncode(const QVariant &object);
/// "key=value" for each entry in the order of the keys, joined by "&"; urlEncode() of the key and of the
/// value's toString(). "" for no entries.
QString queryStringWithDictionary(const QVariantMap &dictionary);
QString queryStringWithDictionary(const ZRCollection &dictionary);
/// The text, "?" (or "&" where it has a "?" already), and the dictionary's entries in its own order, written
/// as queryStringWithDictionary() does. No entries leave the lone "?" or "&".
QString addQuery(const QString &text, const QVariantMap &dictionary);
QString addQuery(const QString &text, const ZRCollection &dictionary);
/// The entries of a query string. Keys stay as they are; in values "%XX" is decoded as UTF-8, and "+" is not
/// a space. What follows a second "=" is ignored, and a later value replaces an earlier one. Raises
/// NSRangeException for a piece without "=" (so for "" too), NSInvalidArgumentException for a value whose
/// escapes are wrong or not UTF-8.
QVariantMap parseQuery(const QString &text);
/// The text in UTF-8; nil where a surrogate has no partner.
QByteArray data(const QString &text);
/// The text of data in UTF-8; nil where it is not valid.
QString stringWithData(const QByteArray &data);
/// The text as a URL or relative reference; nil (an empty, invalid URL) where RFC 3986 doesn't allow it, as
/// with spaces and with anything that is not ASCII.
QUrl URL(const QString &text);

// Files and the network; nil, or false, on any failure. These block, fetch() for the whole download.

/// What the text's URL (http, https, file or data) refers to, read as UTF-8, see NSDataWithContentsOfURL().
QString fetch(const QString &text);
/// The file at the path, read as UTF-8.
QString loadFile(const QString &path);
/// The file at the path that the text is, read as UTF-8, or as Latin 1 where it isn't.
QString loadAsString(const QString &text);
/// Writes the text as UTF-8 to the file of a file URL or of a path, whole or not at all. False where the
/// target is anything else, where it can't be written, and for a text with a surrogate that has no partner.
bool saveToFile(const QString &text, const QVariant &file);

// Attributed strings; the empty one for nil

NSMutableAttributedString attributedString(const QString &text);
/// With the attributes over the whole text.
NSMutableAttributedString attributedStringWithAttributes(const QString &text, const QVariantMap &attributes);

// Identifiers

/// A new random UUID in its text form: 36 characters, upper-case hexadecimal in groups of 8-4-4-4-12.
QString uuid();
/// A new random UUID's bytes as 32 lower-case hexadecimal digits.
QString uuidShort();
/// A new random UUID's bytes in Base64 without padding, "_" for "/" and "-" for "+": 22 characters.
QString uuidBase64();

// Edit distance

/// How many units must at least be inserted, removed or replaced to turn the text into the other one; -1
/// where one of them is empty, and where the other is nil. Exact for texts of any length, see
/// NSEditDistance().
qint64 computeLevenshteinDistanceWithString(const QString &text, const QString &other);
/// The distance divided by the mean of both lengths; 1 where the distance is -1.
double computeLevenshteinDistanceQuotientWithString(const QString &text, const QString &other);

} // namespace ZRKit
