// SPDX-License-Identifier: MIT
#include "platform/base/WriteAll.h"
#include "platform/values/NSNull.h"
#include "platform/xpc/NSXPCServiceMonitor.h"
#include "platform/xpc/XPCActivator.h"
#include "platform/xpc/XPCCall.h"
#include "platform/xpc/XPCSocket.h"
#include "tests/platform/xpc/Support.h"
#include "tests/support/LogCapture.h"

#include <QDir>
#include <QFile>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <random>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>

using namespace zr;

namespace {

const QString serviceName = QStringLiteral("zr.test.service");

QString programFolder() {
    return QFile::symLinkTarget(QStringLiteral("/proc/self/exe")).section(QLatin1Char('/'), 0, -2);
}

QByteArray serviceProgram() {
    return QFile::encodeName(programFolder() + QStringLiteral("/XPCServices/zr.test.service"));
}

/// An instance name that no other test uses, so that each test has a process of its own.
QString freshName() {
    static int count = 0;
    return QStringLiteral("zr.test.service@%1-%2").arg(::getpid()).arg(++count);
}

/// Each test with a runtime folder that must be empty after it.
class Activation : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(runtime.entries(), QStringList()); }
    const RuntimeFolder runtime;
};

/// Whether the child still runs; leaves its status to waitStatus().
bool isRunning(pid_t child) {
    siginfo_t information{};
    return ::waitid(P_PID, id_t(child), &information, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           information.si_pid == 0;
}

} // namespace

TEST_F(Activation, TheFirstConnectionStartsTheServiceAndFurtherOnesUseIt) {
    const QString name = freshName();
    EXPECT_EQ(XPCActivator::shared().processIdentifier(name), 0);
    TestClient first(name);
    const pid_t pid = first.pid();
    EXPECT_GT(pid, 0);
    EXPECT_NE(pid, ::getpid());
    TestClient second(name);
    EXPECT_EQ(second.pid(), pid);
    EXPECT_EQ(XPCActivator::shared().processIdentifier(name), pid);
    EXPECT_EQ(first.connection->processIdentifier(), pid);
    EXPECT_EQ(first.connection->serviceName(), name);
}

TEST_F(Activation, AnotherInstanceIsAnotherProcessOfTheSameExecutable) {
    TestClient one(freshName());
    TestClient two(freshName());
    EXPECT_NE(one.pid(), two.pid());
    Inbox<QVariantMap> replies;
    two.proxy()->surroundings([&](const QVariantMap &map) { replies.put(map); });
    EXPECT_EQ(replies.take().value().value(QStringLiteral("program")).toByteArray(), serviceProgram());
}

TEST_F(Activation, TheServiceGetsItsSocketItsLifelineAndNothingElse) {
    // Descriptors of careless hosts must not reach the service.
    const zr::FileDescriptor careless(::open("/dev/zero", O_RDONLY));
    qputenv("LISTEN_FDS", "7");
    qputenv("NOTIFY_SOCKET", "/run/nowhere");
    TestClient client(freshName());
    Inbox<QVariantMap> replies;
    client.proxy()->surroundings([&](const QVariantMap &map) { replies.put(map); });
    const QVariantMap got = replies.take().value();
    qunsetenv("LISTEN_FDS");
    qunsetenv("NOTIFY_SOCKET");
    EXPECT_EQ(got.value(QStringLiteral("LISTEN_FDS")).toString(), QStringLiteral("1"));
    EXPECT_EQ(got.value(QStringLiteral("LISTEN_PID")).toString(),
              QString::number(got.value(QStringLiteral("pid")).toLongLong()));
    EXPECT_FALSE(got.value(QStringLiteral("NOTIFY_SOCKET")).toBool());
    EXPECT_EQ(got.value(QStringLiteral("session")), got.value(QStringLiteral("pid")));
    EXPECT_EQ(got.value(QStringLiteral("folder")).toString(), QStringLiteral("/"));
    const QString open = NSDescription(got.value(QStringLiteral("descriptors")));
    EXPECT_FALSE(open.contains(QStringLiteral("/dev/zero"))) << open.toStdString();
    const QStringList descriptors = got.value(QStringLiteral("descriptors")).toStringList();
    const auto target = [&](const QString &number) {
        for (const QString &each : descriptors) {
            if (each.startsWith(number + QLatin1Char(' ')))
                return each.section(QLatin1Char(' '), 1);
        }
        return QString();
    };
    EXPECT_TRUE(target(QStringLiteral("0")).contains(QStringLiteral("pipe:")));
    EXPECT_EQ(target(QStringLiteral("1")), QStringLiteral("/dev/null"));
    EXPECT_TRUE(target(QStringLiteral("3")).contains(QStringLiteral("socket:")));
}

