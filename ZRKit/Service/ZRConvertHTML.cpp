// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRConvertHTML.h"

#include "ZRKit/Values/NSAutoresizing+ZRKit.h"
#include "platform/files/NSWorkspace.h"
#include "platform/operations/DispatchQueue.h"
#include "platform/operations/NSRunLoop.h"
#include "platform/operations/NSThread.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSNull.h"
#include "platform/web/WebView.h"

#include <QUrl>

namespace {

constexpr double pageWidth = 800.0;
/// The width times the square root of two: a sheet of the A series.
constexpr double pageHeight = 1131.370849898476;
/// Seconds between two looks at whether the document is there.
constexpr double slice = 0.0001;

zr::WebNetworkPolicy::Access accessFor(ZRConvertHTML::Network network) {
    switch (network) {
    case ZRConvertHTML::Network::All:
        return zr::WebNetworkPolicy::Access::All;
    case ZRConvertHTML::Network::Public:
        return zr::WebNetworkPolicy::Access::Public;
    case ZRConvertHTML::Network::None:
        break;
    }
    return zr::WebNetworkPolicy::Access::None;
}

QString descriptionOf(const WebFrame *frame) {
    return frame ? frame->description() : QString();
}

} // namespace

ZRConvertHTML::ZRConvertHTML(const QVariant &fileData, const QString &utiType, bool tagged,
                             const std::stop_token &abandoned, Network network)
    : m_data(fileData), m_utiType(utiType), m_tagged(tagged), m_abandoned(abandoned), m_network(network) {
    if (NSThread::isMainThread())
        work();
    else
        zr::DispatchQueue::mainQueue().sync([this] { work(); });
}

ZRConvertHTML::~ZRConvertHTML() = default;

bool ZRConvertHTML::work() {
    if (m_abandoned.stop_requested())
        return true;
    m_webView = std::make_unique<WebView>(QRectF(0, 0, pageWidth, pageHeight));
    WebPreferences &preferences = m_webView->preferences();
    preferences.setDefaultFontSize(16);
    preferences.setDefaultFixedFontSize(14);
    preferences.setCacheModel(2);
    preferences.setUsesPageCache(false);
    preferences.setPlugInsEnabled(false);
    preferences.setJavaEnabled(false);
    preferences.setJavaScriptEnabled(false);
    preferences.setJavaScriptCanOpenWindowsAutomatically(false);
    preferences.setTagsPDF(m_tagged);
    preferences.setNetworkPolicy({.access = accessFor(m_network)});
    ZRKit::setStretch(m_webView.get(), true);
    m_webView->setFrameLoadDelegate(this);
    m_webView->setMaintainsBackForwardList(false);

    if (NSIsNil(m_data) || (m_data.typeId() != QMetaType::QString && m_data.typeId() != QMetaType::QUrl))
        useData(m_data.typeId() == QMetaType::QByteArray ? m_data.toByteArray() : QByteArray());
    else if (m_data.typeId() == QMetaType::QString)
        useHTML(m_data.toString());
    else
        useURL(m_data.toUrl());

    // While the document is printed, the loop below waits for the event that this posts.
    QObject here;
    const std::stop_callback giveUp(m_abandoned, [&] {
        QMetaObject::invokeMethod(
            &here, [this] { m_webView->stopLoading(); }, Qt::QueuedConnection);
    });
    while (!m_done && !m_abandoned.stop_requested())
        NSRunLoop::mainRunLoop().runUntilDate(slice);
    m_webView.reset();
    return true;
}

void ZRConvertHTML::useHTML(const QString &html) {
    if (m_webView)
        m_webView->mainFrame()->loadHTMLString(html);
}

void ZRConvertHTML::useURL(const QUrl &url) {
    if (m_webView)
        m_webView->mainFrame()->loadRequest(url);
}

void ZRConvertHTML::useData(const QByteArray &data) {
    if (m_webView)
        m_webView->mainFrame()->loadData(data);
}

void ZRConvertHTML::extractPDFAsOnePage() {
    if (m_done || !m_webView)
        return;
    WebDocumentView *view = m_webView->mainFrame()->frameView()->documentView();
    const QRectF rect = view ? view->frame() : QRectF();
    m_pdfData = view ? view->dataWithPDFInsideRect(rect) : QByteArray();
    m_error = view ? view->error() : NSError();
}

void ZRConvertHTML::webViewDidFailProvisionalLoadWithError(WebView *, const NSError &error, WebFrame *frame) {
    NSLog("didFailProvisionalLoadWithError %@ %@", error, descriptionOf(frame));
    endWithError(error, frame);
}

void ZRConvertHTML::webViewDidFailLoadWithError(WebView *, const NSError &error, WebFrame *frame) {
    NSLog("didFailLoadWithError %@ %@", error, descriptionOf(frame));
    endWithError(error, frame);
}

void ZRConvertHTML::endWithError(const NSError &error, const WebFrame *frame) {
    if (!m_webView || frame != m_webView->mainFrame())
        return;
    m_error = error;
    m_done = true;
}

void ZRConvertHTML::webViewDidFinishLoadForFrame(WebView *, WebFrame *frame) {
    NSLog("didFinishLoadForFrame %@", descriptionOf(frame));
    if (m_webView && frame == m_webView->mainFrame()) {
        extractPDFAsOnePage();
        m_done = true;
    }
}

bool ZRConvertHTML::conformsToUTITypes(const QStringList &utiTypes) const {
    for (const QString &type : utiTypes) {
        if (NSWorkspace::sharedWorkspace()->typeConformsToType(m_utiType, type))
            return true;
    }
    return false;
}

#include "moc_ZRConvertHTML.cpp"
