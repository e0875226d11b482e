// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSSet+ZRKit.h"

namespace ZRKit {

void zrApplyTarget(const NSSet &set, const AnyObject &target, const NSSelector &action) {
    const NSEnumeration enumeration(set);
    for (const QVariant &member : enumeration.elements()) {
        if (NSObjectRuntime::respondsTo(target.value(), action))
            NSObjectRuntime::performWithObject(target.value(), action, member);
        enumeration.verify();
    }
}

} // namespace ZRKit
