// SPDX-License-Identifier: MIT
#pragma once

/// What the program does once there is an application. Main thread.
namespace Program {

/// Gives the application its names, its resources, and the user's language.
void prepare();
/// Does what takes longer, once the window is there: the icon, and the language of Qt's own dialogs.
void finish();

} // namespace Program
