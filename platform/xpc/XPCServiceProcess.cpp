// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCServiceProcess.h"

#include "platform/xpc/XPCThread.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>

using namespace zr;

namespace {

constexpr int firstPassedDescriptor = 3;

std::atomic<int> terminationDescriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free);

void onTermination(int) {
    const int before = errno;
    const int descriptor = terminationDescriptor.exchange(-1);
    if (descriptor < 0)
        ::_exit(0);
    const quint64 one = 1;
    if (::write(descriptor, &one, sizeof one) < 0)
        ::_exit(0);
    errno = before;
}

int option(int socket, int name) {
    int value = -1;
    socklen_t length = sizeof value;
    return ::getsockopt(socket, SOL_SOCKET, name, &value, &length) == 0 ? value : -1;
}

} // namespace

FileDescriptor zr::XPCServiceProcess::takeSocket(QString *error) {
    const int count = qEnvironmentVariableIntValue("LISTEN_FDS");
    if (qEnvironmentVariableIntValue("LISTEN_PID") != ::getpid() || count < 1) {
        *error = QStringLiteral("no socket was passed to this service: it is started by its clients or by "
                                "systemd, not by hand");
        return {};
    }
    for (int i = 0; i < count && ::fcntl(firstPassedDescriptor + i, F_SETFD, FD_CLOEXEC) == 0; ++i) {
    }
    if (option(firstPassedDescriptor, SO_ACCEPTCONN) != 1 ||
        option(firstPassedDescriptor, SO_DOMAIN) != AF_UNIX ||
        option(firstPassedDescriptor, SO_TYPE) != SOCK_STREAM) {
        *error = QStringLiteral("descriptor 3 is not a listening Unix stream socket");
        return {};
    }
    return FileDescriptor(firstPassedDescriptor);
}

void zr::XPCServiceProcess::watchLifeline() {
    const char *names = std::getenv("LISTEN_FDNAMES");
    struct stat input {};
    if (!names || std::strcmp(names, activatorName) != 0 || ::fstat(STDIN_FILENO, &input) != 0 ||
        !S_ISFIFO(input.st_mode))
        return;
    XPCThreadDetach("xpc-lifeline", [] {
        char byte = 0;
        ssize_t got = 0;
        do {
            got = ::read(STDIN_FILENO, &byte, 1);
        } while (got > 0 || (got < 0 && errno == EINTR));
        ::_exit(0);
    });
}

FileDescriptor zr::XPCServiceProcess::watchTermination() {
    FileDescriptor reader(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    terminationDescriptor = ::fcntl(reader.get(), F_DUPFD_CLOEXEC, 0);
    struct sigaction action {};
    action.sa_handler = onTermination;
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
    return reader;
}
