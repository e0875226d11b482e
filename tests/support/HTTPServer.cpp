// SPDX-License-Identifier: MIT
#include "tests/support/HTTPServer.h"

#include "tests/support/Gate.h"
#include "tests/support/ListenOnLoopback.h"

#include <algorithm>
#include <sys/socket.h>
#include <unistd.h>

HTTPServer::HTTPServer(Handler handler)
    : m_handler(std::move(handler)), m_listener(listenOnLoopback(&m_port)) {
    m_acceptor = std::thread([this] { accept(); });
}

HTTPServer::HTTPServer(Handler handler, int listener, int port)
    : m_handler(std::move(handler)), m_port(port), m_listener(listener) {
    m_acceptor = std::thread([this] { accept(); });
}

HTTPServer::~HTTPServer() {
    ::shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    ::close(m_listener);
    {
        const std::lock_guard lock(m_mutex);
        for (const int fd : m_open)
            ::shutdown(fd, SHUT_RDWR);
    }
    for (std::thread &thread : m_threads)
        thread.join();
}

QUrl HTTPServer::url(const QString &path, const QString &host) const {
    return QUrl(QStringLiteral("http://%1:%2%3").arg(host).arg(m_port).arg(path));
}

QList<HTTPServer::Request> HTTPServer::requests() const {
    const std::lock_guard lock(m_mutex);
    // A list of its own: one that was shared would be let go of outside the lock.
    return {m_requests.cbegin(), m_requests.cend()};
}

int HTTPServer::count(const QByteArray &path) const {
    const QList<Request> all = requests();
    return int(std::count_if(all.cbegin(), all.cend(),
                             [&](const Request &request) { return request.path == path; }));
}

void HTTPServer::accept() {
    for (;;) {
        const int fd = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0)
            return;
        const int connection = ++m_connections;
        const std::lock_guard lock(m_mutex);
        m_open.push_back(fd);
        m_threads.emplace_back([this, fd, connection] { serve(fd, connection); });
    }
}

void HTTPServer::serve(int fd, int connection) {
    while (answer(fd, connection)) {
    }
    const std::lock_guard lock(m_mutex);
    std::erase(m_open, fd);
    ::close(fd);
}

bool HTTPServer::answer(int fd, int connection) {
    QByteArray text;
    char buffer[4096];
    while (!text.contains("\r\n\r\n")) {
        const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n <= 0)
            return false;
        text.append(buffer, n);
    }
    Request request;
    const QList<QByteArray> lines = text.left(text.indexOf("\r\n\r\n")).split('\n');
    const QList<QByteArray> first = lines.front().trimmed().split(' ');
    request.method = first.value(0);
    request.path = first.value(1);
    request.connection = connection;
    for (const QByteArray &line : lines.sliced(1))
        request.headers.insert(line.left(line.indexOf(':')).toLower(),
                               line.mid(line.indexOf(':') + 1).trimmed());
    const Response response = m_handler(request);
    {
        const std::lock_guard lock(m_mutex);
        m_requests.append(request);
    }
    if (response.gate)
        response.gate->pass();
    QByteArray answer = "HTTP/1.1 " + QByteArray::number(response.status) +
                        " Status\r\nContent-Length: " + QByteArray::number(response.body.size()) +
                        "\r\nConnection: " + (response.keepsConnection ? "keep-alive" : "close") + "\r\n";
    if (!response.contentType.isEmpty())
        answer += "Content-Type: " + response.contentType + "\r\n";
    for (const QByteArray &header : response.headers)
        answer += header + "\r\n";
    answer += "\r\n";
    answer += response.fault == Fault::CutBody ? response.body.left(response.body.size() / 2) : response.body;
    if (response.fault == Fault::CloseUnanswered)
        answer.clear();
    for (qsizetype sent = 0; sent < answer.size();) {
        const ssize_t n = ::send(fd, answer.constData() + sent, size_t(answer.size() - sent), MSG_NOSIGNAL);
        if (n <= 0)
            return false;
        sent += n;
    }
    return response.keepsConnection && response.fault == Fault::None;
}
