// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRFetchOperation.h"

#include "platform/observing/NSKeyValueObserving.h"
#include "platform/operations/NSThread.h"
#include "tests/ZRKit/Network/FetchTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/LoopbackServers.h"
#include "tests/support/ProcessTree.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <condition_variable>
#include <deque>
#include <random>
#include <thread>

namespace {

using Operation = std::shared_ptr<ZRFetchOperation>;

/// Counts changes of "isFinished".
class Ends : public NSKeyValueObserver {
public:
    void observeValueForKeyPath(const QString &, QObject *, const QVariantMap &, void *) override { ++count; }
    std::atomic<int> count{0};
};

/// Cancels operations after a while, on threads of its own.
class Cancellers {
public:
    Cancellers() {
        for (int i = 0; i < 3; ++i)
            m_threads.emplace_back([this] { run(); });
    }
    ~Cancellers() {
        {
            const std::lock_guard lock(m_mutex);
            m_ending = true;
        }
        m_changed.notify_all();
        for (std::thread &thread : m_threads)
            thread.join();
    }
    void cancel(const Operation &operation, double seconds) {
        {
            const std::lock_guard lock(m_mutex);
            m_jobs.emplace_back(operation, seconds);
        }
        m_changed.notify_one();
    }

private:
    void run() {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_changed.wait(lock, [this] { return m_ending || !m_jobs.empty(); });
            if (m_jobs.empty())
                return;
            const auto [operation, seconds] = m_jobs.front();
            m_jobs.pop_front();
            lock.unlock();
            NSThread::sleepForTimeInterval(seconds);
            operation->cancel();
            lock.lock();
        }
    }
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::pair<Operation, double>> m_jobs;
    bool m_ending = false;
    std::vector<std::thread> m_threads;
};

/// Threads have descriptors of their own, and there may be some more or less of them.
qsizetype openSockets() {
    const QFileInfoList files =
        QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::System | QDir::Files);
    return std::count_if(files.begin(), files.end(), [](const QFileInfo &file) {
        return file.symLinkTarget().contains(QStringLiteral("socket:"));
    });
}

TEST(FetchCancelling, TenThousandAtRandomMomentsLoseNothingAndEndOnce) {
    constexpr int total = 10'000;
    constexpr std::size_t atOnce = 48;
    const NginxServer server;
    const QList<QUrl> urls = {
        server.url(QStringLiteral("/small")),       server.url(QStringLiteral("/large")),
        server.url(QStringLiteral("/text.txt")),    server.url(QStringLiteral("/moved")),
        server.url(QStringLiteral("/basic/small")), server.url(QStringLiteral("/slow")),
        QUrl(QStringLiteral("data:,text"))};
    // The first of each kind opens what stays open.
    fetched(QVariant(urls.first()));
    const qsizetype socketsBefore = openSockets();
    ASSERT_GE(socketsBefore, 1);
    std::mt19937 random(4);
    const auto number = [&](int below) { return int(random() % unsigned(below)); };
    Ends ends;
    struct Try {
        Operation operation;
        int completions = 0; // of the network thread, until that is done
    };
    std::deque<Try> tries;
    {
        Cancellers cancellers;
        std::size_t first = 0;
        const auto settle = [&](std::size_t left) {
            for (; tries.size() - first > left; ++first)
                tries[first].operation->waitUntilFinished();
        };
        for (int i = 0; i < total; ++i) {
            const QUrl url = urls[number(int(urls.size()))];
            const auto operation = std::make_shared<ZRFetchOperation>(url);
            Try &one = tries.emplace_back(Try{operation});
            operation->setUsername(QStringLiteral("user"));
            operation->setPassword(QStringLiteral("secret"));
            operation->setCompleteBlock([&one](const Operation &) { ++one.completions; });
            if (number(4) == 0)
                operation->setProgressBlock([pieces = number(3)](const Operation &fetching) mutable {
                    if (pieces-- == 0)
                        fetching->cancel();
                });
            NSKeyValueObserving::addObserver(operation.get(), &ends, NSOperationIsFinishedKey);
            // What is slow would take its time if nobody cancelled it.
            const int moment = url.path() == u"/slow" ? number(9) : number(10);
            if (moment == 0)
                operation->cancel();
            operation->fetch();
            if (moment == 1)
                operation->cancel();
            else if (moment > 1 && moment < 9)
                cancellers.cancel(operation, number(1000) * 1e-6);
            settle(atOnce);
        }
        settle(0);
    }
    waitForNetworkThread();
    EXPECT_EQ(ends.count, total);
    int completed = 0;
    int cancelled = 0;
    for (const Try &one : tries) {
        EXPECT_LE(one.completions, 1);
        EXPECT_TRUE(one.completions == 1 || one.operation->isCancelled());
        EXPECT_TRUE(one.operation->isFinished());
        completed += one.completions;
        cancelled += one.operation->isCancelled();
    }
    EXPECT_GT(completed, total / 20);
    EXPECT_GT(cancelled, total / 4);
    EXPECT_EQ(ZRFetchOperation::sharedOperationQueue()->operationCount(), 0);
    std::vector<std::weak_ptr<ZRFetchOperation>> all;
    for (Try &one : tries) {
        all.push_back(one.operation);
        one.operation.reset();
    }
    // The queue's threads drop the last of them a moment later.
    EXPECT_TRUE(ProcessTree::waitUntil([&] {
        return std::all_of(all.begin(), all.end(), [](const auto &operation) { return operation.expired(); });
    }));
    // As many connections are kept for later fetches.
    EXPECT_TRUE(ProcessTree::waitUntil([&] { return openSockets() <= socketsBefore + 32; })) << openSockets();

    // All six places are still there.
    std::atomic<int> waiting{0};
    Gate six;
    ScriptedServer last([&](int, const QByteArray &) {
        if (++waiting == 6)
            six.open();
        six.pass();
        return ScriptedServer::Answer{"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"};
    });
    std::vector<Operation> operations;
    for (int i = 0; i < 6; ++i)
        operations.push_back(ZRFetchOperation::fetch(last.url(), [](const auto &) {}));
    for (const auto &operation : operations)
        operation->waitUntilFinished();
    EXPECT_TRUE(six.isOpen());
    waitForNetworkThread();
}

