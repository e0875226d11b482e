// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/base/NSURLErrorCode.h"

#include <QString>
#include <QUrl>

/// An error of loading a URL, with a message for people. Any thread.
/// \param reason  what exactly went wrong; may be nil
NSError NSURLErrorWithCode(NSURLErrorCode code, const QUrl &url, const QString &reason = {});
