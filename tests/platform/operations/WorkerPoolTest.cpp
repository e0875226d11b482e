// SPDX-License-Identifier: MIT
#include "platform/operations/WorkerPool.h"

#include "tests/support/Gate.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <thread>

namespace {

TEST(WorkerPool, RunsEachTaskAsOftenAsAsked) {
    std::atomic<int> ran{0};
    Gate done;
    WorkerPool::shared().submit(
        [&] {
            if (++ran == 1000)
                done.open();
        },
        1000);
    EXPECT_TRUE(done.pass());
    EXPECT_EQ(ran, 1000);
}

TEST(WorkerPool, BlockedTasksAreMadeUpForByMoreThreads) {
    constexpr int tasks = 64;
    std::atomic<int> inside{0};
    std::atomic<int> left{0};
    Gate all;
    Gate done;
    WorkerPool::shared().submit(
        [&] {
            if (++inside == tasks)
                all.open();
            EXPECT_TRUE(all.pass());
            if (++left == tasks)
                done.open();
        },
        tasks);
    EXPECT_TRUE(done.pass());
}

TEST(WorkerPool, ThreadsAreUsedAgain) {
    std::mutex mutex;
    std::set<std::thread::id> threads;
    for (int i = 0; i < 200; ++i) {
        Gate done;
        WorkerPool::shared().submit([&] {
            {
                const std::lock_guard lock(mutex);
                threads.insert(std::this_thread::get_id());
            }
            done.open();
        });
        ASSERT_TRUE(done.pass());
    }
    EXPECT_LT(threads.size(), 150U);
}

} // namespace
