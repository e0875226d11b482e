// SPDX-License-Identifier: MIT
#include "tests/support/LoopbackServers.h"

#include "tests/support/ListenOnLoopback.h"

#include <QDir>
#include <QFile>
#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

bool accepts(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(uint16_t(port));
    const bool connected = ::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    ::close(fd);
    return connected;
}

void waitUntilItAccepts(ServerProcess &process, int port) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!process.exitCode() && std::chrono::steady_clock::now() < end) {
        if (accepts(port))
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    process.end();
    throw std::runtime_error("the server did not come up: " + process.said().toStdString());
}

void write(const QString &path, const QByteArray &content) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        throw std::runtime_error("cannot write " + path.toStdString());
}

QStringList words(const char *text) {
    return QString::fromLatin1(text).split(u' ');
}

constexpr const char *configuration = R"(
daemon off;
master_process off;
%USER%
error_log stderr crit;
pid %FOLDER%/pid;
events { worker_connections 256; }
http {
    log_format plain '$request_method $request_uri $server_protocol $status $connection';
    access_log %FOLDER%/access plain;
    client_body_temp_path %FOLDER%/body;
    proxy_temp_path %FOLDER%/proxy;
    fastcgi_temp_path %FOLDER%/fastcgi;
    uwsgi_temp_path %FOLDER%/uwsgi;
    scgi_temp_path %FOLDER%/scgi;
    types { text/plain txt; application/json json; text/xml xml; }
    default_type application/octet-stream;
    keepalive_requests 100000;
    lingering_close off;
    server {
        listen 127.0.0.1:%PORT% backlog=512;
        listen 127.0.0.1:%SECURE% ssl http2;
        ssl_certificate %FOLDER%/certificate.pem;
        ssl_certificate_key %FOLDER%/key.pem;
        root %FOLDER%/files;
        location / { gzip on; gzip_types *; gzip_min_length 100; }
        location = /large { gzip off; }
        location = /slow { alias %FOLDER%/files/large; limit_rate 64k; gzip off; }
        location /basic/ { auth_basic "the realm"; auth_basic_user_file %FOLDER%/passwords; alias %FOLDER%/files/; }
        location /basic/upload/ {
            auth_basic "the realm"; auth_basic_user_file %FOLDER%/passwords; alias %FOLDER%/files/;
            dav_methods PUT; client_max_body_size 0;
        }
        location /store/ { alias %FOLDER%/store/; dav_methods PUT DELETE; client_max_body_size 0; }
        location /moved-store/ { return 307 /store/; }
        location = /moved-upload { return 307 /basic/upload/uploaded; }
        location = /plain { default_type text/plain; return 200 "plain"; }
        location = /no-content { return 204; }
        location = /moved { return 302 /plain; }
    }
}
)";

} // namespace

NginxServer::NginxServer() : m_large(1 << 20, Qt::Uninitialized) {
    unsigned state = 1;
    for (char &c : m_large)
        c = char((state = state * 1664525 + 1013904223) >> 24);
    for (int i = 0; i < 5000; ++i)
        m_text += "line " + QByteArray::number(i % 10) + " of a text that packs well\n";
    const QDir folder(m_folder.path());
    if (!folder.mkpath(QStringLiteral("files")) || !folder.mkpath(QStringLiteral("store")))
        throw std::runtime_error("cannot make a folder");
    const auto file = [&](const char *name) {
        return folder.filePath(QStringLiteral("files/") + QString::fromLatin1(name));
    };
    write(file("small"), "small");
    write(file("empty"), "");
    write(file("large"), m_large);
    write(file("text.txt"), m_text);
    write(file("page.json"), "{\"list\": [1, 2.5, null], \"word\": \"caf\xc3\xa9\"}");
    write(file("feed.xml"), "<feed><entry id='1'>one</entry></feed>");
    write(file("latin1.txt"), "caf\xe9");
    write(folder.filePath(QStringLiteral("passwords")), "user:{PLAIN}secret\n");
    const QString key = folder.filePath(QStringLiteral("key.pem"));
    const QString output = folder.filePath(QStringLiteral("output"));
    m_process.start(QStringLiteral("openssl"),
                    words("req -x509 -newkey rsa:2048 -nodes -batch -days 30 -subj /CN=localhost -addext "
                          "subjectAltName=DNS:localhost,IP:127.0.0.1 -keyout") +
                        QStringList{key, QStringLiteral("-out"), authority()},
                    output);
    if (m_process.waitUntilItEnds() != 0)
        throw std::runtime_error("openssl: " + m_process.said().toStdString());
    m_port = freePort();
    m_securePort = freePort();
    QByteArray text = configuration;
    text.replace("%FOLDER%", m_folder.path().toUtf8())
        .replace("%PORT%", QByteArray::number(m_port))
        .replace("%SECURE%", QByteArray::number(m_securePort))
        // Root's server would change its user, which may not enter the test's folder.
        .replace("%USER%", ::geteuid() == 0 ? "user root;" : "");
    write(folder.filePath(QStringLiteral("nginx.conf")), text);
    m_process.start(QStringLiteral("/usr/sbin/nginx"),
                    {QStringLiteral("-p"), m_folder.path(), QStringLiteral("-e"), QStringLiteral("stderr"),
                     QStringLiteral("-c"), folder.filePath(QStringLiteral("nginx.conf"))},
                    output);
    waitUntilItAccepts(m_process, m_securePort);
}

