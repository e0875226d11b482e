// SPDX-License-Identifier: MIT
#include "tests/platform/xpc/TestWorker.h"

#include "platform/base/NSException.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <condition_variable>
#include <csignal>
#include <sys/inotify.h>
#include <unistd.h>

void TestWorker::echo(const QByteArray &data, const DataReply &reply) {
    reply(data);
}

void TestWorker::describe(const QString &text, qint64 number, bool flag, double real, const QVariant &any,
                          const NSError &error, const ValuesReply &reply) {
    reply({{QStringLiteral("text"), text},
           {QStringLiteral("textIsNil"), text.isNull()},
           {QStringLiteral("number"), number},
           {QStringLiteral("flag"), flag},
           {QStringLiteral("real"), real},
           {QStringLiteral("any"), any},
           {QStringLiteral("error"), QVariant::fromValue(error)}});
}

void TestWorker::note(const QString &text) {
    const std::lock_guard lock(m_mutex);
    m_notes.append(text);
    m_threads.push_back(std::this_thread::get_id());
}

void TestWorker::processIdentifier(const NumberReply &reply) {
    reply(::getpid());
}

void TestWorker::keep(const DataReply &reply) {
    const std::lock_guard lock(m_mutex);
    m_kept.push_back(reply);
}

void TestWorker::replyTwice(const DataReply &reply) {
    reply("first");
    reply("second");
}

void TestWorker::raise(const QString &reason, const DataReply &) {
    throw NSException(NSInvalidArgumentException, reason);
}

void TestWorker::die(qint64 signal) {
    ::kill(::getpid(), int(signal));
}

void TestWorker::waitForHangup(const QString &path) {
    std::mutex mutex;
    std::condition_variable changed;
    bool gone = false;
    connection.lock()->setHangupHandler([&] {
        const std::lock_guard lock(mutex);
        gone = true;
        changed.notify_one();
    });
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return gone; });
    if (!path.isEmpty())
        QFile(path).open(QIODevice::WriteOnly);
}

void TestWorker::blockMainThread(const DataReply &reply) {
    QMetaObject::invokeMethod(
        qApp,
        [reply] {
            reply("blocked");
            for (;;)
                ::pause();
        },
        Qt::QueuedConnection);
}

void TestWorker::surroundings(const ValuesReply &reply) {
    QVariantList descriptors;
    for (const QString &name :
         QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System)) {
        const QString target = QFile::symLinkTarget(QStringLiteral("/proc/self/fd/") + name);
        descriptors.append(name + QLatin1Char(' ') + target);
    }
    reply({{QStringLiteral("LISTEN_FDS"), qEnvironmentVariable("LISTEN_FDS")},
           {QStringLiteral("LISTEN_PID"), qEnvironmentVariable("LISTEN_PID")},
           {QStringLiteral("NOTIFY_SOCKET"), qEnvironmentVariableIsSet("NOTIFY_SOCKET")},
           {QStringLiteral("pid"), qlonglong(::getpid())},
           {QStringLiteral("session"), qlonglong(::getsid(0))},
           {QStringLiteral("descriptors"), descriptors},
           {QStringLiteral("program"), QFile::symLinkTarget(QStringLiteral("/proc/self/exe"))},
           {QStringLiteral("folder"), QDir::currentPath()}});
}

void TestWorker::replyWhenThere(const QString &path, const DataReply &reply) {
    const int watch = ::inotify_init1(IN_CLOEXEC);
    ::inotify_add_watch(watch, QFile::encodeName(QFileInfo(path).path()).constData(), IN_CREATE);
    while (!QFile::exists(path)) {
        char events[4096];
        if (::read(watch, events, sizeof events) < 0)
            break;
    }
    ::close(watch);
    reply("there");
}

QStringList TestWorker::notes() const {
    const std::lock_guard lock(m_mutex);
    return m_notes;
}

std::vector<std::thread::id> TestWorker::threads() const {
    const std::lock_guard lock(m_mutex);
    return m_threads;
}

bool TestDelegate::listenerShouldAcceptNewConnection(NSXPCListener *,
                                                     const std::shared_ptr<NSXPCConnection> &connection) {
    const auto worker = std::make_shared<TestWorker>();
    worker->connection = connection;
    connection->setExportedInterface(NSXPCInterface::interfaceWithProtocol<TestProtocol>());
    connection->setExportedObject(worker);
    connection->resume();
    const std::lock_guard lock(m_mutex);
    m_workers.push_back(worker);
    return true;
}

std::vector<std::weak_ptr<TestWorker>> TestDelegate::workers() const {
    const std::lock_guard lock(m_mutex);
    return m_workers;
}
