// SPDX-License-Identifier: MIT
#pragma once

namespace zr {

/// Keeps files that are opened later from passing for a standard stream that was closed; what is put there instead can't
/// be used the stream's way. Before any other thread is started.
void fillStandardStreams();

/// The service and the client library log to standard error. Unless that is wanted, it leads nowhere from here on. Before
/// any other thread is started.
/// \return a descriptor of the real one for this program's own lines; -1 if there is none
int takeStandardError(bool logs);

} // namespace zr
