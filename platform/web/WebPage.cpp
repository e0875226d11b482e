// SPDX-License-Identifier: MIT
#include "platform/web/WebPage.h"

using namespace zr;

WebPage::WebPage(DevToolsPipe &pipe, const QByteArray &context, const QByteArray &target,
                 const QByteArray &session, bool hasNetwork)
    : m_context(context), m_frame(QString::fromLatin1(target)), m_session(pipe, session),
      m_gate(m_session, m_frame, hasNetwork) {
    listen();
}

WebPage::~WebPage() {
    m_load.reset();
    // The calls that it fails find everything else alive.
    m_session.close(QStringLiteral("The page has gone"));
}

void WebPage::listen() {
    const auto pass = [this](const char *event, void (WebLoad::*handler)(const QJsonObject &)) {
        m_session.on(event, [this, handler](const DevToolsMessage &message) {
            if (const std::shared_ptr<WebLoad> load = m_load)
                ((*load).*handler)(message.object());
        });
    };
    pass("Page.frameAttached", &WebLoad::frameAttached);
    pass("Page.frameDetached", &WebLoad::frameDetached);
    pass("Page.frameNavigated", &WebLoad::frameNavigated);
    pass("Page.frameStoppedLoading", &WebLoad::frameStoppedLoading);
    m_session.on("Page.loadEventFired", [this](const DevToolsMessage &message) {
        if (const std::shared_ptr<WebLoad> load = m_load)
            load->loadEventFired(message.object());
        else if (const std::function<void()> handler = std::exchange(m_blankLoaded, {}))
            handler();
    });
    m_session.on("Inspector.targetCrashed",
                 [this](const DevToolsMessage &) { fail(QStringLiteral("The page's process has ended")); });
    m_session.on("Inspector.detached",
                 [this](const DevToolsMessage &) { fail(QStringLiteral("The page has gone")); });
}

void WebPage::setUp(std::function<void(bool)> handler) {
    m_session.call("Page.enable");
    m_session.call("Inspector.enable");
    m_gate.setUp();
    m_session.call("Emulation.setScriptExecutionDisabled", DevToolsParams().add("value", true));
    m_session.call(
        "Emulation.setEmulatedMedia", DevToolsParams().add("media", "screen"),
        [handler = std::move(handler)](const DevToolsMessage &reply) { handler(!reply.isError()); });
}

void WebPage::setPreferences(const WebPreferences &preferences) {
    if (preferences.defaultFontSize() == m_fontSize && preferences.defaultFixedFontSize() == m_fixedFontSize)
        return;
    m_fontSize = preferences.defaultFontSize();
    m_fixedFontSize = preferences.defaultFixedFontSize();
    // The next user of a page expects the usual sizes.
    m_isSpent = true;
    m_session.call(
        "Page.setFontSizes",
        DevToolsParams().add("fontSizes", QJsonObject{{QStringLiteral("standard"), m_fontSize},
                                                      {QStringLiteral("fixed"), m_fixedFontSize}}));
}

void WebPage::load(WebSource source, const WebNetworkPolicy &policy, WebLoad::Events events) {
    ++m_loads;
    if (policy.isLimited())
        m_gate.enterNetwork(policy);
    m_load = std::make_shared<WebLoad>(m_session, m_gate, m_frame, std::move(source), std::move(events));
    m_load->start();
}

PagePrint WebPage::print(const PagePrintOptions &options) {
    PagePrint print = printLoadedPage(m_session, m_frame, options);
    print.error = m_load->explained(print.error);
    // Some pictures are asked for only now.
    if (const NSError excess = m_gate.excess())
        print.error = excess.localizedDescription();
    if (m_load->isReplaced() || m_gate.excess())
        print.pdf.clear();
    m_isSpent = m_isSpent || !print.error.isEmpty();
    return print;
}

void WebPage::stop() {
    const std::shared_ptr<WebLoad> load = std::exchange(m_load, nullptr);
    m_gate.leaveNetwork();
    if (!load)
        return;
    m_leavesTraces = load->leavesTraces();
    // A reload that was scheduled may come at any later time.
    m_isSpent = m_isSpent || !load->hasFinished() || load->mayReload();
    if (load->isLoading())
        m_session.call("Page.stopLoading");
}

void WebPage::fail(const QString &why) {
    m_isSpent = true;
    const std::shared_ptr<WebLoad> load = m_load;
    const std::function<void()> failed = std::exchange(m_failed, {});
    m_gate.leaveNetwork();
    m_session.close(why);
    if (load)
        load->pageLost(why);
    if (failed)
        failed();
}

void WebPage::reset(std::function<void(bool)> handler) {
    // The blank page is there when both its content and its load event are.
    const auto part = [this, missing = std::make_shared<int>(2), handler = std::move(handler)](bool ok) {
        if (!ok)
            *missing = 0;
        else if (*missing == 0 || --*missing > 0)
            return;
        m_blankLoaded = {};
        handler(ok);
    };
    m_blankLoaded = [part] { part(true); };
    const auto reply = [part](const DevToolsMessage &message) { part(!message.isError()); };
    if (m_leavesTraces)
        m_session.call("Page.navigate", DevToolsParams().add("url", "about:blank"), reply);
    else
        m_session.call("Page.setDocumentContent", DevToolsParams().add("frameId", m_frame).add("html", ""),
                       reply);
}
