// SPDX-License-Identifier: MIT
#pragma once

#include "platform/web/WebArchiveServer.h"
#include "platform/web/WebSource.h"

#include <QHash>
#include <QSet>

namespace zr {

class DevToolsMessage;
class DevToolsSession;

/// The gate that all requests of a page pass: it counts them, and decides which are made, which are answered from
/// memory and which are refused.
///
/// Requests for documents, in the main frame and others, stop here and ask, and so do their answers. Once a document has
/// been loaded, requests for others are refused: a reload that it has scheduled must not replace it. Main thread only.
class WebRequestGate {
public:
    /// What one load of the page is told.
    class Listener {
    public:
        virtual ~Listener() = default;
        /// A document did not come: that of the load, or that of another frame.
        virtual void documentFailed(const QString &frame, const QString &why) = 0;
        /// The last picture, style sheet or font that was asked for has come or failed.
        virtual void lastPartCame() = 0;
        /// The document that came is one picture.
        virtual void pictureCame() = 0;
        /// The document that came is an archive; its request was refused.
        virtual void archiveCame(const WebArchive &archive) = 0;
    };

    /// \param session  the page's session; outlives the gate
    WebRequestGate(DevToolsSession &session, const QString &mainFrame);

    /// What a new page is told first.
    void setUp();
    /// Prepares for a load; `ready` is called when the page may be sent to its address.
    void open(const WebSource &source, const std::weak_ptr<Listener> &listener,
              const std::function<void()> &ready);
    /// The load's document is there: others come too late.
    void closeToDocuments() { m_isClosedToDocuments = true; }

    /// Whether parts that layout needs have been asked for and not come.
    bool isWaiting() const { return !m_parts.isEmpty(); }
    /// Whether anything but data within the document has ever been asked for. The browser tells of each request before
    /// it makes it.
    bool hasMetOutside() const { return m_hasMetOutside; }

private:
    void requestPaused(const QJsonObject &event);
    /// Decides on the answer to a request for a document: most are the engine's to show, some are ours.
    void responsePaused(const QJsonObject &event);
    void showResponse(const QJsonValue &request, const QByteArray &type, const QByteArray &body);
    void proceed(const QJsonValue &request);
    void refuse(const QJsonValue &request);
    void fulfill(const QJsonValue &request, const QByteArray &contentType, const QByteArray &body);
    void requestStarted(const QJsonObject &event);
    void requestEnded(const QJsonObject &event, bool failed);

    DevToolsSession &m_session;
    const QString m_mainFrame;
    std::weak_ptr<Listener> m_listener;
    QByteArray m_body, m_contentType;
    bool m_isDecoding = false; ///< the body is for a frame, which may load nothing else
    std::unique_ptr<WebArchiveServer> m_server;
    QString m_mainRequest;               ///< the load's own; empty until it is made
    QSet<QString> m_parts;               ///< requests for what layout needs
    QHash<QString, QString> m_documents; ///< request to frame
    bool m_isClosedToDocuments = false;
    bool m_hasMetOutside = false;
};

} // namespace zr
