// SPDX-License-Identifier: MIT
#pragma once

#include "platform/documents/WebArchive.h"
#include "platform/documents/WebDocumentSniffer.h"

#include <QByteArray>
#include <QString>
#include <optional>

namespace zr {

/// A document that came as bytes, made ready for the engine: text to be parsed as one MIME type, an archive
/// to be served from, or bytes whose encoding the engine has to find out first.
///
/// XML that is not well-formed is read as HTML, as browsers read it when it is called HTML; plain text and
/// pictures become the HTML that shows them. A value; any thread.
class WebDocument {
public:
    /// Makes a document ready. The MIME type and charset come from outside, such as from a server; without
    /// them the bytes themselves tell. Nothing if the engine can't show the document.
    ///
    /// Bytes are text at once if they are UTF-8 and neither the charset nor the document claims another
    /// encoding, and if they begin with a byte-order mark, or as markup does in UTF-16.
    static std::optional<WebDocument>
    documentWithData(const QByteArray &data, const QByteArray &mimeType = {}, const QByteArray &charset = {});

    /// The archive to serve from, if it is one; text() and mimeType() are then empty.
    const std::optional<WebArchive> &archive() const { return m_archive; }
    const QString &text() const { return m_text; }
    /// How to parse the text: text/html, application/xhtml+xml, image/svg+xml or application/xml.
    const QByteArray &mimeType() const { return m_mimeType; }

    /// The bytes that the engine has to decode before there is a text; null if there is nothing to decode.
    const QByteArray &encodedData() const { return m_encodedData; }
    /// How to serve them to the engine, with a charset if one came from outside.
    const QByteArray &encodedType() const { return m_encodedType; }
    /// The same document once its text is known.
    WebDocument decoded(const QString &text) const;

    /// Whether the text only shows one picture, which is all that the document is.
    bool isPicture() const { return m_isPicture; }

    /// A URL of the smallest document of the text's MIME type, whose content the text can replace: the
    /// engine then parses it by that type. "about:blank" for HTML. Empty for other XML, whose tree the
    /// engine shows only if it comes from an address.
    QByteArray blankURL() const;

private:
    WebDocumentKind m_kind = WebDocumentKind::HTML;
    QString m_text;
    QByteArray m_mimeType;
    QByteArray m_encodedData, m_encodedType;
    bool m_isPicture = false;
    std::optional<WebArchive> m_archive;
};

} // namespace zr
