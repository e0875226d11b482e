// SPDX-License-Identifier: MIT
#include "platform/documents/WebDocument.h"

#include "platform/documents/WebDocumentDecoder.h"
#include "platform/documents/WebDocumentSniffer.h"

#include <QXmlStreamReader>

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

} // namespace

std::optional<WebDocument> WebDocument::documentWithData(const QByteArray &data, const QByteArray &mimeType,
                                                         const QByteArray &charset) {
    if (data.isEmpty())
        return {};
    const bool isTold = !mimeType.isEmpty() && !mimeType.startsWith("application/octet-stream");
    const WebDocumentKind kind =
        isTold ? WebDocumentSniffer::kindOfMIMEType(mimeType) : WebDocumentSniffer::kindOfData(data);
    WebDocument document;
    document.m_mimeType = "text/html";
    switch (kind) {
    case WebDocumentKind::Unsupported:
        return {};
    case WebDocumentKind::HTML:
        document.m_text = WebDocumentDecoder::decodeHTML(data, charset).text;
        return document;
    case WebDocumentKind::PlainText:
        document.m_text =
            WebDocumentDecoder::markupForPlainText(WebDocumentDecoder::decodePlainText(data, charset).text);
        return document;
    case WebDocumentKind::XHTML:
    case WebDocumentKind::SVG:
    case WebDocumentKind::XML: {
        document.m_text = WebDocumentDecoder::decodeXML(data, charset).text;
        if (isWellFormedXML(document.m_text)) {
            document.m_mimeType = WebDocumentSniffer::mimeTypeOfKind(kind);
            return document;
        }
        document.m_text = WebDocumentDecoder::decodeHTML(data, charset).text;
        if (kind == WebDocumentKind::SVG)
            document.m_text = markupForDrawing(document.m_text);
        return document;
    }
    case WebDocumentKind::MHTML:
    case WebDocumentKind::PropertyListArchive: {
        auto archive = kind == WebDocumentKind::MHTML ? WebArchive::archiveWithMIMEMessage(data)
                                                      : WebArchive::archiveWithPropertyList(data);
        if (!archive)
            return {};
        const WebResource &main = archive->mainResource();
        if (WebDocumentSniffer::isPicture(WebDocumentSniffer::kindOfMIMEType(main.mimeType)))
            return documentWithData(main.data, main.mimeType);
        document.m_mimeType.clear();
        document.m_archive = std::move(archive);
        return document;
    }
    default:
        document.m_isPicture = true;
        document.m_text = markupForPicture(data, WebDocumentSniffer::mimeTypeOfKind(kind));
        return document;
    }
}

QByteArray WebDocument::blankURL() const {
    if (m_mimeType == "application/xhtml+xml")
        return "data:application/xhtml+xml,<html xmlns=\"http://www.w3.org/1999/xhtml\"/>";
    if (m_mimeType == "image/svg+xml")
        return "data:image/svg+xml,<svg xmlns=\"http://www.w3.org/2000/svg\"/>";
    return m_mimeType == "text/html" ? "about:blank" : "";
}
