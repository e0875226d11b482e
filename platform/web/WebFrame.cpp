// SPDX-License-Identifier: MIT
#include "platform/web/WebFrame.h"

#include "platform/documents/WebDocument.h"
#include "platform/documents/WebDocumentSniffer.h"
#include "platform/documents/WebDocumentTraits.h"
#include "platform/pdf/PDFDocument.h"
#include "platform/print/PagePreparation.h"
#include "platform/text/DataURL.h"
#include "platform/values/NSLog.h"
#include "platform/web/WebError.h"
#include "platform/web/WebPage.h"
#include "platform/web/WebView.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <array>

namespace {

/// Files above this size are left to the browser altogether.
constexpr qint64 largestReadFile = 32 << 20;

/// The markup of a local HTML file that looks the same wherever it is loaded from; null for everything else.
/// Loaded as text, such a file is done in half the time, and its page can serve further documents.
QString selfContainedMarkup(const QUrl &url) {
    if (!url.isLocalFile() || url.hasQuery() || url.hasFragment() || !url.host().isEmpty())
        return {};
    const QString path = url.toLocalFile();
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix != QLatin1StringView("html") && suffix != QLatin1StringView("htm"))
        return {};
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly) || file.size() > largestReadFile)
        return {};
    const std::optional<WebDocument> document = WebDocument::documentWithData(file.readAll(), "text/html");
    if (!document || document->archive() || WebDocumentTraits::mayDependOnAddress(document->text()))
        return {};
    return document->text();
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

/// The browser has schemes of its own beside these, for its inner pages, some of which crash or hang it.
bool isForDocuments(const QUrl &url) {
    static constexpr std::array schemes = {"http", "https", "file", "data"};
    return url == QUrl(QStringLiteral("about:blank")) ||
           std::any_of(schemes.begin(), schemes.end(),
                       [&](const char *scheme) { return url.scheme() == QLatin1StringView(scheme); });
}

} // namespace

void WebFrame::reset(const QUrl &url) {
    m_url = url;
    m_children.clear();
    m_frameView.m_documentView.reset();
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
    m_view->load({}, [string](WebPage &page) { page.loadMarkup(string); });
}

void WebFrame::loadRequest(const QUrl &url) {
    if (!isForDocuments(url)) {
        m_view->stopLoading();
        m_view->failLater(WebLoadError(QStringLiteral("net::ERR_UNKNOWN_URL_SCHEME"), url.toString()));
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
    const QString markup = selfContainedMarkup(url);
    m_view->load(url, [url, markup](WebPage &page) {
        if (markup.isNull())
            page.loadUrl(url);
        else
            page.loadMarkup(markup);
    });
}

void WebFrame::loadData(const QByteArray &data, const QString &mimeType, const QString &textEncodingName,
                        const QUrl &baseURL) {
    std::optional<WebDocument> document =
        WebDocument::documentWithData(data, mimeType.toLatin1(), textEncodingName.toLatin1());
    if (!document) {
        m_view->stopLoading();
        m_view->failLater(NSError(
            NSURLErrorDomain, data.isEmpty() ? NSURLErrorZeroByteResource : NSURLErrorCannotDecodeContentData,
            {{NSLocalizedDescriptionKey, data.isEmpty() ? QStringLiteral("There is no data")
                                                        : QStringLiteral("The data cannot be shown")}}));
        return;
    }
    m_view->load(baseURL, [document = std::move(*document), baseURL](WebPage &page) {
        if (document.archive())
            page.loadArchive(*document.archive());
        else if (document.isPicture())
            page.loadPicture(document.text());
        else if (isWebAddress(baseURL))
            page.loadMarkup(document.text(), document.mimeType(), baseURL);
        else if (document.mimeType() == "text/html")
            page.loadMarkup(document.text());
        else if (!document.blankURL().isEmpty())
            page.loadMarkup(document.text(), QString::fromLatin1(document.blankURL()));
        else
            page.loadMarkup(document.text(), document.mimeType(),
                            QUrl(QLatin1StringView(WebArchive::madeUpOrigin)));
    });
}

void WebFrame::stopLoading() {
    m_view->stopLoading();
}

WebDocumentView *WebFrameView::documentView() {
    if (m_frame.parentFrame() || !m_frame.webView()->m_loaded)
        return nullptr;
    if (!m_documentView)
        m_documentView = std::make_unique<WebDocumentView>(m_frame);
    return m_documentView.get();
}

void WebDocumentView::render() {
    if (std::exchange(m_rendered, true))
        return;
    WebView *view = m_frame.webView();
    if (!view->m_page)
        return;
    PagePrintOptions options;
    options.tagged = view->preferences().tagsPDF();
    const PagePrint print = printLoadedPage(view->m_page->session(), view->m_page->mainFrame(), options);
    m_pdf = print.pdf;
    m_bounds = QRectF(QPointF(0, 0), print.size);
    m_error = print.error;
    if (!view->m_page)
        return;
    m_error = view->m_page->explained(m_error);
    if (view->m_page->isReplaced())
        m_pdf.clear();
    if (!m_error.isEmpty())
        view->m_page->spend();
}

QRectF WebDocumentView::frame() {
    render();
    return m_bounds;
}

QByteArray WebDocumentView::dataWithPDFInsideRect(const QRectF &rect) {
    render();
    PDFDocument document(m_pdf);
    if (document.isNil()) {
        NSLog("Cannot make a PDF of %@: %@", m_frame.description(),
              m_error.isEmpty() ? QStringLiteral("the browser's PDF is not readable") : m_error);
        return {};
    }
    if (document.pageCount() != 1) {
        NSLog("Cannot make a PDF of %@: it has %d pages", m_frame.description(), document.pageCount());
        return {};
    }
    if (!document.setPageBox(0, rect, PagePrint::magnification)) {
        NSLog("Cannot make a PDF of %@: there is nothing in the rectangle", m_frame.description());
        return {};
    }
    return document.dataRepresentation();
}
