// SPDX-License-Identifier: MIT
#include "platform/operations/NSTimer.h"

#include "platform/base/NSException.h"
#include "platform/operations/NSRunLoop.h"
#include "platform/values/NSNull.h"
#include "tests/support/Gate.h"
#include "tests/support/LogCapture.h"

#include <chrono>
#include <gtest/gtest.h>
#include <limits>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// Runs the calling thread's run loop until the condition holds; false if it never does.
template <typename Condition>
bool runUntil(Condition condition) {
    const auto end = Clock::now() + 60s;
    while (!condition() && Clock::now() < end)
        NSRunLoop::currentRunLoop().runUntilDate(0.001);
    return condition();
}

TEST(NSTimer, FiresOnceWhenItsIntervalHasPassedAndIsInvalidThen) {
    const auto start = Clock::now();
    Clock::time_point fired;
    int count = 0;
    const auto timer = NSTimer::scheduledTimerWithTimeInterval(
        0.02,
        [&](NSTimer &) {
            fired = Clock::now();
            ++count;
        },
        7, false);
    EXPECT_TRUE(timer->isValid());
    EXPECT_EQ(timer->timeInterval(), 0);
    EXPECT_EQ(timer->userInfo(), QVariant(7));
    ASSERT_TRUE(runUntil([&] { return count > 0; }));
    EXPECT_GE(fired - start, 20ms);
    EXPECT_FALSE(timer->isValid());
    EXPECT_TRUE(NSIsNil(timer->userInfo()));
    NSRunLoop::currentRunLoop().runUntilDate(0.05);
    EXPECT_EQ(count, 1);
}

TEST(NSTimer, RepeatsUntilItIsInvalidated) {
    int count = 0;
    const auto timer = NSTimer::scheduledTimerWithTimeInterval(
        0.002,
        [&](NSTimer &self) {
            if (++count == 5)
                self.invalidate();
        },
        {}, true);
    EXPECT_DOUBLE_EQ(timer->timeInterval(), 0.002);
    ASSERT_TRUE(runUntil([&] { return count == 5; }));
    NSRunLoop::currentRunLoop().runUntilDate(0.02);
    EXPECT_EQ(count, 5);
    EXPECT_FALSE(timer->isValid());
}

TEST(NSTimer, KeepsItsRhythmAndLeavesOutWhatItMissed) {
    const auto start = Clock::now();
    std::vector<double> times;
    const auto timer = NSTimer::scheduledTimerWithTimeInterval(
        0.04,
        [&](NSTimer &) {
            times.push_back(std::chrono::duration<double>(Clock::now() - start).count());
            if (times.size() == 1)
                std::this_thread::sleep_for(130ms);
        },
        {}, true);
    ASSERT_TRUE(runUntil([&] { return times.size() >= 2; }));
    timer->invalidate();
    // The first at 0.04 took until 0.17 at least: those at 0.08, 0.12 and 0.16 are gone.
    EXPECT_GE(times[1], 0.2);
    EXPECT_EQ(times.size(), 2U);
}

TEST(NSTimer, DoesNotFireInsideItsOwnActionButOthersDo) {
    int depth = 0;
    int deepest = 0;
    int others = 0;
    const auto other = NSTimer::scheduledTimerWithTimeInterval(
        0.001, [&](NSTimer &) { others += depth; }, {}, true);
    const auto timer = NSTimer::scheduledTimerWithTimeInterval(
        0.001,
        [&](NSTimer &self) {
            deepest = std::max(deepest, ++depth);
            EXPECT_TRUE(runUntil([&] { return others >= 3; }));
            --depth;
            self.invalidate();
        },
        {}, true);
    ASSERT_TRUE(runUntil([&] { return !timer->isValid(); }));
    other->invalidate();
    EXPECT_EQ(deepest, 1);
}

TEST(NSTimer, AnUnscheduledOneFiresOnlyOnceARunLoopHasIt) {
    int count = 0;
    const auto timer = NSTimer::timerWithTimeInterval(
        0.001, [&](NSTimer &) { ++count; }, {}, false);
    NSRunLoop::currentRunLoop().runUntilDate(0.02);
    EXPECT_EQ(count, 0);
    EXPECT_TRUE(timer->isValid());
    NSRunLoop::currentRunLoop().addTimer(timer);
    NSRunLoop::currentRunLoop().addTimer(timer);
    EXPECT_TRUE(runUntil([&] { return count > 0; }));
    NSRunLoop::currentRunLoop().addTimer(timer);
    NSRunLoop::currentRunLoop().addTimer(nullptr);
    NSRunLoop::currentRunLoop().runUntilDate(0.01);
    EXPECT_EQ(count, 1);
}

TEST(NSTimer, CanBeFiredAtOnce) {
    int count = 0;
    const auto action = [&](NSTimer &) { ++count; };
    const auto repeating = NSTimer::timerWithTimeInterval(3600, action, {}, true);
    repeating->fire();
    repeating->fire();
    EXPECT_EQ(count, 2);
    EXPECT_TRUE(repeating->isValid());
    const auto once = NSTimer::timerWithTimeInterval(3600, action, {}, false);
    once->fire();
    once->fire();
    EXPECT_EQ(count, 3);
    EXPECT_FALSE(once->isValid());
    const auto nothing = NSTimer::timerWithTimeInterval(3600, nullptr, {}, false);
    nothing->fire();
    EXPECT_FALSE(nothing->isValid());
}

