// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ServerProcess.h"

#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>
#include <memory>
#include <vector>

/// A RabbitMQ cluster on loopback until destroyed, with a folder, ports, a cookie and a port mapper of its own; whatever ends
/// the test ends it too. A start takes some seconds, so the cases of a program share one.
class RabbitMQ {
public:
    enum class Security { None, TLS };

    /// \param count  how many nodes; they find one another
    explicit RabbitMQ(int count = 1, Security security = Security::None);
    ~RabbitMQ();
    RabbitMQ(const RabbitMQ &) = delete;
    RabbitMQ &operator=(const RabbitMQ &) = delete;

    QUrl url(int node = 0) const;
    /// All nodes', that of the given one first.
    QList<QUrl> urls(int first = 0) const;
    /// The same over TLS, on 127.0.0.1 and 127.0.0.2, with a certificate made out to "localhost" and the former.
    QUrl secureUrl(const QString &host, const QString &authority) const;
    /// The authority that signed it, as a file.
    QString authority() const { return m_folder.filePath(QStringLiteral("certificate.pem")); }
    int count() const { return int(m_nodes.size()); }

    /// Ends a node by SIGKILL.
    void kill(int node);
    /// Starts it again and waits until it serves.
    void restart(int node);
    /// Starts it again without waiting.
    void beginRestart(int node);
    bool serves(int node) const;
    /// Sends a node a signal, such as SIGSTOP.
    void signal(int node, int number);

    /// What rabbitmqctl prints on standard output. Throws std::runtime_error if it fails.
    QByteArray control(const QStringList &arguments, int node = 0) const;
    /// The queues that there are, with the number of messages, ready and delivered, in each.
    QMap<QString, int> queues(int node = 0) const;

private:
    struct Node {
        int port = 0;
        int securePort = 0;
        int distributionPort = 0;
        QString folder;
        ServerProcess process;
    };

    QStringList environment(int node) const;
    void start(int node);
    void waitUntilItServes(int node);
    void makeCertificate();

    QTemporaryDir m_folder;
    int m_mapperPort = 0;
    ServerProcess m_mapper;
    const Security m_security;
    std::vector<std::unique_ptr<Node>> m_nodes;
};
