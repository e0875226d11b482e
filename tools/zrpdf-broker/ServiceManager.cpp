// SPDX-License-Identifier: MIT
#include "tools/zrpdf-broker/ServiceManager.h"

#include "platform/base/FileDescriptor.h"

#include <algorithm>
#include <cstddef>
#include <sys/socket.h>
#include <sys/un.h>

void zr::notifyServiceManager(const QByteArray &state) {
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
