// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf/LoopbackServer.h"

#include "tests/support/ListenOnLoopback.h"

#include <array>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

LoopbackServer::LoopbackServer(std::function<QByteArray(const QByteArray &)> page)
    : m_page(std::move(page)), m_listener(listenOnLoopback(&m_port)), m_stop(::eventfd(0, EFD_CLOEXEC)) {
    m_thread = std::thread([this] { serve(); });
}

LoopbackServer::~LoopbackServer() {
    const std::uint64_t one = 1;
    (void)!::write(m_stop, &one, sizeof one);
    m_thread.join();
    ::close(m_listener);
    ::close(m_stop);
}

QByteArray LoopbackServer::url(const QByteArray &path) const {
    return "http://127.0.0.1:" + QByteArray::number(m_port) + path;
}

void LoopbackServer::serve() {
    struct Connection {
        int socket;
        QByteArray request;
        bool answered = false;
    };
    std::vector<Connection> connections;
    for (;;) {
        std::vector<pollfd> ends{{m_stop, POLLIN, 0}, {m_listener, POLLIN, 0}};
        for (const Connection &connection : connections)
            ends.push_back({connection.socket, POLLIN, 0});
        if (::poll(ends.data(), ends.size(), -1) < 0)
            continue;
        if (ends[0].revents)
            break;
        for (std::size_t index = connections.size(); index-- > 0;) {
            Connection &connection = connections[index];
            if (!ends[index + 2].revents)
                continue;
            std::array<char, 4096> part{};
            const ssize_t count = ::read(connection.socket, part.data(), part.size());
            if (count <= 0) {
                ::close(connection.socket);
                connections.erase(connections.begin() + std::ptrdiff_t(index));
                continue;
            }
            connection.request.append(part.data(), count);
            if (connection.answered || !connection.request.contains("\r\n\r\n"))
                continue;
            connection.answered = true;
            const QByteArray body = m_page ? m_page(connection.request.split(' ').value(1)) : QByteArray();
            if (body.isNull()) {
                ++m_waiting;
                continue;
            }
            const QByteArray answer = "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\n"
                                      "Content-Length: " +
                                      QByteArray::number(body.size()) + "\r\n\r\n" + body;
            (void)!::send(connection.socket, answer.constData(), std::size_t(answer.size()), MSG_NOSIGNAL);
            ::shutdown(connection.socket, SHUT_WR);
        }
        if (ends[1].revents)
            connections.push_back({::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC), {}, false});
    }
    for (const Connection &connection : connections)
        ::close(connection.socket);
}
