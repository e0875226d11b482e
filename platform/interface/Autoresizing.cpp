// SPDX-License-Identifier: MIT
#include "platform/interface/Autoresizing.h"

#include "platform/values/NSAutoresizingMask.h"

namespace {

struct Extent {
    double origin;
    double length;
};

struct Flexibility {
    bool minMargin;
    bool size;
    bool maxMargin;
};

Extent autoresized(const Extent &extent, double oldSuper, double newSuper, const Flexibility &flexible) {
    const int count = flexible.minMargin + flexible.size + flexible.maxMargin;
    const double total = (flexible.minMargin ? extent.origin : 0) + (flexible.size ? extent.length : 0) +
                         (flexible.maxMargin ? oldSuper - extent.origin - extent.length : 0);
    const double change = newSuper - oldSuper;
    const auto shareOf = [&](bool isFlexible, double length) {
        if (!isFlexible)
            return 0.0;
        if (count == 1) // exactly, which a product and a quotient needn't be
            return change;
        return total == 0 ? change / count : change * length / total;
    };
    return {extent.origin + shareOf(flexible.minMargin, extent.origin),
            extent.length + shareOf(flexible.size, extent.length)};
}

} // namespace

QRectF zr::autoresized(const QRectF &frame, const QSizeF &oldSuperSize, const QSizeF &newSuperSize,
                       unsigned mask) {
    const auto has = [mask](unsigned bit) { return (mask & bit) != 0; };
    const Extent x = ::autoresized({frame.x(), frame.width()}, oldSuperSize.width(), newSuperSize.width(),
                                   {has(NSViewMinXMargin), has(NSViewWidthSizable), has(NSViewMaxXMargin)});
    const Extent y = ::autoresized({frame.y(), frame.height()}, oldSuperSize.height(), newSuperSize.height(),
                                   {has(NSViewMinYMargin), has(NSViewHeightSizable), has(NSViewMaxYMargin)});
    return {x.origin, y.origin, x.length, y.length};
}
