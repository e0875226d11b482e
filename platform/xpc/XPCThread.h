// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace zr {

/// Runs the function on a new detached thread of the connection machinery. The host's signals are not handled
/// there. The name, of at most 15 characters, is what tools show.
void XPCThreadDetach(const char *name, std::function<void()> function);

} // namespace zr
