// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyObject.h"
#include "ZRKit/Values/NSArray+ZRKit.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NSSet.h"

/// Sets: operations over blocks, which see the members in the set's order, of which nothing is promised. What
/// NSArray+ZRKit.h says of blocks holds here too.
namespace ZRKit {

/// The block's results, each once, those that are nil left out.
template <typename T, typename Block>
NSSet zrMap(const QSet<T> &set, Block block) {
    NSSet results;
    const NSEnumeration enumeration(set);
    for (const T &member : enumeration.elements()) {
        QVariant result = blockResult(block(member));
        enumeration.verify();
        if (!NSIsNil(result))
            results.insert(std::move(result));
    }
    return results;
}

/// The members for which the block answers true.
template <typename T, typename Block>
QSet<T> zrSelect(const QSet<T> &set, Block block) {
    return selectedFrom(set, block);
}

/// The same as zrSelect().
template <typename T, typename Block>
QSet<T> zrFilter(const QSet<T> &set, Block block) {
    return zrSelect(set, std::move(block));
}

/// Some member for which the block answers true, with no further call; nil if there is none.
template <typename T, typename Block>
T zrAny(const QSet<T> &set, Block block) {
    return firstMatchIn(set, block);
}

/// The same as zrAny().
template <typename T, typename Block>
T zrMatch(const QSet<T> &set, Block block) {
    return zrAny(set, std::move(block));
}

/// The members as an array, sorted as zrSorted() sorts arrays.
template <typename T, typename Block>
QList<T> zrSorted(const QSet<T> &set, Block block) {
    const NSEnumeration enumeration(set);
    return zrSorted(enumeration.elements().values(), [&](const T &a, const T &b) -> bool {
        const bool isBefore = block(a, b);
        enumeration.verify();
        return isBefore;
    });
}

/// Sends the target the message for each member, with the member as its argument if it takes one; nothing
/// happens if the target doesn't respond. Raises as NSObjectRuntime::perform() for a member that the method
/// doesn't take.
void zrApplyTarget(const NSSet &set, const AnyObject &target, const NSSelector &action);

} // namespace ZRKit
