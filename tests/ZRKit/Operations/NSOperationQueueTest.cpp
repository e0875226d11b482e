// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/NSOperationQueue+ZRKit.h"

#include "tests/support/Gate.h"

#include <gtest/gtest.h>

namespace {

TEST(NSOperationQueueZRKit, AddBlockReturnsTheOperationItQueued) {
    NSOperationQueue queue;
    queue.setSuspended(true);
    std::shared_ptr<ZROperation> given;
    const auto operation = ZRKit::addBlock(queue, [&](const std::shared_ptr<ZROperation> &o) { given = o; });
    ASSERT_TRUE(operation);
    EXPECT_EQ(queue.operations(), std::vector<std::shared_ptr<NSOperation>>{operation});
    queue.setSuspended(false);
    operation->waitUntilFinished();
    EXPECT_EQ(given, operation);
}

TEST(NSOperationQueueZRKit, TheReturnedOperationCanBeCancelled) {
    NSOperationQueue queue;
    queue.setSuspended(true);
    bool ran = false;
    const auto plain = ZRKit::addBlock(queue, [&](const auto &) { ran = true; });
    const auto concurrent = ZRKit::addConcurrentBlock(
        queue, [&](const auto &) { ran = true; }, [&](const auto &) { ran = true; });
    plain->cancel();
    concurrent->cancel();
    queue.setSuspended(false);
    plain->waitUntilFinished();
    concurrent->waitUntilFinished();
    EXPECT_FALSE(ran);
}

TEST(NSOperationQueueZRKit, AddConcurrentBlockReturnsTheOperationItQueued) {
    NSOperationQueue queue;
    Gate completed;
    std::shared_ptr<ZROperationConcurrent> worked;
    std::shared_ptr<ZROperationConcurrent> done;
    const auto operation = ZRKit::addConcurrentBlock(
        queue,
        [&](const std::shared_ptr<ZROperationConcurrent> &o) {
            worked = o;
            o->completeOperation();
        },
        [&](const std::shared_ptr<ZROperationConcurrent> &o) {
            done = o;
            completed.open();
        });
    operation->waitUntilFinished();
    ASSERT_TRUE(completed.pass());
    EXPECT_EQ(worked, operation);
    EXPECT_EQ(done, operation);
    EXPECT_EQ(queue.operationCount(), 0);
}

TEST(NSOperationQueueZRKit, NilBlocksAreAllowed) {
    NSOperationQueue queue;
    const auto operation = ZRKit::addBlock(queue, nullptr);
    operation->waitUntilFinished();
    EXPECT_TRUE(operation->isFinished());
}

} // namespace
