// SPDX-License-Identifier: MIT
#include "platform/browser/BrowserProcess.h"

#include "platform/browser/DevToolsSession.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessTree.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace zr;

namespace {

using std::chrono::milliseconds;

/// While it lives, whatever loses its parent below this process becomes this process's child, and none
/// escapes being counted.
class Orphanage {
public:
    Orphanage() { ::prctl(PR_SET_CHILD_SUBREAPER, 1); }
    ~Orphanage() { ::prctl(PR_SET_CHILD_SUBREAPER, 0); }
    bool becomesEmpty() {
        return ProcessTree::waitUntil([] {
            while (::waitpid(-1, nullptr, WNOHANG) > 0) {
            }
            return ProcessTree::below(::getpid()).empty();
        });
    }
};

/// A browser with a page, far enough to have all of its processes.
struct RunningBrowser {
    RunningBrowser()
        : process(BrowserProcess::start()), pipe(process->commandFd(), process->replyFd()), browser(pipe) {
        const QString target =
            browser.callAndWait("Target.createTarget", DevToolsParams().add("url", "about:blank"))
                .object()[u"targetId"]
                .toString();
        const QString session =
            browser
                .callAndWait("Target.attachToTarget",
                             DevToolsParams().add("targetId", target).add("flatten", true))
                .object()[u"sessionId"]
                .toString();
        page = std::make_unique<DevToolsSession>(pipe, session.toLatin1());
        EXPECT_FALSE(page->callAndWait("Page.enable").isError());
    }
    pid_t child(const char *argument) {
        for (const ProcessTree::Process &entry : ProcessTree::below(process->keeperPid())) {
            if (entry.command.find(argument) != std::string::npos)
                return entry.pid;
        }
        return -1;
    }
    std::unique_ptr<BrowserProcess> process;
    DevToolsPipe pipe;
    DevToolsSession browser;
    std::unique_ptr<DevToolsSession> page;
};

std::string readAll(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

/// Moments in a browser's life, from before it is started until it is there.
const std::vector<milliseconds> moments = {
    milliseconds(0),  milliseconds(1),  milliseconds(3),  milliseconds(7),  milliseconds(15),
    milliseconds(25), milliseconds(40), milliseconds(60), milliseconds(90), milliseconds(150)};

} // namespace

TEST(BrowserProcess, StartsTheProgramItselfAndNoScript) {
    QFile file(BrowserProcess::executable());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.read(4), QByteArray("\177ELF"));
}

TEST(BrowserProcess, NothingIsLeftOfItAtItsEnd) {
    Orphanage orphanage;
    {
        RunningBrowser running;
        EXPECT_GT(running.process->browserPid(), 1);
        EXPECT_GE(ProcessTree::below(running.process->keeperPid()).size(), 3u);
        running.process.reset();
        EXPECT_TRUE(ProcessTree::below(::getpid()).empty());
    }
    EXPECT_TRUE(orphanage.becomesEmpty());
}

TEST(BrowserProcess, HasASessionAndAGroupOfItsOwn) {
    RunningBrowser running;
    const pid_t keeper = running.process->keeperPid();
    EXPECT_EQ(::getsid(keeper), keeper);
    EXPECT_NE(::getsid(keeper), ::getsid(0));
    EXPECT_EQ(::getpgid(running.process->browserPid()), running.process->browserPid());
    // What a terminal sends to a whole group.
    for (const int number : {SIGINT, SIGHUP, SIGQUIT, SIGTSTP})
        ::kill(keeper, number);
    EXPECT_FALSE(running.page->callAndWait("Page.getFrameTree").isError());
}

TEST(BrowserProcess, IsGoneWhenItsOwnerIsKilledAtAnyMoment) {
    Orphanage orphanage;
    for (const milliseconds moment : moments) {
        int ready[2];
        ASSERT_EQ(::pipe(ready), 0);
        const pid_t owner = ::fork();
        if (owner == 0) {
            const std::unique_ptr<BrowserProcess> process = BrowserProcess::start();
            [[maybe_unused]] const ssize_t n = ::write(ready[1], "x", 1);
            for (;;)
                ::pause();
        }
        char byte;
        ASSERT_EQ(::read(ready[0], &byte, 1), 1);
        std::this_thread::sleep_for(moment);
        ::kill(owner, SIGKILL);
        EXPECT_TRUE(orphanage.becomesEmpty()) << moment.count() << " ms";
        ::close(ready[0]);
        ::close(ready[1]);
    }
}

