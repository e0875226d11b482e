// SPDX-License-Identifier: MIT
#include "platform/net/NSURLError.h"

#include <QCoreApplication>
#include <curl/curl.h>

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

NSURLErrorCode NSURLErrorCodeOfCurl(int code) {
    switch (code) {
    case CURLE_URL_MALFORMAT:
        return NSURLErrorBadURL;
    case CURLE_UNSUPPORTED_PROTOCOL:
        return NSURLErrorUnsupportedURL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return NSURLErrorCannotFindHost;
    case CURLE_COULDNT_CONNECT:
        return NSURLErrorCannotConnectToHost;
    case CURLE_OPERATION_TIMEDOUT:
        return NSURLErrorTimedOut;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
        return NSURLErrorNetworkConnectionLost;
    case CURLE_WEIRD_SERVER_REPLY:
        return NSURLErrorBadServerResponse;
    case CURLE_BAD_CONTENT_ENCODING:
        return NSURLErrorCannotDecodeContentData;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_SHUTDOWN_FAILED:
    case CURLE_USE_SSL_FAILED:
        return NSURLErrorSecureConnectionFailed;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_CACERT_BADFILE:
        return NSURLErrorServerCertificateUntrusted;
    default:
        return NSURLErrorUnknown;
    }
}
