// SPDX-License-Identifier: MIT
// The client against a real service process of the test's own.
#include "ZRKit/Service/ZRXPC.h"

#include "ZRKit/Service/ZRXPCDelegate.h"
#include "ZRKit/Service/ZRXPCOperation.h"
#include "ZRKit/Service/ZRXPCProtocol.h"
#include "platform/archive/NSKeyedArchiver.h"
#include "platform/xpc/NSXPCConnection.h"
#include "platform/xpc/NSXPCListener.h"
#include "platform/xpc/NSXPCServiceMonitor.h"
#include "tests/platform/xpc/Support.h"
#include "tests/support/LogCapture.h"

#include <QFile>
#include <QPoint>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stop_token>
#include <thread>
#include <unistd.h>

namespace {

const QString assertionStart = QStringLiteral("Assertion <ZRXPC:");

// For the whole program: clients that a test leaves behind still look it up.
const RuntimeFolder runtime;

QString freshName() {
    static int count = 0;
    return QStringLiteral("zr.test.kitservice@%1-%2").arg(::getpid()).arg(++count);
}

QVariantMap doing(const char *what, const QVariantMap &more = {}) {
    QVariantMap task = more;
    task.insert(QStringLiteral("do"), QString::fromLatin1(what));
    return task;
}

QString assertion(int line, const char *function, const char *condition) {
    return QStringLiteral("Assertion <ZRXPC:%1> %2\n\n    %3 failed assertion\n\n")
        .arg(line)
        .arg(QLatin1String(function), QLatin1String(condition));
}

/// Lets go of tasks that never finish by themselves.
void completeAll(ZRXPC &client) {
    for (const auto &operation : client.operationQueue()->operations())
        std::static_pointer_cast<ZRXPCOperation>(operation)->completeOperation();
    EXPECT_TRUE(eventually([&] { return client.operationQueue()->operationCount() == 0; }));
}

/// A client and its service; the log is quiet but for the test's own lines.
class Client : public ::testing::Test {
protected:
    const LogCapture log;
    const QString name = freshName();
    ZRXPC client{name};
};

/// A service within the test that replies what a test wants, whatever it is asked.
class Puppet : public QObject,
               public ZRXPCProtocol,
               public NSXPCListenerDelegate,
               public std::enable_shared_from_this<Puppet> {
public:
    void performWithData(const QByteArray &data, const Reply &block) override {
        tasks.put(data);
        block(replyData, replyError);
    }
    void work() override {}
    bool listenerShouldAcceptNewConnection(NSXPCListener *,
                                           const std::shared_ptr<NSXPCConnection> &connection) override {
        connections.put(connection);
        connection->setExportedInterface(NSXPCInterface::interfaceWithProtocol<ZRXPCProtocol>());
        connection->setExportedObject(shared_from_this());
        connection->resume();
        return true;
    }
    QByteArray replyData;
    NSError replyError;
    Inbox<QByteArray> tasks;
    Inbox<std::weak_ptr<NSXPCConnection>> connections;
};

/// The puppet behind a socket in the runtime folder, as a socket unit's service is.
class PuppetClient : public ::testing::Test {
protected:
    PuppetClient() {
        listener = std::make_unique<NSXPCListener>(
            listenAt(runtime.path() + QLatin1Char('/') + name + QStringLiteral(".sock")));
        listener->setDelegate(puppet);
        listener->resume();
    }
    /// Runs a task with that reply; gives what the block got.
    std::pair<QVariant, NSError> reply(const QByteArray &data, const NSError &error) {
        puppet->replyData = data;
        puppet->replyError = error;
        ZRXPC client(name);
        std::pair<QVariant, NSError> got{1, NSError()};
        client.performXPCSynchronousWithObject(QVariantMap(), [&](const QVariant &result, const NSError &e) {
            got = {result, e};
        });
        return got;
    }

    const LogCapture log;
    const QString name = freshName();
    std::shared_ptr<Puppet> puppet = std::make_shared<Puppet>();
    std::unique_ptr<NSXPCListener> listener;
};

} // namespace

