// SPDX-License-Identifier: MIT
#pragma once

#include "platform/xpc/NSXPCProtocol.h"
#include "platform/xpc/XPCRemote.h"

#include <utility>

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
/// A message is on its way when forward() returns; its reply block runs later, on the connection's own
/// thread, or the error handler does. Proxies may be used on any thread.
class NSXPCProxy {
public:
    explicit NSXPCProxy(XPCRemote remote) : m_remote(std::move(remote)) {}

protected:
    ~NSXPCProxy() = default;

    template <auto Function, typename... Arguments>
    void forward(const Arguments &...arguments) const {
        forwardTo(Function, NSXPCDetail::Tag<Function>(), arguments...);
    }

private:
    template <typename Protocol, typename... Parameters, typename Tag>
    void forwardTo(void (Protocol::*)(Parameters...), Tag tag,
                   const std::remove_cvref_t<Parameters> &...parameters) const {
        QVariantList values;
        XPCRemote::Reply reply;
        (collect(parameters, values, reply), ...);
        m_remote.send(selectorOf(tag, typename NSXPCProtocolDescription<Protocol>::Methods()), values,
                      std::move(reply));
    }

    template <typename T>
    static void collect(const T &parameter, QVariantList &values, XPCRemote::Reply &reply) {
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

    XPCRemote m_remote;
};
