// SPDX-License-Identifier: MIT
#include "platform/operations/WorkerPool.h"

#include "tests/support/Gate.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <thread>

using namespace zr;

namespace {

TEST(WorkerPool, RunsEveryBlock) {
    std::atomic<int> ran{0};
    Gate done;
    for (int i = 0; i < 1000; ++i)
        WorkerPool::run([&] {
            if (++ran == 1000)
                done.open();
        });
    EXPECT_TRUE(done.pass());
}

TEST(WorkerPool, AsManyBlocksMayBlockAtOnceAsThereMayBeThreads) {
    std::atomic<int> inside{0};
    std::atomic<int> left{0};
    Gate all;
    Gate done;
    for (int i = 0; i < WorkerPool::mostThreads; ++i)
        WorkerPool::run([&] {
            if (++inside == WorkerPool::mostThreads)
                all.open();
            EXPECT_TRUE(all.pass());
            if (++left == WorkerPool::mostThreads)
                done.open();
        });
    EXPECT_TRUE(done.pass());
}

TEST(WorkerPool, ThreadsThatSayTheyWaitAreMadeUpFor) {
    constexpr int blocks = 2 * WorkerPool::mostThreads;
    std::atomic<int> inside{0};
    std::atomic<int> left{0};
    Gate all;
    Gate done;
    for (int i = 0; i < blocks; ++i)
        WorkerPool::run([&] {
            {
                const WorkerPool::Waiting waiting;
                if (++inside == blocks)
                    all.open();
                EXPECT_TRUE(all.pass());
            }
            if (++left == blocks)
                done.open();
        });
    EXPECT_TRUE(done.pass());
}

TEST(WorkerPool, ThreadsAreUsedAgain) {
    std::mutex mutex;
    std::set<std::thread::id> threads;
    for (int i = 0; i < 2000; ++i) {
        Gate done;
        WorkerPool::run([&] {
            {
                const std::lock_guard lock(mutex);
                threads.insert(std::this_thread::get_id());
            }
            done.open();
        });
        ASSERT_TRUE(done.pass());
    }
    // They take turns, those that other work has left behind too.
    EXPECT_LE(threads.size(), 4U * WorkerPool::mostThreads);
}

} // namespace
