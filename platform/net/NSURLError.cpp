// SPDX-License-Identifier: MIT
#include "platform/net/NSURLError.h"

#include <QCoreApplication>
#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr std::pair<NSURLErrorCode, const char *> messages[] = {
    {NSURLErrorCancelled, "cancelled"},
    {NSURLErrorBadURL, "bad URL"},
    {NSURLErrorTimedOut, "The request timed out."},
    {NSURLErrorUnsupportedURL, "unsupported URL"},
    {NSURLErrorCannotFindHost, "A server with the specified hostname could not be found."},
    {NSURLErrorCannotConnectToHost, "Could not connect to the server."},
    {NSURLErrorNetworkConnectionLost, "The network connection was lost."},
    {NSURLErrorHTTPTooManyRedirects, "too many HTTP redirects"},
    {NSURLErrorNotConnectedToInternet, "There is no connection to the Internet."},
    {NSURLErrorRedirectToNonExistentLocation, "The server redirected to a location that cannot be loaded."},
    {NSURLErrorBadServerResponse, "There was a bad response from the server."},
    {NSURLErrorUserCancelledAuthentication, "The authentication was cancelled."},
    {NSURLErrorZeroByteResource, "The resource is empty."},
    {NSURLErrorCannotDecodeContentData, "cannot decode content data"},
    {NSURLErrorFileDoesNotExist, "The requested URL was not found on this computer."},
    {NSURLErrorFileIsDirectory, "The requested URL is a folder."},
    {NSURLErrorNoPermissionsToReadFile, "You do not have permission to access the requested resource."},
    {NSURLErrorSecureConnectionFailed, "A secure connection to the server cannot be made."},
    {NSURLErrorServerCertificateUntrusted, "The certificate of this server is not trusted."},
};

const char *message(NSURLErrorCode code) {
    const auto *at = std::find_if(std::begin(messages), std::end(messages),
                                  [&](const auto &entry) { return entry.first == code; });
    return at == std::end(messages) ? "unknown error" : at->second;
}

} // namespace

NSError NSURLErrorWithCode(NSURLErrorCode code, const QUrl &url, const QString &reason) {
    QVariantMap userInfo{
        {NSLocalizedDescriptionKey, QCoreApplication::translate("NSURLError", message(code))}};
    if (url.isValid())
        userInfo.insert(NSURLErrorFailingURLStringErrorKey, QString::fromLatin1(url.toEncoded()));
    if (!reason.isEmpty())
        userInfo.insert(NSLocalizedFailureReasonErrorKey, reason);
    return NSError(NSURLErrorDomain, code, userInfo);
}
