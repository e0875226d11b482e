// SPDX-License-Identifier: MIT
#include "platform/base/NeverDestroyed.h"
#include "platform/net/HTTPExchange.h"
#include "platform/net/HTTPHeaderFields.h"
#include "platform/net/NSHTTPCookie.h"
#include "platform/net/PublicFetcher.h"
#include "platform/net/TransferLoop.h"

#include <mutex>
#include <utility>

using namespace zr;

namespace {

/// What a fetch and its connection share: the handler, until one of them has ended.
class Receiver {
public:
    explicit Receiver(PublicFetcher::Handler handler) : m_handler(std::move(handler)) {}
    void end(const PublicFetcher::Response &response) {
        const std::lock_guard lock(m_mutex);
        if (const auto handler = std::exchange(m_handler, {}))
            handler(response);
    }
    /// Waits for a call that is going on.
    void forget() {
        const std::lock_guard lock(m_mutex);
        m_handler = {};
    }

private:
    std::mutex m_mutex;
    PublicFetcher::Handler m_handler;
};

PublicFetcher::Response responseOf(const HTTPExchange::Answer &answer) {
    PublicFetcher::Response response;
    if (answer.error) {
        response.code = NSURLErrorCode(answer.error.code());
        response.why = answer.error.userInfo().value(NSLocalizedFailureReasonErrorKey).toString();
        if (response.why.isEmpty())
            response.why = answer.error.localizedDescription();
        return response;
    }
    response.isTooMuch = !answer.response;
    if (response.isTooMuch)
        return response;
    response.status = int(answer.response->statusCode());
    response.body = answer.body;
    const QVariantMap fields = answer.response->allHeaderFields();
    for (auto it = fields.cbegin(); it != fields.cend(); ++it) {
        if (it.key() != u"Set-Cookie")
            response.fields.append({it.key(), it.value().toString()});
    }
    // A field for each, as browsers want them.
    const auto cookies = NSHTTPCookie::cookiesWithResponseHeaderFields(fields, answer.response->URL());
    for (const NSHTTPCookie &each : cookies) {
        QNetworkCookie cookie = each.networkCookie();
        // A cookie for one host names none.
        if (!cookie.domain().startsWith(u'.'))
            cookie.setDomain({});
        response.fields.append({QStringLiteral("Set-Cookie"), QString::fromUtf8(cookie.toRawForm())});
    }
    return response;
}

class CurlFetch : public PublicFetcher::Fetch {
public:
    CurlFetch(std::shared_ptr<Receiver> receiver, std::shared_ptr<NSURLConnection> connection)
        : m_receiver(std::move(receiver)), m_connection(std::move(connection)) {}
    ~CurlFetch() override {
        m_receiver->forget();
        m_connection->cancel();
    }

private:
    const std::shared_ptr<Receiver> m_receiver;
    const std::shared_ptr<NSURLConnection> m_connection;
};

/// The connection sets these itself.
bool isForTransport(const QString &field) {
    for (const char *name : {"Host", "Connection", "Content-Length", "Transfer-Encoding", "TE", "Upgrade",
                             "Accept-Encoding", "Proxy-Connection", "Proxy-Authorization"}) {
        if (HTTPHeaderFields::isSameName(field, QString::fromLatin1(name)))
            return true;
    }
    return false;
}

class CurlFetcher : public PublicFetcher {
public:
    std::unique_ptr<Fetch> fetch(const QUrl &url, const QList<Field> &fields,
                                 const std::shared_ptr<std::atomic<qint64>> &bytesLeft,
                                 Handler handler) override {
        // Nothing is said of silence here: who asks knows how long a document may take.
        const auto request =
            std::make_shared<NSMutableURLRequest>(url, NSURLRequestReloadIgnoringLocalCacheData, 0);
        request->setHTTPShouldHandleCookies(false);
        for (const auto &[name, value] : fields) {
            if (!isForTransport(name))
                request->setValue(value, name);
        }
        request->setValue(QStringLiteral("gzip, deflate, br, zstd"), QStringLiteral("Accept-Encoding"));
        const auto receiver = std::make_shared<Receiver>(std::move(handler));
        const auto end = [receiver](const HTTPExchange::Answer &answer) {
            receiver->end(responseOf(answer));
        };
        return std::make_unique<CurlFetch>(receiver, HTTPExchange{request, bytesLeft}.start(m_loop, end));
    }

private:
    TransferLoop m_loop{QStringLiteral("PublicFetcher"), TransferLoop::Reach::PublicAddresses};
};

} // namespace

extern "C" PublicFetcher *zrkitSharedFetcher() {
    static NeverDestroyed<CurlFetcher> fetcher;
    return &*fetcher;
}
