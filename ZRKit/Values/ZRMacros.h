// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace ZRKit {

/// Writes the kit's assertion line to the log, with the current call stack, and returns: a broken
/// precondition never ends the program. The names are those of the system's interface, not of the C++ source.
/// Any thread.
///
/// \param function   the operation's name, such as "-[ZRXPC performXPCWithObject:]"
/// \param condition  the source text of what failed to hold
/// \param file       the source's name without a suffix
/// \param line       its line number
/// \param message    what stands first in the line
void zxAssertFailed(const char *function, const char *condition, const char *file, int line,
                    const char *message = "Assertion");

/// The application's name, "CFBundleName" of its NSBundle, and its identifier, "CFBundleIdentifier"; nil or
/// "" if that is missing or empty, which fails an assertion. Any thread.
QString zxAppName();
QString zxAppID();

} // namespace ZRKit