TEST_F(Activation, AHostWithoutStandardDescriptorsStartsItsServiceToo) {
    HostProcess host(programFolder() + QStringLiteral("/zr_test_host"), {freshName()}, false,
                     HostProcess::Input::None);
    const pid_t service = host.readLine().toInt();
    EXPECT_GT(service, 0);
    host.kill();
    EXPECT_TRUE(hasEnded(service));
}

TEST_F(Activation, AKilledServiceInterruptsAndTheNextMessageStartsItAgain) {
    const QString name = freshName();
    TestClient client(name);
    const pid_t before = client.pid();
    ASSERT_GT(before, 0);
    client.proxy()->keep(client.toReplies());
    ASSERT_EQ(::kill(before, SIGKILL), 0);
    const auto error = client.errors.take();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), NSXPCConnectionInterrupted);
    EXPECT_TRUE(client.interruptions.take());
    EXPECT_EQ(client.replies.count(), 0u);
    EXPECT_EQ(client.invalidations.count(), 0u);
    const pid_t after = client.pid();
    EXPECT_GT(after, 0);
    EXPECT_NE(after, before);
    TestClient next(name);
    EXPECT_EQ(next.pid(), after);
}

TEST_F(Activation, AServiceThatDiesIsReapedAndNobodyElsesChildIs) {
    const pid_t other = ::fork();
    if (other == 0)
        ::_exit(7);
    const QString name = freshName();
    TestClient client(name);
    const pid_t pid = client.pid();
    client.proxy()->die(SIGTRAP);
    EXPECT_TRUE(client.interruptions.take());
    EXPECT_TRUE(eventually([&] { return ::kill(pid, 0) != 0 && errno == ESRCH; }));
    EXPECT_EQ(WEXITSTATUS(waitStatus(other)), 7);
}

TEST_F(Activation, ConnectionsThatWaitAtADyingServiceAreTold) {
    const QString name = freshName();
    TestClient first(name);
    const pid_t pid = first.pid();
    ASSERT_EQ(::kill(pid, SIGSTOP), 0);
    // The stopped service accepts nothing; these wait at its socket.
    std::vector<std::unique_ptr<TestClient>> waiting;
    for (int i = 0; i < 8; ++i) {
        waiting.push_back(std::make_unique<TestClient>(name));
        waiting.back()->proxy()->echo("x", waiting.back()->toReplies());
    }
    ASSERT_EQ(::kill(pid, SIGKILL), 0);
    for (const auto &client : waiting) {
        EXPECT_TRUE(client->errors.take());
        EXPECT_TRUE(client->interruptions.take());
        EXPECT_EQ(client->replies.count(), 0u);
        EXPECT_EQ(client->echo("again"), QByteArray("again"));
    }
}

TEST_F(Activation, MonitorsTellOfEachEnd) {
    const QString name = freshName();
    Inbox<NSXPCServiceMonitor::Exit> exits;
    NSXPCServiceMonitor monitor(name, [&](const NSXPCServiceMonitor::Exit &exit) { exits.put(exit); });
    const pid_t first = monitor.processIdentifier();
    ASSERT_GT(first, 0);
    ::kill(first, SIGKILL);
    auto exit = exits.take();
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->pid, first);
    EXPECT_EQ(exit->description(), QStringLiteral("killed by signal 9"));
    EXPECT_EQ(monitor.processIdentifier(), 0);

    TestClient client(name);
    const pid_t second = client.pid();
    EXPECT_EQ(monitor.processIdentifier(), second);
    client.proxy()->die(SIGTERM);
    exit = exits.take();
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->pid, second);
    EXPECT_EQ(exit->description(), QStringLiteral("exited with code 0"));
    EXPECT_EQ(exits.count(), 0u);
}

TEST_F(Activation, AMonitorMayEndItself) {
    Inbox<int> told;
    std::unique_ptr<NSXPCServiceMonitor> monitor;
    monitor = std::make_unique<NSXPCServiceMonitor>(freshName(), [&](const NSXPCServiceMonitor::Exit &) {
        monitor.reset();
        told.put(1);
    });
    ::kill(monitor->processIdentifier(), SIGKILL);
    EXPECT_TRUE(told.take());
}

