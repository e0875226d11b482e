// SPDX-License-Identifier: MIT
#include "platform/web/WebRequestGate.h"

#include "platform/browser/DevToolsSession.h"
#include "platform/documents/WebDocument.h"
#include "platform/documents/WebDocumentSniffer.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace zr;

namespace {

constexpr char everyDocument[] =
    "[{\"resourceType\":\"Document\"},{\"resourceType\":\"Document\",\"requestStage\":\"Response\"}]";

/// Keeps a document that is decoded from loading anything, and from moving on.
constexpr char decodingPolicy[] = "sandbox allow-same-origin; default-src 'none'; connect-src data:";

/// Names no request: the load makes none for its document.
const QString noRequest = QStringLiteral("none");

/// The value of a header field among those of a Fetch event; null if it is missing.
QByteArray headerValue(const QJsonObject &event, QLatin1StringView name) {
    const QJsonArray headers = event[u"responseHeaders"].toArray();
    for (const auto &header : headers) {
        if (header[u"name"].toString().compare(name, Qt::CaseInsensitive) == 0)
            return header[u"value"].toString().toUtf8();
    }
    return {};
}

/// Kinds of documents that are not left to the engine, which would show them otherwise or not at all.
bool isOurs(WebDocumentKind kind) {
    return WebDocumentSniffer::isPicture(kind) || kind == WebDocumentKind::MHTML ||
           kind == WebDocumentKind::PropertyListArchive;
}

bool isOutside(QStringView url) {
    return !url.startsWith(u"data:") && !url.startsWith(u"about:") && !url.startsWith(u"blob:");
}

} // namespace

WebRequestGate::WebRequestGate(DevToolsSession &session, const QString &mainFrame)
    : m_session(session), m_mainFrame(mainFrame) {
    const auto on = [this](const char *event, auto handler) {
        m_session.on(event, [handler](const DevToolsMessage &message) { handler(message.object()); });
    };
    on("Fetch.requestPaused", [this](const QJsonObject &event) { requestPaused(event); });
    on("Network.requestWillBeSent", [this](const QJsonObject &event) { requestStarted(event); });
    on("Network.loadingFinished", [this](const QJsonObject &event) { requestEnded(event, false); });
    on("Network.loadingFailed", [this](const QJsonObject &event) { requestEnded(event, true); });
    on("Network.responseReceived", [this](const QJsonObject &event) {
        // A picture that never ends is there with its first part.
        if (event[u"response"][u"mimeType"].toString() == QLatin1StringView("multipart/x-mixed-replace"))
            m_parts.remove(event[u"requestId"].toString());
    });
    on("Page.frameRequestedNavigation", [this](const QJsonObject &event) {
        m_hasMetOutside = m_hasMetOutside || (!m_isDecoding && isOutside(event[u"url"].toString()));
    });
}

void WebRequestGate::setUp() {
    m_session.call("Network.enable",
                   DevToolsParams().add("maxTotalBufferSize", 0).add("maxResourceBufferSize", 0));
    m_session.call("Fetch.enable",
                   DevToolsParams().add("patterns", QJsonDocument::fromJson(everyDocument).array()));
}

void WebRequestGate::open(const WebSource &source, const std::weak_ptr<Listener> &listener,
                          const std::function<void()> &ready) {
    m_listener = listener;
    m_hasMetOutside = m_hasMetOutside || !source.url.isEmpty();
    m_isClosedToDocuments = false;
    m_mainRequest = source.url.isEmpty() ? noRequest : QString();
    m_parts.clear();
    m_documents.clear();
    m_body = source.body;
    m_contentType = source.contentType;
    m_isDecoding = bool(source.decoded);
    if (source.archive) {
        m_server = std::make_unique<WebArchiveServer>(m_session, *source.archive);
        m_server->start(ready);
    } else {
        ready();
    }
}

void WebRequestGate::requestPaused(const QJsonObject &event) {
    const QJsonValue request = event[u"requestId"];
    const bool isDocument = event[u"resourceType"].toString() == QLatin1StringView("Document");
    const bool isMain = isDocument && event[u"frameId"].toString() == m_mainFrame;
    const QString networkId = event[u"networkId"].toString();
    if (isMain && m_mainRequest.isEmpty())
        m_mainRequest = networkId;
    if (isMain ? networkId != m_mainRequest : isDocument && m_isClosedToDocuments)
        refuse(request);
    else if (m_server)
        m_server->answer(event);
    else if (event.contains(u"responseStatusCode") && !event.contains(u"responseErrorReason"))
        // A request that has failed has no body, and asking for one ends some browsers.
        responsePaused(event);
    else if ((isMain || m_isDecoding) && !m_contentType.isEmpty())
        fulfill(request, m_contentType, m_body);
    else
        proceed(request);
}

