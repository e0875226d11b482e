// SPDX-License-Identifier: MIT
#include "platform/base/ChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <string_view>
#include <sys/mman.h>
#include <sys/syscall.h>

// The C library's clone() under its other name: thread sanitizers take the first one for a fork, but this
// child shares our memory.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" int __clone(int (*)(void *), void *, int, void *, ...) noexcept;

using namespace zr;

namespace {

/// All that the child needs, made before it exists: it shares this process's memory until it executes.
struct Launch {
    const char *executable = nullptr;
    char *const *arguments = nullptr;
    char *const *environment = nullptr;
    char *processIdentifier = nullptr;
    int *descriptors = nullptr;
    int count = 0;
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
    auto *launch = static_cast<Launch *>(argument);
    KernelAction action;
    for (int signal = 1; signal <= launch->lastSignal; ++signal)
        ::syscall(SYS_rt_sigaction, signal, &action, nullptr, sizeof(unsigned long));
    unsigned long mask = 0;
    ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, &mask, nullptr, sizeof mask);

    if (char *end = launch->processIdentifier) {
        long pid = ::syscall(SYS_getpid);
        for (long rest = pid; rest; rest /= 10)
            ++end;
        for (*end = 0; pid; pid /= 10)
            *--end = char('0' + pid % 10);
    }
    ::syscall(SYS_setsid);
    // Out of the way first: any of them may sit where another belongs.
    bool good = true;
    for (int i = 0; good && i < launch->count; ++i) {
        launch->descriptors[i] =
            int(::syscall(SYS_fcntl, launch->descriptors[i], F_DUPFD_CLOEXEC, launch->count));
        good = launch->descriptors[i] >= 0;
    }
    for (int i = 0; good && i < launch->count; ++i)
        good = ::syscall(SYS_dup3, launch->descriptors[i], i, 0) >= 0;
    good =
        good && ::syscall(SYS_close_range, launch->count, UINT_MAX, 0) == 0 && ::syscall(SYS_chdir, "/") == 0;
    if (good)
        ::syscall(SYS_execve, launch->executable, launch->arguments, launch->environment);
    launch->failure = errno;
    ::syscall(SYS_exit_group, 127);
    __builtin_unreachable();
}

std::vector<QByteArray> environmentFor(const ChildProcess::Plan &plan) {
    std::vector<QByteArray> strings;
    const auto isPlanned = [&plan](const QByteArray &variable) {
        const QByteArray name = variable.left(variable.indexOf('=') + 1);
        return std::any_of(plan.environment.begin(), plan.environment.end(),
                           [&name](const QByteArray &each) { return each.startsWith(name); });
    };
    for (char **variable = environ; variable && *variable; ++variable) {
        const QByteArray text(*variable);
        if (!text.startsWith("LISTEN_") && !text.startsWith("NOTIFY_SOCKET=") && !isPlanned(text))
            strings.push_back(text);
    }
    strings.insert(strings.end(), plan.environment.begin(), plan.environment.end());
    return strings;
}

std::vector<char *> pointersTo(std::vector<QByteArray> &strings) {
    std::vector<char *> pointers;
    pointers.reserve(strings.size() + 1);
    for (QByteArray &text : strings)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

ChildProcess ChildProcess::start(const Plan &plan) {
    constexpr std::string_view identifierName = "LISTEN_PID=";
    std::vector<QByteArray> command{plan.executable};
    command.insert(command.end(), plan.arguments.begin(), plan.arguments.end());
    std::vector<QByteArray> environment = environmentFor(plan);
    Launch launch;
    for (QByteArray &variable : environment) {
        if (!variable.startsWith(QByteArrayView(identifierName)))
            continue;
        variable.resize(qsizetype(identifierName.size()) + 20);
        launch.processIdentifier = variable.data() + identifierName.size();
    }
    const FileDescriptor nowhere(::open("/dev/null", O_RDWR | O_CLOEXEC));
    std::vector<int> descriptors = plan.descriptors;
    for (int &descriptor : descriptors)
        descriptor = descriptor < 0 ? nowhere.get() : descriptor;
    const std::vector<char *> arguments = pointersTo(command);
    const std::vector<char *> variables = pointersTo(environment);
    launch.executable = arguments.front();
    launch.arguments = arguments.data();
    launch.environment = variables.data();
    launch.descriptors = descriptors.data();
    launch.count = int(descriptors.size());
    launch.lastSignal = SIGRTMAX;

    ChildProcess child;
    constexpr std::size_t stackLength = std::size_t(64) << 10;
    void *stack =
        ::mmap(nullptr, stackLength, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (stack == MAP_FAILED) {
        child.failure = errno;
        return child;
    }
    // No handler of the host may run in the child while it shares our memory.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    int process = -1;
    const pid_t pid = __clone(runChild, static_cast<char *>(stack) + stackLength,
                              CLONE_VM | CLONE_VFORK | CLONE_PIDFD | SIGCHLD, &launch, &process);
    child.failure = pid < 0 ? errno : launch.failure;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ::munmap(stack, stackLength);
    if (pid > 0) {
        child.pid = pid;
        child.process.reset(process);
    }
    return child;
}
