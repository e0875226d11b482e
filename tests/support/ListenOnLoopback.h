// SPDX-License-Identifier: MIT
#pragma once

/// A socket that listens on loopback at a free port; the caller closes it. Throws std::runtime_error.
int listenOnLoopback(int *port);
