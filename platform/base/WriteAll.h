// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/SystemError.h"

#include <QByteArrayView>
#include <unistd.h>

namespace zr {

/// Writes all of the bytes to a blocking descriptor, however many calls that takes. An empty code for success; what
/// was written before a failure stays written. Any thread.
/// \param gaveUp  asked after each call that didn't write all, as a signal may have cut it short; true ends the writing
///                with the code of an interrupted call
inline std::error_code writeAll(int descriptor, QByteArrayView bytes, bool (*gaveUp)() = nullptr) {
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), size_t(bytes.size()));
        if (written >= 0)
            bytes = bytes.sliced(written);
        else if (errno != EINTR)
            return systemError();
        if (gaveUp && !bytes.isEmpty() && gaveUp())
            return systemError(EINTR);
    }
    return {};
}

} // namespace zr
