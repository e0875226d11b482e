// SPDX-License-Identifier: MIT
#include "platform/web/WebLoad.h"

#include "platform/browser/DevToolsSession.h"
#include "platform/documents/WebDocumentTraits.h"
#include "platform/web/WebError.h"

using namespace zr;

namespace {

/// No frames are drawn here that would lay a document out while it loads, and some of what a load waits for is asked for
/// by layout only.
constexpr char layoutScript[] = "document.documentElement&&document.documentElement.offsetHeight";
/// Milliseconds between two layouts of a page that is loading.
constexpr int layoutInterval = 20;

/// Lays the document out, which asks for what only styles refer to, and waits for its fonts.
constexpr char settleScript[] =
    "document.documentElement&&document.documentElement.offsetHeight;document.fonts.ready.then(()=>0)";

constexpr char decodeScript[] = "document.images[0].decode().then(()=>true,()=>false)";

/// The text of a frame's own bytes in the encoding that the engine reads them in. The decoders that scripts have don't
/// know the one that makes a whole document a single replacement character.
const QString textScript = QStringLiteral("fetch('data:;base64,%1').then(r=>r.arrayBuffer()).then(b=>{try{"
                                          "return new TextDecoder(document.characterSet)"
                                          ".decode(b)}catch{return'\\uFFFD'}})");

/// How the browser answers what was asked of a document that has gone.
constexpr QLatin1StringView navigatedText("Inspected target navigated or closed");

/// A server's error page without content.
constexpr QLatin1StringView emptyErrorPage("net::ERR_HTTP_RESPONSE_CODE_FAILURE");

} // namespace

WebLoad::WebLoad(DevToolsSession &session, WebRequestGate &gate, const QString &mainFrame, WebSource source,
                 Events events)
    : m_session(session), m_gate(gate), m_mainFrame(mainFrame), m_source(std::move(source)),
      m_events(std::move(events)) {
    m_layoutTimer.setSingleShot(true);
    m_layoutTimer.setInterval(layoutInterval);
    QObject::connect(&m_layoutTimer, &QTimer::timeout, &m_layoutTimer, [this] {
        if (m_stage == Stage::Committed && !m_loadEventSeen)
            layOut();
    });
}

DevToolsPipe::ReplyHandler WebLoad::during(std::function<void(const DevToolsMessage &)> handler) {
    return [weak = weak_from_this(), number = m_number,
            handler = std::move(handler)](const DevToolsMessage &reply) {
        const std::shared_ptr<WebLoad> load = weak.lock();
        // A page that is lost fails all of its calls; the load hears of that once.
        if (load && load->m_number == number && load->isLoading() && load->m_session.isOpen())
            handler(reply);
    };
}

NSError WebLoad::errorFor(const QString &browserText) const {
    return webLoadError(explained(browserText), m_source.url);
}

QString WebLoad::explained(const QString &error) const {
    return m_isReplaced || error == navigatedText ? QStringLiteral("The document has replaced itself")
                                                  : error;
}

void WebLoad::start() {
    proveLife();
    begin();
}

void WebLoad::begin() {
    const bool isMarkup = m_source.url.isEmpty();
    m_mayLoadFonts = !isMarkup || WebDocumentTraits::mayLoadFonts(m_source.markup);
    m_leavesTraces = m_leavesTraces || !isMarkup || !m_source.blankUrl.isEmpty() ||
                     WebDocumentTraits::mayLeaveTraces(m_source.markup);
    m_mayReload = isMarkup && WebDocumentTraits::mayReload(m_source.markup);
    if (m_mayReload)
        m_source.markup = WebDocumentTraits::withoutReloads(m_source.markup);
    m_gate.open(m_source, weak_from_this(), [weak = weak_from_this()] {
        const std::shared_ptr<WebLoad> load = weak.lock();
        if (load && load->isLoading())
            load->m_source.decoded ? load->decode() : load->goThere();
    });
}

