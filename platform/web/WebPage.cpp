// SPDX-License-Identifier: MIT
#include "platform/web/WebPage.h"

#include "platform/documents/WebDocument.h"
#include "platform/documents/WebDocumentSniffer.h"
#include "platform/documents/WebDocumentTraits.h"
#include "platform/web/WebArchiveServer.h"
#include "platform/web/WebError.h"

#include <QJsonArray>

namespace {

/// No frames are drawn here that would lay a document out while it loads, and some of what a load waits for
/// is asked for by layout only.
constexpr char layoutScript[] = "document.documentElement&&document.documentElement.offsetHeight";
/// Milliseconds between two layouts of a page that is loading.
constexpr int layoutInterval = 20;

/// Lays the document out, which asks for what only styles refer to, and waits for its fonts.
constexpr char settleScript[] =
    "document.documentElement&&document.documentElement.offsetHeight;document.fonts.ready.then(()=>0)";

/// Only requests for documents, in the main frame and others, stop and ask, and so do their answers.
constexpr char watchDocuments[] =
    "[{\"resourceType\":\"Document\"},{\"resourceType\":\"Document\",\"requestStage\":\"Response\"}]";

/// How the browser answers what was asked of a document that has gone.
constexpr QLatin1StringView navigatedText("Inspected target navigated or closed");

/// Calls a callback that may throw away the page, and with it the callback.
template <typename... Arguments>
void tell(const std::function<void(Arguments...)> &callback, const auto &...arguments) {
    if (const std::function<void(Arguments...)> kept = callback)
        kept(arguments...);
}

/// The value of a header field among those of a Fetch event; null where it is missing.
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

WebPage::WebPage(DevToolsPipe &pipe, const QByteArray &context, const QByteArray &target,
                 const QByteArray &session)
    : m_context(context), m_target(target), m_self(std::make_shared<WebPage *>(this)),
      m_session(pipe, session) {
    m_layoutTimer.setSingleShot(true);
    m_layoutTimer.setInterval(layoutInterval);
    QObject::connect(&m_layoutTimer, &QTimer::timeout, &m_layoutTimer, [this] {
        if (m_state == State::Loading && m_committed && !m_loadEventSeen)
            layOut();
    });
    listen();
}

WebPage::~WebPage() {
    m_server.reset();
    *m_self = nullptr;
}

void WebPage::listen() {
    m_session.on("Page.loadEventFired", [this](const DevToolsMessage &) {
        if (const std::function<void()> handler = std::exchange(m_onLoadEvent, {})) {
            handler();
            return;
        }
        m_loadEventSeen = true;
        settle();
    });
    m_session.on("Page.frameAttached", [this](const DevToolsMessage &event) {
        m_leavesTraces = true;
        const QJsonObject object = event.object();
        if (m_state == State::Loading)
            tell(m_events.didAttachFrame, object[u"frameId"].toString(), object[u"parentFrameId"].toString());
    });
    m_session.on("Page.frameDetached", [this](const DevToolsMessage &event) {
        tell(m_events.didDetachFrame, event.object()[u"frameId"].toString());
    });
    m_session.on("Page.frameRequestedNavigation", [this](const DevToolsMessage &event) {
        m_metOutside = m_metOutside || isOutside(event.object()[u"url"].toString());
    });
    m_session.on("Page.frameNavigated", [this](const DevToolsMessage &event) {
        const QJsonValue frame = event.object()[u"frame"];
        // Reloads that ask for a document are kept from it; those of blank pages ask for none.
        if (m_committed && frame[u"id"].toString() == mainFrame() &&
            (m_loader.isEmpty() || frame[u"loaderId"].toString() != m_loader)) {
            m_replaced = true;
            failCommitted(WebLoadError(explained({}), m_url));
            return;
        }
        if (m_state == State::Loading)
            tell(m_events.didCommitFrame, frame[u"id"].toString(), frame[u"url"].toString());
    });
    m_session.on("Page.frameStoppedLoading", [this](const DevToolsMessage &event) {
        const QString frame = event.object()[u"frameId"].toString();
        if (m_state == State::Loading && frame != mainFrame() && !m_failedFrames.remove(frame))
            tell(m_events.didFinishSubframe, frame);
    });
    m_session.on("Network.requestWillBeSent",
                 [this](const DevToolsMessage &event) { requestStarted(event); });
    m_session.on("Network.responseReceived", [this](const DevToolsMessage &event) {
        // A picture that never ends is there with its first part.
        const QJsonObject object = event.object();
        if (object[u"response"][u"mimeType"].toString() == QLatin1StringView("multipart/x-mixed-replace"))
            m_pendingRequests.remove(object[u"requestId"].toString().toLatin1());
    });
    m_session.on("Network.loadingFinished",
                 [this](const DevToolsMessage &event) { requestEnded(event, false); });
    m_session.on("Network.loadingFailed",
                 [this](const DevToolsMessage &event) { requestEnded(event, true); });
    m_session.on("Fetch.requestPaused",
                 [this](const DevToolsMessage &event) { requestPaused(event.object()); });
    m_session.on("Inspector.targetCrashed",
                 [this](const DevToolsMessage &) { fail(QStringLiteral("The page's process has ended")); });
    m_session.on("Inspector.detached",
                 [this](const DevToolsMessage &) { fail(QStringLiteral("The page has gone")); });
}

void WebPage::setUp(std::function<void(bool)> handler) {
    m_session.call("Page.enable");
    m_session.call("Inspector.enable");
    m_session.call("Network.enable",
                   DevToolsParams().add("maxTotalBufferSize", 0).add("maxResourceBufferSize", 0));
    m_session.call("Emulation.setScriptExecutionDisabled", DevToolsParams().add("value", true));
    m_session.call(
        "Emulation.setEmulatedMedia", DevToolsParams().add("media", "screen"),
        [handler = std::move(handler)](const DevToolsMessage &reply) { handler(!reply.isError()); });
}

QString WebPage::explained(const QString &error) const {
    return m_replaced || error == navigatedText ? QStringLiteral("The document has replaced itself") : error;
}

DevToolsPipe::ReplyHandler WebPage::during(std::function<void(const DevToolsMessage &)> handler) {
    return [self = m_self, load = m_load, handler = std::move(handler)](const DevToolsMessage &reply) {
        if (*self && (*self)->m_load == load)
            handler(reply);
    };
}

void WebPage::setPreferences(const WebPreferences &preferences) {
    if (preferences.defaultFontSize() != m_fontSize ||
        preferences.defaultFixedFontSize() != m_fixedFontSize) {
        m_fontSize = preferences.defaultFontSize();
        m_fixedFontSize = preferences.defaultFixedFontSize();
        // The next user of a page expects the usual sizes.
        m_spent = true;
        m_session.call(
            "Page.setFontSizes",
            DevToolsParams().add("fontSizes", QJsonObject{{QStringLiteral("standard"), m_fontSize},
                                                          {QStringLiteral("fixed"), m_fixedFontSize}}));
    }
}

void WebPage::begin(bool mayReachOutside) {
    ++m_load;
    ++m_loads;
    m_state = State::Loading;
    m_committed = m_loadEventSeen = m_settling = m_leavesTraces = m_isPicture = m_replaced = false;
    m_mayLoadFonts = mayReachOutside;
    m_metOutside = m_metOutside || mayReachOutside;
    m_mainFailure = NSError();
    m_pendingRequests.clear();
    m_documentRequests.clear();
    m_mainRequest.clear();
    m_failedFrames.clear();
    m_onLoadEvent = {};
    m_url.clear();
    m_loader.clear();
}

void WebPage::loadMarkup(const QString &markup) {
    begin(false);
    m_mayLoadFonts = WebDocumentTraits::mayLoadFonts(markup);
    m_leavesTraces = WebDocumentTraits::mayLeaveTraces(markup);
    if (WebDocumentTraits::mayReload(markup))
        watchReloads([this, lasting = WebDocumentTraits::withoutReloads(markup)] { setContent(lasting); });
    else
        setContent(markup);
}

void WebPage::watchReloads(std::function<void()> ready) {
    // No request for another main document is of our making then.
    m_mainRequest = "none";
    m_spent = true;
    watch(std::move(ready));
}

void WebPage::loadPicture(const QString &markup) {
    begin(false);
    m_isPicture = true;
    setContent(markup);
}

void WebPage::loadMarkup(const QString &markup, const QString &blankUrl) {
    begin(false);
    m_mayLoadFonts = WebDocumentTraits::mayLoadFonts(markup);
    m_leavesTraces = true;
    const bool reloads = WebDocumentTraits::mayReload(markup);
    const QString lasting = reloads ? WebDocumentTraits::withoutReloads(markup) : markup;
    const auto start = [this, lasting, blankUrl] {
        // The blank document has a load event of its own.
        m_onLoadEvent = [this, lasting] { setContent(lasting); };
        m_session.call("Page.navigate", DevToolsParams().add("url", blankUrl),
                       during([this](const DevToolsMessage &reply) {
                           const QString error =
                               reply.isError() ? reply.error() : reply.object()[u"errorText"].toString();
                           if (!error.isEmpty())
                               failProvisional(WebLoadError(error));
                       }));
    };
    if (reloads)
        watchReloads(start);
    else
        start();
}

void WebPage::setContent(const QString &markup) {
    m_session.call("Page.setDocumentContent", DevToolsParams().add("frameId", m_target).add("html", markup),
                   during([this](const DevToolsMessage &reply) {
                       if (reply.isError())
                           failProvisional(WebLoadError(reply.error()));
                       else
                           commit();
                   }));
}

void WebPage::loadMarkup(const QString &markup, const QByteArray &mimeType, const QUrl &url) {
    begin(true);
    m_mainBody = markup.toUtf8();
    m_mainType = mimeType + ";charset=utf-8";
    m_url = url.toString(QUrl::FullyEncoded);
    navigateWatched();
}

void WebPage::loadUrl(const QUrl &url) {
    begin(true);
    m_url = url.toString(QUrl::FullyEncoded);
    navigateWatched();
}

void WebPage::navigateWatched() {
    watch([this] { navigate(m_url, [this] { commit(); }); });
}

void WebPage::watch(std::function<void()> ready) {
    // Requests for documents stop and ask: once the page is loaded, a scheduled reload must not replace it.
    m_session.call("Fetch.enable", DevToolsParams().addJson("patterns", watchDocuments),
                   during([this, ready = std::move(ready)](const DevToolsMessage &reply) {
                       if (reply.isError())
                           failProvisional(WebLoadError(reply.error(), m_url));
                       else
                           ready();
                   }));
}

void WebPage::loadArchive(const WebArchive &archive) {
    begin(true);
    m_server = std::make_unique<WebArchiveServer>(m_session, archive);
    m_url = QString::fromUtf8(m_server->url());
    m_server->start([self = m_self, load = m_load] {
        if (*self && (*self)->m_load == load)
            (*self)->navigate((*self)->m_url, [page = *self] { page->commit(); });
    });
}

void WebPage::navigate(const QString &url, std::function<void()> committed) {
    m_session.call("Page.navigate", DevToolsParams().add("url", url),
                   during([this, url, committed = std::move(committed)](const DevToolsMessage &reply) {
                       const QJsonObject result = reply.object();
                       const QString error =
                           reply.isError() ? reply.error() : result[u"errorText"].toString();
                       if (error == QLatin1StringView("net::ERR_HTTP_RESPONSE_CODE_FAILURE")) {
                           // A server's error page without content: a blank page, not the browser's own
                           // message.
                           m_mainFailure = NSError();
                           afterLoadEvent([this] {
                               afterLoadEvent([this] { setContent(QString()); });
                               m_session.call("Page.navigate", DevToolsParams().add("url", "about:blank"));
                           });
                       } else if (!error.isEmpty()) {
                           failProvisional(WebLoadError(error, url));
                       } else {
                           // Within the blank page's own address there is nothing to load and no event to
                           // come.
                           m_loadEventSeen = m_loadEventSeen || !result.contains(u"loaderId");
                           m_loader = result[u"loaderId"].toString();
                           committed();
                       }
                   }));
}

void WebPage::afterLoadEvent(std::function<void()> next) {
    if (std::exchange(m_loadEventSeen, false))
        next();
    else
        m_onLoadEvent = std::move(next);
}

void WebPage::commit() {
    m_committed = true;
    if (m_mainFailure)
        failCommitted(m_mainFailure);
    else if (m_loadEventSeen)
        settle();
    else
        layOut();
}

void WebPage::layOut() {
    m_session.call("Runtime.evaluate", DevToolsParams().add("expression", layoutScript),
                   during([this](const DevToolsMessage &) {
                       if (m_state == State::Loading && !m_loadEventSeen)
                           m_layoutTimer.start();
                   }));
}

void WebPage::requestPaused(const QJsonObject &event) {
    const QJsonValue request = event[u"requestId"];
    const bool isDocument = event[u"resourceType"].toString() == QLatin1StringView("Document");
    const bool isMain = isDocument && event[u"frameId"].toString() == mainFrame();
    const QByteArray networkId = event[u"networkId"].toString().toLatin1();
    if (isMain && m_mainRequest.isEmpty())
        m_mainRequest = networkId;
    if (isMain ? networkId != m_mainRequest : isDocument && m_loadEventSeen) {
        // A reload that the document has scheduled: it comes too late. The document stays.
        m_session.call("Fetch.failRequest",
                       DevToolsParams().add("requestId", request).add("errorReason", "Aborted"));
        return;
    }
    if (m_server) {
        m_server->answer(event);
        return;
    }
    // A request that has failed has no body, and asking for one ends some browsers.
    if (event.contains(u"responseStatusCode") && !event.contains(u"responseErrorReason")) {
        responsePaused(event);
        return;
    }
    if (isMain && !m_mainType.isEmpty()) {
        fulfill(request, m_mainType, m_mainBody);
        return;
    }
    m_session.call("Fetch.continueRequest", DevToolsParams().add("requestId", request));
}

void WebPage::responsePaused(const QJsonObject &event) {
    const QJsonValue request = event[u"requestId"];
    const int status = event[u"responseStatusCode"].toInt();
    const QByteArray type = headerValue(event, QLatin1StringView("Content-Type"));
    const WebDocumentKind kind = WebDocumentSniffer::kindOfMIMEType(type);
    const bool isShown =
        event[u"frameId"].toString() == mainFrame() && (status < 300 || status >= 400) &&
        !headerValue(event, QLatin1StringView("Content-Disposition")).toLower().startsWith("attachment");
    if (isShown && (type.startsWith("audio/") || type.startsWith("video/"))) {
        // The engine would show a player that plays nothing.
        m_session.call("Fetch.failRequest",
                       DevToolsParams().add("requestId", request).add("errorReason", "Aborted"));
    } else if (isShown && (isOurs(kind) || type.isEmpty())) {
        m_session.call("Fetch.getResponseBody", DevToolsParams().add("requestId", request),
                       during([this, request, type](const DevToolsMessage &reply) {
                           const QJsonObject body = reply.object();
                           const QByteArray text = body[u"body"].toString().toUtf8();
                           showResponse(request, type,
                                        body[u"base64Encoded"].toBool() ? QByteArray::fromBase64(text)
                                                                        : text);
                       }));
    } else {
        m_session.call("Fetch.continueRequest", DevToolsParams().add("requestId", request));
    }
}

void WebPage::showResponse(const QJsonValue &request, const QByteArray &type, const QByteArray &body) {
    if (type.isEmpty() && !isOurs(WebDocumentSniffer::kindOfData(body))) {
        m_session.call("Fetch.continueRequest", DevToolsParams().add("requestId", request));
        return;
    }
    const std::optional<WebDocument> document = WebDocument::documentWithData(body, type);
    if (document && !document->archive()) {
        m_isPicture = document->isPicture();
        fulfill(request, document->mimeType() + ";charset=utf-8", document->text().toUtf8());
        return;
    }
    m_session.call("Fetch.failRequest",
                   DevToolsParams().add("requestId", request).add("errorReason", "Aborted"));
    // The load that fetched the archive ends here, unnoticed, and goes on with what was in it.
    if (document)
        loadArchive(*document->archive());
}

void WebPage::fulfill(const QJsonValue &request, const QByteArray &contentType, const QByteArray &body) {
    const QJsonArray headers{QJsonObject{{QStringLiteral("name"), QStringLiteral("Content-Type")},
                                         {QStringLiteral("value"), QString::fromLatin1(contentType)}}};
    m_session.call("Fetch.fulfillRequest", DevToolsParams()
                                               .add("requestId", request)
                                               .add("responseCode", 200)
                                               .add("responseHeaders", headers)
                                               .add("body", body.toBase64()));
}

void WebPage::requestStarted(const DevToolsMessage &event) {
    const QJsonObject object = event.object();
    const QByteArray request = object[u"requestId"].toString().toLatin1();
    const QString type = object[u"type"].toString();
    m_metOutside = m_metOutside || isOutside(object[u"request"][u"url"].toString());
    if (type == QLatin1StringView("Document")) {
        const QString frame = object[u"frameId"].toString();
        m_documentRequests.insert(request, frame);
        if (frame == mainFrame() && m_mainRequest.isEmpty())
            m_mainRequest = request;
    } else if (type == QLatin1StringView("Image") || type == QLatin1StringView("Stylesheet") ||
               type == QLatin1StringView("Font"))
        m_pendingRequests.insert(request);
}

void WebPage::requestEnded(const DevToolsMessage &event, bool failed) {
    const QJsonObject object = event.object();
    const QByteArray request = object[u"requestId"].toString().toLatin1();
    const QString frame = failed ? m_documentRequests.take(request) : QString();
    if (!frame.isNull() && m_state == State::Loading) {
        const NSError error = WebLoadError(object[u"errorText"].toString(), m_url);
        if (frame == mainFrame()) {
            // Whether it is the provisional load that failed is told by the reply to the navigation. Later
            // requests are for reloads, which don't matter.
            if (request == m_mainRequest)
                m_mainFailure = error;
            if (m_committed && m_mainFailure)
                failCommitted(error);
            return;
        }
        m_failedFrames.insert(frame);
        tell(m_events.didFailSubframe, error, frame);
        return;
    }
    if (m_pendingRequests.remove(request) && m_pendingRequests.isEmpty() && m_settling) {
        m_settling = false;
        settle();
    }
}

void WebPage::settle() {
    if (m_state != State::Loading || !m_committed || !m_loadEventSeen || m_settling)
        return;
    if (!m_metOutside && !m_mayLoadFonts) {
        finish();
        return;
    }
    m_settling = true;
    m_session.call("Runtime.evaluate",
                   DevToolsParams().add("expression", settleScript).add("awaitPromise", true),
                   during([this](const DevToolsMessage &reply) {
                       if (m_state != State::Loading)
                           return;
                       if (reply.isError())
                           failCommitted(WebLoadError(explained(reply.error()), m_url));
                       else if (m_pendingRequests.isEmpty())
                           finish();
                       // Otherwise the last of the requests goes on.
                   }));
}

void WebPage::finishPicture() {
    m_settling = true;
    m_session.call("Runtime.evaluate",
                   DevToolsParams()
                       .add("expression", "document.images[0].decode().then(()=>true,()=>false)")
                       .add("awaitPromise", true),
                   during([this](const DevToolsMessage &reply) {
                       m_isPicture = false;
                       if (reply.object()[u"result"][u"value"].toBool())
                           finish();
                       else
                           failCommitted(
                               WebLoadError(QStringLiteral("The picture cannot be decoded"), m_url));
                   }));
}

void WebPage::finish() {
    if (m_isPicture) {
        finishPicture();
        return;
    }
    m_state = State::Finished;
    tell(m_events.didFinishLoad);
}

void WebPage::failProvisional(const NSError &error) {
    if (m_state != State::Loading)
        return;
    m_state = State::Failed;
    m_spent = true;
    tell(m_events.didFailProvisionalLoad, error);
}

void WebPage::failCommitted(const NSError &error) {
    if (m_state != State::Loading)
        return;
    m_state = State::Failed;
    m_spent = true;
    tell(m_events.didFailLoad, error);
}

void WebPage::fail(const QString &why) {
    m_spent = true;
    const std::shared_ptr<WebPage *> self = m_self;
    m_session.close(why);
    if (!*self)
        return;
    if (m_committed)
        failCommitted(WebLoadError(why, m_url));
    else
        failProvisional(WebLoadError(why, m_url));
}

void WebPage::stop() {
    ++m_load;
    if (m_state == State::Loading) {
        m_spent = true;
        m_session.call("Page.stopLoading");
    }
    m_state = State::Failed;
    m_onLoadEvent = {};
}

bool WebPage::isReusable() const {
    return !m_spent && !m_metOutside && m_session.isOpen() && m_state != State::Loading;
}

void WebPage::reset(std::function<void(bool)> handler) {
    ++m_load;
    m_state = State::Blank;
    m_events = {};
    // The blank page is there when both its content and its load event are.
    auto missing = std::make_shared<int>(2);
    const auto one = [this, missing, handler = std::move(handler)](bool ok) {
        if (!ok)
            *missing = 0;
        else if (*missing == 0 || --*missing > 0)
            return;
        m_onLoadEvent = {};
        handler(ok);
    };
    m_onLoadEvent = [one] { one(true); };
    const auto reply = during([one](const DevToolsMessage &message) { one(!message.isError()); });
    if (m_leavesTraces)
        m_session.call("Page.navigate", DevToolsParams().add("url", "about:blank"), reply);
    else
        m_session.call("Page.setDocumentContent", DevToolsParams().add("frameId", m_target).add("html", ""),
                       reply);
}
