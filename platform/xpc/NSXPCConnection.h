// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/base/NSException.h"
#include "platform/xpc/NSXPCInterface.h"
#include "platform/xpc/NSXPCProxy.h"

#include <QObject>
#include <functional>
#include <memory>
#include <sys/types.h>

class NSXPCListenerEndpoint;
namespace zr {
class XPCConnectionCore;
class XPCLink;
} // namespace zr

/// The service went away while a reply was due; a connection by name may be used again.
inline constexpr int NSXPCConnectionInterrupted = 4097;
/// The connection can't be made, or was invalidated.
inline constexpr int NSXPCConnectionInvalid = 4099;
/// The other side refused the message, or its reply wasn't what the interface says.
inline constexpr int NSXPCConnectionReplyInvalid = 4101;

/// A two-way connection between two processes, or two parts of one.
///
/// A new connection is suspended: set it up, then resume() it. Messages and replies that arrive are delivered
/// one after another, in the order in which they were sent, on the connection's own thread; handlers are
/// called there too. A connection that is resumed lives until it is invalidated or its last holder drops it.
///
///     auto connection = std::make_shared<NSXPCConnection>(QStringLiteral("com.example.greeter"));
///     connection->setRemoteObjectInterface(NSXPCInterface::interfaceWithProtocol<Greeter>());
///     connection->resume();
///     connection->remoteObjectProxyWithErrorHandler<Greeter>(onError)->greet(name, onReply);
///
/// If the other side is lost, the error handlers of messages that wait for a reply are called, their reply blocks
/// never. A connection by service name is then interrupted: the next message finds, or starts, the service again. Any
/// other connection is invalid from then on. All operations may be called on any thread.
///
/// A service is looked for in this order:
/// 1. the socket `<name>.sock` in the user's runtime folder, if a socket unit listens there;
/// 2. the instance of that name that this process has started already;
/// 3. the executable `XPCServices/<name>` beside this program, then `libexec/zrkit/<name>` under the parent of this
///    program's folder, or beside it if it is itself in that folder, then the same under the prefix the library was
///    installed to.
/// "name@instance" is another process of the same executable. A service that this process has started lives no longer
/// than this process.
class NSXPCConnection {
public:
    using ErrorHandler = NSXPCDetail::ErrorHandler;
    using Handler = std::function<void()>;

    /// A connection to the service of that name. Raises an NSException if the name is nil.
    explicit NSXPCConnection(const QString &serviceName);
    /// A connection to a listener of this process.
    explicit NSXPCConnection(const NSXPCListenerEndpoint &endpoint);
    /// The accepted side of a connection.
    explicit NSXPCConnection(std::shared_ptr<zr::XPCLink> link);
    /// Invalidates the connection.
    ~NSXPCConnection();
    NSXPCConnection(const NSXPCConnection &) = delete;
    NSXPCConnection &operator=(const NSXPCConnection &) = delete;

    /// nil if the connection isn't one by name.
    QString serviceName() const;

    /// The other side's process: for a connection by name the one that this process has started last, for an accepted
    /// connection its peer; 0 if it isn't known.
    pid_t processIdentifier() const;

    /// What may be sent to the other side.
    std::shared_ptr<const NSXPCInterface> remoteObjectInterface() const;
    void setRemoteObjectInterface(std::shared_ptr<const NSXPCInterface> interface);
    /// What the other side may send. If it or the object is nil, every message is refused.
    std::shared_ptr<const NSXPCInterface> exportedInterface() const;
    void setExportedInterface(std::shared_ptr<const NSXPCInterface> interface);
    /// The receiver of the other side's messages; held until the connection is invalid.
    std::shared_ptr<QObject> exportedObject() const;
    void setExportedObject(std::shared_ptr<QObject> object);

    /// Called when the service is lost and the connection may be used again.
    void setInterruptionHandler(Handler handler);
    /// Called once, as the connection's last call, when it is invalid for good.
    void setInvalidationHandler(Handler handler);
    /// Called once, as soon as the other side has gone or the connection is invalidated, even while one of its
    /// messages is being handled: work for somebody who has left can be given up. Runs on a thread of the machinery,
    /// or within this call if it is too late for that; it must not block. Setting another handler, or none, replaces
    /// it. A side that shuts only its sending half counts as gone.
    void setHangupHandler(Handler handler);

    /// Starts or, after as many calls of suspend(), restarts delivery. The first call connects.
    void resume();
    /// Stops delivery until resume(); what is being handled is finished.
    void suspend();
    /// Ends the connection; what waits for a reply gets its error handler called.
    void invalidate();

    /// An object that sends its messages to the other side. Raises an NSException if the remote-object interface
    /// isn't one of that protocol.
    /// \param errorHandler  called for each message whose reply can't come; may be empty
    template <typename Protocol>
    std::shared_ptr<Protocol> remoteObjectProxyWithErrorHandler(ErrorHandler errorHandler) {
        if (remoteObjectInterface() != NSXPCInterface::interfaceWithProtocol<Protocol>())
            throw NSException(NSInternalInconsistencyException,
                              QStringLiteral("the remote-object interface is not one of this protocol"));
        return std::make_shared<typename NSXPCProtocolDescription<Protocol>::Proxy>(m_core,
                                                                                    std::move(errorHandler));
    }
    template <typename Protocol>
    std::shared_ptr<Protocol> remoteObjectProxy() {
        return remoteObjectProxyWithErrorHandler<Protocol>({});
    }

private:
    friend class NSXPCListener;
    std::shared_ptr<zr::XPCConnectionCore> m_core;
};
