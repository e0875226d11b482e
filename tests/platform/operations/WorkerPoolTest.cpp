// SPDX-License-Identifier: MIT
#include "platform/operations/WorkerPool.h"

#include "tests/support/Gate.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <thread>

namespace {

TEST(WorkerPool, RunsEachJobAsOftenAsAsked) {
    struct Job : WorkerPool::Job {
        std::atomic<int> ran{0};
        Gate done;
        void runOnWorker() override {
            if (++ran == 1000)
                done.open();
        }
    };
    const auto job = std::make_shared<Job>();
    WorkerPool::shared().submit(job, 0);
    WorkerPool::shared().submit(job, 1);
    WorkerPool::shared().submit(job, 999);
    EXPECT_TRUE(job->done.pass());
    EXPECT_EQ(job->ran, 1000);
}

TEST(WorkerPool, BlockedJobsAreMadeUpForByMoreThreads) {
    constexpr int blocks = 64;
    std::atomic<int> inside{0};
    std::atomic<int> left{0};
    Gate all;
    Gate done;
    for (int i = 0; i < blocks; ++i)
        WorkerPool::shared().submit([&] {
            if (++inside == blocks)
                all.open();
            EXPECT_TRUE(all.pass());
            if (++left == blocks)
                done.open();
        });
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
