// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSAutoresizingMask.h"

#include <concepts>

namespace ZRKit {

/// Makes the view grow and shrink with its superview in both directions (mask 18), or not at all (mask 0).
/// \return the view
template <typename View, std::same_as<bool> Flag>
View *setStretch(View *view, Flag flag) {
    view->setAutoresizingMask(flag ? NSViewWidthSizable | NSViewHeightSizable : NSViewNotSizable);
    return view;
}

} // namespace ZRKit
