// SPDX-License-Identifier: MIT
#pragma once

#include "platform/documents/WebTextEncoding.h"

#include <QByteArray>
#include <QString>

/// Text that came as bytes, and the encoding it was read in.
struct WebDecodedText {
    QString text;
    WebTextEncoding encoding = WebTextEncoding::None;
};

/// Turns a document's bytes into text as a browser does that gets them without, or with, a charset parameter.
///
/// A byte-order mark wins over everything (and is dropped), then `charset`, the label from outside if it
/// means anything, then what the document declares; where nothing tells, valid UTF-8 is UTF-8 and the rest is
/// recognised by its statistics, windows-1252 in doubt. Malformed bytes become U+FFFD. Any thread.
class WebDocumentDecoder {
public:
    /// HTML: declared by a meta element (HTML Standard, "prescan a byte stream") or an XML declaration.
    static WebDecodedText decodeHTML(const QByteArray &bytes, const QByteArray &charset = {});
    /// XML: declared by the XML declaration, UTF-8 without one.
    static WebDecodedText decodeXML(const QByteArray &bytes, const QByteArray &charset = {});
    /// Plain text: nothing inside declares.
    static WebDecodedText decodePlainText(const QByteArray &bytes, const QByteArray &charset = {});

    /// The encoding that HTML bytes declare in their first 1024 bytes, or further on within the head; None
    /// where they don't.
    static WebTextEncoding declaredEncodingOfHTML(QByteArrayView bytes);
    /// The encoding that undeclared bytes most likely have.
    static WebTextEncoding detectEncoding(QByteArrayView bytes, bool isMarkup);

    /// HTML that shows a text the way browsers show text documents.
    static QString markupForPlainText(const QString &text);
};
