// SPDX-License-Identifier: MIT
#include "platform/net/ContentsOfURL.h"

#include "platform/base/NeverDestroyed.h"
#include "platform/files/FileContents.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/net/NSURLConnection.h"
#include "platform/net/TransferLoop.h"
#include "platform/text/DataURL.h"

#include <future>

using namespace zr;

namespace {

constexpr int mostRedirects = 20;
constexpr qsizetype mostBytes = qsizetype(1) << 30;

/// A body, nil on failure; or where to look for it instead.
struct Answer {
    QByteArray body;
    QUrl location;
};

bool isHTTP(const QUrl &url) {
    return url.scheme() == u"http" || url.scheme() == u"https";
}

class Reader : public NSURLConnectionDelegate {
public:
    std::future<Answer> answer() { return m_promise.get_future(); }

    void connectionDidReceiveResponse(const Connection &connection,
                                      const std::shared_ptr<NSURLResponse> &response) override {
        const auto http = std::dynamic_pointer_cast<NSHTTPURLResponse>(response);
        const QString location = http->valueForHTTPHeaderField(QStringLiteral("Location"));
        if (http->statusCode() == 308 && !location.isEmpty())
            end(connection, {{}, http->URL().resolved(QUrl(location))});
        else if (http->statusCode() >= 400)
            end(connection, {});
    }
    void connectionDidReceiveData(const Connection &connection, QByteArrayView data) override {
        if (data.size() > mostBytes - m_body.size())
            end(connection, {});
        else
            m_body.append(data.data(), data.size());
    }
    void connectionDidFinishLoading(const Connection &) override { m_promise.set_value({m_body, {}}); }
    void connectionDidFailWithError(const Connection &, const NSError &) override { m_promise.set_value({}); }

private:
    void end(const Connection &connection, const Answer &answer) {
        m_promise.set_value(answer);
        connection->cancel();
    }
    std::promise<Answer> m_promise;
    QByteArray m_body = "";
};

QByteArray contentsByHTTP(const QUrl &url) {
    // Of its own: fetches and their blocks must not hold it up, nor it them.
    static NeverDestroyed<TransferLoop> loop(QStringLiteral("NSDataWithContentsOfURL"));
    Answer answer{{}, url};
    for (int hop = 0; hop <= mostRedirects && isHTTP(answer.location); ++hop) {
        const auto request = std::make_shared<NSMutableURLRequest>(answer.location);
        request->setHTTPShouldHandleCookies(false);
        request->setValue(QStringLiteral("*/*"), QStringLiteral("Accept"));
        request->setValue(QStringLiteral("gzip, deflate, br, zstd"), QStringLiteral("Accept-Encoding"));
        const auto reader = std::make_shared<Reader>();
        auto result = reader->answer();
        const auto connection = std::make_shared<NSURLConnection>(request, reader);
        connection->scheduleInRunLoop(*loop);
        connection->start();
        answer = result.get();
    }
    return answer.body;
}

} // namespace

QByteArray NSDataWithContentsOfURL(const QUrl &url) {
    if (isHTTP(url))
        return contentsByHTTP(url);
    if (url.scheme() == u"data")
        return zr::DataURL(url.toEncoded(QUrl::RemoveFragment)).body();
    return NSDataWithContentsOfFile(NSPathOfFileURL(url));
}
