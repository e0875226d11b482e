// SPDX-License-Identifier: MIT
#pragma once

/// What the program's entry does once there is an application. Main thread.
namespace Program {

/// Gives the application its names and icon, its resources, and the user's language.
void prepare();

} // namespace Program
