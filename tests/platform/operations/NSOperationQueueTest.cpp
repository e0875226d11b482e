// SPDX-License-Identifier: MIT
#include "platform/operations/NSOperationQueue.h"

#include "platform/base/NSException.h"
#include "platform/operations/NSRunLoop.h"
#include "platform/operations/NSThread.h"
#include "tests/support/Gate.h"
#include "tests/support/LogCapture.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

using Operations = std::vector<std::shared_ptr<NSOperation>>;

std::shared_ptr<NSBlockOperation> block(std::function<void()> work = nullptr) {
    return std::make_shared<NSBlockOperation>(std::move(work));
}

QString thrownBy(const std::function<void()> &act) {
    try {
        act();
    } catch (const NSException &e) {
        return e.name();
    }
    return {};
}

/// Finishes when told to, from whatever thread.
class Concurrent : public NSOperation {
public:
    bool isConcurrent() const override { return true; }
    bool isExecuting() const override { return m_executing; }
    bool isFinished() const override { return m_finished; }
    void start() override {
        startedOn = std::this_thread::get_id();
        if (isCancelled()) {
            complete();
            return;
        }
        willChangeValueForKey(NSOperationIsExecutingKey);
        m_executing = true;
        didChangeValueForKey(NSOperationIsExecutingKey);
        started.open();
    }
    /// Says so, but announces nothing.
    void pretend() { m_finished = true; }
    void complete() {
        willChangeValueForKey(NSOperationIsFinishedKey);
        m_executing = false;
        m_finished = true;
        didChangeValueForKey(NSOperationIsFinishedKey);
    }

    Gate started;
    std::thread::id startedOn;

private:
    std::atomic<bool> m_executing{false};
    std::atomic<bool> m_finished{false};
};

TEST(NSOperationQueue, RunsWhatItIsGivenOnOtherThreads) {
    NSOperationQueue queue;
    std::thread::id id;
    bool main = true;
    const auto operation = queue.addOperationWithBlock([&] {
        id = std::this_thread::get_id();
        main = NSThread::isMainThread();
    });
    operation->waitUntilFinished();
    EXPECT_NE(id, std::this_thread::get_id());
    EXPECT_FALSE(main);
    EXPECT_TRUE(operation->isFinished());
    EXPECT_EQ(queue.operationCount(), 0);
}

TEST(NSOperationQueue, HasItsDefaultsAndProperties) {
    NSOperationQueue queue;
    EXPECT_TRUE(queue.name().isNull());
    EXPECT_EQ(queue.maxConcurrentOperationCount(), NSOperationQueueDefaultMaxConcurrentOperationCount);
    EXPECT_FALSE(queue.isSuspended());
    EXPECT_EQ(queue.operationCount(), 0);
    EXPECT_TRUE(queue.setProperty("name", QStringLiteral("q")));
    EXPECT_TRUE(queue.setProperty("maxConcurrentOperationCount", 3));
    EXPECT_TRUE(queue.setProperty("suspended", true));
    EXPECT_EQ(queue.name(), QStringLiteral("q"));
    EXPECT_EQ(queue.maxConcurrentOperationCount(), 3);
    EXPECT_TRUE(queue.isSuspended());
    EXPECT_EQ(queue.property("operationCount"), QVariant(0));
    EXPECT_EQ(thrownBy([&] { queue.setMaxConcurrentOperationCount(-2); }), NSInvalidArgumentException);
    queue.waitUntilAllOperationsAreFinished();
}

TEST(NSOperationQueue, NeverRunsMoreThanItsLimit) {
    for (const int limit : {1, 2, 5}) {
        NSOperationQueue queue;
        queue.setMaxConcurrentOperationCount(limit);
        std::atomic<int> inside{0};
        std::atomic<int> most{0};
        for (int i = 0; i < 200; ++i)
            queue.addOperationWithBlock([&] {
                const int now = ++inside;
                int seen = most;
                while (seen < now && !most.compare_exchange_weak(seen, now)) {
                }
                std::this_thread::yield();
                --inside;
            });
        queue.waitUntilAllOperationsAreFinished();
        EXPECT_LE(most, limit);
        EXPECT_GE(most, 1);
    }
}

