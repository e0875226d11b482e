// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>
#include <QString>
#include <optional>
#include <vector>

/// One entity of a MIME message (RFC 2045): its header fields that matter to web pages, and its decoded body
/// or its parts.
struct WebMIMEPart {
    QByteArray type;                          ///< "text/html" in lower case; "text/plain" where none is given
    QHash<QByteArray, QByteArray> parameters; ///< of the content type, names in lower case
    QByteArray contentID;                     ///< without its angle brackets
    QByteArray location;                      ///< Content-Location (RFC 2557), unfolded and decoded
    QByteArray base;                          ///< Content-Base
    QByteArray body;                          ///< decoded; empty for an entity of several parts
    std::vector<WebMIMEPart> parts;

    bool isMultipart() const { return type.startsWith("multipart/"); }
};

/// Reads MIME messages: multiparts within multiparts, quoted-printable and base64, folded header fields,
/// encoded words and extended parameters, lines ending in LF or CRLF, and a missing last boundary.
class WebMIMEMessage {
public:
    /// Reads a whole message; nothing where it is none or beyond the limits of depth and number of parts.
    static std::optional<WebMIMEPart> messageWithData(const QByteArray &data);

    static QByteArray decodeQuotedPrintable(QByteArrayView body);
    static QByteArray decodeBase64(QByteArrayView body);
    /// Text of a header field with its encoded words (RFC 2047) decoded, as UTF-8.
    static QByteArray decodeEncodedWords(QByteArrayView text);
};
