// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/ListenAddress.h"

#include "platform/base/ASCII.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstddef>
#include <netinet/in.h>
#include <sys/un.h>

using namespace zr;

namespace {

/// A port in decimal digits; 0 if it is none.
int portOf(const QByteArray &text) {
    const bool isNumber =
        !text.isEmpty() && text.size() <= 5 &&
        std::all_of(text.begin(), text.end(), [](char c) { return isASCIIDigit(uchar(c)); });
    const int port = isNumber ? text.toInt() : 0;
    return port <= 65535 ? port : 0;
}

} // namespace

std::optional<ListenAddress> ListenAddress::read(const QByteArray &text, QByteArray *problem) {
    const auto fail = [&](const QByteArray &why) -> std::optional<ListenAddress> {
        *problem = why;
        return {};
    };
    ListenAddress address;
    if (text.contains('/')) {
        auto *local = reinterpret_cast<sockaddr_un *>(&address.m_address);
        if (text.endsWith('/') || text.endsWith("/.") || text.endsWith("/.."))
            return fail("names a folder, not a socket");
        if (text.contains('\0') || text.size() >= qsizetype(sizeof local->sun_path))
            return fail("is longer than the " + QByteArray::number(qulonglong(sizeof local->sun_path - 1)) +
                        " bytes that a socket's path may have");
        local->sun_family = AF_UNIX;
        std::copy(text.begin(), text.end(), local->sun_path);
        address.m_path = text;
        address.m_size = sizeof(sockaddr_un);
        return address;
    }
    const qsizetype colon = text.lastIndexOf(':');
    const bool isBracketed = text.startsWith('[') && colon > 0 && text[colon - 1] == ']';
    if (colon < 1 || (text.indexOf(':') != colon && !isBracketed))
        return fail("is neither ADDRESS:PORT nor the path of a socket");
    const int port = portOf(text.mid(colon + 1));
    if (port == 0)
        return fail("has no port from 1 to 65535");
    if (isBracketed) {
        auto *six = reinterpret_cast<sockaddr_in6 *>(&address.m_address);
        six->sin6_family = AF_INET6;
        six->sin6_port = htons(std::uint16_t(port));
        address.m_size = sizeof *six;
        if (::inet_pton(AF_INET6, text.mid(1, colon - 2).constData(), &six->sin6_addr) == 1)
            return address;
        return fail("has no IPv6 address in its brackets");
    }
    auto *four = reinterpret_cast<sockaddr_in *>(&address.m_address);
    four->sin_family = AF_INET;
    four->sin_port = htons(std::uint16_t(port));
    address.m_size = sizeof *four;
    const QByteArray host = text.left(colon) == "localhost" ? QByteArray("127.0.0.1") : text.left(colon);
    if (::inet_pton(AF_INET, host.constData(), &four->sin_addr) == 1)
        return address;
    return fail("has no address in numbers (127.0.0.1, [::1]) before its port");
}

std::optional<ListenAddress> ListenAddress::inRuntimeFolder(QByteArray *problem) {
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    QByteArray reason = "is not set to an absolute path";
    std::optional<ListenAddress> address;
    if (folder.startsWith('/'))
        address = read(folder + "/zrpdf-serve.sock", &reason);
    if (!address)
        *problem = "there is no folder for the socket: XDG_RUNTIME_DIR " + reason + "; say --listen";
    return address;
}

bool ListenAddress::isLoopback(const sockaddr *address) {
    if (address->sa_family == AF_INET)
        return ntohl(reinterpret_cast<const sockaddr_in *>(address)->sin_addr.s_addr) >> 24 == 127;
    if (address->sa_family == AF_INET6)
        return IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<const sockaddr_in6 *>(address)->sin6_addr);
    return address->sa_family == AF_UNIX;
}

QByteArray ListenAddress::text(const sockaddr *address, socklen_t size) {
    std::array<char, INET6_ADDRSTRLEN> host{};
    if (address->sa_family == AF_INET) {
        const auto *four = reinterpret_cast<const sockaddr_in *>(address);
        ::inet_ntop(AF_INET, &four->sin_addr, host.data(), host.size());
        return QByteArray(host.data()) + ':' + QByteArray::number(ntohs(four->sin_port));
    }
    if (address->sa_family == AF_INET6) {
        const auto *six = reinterpret_cast<const sockaddr_in6 *>(address);
        ::inet_ntop(AF_INET6, &six->sin6_addr, host.data(), host.size());
        return '[' + QByteArray(host.data()) + "]:" + QByteArray::number(ntohs(six->sin6_port));
    }
    const auto *local = reinterpret_cast<const sockaddr_un *>(address);
    const qsizetype length = qsizetype(size) - qsizetype(offsetof(sockaddr_un, sun_path));
    const QByteArray path(local->sun_path,
                          qstrnlen(local->sun_path, std::size_t(std::max<qsizetype>(length, 0))));
    return path.isEmpty() ? QByteArray("a Unix socket") : path;
}