TEST_F(Client, GetsTheCauseOfAnErrorOverTheWire) {
    const NSError cause(QStringLiteral("NSURLErrorDomain"), -1004,
                        {{NSLocalizedDescriptionKey, QStringLiteral("refused")},
                         {NSUnderlyingErrorKey, QVariant::fromValue(NSError(QStringLiteral("deeper"), 7))}});
    client.performXPCSynchronousWithObject(
        doing("error", {{QStringLiteral("reason"), QStringLiteral("did fail")},
                        {QStringLiteral("cause"), QVariant::fromValue(cause)}}),
        [&](const QVariant &result, const NSError &error) {
            EXPECT_FALSE(result.isValid());
            EXPECT_EQ(error.code(), 101);
            EXPECT_EQ(error.localizedDescription(), QStringLiteral("did fail"));
            EXPECT_EQ(error.userInfo().value(NSUnderlyingErrorKey).value<NSError>(), cause);
        });
}

TEST_F(Client, LeavesTheHostsBrokenPipeSignalAlone) {
    struct sigaction before {};
    struct sigaction after {};
    ASSERT_EQ(::sigaction(SIGPIPE, nullptr, &before), 0);
    client.performXPCWithObject(doing("pid"));
    ASSERT_EQ(::sigaction(SIGPIPE, nullptr, &after), 0);
    EXPECT_EQ(after.sa_handler, before.sa_handler);
}

TEST_F(Client, GivesTheResultOfATask) {
    const QVariantMap task = doing("echo", {{QStringLiteral("data"), QByteArray(3000000, 'p')}});
    EXPECT_EQ(client.performXPCWithObject(task), QVariant(task));
    EXPECT_TRUE(log.lines().isEmpty()) << log.lines().join(u'\n').toStdString();
}

TEST_F(Client, RunsOneTaskAtATime) {
    EXPECT_EQ(client.operationQueue()->maxConcurrentOperationCount(), 1);
    EXPECT_EQ(client.property("operationQueue").value<NSOperationQueue *>(), client.operationQueue());
}

TEST_F(Client, LogsTheErrorOfATaskAndReturnsNil) {
    EXPECT_FALSE(
        client.performXPCWithObject(doing("raise", {{QStringLiteral("reason"), QStringLiteral("no ink")}}))
            .isValid());
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("Error while executing XPC task occured: Error "
                                                      "Domain=com.velmora.error Code=101 \"no ink\"")});
}

TEST_F(Client, NeitherResultNorErrorWritesTheAssertionLineFirst) {
    EXPECT_FALSE(client.performXPCWithObject(doing("unarchivable")).isValid());
    ASSERT_EQ(log.lines().size(), 2);
    EXPECT_TRUE(
        log.lines()[0].startsWith(assertion(128, "-[ZRXPC performXPCWithObject:]", "(operation.error)")));
    EXPECT_EQ(log.lines()[1], QStringLiteral("Error while executing XPC task occured: (null)"));
}

TEST_F(Client, SynchronousCallsGiveResultOrErrorToTheBlockOnTheCallersThread) {
    int calls = 0;
    client.performXPCSynchronousWithObject(doing("pid"), [&](const QVariant &result, const NSError &error) {
        ++calls;
        EXPECT_GT(result.toLongLong(), 0);
        EXPECT_TRUE(error.isNil());
    });
    client.performXPCSynchronousWithObject(
        doing("nothing"), [&](const QVariant &result, const NSError &error) {
            ++calls;
            EXPECT_FALSE(result.isValid());
            EXPECT_EQ(error.code(), 101);
            EXPECT_EQ(
                error.localizedDescription(),
                QStringLiteral("You have to call `doneWithResult` or `doneWithErrorMessage` at least once!"));
        });
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(Client, ASynchronousCallWithoutABlockIsAssertedAndStillRuns) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("flag"));
    std::thread setter([&] { QFile(path).open(QIODevice::WriteOnly); });
    client.performXPCSynchronousWithObject(doing("wait", {{QStringLiteral("path"), path}}), nullptr);
    setter.join();
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines()[0].startsWith(
        assertion(135, "-[ZRXPC performXPCSynchronousWithObject:block:]", "(block)")));
}

TEST_F(Client, AsynchronousCallsGoPastTheQueue) {
    client.operationQueue()->setSuspended(true);
    Inbox<QVariant> results;
    client.performXPCAsyncWithObject(doing("echo", {{QStringLiteral("n"), 1}}),
                                     [&](const QVariant &result, const NSError &) { results.put(result); });
    const auto result = results.take();
    client.operationQueue()->setSuspended(false);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->toMap().value(QStringLiteral("n")).toInt(), 1);
}