void WebLoad::decode() {
    // In a frame at another origin, so that the page's own encoding has no part in it.
    const QString frame =
        QStringLiteral("<iframe src='%1'></iframe>").arg(QLatin1StringView(WebArchive::madeUpOrigin));
    m_session.call("Page.setDocumentContent", DevToolsParams().add("frameId", m_mainFrame).add("html", frame),
                   during([this](const DevToolsMessage &reply) {
                       if (reply.isError())
                           fail(errorFor(reply.error()));
                   }));
    const auto takeText = [this](const DevToolsMessage &reply) {
        const QJsonValue text = reply.object()[u"result"][u"value"];
        if (text.isString()) {
            m_source = m_source.decoded(text.toString());
            begin();
        } else {
            fail(errorFor(QStringLiteral("The text cannot be decoded")));
        }
    };
    afterLoadEvent([this, takeText] {
        m_session.call("Page.createIsolatedWorld", DevToolsParams().add("frameId", m_decodingFrame),
                       during([this, takeText](const DevToolsMessage &reply) {
                           const QString bytes = QString::fromLatin1(m_source.body.toBase64());
                           m_session.call("Runtime.evaluate",
                                          DevToolsParams()
                                              .add("expression", textScript.arg(bytes))
                                              .add("awaitPromise", true)
                                              .add("contextId", reply.object()[u"executionContextId"]),
                                          during(takeText));
                       }));
    });
}

void WebLoad::goThere() {
    if (!m_source.url.isEmpty()) {
        navigate(m_source.url, [this] { commit(); });
    } else if (m_source.blankUrl.isEmpty()) {
        setContent(m_source.markup);
    } else {
        // The blank document has a load event of its own.
        afterLoadEvent([this] { setContent(m_source.markup); });
        navigate(m_source.blankUrl, [] {});
    }
}

void WebLoad::proveLife() {
    // Sent ahead of the document, it is answered before that can do any harm.
    m_session.call("Runtime.evaluate", DevToolsParams().add("expression", "0"),
                   during([this](const auto &reply) {
                       if (!reply.isError() || reply.error() == navigatedText)
                           m_hasReachedPage = true;
                       else
                           pageLost(reply.error());
                   }));
}

void WebLoad::pageLost(const QString &why) {
    if (!isLoading() || m_hasReachedPage) {
        fail(errorFor(why));
        return;
    }
    m_stage = Stage::Failed;
    m_events.didLosePage(errorFor(why));
}

void WebLoad::navigate(const QString &url, const std::function<void()> &committed) {
    m_session.call(
        "Page.navigate", DevToolsParams().add("url", url), during([this, committed](const auto &reply) {
            const QJsonObject result = reply.object();
            const QString error = reply.isError() ? reply.error() : result[u"errorText"].toString();
            if (error == emptyErrorPage) {
                // A blank page is shown, not the browser's own message.
                m_documentError = NSError();
                afterLoadEvent([this] {
                    afterLoadEvent([this] { setContent(QString()); });
                    m_session.call("Page.navigate", DevToolsParams().add("url", "about:blank"));
                });
            } else if (!error.isEmpty()) {
                fail(errorFor(error));
            } else {
                // Within the blank page's own address there is nothing to load and no event to come.
                m_loadEventSeen = m_loadEventSeen || !result.contains(u"loaderId");
                m_loader = result[u"loaderId"].toString();
                committed();
            }
        }));
}

void WebLoad::setContent(const QString &markup) {
    m_session.call("Page.setDocumentContent",
                   DevToolsParams().add("frameId", m_mainFrame).add("html", markup),
                   during([this](const DevToolsMessage &reply) {
                       if (reply.isError())
                           fail(errorFor(reply.error()));
                       else
                           commit();
                   }));
}

void WebLoad::afterLoadEvent(std::function<void()> next) {
    if (std::exchange(m_loadEventSeen, false))
        next();
    else
        m_onLoadEvent = std::move(next);
}

void WebLoad::loadEventFired(const QJsonObject &) {
    if (const std::function<void()> next = std::exchange(m_onLoadEvent, {})) {
        next();
        return;
    }
    m_loadEventSeen = true;
    m_gate.closeToDocuments();
    settle();
}

void WebLoad::commit() {
    m_stage = Stage::Committed;
    m_hasReachedPage = true;
    if (m_documentError)
        fail(m_documentError);
    else if (m_loadEventSeen)
        settle();
    else
        layOut();
}

