// SPDX-License-Identifier: MIT
#pragma once

#include "platform/xpc/NSXPCConnection.h"
#include "platform/xpc/NSXPCListener.h"
#include "tests/platform/xpc/TestProtocol.h"

#include <QStringList>
#include <mutex>
#include <thread>
#include <vector>

/// Serves one connection of a test.
class TestWorker : public QObject, public TestProtocol {
    Q_OBJECT
public:
    void echo(const QByteArray &data, const DataReply &reply) override;
    void describe(const QString &text, qint64 number, bool flag, double real, const QVariant &any,
                  const NSError &error, const ValuesReply &reply) override;
    void note(const QString &text) override;
    void processIdentifier(const NumberReply &reply) override;
    void keep(const DataReply &reply) override;
    void drop(const DataReply &) override {}
    void replyTwice(const DataReply &reply) override;
    void raise(const QString &reason, const DataReply &reply) override;
    void die(qint64 signal) override;
    void waitForHangup(const QString &path) override;
    void blockMainThread(const DataReply &reply) override;
    void surroundings(const ValuesReply &reply) override;
    void replyWhenThere(const QString &path, const DataReply &reply) override;

    QStringList notes() const;
    std::vector<std::thread::id> threads() const;
    std::weak_ptr<NSXPCConnection> connection;

private:
    mutable std::mutex m_mutex;
    QStringList m_notes;
    std::vector<std::thread::id> m_threads;
    std::vector<DataReply> m_kept;
};

/// Gives each connection a worker of its own.
class TestDelegate : public NSXPCListenerDelegate {
public:
    bool listenerShouldAcceptNewConnection(NSXPCListener *listener,
                                           const std::shared_ptr<NSXPCConnection> &connection) override;
    std::vector<std::weak_ptr<TestWorker>> workers() const;

private:
    mutable std::mutex m_mutex;
    std::vector<std::weak_ptr<TestWorker>> m_workers;
};
