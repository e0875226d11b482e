// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/net/PublicFetcher.h"
#include "platform/web/WebNetworkPolicy.h"

#include <QHash>
#include <QJsonObject>
#include <QTimer>

namespace zr {

/// The one way out for a document's requests in a browser without a network: each is refused, or fetched and handed on.
///
/// Main thread only. What is still being fetched ends with the object.
class WebNetwork {
public:
    /// What becomes of a request, which is named by its Fetch.requestPaused event. Each is told of once, or not at all if
    /// the object ends before. The functions may end it, but for a refusal because of an excess.
    struct Events {
        std::function<void(const QJsonObject &event, const PublicFetcher::Response &response)> didAnswer;
        std::function<void(const QJsonObject &event, const NSError &error)> didRefuse;
        /// The document has asked for more than it may have; all that waited has been refused.
        std::function<void(const NSError &error)> didExceed;
    };

    WebNetwork(const WebNetworkPolicy &policy, Events events);

    /// Takes a request for anything outside the document.
    void take(const QJsonObject &event);
    /// What the document has asked for too much of; nil if nothing.
    const NSError &excess() const { return m_excess; }

private:
    void refuse(const QJsonObject &event, NSURLErrorCode code, const QString &why);
    void fetch(const QJsonObject &event, const QUrl &url);
    void exceed(const QString &why);
    void exceedTime();
    void didEnd(const QString &request, const PublicFetcher::Response &response);

    struct Waiting {
        QJsonObject event;
        std::unique_ptr<PublicFetcher::Fetch> fetch;
    };

    const WebNetworkPolicy m_policy;
    const Events m_events;
    const std::shared_ptr<std::atomic<qint64>> m_bytesLeft;
    int m_count = 0;
    int m_refusals = 0;
    NSError m_excess;
    /// What the page's texts came as: preparing the print reads them again, with requests that have no network identifier.
    QHash<QUrl, PublicFetcher::Response> m_texts;
    QTimer m_clock; ///< also what answers are posted to, hence destroyed after the fetches
    QHash<QString, std::shared_ptr<Waiting>> m_waiting;
};

} // namespace zr
