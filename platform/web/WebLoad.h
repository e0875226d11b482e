// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/browser/DevToolsPipe.h"
#include "platform/web/WebRequestGate.h"

#include <QTimer>

namespace zr {

/// One load of a page: from the call that starts it until the document is there with all that it shows, or has failed.
///
/// Main thread only. A load ends in exactly one of didFinish, didFail, didFailProvisionally and didLosePage, unless its
/// page is stopped or destroyed first; a callback may destroy the page.
class WebLoad : public WebRequestGate::Listener, public std::enable_shared_from_this<WebLoad> {
public:
    /// What a load tells; frames are named by their identifiers.
    struct Events {
        /// Nothing of the document has come.
        std::function<void(const NSError &)> didFailProvisionally;
        /// The document had begun to come.
        std::function<void(const NSError &)> didFail;
        /// The page was dead before the document had reached it: another one may load it.
        std::function<void(const NSError &)> didLosePage;
        std::function<void()> didFinish;
        std::function<void(const QString &frame, const QString &parent)> didAttachFrame;
        std::function<void(const QString &frame)> didDetachFrame;
        std::function<void(const QString &frame, const QString &url)> didCommitFrame;
        std::function<void(const NSError &, const QString &frame)> didFailSubframe;
        std::function<void(const QString &frame)> didFinishSubframe;
    };

    /// \param session, gate  the page's; outlive the load
    WebLoad(DevToolsSession &session, WebRequestGate &gate, const QString &mainFrame, WebSource source,
            Events events);

    void start();
    /// Ends the load, because the page or its browser has gone. The session is closed by then.
    void pageLost(const QString &why);

    bool isLoading() const { return m_stage < Stage::Finished; }
    bool hasFinished() const { return m_stage == Stage::Finished; }
    /// Whether something of the document may outlive its replacement by another one in the same page.
    bool leavesTraces() const { return m_leavesTraces; }
    /// Whether the document may replace itself by another one after a while.
    bool mayReload() const { return m_mayReload; }
    /// Whether the document has put another one into its place since it was loaded.
    bool isReplaced() const { return m_isReplaced; }
    /// What the browser's error means here.
    QString explained(const QString &error) const;

    /// The page's events, while this is its load.
    void loadEventFired(const QJsonObject &event);
    void frameAttached(const QJsonObject &event);
    void frameDetached(const QJsonObject &event);
    void frameNavigated(const QJsonObject &event);
    void frameStoppedLoading(const QJsonObject &event);

    void documentFailed(const QString &frame, const QString &why) override;
    void lastPartCame() override;
    void pictureCame() override { m_source.isPicture = true; }
    void archiveCame(const WebArchive &archive) override;
    void networkRefused(const NSError &error) override { fail(error); }

private:
    enum class Stage { Provisional, Committed, Settling, Finished, Failed };

    /// A reply handler that does nothing once the load has ended or the page is gone.
    DevToolsPipe::ReplyHandler during(std::function<void(const DevToolsMessage &)> handler);
    void proveLife();
    void begin();
    void decode();
    void goThere();
    void navigate(const QString &url, const std::function<void()> &committed);
    void setContent(const QString &markup);
    /// Calls `next` when the load event of the document that is loading now has come, and takes that away.
    void afterLoadEvent(std::function<void()> next);
    void commit();
    void layOut();
    void settle();
    void finish();
    void fail(const NSError &error);
    NSError errorFor(const QString &browserText) const;

    DevToolsSession &m_session;
    WebRequestGate &m_gate;
    const QString m_mainFrame;
    WebSource m_source;
    const Events m_events;
    Stage m_stage = Stage::Provisional;
    int m_number = 0; ///< late replies carry an earlier one
    bool m_hasReachedPage = false;
    bool m_loadEventSeen = false;
    bool m_mayLoadFonts = false;
    bool m_leavesTraces = false;
    bool m_mayReload = false;
    bool m_isReplaced = false;
    QString m_decodingFrame;
    QString m_loader; ///< names the navigation that brought the document, if one did
    NSError m_documentError;
    QSet<QString> m_failedFrames;
    std::function<void()> m_onLoadEvent;
    QTimer m_layoutTimer;
};

} // namespace zr