TEST(BrowserProcess, IsGoneWhenItsKeeperIsKilledAtAnyMoment) {
    Orphanage orphanage;
    for (const milliseconds moment : moments) {
        std::unique_ptr<BrowserProcess> process = BrowserProcess::start();
        ASSERT_TRUE(process);
        std::this_thread::sleep_for(moment);
        ::kill(process->keeperPid(), SIGKILL);
        process.reset();
        EXPECT_TRUE(orphanage.becomesEmpty()) << moment.count() << " ms";
    }
}

TEST(BrowserProcess, IsGoneWhenOwnerAndKeeperAreKilledTogether) {
    Orphanage orphanage;
    for (const milliseconds moment : moments) {
        pid_t keeper = -1;
        int ready[2];
        ASSERT_EQ(::pipe(ready), 0);
        const pid_t owner = ::fork();
        if (owner == 0) {
            const std::unique_ptr<BrowserProcess> process = BrowserProcess::start();
            keeper = process ? process->keeperPid() : -1;
            [[maybe_unused]] const ssize_t n = ::write(ready[1], &keeper, sizeof keeper);
            for (;;)
                ::pause();
        }
        ASSERT_EQ(::read(ready[0], &keeper, sizeof keeper), ssize_t(sizeof keeper));
        std::this_thread::sleep_for(moment);
        ::kill(owner, SIGKILL);
        ::kill(keeper, SIGKILL);
        EXPECT_TRUE(orphanage.becomesEmpty()) << moment.count() << " ms";
        ::close(ready[0]);
        ::close(ready[1]);
    }
}

TEST(BrowserProcess, TheRestIsGoneWhenOneOfItsProcessesIsKilled) {
    Orphanage orphanage;
    for (const char *kind : {"", "--type=zygote", "--type=gpu-process"}) {
        RunningBrowser running;
        const pid_t victim = *kind ? running.child(kind) : running.process->browserPid();
        if (victim > 1)
            ::kill(victim, SIGKILL);
        if (!*kind) {
            EXPECT_TRUE(running.browser.callAndWait("Browser.getVersion").isError());
            // The keeper sees to the rest without being told.
            EXPECT_TRUE(orphanage.becomesEmpty());
        }
        running.process.reset();
        EXPECT_TRUE(orphanage.becomesEmpty()) << kind;
    }
}

TEST(BrowserProcess, AStoppedBrowserDoesNotHoldUpItsEnd) {
    Orphanage orphanage;
    for (const bool all : {false, true}) {
        RunningBrowser running;
        if (all) {
            for (const ProcessTree::Process &entry : ProcessTree::below(running.process->keeperPid()))
                ::kill(entry.pid, SIGSTOP);
        } else {
            ::kill(running.process->browserPid(), SIGSTOP);
        }
        running.process.reset();
        EXPECT_TRUE(orphanage.becomesEmpty());
    }
}

TEST(BrowserProcess, AStoppedKeeperDoesNotHoldUpItsEndForEver) {
    Orphanage orphanage;
    RunningBrowser running;
    ::kill(running.process->keeperPid(), SIGSTOP);
    running.process.reset();
    EXPECT_TRUE(orphanage.becomesEmpty());
}

