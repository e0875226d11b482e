// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

class NSXPCConnection;
class NSXPCListener;

/// Decides on a listener's new connections.
class NSXPCListenerDelegate {
public:
    virtual ~NSXPCListenerDelegate() = default;

    /// Called on the listener's thread for each connection of a process of the same user. To accept it, set it up,
    /// resume it and answer true: the listener then keeps it until it has ended. If the answer is false, it is
    /// closed.
    virtual bool listenerShouldAcceptNewConnection(NSXPCListener *listener,
                                                   const std::shared_ptr<NSXPCConnection> &newConnection) = 0;
};
