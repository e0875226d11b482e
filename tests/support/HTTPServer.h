// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QUrl>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class Gate;

/// An HTTP/1.1 server on loopback for tests, made of plain sockets: a thread a connection, which takes one
/// request unless an answer keeps it.
class HTTPServer {
public:
    struct Request {
        QByteArray method;
        QByteArray path;                      ///< with its query
        QMap<QByteArray, QByteArray> headers; ///< names in lower case
        int connection = 0;                   ///< counted from 1
    };
    /// How an answer goes wrong, if it does.
    enum class Fault {
        None,
        CloseUnanswered, ///< the connection ends without a byte
        CutBody,         ///< the connection ends in the middle of the body
    };
    struct Response {
        int status = 200;
        QByteArray contentType = "text/html; charset=utf-8";
        QByteArray body = {};
        QList<QByteArray> headers = {}; ///< whole lines without their ends
        Fault fault = Fault::None;
        Gate *gate = nullptr; ///< opened before the answer is sent
        bool keepsConnection = false;
    };
    using Handler = std::function<Response(const Request &)>;

    /// Serves until destroyed; the handler is called from several threads.
    explicit HTTPServer(Handler handler);
    /// Serves at a socket that listens, which it closes.
    HTTPServer(Handler handler, int listener, int port);
    ~HTTPServer();
    HTTPServer(const HTTPServer &) = delete;
    HTTPServer &operator=(const HTTPServer &) = delete;

    /// An address of this server; by default under its number, or under another name of the same host.
    QUrl url(const QString &path, const QString &host = QStringLiteral("127.0.0.1")) const;
    int port() const { return m_port; }
    /// What was asked for so far.
    QList<Request> requests() const;
    int count(const QByteArray &path) const;
    /// Connections that were made, whether or not they asked for anything.
    int connections() const { return m_connections; }

private:
    void accept();
    void serve(int fd, int connection);
    /// Takes one request; false when the connection is not kept for another.
    bool answer(int fd, int connection);

    const Handler m_handler;
    int m_port = 0;
    int m_listener = -1;
    std::atomic<int> m_connections = 0;
    mutable std::mutex m_mutex;
    QList<Request> m_requests;
    std::vector<std::thread> m_threads;
    std::vector<int> m_open;
    std::thread m_acceptor;
};
