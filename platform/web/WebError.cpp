// SPDX-License-Identifier: MIT
#include "platform/web/WebError.h"

NSError zr::webLoadError(const QString &browserText, const QString &url) {
    static constexpr struct {
        const char *text;
        NSURLErrorCode code;
    } known[] = {
        {"The browser has gone", NSURLErrorEngineLost},
        {"The browser cannot be started", NSURLErrorEngineLost},
        {"The page cannot be set up", NSURLErrorEngineLost},
        {"The page has gone", NSURLErrorEngineLost},
        {"The page's process has ended", NSURLErrorEngineLost},
        {"net::ERR_ABORTED", NSURLErrorCancelled},
        {"net::ERR_INVALID_URL", NSURLErrorBadURL},
        {"net::ERR_TIMED_OUT", NSURLErrorTimedOut},
        {"net::ERR_CONNECTION_TIMED_OUT", NSURLErrorTimedOut},
        {"net::ERR_UNKNOWN_URL_SCHEME", NSURLErrorUnsupportedURL},
        {"net::ERR_DISALLOWED_URL_SCHEME", NSURLErrorUnsupportedURL},
        {"net::ERR_NAME_NOT_RESOLVED", NSURLErrorCannotFindHost},
        {"net::ERR_CONNECTION_REFUSED", NSURLErrorCannotConnectToHost},
        {"net::ERR_CONNECTION_FAILED", NSURLErrorCannotConnectToHost},
        {"net::ERR_ADDRESS_UNREACHABLE", NSURLErrorCannotConnectToHost},
        {"net::ERR_UNSAFE_PORT", NSURLErrorCannotConnectToHost},
        {"net::ERR_CONNECTION_RESET", NSURLErrorNetworkConnectionLost},
        {"net::ERR_CONNECTION_CLOSED", NSURLErrorNetworkConnectionLost},
        {"net::ERR_CONTENT_LENGTH_MISMATCH", NSURLErrorNetworkConnectionLost},
        {"net::ERR_INCOMPLETE_CHUNKED_ENCODING", NSURLErrorNetworkConnectionLost},
        {"net::ERR_EMPTY_RESPONSE", NSURLErrorNetworkConnectionLost},
        {"net::ERR_INTERNET_DISCONNECTED", NSURLErrorNotConnectedToInternet},
        {"net::ERR_CONTENT_DECODING_FAILED", NSURLErrorCannotDecodeContentData},
        {"net::ERR_FILE_NOT_FOUND", NSURLErrorFileDoesNotExist},
        {"net::ERR_ACCESS_DENIED", NSURLErrorNoPermissionsToReadFile},
    };
    int code = NSURLErrorUnknown;
    for (const auto &entry : known) {
        if (browserText == QLatin1StringView(entry.text))
            code = entry.code;
    }
    if (browserText.startsWith(QLatin1StringView("net::ERR_CERT_")) ||
        browserText.startsWith(QLatin1StringView("net::ERR_SSL_")))
        code = NSURLErrorSecureConnectionFailed;
    QVariantMap info{{NSLocalizedDescriptionKey, browserText}};
    if (!url.isEmpty())
        info.insert(NSURLErrorFailingURLStringErrorKey, url);
    return NSError(NSURLErrorDomain, code, info);
}
