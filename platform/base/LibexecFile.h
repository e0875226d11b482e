// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace zr {

/// The path of a file that belongs to this system's programs: beside this program, where its build or its installation
/// has such files, or where this library's installation has them. nil if there is none. Any thread.
/// \param access  R_OK, or X_OK for a program that is to be run
/// \param beside  the folder that has it beside this program, "/" and its name; empty for this program's own
QByteArray libexecFile(const QByteArray &name, int access, const QByteArray &beside = {});

} // namespace zr
