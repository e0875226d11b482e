// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/ZROperationQueue.h"

#include "ZRKit/Operations/NSOperationQueue+ZRKit.h"
#include "platform/base/NSException.h"
#include "tests/support/Gate.h"
#include "tests/support/InChild.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ObserverLog.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <map>
#include <stdexcept>
#include <sys/resource.h>
#include <system_error>
#include <thread>

namespace {

using Concurrent = std::shared_ptr<ZROperationConcurrent>;

QStringList list(const char *entries) {
    return QString::fromLatin1(entries).split(QLatin1Char(' '));
}

void observe(NSOperation &operation, NSKeyValueObserver &observer) {
    for (const QString &key : {NSOperationIsExecutingKey, NSOperationIsFinishedKey})
        NSKeyValueObserving::addObserver(&operation, &observer, key, NSKeyValueObservingOptionPrior);
}

const QString completion = QStringLiteral("isFinished:will isExecuting:will isExecuting:did isFinished:did");

TEST(ZROperation, CallsItsBlockOnceWithItself) {
    int calls = 0;
    std::shared_ptr<ZROperation> given;
    const auto operation = std::make_shared<ZROperation>([&](const std::shared_ptr<ZROperation> &o) {
        ++calls;
        given = o;
    });
    operation->start();
    operation->start();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(given, operation);
    EXPECT_TRUE(operation->isFinished());
    EXPECT_FALSE(operation->isConcurrent());
}

TEST(ZROperation, StoresACopyOfItsBlock) {
    int state = 1;
    int seen = 0;
    ZROperation::Block block = [&seen, copy = state](const auto &) mutable { seen += copy++; };
    const auto first = std::make_shared<ZROperation>(block);
    const auto second = std::make_shared<ZROperation>(block);
    block = nullptr;
    first->start();
    second->start();
    EXPECT_EQ(seen, 2);
}

TEST(ZROperation, WithoutABlockItJustFinishes) {
    const auto operation = std::make_shared<ZROperation>(nullptr);
    operation->start();
    EXPECT_TRUE(operation->isFinished());
    const auto other = std::make_shared<ZROperation>();
    other->start();
    EXPECT_TRUE(other->isFinished());
}

TEST(ZROperation, MainDoesNothingOnceCancelled) {
    bool ran = false;
    const auto operation = std::make_shared<ZROperation>([&](const auto &) { ran = true; });
    operation->cancel();
    operation->main();
    EXPECT_FALSE(ran);
}

TEST(ZROperation, DropsWhatItsBlockThrowsWithoutALog) {
    const LogCapture log;
    NSOperationQueue queue;
    for (int kind = 0; kind < 3; ++kind) {
        const auto operation = ZRKit::addBlock(queue, [kind](const auto &) {
            if (kind == 0)
                throw NSException(NSInvalidArgumentException, QStringLiteral("a"));
            if (kind == 1)
                throw std::runtime_error("b");
            throw 3;
        });
        operation->waitUntilFinished();
        EXPECT_TRUE(operation->isFinished());
    }
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(ZROperation, CarriesUserInfoAndADelegateItDoesNotKeepAlive) {
    const auto operation = std::make_shared<ZROperation>();
    EXPECT_FALSE(operation->userInfo().isValid());
    EXPECT_EQ(operation->delegate(), nullptr);
    operation->setUserInfo(QStringLiteral("info"));
    EXPECT_EQ(operation->userInfo(), QVariant(QStringLiteral("info")));
    EXPECT_EQ(operation->property("userInfo"), QVariant(QStringLiteral("info")));
    {
        QObject delegate;
        operation->setDelegate(&delegate);
        EXPECT_EQ(operation->delegate(), &delegate);
        EXPECT_EQ(operation->property("delegate").value<QObject *>(), &delegate);
    }
    EXPECT_EQ(operation->delegate(), nullptr);
}

TEST(ZROperationConcurrent, BeginsWithBothFlagsDown) {
    const auto operation = std::make_shared<ZROperationConcurrent>();
    EXPECT_FALSE(operation->isExecuting());
    EXPECT_FALSE(operation->isFinished());
    EXPECT_TRUE(operation->isConcurrent());
    EXPECT_TRUE(operation->isAsynchronous());
}

TEST(ZROperationConcurrent, StoresCopiesOfItsBlocks) {
    std::atomic<int> worked{0};
    std::atomic<int> completed{0};
    ZROperationConcurrent::ConcurrentBlock work = [&worked, count = 1](const Concurrent &o) mutable {
        worked += count++;
        o->completeOperation();
    };
    ZROperationConcurrent::ConcurrentBlock onCompletion =
        [&completed, count = 1](const Concurrent &) mutable { completed += count++; };
    const auto first = std::make_shared<ZROperationConcurrent>(work, onCompletion);
    const auto second = std::make_shared<ZROperationConcurrent>(work, onCompletion);
    work = nullptr;
    onCompletion = nullptr;
    for (const auto &operation : {first, second})
        operation->main();
    EXPECT_EQ(worked, 2);
    EXPECT_EQ(completed, 2);
}

TEST(ZROperationConcurrent, RunsItsBlockOnAThreadOfItsOwnWithItself) {
    Gate done;
    std::thread::id id;
    Concurrent given;
    const auto operation = std::make_shared<ZROperationConcurrent>([&](const Concurrent &o) {
        id = std::this_thread::get_id();
        given = o;
        done.open();
    });
    operation->start();
    ASSERT_TRUE(done.pass());
    EXPECT_NE(id, std::this_thread::get_id());
    EXPECT_EQ(given, operation);
    EXPECT_TRUE(operation->isExecuting()); // until somebody completes it
    EXPECT_FALSE(operation->isFinished());
    operation->completeOperation();
    EXPECT_FALSE(operation->isExecuting());
    EXPECT_TRUE(operation->isFinished());
}

TEST(ZROperationConcurrent, EachRunsOnAThreadOfItsOwnAtTheSameTime) {
    constexpr int count = 30;
    NSOperationQueue queue;
    std::atomic<int> inside{0};
    Gate all;
    for (int i = 0; i < count; ++i)
        ZRKit::addConcurrentBlock(queue, [&](const Concurrent &o) {
            if (++inside == count)
                all.open();
            EXPECT_TRUE(all.pass());
            o->completeOperation();
        });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(inside, count);
}

TEST(ZROperationConcurrent, AnnouncesItsStartAndThenItsCompletionInTheirOrder) {
    Gate release;
    Gate worked;
    const auto operation = std::make_shared<ZROperationConcurrent>([&](const Concurrent &) {
        release.pass();
        worked.open();
    });
    ObserverLog log;
    observe(*operation, log);
    operation->start();
    EXPECT_EQ(log.entries(), list("isExecuting:will isExecuting:did"));
    EXPECT_TRUE(operation->isExecuting());
    release.open();
    ASSERT_TRUE(worked.pass());
    operation->completeOperation();
    EXPECT_EQ(log.entries().mid(2).join(QLatin1Char(' ')), completion);
}

TEST(ZROperationConcurrent, FlagsHaveChangedBetweenWillAndDid) {
    const auto operation = std::make_shared<ZROperationConcurrent>([](const Concurrent &) {});
    QStringList flags;
    ObserverLog log([&](const QString &entry, const QVariantMap &) {
        flags << entry + QLatin1Char('=') + QString::number(operation->isExecuting()) +
                     QString::number(operation->isFinished());
    });
    observe(*operation, log);
    operation->start();
    operation->completeOperation();
    EXPECT_EQ(flags, list("isExecuting:will=00 isExecuting:did=10 isFinished:will=10 isExecuting:will=10 "
                          "isExecuting:did=01 isFinished:did=01"));
}

TEST(ZROperationConcurrent, ItsThreadStartsBetweenTheAnnouncements) {
    Gate entered;
    bool enteredBeforeWill = true;
    bool enteredBeforeDid = false;
    const auto operation =
        std::make_shared<ZROperationConcurrent>([&](const Concurrent &) { entered.open(); });
    ObserverLog log([&](const QString &entry, const QVariantMap &) {
        if (entry == QStringLiteral("isExecuting:will"))
            enteredBeforeWill = entered.isOpen();
        else // would wait in vain for a thread that starts only after this announcement
            enteredBeforeDid = entered.pass();
    });
    NSKeyValueObserving::addObserver(operation.get(), &log, NSOperationIsExecutingKey,
                                     NSKeyValueObservingOptionPrior);
    operation->start();
    EXPECT_FALSE(enteredBeforeWill);
    EXPECT_TRUE(enteredBeforeDid);
    NSKeyValueObserving::removeObserver(operation.get(), &log, NSOperationIsExecutingKey);
    operation->completeOperation();
}

TEST(ZROperationConcurrent, AnnouncementsComeOnTheThreadThatMakesTheChange) {
    std::map<QString, std::thread::id> threads;
    const auto operation = std::make_shared<ZROperationConcurrent>([](const Concurrent &) {});
    ObserverLog log(
        [&](const QString &entry, const QVariantMap &) { threads[entry] = std::this_thread::get_id(); });
    observe(*operation, log);
    operation->start();
    EXPECT_EQ(threads[QStringLiteral("isExecuting:did")], std::this_thread::get_id());
    std::thread::id completing;
    std::thread([&] {
        completing = std::this_thread::get_id();
        operation->completeOperation();
    }).join();
    EXPECT_EQ(threads[QStringLiteral("isFinished:did")], completing);
}

TEST(ZROperationConcurrent, CancelledBeforeItsStartItFinishesWithoutWorkOrCompletionBlock) {
    bool called = false;
    const auto operation = std::make_shared<ZROperationConcurrent>(
        [&](const Concurrent &) { called = true; }, [&](const Concurrent &) { called = true; });
    ObserverLog log;
    observe(*operation, log);
    operation->cancel();
    operation->start();
    EXPECT_TRUE(operation->isFinished());
    EXPECT_FALSE(operation->isExecuting());
    EXPECT_EQ(log.entries(), list("isFinished:will isFinished:did"));
    EXPECT_FALSE(called);
}

TEST(ZROperationConcurrent, ObserversThatThrowNeitherKeepItFromFinishingNorHoldUpItsQueue) {
    const QStringList all = list("isExecuting:will isExecuting:did isFinished:will isFinished:did");
    for (const QString &thrower : all) {
        SCOPED_TRACE(qPrintable(thrower));
        const LogCapture log;
        NSOperationQueue queue;
        queue.setMaxConcurrentOperationCount(1);
        Gate executing;
        Gate completed;
        Gate next;
        const auto operation =
            std::make_shared<ZROperationConcurrent>([](const Concurrent &self) { self->completeOperation(); },
                                                    [&](const Concurrent &) { completed.open(); });
        ObserverLog observer([&](const QString &entry, const QVariantMap &) {
            if (entry == QStringLiteral("isExecuting:did"))
                executing.open(); // first at the start, which may outlast the work
            if (entry == thrower)
                throw std::runtime_error("observer");
        });
        observe(*operation, observer);
        queue.addOperation(operation);
        queue.addOperationWithBlock([&] { next.open(); });
        ASSERT_TRUE(next.pass());
        ASSERT_TRUE(completed.pass());
        ASSERT_TRUE(executing.pass());
        EXPECT_TRUE(operation->isFinished());
        for (const QString &entry : all)
            EXPECT_TRUE(observer.entries().contains(entry)) << qPrintable(entry);
        for (const QString &key : {NSOperationIsExecutingKey, NSOperationIsFinishedKey})
            NSKeyValueObserving::removeObserver(operation.get(), &observer, key);
    }
}

TEST(ZROperationConcurrent, CancelledBeforeItsStartItFinishesWhateverObserversThrow) {
    for (const char *thrower : {"isFinished:will", "isFinished:did"}) {
        const auto operation = std::make_shared<ZROperationConcurrent>([](const Concurrent &) {});
        ObserverLog observer([&](const QString &entry, const QVariantMap &) {
            if (entry == QLatin1String(thrower))
                throw std::runtime_error("observer");
        });
        observe(*operation, observer);
        operation->cancel();
        EXPECT_THROW(operation->start(), std::runtime_error);
        EXPECT_EQ(observer.entries(), list("isFinished:will isFinished:did"));
        operation->waitUntilFinished();
    }
}

TEST(ZROperationConcurrent, WithoutAThreadForItsWorkItFinishesAndThrows) {
    checkInChild([] {
        becomeOrdinaryUser();
        const rlimit none{1, 1};
        ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &none), 0);
        bool worked = false;
        bool completed = false;
        const auto operation = std::make_shared<ZROperationConcurrent>(
            [&](const Concurrent &) { worked = true; }, [&](const Concurrent &) { completed = true; });
        EXPECT_THROW(operation->start(), std::system_error);
        EXPECT_TRUE(operation->isFinished());
        EXPECT_FALSE(operation->isExecuting());
        EXPECT_FALSE(worked);
        EXPECT_TRUE(completed);
        operation->waitUntilFinished();
    });
}

