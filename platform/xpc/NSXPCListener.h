// SPDX-License-Identifier: MIT
#pragma once

#include "platform/xpc/NSXPCListenerDelegate.h"
#include "platform/xpc/NSXPCListenerEndpoint.h"

#include <memory>

/// Waits for connections and offers them to its delegate. Connections of other users' processes are closed
/// before anybody sees them.
class NSXPCListener {
public:
    /// The listener of the service that this process is: its socket was passed by whoever started the
    /// process, by systemd's socket-activation protocol. One a process. The first call takes the socket into
    /// possession; call it before other processes are started.
    ///
    /// A service that was started by the client library ends at once when its host has gone.
    static NSXPCListener *serviceListener();
    /// A listener that is reached through its endpoint only, within this process.
    /// Throws NSException where the system has no socket for it.
    static std::unique_ptr<NSXPCListener> anonymousListener();

    /// A listener on a listening Unix stream socket.
    explicit NSXPCListener(zr::FileDescriptor socket, const NSXPCListenerEndpoint &endpoint = {});
    /// Invalidates the listener.
    ~NSXPCListener();
    NSXPCListener(const NSXPCListener &) = delete;
    NSXPCListener &operator=(const NSXPCListener &) = delete;

    /// Held weakly; without one, every connection is closed.
    void setDelegate(const std::shared_ptr<NSXPCListenerDelegate> &delegate);
    std::shared_ptr<NSXPCListenerDelegate> delegate() const;

    NSXPCListenerEndpoint endpoint() const;

    /// Starts accepting connections.
    ///
    /// On the service listener, to be called on the main thread, it does not return: it runs the main event
    /// loop, and makes the application object where there is none. The process ends when it gets SIGTERM or
    /// SIGINT, after those who wait have been served (a second signal ends it at once), when its host has
    /// gone, or, with a line in the log, at once when it was passed no socket.
    void resume();
    /// Ends accepting; connections that were accepted live on.
    void invalidate();

private:
    class Core;
    std::shared_ptr<Core> m_core;
    bool m_isService = false;
};
