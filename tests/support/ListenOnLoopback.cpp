// SPDX-License-Identifier: MIT
#include "tests/support/ListenOnLoopback.h"

#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>

int listenOnLoopback(int *port) {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    if (listener < 0 || ::bind(listener, generic, size) != 0 || ::listen(listener, 64) != 0 ||
        ::getsockname(listener, generic, &size) != 0)
        throw std::runtime_error("cannot listen on loopback");
    *port = ntohs(address.sin_port);
    return listener;
}