TEST_F(Client, AnAbandonedTaskIsNeverAnsweredAndOthersGoOn) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("flag"));
    const QString started = folder.filePath(QStringLiteral("started"));
    std::atomic<int> answers = 0;
    const auto count = [&](const QVariant &, const NSError &) { ++answers; };
    std::stop_source stop;
    client.performXPCAsyncWithObject(
        doing("wait", {{QStringLiteral("path"), path}, {QStringLiteral("started"), started}}), count,
        stop.get_token());
    ASSERT_TRUE(eventually([&] { return QFile::exists(started); }));
    stop.request_stop();
    // One that was abandoned beforehand doesn't reach the service.
    client.performXPCAsyncWithObject(doing("kill"), count, stop.get_token());
    QFile(path).open(QIODevice::WriteOnly);
    EXPECT_GT(client.performXPCWithObject(doing("pid")).toInt(), 0);
    EXPECT_EQ(answers, 0);
}

TEST_F(Client, ATaskThatCannotBeArchivedIsLoggedAndSentAsNil) {
    const QVariant result = client.performXPCWithObject(QVariant::fromValue(QPoint(1, 2)));
    EXPECT_TRUE(result.toMap().value(QStringLiteral("isNil")).toBool());
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines()[0].startsWith(QStringLiteral("zxDataSerialize: ")));
}

TEST_F(Client, TasksOfTwoThreadsDoNotOverlap) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("flag"));
    const QString held = folder.filePath(QStringLiteral("held"));
    const QVariant task =
        doing("holdAlone", {{QStringLiteral("path"), path}, {QStringLiteral("held"), held}});
    Inbox<bool> alone;
    const auto perform = [&] { alone.put(client.performXPCWithObject(task).toBool()); };
    std::thread first(perform);
    EXPECT_TRUE(eventually([&] { return QFile::exists(held); }));
    std::thread second(perform);
    EXPECT_TRUE(eventually([&] { return client.operationQueue()->operationCount() == 2; }));
    EXPECT_EQ(alone.count(), 0u);
    QFile(path).open(QIODevice::WriteOnly);
    EXPECT_TRUE(alone.take());
    EXPECT_TRUE(alone.take());
    first.join();
    second.join();
}

TEST_F(Client, ATaskCancelledInTheQueueNeverContactsTheService) {
    EXPECT_TRUE(eventually([&] { return client.operationQueue()->operationCount() == 0; }));
    client.operationQueue()->setSuspended(true);
    std::thread caller([&] { EXPECT_FALSE(client.performXPCWithObject(doing("kill")).isValid()); });
    EXPECT_TRUE(eventually([&] { return client.operationQueue()->operationCount() == 1; }));
    client.operationQueue()->cancelAllOperations();
    client.operationQueue()->setSuspended(false);
    caller.join();
    ASSERT_EQ(log.lines().size(), 2);
    EXPECT_TRUE(
        log.lines()[0].startsWith(assertion(128, "-[ZRXPC performXPCWithObject:]", "(operation.error)")));
    EXPECT_EQ(log.lines()[1], QStringLiteral("Error while executing XPC task occured: (null)"));
    EXPECT_GT(client.performXPCWithObject(doing("pid")).toInt(), 0);
}

TEST_F(Client, CancellingAnExecutingTaskDoesNotCompleteIt) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("flag"));
    const auto operation = std::make_shared<ZRXPCOperation>(client);
    const QString started = folder.filePath(QStringLiteral("started"));
    operation->setTaskInfo(
        doing("wait", {{QStringLiteral("path"), path}, {QStringLiteral("started"), started}}));
    client.operationQueue()->addOperation(operation);
    EXPECT_TRUE(eventually([&] { return QFile::exists(started); }));
    operation->cancel();
    EXPECT_TRUE(operation->isCancelled());
    EXPECT_FALSE(operation->isFinished());
    QFile(path).open(QIODevice::WriteOnly);
    operation->waitUntilFinished();
    EXPECT_EQ(operation->taskResult(), QVariant(QStringLiteral("waited")));
}

