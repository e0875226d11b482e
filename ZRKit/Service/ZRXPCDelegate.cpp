// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRXPCDelegate.h"

#include "ZRKit/Service/ZRXPCBaseWorker.h"
#include "platform/base/NSException.h"
#include "platform/xpc/NSXPCConnection.h"

bool ZRXPCDelegate::listenerShouldAcceptNewConnection(NSXPCListener *,
                                                      const std::shared_ptr<NSXPCConnection> &newConnection) {
    std::unique_ptr<QObject> made(m_klass->newInstance());
    if (!qobject_cast<ZRXPCBaseWorker *>(made.get()))
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("%1 is no worker class with an invokable default constructor")
                              .arg(QLatin1String(m_klass->className())));
    const std::shared_ptr<ZRXPCBaseWorker> worker(static_cast<ZRXPCBaseWorker *>(made.release()));
    newConnection->setExportedInterface(NSXPCInterface::interfaceWithProtocol<ZRXPCProtocol>());
    newConnection->setExportedObject(worker);
    worker->setXpcConnection(newConnection);
    newConnection->resume();
    return true;
}
