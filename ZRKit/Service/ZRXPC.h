// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/operations/NSOperationQueue.h"

#include <QObject>
#include <QVariant>
#include <functional>
#include <memory>
#include <stop_token>

class ZRXPCOperation;
namespace zr {
class XPCClient;
}

/// The client of a service: sends it task objects and gives back their results.
///
///     ZRXPC client(QStringLiteral("com.velmora.zrpdf"));
///     const QVariant reply = client.performXPCWithObject(
///         QVariantMap{{QStringLiteral("data"), QStringLiteral("<h1>Hello</h1>")}});
///
/// Tasks run one at a time, in the order in which they were given, each on a connection of its own. There is no time
/// limit and no second try: if the service is lost during a task, that task never finishes, its caller waits for
/// ever, and so does every later one. Hosts that want to know watch the service with NSXPCServiceMonitor. All
/// operations may be called on any thread. A client may be destroyed at any time; its tasks then still run to their
/// end.
///
/// An error that comes back has the domain "com.velmora.error", the code 101 and a message; if the service knows the
/// cause, it is in the user info under NSUnderlyingErrorKey, an NSError.
class ZRXPC : public QObject {
    Q_OBJECT
    Q_PROPERTY(NSOperationQueue *operationQueue READ operationQueue)

public:
    /// Takes a task's result and its error; at most one of them isn't nil.
    using Block = std::function<void(const QVariant &result, const NSError &error)>;

    /// Queues a boot task at once, so that the service starts before the first real task.
    /// \param serviceName  as NSXPCConnection takes it
    explicit ZRXPC(const QString &serviceName);
    ~ZRXPC() override;

    /// Queues a task that only makes sure that the service runs.
    void performXPCBoot();

    /// Sends the task past the queue and returns at once. The block is called on a thread of the connection
    /// machinery, or never if the service is lost.
    /// \param abandoned  gives the task up when a stop is requested, on any thread: the service stops working on it, and
    ///                   the block isn't called, unless it is being called already
    void performXPCAsyncWithObject(const QVariant &object, const Block &block,
                                   const std::stop_token &abandoned = {});
    /// Queues the task and waits until it is finished.
    /// \return the result; nil, after a line in the log, if there is none
    QVariant performXPCWithObject(const QVariant &object);
    /// Queues the task, waits until it is finished, and calls the block on this thread.
    void performXPCSynchronousWithObject(const QVariant &object, const Block &block);

    /// The queue of this client's tasks.
    NSOperationQueue *operationQueue() const;

private:
    friend class ZRXPCOperation;
    std::shared_ptr<ZRXPCOperation> add(const QVariant &task);

    const std::shared_ptr<zr::XPCClient> m_helper;
};
