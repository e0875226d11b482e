// SPDX-License-Identifier: MIT
#include "platform/operations/NSOperation.h"

#include "platform/base/NSException.h"
#include "platform/operations/NSBlockOperation.h"
#include "platform/operations/NSOperationQueue.h"
#include "tests/support/Gate.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ObserverLog.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

namespace {

std::shared_ptr<NSBlockOperation> block(std::function<void()> work = nullptr) {
    return std::make_shared<NSBlockOperation>(std::move(work));
}

/// Observes all state keys of an operation.
class StateLog : public ObserverLog {
public:
    explicit StateLog(std::shared_ptr<NSOperation> operation) : m_operation(std::move(operation)) {
        for (const QString &key : keys)
            NSKeyValueObserving::addObserver(m_operation.get(), this, key, NSKeyValueObservingOptionPrior);
    }
    ~StateLog() override {
        for (const QString &key : keys)
            NSKeyValueObserving::removeObserver(m_operation.get(), this, key);
    }

private:
    inline static const QStringList keys{NSOperationIsReadyKey, NSOperationIsExecutingKey,
                                         NSOperationIsFinishedKey, NSOperationIsCancelledKey};
    const std::shared_ptr<NSOperation> m_operation;
};

QStringList list(const char *entries) {
    return QString::fromLatin1(entries).split(QLatin1Char(' '));
}

QString thrownBy(const std::function<void()> &act) {
    try {
        act();
    } catch (const NSException &e) {
        return e.name();
    }
    return {};
}

TEST(NSOperation, StartRunsMainOnTheCallingThreadBetweenItsAnnouncements) {
    std::thread::id id;
    std::shared_ptr<NSBlockOperation> operation = block([&] {
        id = std::this_thread::get_id();
        EXPECT_TRUE(operation->isExecuting());
        EXPECT_FALSE(operation->isFinished());
    });
    const StateLog log(operation);
    EXPECT_TRUE(operation->isReady());
    EXPECT_FALSE(operation->isConcurrent());
    EXPECT_FALSE(operation->isAsynchronous());
    operation->start();
    EXPECT_EQ(id, std::this_thread::get_id());
    EXPECT_FALSE(operation->isExecuting());
    EXPECT_TRUE(operation->isFinished());
    EXPECT_EQ(log.entries(),
              list("isExecuting:will isExecuting:did isFinished:will isExecuting:will isExecuting:did "
                   "isFinished:did"));
}

TEST(NSOperation, ItsStateIsReadableAsProperties) {
    const auto operation = block();
    EXPECT_EQ(operation->property("isReady"), QVariant(true));
    EXPECT_EQ(operation->property("isExecuting"), QVariant(false));
    EXPECT_EQ(operation->property("isFinished"), QVariant(false));
    EXPECT_EQ(operation->property("isCancelled"), QVariant(false));
    EXPECT_EQ(operation->property("isConcurrent"), QVariant(false));
    EXPECT_EQ(operation->property("isAsynchronous"), QVariant(false));
    EXPECT_TRUE(operation->name().isNull());
    EXPECT_TRUE(operation->setProperty("name", QStringLiteral("n")));
    EXPECT_EQ(operation->name(), QStringLiteral("n"));
    EXPECT_TRUE(operation->setProperty("queuePriority", int(NSOperationQueuePriorityHigh)));
    EXPECT_EQ(operation->queuePriority(), NSOperationQueuePriorityHigh);
    operation->start();
    EXPECT_EQ(operation->property("isFinished"), QVariant(true));
}

TEST(NSOperation, ACancelledOneFinishesWithoutRunning) {
    bool ran = false;
    const auto operation = block([&] { ran = true; });
    const StateLog log(operation);
    operation->cancel();
    operation->cancel();
    EXPECT_TRUE(operation->isCancelled());
    EXPECT_FALSE(operation->isFinished());
    operation->start();
    EXPECT_TRUE(operation->isFinished());
    EXPECT_FALSE(ran);
    EXPECT_EQ(log.entries(), list("isCancelled:will isCancelled:did isFinished:will isFinished:did"));
}

TEST(NSOperation, CancellingWhileItRunsOnlyMarksIt) {
    std::shared_ptr<NSBlockOperation> operation;
    operation = block([&] {
        operation->cancel();
        EXPECT_TRUE(operation->isExecuting());
    });
    operation->start();
    EXPECT_TRUE(operation->isCancelled());
    EXPECT_TRUE(operation->isFinished());
}

TEST(NSOperation, CancellingAFinishedOneDoesNothing) {
    const auto operation = block();
    operation->start();
    operation->cancel();
    EXPECT_FALSE(operation->isCancelled());
}

TEST(NSOperation, StartingAFinishedOneAgainDoesNothing) {
    int runs = 0;
    const auto operation = block([&] { ++runs; });
    operation->start();
    operation->start();
    EXPECT_EQ(runs, 1);
}

TEST(NSOperation, StartingOneThatIsExecutingOrNotReadyThrows) {
    QString second;
    std::shared_ptr<NSBlockOperation> operation =
        block([&] { second = thrownBy([&] { operation->start(); }); });
    operation->start();
    EXPECT_EQ(second, NSInvalidArgumentException);

    const auto first = block();
    const auto waiting = block();
    waiting->addDependency(first);
    EXPECT_EQ(thrownBy([&] { waiting->start(); }), NSInvalidArgumentException);
    EXPECT_FALSE(waiting->isExecuting());
    first->start();
    waiting->start();
    EXPECT_TRUE(waiting->isFinished());
}

TEST(NSOperation, WhatMainThrowsArrivesAfterTheOperationHasFinished) {
    const auto operation = block([] { throw std::runtime_error("no"); });
    const StateLog log(operation);
    EXPECT_THROW(operation->start(), std::runtime_error);
    EXPECT_TRUE(operation->isFinished());
    EXPECT_FALSE(operation->isExecuting());
    EXPECT_EQ(log.entries().last(), QStringLiteral("isFinished:did"));
}

TEST(NSOperation, WhatObserversThrowDoesNotKeepItFromFinishing) {
    const auto operation = block();
    ObserverLog thrower([](const QString &, const QVariantMap &) { throw std::runtime_error("observer"); });
    for (const QString &key : {NSOperationIsExecutingKey, NSOperationIsFinishedKey})
        NSKeyValueObserving::addObserver(operation.get(), &thrower, key, NSKeyValueObservingOptionPrior);
    EXPECT_THROW(operation->start(), std::runtime_error);
    EXPECT_TRUE(operation->isFinished());
    operation->waitUntilFinished();
}

TEST(NSOperation, WhatObserversThrowDoesNotKeepItFromBeingCancelledOrReady) {
    const auto first = block();
    const auto second = block();
    const auto waiting = block();
    const auto other = block();
    for (const auto &dependent : {waiting, other})
        dependent->addDependency(first);
    ObserverLog thrower([](const QString &, const QVariantMap &) { throw std::runtime_error("observer"); });
    for (const QString &key : {NSOperationIsReadyKey, NSOperationIsCancelledKey})
        for (const auto &dependent : {waiting, second})
            NSKeyValueObserving::addObserver(dependent.get(), &thrower, key, NSKeyValueObservingOptionPrior);
    Gate completed;
    first->setCompletionBlock([&] { completed.open(); });
    EXPECT_THROW(first->start(), std::runtime_error);
    EXPECT_TRUE(first->isFinished());
    EXPECT_TRUE(completed.pass());
    EXPECT_TRUE(waiting->isReady());
    EXPECT_TRUE(other->isReady());
    EXPECT_THROW(second->cancel(), std::runtime_error);
    EXPECT_TRUE(second->isCancelled());
}

TEST(NSOperation, IsReadyOnceAllDependenciesHaveFinished) {
    const auto first = block();
    const auto second = block();
    const auto operation = block();
    const StateLog log(operation);
    operation->addDependency(first);
    operation->addDependency(second);
    operation->addDependency(first);
    EXPECT_EQ(operation->dependencies(), (std::vector<std::shared_ptr<NSOperation>>{first, second}));
    EXPECT_FALSE(operation->isReady());
    second->start();
    EXPECT_FALSE(operation->isReady());
    first->start();
    EXPECT_TRUE(operation->isReady());
    EXPECT_EQ(operation->dependencies().size(), 2U);
    EXPECT_EQ(log.entries(), list("isReady:will isReady:did isReady:will isReady:did"));
}

TEST(NSOperation, ACancelledDependencyCountsOnceItHasFinished) {
    const auto first = block();
    const auto operation = block();
    operation->addDependency(first);
    first->cancel();
    EXPECT_FALSE(operation->isReady());
    first->start();
    EXPECT_TRUE(operation->isReady());
}

TEST(NSOperation, FinishedDependenciesAreNotWaitedFor) {
    const auto first = block();
    first->start();
    const auto operation = block();
    operation->addDependency(first);
    EXPECT_TRUE(operation->isReady());
    EXPECT_EQ(operation->dependencies().size(), 1U);
}

TEST(NSOperation, RemovedDependenciesAreNotWaitedFor) {
    const auto first = block();
    const auto operation = block();
    operation->addDependency(first);
    operation->removeDependency(first);
    EXPECT_TRUE(operation->isReady());
    EXPECT_TRUE(operation->dependencies().empty());
    operation->removeDependency(first);
    operation->removeDependency(nullptr);
}

TEST(NSOperation, CancellingEndsTheWaitForDependencies) {
    const auto first = block();
    const auto operation = block();
    operation->addDependency(first);
    const StateLog log(operation);
    operation->cancel();
    EXPECT_TRUE(operation->isReady());
    EXPECT_EQ(log.entries(), list("isCancelled:will isReady:will isReady:did isCancelled:did"));
    operation->start();
    EXPECT_TRUE(operation->isFinished());
}

TEST(NSOperation, RefusesNilAndItselfAsDependency) {
    const auto operation = block();
    EXPECT_EQ(thrownBy([&] { operation->addDependency(nullptr); }), NSInvalidArgumentException);
    EXPECT_EQ(thrownBy([&] { operation->addDependency(operation); }), NSInvalidArgumentException);
    EXPECT_TRUE(operation->dependencies().empty());
}

TEST(NSOperation, DependenciesAddedTooLateHaveNoEffect) {
    const auto first = block();
    std::shared_ptr<NSBlockOperation> operation = block([&] { operation->addDependency(first); });
    operation->start();
    operation->addDependency(first);
    EXPECT_TRUE(operation->dependencies().empty());
}

TEST(NSOperation, ALongChainOfDependenciesIsFreedWithoutDeepRecursion) {
    std::weak_ptr<NSOperation> first;
    {
        std::shared_ptr<NSOperation> last = block();
        first = last;
        for (int i = 0; i < 200000; ++i) {
            auto next = block();
            next->addDependency(last);
            last = std::move(next);
        }
        EXPECT_FALSE(first.expired());
    }
    EXPECT_TRUE(first.expired());
}

TEST(NSOperation, PrioritiesAreMovedTowardsNormalToAKnownOne) {
    const auto operation = block();
    const auto set = [&](int priority) {
        operation->setQueuePriority(priority);
        return operation->queuePriority();
    };
    EXPECT_EQ(operation->queuePriority(), NSOperationQueuePriorityNormal);
    EXPECT_EQ(set(-100), NSOperationQueuePriorityVeryLow);
    EXPECT_EQ(set(-8), NSOperationQueuePriorityVeryLow);
    EXPECT_EQ(set(-7), NSOperationQueuePriorityLow);
    EXPECT_EQ(set(-3), NSOperationQueuePriorityNormal);
    EXPECT_EQ(set(3), NSOperationQueuePriorityNormal);
    EXPECT_EQ(set(4), NSOperationQueuePriorityHigh);
    EXPECT_EQ(set(7), NSOperationQueuePriorityHigh);
    EXPECT_EQ(set(8), NSOperationQueuePriorityVeryHigh);
    EXPECT_EQ(set(10000), NSOperationQueuePriorityVeryHigh);
}

TEST(NSOperation, TheCompletionBlockIsCalledOnceAfterTheEnd) {
    Gate called;
    std::atomic<int> calls{0};
    bool finished = false;
    const auto operation = block();
    operation->setCompletionBlock([&] {
        finished = operation->isFinished();
        ++calls;
        called.open();
    });
    EXPECT_TRUE(operation->completionBlock());
    operation->start();
    ASSERT_TRUE(called.pass());
    EXPECT_TRUE(finished);
    EXPECT_FALSE(operation->completionBlock());
    operation->didChangeValueForKey(NSOperationIsFinishedKey);
    operation->start();
    EXPECT_EQ(calls, 1);
}

TEST(NSOperation, TheCompletionBlockIsCalledForCancelledOnesToo) {
    Gate called;
    const auto operation = block();
    operation->setCompletionBlock([&] { called.open(); });
    operation->cancel();
    EXPECT_FALSE(called.isOpen());
    operation->start();
    EXPECT_TRUE(called.pass());
}

TEST(NSOperation, ThrowingCompletionBlocksAreLogged) {
    const LogCapture log;
    Gate next;
    const auto operation = block();
    operation->setName(QStringLiteral("thrower"));
    std::weak_ptr<NSOperation> weak = operation;
    operation->setCompletionBlock([] { throw std::runtime_error("late"); });
    operation->start();
    while (log.lines().isEmpty())
        std::this_thread::yield();
    EXPECT_EQ(log.lines(),
              QStringList{QStringLiteral("Exception in the completion block of operation thrower: late")});
}

TEST(NSOperation, WaitersWakeWhenItHasFinished) {
    Gate entered;
    Gate leave;
    std::atomic<bool> done{false};
    const auto operation = block([&] {
        entered.open();
        leave.pass();
        done = true;
    });
    std::vector<std::thread> threads;
    threads.emplace_back([&] { operation->start(); });
    ASSERT_TRUE(entered.pass());
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            operation->waitUntilFinished();
            EXPECT_TRUE(done);
        });
    leave.open();
    for (auto &thread : threads)
        thread.join();
    operation->waitUntilFinished();
}

} // namespace
