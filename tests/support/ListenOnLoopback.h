// SPDX-License-Identifier: MIT
#pragma once

/// A socket that listens on loopback at a free port; the caller closes it. Throws std::runtime_error.
int listenOnLoopback(int *port);

/// A port for a server that somebody else starts: one that no other test is given meanwhile, and that the system gives to
/// nobody who doesn't ask for it.
int freePort();