TEST(BrowserProcess, WritesNothingToDiskAndLeavesNothingThere) {
    const QTemporaryDir home, temporary, runtime;
    const QByteArray oldHome = qgetenv("HOME"), oldRuntime = qgetenv("XDG_RUNTIME_DIR"),
                     oldTmp = qgetenv("TMPDIR");
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("TMPDIR", temporary.path().toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", runtime.path().toLocal8Bit());
    const auto entries = [](const QTemporaryDir &folder) {
        return QDir(folder.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    };
    {
        RunningBrowser running;
        EXPECT_FALSE(
            running.page->callAndWait("Page.navigate", DevToolsParams().add("url", "data:text/html,<p>x"))
                .isError());
        EXPECT_FALSE(running.page->callAndWait("Page.printToPDF").isError());
        for (const QTemporaryDir *folder : {&home, &temporary, &runtime})
            EXPECT_TRUE(entries(*folder).isEmpty()) << entries(*folder).join(u' ').toStdString();
        ::kill(running.process->browserPid(), SIGKILL);
    }
    for (const QTemporaryDir *folder : {&home, &temporary, &runtime})
        EXPECT_TRUE(entries(*folder).isEmpty()) << entries(*folder).join(u' ').toStdString();
    qputenv("HOME", oldHome);
    oldRuntime.isNull() ? qunsetenv("XDG_RUNTIME_DIR") : qputenv("XDG_RUNTIME_DIR", oldRuntime);
    oldTmp.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", oldTmp);
}

TEST(BrowserProcess, IsKeptUntilItsKeeperIsKilled) {
    RunningBrowser running;
    EXPECT_TRUE(running.process->isKept());
    EXPECT_TRUE(running.process->isKept());
    ::kill(running.process->keeperPid(), SIGKILL);
    EXPECT_FALSE(running.process->isKept());
    EXPECT_FALSE(running.process->isKept());
}

TEST(BrowserProcess, LeavesTheHostsSignalsAsTheyAre) {
    struct sigaction before {
    }, after{};
    struct sigaction ordinary {};
    ordinary.sa_handler = SIG_DFL;
    ::sigaction(SIGPIPE, &ordinary, &before);
    {
        RunningBrowser running;
        ::kill(running.process->browserPid(), SIGKILL);
        // Written to a pipe that nobody reads any more.
        for (int i = 0; i < 50; ++i)
            running.browser.call("Browser.getVersion");
        EXPECT_TRUE(running.browser.callAndWait("Browser.getVersion").isError());
        running.browser.call("Browser.getVersion");
    }
    ::sigaction(SIGPIPE, &before, &after);
    EXPECT_EQ(after.sa_handler, SIG_DFL);
}

TEST(BrowserProcess, OpensNoPort) {
    RunningBrowser running;
    for (const ProcessTree::Process &entry : ProcessTree::below(running.process->keeperPid())) {
        EXPECT_EQ(entry.command.find("remote-debugging-port"), std::string::npos);
        std::string inodes;
        const QDir fds(QStringLiteral("/proc/%1/fd").arg(entry.pid));
        for (const QString &fd : fds.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot))
            inodes += QFile::symLinkTarget(fds.filePath(fd)).toStdString() + "\n";
        for (const char *table : {"tcp", "tcp6"}) {
            const QList<QByteArray> lines =
                QByteArray::fromStdString(readAll(QStringLiteral("/proc/net/") + QLatin1StringView(table)))
                    .split('\n');
            for (const QByteArray &line : lines.sliced(1)) {
                const QList<QByteArray> columns = line.simplified().split(' ');
                // State 0A is LISTEN.
                if (columns.size() > 9 && columns[3] == "0A") {
                    EXPECT_EQ(inodes.find("socket:[" + columns[9].toStdString() + "]"), std::string::npos);
                }
            }
        }
    }
}

TEST(BrowserProcess, ItsSandboxIsOnExceptUnderRoot) {
    const LogCapture log;
    RunningBrowser running;
    const pid_t renderer = running.child("--type=renderer");
    ASSERT_GT(renderer, 1);
    const std::string status = readAll(QStringLiteral("/proc/%1/status").arg(renderer));
    const bool filtered = status.find("Seccomp:\t2") != std::string::npos;
    EXPECT_EQ(filtered, ::geteuid() != 0);
    EXPECT_EQ(BrowserProcess::arguments().contains(QStringLiteral("--no-sandbox")), ::geteuid() == 0);
    // Said once a process, which may have been by an earlier start.
    EXPECT_LE(log.count(QStringLiteral("The browser runs without its sandbox")), ::geteuid() == 0 ? 1 : 0);
}

TEST(BrowserProcess, KeepersWithoutABrowserEndAtOnce) {
    const QString keeper = QStringLiteral(ZR_BINARY_DIR "/libexec/zrkit/zrkit-keeper");
    for (const char *program : {"", "/no/such/browser"}) {
        int lifeline[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, lifeline), 0);
        const pid_t pid = ::fork();
        if (pid == 0) {
            ::dup2(lifeline[1], 5);
            if (*program)
                ::execl(keeper.toLocal8Bit().constData(), "zrkit-keeper", program, nullptr);
            else
                ::execl(keeper.toLocal8Bit().constData(), "zrkit-keeper", nullptr);
            ::_exit(99);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), *program ? 0 : 2);
        ::close(lifeline[0]);
        ::close(lifeline[1]);
    }
}
