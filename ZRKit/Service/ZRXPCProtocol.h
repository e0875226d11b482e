// SPDX-License-Identifier: MIT
#pragma once

#include "platform/xpc/NSXPCProxy.h"

#include <QByteArray>
#include <functional>

/// What a client may ask of a service's worker. A proxy's operations may be called on any thread; a worker's are
/// called on its connection's.
class ZRXPCProtocol {
public:
    /// Takes the archived result, or nil and an error.
    using Reply = std::function<void(const QByteArray &data, const NSError &error)>;

    virtual ~ZRXPCProtocol() = default;

    /// Runs one task.
    /// \param data   the keyed archive of the task object
    /// \param block  called once with the reply
    virtual void performWithData(const QByteArray &data, const Reply &block) = 0;
    /// The work of a task; clients never send it.
    virtual void work() = 0;
};

class ZRXPCProtocolProxy final : public ZRXPCProtocol, NSXPCProxy {
public:
    using NSXPCProxy::NSXPCProxy;
    void performWithData(const QByteArray &data, const Reply &block) override {
        forward<&ZRXPCProtocol::performWithData>(data, block);
    }
    void work() override { forward<&ZRXPCProtocol::work>(); }
};

template <>
struct NSXPCProtocolDescription<ZRXPCProtocol> {
    static constexpr char name[] = "ZRXPCProtocol";
    using Methods = NSXPCMethods<NSXPCMethod<"performWithData:block:", &ZRXPCProtocol::performWithData>,
                                 NSXPCMethod<"work", &ZRXPCProtocol::work>>;
    using Proxy = ZRXPCProtocolProxy;
};
