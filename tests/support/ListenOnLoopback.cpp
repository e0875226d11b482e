// SPDX-License-Identifier: MIT
#include "tests/support/ListenOnLoopback.h"

#include "platform/base/FileDescriptor.h"

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/// \param port  0 for any; then the one that was found
bool listenAt(int descriptor, int *port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(uint16_t(*port));
    socklen_t size = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    if (descriptor < 0 || ::bind(descriptor, generic, size) != 0 || ::listen(descriptor, 64) != 0 ||
        ::getsockname(descriptor, generic, &size) != 0)
        return false;
    *port = ntohs(address.sin_port);
    return true;
}

int newSocket() {
    return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

/// Whether the port is this process's for as long as it lives: tests that run beside it ask here first.
bool reserve(int port) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // An abstract name, which goes with the process.
    const int size =
        std::snprintf(address.sun_path + 1, sizeof address.sun_path - 1, "zr-test-port-%d", port);
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::bind(descriptor, reinterpret_cast<sockaddr *>(&address),
               socklen_t(offsetof(sockaddr_un, sun_path) + 1 + std::size_t(size))) == 0)
        return true;
    ::close(descriptor);
    return false;
}

} // namespace

int listenOnLoopback(int *port) {
    const int listener = newSocket();
    *port = 0;
    if (!listenAt(listener, port))
        throw std::runtime_error("cannot listen on loopback");
    return listener;
}

int freePort() {
    // Below the ports that the system gives to clients.
    constexpr int first = 10'000;
    constexpr int count = 20'000;
    static std::atomic<int> used{0};
    for (int attempt = 0; attempt < count; ++attempt) {
        int port = first + (int(::getpid()) + used++) % count;
        const zr::FileDescriptor listener(newSocket());
        if (reserve(port) && listenAt(listener.get(), &port))
            return port;
    }
    throw std::runtime_error("no port is free");
}
