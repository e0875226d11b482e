// SPDX-License-Identifier: MIT
#include "tests/support/RabbitMQ.h"

#include "tests/support/ListenOnLoopback.h"
#include "tests/support/ProcessTree.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QUrlQuery>
#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const QString programs = QStringLiteral("/usr/lib/rabbitmq/bin/");

void write(const QString &path, const QByteArray &content) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        throw std::runtime_error("cannot write " + path.toStdString());
}

/// Whether a broker answers there: it does so with what it knows of the protocol.
bool answers(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const timeval limit{1, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(uint16_t(port));
    char answer = 0;
    const bool isThere = ::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 &&
                         ::send(fd, "AMQP\0\0\x09\x01", 8, MSG_NOSIGNAL) == 8 &&
                         ::recv(fd, &answer, 1, 0) == 1;
    ::close(fd);
    return isThere;
}

} // namespace

RabbitMQ::RabbitMQ(int count, Security security) : m_mapperPort(freePort()), m_security(security) {
    const QString cookie = m_folder.filePath(QStringLiteral(".erlang.cookie"));
    write(cookie, "COOKIE" + QByteArray::number(::getpid()));
    QFile::setPermissions(cookie, QFile::ReadOwner);
    write(m_folder.filePath(QStringLiteral("plugins")), "[].");
    if (security == Security::TLS)
        makeCertificate();
    // One that a node starts would outlive it.
    m_mapper.start(QStringLiteral("/usr/bin/epmd"),
                   {QStringLiteral("-address"), QStringLiteral("127.0.0.1"), QStringLiteral("-port"),
                    QString::number(m_mapperPort)},
                   m_folder.filePath(QStringLiteral("mapper")));
    for (int index = 0; index < count; ++index) {
        auto node = std::make_unique<Node>();
        node->port = freePort();
        node->securePort = freePort();
        node->distributionPort = freePort();
        node->folder = m_folder.filePath(QStringLiteral("r%1").arg(index));
        QDir().mkpath(node->folder);
        m_nodes.push_back(std::move(node));
    }
    for (int index = 0; index < count; ++index) {
        QByteArray text =
            "listeners.tcp.local = 127.0.0.1:" + QByteArray::number(m_nodes[std::size_t(index)]->port) +
            "\nlog.file.level = warning\ndisk_free_limit.absolute = 50MB\n"
            "vm_memory_high_watermark.absolute = 2GB\nraft.wal_max_size_bytes = 67108864\n"
            "cluster_partition_handling = ignore\ncluster_formation.peer_discovery_backend = "
            "classic_config\n";
        for (int peer = 0; peer < count; ++peer)
            text += QStringLiteral("cluster_formation.classic_config.nodes.%1 = r%1@localhost\n")
                        .arg(peer)
                        .toUtf8();
        if (security == Security::TLS)
            text += "listeners.ssl.local = 127.0.0.1:" +
                    QByteArray::number(m_nodes[std::size_t(index)]->securePort) +
                    "\nlisteners.ssl.other = 127.0.0.2:" +
                    QByteArray::number(m_nodes[std::size_t(index)]->securePort) +
                    "\nssl_options.cacertfile = " + authority().toUtf8() +
                    "\nssl_options.certfile = " + authority().toUtf8() +
                    "\nssl_options.keyfile = " + m_folder.filePath(QStringLiteral("key.pem")).toUtf8() + "\n";
        write(m_nodes[std::size_t(index)]->folder + QStringLiteral("/rabbitmq.conf"), text);
        start(index);
        // The first is there before the others look for it.
        if (index == 0)
            waitUntilItServes(0);
    }
    for (int index = 1; index < count; ++index)
        waitUntilItServes(index);
}

RabbitMQ::~RabbitMQ() {
    for (const auto &node : m_nodes)
        node->process.end(SIGKILL);
    m_mapper.end();
}

void RabbitMQ::makeCertificate() {
    ServerProcess process;
    process.start(
        QStringLiteral("openssl"),
        QStringLiteral("req -x509 -newkey rsa:2048 -nodes -batch -days 30 -subj /CN=localhost -addext "
                       "subjectAltName=DNS:localhost,IP:127.0.0.1 -keyout")
                .split(u' ') +
            QStringList{m_folder.filePath(QStringLiteral("key.pem")), QStringLiteral("-out"), authority()},
        m_folder.filePath(QStringLiteral("openssl")));
    if (process.waitUntilItEnds() != 0)
        throw std::runtime_error("openssl: " + process.said().toStdString());
}

QUrl RabbitMQ::url(int node) const {
    return QUrl(QStringLiteral("amqp://127.0.0.1:%1").arg(m_nodes[std::size_t(node)]->port));
}

