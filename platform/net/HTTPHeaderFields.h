// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QVariantMap>

/// HTTP header fields as servers write them (RFC 9110), read leniently. Plain functions; any thread.
namespace HTTPHeaderFields {

/// The head of one response, line by line.
struct Head {
    qint64 statusCode = 0;
    /// As NSHTTPURLResponse gives them.
    QVariantMap fields;
    /// Each Set-Cookie line by itself: joined, their commas would be ambiguous.
    QList<QString> cookies;

    /// Takes a status line and drops what there was; false if it isn't one.
    bool begin(QByteArrayView line);
    /// Takes a field's line, with or without its end; lines without a name are skipped.
    void add(QByteArrayView line);
};

/// Each word's first letter as a capital, the others small: "content-TYPE" is "Content-Type".
QString canonicalName(QByteArrayView name);
/// UTF-8 where the bytes are, else ISO 8859-1.
QString text(QByteArrayView bytes);

/// Whether two names are the same field's: case doesn't count.
bool isSameName(const QString &a, const QString &b);
/// nil where the field isn't there. Case doesn't count in names.
QString value(const QVariantMap &fields, const QString &name);
/// The content type without its parameters in small letters, and its charset parameter; nil where absent.
QString mediaType(const QVariantMap &fields);
QString characterSet(const QVariantMap &fields);
/// The announced length; -1 where there is none, it is no number, or it is overruled by a transfer encoding.
qint64 bodyLength(const QVariantMap &fields);

/// One way to authenticate that a server offers (RFC 9110, section 11).
struct Challenge {
    QString scheme;         ///< in small letters
    QVariantMap parameters; ///< names in small letters
};
/// What WWW-Authenticate fields hold, in their order.
QList<Challenge> challenges(const QString &authenticate);

/// A text that can stand as a field's value in a request: without the bytes that would end it.
QByteArray safeValue(const QString &value);
/// Whether it is a name that a request may use (a token).
bool isToken(const QString &name);

} // namespace HTTPHeaderFields
