// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <unistd.h>

namespace zr {

/// Keeps files that are opened later from passing for a standard stream that was closed; what is put there instead can't
/// be used the stream's way. Before any other thread is started.
void fillStandardStreams();

/// The service and the client library log to standard error. Unless that is wanted, it leads nowhere from here on. Before
/// any other thread is started.
/// \return a descriptor of the real one for this program's own lines; -1 if there is none
int takeStandardError(bool logs);

/// Writes a text that was asked for to standard output.
/// \param program        leads the line that tells why, if that fails
/// \param failure        the exit status then
/// \param standardError  where the line goes
/// \return the exit status: 0, or that
int printText(const QByteArray &text, const QByteArray &program, int failure,
              int standardError = STDERR_FILENO);

} // namespace zr
