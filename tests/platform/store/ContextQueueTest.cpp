// SPDX-License-Identifier: MIT
#include "platform/operations/NSRunLoop.h"
#include "platform/operations/NSThread.h"
#include "tests/platform/store/ContextSupport.h"
#include "tests/support/Gate.h"
#include "tests/support/LogCapture.h"

#include <atomic>
#include <thread>

using namespace ContextSupport;

namespace {

class ContextQueueTest : public ContextTest {
protected:
    /// Runs the main thread's events until the flag is set; false if that takes longer than only a broken program needs.
    static bool runUntil(const std::atomic<bool> &flag) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!flag && std::chrono::steady_clock::now() < end)
            NSRunLoop::mainRunLoop().runUntilDate(0.01);
        return flag;
    }

    std::shared_ptr<NSManagedObjectContext> child = childOf(context);
};

TEST_F(ContextQueueTest, BlocksOfAPrivateContextRunOneAfterTheOtherInTheirOrder) {
    std::vector<int> order;
    std::atomic<int> running = 0;
    for (int i = 0; i < 100; ++i)
        child->performBlock([&, i] {
            EXPECT_EQ(++running, 1);
            EXPECT_FALSE(NSThread::isMainThread());
            order.push_back(i);
            --running;
        });
    child->performBlockAndWait([&] { EXPECT_EQ(order.size(), 100u); });
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(ContextQueueTest, ABlockThatIsWaitedForMayWaitAgainAndItsExceptionsArrive) {
    int ran = 0;
    child->performBlockAndWait([&] { child->performBlockAndWait([&] { ++ran; }); });
    context->performBlockAndWait([&] { context->performBlockAndWait([&] { ++ran; }); });
    EXPECT_EQ(ran, 2);
    expectException(text("Mine"),
                    [&] { child->performBlockAndWait([] { throw NSException(text("Mine"), text("no")); }); });
    child->performBlockAndWait([&] { ++ran; });
    EXPECT_EQ(ran, 3) << "the queue goes on";
}

TEST_F(ContextQueueTest, AnExceptionOfABlockIsLogged) {
    LogCapture log;
    child->performBlock([] { throw NSException(text("Mine"), text("no")); });
    child->performBlockAndWait([] {});
    EXPECT_EQ(log.count(text("Exception in a block of a managed object context: no")), 1);
}

TEST_F(ContextQueueTest, BlocksOfAMainContextRunOnTheMainThread) {
    std::atomic<bool> isDone = false;
    std::thread other([&] {
        context->performBlock([&] { EXPECT_TRUE(NSThread::isMainThread()); });
        context->performBlockAndWait([&] { EXPECT_TRUE(NSThread::isMainThread()); });
        isDone = true;
    });
    EXPECT_TRUE(runUntil(isDone));
    other.join();
}

TEST_F(ContextQueueTest, ABackgroundImportIsSavedThroughTheMainContext) {
    std::atomic<bool> isDone = false;
    child->performBlock([&] {
        for (int i = 0; i < 200; ++i)
            make(*child, "Book", {{text("pages"), i + 1}});
        save(*child);
        isDone = true;
    });
    EXPECT_TRUE(runUntil(isDone));
    EXPECT_EQ(context->insertedObjects().size(), 200);
    save();
    EXPECT_EQ(contextOn(coordinator)->countForFetchRequest(request("Book")), 200u);
}

TEST_F(ContextQueueTest, TheMainThreadMayWaitForAChildThatNeedsTheMainContext) {
    Gate started;
    child->performBlock([&] {
        started.open();
        make(*child, "Book");
        save(*child); // needs the main thread, which waits for its turn
    });
    ASSERT_TRUE(started.pass());
    int found = 0;
    child->performBlockAndWait([&] { found = int(fetch(*child, request("Book")).size()); });
    EXPECT_EQ(found, 1);
    EXPECT_EQ(context->insertedObjects().size(), 1);
}

TEST_F(ContextQueueTest, AContextLivesAsLongAsItsBlocks) {
    std::atomic<bool> isDone = false;
    Gate gate;
    std::weak_ptr<NSManagedObjectContext> weak;
    {
        auto other = std::make_shared<NSManagedObjectContext>(NSPrivateQueueConcurrencyType);
        other->setPersistentStoreCoordinator(coordinator);
        weak = other;
        other->performBlock([&, raw = other.get()] {
            EXPECT_TRUE(gate.pass());
            make(*raw, "Book");
            save(*raw);
            isDone = true;
        });
    }
    gate.open();
    EXPECT_TRUE(runUntil(isDone));
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!weak.expired() && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(titles(*context).size(), 1);
}

TEST_F(ContextQueueTest, ContextsOfOneStoreMayBeUsedByManyThreads) {
    constexpr int Threads = 4, Each = 50;
    std::vector<std::thread> threads;
    for (int t = 0; t < Threads; ++t)
        threads.emplace_back([this] {
            const auto own = std::make_shared<NSManagedObjectContext>(NSPrivateQueueConcurrencyType);
            own->setPersistentStoreCoordinator(coordinator);
            own->setMergePolicy(NSMergeByPropertyObjectTrumpMergePolicy);
            for (int i = 0; i < Each; ++i)
                own->performBlockAndWait([&] {
                    make(*own, "Book", {{text("pages"), i + 1}});
                    save(*own);
                    fetch(*own, request("Book", "pages = %d", i + 1));
                });
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(context->countForFetchRequest(request("Book")), quint64(Threads * Each));
}

TEST_F(ContextQueueTest, ThreadsThatChangeTheSameObjectLoseNothingOfOneAnother) {
    NSManagedObject *counter = book("counter");
    set(counter, "copies", 0);
    set(counter, "sold", 0);
    save();
    std::vector<std::thread> threads;
    for (const char *key : {"copies", "sold"})
        threads.emplace_back([this, key, id = counter->objectID()] {
            const auto own = std::make_shared<NSManagedObjectContext>(NSPrivateQueueConcurrencyType);
            own->setPersistentStoreCoordinator(coordinator);
            own->setMergePolicy(NSMergeByPropertyObjectTrumpMergePolicy);
            own->performBlockAndWait([&] {
                NSManagedObject *object = own->objectWithID(id);
                for (int i = 0; i < 50; ++i) {
                    set(object, key, valueOf(object, key).toInt() + 1);
                    save(*own);
                }
            });
        });
    for (std::thread &thread : threads)
        thread.join();
    context->refreshObject(counter, false);
    EXPECT_EQ(valueOf(counter, "copies").toInt(), 50);
    EXPECT_EQ(valueOf(counter, "sold").toInt(), 50);
}

} // namespace
