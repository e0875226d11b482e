// SPDX-License-Identifier: MIT
#include "platform/xpc/NSXPCConnection.h"

#include "platform/base/SystemError.h"
#include "platform/xpc/NSXPCListenerEndpoint.h"
#include "platform/xpc/XPCActivator.h"
#include "platform/xpc/XPCConnectionCore.h"
#include "platform/xpc/XPCSocket.h"

using namespace zr;
using Settings = XPCConnectionCore::Settings;

NSXPCConnection::NSXPCConnection(const QString &serviceName) {
    if (serviceName.isNull())
        throw NSException(NSInvalidArgumentException, QStringLiteral("a service's name must not be nil"));
    m_core = std::make_shared<XPCConnectionCore>(
        serviceName,
        [serviceName](QString *error, pid_t *process) {
            return XPCActivator::shared().connect(serviceName, error, process);
        },
        true, nullptr);
}

NSXPCConnection::NSXPCConnection(const NSXPCListenerEndpoint &endpoint)
    : m_core(std::make_shared<XPCConnectionCore>(
          QString(),
          [endpoint](QString *error, pid_t *) {
              FileDescriptor socket = endpoint.connect();
              if (!socket)
                  *error = systemErrorText();
              return socket;
          },
          false, nullptr)) {
}

NSXPCConnection::NSXPCConnection(std::shared_ptr<XPCLink> link)
    : m_core(std::make_shared<XPCConnectionCore>(QString(), nullptr, false, std::move(link))) {
}

NSXPCConnection::~NSXPCConnection() {
    m_core->invalidate();
}

QString NSXPCConnection::serviceName() const {
    return m_core->name();
}

pid_t NSXPCConnection::processIdentifier() const {
    return m_core->processIdentifier();
}

std::shared_ptr<const NSXPCInterface> NSXPCConnection::remoteObjectInterface() const {
    return m_core->get(&Settings::remoteInterface);
}

void NSXPCConnection::setRemoteObjectInterface(std::shared_ptr<const NSXPCInterface> interface) {
    m_core->set(&Settings::remoteInterface, std::move(interface));
}

std::shared_ptr<const NSXPCInterface> NSXPCConnection::exportedInterface() const {
    return m_core->get(&Settings::exportedInterface);
}

void NSXPCConnection::setExportedInterface(std::shared_ptr<const NSXPCInterface> interface) {
    m_core->set(&Settings::exportedInterface, std::move(interface));
}

std::shared_ptr<QObject> NSXPCConnection::exportedObject() const {
    return m_core->get(&Settings::exportedObject);
}

void NSXPCConnection::setExportedObject(std::shared_ptr<QObject> object) {
    m_core->set(&Settings::exportedObject, std::move(object));
}

void NSXPCConnection::setInterruptionHandler(Handler handler) {
    m_core->set(&Settings::interruption, std::move(handler));
}

void NSXPCConnection::setInvalidationHandler(Handler handler) {
    m_core->set(&Settings::invalidation, std::move(handler));
}

void NSXPCConnection::setHangupHandler(Handler handler) {
    m_core->setHangup(std::move(handler));
}

void NSXPCConnection::resume() {
    m_core->resume();
}

void NSXPCConnection::suspend() {
    m_core->suspend();
}

void NSXPCConnection::invalidate() {
    m_core->invalidate();
}
