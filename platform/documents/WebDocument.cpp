// SPDX-License-Identifier: MIT
#include "platform/documents/WebDocument.h"

#include "platform/base/ASCII.h"
#include "platform/text/MarkupScanner.h"

#include <QStringDecoder>
#include <QXmlStreamReader>
#include <algorithm>

namespace zr {

namespace {

/// Knows the entities that the document types of XHTML declare in files nobody reads.
class XHTMLEntities : public QXmlStreamEntityResolver {
public:
    explicit XHTMLEntities(const QXmlStreamReader &reader) : m_reader(reader) {}
    QString resolveUndeclaredEntity(const QString &) override {
        const bool isXHTML = m_reader.dtdPublicId().contains(QLatin1StringView("//DTD XHTML"));
        return isXHTML ? QStringLiteral("?") : QString();
    }

private:
    const QXmlStreamReader &m_reader;
};

bool isWellFormedXML(const QString &text) {
    QXmlStreamReader reader(text);
    XHTMLEntities entities(reader);
    reader.setEntityResolver(&entities);
    while (!reader.atEnd())
        reader.readNext();
    return !reader.hasError();
}

QString markupForPicture(const QByteArray &data, const QByteArray &mimeType) {
    return QStringLiteral("<!DOCTYPE html><html><head><style>html,body{margin:0;background:#fff}"
                          "img{display:block;max-width:100%;height:auto}</style></head><body><img alt=\"\" "
                          "src=\"data:") +
           QLatin1StringView(mimeType) + QStringLiteral(";base64,") + QLatin1StringView(data.toBase64()) +
           QStringLiteral("\"></body></html>");
}

/// HTML around a drawing that is no well-formed XML.
QString markupForDrawing(const QString &text) {
    return QStringLiteral(
               "<!DOCTYPE html><html><head><style>html,body{margin:0}svg{display:block}</style></head>"
               "<body>") +
           text + QStringLiteral("</body></html>");
}

/// HTML that shows a text the way browsers show text documents.
QString markupForPlainText(const QString &text) {
    QString escaped = text;
    escaped.replace(u'&', QStringLiteral("&amp;")).replace(u'<', QStringLiteral("&lt;"));
    escaped.replace(u'\0', QChar(QChar::ReplacementCharacter));
    // The parser drops the first newline of a pre element.
    return QStringLiteral(
               "<!DOCTYPE html><html><head><meta name=\"color-scheme\" content=\"light dark\"></head><body>"
               "<pre style=\"word-wrap: break-word; white-space: pre-wrap;\">\n") +
           escaped + QStringLiteral("</pre></body></html>");
}

bool isUTF8Label(QByteArrayView label) {
    return label.compare("utf-8", Qt::CaseInsensitive) == 0 ||
           label.compare("utf8", Qt::CaseInsensitive) == 0;
}

/// Whether the value of an attribute claims an encoding other than UTF-8; a label that means nothing claims
/// nothing.
bool isAnotherEncoding(QLatin1StringView label) {
    const QByteArray name = QByteArray(label.data(), label.size()).trimmed();
    return !name.isEmpty() && !isUTF8Label(name) && QStringDecoder(name.constData()).isValid();
}

/// The charset within the content of a meta element.
QLatin1StringView charsetOfContent(QLatin1StringView content) {
    const auto isEnd = [](char c) { return isASCIISpace(uchar(c)) || QByteArrayView(";\"'").contains(c); };
    const qsizetype charset = content.indexOf(QLatin1StringView("charset"), 0, Qt::CaseInsensitive);
    const qsizetype equals = charset < 0 ? -1 : content.indexOf(u'=', charset);
    if (equals < 0)
        return {};
    const auto first = std::find_if_not(content.begin() + equals + 1, content.end(), isEnd);
    return QLatin1StringView(first, std::find_if(first, content.end(), isEnd));
}

/// Whether markup whose bytes are UTF-8 claims to be in another encoding, by an XML declaration or by a
/// meta element in the first kilobyte or the head.
bool declaresAnotherEncoding(const QByteArray &markup) {
    using Scanner = MarkupScanner<QLatin1StringView>;
    Scanner scanner{QLatin1StringView(markup)};
    bool isInHead = true;
    while (scanner.next()) {
        if (scanner.isNamed(QLatin1StringView("body")) ||
            (scanner.token() == Scanner::Token::EndTag && scanner.isNamed(QLatin1StringView("head"))))
            isInHead = false;
        if (!isInHead && scanner.text().data() - markup.constData() > 1024)
            return false;
        const bool isMeta =
            scanner.token() == Scanner::Token::StartTag && scanner.isNamed(QLatin1StringView("meta"));
        const bool isDeclaration =
            scanner.token() == Scanner::Token::Instruction && scanner.name() == QLatin1StringView("xml");
        if (!isMeta && !isDeclaration)
            continue;
        QLatin1StringView label, content;
        bool isPragma = false;
        for (auto attributes = scanner.attributes(); attributes.next();) {
            if (attributes.isNamed(QLatin1StringView(isMeta ? "charset" : "encoding")))
                label = attributes.value();
            else if (attributes.isNamed(QLatin1StringView("content")))
                content = attributes.value();
            else if (attributes.isNamed(QLatin1StringView("http-equiv")))
                isPragma =
                    attributes.value().compare(QLatin1StringView("content-type"), Qt::CaseInsensitive) == 0;
        }
        if (isAnotherEncoding(label) || (isPragma && isAnotherEncoding(charsetOfContent(content))))
            return true;
    }
    return false;
}

/// The text of bytes whose encoding needs no engine; null for others.
QString plainlyDecoded(const QByteArray &data, WebDocumentKind kind, const QByteArray &charset) {
    // Nothing wins over a byte-order mark.
    auto encoding = QStringConverter::encodingForData(data, charset.isEmpty() ? u'<' : u'\0');
    if (!encoding) {
        const bool isASCII = std::all_of(data.begin(), data.end(), [](char c) { return uchar(c) < 0x80; });
        // Without the escapes of ISO-2022-JP, ASCII reads the same whatever a document claims.
        const bool isUTF8 = isUTF8Label(charset.trimmed()) ||
                            (charset.isEmpty() && (isASCII ? !data.contains('\x1B')
                                                           : kind == WebDocumentKind::PlainText ||
                                                                 !declaresAnotherEncoding(data)));
        if (!isUTF8 || !data.isValidUtf8())
            return {};
        encoding = QStringConverter::Utf8;
    }
    const QString text = QStringDecoder(*encoding, QStringConverter::Flag::Stateless)(data);
    return text.isNull() ? QStringLiteral("") : text;
}

} // namespace

std::optional<WebDocument> WebDocument::documentWithData(const QByteArray &data, const QByteArray &mimeType,
                                                         const QByteArray &charset) {
    if (data.isEmpty())
        return {};
    const bool isTold = !mimeType.isEmpty() && !mimeType.startsWith("application/octet-stream");
    WebDocument document;
    document.m_kind =
        isTold ? WebDocumentSniffer::kindOfMIMEType(mimeType) : WebDocumentSniffer::kindOfData(data);
    switch (document.m_kind) {
    case WebDocumentKind::Unsupported:
        return {};
    case WebDocumentKind::HTML:
    case WebDocumentKind::PlainText:
    case WebDocumentKind::XHTML:
    case WebDocumentKind::SVG:
    case WebDocumentKind::XML: {
        const QString text = plainlyDecoded(data, document.m_kind, charset);
        if (!text.isNull())
            return document.decoded(text);
        // A parser of HTML finds the declarations of XML too.
        const bool isText = document.m_kind == WebDocumentKind::PlainText;
        document.m_encodedData = data;
        document.m_encodedType =
            WebResource{{}, {}, isText ? "text/plain" : "text/html", charset}.contentType();
        return document;
    }
    case WebDocumentKind::MHTML:
    case WebDocumentKind::PropertyListArchive: {
        auto archive = document.m_kind == WebDocumentKind::MHTML ? WebArchive::archiveWithMIMEMessage(data)
                                                                 : WebArchive::archiveWithPropertyList(data);
        if (!archive)
            return {};
        const WebResource &main = archive->mainResource();
        if (WebDocumentSniffer::isPicture(WebDocumentSniffer::kindOfMIMEType(main.mimeType)))
            return documentWithData(main.data, main.mimeType);
        document.m_archive = std::move(archive);
        return document;
    }
    default:
        document.m_isPicture = true;
        document.m_mimeType = "text/html";
        document.m_text = markupForPicture(data, WebDocumentSniffer::mimeTypeOfKind(document.m_kind));
        return document;
    }
}

WebDocument WebDocument::decoded(const QString &text) const {
    WebDocument document;
    document.m_kind = m_kind;
    document.m_mimeType = "text/html";
    document.m_text = text;
    if (m_kind == WebDocumentKind::PlainText)
        document.m_text = markupForPlainText(text);
    else if (m_kind != WebDocumentKind::HTML && isWellFormedXML(text))
        document.m_mimeType = WebDocumentSniffer::mimeTypeOfKind(m_kind);
    else if (m_kind == WebDocumentKind::SVG)
        document.m_text = markupForDrawing(text);
    return document;
}

QByteArray WebDocument::blankURL() const {
    if (m_mimeType == "application/xhtml+xml")
        return "data:application/xhtml+xml,<html xmlns=\"http://www.w3.org/1999/xhtml\"/>";
    if (m_mimeType == "image/svg+xml")
        return "data:image/svg+xml,<svg xmlns=\"http://www.w3.org/2000/svg\"/>";
    return m_mimeType == "text/html" ? "about:blank" : "";
}

} // namespace zr
