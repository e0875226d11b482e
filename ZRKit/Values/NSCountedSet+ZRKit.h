// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSCountedSet.h"

#include <QVariantList>

namespace ZRKit {

/// The distinct members sorted by their counts, the smallest first if the flag is set, otherwise the largest
/// first. The order of members with equal counts is not defined. Any thread.
QVariantList sortedArrayByCountAscending(const NSCountedSet &set, bool ascending);
QVariantList sortedArrayByCountAscending(const NSCountedSet &set, auto ascending) = delete;

} // namespace ZRKit