TEST_F(Client, ATaskCancelledBetweenThreadAndWorkNeverFinishes) {
    struct Hesitating : ZRXPCOperation {
        using ZRXPCOperation::ZRXPCOperation;
        void main() override {
            atMain.put(1);
            mayGoOn.take();
            ZRXPCOperation::main();
            wentThrough.put(1);
        }
        Inbox<int> atMain, mayGoOn, wentThrough;
    };
    EXPECT_TRUE(eventually([&] { return client.operationQueue()->operationCount() == 0; }));
    const auto operation = std::make_shared<Hesitating>(client);
    operation->setTaskInfo(doing("pid"));
    client.operationQueue()->addOperation(operation);
    ASSERT_TRUE(operation->atMain.take());
    operation->cancel();
    operation->mayGoOn.put(1);
    ASSERT_TRUE(operation->wentThrough.take());
    EXPECT_FALSE(operation->isFinished());
    // The queue stalls behind it.
    client.performXPCBoot();
    EXPECT_EQ(client.operationQueue()->operationCount(), 2);
    // Only somebody else's completion frees it.
    operation->completeOperation();
    EXPECT_TRUE(eventually([&] { return client.operationQueue()->operationCount() == 0; }));
}

TEST_F(Client, ALostServiceLeavesItsTaskWaitingAndTheQueueBehindIt) {
    ASSERT_GT(client.performXPCWithObject(doing("pid")).toInt(), 0);
    Inbox<NSXPCServiceMonitor::Exit> exits;
    const NSXPCServiceMonitor monitor(name, [&](const NSXPCServiceMonitor::Exit &exit) { exits.put(exit); });
    const auto operation = std::make_shared<ZRXPCOperation>(client);
    operation->setTaskInfo(doing("kill"));
    client.operationQueue()->addOperation(operation);
    // The host that watches the service knows; the task doesn't.
    ASSERT_TRUE(exits.take());
    client.performXPCBoot();
    Inbox<QVariant> results;
    client.performXPCAsyncWithObject(doing("pid"),
                                     [&](const QVariant &pid, const NSError &) { results.put(pid); });
    EXPECT_TRUE(results.take());
    EXPECT_FALSE(operation->isFinished());
    EXPECT_FALSE(operation->taskResult().isValid());
    EXPECT_EQ(client.operationQueue()->operationCount(), 2);
    completeAll(client);
}

TEST_F(Client, AReplyAfterTheOperationWasReleasedIsLost) {
    Inbox<int> replies;
    {
        const auto operation = std::make_shared<ZRXPCOperation>(client);
        operation->setTaskInfo(doing("pid"));
        operation->concurrentMain();
    }
    client.performXPCAsyncWithObject(doing("pid"),
                                     [&](const QVariant &, const NSError &) { replies.put(1); });
    EXPECT_TRUE(replies.take());
}

TEST(ZRXPC, AClientMayGoBeforeItsTasks) {
    const LogCapture log;
    std::shared_ptr<ZRXPCOperation> operation;
    {
        ZRXPC client(freshName());
        operation = std::make_shared<ZRXPCOperation>(client);
        operation->setTaskInfo(doing("pid"));
        client.operationQueue()->addOperation(operation);
    }
    operation->waitUntilFinished();
    EXPECT_GT(operation->taskResult().toInt(), 0);
}