TEST(ZROperationConcurrent, CancelledBetweenItsStartAndItsWorkItStaysExecuting) {
    /// Lets the test cancel on the way to main().
    struct Held : ZROperationConcurrent {
        using ZROperationConcurrent::ZROperationConcurrent;
        Gate cancelled;
        Gate left;
        void main() override {
            cancelled.pass();
            ZROperationConcurrent::main();
            left.open();
        }
    };
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    std::atomic<bool> called{false};
    Gate executing;
    ObserverLog log([&](const QString &, const QVariantMap &) { executing.open(); });
    const auto operation = std::make_shared<Held>([&](const Concurrent &) { called = true; });
    NSKeyValueObserving::addObserver(operation.get(), &log, NSOperationIsExecutingKey);
    const auto next = std::make_shared<ZROperation>();
    queue.addOperations({operation, next}, false);
    ASSERT_TRUE(executing.pass());
    operation->cancel();
    operation->cancelled.open();
    ASSERT_TRUE(operation->left.pass());
    EXPECT_FALSE(called);
    EXPECT_TRUE(operation->isExecuting());
    EXPECT_FALSE(operation->isFinished());
    EXPECT_FALSE(next->isExecuting());
    EXPECT_EQ(queue.operationCount(), 2); // the queue waits behind it
    NSKeyValueObserving::removeObserver(operation.get(), &log, NSOperationIsExecutingKey);
    operation->completeOperation();
    next->waitUntilFinished();
}

