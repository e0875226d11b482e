// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/ZRDelayed.h"

#include "platform/base/NSException.h"
#include "platform/base/NSObjectLock.h"
#include "platform/operations/NSRunLoop.h"
#include "tests/support/Gate.h"
#include "tests/support/LogCapture.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

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

void runFor(double seconds) {
    NSRunLoop::currentRunLoop().runUntilDate(seconds);
}

TEST(ZRDelayed, OfABurstOnlyTheLastBlockRunsOnceAfterTheWholeDelay) {
    const auto delayed = std::make_shared<ZRDelayed>();
    std::vector<int> ran;
    Clock::time_point asked;
    Clock::time_point called;
    for (int i = 1; i <= 10; ++i) {
        asked = Clock::now();
        delayed->performAfter(1, [&, i] {
            ran.push_back(i);
            called = Clock::now();
        });
        runFor(i < 10 ? 0.1 : 0);
    }
    EXPECT_TRUE(ran.empty());
    ASSERT_TRUE(runUntil([&] { return !ran.empty(); }));
    EXPECT_GE(called - asked, 1s);
    runFor(0.3);
    EXPECT_EQ(ran, std::vector<int>{10});
}

TEST(ZRDelayed, CancelBeforeTheDelayMeansTheBlockNeverRuns) {
    const auto delayed = std::make_shared<ZRDelayed>();
    bool ran = false;
    delayed->performAfter(0.01, [&] { ran = true; });
    delayed->cancel();
    runFor(0.05);
    EXPECT_FALSE(ran);
    delayed->cancel();
    delayed->performAfter(0.001, [&] { ran = true; });
    EXPECT_TRUE(runUntil([&] { return ran; }));
}

TEST(ZRDelayed, ANilBlockIsReplacedAndRunsAsNothing) {
    const LogCapture log;
    const auto delayed = std::make_shared<ZRDelayed>();
    bool ran = false;
    delayed->performAfter(0.001, [&] { ran = true; });
    delayed->performAfter(0.001, nullptr);
    runFor(0.02);
    EXPECT_FALSE(ran);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(ZRDelayed, IsKeptAliveWhileABlockWaitsAndNotLonger) {
    bool ran = false;
    auto delayed = std::make_shared<ZRDelayed>();
    const std::weak_ptr<ZRDelayed> weak = delayed;
    delayed->performAfter(0.005, [&] { ran = true; });
    delayed.reset();
    EXPECT_FALSE(weak.expired());
    ASSERT_TRUE(runUntil([&] { return ran; }));
    EXPECT_TRUE(weak.expired());
}

TEST(ZRDelayed, LetsTheBlockGoWhenItHasRunWasReplacedOrCancelled) {
    const auto delayed = std::make_shared<ZRDelayed>();
    auto thing = std::make_shared<int>();
    delayed->performAfter(3600, [thing] {});
    EXPECT_EQ(thing.use_count(), 2);
    delayed->performAfter(3600, [] {});
    EXPECT_EQ(thing.use_count(), 1);
    delayed->performAfter(3600, [thing] {});
    delayed->cancel();
    EXPECT_EQ(thing.use_count(), 1);
    bool ran = false;
    delayed->performAfter(0, [thing, &ran] { ran = true; });
    ASSERT_TRUE(runUntil([&] { return ran; }));
    EXPECT_EQ(thing.use_count(), 1);
}

TEST(ZRDelayed, ABlockThatOwnsItsDelayedGoesWithIt) {
    std::weak_ptr<ZRDelayed> weak;
    bool ran = false;
    {
        const auto delayed = std::make_shared<ZRDelayed>();
        weak = delayed;
        delayed->performAfter(0, [delayed, &ran] { ran = true; });
    }
    ASSERT_TRUE(runUntil([&] { return ran; }));
    EXPECT_TRUE(weak.expired());
}

TEST(ZRDelayed, TheEndOfABlockMayAskAgain) {
    struct AsksAtItsEnd {
        std::weak_ptr<ZRDelayed> delayed;
        std::function<void()> block;
        ~AsksAtItsEnd() {
            if (const auto strong = delayed.lock())
                strong->performAfter(0, block);
        }
    };
    const auto delayed = std::make_shared<ZRDelayed>();
    bool ran = false;
    auto thing = std::make_shared<AsksAtItsEnd>();
    thing->delayed = delayed;
    thing->block = [&] { ran = true; };
    delayed->performAfter(3600, [thing = std::move(thing)] {});
    delayed->cancel();
    EXPECT_TRUE(runUntil([&] { return ran; }));
}

TEST(ZRDelayed, WhatTheRunningBlockAsksForIsClearedWithIt) {
    const LogCapture log;
    const auto delayed = std::make_shared<ZRDelayed>();
    int outer = 0;
    int inner = 0;
    delayed->performAfter(0, [&] {
        ++outer;
        delayed->performAfter(0, [&] { ++inner; });
    });
    ASSERT_TRUE(runUntil([&] { return outer > 0; }));
    runFor(0.02);
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(inner, 0);
    EXPECT_TRUE(log.lines().isEmpty());
    delayed->performAfter(0, [&] { ++inner; });
    EXPECT_TRUE(runUntil([&] { return inner == 1; }));
}

TEST(ZRDelayed, TheRunningBlockMayCancel) {
    const auto delayed = std::make_shared<ZRDelayed>();
    auto thing = std::make_shared<int>(5);
    int seen = 0;
    delayed->performAfter(0, [&delayed, &seen, thing] {
        delayed->cancel();
        seen = *thing;
    });
    EXPECT_TRUE(runUntil([&] { return seen == 5; }));
}

TEST(ZRDelayed, ExecuteBlockRunsWhatWaitsAtOnceAndNothingIsLeftForTheSchedule) {
    const auto delayed = std::make_shared<ZRDelayed>();
    int ran = 0;
    delayed->executeBlock();
    delayed->performAfter(0.005, [&] { ++ran; });
    delayed->executeBlock();
    EXPECT_EQ(ran, 1);
    runFor(0.03);
    EXPECT_EQ(ran, 1);
}

TEST(ZRDelayed, AnExceptionOfTheBlockIsLoggedAndTheLockIsFree) {
    const LogCapture log;
    const auto delayed = std::make_shared<ZRDelayed>();
    delayed->performAfter(0, [] { throw NSException(NSGenericException, QStringLiteral("no")); });
    ASSERT_TRUE(runUntil([&] { return !log.lines().isEmpty(); }));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("Exception in a timer or delayed message: no")});
    std::thread([&] { const NSObjectLock lock(delayed.get()); }).join();
}

