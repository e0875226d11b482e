// SPDX-License-Identifier: MIT
//
// zrkit-keeper BROWSER [ARGUMENTS...]: starts a browser and sees to it that nothing of it is left.
//
// Descriptors 3 and 4 are the browser's command and reply pipes; 5 is a socket that its owner keeps open. The browser's
// process id is written to it, and each byte that comes from there goes back, as a sign of life. When its other end
// closes, for whatever reason, every process below this one is killed. The same happens when the browser ends by itself.
// Should this process be killed, the browser's parent-death signal ends it. Only libc is used, so that it starts in less
// than a millisecond.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int commandFd = 3;
constexpr int replyFd = 4;
constexpr int lifelineFd = 5;
constexpr int afterLastFd = 6;

constexpr int terminalSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTSTP, SIGTTIN, SIGTTOU, SIGPIPE};

[[noreturn]] void becomeBrowser(pid_t keeper, char **command) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // The keeper may have died before the signal was asked for.
    if (getppid() != keeper)
        _exit(1);
    setpgid(0, 0);
    close(lifelineFd);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int number : terminalSignals)
        signal(number, SIG_DFL);
    execv(command[0], command);
    _exit(127);
}

void killChildren() {
    char path[64];
    snprintf(path, sizeof path, "/proc/self/task/%d/children", int(getpid()));
    FILE *list = fopen(path, "re");
    if (!list)
        return;
    int child = 0;
    while (fscanf(list, "%d", &child) == 1)
        kill(child, SIGKILL);
    fclose(list);
}

/// Kills until no child is left: as a subreaper this process inherits what its children leave behind.
void killEverything() {
    for (;;) {
        killChildren();
        const pid_t ended = waitpid(-1, nullptr, WNOHANG);
        if (ended < 0)
            return;
        if (ended == 0)
            poll(nullptr, 0, 1);
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2)
        return 2;
    // A session of its own: nothing typed on the owner's terminal reaches the browser.
    setsid();
    for (const int number : terminalSignals)
        signal(number, SIG_IGN);
    syscall(SYS_close_range, afterLastFd, ~0U, 0);
    fcntl(lifelineFd, F_SETFD, FD_CLOEXEC);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    prctl(PR_SET_NAME, "zrkit-keeper");

    sigset_t watched;
    sigemptyset(&watched);
    sigaddset(&watched, SIGCHLD);
    sigaddset(&watched, SIGTERM);
    sigprocmask(SIG_BLOCK, &watched, nullptr);
    const int signals = signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK);

    const pid_t self = getpid();
    const pid_t browser = fork();
    if (browser < 0)
        return 1;
    if (browser == 0)
        becomeBrowser(self, argv + 1);
    setpgid(browser, browser);
    // The browser alone holds its pipes, so that their ends tell of its death.
    close(commandFd);
    close(replyFd);
    if (write(lifelineFd, &browser, sizeof browser) != ssize_t(sizeof browser)) {
        killEverything();
        return 1;
    }

    for (bool running = true; running;) {
        pollfd watch[] = {{lifelineFd, POLLIN, 0}, {signals, POLLIN, 0}};
        if (poll(watch, 2, -1) < 0)
            continue;
        char question = 0;
        if (watch[0].revents && (read(lifelineFd, &question, 1) != 1 || write(lifelineFd, &question, 1) != 1))
            break;
        signalfd_siginfo info{};
        while (read(signals, &info, sizeof info) == ssize_t(sizeof info))
            running = running && info.ssi_signo != SIGTERM;
        int status = 0;
        for (pid_t ended; (ended = waitpid(-1, &status, WNOHANG)) != 0;) {
            if (ended < 0 || ended == browser) {
                running = false;
                break;
            }
        }
    }
    killEverything();
    return 0;
}
