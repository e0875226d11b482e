// SPDX-License-Identifier: MIT
#pragma once

#include "platform/xpc/NSXPCListenerDelegate.h"
#include "platform/xpc/NSXPCListenerEndpoint.h"

#include <memory>

/// Waits for connections and offers them to its delegate. Connections of other users' processes are closed before
/// anybody sees them. Any thread, unless said otherwise.
class NSXPCListener {
public:
    /// The listener of the service that this process is. Its socket was passed to the process when that was started,
    /// by systemd's socket-activation protocol. One a process. The first call takes possession of the socket; make it
    /// before other processes are started.
    ///
    /// A service that was started by the client library ends as soon as its host has gone.
    static NSXPCListener *serviceListener();
    /// A listener that is reached through its endpoint only, within this process.
    /// Raises an NSException if the system has no socket for it.
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
    /// On the service listener, call it on the main thread. It doesn't return: it runs the main event loop, and makes
    /// the application object if there is none. The process ends
    /// - on SIGTERM or SIGINT, after those who wait have been served. Tasks are finished; a client that takes nothing
    ///   of its reply for 5 seconds isn't waited for. A second signal ends the process at once;
    /// - when its host has gone;
    /// - at once, with a line in the log, if it was passed no socket.
    void resume();
    /// Ends accepting; connections that were accepted live on.
    void invalidate();

private:
    class Core;
    std::shared_ptr<Core> m_core;
    bool m_isService = false;
};
