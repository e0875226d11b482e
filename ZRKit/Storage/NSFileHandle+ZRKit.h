// SPDX-License-Identifier: MIT
#pragma once

#include "platform/files/NSFileHandle.h"

#include <QString>
#include <memory>

namespace ZRKit {

/// Makes an empty file at the path, in the place of what it held, and opens it for writing, at its end; nil
/// where it can't be opened. Any thread.
std::shared_ptr<NSFileHandle> fileHandleForNewFileWritingAtPath(const QString &path);

} // namespace ZRKit
