// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace zr {

/// The path of a file that belongs to this system's programs: beside this program, where its build or its installation
/// has such files, or where this library's installation has them. nil if there is none. Any thread.
QString libexecFile(const QString &name);

} // namespace zr