TEST(ZROperationConcurrent, CompletingTwiceCallsTheCompletionBlockOnceAndAnnouncesTwice) {
    int completions = 0;
    Concurrent given;
    const auto operation = std::make_shared<ZROperationConcurrent>(nullptr, [&](const Concurrent &o) {
        ++completions;
        given = o;
        EXPECT_TRUE(o->isFinished());
    });
    ObserverLog log;
    observe(*operation, log);
    operation->completeOperation();
    operation->completeOperation();
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(given, operation);
    EXPECT_EQ(log.entries().join(QLatin1Char(' ')), completion + QLatin1Char(' ') + completion);
    EXPECT_TRUE(operation->isFinished());
}

TEST(ZROperationConcurrent, CompletingFromManyThreadsOrFromItsCompletionBlockCallsThatOnce) {
    std::atomic<int> completions{0};
    const auto operation = std::make_shared<ZROperationConcurrent>(nullptr, [&](const Concurrent &o) {
        ++completions;
        o->completeOperation();
    });
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] { operation->completeOperation(); });
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(completions, 1);
}

TEST(ZROperationConcurrent, TheCompletionBlockComesAfterTheAnnouncements) {
    QStringList before;
    ObserverLog log;
    const auto operation =
        std::make_shared<ZROperationConcurrent>(nullptr, [&](const Concurrent &) { before = log.entries(); });
    observe(*operation, log);
    operation->completeOperation();
    EXPECT_EQ(before.join(QLatin1Char(' ')), completion);
}

