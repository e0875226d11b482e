// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSAutoresizingMask.h"

#include <concepts>

namespace ZRKit {

/// What has an autoresizing mask: a WebView, an NSView.
template <typename View>
concept HasAutoresizingMask = requires(View &view, unsigned mask) {
    { view.autoresizingMask() } -> std::same_as<unsigned>;
    view.setAutoresizingMask(mask);
};

/// Makes the view grow and shrink with its superview in both directions (mask 18), or not at all (mask 0). On the view's
/// thread.
/// \return the view
template <HasAutoresizingMask View, std::same_as<bool> Flag>
View *setStretch(View *view, Flag flag) {
    view->setAutoresizingMask(flag ? NSViewWidthSizable | NSViewHeightSizable : NSViewNotSizable);
    return view;
}

} // namespace ZRKit
