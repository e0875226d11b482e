// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSCountedSet+ZRKit.h"

#include "platform/values/NSStableSort.h"

namespace ZRKit {

QVariantList sortedArrayByCountAscending(const NSCountedSet &set, bool ascending) {
    QVariantList members = set.allObjects();
    NSStableSort(members, [&](const QVariant &a, const QVariant &b) {
        const qsizetype countA = set.countForObject(a), countB = set.countForObject(b);
        return countA == countB ? 0 : (countA < countB) == ascending ? -1 : 1;
    });
    return members;
}

} // namespace ZRKit
