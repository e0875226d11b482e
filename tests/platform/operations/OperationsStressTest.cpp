// SPDX-License-Identifier: MIT
#include "platform/operations/NSOperationQueue.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <random>
#include <thread>

namespace {

using Operations = std::vector<std::shared_ptr<NSOperation>>;

std::shared_ptr<NSBlockOperation> block(std::function<void()> work = nullptr) {
    return std::make_shared<NSBlockOperation>(std::move(work));
}

void onThreads(int count, const std::function<void(int)> &work) {
    std::vector<std::thread> threads;
    for (int t = 0; t < count; ++t)
        threads.emplace_back(work, t);
    for (auto &thread : threads)
        thread.join();
}

/// Completed by another operation than itself.
class Concurrent : public NSOperation {
public:
    explicit Concurrent(NSOperationQueue &completer) : m_completer(completer) {}
    bool isConcurrent() const override { return true; }
    bool isExecuting() const override { return m_executing; }
    bool isFinished() const override { return m_finished; }
    void start() override {
        ++starts;
        const auto complete = [this] {
            willChangeValueForKey(NSOperationIsFinishedKey);
            m_executing = false;
            m_finished = true;
            didChangeValueForKey(NSOperationIsFinishedKey);
        };
        if (isCancelled()) {
            complete();
            return;
        }
        m_executing = true;
        m_completer.addOperationWithBlock([self = shared_from_this(), complete] { complete(); });
    }
    std::atomic<int> starts{0};

private:
    NSOperationQueue &m_completer;
    std::atomic<bool> m_executing{false};
    std::atomic<bool> m_finished{false};
};

TEST(OperationsStress, ManyThreadsAddToManyQueues) {
    constexpr int threads = 8;
    constexpr int each = 1000;
    std::array<NSOperationQueue, 3> queues;
    queues[1].setMaxConcurrentOperationCount(1);
    queues[2].setMaxConcurrentOperationCount(3);
    std::atomic<int> ran{0};
    onThreads(threads, [&](int) {
        for (int i = 0; i < each; ++i)
            queues[std::size_t(i) % queues.size()].addOperationWithBlock([&] { ++ran; });
    });
    for (auto &queue : queues)
        queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran, threads * each);
}

TEST(OperationsStress, CancellingAtRandomMomentsFinishesEverything) {
    std::mt19937 random(1);
    NSOperationQueue completer;
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(4);
    std::atomic<int> ran{0};
    Operations all;
    std::vector<std::shared_ptr<Concurrent>> concurrent;
    for (int i = 0; i < 3000; ++i) {
        if (i % 3 == 0) {
            concurrent.push_back(std::make_shared<Concurrent>(completer));
            all.push_back(concurrent.back());
        } else {
            all.push_back(block([&] { ++ran; }));
        }
        if (i > 0 && random() % 4 == 0)
            all.back()->addDependency(all[random() % std::size_t(i)]);
    }
    Operations victims = all;
    std::shuffle(victims.begin(), victims.end(), random);
    std::thread canceller([&] {
        for (std::size_t i = 0; i < victims.size(); i += 2) {
            victims[i]->cancel();
            if (i % 64 == 0)
                std::this_thread::yield();
        }
    });
    for (const auto &operation : all)
        queue.addOperation(operation);
    canceller.join();
    queue.waitUntilAllOperationsAreFinished();
    completer.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(
        std::all_of(all.begin(), all.end(), [](const auto &operation) { return operation->isFinished(); }));
    EXPECT_TRUE(
        std::all_of(concurrent.begin(), concurrent.end(), [](const auto &o) { return o->starts == 1; }));
    const auto uncancelled = std::count_if(all.begin(), all.end(), [](const auto &operation) {
        return !operation->isCancelled() && !operation->isConcurrent();
    });
    EXPECT_GE(ran, uncancelled);
}

TEST(OperationsStress, SuspendingAndResumingLosesNothing) {
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(2);
    std::atomic<int> ran{0};
    std::atomic<bool> stop{false};
    std::thread switcher([&] {
        for (int i = 0; !stop; ++i) {
            queue.setSuspended(i % 2 == 0);
            queue.setMaxConcurrentOperationCount(i % 5);
            std::this_thread::yield();
        }
        queue.setMaxConcurrentOperationCount(2);
        queue.setSuspended(false);
    });
    for (int i = 0; i < 3000; ++i)
        queue.addOperationWithBlock([&] { ++ran; });
    stop = true;
    switcher.join();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran, 3000);
}

