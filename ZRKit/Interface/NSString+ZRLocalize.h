// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyText.h"

namespace ZRKit {

/// The text as the translators installed in the application have it, with the prefix as the translation's context:
/// exactly that one, nil stands for the empty context. The text itself without a translation, nil for nil. Any
/// thread; translators are installed on the main thread.
QString localizeWithPrefix(const AnyText &text, const AnyText &prefix);

} // namespace ZRKit