void WebLoad::layOut() {
    m_session.call("Runtime.evaluate", DevToolsParams().add("expression", layoutScript),
                   during([this](const auto &) {
                       if (!m_loadEventSeen)
                           m_layoutTimer.start();
                   }));
}

void WebLoad::settle() {
    if (m_stage != Stage::Committed || !m_loadEventSeen)
        return;
    if (!m_gate.hasMetOutside() && !m_mayLoadFonts) {
        finish();
        return;
    }
    m_stage = Stage::Settling;
    m_session.call("Runtime.evaluate",
                   DevToolsParams().add("expression", settleScript).add("awaitPromise", true),
                   during([this](const DevToolsMessage &reply) {
                       if (reply.isError())
                           fail(errorFor(reply.error()));
                       else if (!m_gate.isWaiting())
                           finish();
                       // Otherwise the last of the requests goes on.
                   }));
}

void WebLoad::lastPartCame() {
    if (m_stage != Stage::Settling)
        return;
    m_stage = Stage::Committed;
    settle();
}

void WebLoad::finish() {
    if (!m_source.isPicture) {
        m_stage = Stage::Finished;
        m_events.didFinish();
        return;
    }
    m_stage = Stage::Settling;
    m_session.call("Runtime.evaluate",
                   DevToolsParams().add("expression", decodeScript).add("awaitPromise", true),
                   during([this](const DevToolsMessage &reply) {
                       m_source.isPicture = false;
                       if (reply.object()[u"result"][u"value"].toBool())
                           finish();
                       else
                           fail(errorFor(QStringLiteral("The picture cannot be decoded")));
                   }));
}

void WebLoad::fail(const NSError &error) {
    if (!isLoading())
        return;
    const bool isProvisional = m_stage == Stage::Provisional;
    m_stage = Stage::Failed;
    (isProvisional ? m_events.didFailProvisionally : m_events.didFail)(error);
}

void WebLoad::documentFailed(const QString &frame, const QString &why) {
    if (!isLoading())
        return;
    const NSError error = errorFor(why);
    if (frame != m_mainFrame) {
        m_failedFrames.insert(frame);
        m_events.didFailSubframe(error, frame);
    } else if (m_stage == Stage::Provisional) {
        // Whether it is the provisional load that has failed is told by the reply to the navigation.
        m_documentError = error;
    } else {
        fail(error);
    }
}

void WebLoad::archiveCame(const WebArchive &archive) {
    // The navigation that fetched the archive ends here, unnoticed; the load goes on with what was in it.
    ++m_number;
    m_stage = Stage::Provisional;
    m_loadEventSeen = false;
    m_documentError = NSError();
    m_source = {.url = QString::fromUtf8(archive.mainResource().url), .archive = archive};
    begin();
}

void WebLoad::frameAttached(const QJsonObject &event) {
    m_leavesTraces = true;
    if (m_source.decoded) {
        if (event[u"parentFrameId"].toString() == m_mainFrame)
            m_decodingFrame = event[u"frameId"].toString();
    } else if (isLoading())
        m_events.didAttachFrame(event[u"frameId"].toString(), event[u"parentFrameId"].toString());
}

void WebLoad::frameDetached(const QJsonObject &event) {
    m_events.didDetachFrame(event[u"frameId"].toString());
}

void WebLoad::frameNavigated(const QJsonObject &event) {
    const QJsonValue frame = event[u"frame"];
    const QString identifier = frame[u"id"].toString();
    // Reloads that ask for a document are kept from it; those of blank pages ask for none.
    if (m_stage != Stage::Provisional && identifier == m_mainFrame &&
        (m_loader.isEmpty() || frame[u"loaderId"].toString() != m_loader)) {
        m_isReplaced = true;
        fail(errorFor({}));
    } else if (isLoading()) {
        m_events.didCommitFrame(identifier, frame[u"url"].toString());
    }
}

void WebLoad::frameStoppedLoading(const QJsonObject &event) {
    const QString frame = event[u"frameId"].toString();
    if (isLoading() && frame != m_mainFrame && !m_failedFrames.remove(frame))
        m_events.didFinishSubframe(frame);
}
