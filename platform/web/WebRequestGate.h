// SPDX-License-Identifier: MIT
#pragma once

#include "platform/web/WebArchiveServer.h"
#include "platform/web/WebNetwork.h"
#include "platform/web/WebSource.h"

#include <QHash>
#include <QSet>

namespace zr {

class DevToolsMessage;
class DevToolsParams;
class DevToolsSession;

/// The gate that all requests of a page pass: it counts them, and decides which are made, which are answered from
/// memory and which are refused.
///
/// Requests for documents, in the main frame and others, stop here and ask, and so do their answers. Once a document has
/// been loaded, requests for others are refused: a reload that it has scheduled must not replace it.
///
/// Where the browser has no network, all requests stop here, and what lies outside the document comes by WebNetwork or not
/// at all. Main thread only.
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
        /// The document may not be had, or asks for too much.
        virtual void networkRefused(const NSError &error) = 0;
    };

    /// \param session     the page's session; outlives the gate
    /// \param hasNetwork  whether requests that are left to the browser reach anything
    WebRequestGate(DevToolsSession &session, const QString &mainFrame, bool hasNetwork);

    /// What a new page is told first.
    void setUp();
    /// Prepares for a load; `ready` is called when the page may be sent to its address.
    void open(const WebSource &source, const std::weak_ptr<Listener> &listener,
              const std::function<void()> &ready);
    /// Lets requests out as far as the policy has it, until the network is left; for a browser without one.
    void enterNetwork(const WebNetworkPolicy &policy);
    /// Ends what is being fetched.
    void leaveNetwork() { m_network.reset(); }
    /// What the document has asked for too much of; nil if nothing.
    NSError excess() const { return m_network ? m_network->excess() : NSError(); }
    /// The load's document is there: others come too late.
    void closeToDocuments() { m_isClosedToDocuments = true; }

    /// Whether parts that layout needs have been asked for and not come.
    bool isWaiting() const { return !m_parts.isEmpty(); }
    /// Whether anything but data within the document has ever been asked for. The browser tells of each request before
    /// it makes it.
    bool hasMetOutside() const { return m_hasMetOutside; }

private:
    /// What becomes of the answer to a request for a document: most are the engine's to show, some are ours.
    enum class Showing { Engines, Ours, Refused };
    Showing showingOf(const QJsonObject &event, int status, const QByteArray &type,
                      const QByteArray &disposition) const;
    void requestPaused(const QJsonObject &event);
    void responsePaused(const QJsonObject &event);
    void networkAnswered(const QJsonObject &event, const PublicFetcher::Response &response);
    void networkRefused(const QJsonObject &event, const NSError &error);
    bool isMainDocument(const QJsonObject &event) const;
    /// Shows what is ours to show; `leave` leaves it to the engine.
    void showResponse(const QJsonValue &request, const QByteArray &type, const QByteArray &body,
                      const std::function<void()> &leave);
    void proceed(const QJsonValue &request);
    /// Passes the answer to a request for a document on, without what would have the browser ask for others: it makes
    /// the requests of Speculation-Rules without telling of them.
    void proceedWithResponse(const QJsonObject &event);
    void answer(const char *method, const QJsonValue &request, DevToolsParams params);
    void refuse(const QJsonValue &request, const char *reason = "Aborted");
    void fulfill(const QJsonValue &request, const QByteArray &contentType, const QByteArray &body);
    void requestStarted(const QJsonObject &event);
    void requestEnded(const QJsonObject &event, bool failed);

    DevToolsSession &m_session;
    const QString m_mainFrame;
    const bool m_hasNetwork;
    std::unique_ptr<WebNetwork> m_network;
    bool m_isFile = false; ///< the document may have its neighbours
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
