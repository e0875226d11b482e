// SPDX-License-Identifier: MIT
#pragma once

/// Which parts of a view's frame give way when its superview's size changes; a mask of these values.
enum NSAutoresizingMaskOptions : unsigned {
    NSViewNotSizable = 0,
    NSViewMinXMargin = 1,
    NSViewWidthSizable = 2,
    NSViewMaxXMargin = 4,
    NSViewMinYMargin = 8,
    NSViewHeightSizable = 16,
    NSViewMaxYMargin = 32,
};
