// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSAutoresizing+ZRKit.h"

#include <gtest/gtest.h>

namespace {

struct View {
    unsigned autoresizingMask() const { return mask; }
    void setAutoresizingMask(unsigned newMask) { mask = newMask; }
    unsigned mask = 0;
};

struct Inflexible {};

template <typename View, typename Flag>
concept IsStretchable = requires(View *view, Flag flag) {
    ZRKit::setStretch(view, flag);
};

} // namespace

static_assert(IsStretchable<View, bool>);
static_assert(!IsStretchable<View, int> && !IsStretchable<View, unsigned> &&
              !IsStretchable<View, const char *>);
static_assert(!IsStretchable<Inflexible, bool>);

TEST(NSAutoresizing, StretchingIsAMaskOfEighteenAndNotStretchingOneOfZero) {
    View view;
    EXPECT_EQ(ZRKit::setStretch(&view, true), &view);
    EXPECT_EQ(view.mask, 18u);
    view.mask = 63;
    EXPECT_EQ(ZRKit::setStretch(&view, false), &view);
    EXPECT_EQ(view.mask, 0u);
}
