// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/base/NSURLErrorCode.h"

/// The error for a failure as the browser names it, such as "net::ERR_CONNECTION_REFUSED".
NSError WebLoadError(const QString &browserText, const QString &url = {});