TEST(NSTimer, IntervalsThatAreNoneAreVeryShortAndLongOnesWait) {
    int count = 0;
    std::vector<std::shared_ptr<NSTimer>> timers;
    for (const double seconds : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(), 1e-12})
        timers.push_back(NSTimer::scheduledTimerWithTimeInterval(
            seconds, [&](NSTimer &) { ++count; }, {}, false));
    bool never = false;
    const auto endless = NSTimer::scheduledTimerWithTimeInterval(
        std::numeric_limits<double>::infinity(), [&](NSTimer &) { never = true; }, {}, true);
    EXPECT_TRUE(runUntil([&] { return count == 4; }));
    EXPECT_FALSE(never);
    endless->invalidate();
}

TEST(NSTimer, FiresInTheOrderOfDatesAndThenOfAdding) {
    QString order;
    std::vector<std::shared_ptr<NSTimer>> timers;
    const auto add = [&](double seconds, char name) {
        timers.push_back(NSTimer::timerWithTimeInterval(
            seconds, [&order, name](NSTimer &) { order += QLatin1Char(name); }, {}, false));
    };
    add(0.02, 'c');
    add(0.001, 'a');
    add(0.01, 'b');
    for (const auto &timer : timers)
        NSRunLoop::currentRunLoop().addTimer(timer);
    std::this_thread::sleep_for(25ms);
    ASSERT_TRUE(runUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order, QStringLiteral("abc"));
}

TEST(NSTimer, TheRunLoopKeepsItAliveWhileItIsValid) {
    std::weak_ptr<NSTimer> weak;
    auto thing = std::make_shared<int>(1);
    int count = 0;
    weak = NSTimer::scheduledTimerWithTimeInterval(
        0.001, [&count, thing](NSTimer &) { ++count; }, {}, true);
    ASSERT_TRUE(runUntil([&] { return count >= 2; }));
    ASSERT_FALSE(weak.expired());
    weak.lock()->invalidate();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(thing.use_count(), 1);
}

TEST(NSTimer, ATimerThatItsActionOwnsGoesWhenItIsInvalidated) {
    std::weak_ptr<NSTimer> weak;
    {
        auto holder = std::make_shared<std::shared_ptr<NSTimer>>();
        *holder = NSTimer::scheduledTimerWithTimeInterval(
            0.001, [holder](NSTimer &self) { self.invalidate(); }, {}, true);
        weak = *holder;
    }
    EXPECT_TRUE(runUntil([&] { return weak.expired(); }));
}

TEST(NSTimer, AnExceptionOfTheActionIsLoggedAndTheTimerGoesOn) {
    const LogCapture log;
    int count = 0;
    const auto timer = NSTimer::scheduledTimerWithTimeInterval(
        0.001,
        [&](NSTimer &) {
            ++count;
            throw NSException(NSGenericException, QStringLiteral("no"));
        },
        {}, true);
    ASSERT_TRUE(runUntil([&] { return count >= 2; }));
    timer->invalidate();
    EXPECT_GE(log.count(QStringLiteral("Exception in a timer or delayed message: no")), 2);
    const auto once = NSTimer::timerWithTimeInterval(
        1, [](NSTimer &) { throw NSException(NSGenericException, QStringLiteral("no")); }, {}, false);
    EXPECT_THROW(once->fire(), NSException);
    EXPECT_FALSE(once->isValid());
}

TEST(NSTimer, BelongsToTheThreadThatScheduledIt) {
    Gate done;
    std::thread::id fired;
    std::thread thread([&] {
        NSTimer::scheduledTimerWithTimeInterval(
            0.001,
            [&](NSTimer &) {
                fired = std::this_thread::get_id();
                done.open();
            },
            {}, false);
        EXPECT_TRUE(runUntil([&] { return done.isOpen(); }));
        EXPECT_THROW(NSRunLoop::mainRunLoop().addTimer(NSTimer::timerWithTimeInterval(1, nullptr, {}, false)),
                     NSException);
    });
    const auto id = thread.get_id();
    thread.join();
    EXPECT_EQ(fired, id);
}

TEST(NSTimer, AThreadThatEndsLetsItsTimersGo) {
    std::weak_ptr<NSTimer> weak;
    std::thread([&] {
        weak = NSTimer::scheduledTimerWithTimeInterval(3600, nullptr, {}, true);
        EXPECT_FALSE(weak.expired());
    }).join();
    EXPECT_TRUE(weak.expired());
}

TEST(NSTimer, AnotherThreadCanInvalidateIt) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> count{0};
        const auto timer = NSTimer::scheduledTimerWithTimeInterval(
            0.0001, [&](NSTimer &) { ++count; }, QStringLiteral("info"), true);
        std::thread other([&] { timer->invalidate(); });
        NSRunLoop::currentRunLoop().runUntilDate(0.001);
        other.join();
        const int before = count;
        NSRunLoop::currentRunLoop().runUntilDate(0.001);
        EXPECT_EQ(count, before);
        EXPECT_TRUE(NSIsNil(timer->userInfo()));
        EXPECT_EQ(timer.use_count(), 1);
    }
}

} // namespace
