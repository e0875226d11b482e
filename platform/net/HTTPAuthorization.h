// SPDX-License-Identifier: MIT
#pragma once

#include "platform/net/HTTPHeaderFields.h"

#include <QByteArray>
#include <QString>

/// What a request says in its Authorization field. Plain functions; any thread.
namespace HTTPAuthorization {

/// RFC 7617, in UTF-8.
QByteArray basic(const QString &user, const QString &password);

/// What a Digest answer is made out for.
struct Request {
    QByteArray method;
    QByteArray target; ///< path and query, as they are sent
    QByteArray body;
};

/// Whether digest() can answer the challenge.
bool canDigest(const HTTPHeaderFields::Challenge &challenge);

/// The answer to a Digest challenge (RFC 7616): MD5, SHA-256, SHA-512-256 and their "-sess" forms, with
/// "auth", "auth-int" or none. nil where it can't be answered. \param clientNonce  new for each answer
QByteArray digest(const HTTPHeaderFields::Challenge &challenge, const QString &user, const QString &password,
                  const Request &request, const QByteArray &clientNonce);

} // namespace HTTPAuthorization