QList<QUrl> RabbitMQ::urls(int first) const {
    QList<QUrl> urls;
    for (int index = 0; index < count(); ++index)
        urls.append(url((first + index) % count()));
    return urls;
}

QUrl RabbitMQ::secureUrl(const QString &host, const QString &authority) const {
    QUrl url(QStringLiteral("amqps://%1:%2").arg(host).arg(m_nodes[0]->securePort));
    if (!authority.isEmpty())
        url.setQuery(QUrlQuery({{QStringLiteral("cacertfile"), authority}}));
    return url;
}

QStringList RabbitMQ::environment(int index) const {
    const Node &node = *m_nodes[std::size_t(index)];
    const QString name = QStringLiteral("r%1@localhost").arg(index);
    return {QStringLiteral("HOME=") + m_folder.path(), QStringLiteral("ERL_EPMD_PORT=%1").arg(m_mapperPort),
            QStringLiteral("RABBITMQ_NODENAME=") + name,
            QStringLiteral("RABBITMQ_NODE_PORT=%1").arg(node.port),
            QStringLiteral("RABBITMQ_DIST_PORT=%1").arg(node.distributionPort),
            QStringLiteral("RABBITMQ_CONF_ENV_FILE=/dev/null"),
            QStringLiteral("RABBITMQ_CONFIG_FILE=%1/rabbitmq.conf").arg(node.folder),
            QStringLiteral("RABBITMQ_MNESIA_BASE=%1/data").arg(node.folder),
            QStringLiteral("RABBITMQ_LOG_BASE=%1/log").arg(node.folder),
            QStringLiteral("RABBITMQ_GENERATED_CONFIG_DIR=%1/generated").arg(node.folder),
            QStringLiteral("RABBITMQ_PID_FILE=%1/pid").arg(node.folder),
            QStringLiteral("RABBITMQ_ENABLED_PLUGINS_FILE=%1/plugins").arg(m_folder.path()),
            QStringLiteral("RABBITMQ_SERVER_ADDITIONAL_ERL_ARGS=-start_epmd false +S 1:1 +sbwt none"),
            // As under systemd the script becomes the node, so that a signal to the child reaches that.
            QStringLiteral("NOTIFY_SOCKET=/nowhere")};
}

void RabbitMQ::start(int index) {
    Node &node = *m_nodes[std::size_t(index)];
    node.process.start(QStringLiteral("/usr/bin/env"),
                       environment(index) + QStringList{programs + QStringLiteral("rabbitmq-server")},
                       node.folder + QStringLiteral("/output"));
}

void RabbitMQ::waitUntilItServes(int index) {
    Node &node = *m_nodes[std::size_t(index)];
    const bool isUp = ProcessTree::waitUntil([&] { return node.process.exitCode() || answers(node.port); },
                                             std::chrono::seconds(120));
    if (!isUp || node.process.exitCode())
        throw std::runtime_error("the broker did not come up: " + node.process.said().toStdString());
}

void RabbitMQ::kill(int node) {
    m_nodes[std::size_t(node)]->process.end(SIGKILL);
}

void RabbitMQ::beginRestart(int node) {
    start(node);
}

void RabbitMQ::restart(int node) {
    start(node);
    waitUntilItServes(node);
}

bool RabbitMQ::serves(int node) const {
    return answers(m_nodes[std::size_t(node)]->port);
}

void RabbitMQ::signal(int node, int number) {
    m_nodes[std::size_t(node)]->process.signal(number);
}

QByteArray RabbitMQ::control(const QStringList &arguments, int node) const {
    const QTemporaryDir folder;
    ServerProcess process;
    process.start(QStringLiteral("/usr/bin/env"),
                  environment(node) +
                      QStringList{programs + QStringLiteral("rabbitmqctl"), QStringLiteral("-q")} + arguments,
                  folder.filePath(QStringLiteral("output")));
    if (process.waitUntilItEnds() != 0)
        throw std::runtime_error("rabbitmqctl: " + process.said().toStdString());
    return process.said();
}

QMap<QString, int> RabbitMQ::queues(int node) const {
    QMap<QString, int> queues;
    const QByteArray said = control({QStringLiteral("list_queues"), QStringLiteral("--no-table-headers"),
                                     QStringLiteral("name"), QStringLiteral("messages")},
                                    node);
    for (const QByteArray &line : said.split('\n')) {
        const QList<QByteArray> words = line.split('\t');
        if (words.size() == 2)
            queues.insert(QString::fromUtf8(words[0]), words[1].toInt());
    }
    return queues;
}
