// SPDX-License-Identifier: MIT
#include "bench/soak/SoakServer.h"

#include "bench/soak/Corpus.h"

#include <QTcpSocket>

using namespace Qt::StringLiterals;

namespace {

void answer(QTcpSocket *socket) {
    const QByteArray request = socket->peek(1 << 16);
    if (!request.contains("\r\n\r\n"))
        return;
    const QByteArray path = request.split(' ').value(1);
    if (path == "/silent")
        return;
    socket->readAll();
    QByteArray type = "text/html; charset=utf-8", body;
    if (path.endsWith(".css")) {
        type = "text/css";
        body = "p{color:green;border:1px solid}";
    } else if (path.endsWith(".svg")) {
        type = "image/svg+xml";
        body = "<svg xmlns='http://www.w3.org/2000/svg' width='40' height='40'><circle r='20' "
               "fill='red'/></svg>";
    } else {
        const QByteArray number = path.mid(1);
        body = "<!doctype html><link rel=stylesheet href=" + number + ".css><p>" +
               Document::mark(number.toInt()).toLatin1() + "<img src=" + number + ".svg>";
    }
    socket->write("HTTP/1.1 200 OK\r\nContent-Type: " + type + "\r\nContent-Length: " +
                  QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
    socket->disconnectFromHost();
}

} // namespace

SoakServer::SoakServer() {
    listen(QHostAddress::LocalHost);
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *const socket = nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, socket, [socket] { answer(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
}

QString SoakServer::address() const {
    return u"http://127.0.0.1:%1/"_s.arg(serverPort());
}
