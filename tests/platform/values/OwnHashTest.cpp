// SPDX-License-Identifier: MIT
// A program with a hash of its own for values, which the library's headers must not get in the way of.
#include "platform/values/NSSet.h"

#include <gtest/gtest.h>

static size_t qHash(const QVariant &value, size_t seed = 0) {
    return size_t(value.toInt()) + seed;
}

TEST(NSSet, LeavesTheNameOfAHashToTheProgram) {
    EXPECT_EQ(qHash(QVariant(5), 2), 7u);
}