void WebRequestGate::responsePaused(const QJsonObject &event) {
    const QJsonValue request = event[u"requestId"];
    const int status = event[u"responseStatusCode"].toInt();
    const QByteArray type = headerValue(event, QLatin1StringView("Content-Type"));
    const WebDocumentKind kind = WebDocumentSniffer::kindOfMIMEType(type);
    const bool isShown =
        event[u"frameId"].toString() == m_mainFrame && (status < 300 || status >= 400) &&
        !headerValue(event, QLatin1StringView("Content-Disposition")).toLower().startsWith("attachment");
    if (isShown && (type.startsWith("audio/") || type.startsWith("video/"))) {
        // The engine would show a player that plays nothing.
        refuse(request);
    } else if (isShown && (isOurs(kind) || type.isEmpty())) {
        m_session.call("Fetch.getResponseBody", DevToolsParams().add("requestId", request),
                       [this, request, type, listener = m_listener](const DevToolsMessage &reply) {
                           if (listener.expired())
                               return;
                           const QJsonObject body = reply.object();
                           const QByteArray text = body[u"body"].toString().toUtf8();
                           showResponse(request, type,
                                        body[u"base64Encoded"].toBool() ? QByteArray::fromBase64(text)
                                                                        : text);
                       });
    } else {
        proceed(request);
    }
}

void WebRequestGate::showResponse(const QJsonValue &request, const QByteArray &type, const QByteArray &body) {
    if (type.isEmpty() && !isOurs(WebDocumentSniffer::kindOfData(body))) {
        proceed(request);
        return;
    }
    const std::shared_ptr<Listener> listener = m_listener.lock();
    const std::optional<WebDocument> document = WebDocument::documentWithData(body, type);
    if (document && !document->archive()) {
        if (document->isPicture())
            listener->pictureCame();
        fulfill(request, document->mimeType() + ";charset=utf-8", document->text().toUtf8());
        return;
    }
    refuse(request);
    if (document)
        listener->archiveCame(*document->archive());
}

void WebRequestGate::proceed(const QJsonValue &request) {
    m_session.call("Fetch.continueRequest", DevToolsParams().add("requestId", request));
}

void WebRequestGate::refuse(const QJsonValue &request) {
    m_session.call("Fetch.failRequest",
                   DevToolsParams().add("requestId", request).add("errorReason", "Aborted"));
}

void WebRequestGate::fulfill(const QJsonValue &request, const QByteArray &contentType,
                             const QByteArray &body) {
    const auto field = [](const char *name, const QByteArray &value) {
        return QJsonObject{{QStringLiteral("name"), QLatin1StringView(name)},
                           {QStringLiteral("value"), QString::fromLatin1(value)}};
    };
    QJsonArray headers{field("Content-Type", contentType)};
    if (m_isDecoding) {
        headers.append(field("X-Content-Type-Options", "nosniff"));
        headers.append(field("Content-Security-Policy", decodingPolicy));
    }
    m_session.call("Fetch.fulfillRequest", DevToolsParams()
                                               .add("requestId", request)
                                               .add("responseCode", 200)
                                               .add("responseHeaders", headers)
                                               .add("body", body.toBase64()));
}

void WebRequestGate::requestStarted(const QJsonObject &event) {
    const QString request = event[u"requestId"].toString();
    const QString type = event[u"type"].toString();
    // What is decoded is answered from memory, and may ask for nothing.
    m_hasMetOutside = m_hasMetOutside || (!m_isDecoding && isOutside(event[u"request"][u"url"].toString()));
    if (type == QLatin1StringView("Document")) {
        const QString frame = event[u"frameId"].toString();
        m_documents.insert(request, frame);
        if (frame == m_mainFrame && m_mainRequest.isEmpty())
            m_mainRequest = request;
    } else if (type == QLatin1StringView("Image") || type == QLatin1StringView("Stylesheet") ||
               type == QLatin1StringView("Font")) {
        m_parts.insert(request);
    }
}

void WebRequestGate::requestEnded(const QJsonObject &event, bool failed) {
    const std::shared_ptr<Listener> listener = m_listener.lock();
    const QString request = event[u"requestId"].toString();
    const QString frame = m_documents.take(request);
    if (!listener)
        return;
    if (m_parts.remove(request)) {
        if (m_parts.isEmpty())
            listener->lastPartCame();
        // Later requests of the main frame are for reloads, which don't matter.
    } else if (failed && !frame.isNull() && (frame != m_mainFrame || request == m_mainRequest)) {
        listener->documentFailed(frame, event[u"errorText"].toString());
    }
}
