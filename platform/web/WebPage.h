// SPDX-License-Identifier: MIT
#pragma once

#include "platform/browser/DevToolsSession.h"
#include "platform/print/PagePreparation.h"
#include "platform/web/WebLoad.h"
#include "platform/web/WebPreferences.h"

namespace zr {

/// One page of the browser in a browser context of its own: loads documents, one at a time, and prints them. WebEngine
/// makes pages, lends them and decides whether one is used again.
///
/// Main thread only. Callbacks of a load may destroy the page.
class WebPage {
public:
    /// \param hasNetwork  whether its browser has
    WebPage(DevToolsPipe &pipe, const QByteArray &context, const QByteArray &target,
            const QByteArray &session, bool hasNetwork);
    ~WebPage();

    /// Sends what makes a new page ours; the handler is told whether all went well.
    void setUp(std::function<void(bool ready)> handler);
    /// Takes effect for the next load.
    void setPreferences(const WebPreferences &preferences);
    /// Loads a document in the place of the one that was there.
    /// \param policy  is limited exactly if the page's browser has no network
    void load(WebSource source, const WebNetworkPolicy &policy, WebLoad::Events events);
    /// Prints the document that has been loaded; runs the main run loop meanwhile. The error says why it failed.
    PagePrint print(const PagePrintOptions &options);
    /// Ends the load without a callback.
    void stop();
    /// Ends everything that is being done with the page, and the page with it. A load that is going on fails.
    void fail(const QString &why);
    /// Called once, when the page has failed, whether or not it was loading anything.
    void setFailureHandler(std::function<void()> handler) { m_failed = std::move(handler); }

    /// The context takes the page with it.
    const QByteArray &context() const { return m_context; }
    bool isOpen() const { return m_session.isOpen(); }
    /// Whether another document may be loaded here: the page has met neither network nor files, and nothing has failed.
    bool isReusable() const { return !m_isSpent && !m_gate.hasMetOutside() && isOpen(); }
    int loads() const { return m_loads; }
    /// Throws the document away; the handler is told whether the page is blank again.
    void reset(std::function<void(bool isBlank)> handler);

private:
    void listen();

    const QByteArray m_context;
    const QString m_frame; ///< the main frame's identifier, which is also the page's in the browser
    DevToolsSession m_session;
    WebRequestGate m_gate;
    std::shared_ptr<WebLoad> m_load;
    int m_loads = 0;
    bool m_leavesTraces = false;
    bool m_isSpent = false;
    int m_fontSize = 16, m_fixedFontSize = 14;
    std::function<void()> m_blankLoaded; ///< waits for the load event of a reset
    std::function<void()> m_failed;
};

} // namespace zr
