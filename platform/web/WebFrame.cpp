// SPDX-License-Identifier: MIT
#include "platform/web/WebFrame.h"

#include "platform/documents/WebDocument.h"
#include "platform/documents/WebDocumentSniffer.h"
#include "platform/documents/WebDocumentTraits.h"
#include "platform/pdf/PDFDocument.h"
#include "platform/text/DataURL.h"
#include "platform/values/NSLog.h"
#include "platform/web/WebError.h"
#include "platform/web/WebViewLoader.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <array>

using namespace zr;

namespace {

/// Files above this size are left to the browser altogether.
constexpr qint64 largestReadFile = 32 << 20;

/// What to load for an address. A local HTML file that looks the same wherever it is loaded from is loaded as text: that
/// takes half the time, and its page can serve further documents.
WebSource sourceFor(const QUrl &url) {
    WebSource address{.url = url.toString(QUrl::FullyEncoded)};
    if (!url.isLocalFile() || url.hasQuery() || url.hasFragment() || !url.host().isEmpty())
        return address;
    const QString path = url.toLocalFile();
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix != QLatin1StringView("html") && suffix != QLatin1StringView("htm"))
        return address;
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly) || file.size() > largestReadFile)
        return address;
    const std::optional<WebDocument> document = WebDocument::documentWithData(file.readAll(), "text/html");
    if (!document)
        return address;
    const auto choose = [address](const QString &text) {
        return WebDocumentTraits::mayDependOnAddress(text) ? address : WebSource{.markup = text};
    };
    const QByteArray &encoded = document->encodedData();
    if (encoded.isNull())
        return choose(document->text());
    // Most references are ASCII in any encoding: what has none is decoded, and looked through again.
    if (WebDocumentTraits::mayDependOnAddress(QString::fromLatin1(encoded)))
        return address;
    return {.body = encoded, .contentType = document->encodedType(), .decoded = choose};
}

/// The bytes of a local web archive, whatever its name; null for every other file.
QByteArray localArchive(const QUrl &url) {
    constexpr qint64 telling = 64 << 10;
    if (!url.isLocalFile() || !url.host().isEmpty() || !QFileInfo(url.toLocalFile()).isFile())
        return {};
    QFile file(url.toLocalFile());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const WebDocumentKind kind = WebDocumentSniffer::kindOfData(file.peek(telling));
    const bool isArchive = kind == WebDocumentKind::MHTML || kind == WebDocumentKind::PropertyListArchive;
    return isArchive ? file.readAll() : QByteArray();
}

/// Base URLs are for the web: text and bytes get no further way to local files.
bool isWebAddress(const QUrl &url) {
    return url.scheme() == QLatin1StringView("http") || url.scheme() == QLatin1StringView("https");
}

/// The browser has schemes of its own besides these, for its inner pages, some of which crash or hang it.
bool isForDocuments(const QUrl &url) {
    static constexpr std::array schemes = {"http", "https", "file", "data"};
    return url == QUrl(QStringLiteral("about:blank")) ||
           std::any_of(schemes.begin(), schemes.end(),
                       [&](const char *scheme) { return url.scheme() == QLatin1StringView(scheme); });
}

/// What the page is to load to show a document that came as bytes.
WebSource sourceFor(const WebDocument &document, const QUrl &baseURL) {
    if (document.archive())
        return {.url = QString::fromUtf8(document.archive()->mainResource().url),
                .archive = document.archive()};
    if (!document.encodedData().isNull())
        return {.body = document.encodedData(),
                .contentType = document.encodedType(),
                .decoded = [document, baseURL](const QString &text) {
                    return sourceFor(document.decoded(text), baseURL);
                }};
    if (document.isPicture())
        return {.markup = document.text(), .isPicture = true};
    const bool hasAddress = isWebAddress(baseURL);
    if (!hasAddress && (document.mimeType() == "text/html" || !document.blankURL().isEmpty()))
        return {.markup = document.text(),
                .blankUrl = document.mimeType() == "text/html" ? QString()
                                                               : QString::fromLatin1(document.blankURL())};
    return {.url = hasAddress ? baseURL.toString(QUrl::FullyEncoded)
                              : QString::fromLatin1(WebArchive::madeUpOrigin),
            .body = document.text().toUtf8(),
            .contentType = document.mimeType() + ";charset=utf-8"};
}

} // namespace