TEST_F(Activation, AMonitorOfNothingTellsSo) {
    const LogCapture log;
    Inbox<NSXPCServiceMonitor::Exit> exits;
    const NSXPCServiceMonitor monitor(QStringLiteral("zr.test.absent"),
                                      [&](const NSXPCServiceMonitor::Exit &exit) { exits.put(exit); });
    const auto exit = exits.take();
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->pid, 0);
    EXPECT_EQ(exit->description(), QStringLiteral("gone"));
}

TEST_F(Activation, AServiceEndsWithItsHostHoweverThatEnds) {
    std::mt19937 random(30);
    std::vector<pid_t> services;
    for (int i = 0; i < 12; ++i) {
        HostProcess host(programFolder() + QStringLiteral("/zr_test_host"), {freshName()});
        // From before the service has started to the midst of its work.
        const int lines = int(random() % 6);
        for (int line = 0; line < lines; ++line)
            services.push_back(host.readLine().toInt());
    }
    EXPECT_EQ(std::count(services.begin(), services.end(), 0), 0);
    for (const pid_t pid : services)
        EXPECT_TRUE(hasEnded(pid)) << pid;
    EXPECT_TRUE(eventually([&] {
        const auto left = processesOf(serviceName);
        return std::none_of(left.begin(), left.end(), [](pid_t pid) { return !isRunning(pid); });
    }));
}

TEST_F(Activation, AServiceWhoseMainThreadIsBusyEndsWithItsHostToo) {
    HostProcess host(programFolder() + QStringLiteral("/zr_test_host"),
                     {freshName(), QStringLiteral("block")});
    const pid_t service = host.readLine().toInt();
    ASSERT_GT(service, 0);
    EXPECT_EQ(host.readLine(), QByteArray("blocked"));
    host.kill();
    EXPECT_TRUE(hasEnded(service));
}

