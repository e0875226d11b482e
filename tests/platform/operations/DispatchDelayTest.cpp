// SPDX-License-Identifier: MIT
#include "platform/operations/DispatchQueue.h"
#include "platform/operations/NSRunLoop.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>
#include <stdexcept>
#include <vector>

using namespace std::chrono_literals;
using namespace zr;

TEST(DispatchDelay, BlocksRunInTheOrderOfTheirDelaysAndNeverEarly) {
    QElapsedTimer time;
    time.start();
    std::vector<int> ran;
    auto &queue = DispatchQueue::mainQueue();
    queue.asyncAfter(20ms, [&] {
        EXPECT_GE(time.nsecsElapsed(), 20'000'000);
        ran.push_back(20);
    });
    queue.asyncAfter(-1h, [&] { ran.push_back(0); });
    queue.asyncAfter(1500us, [&] {
        EXPECT_GE(time.nsecsElapsed(), 1'500'000);
        ran.push_back(1);
    });
    queue.asyncAfter(std::chrono::nanoseconds::max(), [&] { ran.push_back(-1); });
    queue.asyncAfter(1ns, [] { throw std::runtime_error("logged"); });
    while (ran.size() < 3 && time.elapsed() < 60'000)
        NSRunLoop::mainRunLoop().runUntilDate(0.001);
    EXPECT_EQ(ran, (std::vector<int>{0, 1, 20}));
}
