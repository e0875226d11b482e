// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// The domain of errors of loading.
inline const QString NSURLErrorDomain = QStringLiteral("NSURLErrorDomain");
/// The user-info key of the text of the URL that failed.
inline const QString NSURLErrorFailingURLStringErrorKey = QStringLiteral("NSErrorFailingURLStringKey");

/// Codes of that domain.
enum NSURLErrorCode : int {
    NSURLErrorUnknown = -1,
    NSURLErrorEngineLost = -997, ///< what worked on the document has gone; another try may go well
    NSURLErrorCancelled = -999,
    NSURLErrorBadURL = -1000,
    NSURLErrorTimedOut = -1001,
    NSURLErrorUnsupportedURL = -1002,
    NSURLErrorCannotFindHost = -1003,
    NSURLErrorCannotConnectToHost = -1004,
    NSURLErrorNetworkConnectionLost = -1005,
    NSURLErrorHTTPTooManyRedirects = -1007,
    NSURLErrorNotConnectedToInternet = -1009,
    NSURLErrorRedirectToNonExistentLocation = -1010,
    NSURLErrorBadServerResponse = -1011,
    NSURLErrorUserCancelledAuthentication = -1012,
    NSURLErrorZeroByteResource = -1014,
    NSURLErrorCannotDecodeContentData = -1016,
    NSURLErrorFileDoesNotExist = -1100,
    NSURLErrorFileIsDirectory = -1101,
    NSURLErrorNoPermissionsToReadFile = -1102,
    NSURLErrorSecureConnectionFailed = -1200,
    NSURLErrorServerCertificateUntrusted = -1202,
};
