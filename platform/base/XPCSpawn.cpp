// SPDX-License-Identifier: MIT
#include "platform/base/XPCSpawn.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <string_view>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <vector>

// The C library's clone() under its other name: thread sanitizers take the first one for a fork, but this
// child shares our memory.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" int __clone(int (*)(void *), void *, int, void *, ...) noexcept;

namespace {

/// All that the child needs, made before it exists: it shares this process's memory until it executes.
struct Plan {
    const char *executable = nullptr;
    char *const *arguments = nullptr;
    char *const *environment = nullptr;
    char *processIdentifier = nullptr;
    int input = -1;
    int output = -1;
    int socket = -1;
    int lastSignal = 0;
    volatile int failure = 0;
};

#define ZR_UNINSTRUMENTED                                                                                    \
    __attribute__((no_sanitize("address"), no_sanitize("thread"), no_sanitize("undefined")))

/// The kernel's own form of a signal's handling, so that no library function runs in the child.
struct KernelAction {
    void (*handler)(int) = SIG_DFL;
    unsigned long flags = 0;
    void (*restorer)() = nullptr;
    unsigned long mask = 0;
};

/// Runs in the child, on its own stack but in the parent's memory: system calls only.
ZR_UNINSTRUMENTED int runChild(void *argument) {
    auto *plan = static_cast<Plan *>(argument);
    KernelAction action;
    for (int signal = 1; signal <= plan->lastSignal; ++signal)
        ::syscall(SYS_rt_sigaction, signal, &action, nullptr, sizeof(unsigned long));
    unsigned long mask = 0;
    ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, &mask, nullptr, sizeof mask);

    long pid = ::syscall(SYS_getpid);
    char *end = plan->processIdentifier;
    for (long rest = pid; rest; rest /= 10)
        ++end;
    for (*end = 0; pid; pid /= 10)
        *--end = char('0' + pid % 10);

    ::syscall(SYS_setsid);
    // Out of the way first: any of them may sit where another belongs.
    const long input = ::syscall(SYS_fcntl, plan->input, F_DUPFD_CLOEXEC, 10);
    const long output = ::syscall(SYS_fcntl, plan->output, F_DUPFD_CLOEXEC, 10);
    const long socket = ::syscall(SYS_fcntl, plan->socket, F_DUPFD_CLOEXEC, 10);
    bool good = input >= 0 && output >= 0 && socket >= 0;
    if (good && ::syscall(SYS_fcntl, 2, F_GETFD) < 0)
        good = ::syscall(SYS_dup3, output, 2, 0) >= 0;
    good = good && ::syscall(SYS_dup3, input, 0, 0) >= 0 && ::syscall(SYS_dup3, output, 1, 0) >= 0 &&
           ::syscall(SYS_dup3, socket, 3, 0) >= 0 && ::syscall(SYS_close_range, 4, UINT_MAX, 0) == 0 &&
           ::syscall(SYS_chdir, "/") == 0;
    if (good)
        ::syscall(SYS_execve, plan->executable, plan->arguments, plan->environment);
    plan->failure = errno;
    ::syscall(SYS_exit_group, 127);
    __builtin_unreachable();
}

constexpr std::string_view processIdentifierVariable = "LISTEN_PID=";

std::vector<QByteArray> makeEnvironment() {
    std::vector<QByteArray> strings;
    for (char **variable = environ; variable && *variable; ++variable) {
        const std::string_view text(*variable);
        if (!text.starts_with("LISTEN_") && !text.starts_with("NOTIFY_SOCKET="))
            strings.emplace_back(*variable);
    }
    strings.emplace_back("LISTEN_FDS=1");
    strings.emplace_back(QByteArray("LISTEN_FDNAMES=") + XPCActivatorSocketName);
    strings.emplace_back(QByteArray(processIdentifierVariable.data()) + QByteArray(20, '\0'));
    return strings;
}

} // namespace

XPCSpawned XPCSpawn(const QByteArray &executable, int listeningSocket) {
    XPCSpawned spawned;
    std::array<int, 2> lifeline{-1, -1};
    if (::pipe2(lifeline.data(), O_CLOEXEC) != 0) {
        spawned.failure = errno;
        return spawned;
    }
    const zr::FileDescriptor input(lifeline[0]);
    spawned.lifeline.reset(lifeline[1]);
    const zr::FileDescriptor nowhere(::open("/dev/null", O_RDWR | O_CLOEXEC));

    QByteArray name = executable;
    std::vector<QByteArray> strings = makeEnvironment();
    std::vector<char *> environment;
    environment.reserve(strings.size() + 1);
    for (QByteArray &text : strings)
        environment.push_back(text.data());
    environment.push_back(nullptr);
    const std::array<char *, 2> arguments{name.data(), nullptr};

    Plan plan;
    plan.executable = name.constData();
    plan.arguments = arguments.data();
    plan.environment = environment.data();
    plan.processIdentifier = strings.back().data() + processIdentifierVariable.size();
    plan.input = input.get();
    plan.output = nowhere.get();
    plan.socket = listeningSocket;
    plan.lastSignal = SIGRTMAX;

    constexpr std::size_t stackLength = std::size_t(64) << 10;
    void *stack =
        ::mmap(nullptr, stackLength, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (stack == MAP_FAILED) {
        spawned.failure = errno;
        return spawned;
    }
    // No handler of the host may run in the child while it shares our memory.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    int process = -1;
    const pid_t pid = __clone(runChild, static_cast<char *>(stack) + stackLength,
                              CLONE_VM | CLONE_VFORK | CLONE_PIDFD | SIGCHLD, &plan, &process);
    const int failure = errno;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ::munmap(stack, stackLength);

    if (pid < 0) {
        spawned.failure = failure;
        return spawned;
    }
    spawned.pid = pid;
    spawned.process.reset(process);
    spawned.failure = plan.failure;
    return spawned;
}
