// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/base/NSURLErrorCode.h"

namespace zr {

/// The error for a failure as the browser names it, such as "net::ERR_CONNECTION_REFUSED". Any thread.
NSError webLoadError(const QString &browserText, const QString &url = {});

} // namespace zr
