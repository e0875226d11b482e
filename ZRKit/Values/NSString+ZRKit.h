// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace ZRKit {

/// A new random UUID in its text form: 36 characters, upper-case hexadecimal in groups of 8-4-4-4-12.
QString uuid();

} // namespace ZRKit
