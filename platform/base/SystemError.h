// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <system_error>

namespace zr {

/// The error of the system call that just failed on this thread, or that of the given number.
inline std::error_code systemError(int number = errno) {
    return {number, std::generic_category()};
}

} // namespace zr
