// SPDX-License-Identifier: MIT
#include "platform/web/WebArchiveServer.h"

#include "platform/browser/DevToolsSession.h"
#include "platform/documents/WebDocumentSniffer.h"

#include <QJsonArray>
#include <QJsonObject>
#include <utility>

using namespace zr;

namespace {

/// The Content-Type to serve a resource with, for what the page wants it as.
QByteArray contentTypeFor(const WebResource &resource, const QString &wantedAs) {
    const bool isVague = resource.mimeType.isEmpty() || resource.mimeType == "application/octet-stream" ||
                         resource.mimeType == "text/plain";
    if (!isVague)
        return resource.contentType();
    // Saved from files or by mail programs, parts often have no type that the engine would take them by.
    WebResource typed = resource;
    if (wantedAs == QLatin1StringView("Stylesheet"))
        typed.mimeType = "text/css";
    else if (wantedAs == QLatin1StringView("Image"))
        typed.mimeType = WebDocumentSniffer::mimeTypeOfKind(WebDocumentSniffer::kindOfData(resource.data));
    return typed.contentType();
}

QJsonObject header(const char *name, const QByteArray &value) {
    return {{QStringLiteral("name"), QLatin1StringView(name)},
            {QStringLiteral("value"), QString::fromUtf8(value)}};
}

} // namespace

WebArchiveServer::WebArchiveServer(DevToolsSession &page, WebArchive archive)
    : m_page(page), m_archive(std::move(archive)) {
}

void WebArchiveServer::start(std::function<void()> ready) {
    m_page.call("Fetch.enable");
    // The setting has to be known before a navigation brings in another renderer, which is told of it then.
    m_page.call("Page.setBypassCSP", DevToolsParams().add("enabled", true),
                [ready = std::move(ready)](const DevToolsMessage &) { ready(); });
}

bool WebArchiveServer::isFor(const QString &url) const {
    const auto afterScheme = [](QStringView text) { return text.sliced(text.indexOf(u':') + 1); };
    return m_archive.isWhole() ||
           afterScheme(url).startsWith(afterScheme(QString::fromLatin1(WebArchive::madeUpOrigin))) ||
           m_archive.resourceForURL(url.toUtf8());
}

void WebArchiveServer::answer(const QJsonObject &event) {
    const QJsonObject request = event[u"request"].toObject();
    const QString wantedAs = event[u"resourceType"].toString();
    const QByteArray requestId = event[u"requestId"].toString().toUtf8();
    if (const WebResource *resource = m_archive.resourceForURL(request[u"url"].toString().toUtf8())) {
        fulfil(requestId, *resource, contentTypeFor(*resource, wantedAs),
               request[u"headers"].toObject()[u"Origin"].toString().toUtf8());
        return;
    }
    // An aborted page leaves its frame empty; a failed one would put an error page of the browser's there.
    const bool isPage = wantedAs == QLatin1StringView("Document");
    m_page.call(
        "Fetch.failRequest",
        DevToolsParams().add("requestId", requestId).add("errorReason", isPage ? "Aborted" : "Failed"));
}

void WebArchiveServer::fulfil(const QByteArray &requestId, const WebResource &resource,
                              const QByteArray &contentType, const QByteArray &origin) {
    // Fonts and the like are asked for across origins, and whoever saved them was allowed to have them.
    QJsonArray headers{header("Access-Control-Allow-Origin", origin.isEmpty() ? QByteArray("*") : origin),
                       header("Access-Control-Allow-Credentials", "true"),
                       header("Cross-Origin-Resource-Policy", "cross-origin"),
                       header("Cache-Control", "no-store")};
    if (!contentType.isEmpty())
        headers.append(header("Content-Type", contentType));
    m_page.call("Fetch.fulfillRequest", DevToolsParams()
                                            .add("requestId", requestId)
                                            .add("responseCode", 200)
                                            .add("responseHeaders", QJsonValue(headers))
                                            .add("body", resource.data.toBase64()));
}
