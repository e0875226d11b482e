// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf-serve/HTTPConnection.h"

#include <QJsonDocument>
#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

QJsonObject HTTPConnection::Answer::problem() const {
    return header.value("content-type") == "application/problem+json" ? QJsonDocument::fromJson(body).object()
                                                                      : QJsonObject();
}

QByteArray HTTPConnection::Answer::code() const {
    return problem().value(QLatin1StringView("code")).toString().toLatin1();
}

HTTPConnection::HTTPConnection(const QByteArray &path)
    : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), address.sun_path);
    if (::connect(m_socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        m_socket.reset();
}

HTTPConnection::HTTPConnection(int port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(std::uint16_t(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(m_socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        m_socket.reset();
}

bool HTTPConnection::send(const QByteArray &bytes) {
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t count =
            ::send(m_socket.get(), bytes.constData() + done, std::size_t(bytes.size() - done), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        done += count;
    }
    return true;
}

bool HTTPConnection::post(const QByteArray &target, const QByteArray &body, const QByteArray &header) {
    return send("POST " + target + " HTTP/1.1\r\nHost: localhost\r\n" + header +
                "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
}

bool HTTPConnection::get(const QByteArray &target, const QByteArray &header) {
    return send("GET " + target + " HTTP/1.1\r\nHost: localhost\r\n" + header + "\r\n");
}

bool HTTPConnection::readMore(std::chrono::steady_clock::time_point until) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
    pollfd poll{m_socket.get(), POLLIN, 0};
    if (left.count() <= 0 || ::poll(&poll, 1, int(left.count())) <= 0)
        return false;
    std::array<char, 65536> part{};
    const ssize_t count = ::recv(m_socket.get(), part.data(), part.size(), 0);
    m_read.append(part.data(), std::max<ssize_t>(count, 0));
    return count > 0;
}

HTTPConnection::Answer HTTPConnection::answer(bool hasBody, std::chrono::milliseconds time) {
    const auto until = std::chrono::steady_clock::now() + time;
    // A connection that ends is an answer of its own; one that says nothing isn't.
    const auto none = [&] {
        EXPECT_LT(std::chrono::steady_clock::now(), until) << "no answer in time";
        return Answer();
    };
    qsizetype end = -1;
    while ((end = m_read.indexOf("\r\n\r\n")) < 0)
        if (!readMore(until))
            return none();
    Answer answer;
    for (const QByteArray &line : m_read.left(end).split('\n')) {
        const qsizetype colon = line.indexOf(':');
        if (line.startsWith("HTTP/"))
            answer.status = line.split(' ').value(1).toInt();
        else if (colon > 0)
            answer.header.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
    }
    m_read.remove(0, end + 4);
    if (answer.status == 100)
        return this->answer(hasBody, time);
    const qsizetype size = hasBody ? answer.header.value("content-length").toLongLong() : 0;
    while (m_read.size() < size)
        if (!readMore(until))
            return none();
    answer.body = m_read.left(size);
    m_read.remove(0, size);
    return answer;
}

bool HTTPConnection::isClosed(std::chrono::milliseconds time) {
    const auto until = std::chrono::steady_clock::now() + time;
    while (readMore(until))
        continue;
    return std::chrono::steady_clock::now() < until;
}
