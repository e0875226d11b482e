// SPDX-License-Identifier: MIT
#include "platform/web/WebEngine.h"

#include "platform/web/WebError.h"

#include <QCoreApplication>
#include <QTimer>
#include <algorithm>

using namespace zr;

namespace {

/// Milliseconds after a task before a page is made for the next one.
constexpr int makingDelay = 10;
/// Pages in a row that may fail to be made before those who wait for one are told.
constexpr int maxFailures = 3;

std::chrono::milliseconds idlePatience = std::chrono::minutes(1);
WebEngine::Endurance endurance;

bool prepared = false;

QString goneText() {
    return QStringLiteral("The browser has gone");
}

void applicationStarted() {
    WebEngine::applicationStarted();
}
Q_COREAPP_STARTUP_FUNCTION(applicationStarted)

} // namespace

WebEngine &WebEngine::shared() {
    // The keeper ends the browser when this process ends, however it does.
    static NeverDestroyed<WebEngine> engine(true);
    return *engine;
}

WebEngine &WebEngine::withoutNetwork() {
    static NeverDestroyed<WebEngine> engine(false);
    return *engine;
}

void WebEngine::setIdlePatience(std::chrono::milliseconds patience) {
    idlePatience = patience;
}

void WebEngine::setEndurance(const Endurance &most) {
    endurance = most;
}

std::unique_ptr<BrowserProcess> WebEngine::startProcess() const {
    return BrowserProcess::start(m_hasNetwork ? BrowserProcess::arguments()
                                              : BrowserProcess::argumentsWithoutNetwork());
}

void WebEngine::prepare() {
    prepared = true;
    WebEngine &engine = shared();
    if (!engine.m_process)
        engine.m_process = engine.startProcess();
    if (QCoreApplication::instance())
        engine.start();
}

void WebEngine::applicationStarted() {
    if (prepared)
        shared().start();
    // Sockets can't be watched without an application.
    qAddPostRoutine([] {
        shared().shutDown();
        withoutNetwork().shutDown();
    });
}

void WebEngine::start() {
    if (m_pipe)
        return;
    if (!m_process)
        m_process = startProcess();
    if (!m_process)
        return;
    m_pipe = std::make_unique<DevToolsPipe>(m_process->commandFd(), m_process->replyFd());
    m_browser = std::make_unique<DevToolsSession>(*m_pipe);
    m_pipe->setClosedHandler([this] { browserGone(); });
    makePage();
}

void WebEngine::browserGone() {
    // One that never came up is not started again unless someone asks, and not for ever.
    const bool wasHealthy = std::exchange(m_isHealthy, false);
    failLentPages(goneText());
    if (!wasHealthy && ++m_failures >= maxFailures) {
        m_failures = 0;
        failRequests(goneText());
    }
    // The pipe is on the stack: it goes later.
    QTimer::singleShot(0, [this, wasHealthy] {
        if (m_pipe && !m_pipe->isOpen())
            replaceBrowser(wasHealthy);
    });
}

void WebEngine::replaceBrowser(bool wasHealthy) {
    endBrowser();
    if (wasHealthy || !m_requests.empty())
        start();
    if (!m_pipe)
        failRequests(QStringLiteral("The browser cannot be started"));
}

void WebEngine::endBrowser() {
    m_isHealthy = false;
    failLentPages(goneText());
    m_isSpent = false;
    m_documents = 0;
    m_ready.reset();
    // A page that ends fails its calls, and their handlers look for it here: it must be gone by then.
    std::exchange(m_inWork, {}).clear();
    m_making = 0;
    // The calls that the pipe fails find it gone, and make no more.
    m_pipe.reset();
    m_browser.reset();
    m_process.reset();
}

void WebEngine::shutDown() {
    // Who watches this browser is not to end the next one.
    m_isWatched = false;
    ++m_uses;
    endBrowser();
    failRequests(goneText());
}

void WebEngine::failLentPages(const QString &why) {
    // Pages that are lent belong to their views, which may give them back when they hear of it.
    for (WebPage *page : std::vector<WebPage *>(m_lent)) {
        if (std::find(m_lent.cbegin(), m_lent.cend(), page) != m_lent.cend())
            page->fail(why);
    }
}

int WebEngine::requestPage(PageHandler handler) {
    const int number = ++m_lastNumber;
    m_requests.push_back({number, std::move(handler)});
    ++m_uses;
    (m_hasNetwork ? withoutNetwork() : shared()).endIfIdle();
    start();
    if (!m_pipe)
        failRequests(QStringLiteral("The browser cannot be started"));
    else
        serve();
    return number;
}

void WebEngine::endIfIdle() {
    if (!m_process || std::exchange(m_isWatched, true))
        return;
    QTimer::singleShot(idlePatience, [this, uses = m_uses] {
        if (m_uses == uses && m_lent.empty() && m_requests.empty())
            shutDown();
        m_isWatched = false;
    });
}

void WebEngine::cancelRequest(int number) {
    std::erase_if(m_requests, [number](const Request &request) { return request.number == number; });
}

void WebEngine::failRequests(const QString &why) {
    for (Request &request : std::exchange(m_requests, {}))
        request.handler(nullptr, webLoadError(why));
}