TEST(NSOperationQueue, RunsAsManyAtOnceAsItsLimitAllowsEvenIfTheyBlock) {
    constexpr int limit = 40;
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(limit);
    std::atomic<int> inside{0};
    Gate all;
    for (int i = 0; i < limit; ++i)
        queue.addOperationWithBlock([&] {
            if (++inside == limit)
                all.open();
            EXPECT_TRUE(all.pass());
        });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(inside, limit);
}

TEST(NSOperationQueue, OperationsMayWaitForOthersOfAQueueWithoutLimit) {
    NSOperationQueue queue;
    std::vector<std::shared_ptr<NSBlockOperation>> waiting;
    const auto last = block();
    for (int i = 0; i < 30; ++i)
        waiting.push_back(queue.addOperationWithBlock([&] { last->waitUntilFinished(); }));
    queue.addOperation(last);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(std::all_of(waiting.begin(), waiting.end(), [](const auto &o) { return o->isFinished(); }));
}

TEST(NSOperationQueue, WithLimitOneItKeepsTheOrderOfAdding) {
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    std::vector<int> order;
    for (int i = 0; i < 500; ++i)
        queue.addOperationWithBlock([&, i] { order.push_back(i); });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order.size(), 500U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(NSOperationQueue, StartsTheMostUrgentFirstAndEqualsInTheirOrder) {
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    queue.setSuspended(true);
    std::vector<std::pair<int, int>> order;
    std::vector<std::pair<int, int>> expected;
    int number = 0;
    for (const int priority : {0, -8, 4, 8, -4, 0, 8, -8, -4, 4}) {
        const auto operation = block([&order, priority, number] { order.emplace_back(-priority, number); });
        operation->setQueuePriority(priority);
        expected.emplace_back(-priority, number++);
        queue.addOperation(operation);
    }
    std::sort(expected.begin(), expected.end());
    queue.setSuspended(false);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order, expected);
}

TEST(NSOperationQueue, APriorityMayChangeWhileAnOperationWaits) {
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    queue.setSuspended(true);
    QString order;
    const auto a = queue.addOperationWithBlock([&] { order += QLatin1Char('a'); });
    const auto b = queue.addOperationWithBlock([&] { order += QLatin1Char('b'); });
    const auto c = queue.addOperationWithBlock([&] { order += QLatin1Char('c'); });
    c->setQueuePriority(NSOperationQueuePriorityVeryHigh);
    a->setQueuePriority(NSOperationQueuePriorityLow);
    queue.setSuspended(false);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order, QStringLiteral("cba"));
}

TEST(NSOperationQueue, PriorityDoesNotOvertakeReadiness) {
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    queue.setSuspended(true);
    QString order;
    const auto urgent = block([&] { order += QLatin1Char('u'); });
    urgent->setQueuePriority(NSOperationQueuePriorityVeryHigh);
    const auto plain = block([&] { order += QLatin1Char('p'); });
    const auto later = block([&] { order += QLatin1Char('l'); });
    urgent->addDependency(plain);
    queue.addOperations({urgent, plain, later}, false);
    queue.setSuspended(false);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order, QStringLiteral("pul"));
}

TEST(NSOperationQueue, DependenciesHoldAcrossQueues) {
    NSOperationQueue one;
    NSOperationQueue two;
    Gate leave;
    std::atomic<bool> firstDone{false};
    const auto first = block([&] {
        leave.pass();
        firstDone = true;
    });
    const auto second = block([&] { EXPECT_TRUE(firstDone); });
    const auto third = block([&] { EXPECT_TRUE(second->isFinished()); });
    second->addDependency(first);
    third->addDependency(second);
    one.addOperation(third);
    two.addOperation(second);
    one.addOperation(first);
    EXPECT_FALSE(second->isReady());
    leave.open();
    one.waitUntilAllOperationsAreFinished();
    two.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(third->isFinished());
}

