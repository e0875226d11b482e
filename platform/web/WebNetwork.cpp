// SPDX-License-Identifier: MIT
#include "platform/web/WebNetwork.h"

#include "platform/values/NSLog.h"

#include <algorithm>
#include <array>
#include <utility>

using namespace zr;

namespace {

/// Requests of a document that are told of in the log, if they are refused.
constexpr int mostTold = 20;

/// What a page consists of. Moving pictures and sound would have to come whole, for a still; the rest is for scripts, or
/// tells a server something.
bool isPart(const QString &type) {
    static constexpr std::array types = {"Document", "Stylesheet", "Image", "Font"};
    return std::any_of(types.begin(), types.end(),
                       [&](const char *each) { return type == QLatin1StringView(each); });
}

QList<PublicFetcher::Field> fieldsOf(const QJsonObject &request) {
    QList<PublicFetcher::Field> fields;
    const QJsonObject headers = request[u"headers"].toObject();
    for (auto it = headers.begin(); it != headers.end(); ++it)
        fields.append({it.key(), it.value().toString()});
    return fields;
}

} // namespace

WebNetwork::WebNetwork(const WebNetworkPolicy &policy, Events events)
    : m_policy(policy), m_events(std::move(events)),
      m_bytesLeft(std::make_shared<std::atomic<qint64>>(policy.mostBytes)) {
    m_clock.setSingleShot(true);
    QObject::connect(&m_clock, &QTimer::timeout, &m_clock, [this] {
        // A document that has all that it asked for may be printed however long that takes.
        if (!m_waiting.isEmpty())
            exceedTime();
    });
}

void WebNetwork::exceedTime() {
    exceed(QStringLiteral("What the document refers to takes longer than %1 s to come")
               .arg(double(m_policy.longest.count()) / 1000));
}

void WebNetwork::take(const QJsonObject &event) {
    const QJsonObject request = event[u"request"].toObject();
    const QUrl url(request[u"url"].toString());
    const auto kept = m_texts.constFind(url);
    if (m_excess) {
        m_events.didRefuse(event, m_excess);
    } else if (event[u"networkId"].toString().isEmpty() && kept != m_texts.cend()) {
        m_events.didAnswer(event, *kept);
    } else if (m_policy.access != WebNetworkPolicy::Access::Public) {
        refuse(event, NSURLErrorNotConnectedToInternet,
               QStringLiteral("The document may reach nothing outside itself"));
    } else if (url.scheme() != u"http" && url.scheme() != u"https") {
        refuse(event, NSURLErrorUnsupportedURL, QStringLiteral("The document may reach http and https only"));
    } else if (request[u"method"].toString() != u"GET" || !isPart(event[u"resourceType"].toString())) {
        refuse(event, NSURLErrorUnsupportedURL, QStringLiteral("It is no part of the page"));
    } else {
        fetch(event, url);
    }
}

void WebNetwork::fetch(const QJsonObject &event, const QUrl &url) {
    const QString identifier = event[u"requestId"].toString();
    const auto waiting = std::make_shared<Waiting>();
    waiting->event = event;
    m_waiting.insert(identifier, waiting);
    PublicFetcher *const fetcher = PublicFetcher::shared();
    if (!fetcher)
        return exceed(QStringLiteral("What fetches for documents is not installed"));
    if (++m_count > m_policy.mostRequests)
        return exceed(
            QStringLiteral("The document refers to more than %1 resources").arg(m_policy.mostRequests));
    if (m_count == 1)
        m_clock.start(m_policy.longest);
    else if (!m_clock.isActive())
        return exceedTime();
    waiting->fetch =
        fetcher->fetch(url, fieldsOf(event[u"request"].toObject()), m_bytesLeft,
                       [this, identifier](const PublicFetcher::Response &response) {
                           QMetaObject::invokeMethod(
                               &m_clock, [this, identifier, response] { didEnd(identifier, response); },
                               Qt::QueuedConnection);
                       });
}

void WebNetwork::didEnd(const QString &request, const PublicFetcher::Response &response) {
    const std::shared_ptr<Waiting> waiting = m_waiting.take(request);
    if (!waiting)
        return;
    if (response.isTooMuch) {
        m_waiting.insert(request, waiting);
        exceed(QStringLiteral("What the document refers to has more than %1 bytes").arg(m_policy.mostBytes));
    } else if (response.body.size() > m_policy.mostBytesOfAnswer) {
        m_waiting.insert(request, waiting);
        exceed(
            QStringLiteral("A part of the document has more than %1 bytes").arg(m_policy.mostBytesOfAnswer));
    } else if (response.status == 0) {
        refuse(waiting->event, response.code, response.why);
    } else {
        const QString type = waiting->event[u"resourceType"].toString();
        if (type == u"Document" || type == u"Stylesheet")
            m_texts.insert(QUrl(waiting->event[u"request"][u"url"].toString()), response);
        m_events.didAnswer(waiting->event, response);
    }
}

void WebNetwork::refuse(const QJsonObject &event, NSURLErrorCode code, const QString &why) {
    const QString url = event[u"request"][u"url"].toString();
    if (++m_refusals <= mostTold)
        NSLog("Not fetched for the document: %@: %@", url.left(200), why);
    const NSError error(NSURLErrorDomain, code,
                        {{NSLocalizedDescriptionKey, why}, {NSURLErrorFailingURLStringErrorKey, url}});
    const auto didRefuse = m_events.didRefuse;
    didRefuse(event, error);
}

void WebNetwork::exceed(const QString &why) {
    m_excess = NSError(NSURLErrorDomain, NSURLErrorCancelled, {{NSLocalizedDescriptionKey, why}});
    const auto all = std::exchange(m_waiting, {});
    // Whoever hears of these may end this object.
    const Events events = m_events;
    const NSError error = m_excess;
    for (const auto &waiting : all)
        events.didRefuse(waiting->event, error);
    events.didExceed(error);
}