TEST(ZROperationConcurrent, AWorkBlockThatThrowsLeavesItExecutingWithoutATrace) {
    const LogCapture log;
    /// Tells when main() is over, which has to swallow the exception for that.
    struct Watched : ZROperationConcurrent {
        using ZROperationConcurrent::ZROperationConcurrent;
        Gate left;
        void main() override {
            ZROperationConcurrent::main();
            left.open();
        }
    };
    const auto operation =
        std::make_shared<Watched>([](const Concurrent &) { throw std::runtime_error("swallowed"); });
    operation->start();
    ASSERT_TRUE(operation->left.pass());
    EXPECT_TRUE(operation->isExecuting());
    EXPECT_FALSE(operation->isFinished());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(ZROperationConcurrent, WithoutWorkItSaysWhatIsMissingAndFinishes) {
    const LogCapture log;
    NSOperationQueue queue;
    Gate completed;
    const auto operation =
        std::make_shared<ZROperationConcurrent>(nullptr, [&](const auto &) { completed.open(); });
    queue.addOperation(operation);
    operation->waitUntilFinished();
    ASSERT_TRUE(completed.pass());
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines().front().startsWith(QStringLiteral(
        "You should override this method <ZROperationQueue:104> -[ZROperationConcurrent concurrentMain]"
        "\n\n    0 failed assertion\n\n")));
    EXPECT_TRUE(operation->isFinished());
}

