// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/browser/DevToolsSession.h"
#include "platform/web/WebPreferences.h"

#include <QSet>
#include <QTimer>
#include <QUrl>

class WebArchive;
class WebArchiveServer;

/// One page of the browser in a browser context of its own: loads documents, one at a time, and tells how
/// that goes. WebEngine makes pages, lends them to web views and decides whether one is used again.
///
/// Main thread only. Each load ends in exactly one of the three main-frame callbacks, unless the page is
/// destroyed first; a callback may destroy the page.
class WebPage {
public:
    /// What a page tells; frames are named by their identifiers.
    struct Events {
        std::function<void(const NSError &)> didFailProvisionalLoad;
        std::function<void(const NSError &)> didFailLoad;
        std::function<void()> didFinishLoad;
        std::function<void(const QString &frame, const QString &parent)> didAttachFrame;
        std::function<void(const QString &frame)> didDetachFrame;
        std::function<void(const QString &frame, const QString &url)> didCommitFrame;
        std::function<void(const NSError &, const QString &frame)> didFailSubframe;
        std::function<void(const QString &frame)> didFinishSubframe;
    };

    WebPage(DevToolsPipe &pipe, const QByteArray &context, const QByteArray &target,
            const QByteArray &session);
    ~WebPage();

    /// Sends what makes a new page ours; the handler gets the last reply.
    void setUp(std::function<void(bool ready)> handler);

    DevToolsSession &session() { return m_session; }
    /// The main frame's identifier, which is also the page's in the browser.
    QString mainFrame() const { return QString::fromLatin1(m_target); }
    const QByteArray &context() const { return m_context; }

    void setEvents(Events events) { m_events = std::move(events); }
    /// Takes effect for the next load.
    void setPreferences(const WebPreferences &preferences);

    void loadMarkup(const QString &markup);
    /// Markup that shows one picture: where the engine can't make one of its bytes, the load fails.
    void loadPicture(const QString &markup);
    /// Markup that a MIME type other than text/html parses: `blankUrl` is an empty document of that type.
    void loadMarkup(const QString &markup, const QString &blankUrl);
    /// Markup that stands at an address of the web, so that what it refers to is looked for from there.
    void loadMarkup(const QString &markup, const QByteArray &mimeType, const QUrl &url);
    void loadUrl(const QUrl &url);
    /// A document served from memory at an address of its own, with what it refers to where the archive has
    /// it.
    void loadArchive(const WebArchive &archive);
    /// Ends the load in hand without a callback.
    void stop();
    /// Ends the load in hand with a failure, and the page with it.
    void fail(const QString &why);

    /// Whether another document may be loaded here: the page has met neither network nor files, and nothing
    /// has failed.
    bool isReusable() const;
    int loads() const { return m_loads; }
    /// Keeps further documents away: something has failed with this one.
    void spend() { m_spent = true; }
    /// Whether the document has put another one into its place since it was loaded.
    bool isReplaced() const { return m_replaced; }
    /// What the browser's error means here.
    QString explained(const QString &error) const;
    /// Throws the document away; the handler is told whether the page is blank again.
    void reset(std::function<void(bool blank)> handler);

private:
    enum class State { Blank, Loading, Finished, Failed };

    void listen();
    void begin(bool mayReachOutside);
    void navigate(const QString &url, std::function<void()> committed);
    void navigateWatched();
    void watch(std::function<void()> ready);
    void watchReloads(std::function<void()> ready);
    void setContent(const QString &markup);
    /// Runs `next` when the load event of the document that is loading now has come, and takes it away.
    void afterLoadEvent(std::function<void()> next);
    void commit();
    void layOut();
    void settle();
    void fulfill(const QJsonValue &request, const QByteArray &contentType, const QByteArray &body);
    void requestPaused(const QJsonObject &event);
    /// Decides on the answer to a request for a document: most are the engine's to show, some are ours.
    void responsePaused(const QJsonObject &event);
    void showResponse(const QJsonValue &request, const QByteArray &type, const QByteArray &body);
    void requestStarted(const DevToolsMessage &event);
    void requestEnded(const DevToolsMessage &event, bool failed);
    void finish();
    void finishPicture();
    void failProvisional(const NSError &error);
    void failCommitted(const NSError &error);
    /// A reply handler that does nothing once another load has begun or the page is gone.
    DevToolsPipe::ReplyHandler during(std::function<void(const DevToolsMessage &)> handler);

    const QByteArray m_context;
    const QByteArray m_target;
    Events m_events;
    State m_state = State::Blank;
    int m_load = 0; ///< numbers loads and resets, so that late replies are known as such
    int m_loads = 0;
    bool m_committed = false;
    bool m_loadEventSeen = false;
    bool m_settling = false;
    bool m_mayLoadFonts = false;
    bool m_leavesTraces = false;
    bool m_isPicture = false; ///< the document is nothing without its one picture
    bool m_metOutside = false;
    bool m_spent = false;
    bool m_replaced = false;
    QString m_url;
    QString m_loader; ///< names the navigation that brought the document, where one did
    NSError m_mainFailure;
    QSet<QByteArray> m_pendingRequests;
    QHash<QByteArray, QString> m_documentRequests; ///< request to frame
    QByteArray m_mainRequest;                      ///< the first one of the main frame
    QSet<QString> m_failedFrames;
    std::unique_ptr<WebArchiveServer> m_server;
    QByteArray m_mainBody, m_mainType; ///< served for the main document, where it has a type
    int m_fontSize = 16, m_fixedFontSize = 14;
    std::function<void()> m_onLoadEvent; ///< takes the load event from the load in hand
    QTimer m_layoutTimer;
    std::shared_ptr<WebPage *> m_self;
    /// Last, so that the calls it fails find everything else alive.
    DevToolsSession m_session;
};
