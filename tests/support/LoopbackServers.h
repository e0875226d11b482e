// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ServerProcess.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>
#include <QUrl>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// nginx on loopback, with ports of its own, until destroyed.
///
///     /small, /large (1 MiB), /empty, /text.txt (packed if asked for), /page.json, /feed.xml,
///     /latin1.txt, /plain, /no-content, /moved (to /plain), /slow (/large at 64 KiB a second);
///     all files under /basic/ too, with the user "user" and the password "secret"; /basic/upload/NAME takes
///     a PUT and makes the file NAME, /moved-upload leads to /basic/upload/uploaded
///     files under /store/ can be put, read and deleted; /moved-store/ leads there
class NginxServer {
public:
    NginxServer();
    NginxServer(const NginxServer &) = delete;
    NginxServer &operator=(const NginxServer &) = delete;

    QUrl url(const QString &path) const;
    /// The same over TLS and HTTP/2, with a certificate made out to "localhost" and 127.0.0.1.
    QUrl secureUrl(const QString &path, const QString &host = QStringLiteral("127.0.0.1")) const;
    /// The authority that signed it, as a file.
    QString authority() const { return m_folder.filePath(QStringLiteral("certificate.pem")); }
    /// The lines of the access log: "METHOD path protocol status connection-number".
    QList<QByteArray> accesses() const;
    /// What is under /store/.
    QStringList stored() const;
    QByteArray large() const { return m_large; }
    QByteArray text() const { return m_text; }

private:
    QTemporaryDir m_folder;
    QByteArray m_large;
    QByteArray m_text;
    int m_port = 0;
    int m_securePort = 0;
    ServerProcess m_process;
};

/// httpbin on loopback, with a port of its own, until destroyed.
class HttpbinServer {
public:
    HttpbinServer();
    HttpbinServer(const HttpbinServer &) = delete;
    HttpbinServer &operator=(const HttpbinServer &) = delete;
    QUrl url(const QString &path) const;

private:
    QTemporaryDir m_folder;
    int m_port = 0;
    ServerProcess m_process;
};

/// A server that says exactly what a script tells it, byte by byte, and may then close or fall silent.
class ScriptedServer {
public:
    struct Answer {
        QByteArray bytes;
        /// Where false, the connection stays open and silent afterwards.
        bool closes = true;
    };
    /// Gives the answer to the request (head and body as they came) with that number, counted from 0.
    using Script = std::function<Answer(int number, const QByteArray &request)>;

    explicit ScriptedServer(Script script);
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer &) = delete;
    ScriptedServer &operator=(const ScriptedServer &) = delete;

    QUrl url(const QString &path = QStringLiteral("/")) const;
    QList<QByteArray> requests() const;

private:
    void serve();

    const Script m_script;
    int m_port = 0;
    int m_listener = -1;
    mutable std::mutex m_mutex;
    QList<QByteArray> m_requests;
    std::vector<int> m_open;
    std::vector<std::thread> m_threads;
    std::thread m_acceptor;
};
