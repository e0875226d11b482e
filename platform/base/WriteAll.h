// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/SystemError.h"

#include <QByteArrayView>
#include <unistd.h>

namespace zr {

/// Writes all of the bytes to a blocking descriptor, however many calls that takes. An empty code for success; what
/// was written before a failure stays written. Any thread.
inline std::error_code writeAll(int descriptor, QByteArrayView bytes) {
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), size_t(bytes.size()));
        if (written >= 0)
            bytes = bytes.sliced(written);
        else if (errno != EINTR)
            return systemError();
    }
    return {};
}

} // namespace zr