void WebEngine::serve() {
    if (!m_pipe || !m_pipe->isOpen())
        return;
    while (m_ready && !m_requests.empty()) {
        if (!m_process->isKept()) {
            // Its browser is about to end. The requests wait for the next one.
            m_ready.reset();
            return;
        }
        if (!m_ready->isReusable()) {
            discard(*std::exchange(m_ready, nullptr));
            break;
        }
        const Request request = std::move(m_requests.front());
        m_requests.pop_front();
        m_ready->setFailureHandler({});
        m_lent.push_back(m_ready.get());
        const bool isLastLoad = m_ready->loads() + 1 >= endurance.ofPage;
        request.handler(std::move(m_ready), {});
        // The document after this one finds its page made.
        if (isLastLoad)
            QTimer::singleShot(0, [this] { makePageIfNone(); });
    }
    while (m_making < int(m_requests.size()))
        makePage();
}

void WebEngine::takeBack(std::unique_ptr<WebPage> page) {
    std::erase(m_lent, page.get());
    if (!m_pipe || !m_pipe->isOpen())
        return;
    m_isSpent = m_isSpent || (++m_documents >= endurance.ofBrowser && m_lent.empty());
    if (m_isSpent) {
        // Nobody is to get it meanwhile.
        m_ready.reset();
        QTimer::singleShot(0, [this] { replaceIfSpent(); });
        return;
    }
    if (!page->isReusable() || page->loads() >= endurance.ofPage || m_ready) {
        discard(*page);
        // Whoever asked for the last document is served first; a page that is asked for is made at once.
        QTimer::singleShot(makingDelay, [this] { makePageIfNone(); });
        return;
    }
    WebPage *resetting = page.get();
    m_inWork.push_back(std::move(page));
    ++m_making;
    resetting->reset([this, resetting](bool isBlank) { endWork(resetting, isBlank); });
}

void WebEngine::discard(const WebPage &page) {
    // The context takes the page with it, and everything that it has stored; its process is ended even if it is busy.
    m_browser->call("Target.disposeBrowserContext", DevToolsParams().add("browserContextId", page.context()));
}

void WebEngine::makePageIfNone() {
    if (m_pipe && m_pipe->isOpen() && !m_ready && m_making == 0)
        makePage();
}

void WebEngine::makePage() {
    ++m_making;
    m_browser->call(
        "Target.createBrowserContext", DevToolsParams().add("disposeOnDetach", true),
        [this](const DevToolsMessage &reply) {
            if (reply.isError())
                return pageFailed(reply.error());
            const QByteArray context = reply.object()[u"browserContextId"].toString().toLatin1();
            m_browser->call("Browser.setDownloadBehavior",
                            DevToolsParams().add("behavior", "deny").add("browserContextId", context));
            m_browser->call("Target.createTarget",
                            DevToolsParams().add("url", "about:blank").add("browserContextId", context),
                            [this, context](const DevToolsMessage &created) {
                                if (created.isError())
                                    return pageFailed(created.error());
                                attach(context, created.object()[u"targetId"].toString().toLatin1());
                            });
        });
}

void WebEngine::attach(const QByteArray &context, const QByteArray &target) {
    m_browser->call(
        "Target.attachToTarget", DevToolsParams().add("targetId", target).add("flatten", true),
        [this, context, target](const DevToolsMessage &reply) {
            if (reply.isError())
                return pageFailed(reply.error());
            m_inWork.push_back(std::make_unique<WebPage>(
                *m_pipe, context, target, reply.object()[u"sessionId"].toString().toLatin1(), m_hasNetwork));
            WebPage *page = m_inWork.back().get();
            page->setUp([this, page](bool isReady) { endWork(page, isReady); });
        });
}

void WebEngine::endWork(WebPage *page, bool isReady) {
    const auto found = std::find_if(m_inWork.begin(), m_inWork.end(),
                                    [page](const auto &entry) { return entry.get() == page; });
    if (found == m_inWork.end())
        return;
    std::unique_ptr<WebPage> done = std::move(*found);
    m_inWork.erase(found);
    if (isReady)
        return pageReady(std::move(done));
    discard(*done);
    pageFailed(QStringLiteral("The page cannot be set up"));
}

void WebEngine::pageReady(std::unique_ptr<WebPage> page) {
    --m_making;
    m_isHealthy = true;
    m_failures = 0;
    if (m_ready) {
        discard(*page);
    } else {
        m_ready = std::move(page);
        m_ready->setFailureHandler([this] {
            // It is on the stack of its own failure.
            QTimer::singleShot(0, [this, dead = std::shared_ptr<WebPage>(std::move(m_ready))] {
                if (m_browser)
                    discard(*dead);
                makePageIfNone();
            });
        });
    }
    serve();
}

void WebEngine::pageFailed(const QString &why) {
    // A browser that has gone answers everything so; that is dealt with once, when its pipe closes.
    if (!m_pipe || !m_pipe->isOpen())
        return;
    --m_making;
    if (++m_failures < maxFailures) {
        makePage();
        return;
    }
    m_failures = 0;
    const bool wasHealthy = std::exchange(m_isHealthy, false);
    if (!wasHealthy)
        failRequests(why);
    // A browser that has lost the process from which it makes others lives on and makes no page any more: another one takes
    // its place. This is a call of its pipe, which goes later.
    m_isSpent = true;
    QTimer::singleShot(0, [this] { replaceIfSpent(); });
}

void WebEngine::replaceIfSpent() {
    // A document that has a page may keep it to its end, unless another one waits that can get none.
    if (m_isSpent && (m_lent.empty() || (!m_requests.empty() && !m_isHealthy)))
        replaceBrowser(m_isHealthy);
}
