// SPDX-License-Identifier: MIT
#include "platform/web/WebView.h"

#include "platform/base/NSError.h"
#include "platform/web/WebEngine.h"

#include <QTimer>

void WebView::prepare() {
    WebEngine::prepare();
}

WebView::WebView(const QRectF &frame)
    : m_frame(frame), m_mainFrame(this, nullptr, {}), m_self(std::make_shared<WebView *>(this)) {
}

WebView::~WebView() {
    *m_self = nullptr;
    stopLoading();
}

void WebView::stopLoading() {
    if (m_request)
        WebEngine::shared().cancelRequest(std::exchange(m_request, 0));
    // What was put off belongs to the load that ends here.
    *m_self = nullptr;
    m_self = std::make_shared<WebView *>(this);
    releasePage();
}

void WebView::releasePage() {
    m_loaded = false;
    m_mainFrame.reset({});
    if (!m_page)
        return;
    m_page->stop();
    WebEngine::shared().takeBack(std::move(m_page));
}

void WebView::load(const QUrl &url, std::function<void(WebPage &)> start) {
    stopLoading();
    m_mainFrame.reset(url);
    // The delegate hears of nothing before this call has returned.
    m_request = -1;
    const int request = WebEngine::shared().requestPage(
        [self = m_self, start = std::move(start)](std::unique_ptr<WebPage> page, const NSError &error) {
            if (*self)
                (*self)->pageArrived(std::move(page), error, start);
            else if (page)
                WebEngine::shared().takeBack(std::move(page));
        });
    if (m_request)
        m_request = request;
}

void WebView::pageArrived(std::unique_ptr<WebPage> page, const NSError &error,
                          const std::function<void(WebPage &)> &start) {
    m_request = 0;
    if (!page) {
        failLater(error);
        return;
    }
    m_page = std::move(page);
    listenTo(*m_page);
    m_page->setPreferences(m_preferences);
    start(*m_page);
}

void WebView::failLater(const NSError &error) {
    QTimer::singleShot(0, [self = m_self, error] {
        if (*self && (*self)->m_delegate)
            (*self)->m_delegate->webViewDidFailProvisionalLoadWithError(*self, error, (*self)->mainFrame());
    });
}

void WebView::listenTo(WebPage &page) {
    WebPage::Events events;
    events.didFailProvisionalLoad = [this](const NSError &error) {
        if (m_delegate)
            m_delegate->webViewDidFailProvisionalLoadWithError(this, error, &m_mainFrame);
    };
    events.didFailLoad = [this](const NSError &error) {
        if (m_delegate)
            m_delegate->webViewDidFailLoadWithError(this, error, &m_mainFrame);
    };
    events.didFinishLoad = [this] {
        m_loaded = true;
        if (m_delegate)
            m_delegate->webViewDidFinishLoadForFrame(this, &m_mainFrame);
    };
    events.didAttachFrame = [this](const QString &frame, const QString &parent) {
        WebFrame *holder = m_mainFrame.find(parent);
        holder = holder ? holder : &m_mainFrame;
        holder->m_children.emplace_back(new WebFrame(this, holder, frame));
    };
    events.didDetachFrame = [this](const QString &frame) {
        WebFrame *gone = m_mainFrame.find(frame);
        if (gone && gone->m_parent)
            std::erase_if(gone->m_parent->m_children,
                          [gone](const auto &child) { return child.get() == gone; });
    };
    events.didCommitFrame = [this](const QString &frame, const QString &url) {
        WebFrame *committed = m_mainFrame.find(frame);
        if (committed && committed->m_parent)
            committed->m_url = QUrl(url);
    };
    events.didFailSubframe = [this](const NSError &error, const QString &frame) {
        WebFrame *failed = m_mainFrame.find(frame);
        if (m_delegate && failed)
            m_delegate->webViewDidFailProvisionalLoadWithError(this, error, failed);
    };
    events.didFinishSubframe = [this](const QString &frame) {
        WebFrame *finished = m_mainFrame.find(frame);
        if (m_delegate && finished)
            m_delegate->webViewDidFinishLoadForFrame(this, finished);
    };
    page.setEvents(std::move(events));
}