void WebFrame::clear() {
    m_url.clear();
    m_children.clear();
    m_frameView.clear();
}

void WebFrame::addChild(const QString &identifier) {
    m_children.push_back(std::make_unique<WebFrame>(m_view, m_loader, this, identifier));
}

void WebFrame::removeChild(WebFrame *child) {
    std::erase_if(m_children, [child](const auto &entry) { return entry.get() == child; });
}

WebFrame *WebFrame::find(const QString &identifier) {
    if (m_identifier == identifier)
        return this;
    for (const auto &child : m_children) {
        if (WebFrame *found = child->find(identifier))
            return found;
    }
    return nullptr;
}

std::vector<WebFrame *> WebFrame::childFrames() const {
    std::vector<WebFrame *> frames;
    for (const auto &child : m_children)
        frames.push_back(child.get());
    return frames;
}

QString WebFrame::description() const {
    const QString address = m_url.isEmpty() ? QStringLiteral("about:blank") : m_url.toDisplayString();
    return QStringLiteral("<WebFrame: %1, %2>").arg(m_parent ? u"sub-frame" : u"main", address.left(200));
}

void WebFrame::loadHTMLString(const QString &string, const QUrl &baseURL) {
    if (isWebAddress(baseURL)) {
        loadData(string.toUtf8(), QStringLiteral("text/html"), QStringLiteral("utf-8"), baseURL);
        return;
    }
    m_loader.load({.markup = string}, {});
}

void WebFrame::loadRequest(const QUrl &url) {
    if (!isForDocuments(url)) {
        m_loader.failLoad(webLoadError(QStringLiteral("net::ERR_UNKNOWN_URL_SCHEME"), url.toString()));
        return;
    }
    if (url.scheme() == QLatin1StringView("data")) {
        const zr::DataURL data(url.toEncoded(QUrl::RemoveFragment));
        loadData(data.body(), QString::fromLatin1(data.mimeType()), QString::fromLatin1(data.charset()));
        return;
    }
    if (const QByteArray archive = localArchive(url); !archive.isNull()) {
        loadData(archive);
        return;
    }
    m_loader.load(sourceFor(url), url);
}

void WebFrame::loadData(const QByteArray &data, const QString &mimeType, const QString &textEncodingName,
                        const QUrl &baseURL) {
    const std::optional<WebDocument> document =
        WebDocument::documentWithData(data, mimeType.toLatin1(), textEncodingName.toLatin1());
    if (document)
        m_loader.load(sourceFor(*document, baseURL), baseURL);
    else
        m_loader.failLoad(NSError(
            NSURLErrorDomain, data.isEmpty() ? NSURLErrorZeroByteResource : NSURLErrorCannotDecodeContentData,
            {{NSLocalizedDescriptionKey, data.isEmpty() ? QStringLiteral("There is no data")
                                                        : QStringLiteral("The data cannot be shown")}}));
}

void WebFrame::stopLoading() {
    m_loader.stop();
}

WebDocumentView *WebFrameView::documentView() {
    if (m_frame.parentFrame() || !m_loader.isLoaded())
        return nullptr;
    if (!m_documentView)
        m_documentView = std::make_unique<WebDocumentView>(m_frame, m_loader);
    return m_documentView.get();
}

void WebDocumentView::render() {
    if (std::exchange(m_rendered, true))
        return;
    const PagePrint print = m_loader.print();
    m_pdf = print.pdf;
    m_bounds = QRectF(QPointF(0, 0), print.size);
    m_printError = print.error;
}

QRectF WebDocumentView::frame() {
    render();
    return m_bounds;
}

QByteArray WebDocumentView::failed(const QString &why) {
    m_error = webLoadError(why, m_frame.url().toString());
    NSLog("Cannot make a PDF of %@: %@", m_frame.description(), why);
    return {};
}

QByteArray WebDocumentView::dataWithPDFInsideRect(const QRectF &rect) {
    render();
    m_error = NSError();
    PDFDocument document(m_pdf);
    if (document.isNil())
        return failed(m_printError.isEmpty() ? QStringLiteral("the browser's PDF is not readable")
                                             : m_printError);
    if (document.pageCount() != 1)
        return failed(QStringLiteral("it has %1 pages").arg(document.pageCount()));
    if (!document.setPageBox(0, rect, PagePrint::magnification))
        return failed(QStringLiteral("there is nothing in the rectangle"));
    return document.dataRepresentation();
}
