// SPDX-License-Identifier: MIT
#include "ZRKit/Values/ZRMacros.h"

#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

TEST(ZRMacros, AssertionLineHasItsFixedTextsAndACallStack) {
    const LogCapture log;
    ZRKit::zxAssertFailed("-[ZRXPC performXPCWithObject:]", "(operation.error)", "ZRXPC", 128);
    ASSERT_EQ(log.lines().size(), 1);
    const QString start = QStringLiteral("Assertion <ZRXPC:128> -[ZRXPC performXPCWithObject:]\n\n"
                                         "    (operation.error) failed assertion\n\n");
    EXPECT_TRUE(log.lines().front().startsWith(start));
    EXPECT_GT(log.lines().front().size(), start.size());
}