TEST(ZRDelayed, TheBlockHoldsTheObjectsLock) {
    const auto delayed = std::make_shared<ZRDelayed>();
    Gate locking;
    std::atomic<bool> blockEnded{false};
    std::atomic<bool> endedBeforeLock{false};
    std::thread other;
    delayed->performAfter(0, [&] {
        other = std::thread([&] {
            locking.open();
            const NSObjectLock lock(delayed.get());
            endedBeforeLock = blockEnded.load();
        });
        EXPECT_TRUE(locking.pass());
        blockEnded = true;
    });
    ASSERT_TRUE(runUntil([&] { return blockEnded.load(); }));
    other.join();
    EXPECT_TRUE(endedBeforeLock);
}

TEST(ZRDelayed, RunsOnTheRunLoopOfTheThreadThatAsked) {
    const auto delayed = std::make_shared<ZRDelayed>();
    std::thread::id ranOn;
    std::thread thread([&] {
        bool ran = false;
        delayed->performAfter(0.001, [&] {
            ranOn = std::this_thread::get_id();
            ran = true;
        });
        EXPECT_TRUE(runUntil([&] { return ran; }));
    });
    const auto id = thread.get_id();
    thread.join();
    EXPECT_EQ(ranOn, id);
}

TEST(ZRDelayed, AThreadThatDoesNotRunItsRunLoopNeverRunsTheBlock) {
    const auto delayed = std::make_shared<ZRDelayed>();
    bool ran = false;
    std::thread([&] {
        delayed->performAfter(0, [&] { ran = true; });
        std::this_thread::sleep_for(5ms);
    }).join();
    runFor(0.02);
    EXPECT_FALSE(ran);
    EXPECT_EQ(delayed.use_count(), 1);
}

TEST(ZRDelayed, CancelOfAnotherThreadTakesTheBlockButNotTheSchedule) {
    const LogCapture log;
    const auto delayed = std::make_shared<ZRDelayed>();
    bool ran = false;
    delayed->performAfter(0.005, [&] { ran = true; });
    std::thread([&] { delayed->cancel(); }).join();
    EXPECT_EQ(delayed.use_count(), 2);
    ASSERT_TRUE(runUntil([&] { return delayed.use_count() == 1; }));
    EXPECT_FALSE(ran);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(ZRDelayed, AScheduleOfAnotherThreadCallsWhatWaitsByThen) {
    const auto delayed = std::make_shared<ZRDelayed>();
    std::vector<int> ran;
    delayed->performAfter(0.005, [&] { ran.push_back(1); });
    std::thread([&] { delayed->performAfter(3600, [&] { ran.push_back(2); }); }).join();
    ASSERT_TRUE(runUntil([&] { return !ran.empty(); }));
    EXPECT_EQ(ran, std::vector<int>{2});
}

TEST(ZRDelayed, ManyThreadsMayAskAtOnce) {
    const auto delayed = std::make_shared<ZRDelayed>();
    int ran = 0; // under the object's lock
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                delayed->performAfter(0.00001, [&] { ++ran; });
                if (i % 3 == 0)
                    delayed->cancel();
                runFor(0.0001);
            }
        });
    for (auto &thread : threads)
        thread.join();
    EXPECT_GT(ran, 0);
    EXPECT_EQ(delayed.use_count(), 1);
}

} // namespace
