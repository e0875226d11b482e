// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/web/WebFrame.h"
#include "platform/web/WebPage.h"

class WebView;

namespace zr {

class WebEngine;

/// A view's way to its page: gets one for each load, tells the view's delegate and frames what becomes of it, and gives
/// it back. Main thread only.
class WebViewLoader {
public:
    explicit WebViewLoader(WebView &view);
    ~WebViewLoader();
    WebViewLoader(const WebViewLoader &) = delete;
    WebViewLoader &operator=(const WebViewLoader &) = delete;

    WebFrame &mainFrame() { return m_mainFrame; }
    /// Loads into the main frame; the delegate hears of nothing before this has returned.
    void load(WebSource source, const QUrl &url);
    /// Ends what the view is doing, and has the load that never began fail.
    void failLoad(const NSError &error);
    /// Ends loading without telling the delegate, and a printing that is going on with a failure.
    void stop();
    /// Whether there is a document to be printed.
    bool isLoaded() const { return m_isLoaded; }
    PagePrint print();

private:
    void requestPage(int pagesLeft);
    void pageCame(std::unique_ptr<WebPage> page, const NSError &error, int pagesLeft);
    void releasePage();
    void failLater(const NSError &error);
    WebLoad::Events events(int pagesLeft);

    WebView &m_view;
    WebFrame m_mainFrame;
    WebSource m_source;
    WebNetworkPolicy m_policy;
    WebEngine *m_engine; ///< that the page is from
    std::unique_ptr<WebPage> m_page;
    int m_request = 0; ///< for a page that has not come yet
    bool m_isLoaded = false;
    bool m_isPrinting = false;
    /// Outlived by what was put off to the event loop; each load has its own.
    std::shared_ptr<WebViewLoader *> m_self;
};

} // namespace zr
