// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>
#include <optional>
#include <vector>

namespace zr {

/// One entity of a MIME message (RFC 2045): its header fields that matter to web pages, and its decoded
/// body or its parts.
struct WebMIMEPart {
    QByteArray type;                          ///< "text/html" in lower case; "text/plain" if none is given
    bool isTyped = false;                     ///< whether one is given
    QHash<QByteArray, QByteArray> parameters; ///< of the content type, names in lower case
    QByteArray contentID;                     ///< without its angle brackets
    QByteArray location;                      ///< Content-Location (RFC 2557), unfolded and decoded
    QByteArray base;                          ///< Content-Base
    QByteArray name;                          ///< of a form's field (RFC 7578); null if it has none
    QByteArray fileName; ///< the name of the file in Content-Disposition; null if it has none
    QByteArray body;     ///< decoded; empty for an entity of several parts
    std::vector<WebMIMEPart> parts;

    bool isMultipart() const { return type.startsWith("multipart/"); }
};

/// Reads MIME messages: multiparts within multiparts, quoted-printable and base64, folded header fields,
/// encoded words and extended parameters, lines ending in LF or CRLF, and a missing last boundary. Any
/// thread.
class WebMIMEMessage {
public:
    /// Reads a whole message; nothing if it is none, or beyond the limits of depth and number of parts.
    static std::optional<WebMIMEPart> messageWithData(const QByteArray &data);
    /// The media type that a Content-Type field names, in lower case, and its parameters "boundary", "start" and
    /// "charset"; an empty type if it names none.
    static QByteArray typeInField(const QByteArray &field, QHash<QByteArray, QByteArray> *parameters);
    /// Reads the body of an entity whose type came apart from it, as HTTP has it; nothing as above.
    static std::optional<WebMIMEPart> entityWithBody(const QByteArray &contentType, const QByteArray &body);
    /// Whether bytes begin as a message that holds a web page: nothing but header fields up to the first
    /// empty line, among them a content type of several parts or, with a MIME version, of HTML.
    static bool mayHoldPage(QByteArrayView data);

    static QByteArray decodeQuotedPrintable(QByteArrayView body);
    /// The text of a header field with its encoded words (RFC 2047) decoded, as UTF-8.
    static QByteArray decodeEncodedWords(const QByteArray &text);
};

} // namespace zr