QUrl NginxServer::url(const QString &path) const {
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path));
}

QUrl NginxServer::secureUrl(const QString &path, const QString &host) const {
    return QUrl(QStringLiteral("https://%1:%2%3").arg(host).arg(m_securePort).arg(path));
}

QList<QByteArray> NginxServer::accesses() const {
    QFile file(m_folder.filePath(QStringLiteral("access")));
    QList<QByteArray> lines;
    if (file.open(QIODevice::ReadOnly))
        lines = file.readAll().split('\n');
    if (!lines.isEmpty())
        lines.removeLast(); // What follows the last end of a line: nothing, or a line not whole yet.
    return lines;
}

QStringList NginxServer::stored() const {
    return QDir(m_folder.filePath(QStringLiteral("store"))).entryList(QDir::Files);
}

HttpbinServer::HttpbinServer() {
    m_port = freePort();
    m_process.start(
        QStringLiteral("/usr/bin/python3"),
        {QStringLiteral("-c"),
         QStringLiteral("from httpbin import app; app.run('127.0.0.1', %1, threaded=True)").arg(m_port)},
        m_folder.filePath(QStringLiteral("output")));
    waitUntilItAccepts(m_process, m_port);
}

QUrl HttpbinServer::url(const QString &path) const {
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path));
}

ScriptedServer::ScriptedServer(Script script)
    : m_script(std::move(script)), m_listener(listenOnLoopback(&m_port)), m_acceptor([this] { serve(); }) {
}

ScriptedServer::~ScriptedServer() {
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
    for (const int fd : m_open)
        ::close(fd);
}

QUrl ScriptedServer::url(const QString &path) const {
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path));
}

QList<QByteArray> ScriptedServer::requests() const {
    const std::lock_guard lock(m_mutex);
    return {m_requests.cbegin(), m_requests.cend()};
}

void ScriptedServer::serve() {
    for (;;) {
        const int fd = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0)
            return;
        const std::lock_guard lock(m_mutex);
        m_open.push_back(fd);
        m_threads.emplace_back([this, fd] {
            QByteArray request;
            char buffer[65536];
            const auto isWhole = [&] {
                const qsizetype head = request.indexOf("\r\n\r\n");
                if (head < 0)
                    return false;
                const QByteArray lower = request.left(head).toLower();
                const qsizetype at = lower.indexOf("\r\ncontent-length:");
                const qsizetype length =
                    at < 0 ? 0 : lower.mid(at + 17).split('\r').first().trimmed().toLongLong();
                return request.size() >= head + 4 + length;
            };
            while (!isWhole()) {
                const ssize_t count = ::recv(fd, buffer, sizeof buffer, 0);
                if (count <= 0)
                    return;
                request.append(buffer, count);
            }
            int number = 0;
            {
                const std::lock_guard inner(m_mutex);
                number = int(m_requests.size());
                m_requests.append(request);
            }
            const Answer answer = m_script(number, request);
            for (qsizetype sent = 0; sent < answer.bytes.size();) {
                const ssize_t count = ::send(fd, answer.bytes.constData() + sent,
                                             size_t(answer.bytes.size() - sent), MSG_NOSIGNAL);
                if (count <= 0)
                    return;
                sent += count;
            }
            // What else the client sends is waited for, so that it sees an orderly end.
            if (answer.closes)
                ::shutdown(fd, SHUT_WR);
            while (::recv(fd, buffer, sizeof buffer, 0) > 0) {
            }
        });
    }
}
