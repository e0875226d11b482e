// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Service/ZRXPCProtocol.h"

#include <QObject>
#include <QVariant>
#include <memory>
#include <mutex>

class NSXPCConnection;

/// The worker of a service: takes tasks from one connection, one after another, and replies to each once. Tasks run
/// on the connection's thread; those of different connections run at the same time.
///
/// A subclass overrides work() and has an invokable default constructor:
///
///     class Upper : public ZRXPCBaseWorker {
///         Q_OBJECT
///     public:
///         Q_INVOKABLE Upper() = default;
///         static void setupAsListener() { setupListener(&staticMetaObject); }
///         void work() override { doneWithResult((*this)[QStringLiteral("text")].toString().toUpper()); }
///     };
///
///     int main() { Upper::setupAsListener(); }
///
/// A task {"__boot": anything} only asks whether the service is up: it gets {"boot": "success"} without work().
class ZRXPCBaseWorker : public QObject, public ZRXPCProtocol {
    Q_OBJECT
    Q_PROPERTY(QVariant object READ object)

public:
    Q_INVOKABLE ZRXPCBaseWorker() = default;

    /// Makes this process the service: each connection gets a worker of the class. Does not return; see
    /// NSXPCListener::resume(). Main thread.
    static void setupListener(const QMetaObject *klass);
    /// The same with this class; subclasses have their own.
    static void setupAsListener() { setupListener(&staticMetaObject); }

    /// Runs a task on the calling thread, and has replied, with an error if need be, when it returns.
    ///
    /// What work() raises becomes an error reply. A task that is replied to twice raises std::bad_function_call,
    /// because its reply block is used up.
    void performWithData(const QByteArray &data, const Reply &block) override;

    /// The task's work: calls doneWithResult() or doneWithErrorMessage() exactly once before it returns.
    void work() override;

    /// The task in progress, decoded; nil if there was nothing to decode. Any thread.
    QVariant object() const;
    /// The task's value under the key; nil if it is missing or the null marker, or if the task is no dictionary.
    QVariant objectForKeyedSubscript(const QString &key) const;
    QVariant operator[](const QString &key) const { return objectForKeyedSubscript(key); }

    /// Replies with the result. One that can't be archived is logged, and the reply has neither result nor error.
    void doneWithResult(const QVariant &result);
    /// Replies with an error of domain "com.velmora.error", code 101 and the message, which is logged.
    /// \param cause  what led to it, for the error's user info under NSUnderlyingErrorKey; nil if nothing is known
    void doneWithErrorMessage(const QString &message, const NSError &cause = {});

    /// The connection that this worker serves; nil once that is gone. A task that takes long sets its hangup handler
    /// at the start of work(), to learn at once that the client has left. Any thread.
    std::shared_ptr<NSXPCConnection> xpcConnection() const;
    void setXpcConnection(const std::shared_ptr<NSXPCConnection> &connection);

private:
    void reply(const QByteArray &data, const NSError &error);
    Reply replyBlock() const;
    void setObject(const QVariant &object);

    mutable std::mutex m_mutex;
    QString m_uid;
    QVariant m_object;
    Reply m_block;
    std::weak_ptr<NSXPCConnection> m_xpcConnection;
};
