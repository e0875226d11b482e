// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace zr {

/// What a document's bytes are.
enum class WebDocumentKind {
    Unsupported, ///< nothing the engine shows as a document, or no bytes at all
    HTML,
    XHTML,
    XML, ///< any other vocabulary of XML
    SVG,
    PlainText,
    PNG,
    JPEG,
    GIF,
    WebP,
    BMP,
    ICO,
    AVIF,
    JXL,
    MHTML,               ///< a web page with its parts as a MIME message (RFC 2557)
    PropertyListArchive, ///< a property list, binary or XML, which a web archive may be
};

/// Tells what a document is from its bytes alone, for documents that come without a MIME type.
///
/// It follows the WHATWG MIME Sniffing Standard and adds what that leaves to file names and headers: the
/// XML vocabularies behind declaration, comments and document type, all HTML elements, UTF-16 and UTF-32,
/// and the two kinds of web archives. Any thread.
class WebDocumentSniffer {
public:
    static WebDocumentKind kindOfData(const QByteArray &data);
    /// The kind a MIME type names; Unsupported for those that no document of ours has.
    static WebDocumentKind kindOfMIMEType(QByteArrayView mimeType);
    /// The MIME type of a kind, empty for Unsupported and archives.
    static QByteArray mimeTypeOfKind(WebDocumentKind kind);
    static bool isPicture(WebDocumentKind kind);
};

} // namespace zr
