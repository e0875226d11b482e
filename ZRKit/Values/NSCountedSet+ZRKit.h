// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSCountedSet.h"

#include <QVariantList>

namespace ZRKit {

/// The distinct members sorted by their counts, the smallest first where the flag is set, the largest first
/// otherwise. The order of members with equal counts is not defined.
QVariantList sortedArrayByCountAscending(const NSCountedSet &set, bool ascending);

} // namespace ZRKit