TEST(ZRXPC, TheFirstTaskOfAProcessIsNumberZeroAcrossConnections) {
    const QString name = freshName();
    const zr::FileDescriptor socket =
        listenAt(runtime.path() + QLatin1Char('/') + name + QStringLiteral(".sock"));
    const QString program =
        QFile::symLinkTarget(QStringLiteral("/proc/self/exe")).section(QLatin1Char('/'), 0, -2);
    int log[2];
    ASSERT_EQ(::pipe2(log, O_CLOEXEC), 0);
    const pid_t service =
        startLikeSystemd(QFile::encodeName(program + QStringLiteral("/XPCServices/zr.test.kitservice")),
                         socket, {.standardError = log[1]});
    ::close(log[1]);
    {
        ZRXPC client(name);
        EXPECT_EQ(client.performXPCWithObject(doing("pid")).toInt(), service);
        ZRXPC other(name);
        EXPECT_EQ(other.performXPCWithObject(doing("pid")).toInt(), service);
    }
    ::kill(service, SIGTERM);
    EXPECT_EQ(waitStatus(service), 0);
    QFile file;
    ASSERT_TRUE(file.open(log[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    EXPECT_EQ(lines.value(0), QStringLiteral("Started Worker"));
    QStringList numbers;
    for (const QString &line : lines) {
        if (line.startsWith(QStringLiteral("==> ")))
            numbers.append(line.section(QLatin1Char('#'), 1));
    }
    EXPECT_EQ(numbers, (QStringList{QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("2"),
                                    QStringLiteral("3")}));
}

TEST(ZRXPC, WithoutANameNothingIsEverDone) {
    const LogCapture log;
    ZRXPC client{QString()};
    EXPECT_TRUE(eventually([&] { return log.lines().size() == 2; }));
    const char *function = "-[ZRXPC performXPCAsyncWithObject:block:]";
    EXPECT_TRUE(log.lines()[0].startsWith(assertion(80, function, "(_serviceName)")));
    EXPECT_TRUE(log.lines()[1].startsWith(assertion(89, function, "(_fetchServiceConnection)")));
    client.performXPCAsyncWithObject(QVariant::fromValue(QPoint()),
                                     [](const QVariant &, const NSError &) { FAIL(); });
    ASSERT_EQ(log.lines().size(), 5);
    EXPECT_TRUE(log.lines()[4].startsWith(QStringLiteral("zxDataSerialize: ")));
    // The boot task never finishes, as any task whose connection can't be made.
    EXPECT_EQ(client.operationQueue()->operationCount(), 1);
    completeAll(client);
}

TEST(ZRXPC, AServiceThatDoesNotExistLeavesTasksWaiting) {
    const LogCapture log;
    ZRXPC client(QStringLiteral("zr.test.absent"));
    Inbox<int> calls;
    client.performXPCAsyncWithObject(doing("pid"), [&](const QVariant &, const NSError &) { calls.put(1); });
    EXPECT_TRUE(eventually([&] { return log.count(QStringLiteral("NSXPCConnection: ")) == 2; }));
    EXPECT_EQ(calls.count(), 0u);
    EXPECT_EQ(client.operationQueue()->operationCount(), 1);
    EXPECT_EQ(log.count(assertionStart), 0);
    completeAll(client);
}

TEST_F(PuppetClient, TheBootTaskGoesFirstAndEachTaskHasAConnectionOfItsOwn) {
    puppet->replyData = NSKeyedArchiver::archivedDataWithRootObject(QStringLiteral("yes"));
    ZRXPC client(name);
    EXPECT_EQ(client.performXPCWithObject(QVariantMap{{QStringLiteral("n"), 1}}),
              QVariant(QStringLiteral("yes")));
    EXPECT_EQ(client.performXPCWithObject(QVariantMap{{QStringLiteral("n"), 2}}),
              QVariant(QStringLiteral("yes")));
    EXPECT_EQ(puppet->tasks.take(),
              NSKeyedArchiver::archivedDataWithRootObject(QVariantMap{{QStringLiteral("__boot"), true}}));
    EXPECT_EQ(puppet->tasks.take(),
              NSKeyedArchiver::archivedDataWithRootObject(QVariantMap{{QStringLiteral("n"), 1}}));
    EXPECT_EQ(puppet->tasks.take(),
              NSKeyedArchiver::archivedDataWithRootObject(QVariantMap{{QStringLiteral("n"), 2}}));
    for (int i = 0; i < 3; ++i) {
        const auto connection = puppet->connections.take();
        ASSERT_TRUE(connection);
        // Invalidated by the client as soon as its reply was there.
        EXPECT_TRUE(eventually([&] { return connection->expired(); }));
    }
    EXPECT_EQ(puppet->connections.count(), 0u);
}

TEST_F(PuppetClient, DataAndErrorTogetherGiveTheErrorAlone) {
    const NSError error(QStringLiteral("com.velmora.error"), 101);
    const auto [result, got] = reply(NSKeyedArchiver::archivedDataWithRootObject(QStringLiteral("x")), error);
    EXPECT_FALSE(result.isValid());
    EXPECT_EQ(got, error);
}

TEST_F(PuppetClient, EmptyDataWithoutAnErrorGivesNeither) {
    const auto [result, error] = reply(QByteArray(""), NSError());
    EXPECT_FALSE(result.isValid());
    EXPECT_TRUE(error.isNil());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(PuppetClient, NilDataWithoutAnErrorGivesNeither) {
    const auto [result, error] = reply(QByteArray(), NSError());
    EXPECT_FALSE(result.isValid());
    EXPECT_TRUE(error.isNil());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(PuppetClient, UndecodableDataIsLoggedAndGivesNeither) {
    const auto [result, error] = reply(QByteArray("no archive"), NSError());
    EXPECT_FALSE(result.isValid());
    EXPECT_TRUE(error.isNil());
    // The boot task's reply and the task's own.
    EXPECT_EQ(log.count(QStringLiteral("zxDataUnserialize: ")), 2);
}