TEST(OperationsStress, AChainOverThreeQueuesKeepsItsOrder) {
    std::array<NSOperationQueue, 3> queues;
    std::vector<int> order;
    Operations all;
    for (int i = 0; i < 3000; ++i) {
        all.push_back(block([&, i] { order.push_back(i); }));
        if (i > 0)
            all.back()->addDependency(all[std::size_t(i) - 1]);
    }
    // The last first: nothing is ready until the first is there.
    for (std::size_t i = all.size(); i-- > 0;)
        queues[i % queues.size()].addOperation(all[i]);
    for (auto &queue : queues)
        queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order.size(), all.size());
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(OperationsStress, OneMayWaitForThousandsAndThousandsForOne) {
    NSOperationQueue queue;
    std::atomic<int> ran{0};
    const auto first = block([&] { EXPECT_EQ(ran, 0); });
    const auto last = block([&] { EXPECT_EQ(ran, 3000); });
    Operations middle;
    for (int i = 0; i < 3000; ++i) {
        middle.push_back(block([&] { ++ran; }));
        middle.back()->addDependency(first);
        last->addDependency(middle.back());
    }
    queue.addOperation(last);
    queue.addOperations(middle, false);
    queue.addOperation(first);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(last->isFinished());
}

TEST(OperationsStress, DependenciesAddedWhileTheQueueRunsAreKeptOrComeTooLate) {
    NSOperationQueue queue;
    Operations all;
    for (int i = 0; i < 2000; ++i) {
        const auto first = block();
        const auto second = block();
        queue.addOperation(second);
        second->addDependency(first);
        queue.addOperation(first);
        all.push_back(first);
        all.push_back(second);
    }
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(
        std::all_of(all.begin(), all.end(), [](const auto &operation) { return operation->isFinished(); }));
}

TEST(OperationsStress, PrioritiesWithLimitOneAreKeptForThousands) {
    std::mt19937 random(2);
    NSOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    queue.setSuspended(true);
    std::vector<std::pair<int, int>> order;
    for (int i = 0; i < 3000; ++i) {
        const int priority = (int(random() % 5) - 2) * 4;
        const auto operation = block([&order, priority, i] { order.emplace_back(-priority, i); });
        queue.addOperation(operation);
        operation->setQueuePriority(priority);
    }
    queue.setSuspended(false);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order.size(), 3000U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(OperationsStress, QueuesComeAndGoWithWorkInFlight) {
    std::atomic<int> ran{0};
    std::mutex mutex;
    Operations all;
    onThreads(4, [&](int t) {
        std::mt19937 random(static_cast<unsigned>(t));
        for (int i = 0; i < 100; ++i) {
            NSOperationQueue queue;
            queue.setMaxConcurrentOperationCount(int(random() % 4));
            for (int n = 0; n < 10; ++n) {
                const auto operation = queue.addOperationWithBlock([&] { ++ran; });
                const std::lock_guard lock(mutex);
                all.push_back(operation);
            }
            if (random() % 4 == 0)
                queue.cancelAllOperations();
            queue.setSuspended(random() % 2 == 0);
        }
    });
    for (const auto &operation : all)
        operation->waitUntilFinished();
    const auto uncancelled = std::count_if(all.begin(), all.end(),
                                           [](const auto &operation) { return !operation->isCancelled(); });
    EXPECT_GE(ran, uncancelled);
    EXPECT_LE(ran, int(all.size()));
}

TEST(OperationsStress, OneOperationIsRunOnceHoweverManyTryToAddIt) {
    for (int i = 0; i < 200; ++i) {
        std::atomic<int> ran{0};
        std::atomic<int> added{0};
        NSOperationQueue queue;
        const auto operation = block([&] { ++ran; });
        onThreads(4, [&](int) {
            try {
                queue.addOperation(operation);
                ++added;
            } catch (const std::exception &) {
                EXPECT_NE(operation, nullptr);
            }
        });
        queue.waitUntilAllOperationsAreFinished();
        EXPECT_EQ(added, 1);
        EXPECT_EQ(ran, 1);
    }
}

} // namespace