TEST(ZROperationConcurrent, SubclassesOverrideConcurrentMain) {
    struct Sub : ZROperationConcurrent {
        std::thread::id ranOn;
        void concurrentMain() override {
            ranOn = std::this_thread::get_id();
            completeOperation();
        }
    };
    const LogCapture log;
    ZROperationQueue queue;
    const auto operation = std::make_shared<Sub>();
    queue.addOperation(operation);
    operation->waitUntilFinished();
    EXPECT_NE(operation->ranOn, std::this_thread::get_id());
    EXPECT_NE(operation->ranOn, std::thread::id());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(ZROperationConcurrent, WhatConcurrentMainThrowsIsDroppedToo) {
    const LogCapture log;
    struct Sub : ZROperationConcurrent {
        int kind = 0;
        void concurrentMain() override {
            if (kind == 0)
                throw NSException(NSInvalidArgumentException, QStringLiteral("a"));
            throw kind;
        }
    };
    for (const int kind : {0, 1}) {
        const auto operation = std::make_shared<Sub>();
        operation->kind = kind;
        EXPECT_NO_THROW(operation->main());
        EXPECT_FALSE(operation->isFinished());
    }
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(ZROperationConcurrent, AWorkBlockGoesBeforeConcurrentMain) {
    struct Sub : ZROperationConcurrent {
        using ZROperationConcurrent::ZROperationConcurrent;
        bool ranMain = false;
        void concurrentMain() override { ranMain = true; }
    };
    const auto operation = std::make_shared<Sub>([](const Concurrent &o) { o->completeOperation(); });
    ZROperationQueue queue;
    queue.addOperation(operation);
    operation->waitUntilFinished();
    EXPECT_FALSE(operation->ranMain);
}

TEST(ZROperationConcurrent, AQueueCountsItAsRunningUntilItIsCompletedFromAnywhere) {
    ZROperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    Gate started;
    std::atomic<bool> nextRan{false};
    const auto first = ZRKit::addConcurrentBlock(queue, [&](const Concurrent &) { started.open(); });
    const auto next = ZRKit::addBlock(queue, [&](const auto &) { nextRan = true; });
    ASSERT_TRUE(started.pass());
    EXPECT_EQ(queue.operationCount(), 2);
    EXPECT_FALSE(nextRan);
    std::thread([&] { first->completeOperation(); }).join();
    next->waitUntilFinished();
    EXPECT_TRUE(nextRan);
    EXPECT_EQ(queue.operationCount(), 0);
}

TEST(ZROperationConcurrent, TheQueuesLastReferenceMayGoWhileItCompletes) {
    Gate completed;
    {
        ZROperationQueue queue;
        ZRKit::addConcurrentBlock(
            queue, [](const Concurrent &o) { o->completeOperation(); },
            [&](const auto &) { completed.open(); });
    }
    EXPECT_TRUE(completed.pass());
}

TEST(ZROperationConcurrent, ThousandsRunThroughALimitedQueueInTheirOrder) {
    ZROperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    std::vector<int> order;
    for (int i = 0; i < 1000; ++i)
        ZRKit::addConcurrentBlock(queue, [&, i](const Concurrent &o) {
            order.push_back(i);
            o->completeOperation();
        });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order.size(), 1000U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(ZROperationConcurrent, CancellingAtAnyMomentBeforeTheStartFinishesIt) {
    ZROperationQueue queue;
    queue.setMaxConcurrentOperationCount(3);
    std::vector<std::shared_ptr<ZROperationConcurrent>> all;
    std::atomic<int> completions{0};
    std::atomic<int> works{0};
    /// Completes in any case, as a subclass should that may be cancelled at any time.
    struct Sure : ZROperationConcurrent {
        using ZROperationConcurrent::ZROperationConcurrent;
        void main() override {
            ZROperationConcurrent::main();
            completeOperation();
        }
    };
    for (int i = 0; i < 500; ++i)
        all.push_back(
            std::make_shared<Sure>([&](const auto &) { ++works; }, [&](const auto &) { ++completions; }));
    std::thread canceller([&] {
        for (std::size_t i = 0; i < all.size(); i += 2)
            all[all.size() - 1 - i]->cancel();
    });
    for (const auto &operation : all)
        queue.addOperation(operation);
    queue.waitUntilAllOperationsAreFinished();
    canceller.join();
    for (const auto &operation : all)
        EXPECT_TRUE(operation->isFinished());
    // Each thread holds its operation until it has nothing more to do.
    std::vector<std::weak_ptr<ZROperationConcurrent>> weak(all.begin(), all.end());
    all.clear();
    while (!std::all_of(weak.begin(), weak.end(), [](const auto &operation) { return operation.expired(); }))
        std::this_thread::yield();
    EXPECT_GE(works, 250);
    EXPECT_LE(works, completions);
}

TEST(ZROperationQueue, IsAnOperationQueueWithNothingAdded) {
    ZROperationQueue queue;
    EXPECT_NE(qobject_cast<NSOperationQueue *>(&queue), nullptr);
    EXPECT_STREQ(queue.metaObject()->className(), "ZROperationQueue");
    EXPECT_EQ(queue.metaObject()->propertyOffset(), queue.metaObject()->propertyCount());
    EXPECT_EQ(queue.maxConcurrentOperationCount(), NSOperationQueueDefaultMaxConcurrentOperationCount);
}

} // namespace
