// SPDX-License-Identifier: MIT
#pragma once

#include "platform/xpc/NSXPCProtocol.h"

#include <QObject>
#include <memory>
#include <vector>

/// What may be sent over a connection: the methods of one protocol. Immutable, any thread.
class NSXPCInterface {
public:
    /// Sends a call's reply; raises an NSException if used a second time.
    using Reply = std::function<void(const QVariantList &results)>;
    enum class Outcome {
        Called,          ///< the object's method ran
        UnknownSelector, ///< the protocol has no such method
        WrongArguments,  ///< their number or a kind differs, or a reply is wanted of a method that has none
        WrongObject,     ///< the object doesn't implement the protocol
    };

    template <typename Protocol>
    static std::shared_ptr<const NSXPCInterface> interfaceWithProtocol() {
        // Never destroyed: connections go on while the process ends.
        static const auto *const interface = new std::shared_ptr<const NSXPCInterface>(
            new NSXPCInterface(NSXPCProtocolDescription<Protocol>::name,
                               methods<Protocol>(typename NSXPCProtocolDescription<Protocol>::Methods())));
        return *interface;
    }

    QString protocolName() const { return m_name; }
    /// The protocol's selectors in its order.
    QStringList selectors() const;

    /// Calls the object's method for the selector. Exceptions of the method come through.
    Outcome invoke(QObject *object, const QString &selector, const QVariantList &arguments,
                   const Reply &reply) const;

private:
    using Invoke = Outcome (*)(QObject *, const QVariantList &, const Reply &);
    struct Method {
        QString selector;
        Invoke invoke;
    };

    NSXPCInterface(const char *name, std::vector<Method> methods)
        : m_name(QString::fromLatin1(name)), m_methods(std::move(methods)) {}

    template <typename Protocol, NSXPCSelector... Selectors, auto... Functions>
    static std::vector<Method> methods(NSXPCMethods<NSXPCMethod<Selectors, Functions>...>) {
        return {Method{QString::fromLatin1(Selectors.text), invokerOf<Protocol, Functions>(Functions)}...};
    }

    template <typename Protocol, auto Function, typename... Parameters>
    static Invoke invokerOf(void (Protocol::*)(Parameters...)) {
        return [](QObject *object, const QVariantList &arguments, const Reply &reply) {
            constexpr std::size_t blocks = (0 + ... + (NSXPCDetail::isReplyBlock<Parameters> ? 1 : 0));
            static_assert(blocks <= 1, "a message has at most one reply block");
            auto *const target = dynamic_cast<Protocol *>(object);
            if (!target)
                return Outcome::WrongObject;
            if (bool(reply) != (blocks == 1))
                return Outcome::WrongArguments;
            if (arguments.size() != qsizetype(sizeof...(Parameters) - blocks))
                return Outcome::WrongArguments;
            std::tuple<std::remove_cvref_t<Parameters>...> values;
            auto next = arguments.begin();
            const auto take = [&]<typename T>(T &into) {
                if constexpr (NSXPCDetail::isReplyBlock<T>)
                    return into = blockFor(reply, &into), true;
                else
                    return NSXPCValue<T>::from(*next++, into);
            };
            if (!std::apply([&](auto &...each) { return (... && take(each)); }, values))
                return Outcome::WrongArguments;
            std::apply([&](const auto &...each) { (target->*Function)(each...); }, values);
            return Outcome::Called;
        };
    }

    template <typename... Results>
    static std::function<void(Results...)> blockFor(const Reply &reply, std::function<void(Results...)> *) {
        return [reply](Results... results) {
            reply(QVariantList{NSXPCValue<std::remove_cvref_t<Results>>::to(results)...});
        };
    }

    QString m_name;
    std::vector<Method> m_methods;
};
