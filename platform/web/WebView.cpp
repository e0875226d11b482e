// SPDX-License-Identifier: MIT
#include "platform/web/WebView.h"

#include "platform/web/WebEngine.h"
#include "platform/web/WebViewLoader.h"

using namespace zr;

void WebView::prepare() {
    WebEngine::prepare();
}

WebView::WebView(const QRectF &frame) : m_frame(frame), m_loader(std::make_unique<WebViewLoader>(*this)) {
}

WebView::~WebView() = default;

WebFrame *WebView::mainFrame() {
    return &m_loader->mainFrame();
}

void WebView::stopLoading() {
    m_loader->stop();
}
