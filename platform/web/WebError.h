// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSError.h"
#include "platform/values/NSURLErrorCode.h"

/// The error for a failure as the browser names it, such as "net::ERR_CONNECTION_REFUSED".
NSError WebLoadError(const QString &browserText, const QString &url = {});
