// SPDX-License-Identifier: MIT
#include "platform/net/ContentsOfURL.h"

#include "platform/base/BlockedPipeSignal.h"
#include "platform/files/FileContents.h"
#include "platform/net/CurlGlobal.h"
#include "platform/text/WebDataURL.h"

#include <curl/curl.h>
#include <memory>

namespace {

constexpr long mostRedirects = 20;
constexpr long patienceInSeconds = 60;
constexpr qsizetype mostBytes = qsizetype(1) << 30;

size_t append(const char *bytes, size_t, size_t count, void *body) {
    auto &data = *static_cast<QByteArray *>(body);
    // Anything but the count ends the transfer.
    if (qsizetype(count) > mostBytes - data.size())
        return 0;
    data.append(bytes, qsizetype(count));
    return count;
}

QByteArray contentsByHTTP(const QUrl &url) {
    const BlockedPipeSignal blocked;
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> transfer(
        initialiseCurl() ? curl_easy_init() : nullptr, curl_easy_cleanup);
    if (!transfer)
        return {};
    QByteArray body("");
    const auto set = [&](CURLoption option, auto value) {
        return curl_easy_setopt(transfer.get(), option, value) == CURLE_OK;
    };
    const QByteArray address = url.toEncoded(QUrl::RemoveFragment);
    const bool isSet = set(CURLOPT_URL, address.constData()) && set(CURLOPT_PROTOCOLS_STR, "http,https") &&
                       set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https") && set(CURLOPT_FOLLOWLOCATION, 1L) &&
                       set(CURLOPT_MAXREDIRS, mostRedirects) && set(CURLOPT_FAILONERROR, 1L) &&
                       set(CURLOPT_ACCEPT_ENCODING, "") && set(CURLOPT_NOSIGNAL, 1L) &&
                       set(CURLOPT_CONNECTTIMEOUT, patienceInSeconds) && set(CURLOPT_LOW_SPEED_LIMIT, 1L) &&
                       set(CURLOPT_LOW_SPEED_TIME, patienceInSeconds) && set(CURLOPT_WRITEFUNCTION, append) &&
                       set(CURLOPT_WRITEDATA, &body);
    return isSet && curl_easy_perform(transfer.get()) == CURLE_OK ? body : QByteArray();
}

} // namespace

QByteArray NSDataWithContentsOfURL(const QUrl &url) {
    const QString scheme = url.scheme();
    if (scheme == QStringLiteral("http") || scheme == QStringLiteral("https"))
        return contentsByHTTP(url);
    if (scheme == QStringLiteral("data"))
        return WebDataURL(url.toEncoded(QUrl::RemoveFragment)).body();
    const QString host = url.host();
    if (scheme == QStringLiteral("file") && (host.isEmpty() || host == QStringLiteral("localhost")))
        return NSDataWithContentsOfFile(url.path(QUrl::FullyDecoded));
    return {};
}