TEST_F(Activation, SixteenClientsAtOnceMixUpNothing) {
    const QString name = freshName();
    constexpr int clients = 16;
    constexpr int messages = 250;
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int c = 0; c < clients; ++c) {
        threads.emplace_back([&, c] {
            TestClient client(name);
            std::mt19937 random(unsigned(c) + 1);
            std::vector<QByteArray> sent;
            for (int m = 0; m < messages; ++m) {
                const qsizetype length = m % 50 == 0 ? 400000 : qsizetype(random() % 2000);
                QByteArray body = QByteArray::number(c) + ' ' + QByteArray::number(m) + ' ';
                body.append(QByteArray(length, char(random())));
                sent.push_back(body);
                client.proxy()->echo(body, client.toReplies());
            }
            for (const QByteArray &body : sent)
                right += client.replies.take() == body;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(right, clients * messages);
}

TEST_F(Activation, ThreadsThatConnectAtOnceShareOneProcess) {
    const QString name = freshName();
    std::vector<std::thread> threads;
    Inbox<pid_t> pids;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            TestClient client(name);
            pids.put(client.pid());
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    const auto first = pids.take();
    ASSERT_GT(first.value_or(0), 0);
    for (int i = 1; i < 8; ++i)
        EXPECT_EQ(pids.take(), first);
}

TEST_F(Activation, AnExecutableThatCannotRunIsAnErrorAndNoZombie) {
    const LogCapture log;
    // Beside a host of our own, a "service" that the system refuses to execute.
    QTemporaryDir prefix;
    ASSERT_TRUE(QDir(prefix.path()).mkpath(QStringLiteral("bin/XPCServices")));
    const QString host = prefix.filePath(QStringLiteral("bin/host"));
    ASSERT_TRUE(QFile::copy(programFolder() + QStringLiteral("/zr_test_host"), host));
    QFile service(prefix.filePath(QStringLiteral("bin/XPCServices/zr.test.broken")));
    ASSERT_TRUE(service.open(QIODevice::WriteOnly));
    service.write("\177ELF, but not quite");
    service.close();
    service.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    HostProcess process(host, {QStringLiteral("zr.test.broken")}, true);
    EXPECT_TRUE(process.readLine().contains("Exec format error"));
    QFile list(QStringLiteral("/proc/%1/task/%1/children").arg(process.pid()));
    ASSERT_TRUE(list.open(QIODevice::ReadOnly));
    EXPECT_EQ(list.readAll(), QByteArray());
}

TEST_F(Activation, TheServiceIsFoundInThePrefixOfItsHost) {
    QTemporaryDir prefix;
    ASSERT_TRUE(QDir(prefix.path()).mkpath(QStringLiteral("bin")));
    ASSERT_TRUE(QDir(prefix.path()).mkpath(QStringLiteral("libexec/zrkit")));
    const QString host = prefix.filePath(QStringLiteral("bin/host"));
    ASSERT_TRUE(QFile::copy(programFolder() + QStringLiteral("/zr_test_host"), host));
    ASSERT_TRUE(QFile::copy(QFile::decodeName(serviceProgram()),
                            prefix.filePath(QStringLiteral("libexec/zrkit/zr.test.prefixed"))));
    HostProcess process(host, {QStringLiteral("zr.test.prefixed")});
    const pid_t pid = process.readLine().toInt();
    EXPECT_EQ(QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(pid)),
              prefix.filePath(QStringLiteral("libexec/zrkit/zr.test.prefixed")));
    process.kill();
    EXPECT_TRUE(hasEnded(pid));
}

// MARK: Socket units

TEST_F(Activation, ASocketUnitsSocketGoesFirst) {
    const QString name = freshName();
    const QString path = runtime.path() + QLatin1Char('/') + name + QStringLiteral(".sock");
    zr::FileDescriptor socket = listenAt(path);
    const pid_t unit = startLikeSystemd(serviceProgram(), socket);
    {
        TestClient client(name);
        EXPECT_EQ(client.pid(), unit);
        EXPECT_EQ(client.connection->processIdentifier(), 0);
        EXPECT_EQ(XPCActivator::shared().processIdentifier(name), 0);
    }
    ::kill(unit, SIGTERM);
    EXPECT_EQ(waitStatus(unit), 0);
    socket.reset();
    // A socket file that nobody listens at any more is passed over.
    TestClient client(name);
    EXPECT_GT(client.pid(), 0);
    EXPECT_GT(client.connection->processIdentifier(), 0);
    QFile::remove(path);
}

TEST_F(Activation, AUnitsServiceDoesNotDependOnItsStandardInput) {
    const QString name = freshName();
    const QString path = runtime.path() + QLatin1Char('/') + name + QStringLiteral(".sock");
    const zr::FileDescriptor socket = listenAt(path);
    const pid_t unit = startLikeSystemd(serviceProgram(), socket);
    TestClient client(name);
    EXPECT_EQ(client.pid(), unit);
    EXPECT_EQ(client.echo("alive"), QByteArray("alive"));
    EXPECT_TRUE(isRunning(unit));
    ::kill(unit, SIGKILL);
    waitStatus(unit);
    QFile::remove(path);
}

TEST_F(Activation, AMonitorTellsOfAUnitsServiceToo) {
    const QString name = freshName();
    const QString path = runtime.path() + QLatin1Char('/') + name + QStringLiteral(".sock");
    const zr::FileDescriptor socket = listenAt(path);
    const pid_t unit = startLikeSystemd(serviceProgram(), socket);
    Inbox<NSXPCServiceMonitor::Exit> exits;
    const NSXPCServiceMonitor monitor(name, [&](const NSXPCServiceMonitor::Exit &exit) { exits.put(exit); });
    EXPECT_EQ(monitor.processIdentifier(), 0);
    TestClient client(name);
    EXPECT_EQ(client.pid(), unit);
    ::kill(unit, SIGKILL);
    waitStatus(unit);
    const auto exit = exits.take();
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->pid, 0);
    EXPECT_EQ(exit->description(), QStringLiteral("gone"));
    QFile::remove(path);
}

