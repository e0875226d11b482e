// SPDX-License-Identifier: MIT
#include "platform/web/WebRequestGate.h"

#include "platform/browser/DevToolsSession.h"
#include "platform/documents/WebDocument.h"
#include "platform/documents/WebDocumentSniffer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>
#include <algorithm>
#include <array>

using namespace zr;

namespace {

constexpr char everyDocument[] =
    "[{\"resourceType\":\"Document\"},{\"resourceType\":\"Document\",\"requestStage\":\"Response\"}]";
/// And the answers that the browser has by itself.
constexpr char everything[] = "[{\"urlPattern\":\"*\"},{\"urlPattern\":\"file:*\",\"resourceType\":"
                              "\"Document\",\"requestStage\":\"Response\"}]";

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

/// Whether it is a file of this machine.
bool isFileURL(const QString &url) {
    const QUrl parsed(url);
    return parsed.scheme() == u"file" && (parsed.host().isEmpty() || parsed.host() == u"localhost");
}

/// Whether a field of an answer is handed on to the browser. Those that aren't make it ask for more by itself
/// (Speculation-Rules, Link, Accept-CH, Report-To, Nel), move the document elsewhere (Alt-Svc, Origin-Agent-Cluster,
/// Cross-Origin-Opener-Policy), describe bytes that came packed, or are about caches, of which there are none.
bool isForBrowser(const QString &field) {
    static constexpr std::array fields = {
        "Access-Control-Allow-Credentials",
        "Access-Control-Allow-Origin",
        "Content-Disposition",
        "Content-Language",
        "Content-Security-Policy",
        "Content-Type",
        "Cross-Origin-Resource-Policy",
        "Location",
        "Referrer-Policy",
        "Refresh",
        "Set-Cookie",
        "X-Content-Type-Options",
        "X-Frame-Options",
    };
    return std::any_of(fields.begin(), fields.end(),
                       [&](const char *each) { return field == QLatin1StringView(each); });
}

/// The value of a field of a response; null if it is missing.
QByteArray fieldOf(const PublicFetcher::Response &response, QLatin1StringView name) {
    const auto at = std::find_if(response.fields.begin(), response.fields.end(),
                                 [&](const PublicFetcher::Field &field) { return field.first == name; });
    return at == response.fields.end() ? QByteArray() : at->second.toUtf8();
}

QJsonObject headerEntry(const QString &name, const QString &value) {
    return {{QStringLiteral("name"), name}, {QStringLiteral("value"), value}};
}

} // namespace

WebRequestGate::WebRequestGate(DevToolsSession &session, const QString &mainFrame, bool hasNetwork)
    : m_session(session), m_mainFrame(mainFrame), m_hasNetwork(hasNetwork) {
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
    m_session.call(
        "Fetch.enable",
        DevToolsParams().add("patterns",
                             QJsonDocument::fromJson(m_hasNetwork ? everyDocument : everything).array()));
}

void WebRequestGate::enterNetwork(const WebNetworkPolicy &policy) {
    m_network = std::make_unique<WebNetwork>(
        policy,
        WebNetwork::Events{
            .didAnswer = [this](const auto &event,
                                const auto &response) { networkAnswered(event, response); },
            .didRefuse = [this](const auto &event, const auto &error) { networkRefused(event, error); },
            .didExceed =
                [this](const NSError &error) {
                    if (const std::shared_ptr<Listener> listener = m_listener.lock())
                        listener->networkRefused(error);
                },
        });
}

void WebRequestGate::open(const WebSource &source, const std::weak_ptr<Listener> &listener,
                          const std::function<void()> &ready) {
    m_listener = listener;
    m_hasMetOutside = m_hasMetOutside || !source.url.isEmpty();
    m_isClosedToDocuments = false;
    m_isFile = isFileURL(source.url);
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
    const bool isMain = isMainDocument(event);
    const QString networkId = event[u"networkId"].toString();
    const QString url = event[u"request"][u"url"].toString();
    if (isMain && m_mainRequest.isEmpty())
        m_mainRequest = networkId;
    if (isMain ? networkId != m_mainRequest : isDocument && m_isClosedToDocuments) {
        refuse(request);
        return;
    }
    if (m_server && m_server->isFor(url))
        m_server->answer(event);
    else if (event.contains(u"responseStatusCode") && !event.contains(u"responseErrorReason"))
        // A request that has failed has no body, and asking for one ends some browsers.
        responsePaused(event);
    else if (isDocument && (isMain || m_isDecoding) && !m_contentType.isEmpty())
        fulfill(request, m_contentType, m_body);
    else if (m_hasNetwork || !isOutside(url) || (m_isFile && isFileURL(url)))
        proceed(request);
    else if (m_network && !m_isDecoding)
        m_network->take(event);
    else
        refuse(request);
}

bool WebRequestGate::isMainDocument(const QJsonObject &event) const {
    return event[u"resourceType"].toString() == QLatin1StringView("Document") &&
           event[u"frameId"].toString() == m_mainFrame;
}

