// SPDX-License-Identifier: MIT
#pragma once

#include "platform/xpc/NSXPCProtocol.h"

#include <memory>
#include <utility>

namespace zr {
class XPCConnectionCore;
}

/// Base of the proxies that protocols name in their descriptions. A proxy implements its protocol by
/// forwarding:
///
///     class GreeterProxy final : public Greeter, NSXPCProxy {
///     public:
///         using NSXPCProxy::NSXPCProxy;
///         void greet(const QString &whom, const Reply &reply) override {
///             forward<&Greeter::greet>(whom, reply);
///         }
///     };
///
/// A message is on its way when forward() returns; later exactly one of its reply block and the error handler runs,
/// on the connection's own thread. A message without a reply block has the error handler called only if it fails.
/// Values that can't be archived raise an NSException. Proxies may be used on any thread.
class NSXPCProxy {
public:
    NSXPCProxy(std::shared_ptr<zr::XPCConnectionCore> connection, NSXPCDetail::ErrorHandler errorHandler)
        : m_connection(std::move(connection)), m_errorHandler(std::move(errorHandler)) {}

protected:
    ~NSXPCProxy() = default;

    template <auto Function, typename... Arguments>
    void forward(const Arguments &...arguments) const {
        forwardTo(Function, NSXPCDetail::Tag<Function>(), arguments...);
    }

private:
    void send(const QString &selector, const QVariantList &values, NSXPCDetail::ReplyTaker reply) const;

    template <typename Protocol, typename... Parameters, typename Tag>
    void forwardTo(void (Protocol::*)(Parameters...), Tag tag,
                   const std::remove_cvref_t<Parameters> &...parameters) const {
        QVariantList values;
        NSXPCDetail::ReplyTaker reply;
        (collect(parameters, values, reply), ...);
        send(selectorOf(tag, typename NSXPCProtocolDescription<Protocol>::Methods()), values,
             std::move(reply));
    }

    template <typename T>
    static void collect(const T &parameter, QVariantList &values, NSXPCDetail::ReplyTaker &reply) {
        if constexpr (NSXPCDetail::isReplyBlock<T>) {
            reply = [parameter](const QVariantList &results) {
                typename NSXPCDetail::ReplyBlock<T>::Values typed;
                if (!NSXPCDetail::unpack(results, typed))
                    return false;
                if (parameter)
                    std::apply(parameter, typed);
                return true;
            };
        } else {
            values.append(QVariantList{NSXPCValue<T>::to(parameter)});
        }
    }

    template <typename Tag, NSXPCSelector... Selectors, auto... Functions>
    static QString selectorOf(Tag, NSXPCMethods<NSXPCMethod<Selectors, Functions>...>) {
        static_assert((std::is_same_v<Tag, NSXPCDetail::Tag<Functions>> || ...),
                      "the protocol's description doesn't list the function");
        QString selector;
        (void)((std::is_same_v<Tag, NSXPCDetail::Tag<Functions>> &&
                (selector = QString::fromLatin1(Selectors.text), true)) ||
               ...);
        return selector;
    }

    std::shared_ptr<zr::XPCConnectionCore> m_connection;
    NSXPCDetail::ErrorHandler m_errorHandler;
};
