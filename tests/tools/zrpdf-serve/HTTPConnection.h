// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"

#include <QByteArray>
#include <QJsonObject>
#include <QMap>
#include <chrono>

/// A client's connection, byte by byte: it sends what it is told to, however wrong that is.
class HTTPConnection {
public:
    struct Answer {
        int status = 0; ///< 0 if the connection ended before an answer
        QMap<QByteArray, QByteArray> header;
        QByteArray body;

        bool isPDF() const { return status == 200 && body.startsWith("%PDF-") && body.contains("%%EOF"); }
        QJsonObject problem() const;
        QByteArray code() const;
    };

    /// To a Unix socket, or to a port of 127.0.0.1.
    explicit HTTPConnection(const QByteArray &path);
    explicit HTTPConnection(int port);

    int descriptor() const { return m_socket.get(); }
    bool isConnected() const { return bool(m_socket); }
    /// False if the other side has closed the connection.
    bool send(const QByteArray &bytes);
    /// Sends a request with a body.
    bool post(const QByteArray &target, const QByteArray &body,
              const QByteArray &header = "Content-Type: text/html\r\n");
    bool get(const QByteArray &target, const QByteArray &header = {});
    /// The next answer with its body.
    Answer answer(bool hasBody = true, std::chrono::milliseconds time = std::chrono::seconds(30));
    /// Waits until the other side has closed the connection; what it sends before is dropped.
    bool isClosed(std::chrono::milliseconds time = std::chrono::seconds(30));
    void close() { m_socket.reset(); }

private:
    bool readMore(std::chrono::steady_clock::time_point until);

    zr::FileDescriptor m_socket;
    QByteArray m_read;
};