WebRequestGate::Showing WebRequestGate::showingOf(const QJsonObject &event, int status,
                                                  const QByteArray &type,
                                                  const QByteArray &disposition) const {
    if (!isMainDocument(event) || (status >= 300 && status < 400) ||
        disposition.toLower().startsWith("attachment"))
        return Showing::Engines;
    // The engine would show a player that plays nothing.
    if (type.startsWith("audio/") || type.startsWith("video/"))
        return Showing::Refused;
    return type.isEmpty() || isOurs(WebDocumentSniffer::kindOfMIMEType(type)) ? Showing::Ours
                                                                              : Showing::Engines;
}

void WebRequestGate::responsePaused(const QJsonObject &event) {
    const QJsonValue request = event[u"requestId"];
    const QByteArray type = headerValue(event, QLatin1StringView("Content-Type"));
    switch (showingOf(event, event[u"responseStatusCode"].toInt(), type,
                      headerValue(event, QLatin1StringView("Content-Disposition")))) {
    case Showing::Refused:
        refuse(request);
        return;
    case Showing::Engines:
        proceedWithResponse(event);
        return;
    case Showing::Ours:
        break;
    }
    m_session.call("Fetch.getResponseBody", DevToolsParams().add("requestId", request),
                   [this, event, request, type, listener = m_listener](const DevToolsMessage &reply) {
                       if (listener.expired())
                           return;
                       const QJsonObject body = reply.object();
                       const QByteArray text = body[u"body"].toString().toUtf8();
                       showResponse(request, type,
                                    body[u"base64Encoded"].toBool() ? QByteArray::fromBase64(text) : text,
                                    [&] { proceedWithResponse(event); });
                   });
}

void WebRequestGate::networkAnswered(const QJsonObject &event, const PublicFetcher::Response &response) {
    const QJsonValue request = event[u"requestId"];
    const auto leave = [&] {
        QJsonArray headers;
        for (const auto &[name, value] : response.fields) {
            if (isForBrowser(name))
                headers.append(headerEntry(name, value));
        }
        answer("Fetch.fulfillRequest", request,
               DevToolsParams()
                   .add("responseCode", response.status)
                   .add("responseHeaders", headers)
                   .add("body", response.body.toBase64()));
    };
    const QByteArray type = fieldOf(response, QLatin1StringView("Content-Type"));
    switch (showingOf(event, response.status, type,
                      fieldOf(response, QLatin1StringView("Content-Disposition")))) {
    case Showing::Refused:
        refuse(request);
        break;
    case Showing::Engines:
        leave();
        break;
    case Showing::Ours:
        showResponse(request, type, response.body, leave);
    }
}

void WebRequestGate::networkRefused(const QJsonObject &event, const NSError &error) {
    const std::shared_ptr<Listener> listener = m_listener.lock();
    refuse(event[u"requestId"],
           event[u"resourceType"].toString() == QLatin1StringView("Document") ? "Aborted" : "Failed");
    // An excess is told of by itself.
    if (listener && isMainDocument(event) && !m_network->excess())
        listener->networkRefused(error);
}

void WebRequestGate::showResponse(const QJsonValue &request, const QByteArray &type, const QByteArray &body,
                                  const std::function<void()> &leave) {
    const std::shared_ptr<Listener> listener = m_listener.lock();
    if (!listener || (type.isEmpty() && !isOurs(WebDocumentSniffer::kindOfData(body)))) {
        leave();
        return;
    }
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

void WebRequestGate::proceedWithResponse(const QJsonObject &event) {
    const QJsonArray headers = event[u"responseHeaders"].toArray();
    QJsonArray kept;
    for (const auto &header : headers) {
        if (header[u"name"].toString().compare(u"Speculation-Rules", Qt::CaseInsensitive) != 0)
            kept.append(header);
    }
    if (kept.size() == headers.size()) {
        proceed(event[u"requestId"]);
        return;
    }
    answer("Fetch.continueResponse", event[u"requestId"],
           DevToolsParams().add("responseCode", event[u"responseStatusCode"]).add("responseHeaders", kept));
}

/// Without a phrase the browser takes only the status codes that it knows, and a request that isn't answered waits for ever.
void WebRequestGate::answer(const char *method, const QJsonValue &request, DevToolsParams params) {
    m_session.call(method, params.add("requestId", request).add("responsePhrase", "-"),
                   [this, request, listener = m_listener](const DevToolsMessage &reply) {
                       if (reply.isError() && !listener.expired())
                           refuse(request);
                   });
}

void WebRequestGate::refuse(const QJsonValue &request, const char *reason) {
    m_session.call("Fetch.failRequest",
                   DevToolsParams().add("requestId", request).add("errorReason", reason));
}

void WebRequestGate::fulfill(const QJsonValue &request, const QByteArray &contentType,
                             const QByteArray &body) {
    const auto field = [](const char *name, const QByteArray &value) {
        return headerEntry(QLatin1StringView(name), QString::fromLatin1(value));
    };
    QJsonArray headers{field("Content-Type", contentType)};
    if (m_isDecoding) {
        headers.append(field("X-Content-Type-Options", "nosniff"));
        headers.append(field("Content-Security-Policy", decodingPolicy));
    }
    answer("Fetch.fulfillRequest", request,
           DevToolsParams()
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
