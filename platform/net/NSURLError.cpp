// SPDX-License-Identifier: MIT
#include "platform/net/NSURLError.h"

#include <QCoreApplication>

namespace {

const char *message(NSURLErrorCode code) {
    switch (code) {
    case NSURLErrorCancelled:
        return "cancelled";
    case NSURLErrorBadURL:
        return "bad URL";
    case NSURLErrorTimedOut:
        return "The request timed out.";
    case NSURLErrorUnsupportedURL:
        return "unsupported URL";
    case NSURLErrorCannotFindHost:
        return "A server with the specified hostname could not be found.";
    case NSURLErrorCannotConnectToHost:
        return "Could not connect to the server.";
    case NSURLErrorNetworkConnectionLost:
        return "The network connection was lost.";
    case NSURLErrorHTTPTooManyRedirects:
        return "too many HTTP redirects";
    case NSURLErrorNotConnectedToInternet:
        return "There is no connection to the Internet.";
    case NSURLErrorRedirectToNonExistentLocation:
        return "The server redirected to a location that cannot be loaded.";
    case NSURLErrorBadServerResponse:
        return "There was a bad response from the server.";
    case NSURLErrorUserCancelledAuthentication:
        return "The authentication was cancelled.";
    case NSURLErrorZeroByteResource:
        return "The resource is empty.";
    case NSURLErrorCannotDecodeContentData:
        return "cannot decode content data";
    case NSURLErrorFileDoesNotExist:
        return "The requested URL was not found on this computer.";
    case NSURLErrorFileIsDirectory:
        return "The requested URL is a folder.";
    case NSURLErrorNoPermissionsToReadFile:
        return "You do not have permission to access the requested resource.";
    case NSURLErrorSecureConnectionFailed:
        return "A secure connection to the server cannot be made.";
    case NSURLErrorServerCertificateUntrusted:
        return "The certificate of this server is not trusted.";
    case NSURLErrorUnknown:
        break;
    }
    return "unknown error";
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
