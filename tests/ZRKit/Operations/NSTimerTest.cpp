// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/NSTimer+ZRKit.h"

#include "platform/operations/NSRunLoop.h"
#include "platform/values/NSNull.h"
#include "tests/support/LogCapture.h"

#include <chrono>
#include <gtest/gtest.h>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

template <typename Condition>
bool runUntil(Condition condition) {
    const auto end = Clock::now() + 60s;
    while (!condition() && Clock::now() < end)
        NSRunLoop::currentRunLoop().runUntilDate(0.001);
    return condition();
}

TEST(NSTimerBlocks, AScheduledTimerRunsItsBlockOnce) {
    int ran = 0;
    const auto start = Clock::now();
    Clock::time_point fired;
    const auto timer = ZRKit::scheduledTimerWithTimeInterval(
        0.01,
        [&] {
            ++ran;
            fired = Clock::now();
        },
        false);
    ASSERT_TRUE(runUntil([&] { return ran > 0; }));
    EXPECT_GE(fired - start, 10ms);
    EXPECT_FALSE(timer->isValid());
    NSRunLoop::currentRunLoop().runUntilDate(0.03);
    EXPECT_EQ(ran, 1);
}

TEST(NSTimerBlocks, ARepeatingTimerRunsItsBlockUntilItIsInvalidated) {
    int ran = 0;
    std::shared_ptr<NSTimer> timer;
    timer = ZRKit::scheduledTimerWithTimeInterval(
        0.001,
        [&] {
            if (++ran == 3)
                timer->invalidate();
        },
        true);
    ASSERT_TRUE(runUntil([&] { return ran == 3; }));
    NSRunLoop::currentRunLoop().runUntilDate(0.01);
    EXPECT_EQ(ran, 3);
}

TEST(NSTimerBlocks, AnUnscheduledTimerWaitsForARunLoop) {
    int ran = 0;
    const auto timer = ZRKit::timerWithTimeInterval(
        0.001, [&] { ++ran; }, true);
    NSRunLoop::currentRunLoop().runUntilDate(0.01);
    EXPECT_EQ(ran, 0);
    NSRunLoop::currentRunLoop().addTimer(timer);
    EXPECT_TRUE(runUntil([&] { return ran >= 2; }));
    timer->invalidate();
}

TEST(NSTimerBlocks, AnUnscheduledTimerThatDoesNotRepeatRunsItsBlockOnce) {
    int ran = 0;
    const auto timer = ZRKit::timerWithTimeInterval(
        0.001, [&] { ++ran; }, false);
    NSRunLoop::currentRunLoop().addTimer(timer);
    ASSERT_TRUE(runUntil([&] { return !timer->isValid(); }));
    NSRunLoop::currentRunLoop().runUntilDate(0.01);
    EXPECT_EQ(ran, 1);
}

TEST(NSTimerBlocks, ATimerHasACopyOfItsBlock) {
    int ran = 0;
    std::function<void()> block = [&ran, count = 1]() mutable { ran += count++; };
    const auto first = ZRKit::timerWithTimeInterval(1, block, false);
    const auto second = ZRKit::timerWithTimeInterval(1, block, false);
    block = nullptr;
    first->fire();
    second->fire();
    EXPECT_EQ(ran, 2);
}

TEST(NSTimerBlocks, ATimerWithANilBlockFiresAndDoesNothing) {
    const LogCapture log;
    const auto timer = ZRKit::scheduledTimerWithTimeInterval(0.001, nullptr, false);
    EXPECT_TRUE(NSIsNil(timer->userInfo()));
    ASSERT_TRUE(runUntil([&] { return !timer->isValid(); }));
    const auto repeating = ZRKit::timerWithTimeInterval(0.001, nullptr, true);
    repeating->fire();
    EXPECT_TRUE(repeating->isValid());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(NSTimerBlocks, TheBlockIsTheTimersUserInfo) {
    int ran = 0;
    const auto timer = ZRKit::timerWithTimeInterval(
        1, [&] { ++ran; }, true);
    timer->userInfo().value<std::function<void()>>()();
    ZRKit::executeSimpleBlock(*timer);
    EXPECT_EQ(ran, 2);
    const auto other = NSTimer::timerWithTimeInterval(1, nullptr, QStringLiteral("text"), true);
    ZRKit::executeSimpleBlock(*other);
}

} // namespace