TEST(NSOperationQueue, ADependencyAddedWhileQueuedCounts) {
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    queue.setSuspended(true);
    QString order;
    const auto a = queue.addOperationWithBlock([&] { order += QLatin1Char('a'); });
    const auto b = queue.addOperationWithBlock([&] { order += QLatin1Char('b'); });
    a->addDependency(b);
    queue.setSuspended(false);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order, QStringLiteral("ba"));
}

TEST(NSOperationQueue, AnOverriddenReadinessCountsOnceItIsAnnounced) {
    struct Choosy : NSBlockOperation {
        using NSBlockOperation::NSBlockOperation;
        bool isReady() const override { return willing && NSOperation::isReady(); }
        std::atomic<bool> willing{false};
    };
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    QString order;
    const auto choosy = std::make_shared<Choosy>([&] { order += QLatin1Char('c'); });
    queue.addOperation(choosy);
    queue.addOperationWithBlock([&] { order += QLatin1Char('p'); })->waitUntilFinished();
    choosy->willChangeValueForKey(NSOperationIsReadyKey);
    choosy->willing = true;
    choosy->didChangeValueForKey(NSOperationIsReadyKey);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order, QStringLiteral("pc"));
}

TEST(NSOperationQueue, ASuspendedQueueStartsNothing) {
    NSOperationQueue queue;
    Gate entered;
    Gate leave;
    std::atomic<int> ran{0};
    queue.setMaxConcurrentOperationCount(1);
    const auto running = queue.addOperationWithBlock([&] {
        entered.open();
        leave.pass();
    });
    ASSERT_TRUE(entered.pass());
    queue.setSuspended(true);
    for (int i = 0; i < 10; ++i)
        queue.addOperationWithBlock([&] { ++ran; });
    leave.open();
    running->waitUntilFinished(); // what runs, goes on
    EXPECT_EQ(queue.operationCount(), 10);
    // Another queue's operations have gone through the same threads in the meantime.
    NSOperationQueue other;
    for (int i = 0; i < 50; ++i)
        other.addOperationWithBlock([] {});
    other.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran, 0);
    queue.setSuspended(false);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran, 10);
}

TEST(NSOperationQueue, ALimitOfZeroStartsNothingUntilItIsRaised) {
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(0);
    std::atomic<int> ran{0};
    const auto operation = queue.addOperationWithBlock([&] { ++ran; });
    NSOperationQueue other;
    other.addOperationWithBlock([] {})->waitUntilFinished();
    EXPECT_FALSE(operation->isExecuting());
    EXPECT_EQ(queue.operationCount(), 1);
    queue.setMaxConcurrentOperationCount(1);
    operation->waitUntilFinished();
    EXPECT_EQ(ran, 1);
}

TEST(NSOperationQueue, ListsWhatHasNotFinishedInTheOrderOfAdding) {
    NSOperationQueue queue;
    queue.setSuspended(true);
    const Operations all{block(), block(), block()};
    queue.addOperations(all, false);
    EXPECT_EQ(queue.operations(), all);
    EXPECT_EQ(queue.operationCount(), 3);
    queue.setSuspended(false);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(queue.operations().empty());
}

TEST(NSOperationQueue, AddingManyMayWaitForThem) {
    NSOperationQueue queue;
    std::atomic<int> ran{0};
    Operations all;
    for (int i = 0; i < 20; ++i)
        all.push_back(block([&] { ++ran; }));
    queue.addOperations(all, true);
    EXPECT_EQ(ran, 20);
    EXPECT_EQ(queue.operationCount(), 0);
}

