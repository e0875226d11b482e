// SPDX-License-Identifier: MIT
#pragma once

#include "platform/xpc/NSXPCListenerDelegate.h"

#include <QMetaObject>

/// Accepts every connection of a service's listener and gives each a worker of its own. Any thread.
class ZRXPCDelegate : public NSXPCListenerDelegate {
public:
    /// \param klass  a subclass of ZRXPCBaseWorker with an invokable default constructor
    explicit ZRXPCDelegate(const QMetaObject *klass) : m_klass(klass) {}

    /// Raises an NSException if it is no such class.
    bool listenerShouldAcceptNewConnection(NSXPCListener *listener,
                                           const std::shared_ptr<NSXPCConnection> &newConnection) override;

private:
    const QMetaObject *m_klass;
};
