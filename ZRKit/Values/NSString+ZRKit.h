// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyObject.h"
#include "platform/base/NSRange.h"
#include "platform/text/NSAttributedString.h"
#include "platform/text/NSCharacterSet.h"
#include "platform/text/NSRegularExpression.h"

#include <QString>
#include <QUrl>
#include <QVariant>
#include <QVariantMap>

class ZRCollection;

/// The kit's short vocabulary on strings. Texts are given as QString, as literals (u"...") or as views. Lengths,
/// indexes and characters are UTF-16 code units; white space is what NSIsWhitespaceOrNewline() says. Asked of
/// nil, a null QString, every operation gives the neutral value of its result: nil, false, 0 or no pieces. So nil
/// is neither blank nor empty, while "" is both. Any thread.
namespace ZRKit {

// Tests

/// True if there is nothing but white space in the text; false for nil.
bool isBlank(const AnyText &text);
/// The same as isBlank().
bool empty(const AnyText &text);
/// Whether the part occurs in the text, unit by unit. Nothing and nil never occur.
bool contains(const AnyText &text, const AnyText &part);
/// True if the object is a string equal to the text; false for anything else, nil included.
bool eq(const AnyText &text, const AnyObject &object);
/// True if there is an "@" or a "." in the text; one of them is enough.
bool isValidEmail(const AnyText &text);
qint64 len(const AnyText &text);
/// From 0 over the whole length.
NSRange range(const AnyText &text);

// Transformations

/// The text itself, or the default if the text is blank.
QString stringValueWithDefault(const AnyText &text, const AnyText &defaultValue);
/// Unicode's full case mapping in the C locale, with a sigma at a word's end as the final one.
QString lower(const AnyText &text);
QString upper(const AnyText &text);
/// The text without white space at both ends, at its start, at its end.
QString strip(const AnyText &text);
QString lstrip(const AnyText &text);
QString rstrip(const AnyText &text);
/// The text without the leading (trailing) characters of the set. Raises NSInvalidArgumentException for a nil
/// set.
QString stringByLTrimmingCharactersInSet(const AnyText &text, const NSCharacterSet &set);
QString stringByRTrimmingCharactersInSet(const AnyText &text, const NSCharacterSet &set);
/// The pieces between runs of white space, without empty ones.
QVariantList split(const AnyText &text);
/// The pieces between the separators, empty ones too. Without a separator (nil or "") the text is the only
/// piece.
QVariantList splitBy(const AnyText &text, const AnyText &separator);
/// Runs of white space made one space each, none at the ends.
QString collapse(const AnyText &text);
/// Without any white space.
QString stripAllBlanks(const AnyText &text);
/// The units from one index to before another. Negative ones count from the end, and 0 as `to` is the end of
/// the text; "" if nothing lies between.
QString sliceFrom(const AnyText &text, qint64 from, qint64 to);
/// Every occurrence of the search text, from the start on, replaced by toString() of the replacement; a character
/// is a text, not a number. The text itself if the search is nil or "", or the replacement is nil.
QString replace(const AnyText &text, const AnyText &search, const AnyObject &replacement);
/// Every match of the expression replaced by what the template makes of it, see NSRegularExpression: the text
/// itself if the search is given up. nil for a nil expression.
QString replaceRegEx(const AnyText &text, const NSRegularExpression &expression, const AnyText &withTemplate);
/// HTML's "&amp;", "&lt;", "&gt;" and "&quot;" for their characters; the apostrophe stays.
QString escape(const AnyText &text);
/// escape(), and "<br/>" for each line feed.
QString escapeWithBreakLine(const AnyText &text);
/// The text in double quotes, for logs and literals: backslash, double quote and everything below U+0020
/// escaped with a backslash, as \b \t \n \f \r or \uXXXX. An apostrophe is escaped too, but only in a text
/// that has one of those.
QString repr(const AnyText &text);

/// The host of the text read as a URL, every "www." removed; in lower case, as hosts are compared (RFC 3986).
/// The text itself if it is no URL or has no host.
QString humanizeURL(const AnyText &text);
/// A path and one more component with one "/" between them. Repeated slashes become one, and none stays at
/// the end.
QString joinPath(const AnyText &path, const AnyText &component);

// Encoding and queries

/// The object's text in UTF-8, all bytes but ASCII letters, digits and "-_.~" as "%XX" with upper-case digits (RFC
/// 3986). A surrogate without a partner counts as U+FFFD. A string is its own text, data is read as UTF-8 ("" for
/// other data), a URL is taken in its encoded form, anything else by its stringValue or description. "" for nil and
/// the null marker, but nil for a nil QString.
QString urlEncode(const AnyObject &object);
template <std::same_as<QString> String>
QString urlEncode(const String &text) {
    return text.isNull() ? QString() : urlEncode(AnyObject(text));
}
/// "key=value" for each entry in the order of the keys, joined by "&"; urlEncode() of the key and of the
/// value's toString(). "" for no entries.
QString queryStringWithDictionary(const QVariantMap &dictionary);
QString queryStringWithDictionary(const ZRCollection &dictionary);
/// The text, "?" (or "&" if it has a "?" already), and the dictionary's entries in its own order, written
/// as queryStringWithDictionary() does. No entries leave the lone "?" or "&".
QString addQuery(const AnyText &text, const QVariantMap &dictionary);
QString addQuery(const AnyText &text, const ZRCollection &dictionary);
/// The entries of a query string. Keys stay as they are; in values "%XX" is decoded as UTF-8, and "+" is not
/// a space. What follows a second "=" is ignored, and a later value replaces an earlier one. Raises
/// NSRangeException for a piece without "=" (so for "" too), NSInvalidArgumentException for a value whose
/// escapes are wrong or not UTF-8.
QVariantMap parseQuery(const AnyText &text);
/// The text in UTF-8; nil if a surrogate has no partner.
QByteArray data(const AnyText &text);
/// The text of data in UTF-8; nil if it is not valid.
QString stringWithData(const QByteArray &data);
/// The text as a URL or relative reference; nil (an empty, invalid URL) for a text with spaces, with anything that
/// is not ASCII, or that Qt's strict reader refuses otherwise.
QUrl URL(const AnyText &text);

// Files and the network; nil, or false, on any failure. These block, fetch() for the whole download: not on a thread
// that has to stay responsive.

/// What the text's URL (http, https, file or data) refers to, read as UTF-8, see NSDataWithContentsOfURL().
QString fetch(const AnyText &text);
/// The file at the path, read as UTF-8.
QString loadFile(const AnyText &path);
/// The file at the path that the text is, read as UTF-8, or as Latin 1 if it isn't.
QString loadAsString(const AnyText &text);
/// Writes the text as UTF-8 to the file of a file URL or of a path, whole or not at all. False if the target is
/// anything else or can't be written, and for a text with a surrogate that has no partner.
bool saveToFile(const AnyText &text, const AnyObject &file);

// Attributed strings; the empty one for nil

NSMutableAttributedString attributedString(const AnyText &text);
/// With the attributes over the whole text.
NSMutableAttributedString attributedStringWithAttributes(const AnyText &text, const QVariantMap &attributes);

// Identifiers

/// A new random UUID in its text form: 36 characters, upper-case hexadecimal in groups of 8-4-4-4-12.
QString uuid();
/// A new random UUID's bytes as 32 lower-case hexadecimal digits.
QString uuidShort();
/// A new random UUID's bytes in Base64 without padding, "_" for "/" and "-" for "+": 22 characters.
QString uuidBase64();

// Edit distance

/// How many UTF-16 units must at least be inserted, removed or replaced to turn the text into the other one; -1 if
/// one of them is empty or the other is nil. Takes time proportional to the product of the lengths.
qint64 computeLevenshteinDistanceWithString(const AnyText &text, const AnyText &other);
/// The distance divided by the mean of both lengths; 1 if the distance is -1.
double computeLevenshteinDistanceQuotientWithString(const AnyText &text, const AnyText &other);

} // namespace ZRKit
