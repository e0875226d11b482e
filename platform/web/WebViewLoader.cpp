// SPDX-License-Identifier: MIT
#include "platform/web/WebViewLoader.h"

#include "platform/web/WebEngine.h"
#include "platform/web/WebView.h"

using namespace zr;

namespace {

/// Pages that a load may find dead before it has reached one; more than one only if they are killed in a row.
constexpr int mostPages = 3;

} // namespace

WebViewLoader::WebViewLoader(WebView &view)
    : m_view(view), m_mainFrame(view, *this, nullptr, {}), m_engine(&WebEngine::shared()),
      m_self(std::make_shared<WebViewLoader *>(this)) {
}

WebViewLoader::~WebViewLoader() {
    stop();
    *m_self = nullptr;
}

void WebViewLoader::stop() {
    if (m_request)
        m_engine->cancelRequest(std::exchange(m_request, 0));
    // What was put off belongs to the load that ends here.
    *m_self = nullptr;
    m_self = std::make_shared<WebViewLoader *>(this);
    // A page that is being printed is on the stack: it goes with the next load.
    if (m_isPrinting)
        m_page->fail(QStringLiteral("The view was stopped"));
    else
        releasePage();
}

void WebViewLoader::releasePage() {
    m_isLoaded = false;
    m_mainFrame.clear();
    if (!m_page)
        return;
    m_page->stop();
    m_engine->takeBack(std::move(m_page));
}

void WebViewLoader::load(WebSource source, const QUrl &url) {
    stop();
    m_mainFrame.setURL(url);
    m_source = std::move(source);
    m_policy = m_view.preferences().networkPolicy();
    m_engine = m_policy.isLimited() ? &WebEngine::withoutNetwork() : &WebEngine::shared();
    requestPage(mostPages);
}

void WebViewLoader::requestPage(int pagesLeft) {
    m_request = -1;
    const int request = m_engine->requestPage(
        [self = m_self, engine = m_engine, pagesLeft](std::unique_ptr<WebPage> page, const NSError &error) {
            if (*self)
                (*self)->pageCame(std::move(page), error, pagesLeft - 1);
            else if (page)
                engine->takeBack(std::move(page));
        });
    if (m_request)
        m_request = request;
}

void WebViewLoader::pageCame(std::unique_ptr<WebPage> page, const NSError &error, int pagesLeft) {
    m_request = 0;
    if (!page) {
        failLater(error);
        return;
    }
    m_page = std::move(page);
    m_page->setPreferences(m_view.preferences());
    m_page->load(m_source, m_policy, events(pagesLeft));
}

void WebViewLoader::failLoad(const NSError &error) {
    stop();
    failLater(error);
}

void WebViewLoader::failLater(const NSError &error) {
    QTimer::singleShot(0, [self = m_self, error] {
        if (*self && (*self)->m_view.frameLoadDelegate())
            (*self)->m_view.frameLoadDelegate()->webViewDidFailProvisionalLoadWithError(
                &(*self)->m_view, error, &(*self)->m_mainFrame);
    });
}

PagePrint WebViewLoader::print() {
    if (!m_page || m_isPrinting)
        return {};
    m_isPrinting = true;
    PagePrint print = m_page->print({.tagged = m_view.preferences().tagsPDF()});
    m_isPrinting = false;
    return print;
}

WebLoad::Events WebViewLoader::events(int pagesLeft) {
    using Delegate = WebFrameLoadDelegate;
    const auto tell = [this](auto callback, WebFrame *frame, const auto &...error) {
        if (Delegate *delegate = m_view.frameLoadDelegate(); delegate && frame)
            (delegate->*callback)(&m_view, error..., frame);
    };
    WebLoad::Events events;
    events.didFailProvisionally = [this, tell](const NSError &error) {
        tell(&Delegate::webViewDidFailProvisionalLoadWithError, &m_mainFrame, error);
    };
    events.didFail = [this, tell](const NSError &error) {
        tell(&Delegate::webViewDidFailLoadWithError, &m_mainFrame, error);
    };
    events.didLosePage = [this, pagesLeft](const NSError &error) {
        m_page->stop();
        m_engine->takeBack(std::move(m_page));
        if (pagesLeft > 0)
            requestPage(pagesLeft);
        else
            failLater(error);
    };
    events.didFinish = [this, tell] {
        m_isLoaded = true;
        m_source = {};
        tell(&Delegate::webViewDidFinishLoadForFrame, &m_mainFrame);
    };
    events.didAttachFrame = [this](const QString &frame, const QString &parent) {
        WebFrame *holder = m_mainFrame.find(parent);
        (holder ? holder : &m_mainFrame)->addChild(frame);
    };
    events.didDetachFrame = [this](const QString &frame) {
        if (WebFrame *gone = m_mainFrame.find(frame); gone && gone->parentFrame())
            gone->parentFrame()->removeChild(gone);
    };
    events.didCommitFrame = [this](const QString &frame, const QString &url) {
        if (WebFrame *committed = m_mainFrame.find(frame); committed && committed->parentFrame())
            committed->setURL(QUrl(url));
    };
    events.didFailSubframe = [this, tell](const NSError &error, const QString &frame) {
        tell(&Delegate::webViewDidFailProvisionalLoadWithError, m_mainFrame.find(frame), error);
    };
    events.didFinishSubframe = [this, tell](const QString &frame) {
        tell(&Delegate::webViewDidFinishLoadForFrame, m_mainFrame.find(frame));
    };
    return events;
}
