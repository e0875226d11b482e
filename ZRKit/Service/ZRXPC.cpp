// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRXPC.h"

#include "ZRKit/Service/Serialization.h"
#include "ZRKit/Service/XPCClient.h"
#include "ZRKit/Service/ZRXPCOperation.h"
#include "ZRKit/Service/ZRXPCProtocol.h"
#include "ZRKit/Values/ZRMacros.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSNull.h"
#include "platform/xpc/NSXPCConnection.h"

using namespace zr;

namespace {

constexpr char source[] = "ZRXPC";

} // namespace

XPCClient::XPCClient(const QString &serviceName) : m_serviceName(serviceName) {
    queue.setMaxConcurrentOperationCount(1);
}

void XPCClient::performXPCAsyncWithObject(const QVariant &object, const ZRXPC::Block &block,
                                          const std::stop_token &abandoned) {
    constexpr char function[] = "-[ZRXPC performXPCAsyncWithObject:block:]";
    if (m_serviceName.isNull())
        ZRKit::zxAssertFailed(function, "(_serviceName)", source, 80);
    // A connection can't be to no name at all.
    auto connection = m_serviceName.isNull() ? nullptr : std::make_shared<NSXPCConnection>(m_serviceName);
    if (connection) {
        connection->setRemoteObjectInterface(NSXPCInterface::interfaceWithProtocol<ZRXPCProtocol>());
        connection->setExportedInterface(nullptr);
        connection->setExportedObject(shared_from_this());
        connection->resume();
    } else {
        ZRKit::zxAssertFailed(function, "(_fetchServiceConnection)", source, 89);
    }
    const auto proxy =
        connection ? connection->remoteObjectProxyWithErrorHandler<ZRXPCProtocol>([](const NSError &) {})
                   : nullptr;
    const QByteArray task = serialize(object);
    if (!proxy)
        return;
    // Whoever abandons the task hangs up.
    using HangUp = std::stop_callback<std::function<void()>>;
    const auto hangUp = std::make_shared<HangUp>(abandoned, [weak = std::weak_ptr(connection)] {
        if (const auto held = weak.lock())
            held->invalidate();
    });
    // The block holds the connection until the reply is there, or can't come any more.
    proxy->performWithData(
        task, [connection, hangUp, block](const QByteArray &data, const NSError &error) mutable {
            const QVariant result = data.isNull() || error ? QVariant() : unserialize(data);
            if (block)
                block(result, error);
            connection->invalidate();
            connection.reset();
        });
}

ZRXPC::ZRXPC(const QString &serviceName) : m_helper(std::make_shared<XPCClient>(serviceName)) {
    performXPCBoot();
}

ZRXPC::~ZRXPC() = default;

void ZRXPC::performXPCBoot() {
    add(QVariantMap{{QStringLiteral("__boot"), true}});
}

void ZRXPC::performXPCAsyncWithObject(const QVariant &object, const Block &block,
                                      const std::stop_token &abandoned) {
    m_helper->performXPCAsyncWithObject(object, block, abandoned);
}

QVariant ZRXPC::performXPCWithObject(const QVariant &object) {
    const auto operation = add(object);
    operation->waitUntilFinished();
    QVariant result = operation->taskResult();
    if (NSIsNil(result)) {
        const NSError error = operation->error();
        if (!error)
            ZRKit::zxAssertFailed("-[ZRXPC performXPCWithObject:]", "(operation.error)", source, 128);
        NSLog("Error while executing XPC task occured: %@", error);
    }
    return result;
}

void ZRXPC::performXPCSynchronousWithObject(const QVariant &object, const Block &block) {
    if (!block)
        ZRKit::zxAssertFailed("-[ZRXPC performXPCSynchronousWithObject:block:]", "(block)", source, 135);
    const auto operation = add(object);
    operation->waitUntilFinished();
    if (block)
        block(operation->taskResult(), operation->error());
}

std::shared_ptr<ZRXPCOperation> ZRXPC::add(const QVariant &task) {
    auto operation = std::make_shared<ZRXPCOperation>(*this);
    operation->setTaskInfo(task);
    operationQueue()->addOperation(operation);
    return operation;
}

NSOperationQueue *ZRXPC::operationQueue() const {
    return &m_helper->queue;
}

#include "moc_ZRXPC.cpp"