TEST(NSOperationQueue, RefusesNilAndOperationsThatAreOrWereElsewhere) {
    NSOperationQueue queue;
    NSOperationQueue other;
    queue.setSuspended(true);
    EXPECT_EQ(thrownBy([&] { queue.addOperation(nullptr); }), NSInvalidArgumentException);

    const auto queued = block();
    queue.addOperation(queued);
    EXPECT_EQ(thrownBy([&] { queue.addOperation(queued); }), NSInvalidArgumentException);
    EXPECT_EQ(thrownBy([&] { other.addOperation(queued); }), NSInvalidArgumentException);

    const auto finished = block();
    finished->start();
    EXPECT_EQ(thrownBy([&] { queue.addOperation(finished); }), NSInvalidArgumentException);

    QString whileExecuting;
    std::shared_ptr<NSBlockOperation> executing =
        block([&] { whileExecuting = thrownBy([&] { other.addOperation(executing); }); });
    executing->start();
    EXPECT_EQ(whileExecuting, NSInvalidArgumentException);

    EXPECT_EQ(queue.operations(), Operations{queued});
    EXPECT_EQ(other.operationCount(), 0);
    queue.setSuspended(false);
    queued->waitUntilFinished();
    EXPECT_EQ(thrownBy([&] { other.addOperation(queued); }), NSInvalidArgumentException);
}

TEST(NSOperationQueue, AddsAllOrNone) {
    NSOperationQueue queue;
    queue.setSuspended(true);
    const auto a = block();
    const auto b = block();
    EXPECT_EQ(thrownBy([&] { queue.addOperations({a, b, a}, false); }), NSInvalidArgumentException);
    EXPECT_EQ(thrownBy([&] { queue.addOperations({a, nullptr}, false); }), NSInvalidArgumentException);
    EXPECT_EQ(queue.operationCount(), 0);
    queue.addOperations({a, b}, false); // neither kept a trace of the refusal
    EXPECT_EQ(queue.operationCount(), 2);
    queue.setSuspended(false);
    queue.waitUntilAllOperationsAreFinished();
}

TEST(NSOperationQueue, AConcurrentOperationRunsUntilItAnnouncesItsEnd) {
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    const auto first = std::make_shared<Concurrent>();
    const auto second = std::make_shared<Concurrent>();
    queue.addOperations({first, second}, false);
    ASSERT_TRUE(first->started.pass());
    EXPECT_NE(first->startedOn, std::this_thread::get_id());
    EXPECT_FALSE(second->started.isOpen());
    EXPECT_EQ(queue.operationCount(), 2);
    first->pretend();
    EXPECT_EQ(queue.operationCount(), 2);
    EXPECT_FALSE(second->started.isOpen());
    first->complete();
    EXPECT_EQ(queue.operationCount(), 1);
    ASSERT_TRUE(second->started.pass());
    first->complete(); // a second announcement changes nothing
    EXPECT_EQ(queue.operationCount(), 1);
    second->complete();
    queue.waitUntilAllOperationsAreFinished();
}

TEST(NSOperationQueue, AnOperationThatCompletesAnotherOneMayWaitForTheFreedPlace) {
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(2);
    const auto concurrent = std::make_shared<Concurrent>();
    const auto third = block();
    const auto completing = block([&] {
        EXPECT_TRUE(concurrent->started.pass());
        concurrent->complete();
        third->waitUntilFinished();
    });
    queue.addOperations({concurrent, completing, third}, true);
    EXPECT_TRUE(completing->isFinished());
}

TEST(NSOperationQueue, CancelledOperationsAreStartedSoThatTheyFinish) {
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    queue.setSuspended(true);
    std::atomic<int> ran{0};
    const auto concurrent = std::make_shared<Concurrent>();
    const auto never = block();
    const auto dependent = block([&] { ++ran; });
    dependent->addDependency(never);
    queue.addOperations({concurrent, dependent, block([&] { ++ran; })}, false);
    queue.cancelAllOperations();
    EXPECT_EQ(queue.operationCount(), 3);
    EXPECT_FALSE(concurrent->isFinished());
    queue.setSuspended(false);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(concurrent->isFinished());
    EXPECT_NE(concurrent->startedOn, std::thread::id());
    EXPECT_TRUE(dependent->isFinished());
    EXPECT_EQ(ran, 0);
}

TEST(NSOperationQueue, OneThatIsStartedByHandLeavesItsQueue) {
    NSOperationQueue queue;
    queue.setSuspended(true);
    int runs = 0;
    const auto operation = queue.addOperationWithBlock([&] { ++runs; });
    operation->start();
    EXPECT_EQ(queue.operationCount(), 0);
    queue.setSuspended(false);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(runs, 1);
}

