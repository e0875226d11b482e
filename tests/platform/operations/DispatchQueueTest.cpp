// SPDX-License-Identifier: MIT
#include "platform/operations/DispatchQueue.h"

#include "platform/operations/NSRunLoop.h"
#include "platform/operations/NSThread.h"
#include "tests/support/Gate.h"
#include "tests/support/LogCapture.h"

#include <QEventLoop>
#include <QTimer>
#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace zr;

namespace {

DispatchQueue &queue() {
    return DispatchQueue::mainQueue();
}

/// Runs the main run loop until it is so; false if that takes too long for a working program.
template <typename Condition>
bool spinUntil(Condition condition) {
    const auto start = std::chrono::steady_clock::now();
    while (!condition()) {
        if (std::chrono::steady_clock::now() - start > std::chrono::seconds(60))
            return false;
        NSRunLoop::mainRunLoop().runUntilDate(0.0001);
    }
    return true;
}

TEST(DispatchQueue, AsyncBlocksRunOnTheMainThreadInTheirOrder) {
    std::vector<int> order;
    bool main = true;
    std::thread([&] {
        for (int i = 0; i < 100; ++i)
            queue().async([&, i] {
                order.push_back(i);
                main = main && NSThread::isMainThread();
            });
    }).join();
    EXPECT_TRUE(order.empty());
    ASSERT_TRUE(spinUntil([&] { return order.size() == 100; }));
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    EXPECT_TRUE(main);
}

TEST(DispatchQueue, AsyncOnTheMainThreadReturnsFirst) {
    bool ran = false;
    queue().async([&] { ran = true; });
    EXPECT_FALSE(ran);
    EXPECT_TRUE(spinUntil([&] { return ran; }));
}

TEST(DispatchQueue, SyncWaitsForItsBlockAndKeepsItsPlaceInTheOrder) {
    std::vector<int> order;
    std::atomic<bool> done{false};
    std::thread thread([&] {
        queue().async([&] { order.push_back(1); });
        queue().sync([&] { order.push_back(2); });
        order.push_back(3); // by itself again: the block above has run
        done = true;
    });
    EXPECT_TRUE(spinUntil([&] { return done.load(); }));
    thread.join();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(DispatchQueue, SyncThrowsWhatItsBlockThrew) {
    std::atomic<bool> done{false};
    std::thread thread([&] {
        EXPECT_THROW(queue().sync([] { throw std::runtime_error("far"); }), std::runtime_error);
        done = true;
    });
    EXPECT_TRUE(spinUntil([&] { return done.load(); }));
    thread.join();
    EXPECT_THROW(queue().sync([] { throw std::runtime_error("near"); }), std::runtime_error);
    bool ran = false;
    queue().sync([&] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(DispatchQueue, WhatAnAsyncBlockThrowsIsLogged) {
    const LogCapture log;
    bool next = false;
    queue().async([] { throw std::runtime_error("oops"); });
    queue().async([&] { next = true; });
    EXPECT_TRUE(spinUntil([&] { return next; }));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("Exception in a block of the main queue: oops")});
}

TEST(DispatchQueue, SyncOnTheMainThreadJustRunsTheBlock) {
    bool earlier = false;
    bool ran = false;
    queue().async([&] { earlier = true; });
    queue().sync([&] {
        ran = true;
        queue().sync([&] { EXPECT_TRUE(NSThread::isMainThread()); });
    });
    EXPECT_TRUE(ran);
    EXPECT_FALSE(earlier);
    EXPECT_TRUE(spinUntil([&] { return earlier; }));
}

TEST(DispatchQueue, NoBlockStartsWhileAnotherOneRunsTheRunLoop) {
    QStringList order;
    bool timer = false;
    bool done = false;
    queue().async([&] {
        order << QStringLiteral("first begins");
        queue().async([&] { order << QStringLiteral("third"); });
        QTimer::singleShot(0, [&] { timer = true; });
        EXPECT_TRUE(spinUntil([&] { return timer; })); // other events are served
        NSRunLoop::mainRunLoop().runUntilDate(0.01);
        order << QStringLiteral("first ends");
    });
    queue().async([&] { order << QStringLiteral("second"); });
    queue().async([&] { queue().async([&] { done = true; }); });
    EXPECT_TRUE(spinUntil([&] { return done; }));
    EXPECT_EQ(order, (QStringList{QStringLiteral("first begins"), QStringLiteral("first ends"),
                                  QStringLiteral("second"), QStringLiteral("third")}));
}

TEST(DispatchQueue, ABlockRunBySyncOnTheMainThreadIsNotInterruptedEither) {
    bool ran = false;
    queue().sync([&] {
        queue().async([&] { ran = true; });
        NSRunLoop::mainRunLoop().runUntilDate(0.01);
        EXPECT_FALSE(ran);
    });
    EXPECT_TRUE(spinUntil([&] { return ran; }));
}

TEST(DispatchQueue, BlocksFromOtherThreadsWaitForABlockThatRunsTheRunLoop) {
    std::atomic<int> inside{0};
    std::atomic<int> finished{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 25; ++i)
                queue().sync([&] {
                    EXPECT_EQ(++inside, 1);
                    NSRunLoop::mainRunLoop().runUntilDate(0.0002);
                    --inside;
                });
            ++finished;
        });
    EXPECT_TRUE(spinUntil([&] { return finished == 4; }));
    for (auto &thread : threads)
        thread.join();
}

TEST(DispatchQueue, AnyLoopOfTheMainThreadServesIt) {
    QEventLoop loop;
    queue().async([&] { loop.quit(); });
    EXPECT_EQ(loop.exec(), 0);

    // A run loop inside an ordinary event handler too.
    bool inner = false;
    bool outer = false;
    QTimer::singleShot(0, [&] {
        queue().async([&] { inner = true; });
        EXPECT_TRUE(spinUntil([&] { return inner; }));
        outer = true;
    });
    EXPECT_TRUE(spinUntil([&] { return outer; }));
}

TEST(DispatchQueue, BlocksThatAddBlocksDontKeepOtherEventsFromBeingServed) {
    bool stop = false;
    int rounds = 0;
    std::function<void()> again = [&] {
        ++rounds;
        if (!stop)
            queue().async(again);
    };
    queue().async(again);
    QTimer::singleShot(1, [&] { stop = true; });
    EXPECT_TRUE(spinUntil([&] { return stop; }));
    NSRunLoop::mainRunLoop().runUntilDate(0.01);
    const int rest = rounds;
    NSRunLoop::mainRunLoop().runUntilDate(0.01);
    EXPECT_EQ(rounds, rest);
}

} // namespace