TEST(FetchCancelling, RunningOnesMayBeReadAndFetchedByOtherThreads) {
    constexpr int total = 300;
    const NginxServer server;
    const QList<QUrl> urls = {
        server.url(QStringLiteral("/moved")), server.url(QStringLiteral("/basic/small")),
        server.url(QStringLiteral("/basic/text.txt")), server.url(QStringLiteral("/large"))};
    std::mutex mutex;
    std::deque<Operation> running;
    std::atomic<bool> ending{false};
    std::atomic<int> readings{0};
    const LogCapture log;
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i)
        readers.emplace_back([&] {
            while (!ending) {
                std::deque<Operation> operations;
                {
                    const std::lock_guard lock(mutex);
                    operations = running;
                }
                for (const Operation &operation : operations) {
                    // Refused, with its description in the log, since it runs or is over.
                    if (++readings % 20 == 0) {
                        EXPECT_FALSE(operation->isExecuting() && operation->fetch());
                    }
                    EXPECT_TRUE(operation->description().startsWith(QStringLiteral("<ZRFetchOperation: ")));
                    EXPECT_GE(operation->progress(), 0);
                    operation->log();
                    operation->localizedErrorString();
                    operation->headers();
                    operation->connection();
                    operation->completeBlock();
                }
            }
        });
    std::mt19937 random(7);
    for (int i = 0; i < total; ++i) {
        const auto operation = std::make_shared<ZRFetchOperation>(urls[i % urls.size()]);
        operation->setUsername(QStringLiteral("user"));
        operation->setPassword(random() % 4 == 0 ? QStringLiteral("wrong") : QStringLiteral("secret"));
        operation->setProgressBlock([](const auto &) {});
        operation->fetchWithBlock([](const auto &) {});
        // Only those that have begun: one that waits could be fetched twice.
        ASSERT_TRUE(
            ProcessTree::waitUntil([&] { return operation->isExecuting() || operation->isFinished(); }));
        {
            const std::lock_guard lock(mutex);
            running.push_back(operation);
            if (running.size() > 6)
                running.pop_front();
        }
        if (random() % 3 == 0)
            operation->cancel();
    }
    NSOperationQueue *queue = ZRFetchOperation::sharedOperationQueue();
    queue->waitUntilAllOperationsAreFinished();
    ending = true;
    for (std::thread &reader : readers)
        reader.join();
    waitForNetworkThread();
    EXPECT_GT(readings, 0);
}

} // namespace
