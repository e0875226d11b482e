// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace ZRKit {

/// Measures and logs how long things take, by name, during development. Logs
/// "Time <name> [seconds since the name's last call of seconds since its start] message".
///
/// The first call of a name starts its clock, and so does a nil message again; a nil name is the clock
/// "main". One thread at a time.
void zxTimeTrack(const QString &name, const QString &message);

} // namespace ZRKit