TEST_F(Activation, ATerminatedServiceServesThoseWhoWaitAndLeaves) {
    const QString name = freshName();
    const QString path = runtime.path() + QLatin1Char('/') + name + QStringLiteral(".sock");
    const zr::FileDescriptor socket = listenAt(path);
    const pid_t unit = startLikeSystemd(serviceProgram(), socket);
    const QTemporaryDir folder;
    const QString flag = folder.filePath(QStringLiteral("flag"));
    TestClient busy(name);
    ASSERT_EQ(busy.pid(), unit);
    busy.proxy()->replyWhenThere(flag, busy.toReplies());
    // Its worker is busy, its listener asleep: these are still waiting when the signal comes.
    ASSERT_EQ(::kill(unit, SIGSTOP), 0);
    std::vector<std::unique_ptr<TestClient>> waiting;
    for (int i = 0; i < 8; ++i) {
        waiting.push_back(std::make_unique<TestClient>(name));
        waiting.back()->proxy()->echo(QByteArray(500000, 'w'), waiting.back()->toReplies());
    }
    ASSERT_EQ(::kill(unit, SIGTERM), 0);
    ASSERT_EQ(::kill(unit, SIGCONT), 0);
    for (const auto &client : waiting)
        EXPECT_EQ(client->replies.take(), QByteArray(500000, 'w'));
    EXPECT_TRUE(isRunning(unit));
    QFile(flag).open(QIODevice::WriteOnly);
    EXPECT_EQ(busy.replies.take(), QByteArray("there"));
    EXPECT_EQ(waitStatus(unit), 0);
    EXPECT_TRUE(busy.interruptions.take());
    QFile::remove(path);
}

TEST_F(Activation, HalfOpenFramesDoNotKeepATerminatedService) {
    const QString name = freshName();
    const QString path = runtime.path() + QLatin1Char('/') + name + QStringLiteral(".sock");
    const zr::FileDescriptor socket = listenAt(path);
    const pid_t unit = startLikeSystemd(serviceProgram(), socket);
    const zr::FileDescriptor silent = XPCConnect(QFile::encodeName(path));
    const zr::FileDescriptor halfOpen = XPCConnect(QFile::encodeName(path));
    ASSERT_EQ(::write(halfOpen.get(), "ZRXP\1\1", 6), 6);
    TestClient client(name);
    ASSERT_EQ(client.pid(), unit);
    ::kill(unit, SIGTERM);
    EXPECT_EQ(waitStatus(unit), 0);
    QFile::remove(path);
}

TEST_F(Activation, AClientThatTakesNothingOfItsReplyDoesNotKeepATerminatedService) {
    const QString name = freshName();
    const QString path = runtime.path() + QLatin1Char('/') + name + QStringLiteral(".sock");
    const zr::FileDescriptor socket = listenAt(path);
    const pid_t unit = startLikeSystemd(serviceProgram(), socket);
    const zr::FileDescriptor client = XPCConnect(QFile::encodeName(path));
    XPCCall call;
    call.selector = QStringLiteral("echo:reply:");
    call.values = {QByteArray(8 << 20, 'r')};
    const XPCFrame frame = call.frame(XPCFrame::Kind::Message, 1);
    ASSERT_FALSE(writeAll(client.get(), frame.prologue() + frame.archive + frame.segments[0]));
    // The service has begun to reply, with more than the socket holds.
    pollfd reply{client.get(), POLLIN, 0};
    ASSERT_EQ(::poll(&reply, 1, int(std::chrono::milliseconds(deadline).count())), 1);
    const auto start = std::chrono::steady_clock::now();
    ::kill(unit, SIGTERM);
    EXPECT_EQ(waitStatus(unit), 0);
    EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    QFile::remove(path);
}

TEST_F(Activation, ASecondSignalEndsTheServiceAtOnce) {
    const QString name = freshName();
    const QString path = runtime.path() + QLatin1Char('/') + name + QStringLiteral(".sock");
    const zr::FileDescriptor socket = listenAt(path);
    const pid_t unit = startLikeSystemd(serviceProgram(), socket);
    TestClient client(name);
    ASSERT_EQ(client.pid(), unit);
    client.proxy()->keep(client.toReplies());
    client.proxy()->waitForHangup({});
    // Signals that are sent together may arrive as one.
    EXPECT_TRUE(eventually([&] {
        ::kill(unit, SIGTERM);
        return !isRunning(unit);
    }));
    EXPECT_EQ(waitStatus(unit), 0);
    EXPECT_TRUE(client.errors.take());
    QFile::remove(path);
}

TEST_F(Activation, AServiceWithoutASocketSaysSoAndEnds) {
    const zr::FileDescriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(WEXITSTATUS(waitStatus(startLikeSystemd(serviceProgram(), nothing))), 1);
    const XPCPrivateSocket socket = XPCPrivateSocket::make();
    EXPECT_EQ(WEXITSTATUS(
                  waitStatus(startLikeSystemd(serviceProgram(), socket.listening, {.rightProcess = false}))),
              1);
    EXPECT_EQ(WEXITSTATUS(waitStatus(startLikeSystemd(serviceProgram(), socket.listening, {.count = 0}))), 1);
}
