// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSError.h"

/// The domain of errors of loading.
inline const QString NSURLErrorDomain = QStringLiteral("NSURLErrorDomain");
/// The user-info key of the URL that could not be loaded, as text.
inline const QString NSURLErrorFailingURLStringErrorKey = QStringLiteral("NSErrorFailingURLStringKey");

/// Codes of that domain.
enum NSURLError : int {
    NSURLErrorUnknown = -1,
    NSURLErrorCancelled = -999,
    NSURLErrorBadURL = -1000,
    NSURLErrorTimedOut = -1001,
    NSURLErrorUnsupportedURL = -1002,
    NSURLErrorCannotFindHost = -1003,
    NSURLErrorCannotConnectToHost = -1004,
    NSURLErrorNetworkConnectionLost = -1005,
    NSURLErrorNotConnectedToInternet = -1009,
    NSURLErrorZeroByteResource = -1014,
    NSURLErrorCannotDecodeContentData = -1016,
    NSURLErrorFileDoesNotExist = -1100,
    NSURLErrorFileIsDirectory = -1101,
    NSURLErrorNoPermissionsToReadFile = -1102,
    NSURLErrorSecureConnectionFailed = -1200,
};

/// The error for a failure as the browser names it, such as "net::ERR_CONNECTION_REFUSED".
NSError WebLoadError(const QString &browserText, const QString &url = {});
