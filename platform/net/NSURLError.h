// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSError.h"

#include <QString>
#include <QUrl>

/// The domain of errors of loading.
inline const QString NSURLErrorDomain = QStringLiteral("NSURLErrorDomain");
/// The user-info key of the text of the URL that failed.
inline const QString NSURLErrorFailingURLStringErrorKey = QStringLiteral("NSErrorFailingURLStringKey");
/// The user-info key of what exactly went wrong, for logs.
inline const QString NSLocalizedFailureReasonErrorKey = QStringLiteral("NSLocalizedFailureReason");

enum NSURLErrorCode : int {
    NSURLErrorUnknown = -1,
    NSURLErrorCancelled = -999,
    NSURLErrorBadURL = -1000,
    NSURLErrorTimedOut = -1001,
    NSURLErrorUnsupportedURL = -1002,
    NSURLErrorCannotFindHost = -1003,
    NSURLErrorCannotConnectToHost = -1004,
    NSURLErrorNetworkConnectionLost = -1005,
    NSURLErrorHTTPTooManyRedirects = -1007,
    NSURLErrorRedirectToNonExistentLocation = -1010,
    NSURLErrorBadServerResponse = -1011,
    NSURLErrorUserCancelledAuthentication = -1012,
    NSURLErrorCannotDecodeContentData = -1016,
    NSURLErrorFileDoesNotExist = -1100,
    NSURLErrorFileIsDirectory = -1101,
    NSURLErrorNoPermissionsToReadFile = -1102,
    NSURLErrorSecureConnectionFailed = -1200,
    NSURLErrorServerCertificateUntrusted = -1202,
};

/// An error of loading a URL, with a message for people.
/// \param reason  what exactly went wrong; may be nil
NSError NSURLErrorWithCode(NSURLErrorCode code, const QUrl &url, const QString &reason = {});
/// The code that stands for one of libcurl's.
NSURLErrorCode NSURLErrorCodeOfCurl(int code);
