// SPDX-License-Identifier: MIT
#include "platform/base/ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace zr;

namespace {

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        reader.reset(ends[0]);
        writer.reset(ends[1]);
    }
    FileDescriptor reader;
    FileDescriptor writer;
};

/// What the shell's command writes, after its end; its wait status goes into `status`.
QByteArray outputOf(const char *script, ChildProcess::Plan plan = {}, int *status = nullptr) {
    Pipe output;
    plan.executable = "/bin/sh";
    plan.arguments = {"-c", script};
    plan.descriptors.insert(plan.descriptors.begin(), {-1, output.writer.get(), -1});
    const ChildProcess child = ChildProcess::start(plan);
    EXPECT_GT(child.pid, 0);
    EXPECT_EQ(child.failure, 0);
    output.writer.reset();
    QByteArray text;
    std::array<char, 4096> part{};
    for (ssize_t count = 0; (count = ::read(output.reader.get(), part.data(), part.size())) > 0;)
        text.append(part.data(), count);
    pollfd ended{child.process.get(), POLLIN, 0};
    EXPECT_EQ(::poll(&ended, 1, 30'000), 1);
    int code = 0;
    EXPECT_EQ(::waitpid(child.pid, &code, 0), child.pid);
    if (status)
        *status = code;
    return text;
}

} // namespace

TEST(ChildProcess, RunsAProgramAndTellsOfItsEnd) {
    int status = 0;
    EXPECT_EQ(outputOf("echo $0 $#; exit 3", {}, &status), QByteArray("/bin/sh 0\n"));
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

TEST(ChildProcess, GetsTheDescriptorsItIsGivenAndNoOthers) {
    Pipe extra;
    // As careless hosts have them: not closed by executing, and some sitting in one another's places.
    const FileDescriptor careless(::fcntl(extra.reader.get(), F_DUPFD, 60));
    ASSERT_EQ(::write(extra.writer.get(), "hello", 5), 5);
    extra.writer.reset();
    ChildProcess::Plan plan;
    plan.descriptors = {-1, careless.get()};
    EXPECT_EQ(
        outputOf("cat <&4; for n in $(seq 0 99); do test -e /proc/$$/fd/$n && printf ' %s' $n; done", plan),
        QByteArray("hello 0 1 2 3 4"));
}

TEST(ChildProcess, DescriptorsMayTakeEachOthersPlaces) {
    Pipe first;
    Pipe second;
    ASSERT_EQ(::write(first.writer.get(), "1", 1), 1);
    ASSERT_EQ(::write(second.writer.get(), "2", 1), 1);
    const int before = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10);
    ASSERT_EQ(::dup2(first.reader.get(), STDIN_FILENO), STDIN_FILENO);
    ChildProcess::Plan plan;
    plan.descriptors = {STDIN_FILENO, second.reader.get(), STDIN_FILENO};
    first.writer.reset();
    second.writer.reset();
    EXPECT_EQ(outputOf("cat <&4; cat <&3; cat <&0", plan), QByteArray("21"));
    ::dup2(before, STDIN_FILENO);
    ::close(before);
}

TEST(ChildProcess, GetsThisProcessesEnvironmentWithoutWhatActivatedIt) {
    ::setenv("LISTEN_FDS", "3", 1);
    ::setenv("NOTIFY_SOCKET", "/nowhere", 1);
    ::setenv("ZR_KEPT", "kept", 1);
    EXPECT_EQ(outputOf("echo \"$LISTEN_FDS,$LISTEN_PID,$NOTIFY_SOCKET,$ZR_KEPT\""), QByteArray(",,,kept\n"));
    ChildProcess::Plan plan;
    plan.environment = {"LISTEN_FDS=1", "LISTEN_PID=", "ZR_KEPT=replaced"};
    EXPECT_EQ(outputOf("test $LISTEN_PID = $$ && echo $LISTEN_FDS $ZR_KEPT", plan),
              QByteArray("1 replaced\n"));
    ::unsetenv("LISTEN_FDS");
    ::unsetenv("NOTIFY_SOCKET");
    ::unsetenv("ZR_KEPT");
}

TEST(ChildProcess, HasASessionOfItsOwnTheRootFolderAndDefaultSignals) {
    const auto before = std::signal(SIGUSR1, SIG_IGN);
    sigset_t blocked;
    sigset_t mask;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGUSR1);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &mask);
    int status = 0;
    EXPECT_EQ(
        outputOf(
            "read -r pid name state parent group session rest </proc/$$/stat; test $session = $$ && pwd; "
            "kill -USR1 $$; echo survived",
            {}, &status),
        QByteArray("/\n"));
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGUSR1);
    ::pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    std::signal(SIGUSR1, before);
}

TEST(ChildProcess, WhatCannotBeExecutedIsAnErrorNumber) {
    ChildProcess::Plan plan;
    plan.executable = "/no/such/program";
    plan.descriptors = {-1, -1, -1};
    const ChildProcess child = ChildProcess::start(plan);
    EXPECT_EQ(child.failure, ENOENT);
    EXPECT_EQ(::waitpid(child.pid, nullptr, 0), child.pid);
    plan.executable = "/bin/sh";
    plan.descriptors = {1234567};
    const ChildProcess other = ChildProcess::start(plan);
    EXPECT_EQ(other.failure, EBADF);
    EXPECT_EQ(::waitpid(other.pid, nullptr, 0), other.pid);
}