TEST(NSOperationQueue, WhatOperationsThrowIsLoggedAndTheQueueGoesOn) {
    const LogCapture log;
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    const auto thrower = block([] { throw std::runtime_error("broken"); });
    thrower->setName(QStringLiteral("first"));
    const auto odd = block([] { throw 7; });
    odd->setName(QStringLiteral("second"));
    std::atomic<bool> ran{false};
    queue.addOperations({thrower, odd, block([&] { ran = true; })}, true);
    EXPECT_TRUE(ran);
    EXPECT_TRUE(thrower->isFinished());
    EXPECT_EQ(log.lines(), (QStringList{QStringLiteral("Exception in operation first: broken"),
                                        QStringLiteral("Exception in operation second: unknown exception")}));
}

TEST(NSOperationQueue, OperationsMayAddOperations) {
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    std::atomic<int> ran{0};
    std::function<void()> addNext = [&] {
        if (++ran < 100)
            queue.addOperationWithBlock(addNext);
    };
    queue.addOperationWithBlock(addNext);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran, 100);
}

TEST(NSOperationQueue, ItsOperationsRunToTheEndWhenItIsDestroyed) {
    Gate entered;
    Gate leave;
    std::atomic<int> ran{0};
    Operations all;
    {
        NSOperationQueue queue;
        queue.setMaxConcurrentOperationCount(1);
        all.push_back(block([&] {
            entered.open();
            leave.pass();
            ++ran;
        }));
        for (int i = 0; i < 10; ++i)
            all.push_back(block([&] { ++ran; }));
        queue.addOperations(all, false);
        ASSERT_TRUE(entered.pass());
    }
    leave.open();
    for (const auto &operation : all)
        operation->waitUntilFinished();
    EXPECT_EQ(ran, 11);
}

TEST(NSOperationQueue, WhatWaitsInASuspendedQueueIsCancelledWhenItIsDestroyed) {
    for (const bool suspended : {true, false}) {
        std::atomic<int> ran{0};
        Operations all{block([&] { ++ran; }), block([&] { ++ran; }), std::make_shared<Concurrent>()};
        {
            NSOperationQueue queue;
            if (suspended)
                queue.setSuspended(true);
            else
                queue.setMaxConcurrentOperationCount(0);
            queue.addOperations(all, false);
        }
        for (const auto &operation : all) {
            operation->waitUntilFinished();
            EXPECT_TRUE(operation->isCancelled());
        }
        EXPECT_EQ(ran, 0);
    }
}

TEST(NSOperationQueue, FinishedOperationsAreLetGo) {
    NSOperationQueue queue;
    std::weak_ptr<NSOperation> weak;
    {
        const auto operation = block();
        weak = operation;
        queue.addOperations({operation}, true);
    }
    // The thread that ran it may still be on its way out.
    while (!weak.expired())
        std::this_thread::yield();
    EXPECT_EQ(queue.operationCount(), 0);
}

TEST(NSOperationQueue, TheMainQueueRunsOnTheMainThreadOneAtATime) {
    NSOperationQueue &queue = NSOperationQueue::mainQueue();
    EXPECT_EQ(&queue, &NSOperationQueue::mainQueue());
    EXPECT_EQ(queue.maxConcurrentOperationCount(), 1);
    queue.setMaxConcurrentOperationCount(5);
    EXPECT_EQ(queue.maxConcurrentOperationCount(), 1);

    QStringList order;
    std::shared_ptr<NSOperation> last;
    std::thread([&] {
        queue.addOperationWithBlock([&] {
            EXPECT_TRUE(NSThread::isMainThread());
            NSRunLoop::mainRunLoop().runUntilDate(0.005);
            order << QStringLiteral("first");
        });
        last = queue.addOperationWithBlock([&] { order << QStringLiteral("second"); });
    }).join();
    EXPECT_TRUE(order.isEmpty());
    while (!last->isFinished())
        NSRunLoop::mainRunLoop().runUntilDate(0.001);
    EXPECT_EQ(order, (QStringList{QStringLiteral("first"), QStringLiteral("second")}));
    EXPECT_EQ(queue.operationCount(), 0);
}

} // namespace
