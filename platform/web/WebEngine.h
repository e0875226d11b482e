// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/browser/BrowserProcess.h"
#include "platform/web/WebPage.h"

#include <chrono>
#include <deque>
#include <vector>

namespace zr {

/// A browser of the process and its pages: started as early as possible, started again when it has died.
///
/// There are two: one that has the machine's network, and one that has none, for documents whose access to networks is
/// limited; that one is started for the first of them. While one of the two works, the other, if nobody has used it for
/// a minute, is ended, to be started again when it is needed.
///
/// A page serves one document after the other as long as they are self-contained; what has met the network or files, or
/// has failed, is thrown away together with its browser context, its cookies, cache and process. One blank page is kept
/// ready, and replaced if its process dies. A browser keeps a little of every document; after some thousands another one takes
/// its place. Main thread only.
class WebEngine {
public:
    /// Starts the browser, unless it is running. May be called before there is a QCoreApplication, and should be the
    /// first thing that a service does: the browser then comes up while the service does.
    static void prepare();
    static WebEngine &shared();
    /// The one whose browser reaches nothing.
    static WebEngine &withoutNetwork();
    /// How long one of the two may be unused before it is ended.
    static void setIdlePatience(std::chrono::milliseconds patience);
    /// How many documents are served before another page, or another browser, takes the place.
    struct Endurance {
        int ofPage = 1000;
        int ofBrowser = 5000;
    };
    static void setEndurance(const Endurance &most);
    /// There is a QCoreApplication now.
    static void applicationStarted();

    /// Gets the page, or null and the reason why there is none.
    using PageHandler = std::function<void(std::unique_ptr<WebPage> page, const NSError &error)>;
    /// Asks for a blank page of one's own; the handler is called from the event loop, or at once when a page is ready.
    /// The page may have died unnoticed: its load then says so. \return a number for `cancelRequest`
    int requestPage(PageHandler handler);
    void cancelRequest(int number);
    /// Gives a page back.
    void takeBack(std::unique_ptr<WebPage> page);

    /// The running browser, null while there is none; for those who watch over it.
    BrowserProcess *process() const { return m_process.get(); }

    /// Ends the browser and everything of it. The next request starts another one.
    void shutDown();

private:
    struct Request {
        int number;
        PageHandler handler;
    };

    explicit WebEngine(bool hasNetwork) : m_hasNetwork(hasNetwork) {}
    friend class NeverDestroyed<WebEngine>;

    void start();
    void browserGone();
    void endBrowser();
    void makePage();
    void attach(const QByteArray &context, const QByteArray &target);
    /// A page is blank, and ours; or it can't be had.
    void endWork(WebPage *page, bool isReady);
    void pageFailed(const QString &why);
    void replaceIfSpent();
    /// Another browser takes the place of one that worked, or for which somebody waits.
    void replaceBrowser(bool wasHealthy);
    void pageReady(std::unique_ptr<WebPage> page);
    void discard(const WebPage &page);
    void makePageIfNone();
    void serve();
    void failRequests(const QString &why);
    void failLentPages(const QString &why);
    std::unique_ptr<BrowserProcess> startProcess() const;
    /// Has this browser ended if nobody uses it for a while.
    void endIfIdle();

    const bool m_hasNetwork;
    std::unique_ptr<BrowserProcess> m_process;
    std::unique_ptr<DevToolsPipe> m_pipe;
    std::unique_ptr<DevToolsSession> m_browser;
    std::vector<std::unique_ptr<WebPage>> m_inWork; ///< being set up or made blank again
    std::unique_ptr<WebPage> m_ready;
    std::vector<WebPage *> m_lent;
    std::deque<Request> m_requests;
    int m_making = 0;   ///< pages on their way to being ready
    int m_failures = 0; ///< pages and browsers in a row that could not be made
    int m_lastNumber = 0;
    bool m_isHealthy = false; ///< the browser has made a page
    bool m_isSpent = false;   ///< and makes no more, or is to make no more
    int m_documents = 0;      ///< that the browser has served
    quint64 m_uses = 0;       ///< requests for pages so far
    bool m_isWatched = false; ///< endIfIdle() waits
};

} // namespace zr
