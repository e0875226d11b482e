// SPDX-License-Identifier: MIT
#pragma once

/// SIGINT, SIGTERM and SIGHUP as something that a loop can wait for; a second one ends the process at once.
namespace Interrupts {

/// From here on the signals are noted, and the descriptor, an eventfd, becomes readable. Signals that were
/// ignored stay so. Broken pipes and files grown too large become plain errors of the write.
void install(int eventDescriptor);

/// The first signal that came, or 0.
int signal();

} // namespace Interrupts
