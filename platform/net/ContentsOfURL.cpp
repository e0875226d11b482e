// SPDX-License-Identifier: MIT
#include "platform/net/ContentsOfURL.h"

#include "platform/base/NeverDestroyed.h"
#include "platform/files/FileContents.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/net/HTTPExchange.h"
#include "platform/net/TransferLoop.h"
#include "platform/text/DataURL.h"

using namespace zr;

namespace {

constexpr int mostRedirects = 20;
constexpr qint64 mostBytes = qint64(1) << 30;

bool isHTTP(const QUrl &url) {
    return url.scheme() == u"http" || url.scheme() == u"https";
}

bool isMoved(const NSHTTPURLResponse &response) {
    return response.statusCode() == 308 &&
           !response.valueForHTTPHeaderField(QStringLiteral("Location")).isEmpty();
}

bool hasContents(const NSHTTPURLResponse &response) {
    return response.statusCode() < 400 && !isMoved(response);
}

QByteArray contentsByHTTP(QUrl url) {
    // Of its own: fetches and their blocks must not hold it up, nor it them.
    static NeverDestroyed<TransferLoop> loop(QStringLiteral("NSDataWithContentsOfURL"));
    for (int hop = 0; hop <= mostRedirects && isHTTP(url); ++hop) {
        const auto request = std::make_shared<NSMutableURLRequest>(url);
        request->setHTTPShouldHandleCookies(false);
        request->setValue(QStringLiteral("*/*"), QStringLiteral("Accept"));
        request->setValue(QStringLiteral("gzip, deflate, br, zstd"), QStringLiteral("Accept-Encoding"));
        const auto [response, body, error] =
            HTTPExchange{request, std::make_shared<std::atomic<qint64>>(mostBytes), true, hasContents}.wait(
                *loop);
        if (!response || !isMoved(*response))
            return body;
        const QString location = response->valueForHTTPHeaderField(QStringLiteral("Location"));
        url = response->URL().resolved(QUrl(location));
    }
    return {};
}

} // namespace

QByteArray NSDataWithContentsOfURL(const QUrl &url) {
    if (isHTTP(url))
        return contentsByHTTP(url);
    if (url.scheme() == u"data")
        return zr::DataURL(url.toEncoded(QUrl::RemoveFragment)).body();
    return NSDataWithContentsOfFile(NSPathOfFileURL(url));
}
