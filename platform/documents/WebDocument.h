// SPDX-License-Identifier: MIT
#pragma once

#include "platform/documents/WebArchive.h"

#include <QByteArray>
#include <QString>
#include <optional>

/// A document that came as bytes, made ready for the engine: either text to be parsed as one MIME type, or an
/// archive to be served from.
///
/// Markup is decoded; XML that is not well-formed is read as HTML, as browsers read it when it is called
/// HTML; plain text and pictures become the HTML that shows them. A value; any thread.
class WebDocument {
public:
    /// Makes a document ready. The MIME type and charset come from outside, such as from a server; without
    /// them the bytes themselves tell. Nothing where the engine can't show the document.
    static std::optional<WebDocument>
    documentWithData(const QByteArray &data, const QByteArray &mimeType = {}, const QByteArray &charset = {});

    /// The archive to serve from, if it is one; text() and mimeType() are then empty.
    const std::optional<WebArchive> &archive() const { return m_archive; }
    const QString &text() const { return m_text; }
    /// How to parse the text: text/html, application/xhtml+xml, image/svg+xml or application/xml.
    const QByteArray &mimeType() const { return m_mimeType; }

    /// Whether the text only shows one picture, which is all that the document is.
    bool isPicture() const { return m_isPicture; }

    /// A URL of the smallest document of the text's MIME type, whose content the text can replace: the engine
    /// then parses it by that type. "about:blank" for HTML. Empty for other XML, whose tree the engine shows
    /// only where it comes from an address.
    QByteArray blankURL() const;

private:
    QString m_text;
    QByteArray m_mimeType;
    bool m_isPicture = false;
    std::optional<WebArchive> m_archive;
};
