// SPDX-License-Identifier: MIT
#pragma once

namespace zr {

/// Makes the kit's views and windows known to interface files. The program does so before main(); the linker is told the name,
/// because nothing else may ask for it.
void registerKitClasses();

} // namespace zr
