// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QVariantMap>

/// HTTP header fields as servers write them (RFC 9110), read leniently. Plain functions; any thread.
namespace zr::HTTPHeaderFields {

/// Each word's first letter as a capital, the others small: "content-TYPE" is "Content-Type".
QString canonicalName(QByteArrayView name);
/// Reads the bytes as UTF-8, or as ISO 8859-1 if they aren't UTF-8.
QString text(QByteArrayView bytes);

/// Whether two names are the same field's: case doesn't count.
bool isSameName(const QString &a, const QString &b);
/// nil if the field isn't there. Case doesn't count in names.
QString value(const QVariantMap &fields, const QString &name);
/// The content type without its parameters in small letters, and its charset parameter; nil if absent.
QString mediaType(const QVariantMap &fields);
QString characterSet(const QVariantMap &fields);
/// The announced length; -1 if there is none, it is no number, or a transfer encoding overrules it.
qint64 bodyLength(const QVariantMap &fields);

/// One way to authenticate that a server offers (RFC 9110, section 11).
struct Challenge {
    QString scheme;         ///< in small letters
    QVariantMap parameters; ///< names in small letters
    QString parameter(const char *name) const {
        return parameters.value(QString::fromLatin1(name)).toString();
    }
};
/// What WWW-Authenticate fields hold, in their order.
QList<Challenge> challenges(const QString &authenticate);

/// A text that can stand as a field's value in a request: without the bytes that would end it.
QByteArray safeValue(const QString &value);
/// Whether a request may use it as a name: whether it is a token.
bool isToken(const QString &name);

} // namespace zr::HTTPHeaderFields
