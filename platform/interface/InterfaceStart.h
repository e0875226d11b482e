// SPDX-License-Identifier: MIT
#pragma once

namespace zr {

/// Prepares a new QApplication for the platform's windows and errors. The application calls it by itself; the linker is told
/// its name, because nothing else may ask for it.
void startInterface();

} // namespace zr
