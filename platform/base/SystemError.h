// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <cerrno>
#include <sys/types.h>
#include <system_error>

namespace zr {

/// The error of the system call that just failed on this thread, or that of the given number.
inline std::error_code systemError(int number = errno) {
    return {number, std::generic_category()};
}

/// The error of a call that answers -1 if it fails.
inline std::error_code errorUnless(ssize_t result) {
    return result < 0 ? systemError() : std::error_code();
}

/// What people are told of it.
inline QString systemErrorText(int number = errno) {
    return QString::fromStdString(systemError(number).message());
}

} // namespace zr
