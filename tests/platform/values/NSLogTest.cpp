// SPDX-License-Identifier: MIT
#include "platform/values/NSLog.h"

#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

TEST(NSLog, FillsTheFormatInOrder) {
    EXPECT_EQ(NSFormat("==> XPC work on task %@#%d", {QStringLiteral("A"), 7}),
              QStringLiteral("==> XPC work on task A#7"));
    EXPECT_EQ(NSFormat("100%% %s", {"sure"}), QStringLiteral("100% sure"));
    EXPECT_EQ(NSFormat("%@", {QVariant()}), QStringLiteral("(null)"));
    EXPECT_EQ(NSFormat("%@", {QString()}), QStringLiteral("(null)"));
    EXPECT_EQ(NSFormat("%@", {NSError()}), QStringLiteral("(null)"));
    EXPECT_EQ(NSFormat("no arguments", {}), QStringLiteral("no arguments"));
    EXPECT_EQ(NSFormat("ends in %", {}), QStringLiteral("ends in %"));
}

TEST(NSLog, ArgumentsThatLookLikeFormatsStayAsTheyAre) {
    EXPECT_EQ(NSFormat("%@ %@", {QStringLiteral("%@"), QStringLiteral("%1")}), QStringLiteral("%@ %1"));
}

TEST(NSLog, WritesTheLineUnchangedThroughTheMessageHandler) {
    const LogCapture log;
    NSLog("!!! XPC Error: %@", QStringLiteral("x\ny %@"));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("!!! XPC Error: x\ny %@")});
}
