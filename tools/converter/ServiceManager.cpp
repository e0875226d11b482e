// SPDX-License-Identifier: MIT
#include "tools/converter/ServiceManager.h"

#include "platform/base/FileDescriptor.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace zr;

std::vector<int> ServiceManager::sockets() {
    constexpr int first = 3;
    bool isNumber = false;
    const int count = qgetenv("LISTEN_FDS").toInt(&isNumber);
    const bool isOurs = isNumber && count > 0 && qgetenv("LISTEN_PID") == QByteArray::number(::getpid());
    std::vector<int> found;
    for (int descriptor = first; isOurs && descriptor < first + count; ++descriptor)
        if (::fcntl(descriptor, F_SETFD, FD_CLOEXEC) == 0)
            found.push_back(descriptor);
    // They are not for the services that this program starts.
    for (const char *name : {"LISTEN_FDS", "LISTEN_PID", "LISTEN_FDNAMES"})
        qunsetenv(name);
    return found;
}

void ServiceManager::notify(const QByteArray &state) {
    const QByteArray path = qgetenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    if (path.isEmpty() || path.size() >= qsizetype(sizeof address.sun_path))
        return;
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), address.sun_path);
    // A name that begins so is in the abstract space.
    if (path.startsWith('@'))
        address.sun_path[0] = '\0';
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ::sendto(socket.get(), state.constData(), std::size_t(state.size()), MSG_NOSIGNAL,
             reinterpret_cast<const sockaddr *>(&address),
             socklen_t(offsetof(sockaddr_un, sun_path) + std::size_t(path.size())));
}
