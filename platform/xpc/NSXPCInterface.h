// SPDX-License-Identifier: MIT
#pragma once

#include "platform/xpc/NSXPCProtocol.h"

#include <QObject>
#include <memory>
#include <vector>

/// What may be sent over a connection: the methods of one protocol. Immutable, any thread.
class NSXPCInterface {
public:
    /// Sends a call's reply; throws NSException when used a second time.
    using Reply = std::function<void(const QVariantList &results)>;
    enum class Outcome {
        Called,          ///< the object's method ran
        UnknownSelector, ///< the protocol has no such method
        WrongArguments,  ///< their number or a kind differs, or a reply is wanted where there is none
        WrongObject,     ///< the object doesn't implement the protocol
    };

    template <typename Protocol>
    static std::shared_ptr<const NSXPCInterface> interfaceWithProtocol() {
        static const std::shared_ptr<const NSXPCInterface> interface(
            new NSXPCInterface(NSXPCProtocolDescription<Protocol>::name,
                               methods<Protocol>(typename NSXPCProtocolDescription<Protocol>::Methods())));
        return interface;
    }

    QString protocolName() const { return m_name; }
    /// The protocol's selectors in its order.
    QStringList selectors() const;

    /// Calls the object's method for the selector. Whatever that throws comes through.
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
            using Values = decltype(std::tuple_cat(
                std::conditional_t<NSXPCDetail::isReplyBlock<Parameters>, std::tuple<>,
                                   std::tuple<std::remove_cvref_t<Parameters>>>()...));
            Values values;
            if (!NSXPCDetail::unpack(arguments, values))
                return Outcome::WrongArguments;
            callWith<Protocol, Function, Parameters...>(target, values, reply,
                                                        std::index_sequence_for<Parameters...>());
            return Outcome::Called;
        };
    }

    template <typename Protocol, auto Function, typename... Parameters, typename Values, std::size_t... Index>
    static void callWith(Protocol *target, Values &values, const Reply &reply,
                         std::index_sequence<Index...>) {
        [[maybe_unused]] constexpr bool isBlock[] = {NSXPCDetail::isReplyBlock<Parameters>..., false};
        (target->*Function)(parameter<Parameters, position(isBlock, Index)>(values, reply)...);
    }

    /// A parameter's place among the values, which leave the reply block out.
    static constexpr std::size_t position(const bool *isBlock, std::size_t index) {
        return std::size_t(std::count(isBlock, isBlock + index, false));
    }

    template <typename Parameter, std::size_t Position, typename Values>
    static decltype(auto) parameter(Values &values, const Reply &reply) {
        if constexpr (NSXPCDetail::isReplyBlock<Parameter>)
            return blockFor(reply, static_cast<std::remove_cvref_t<Parameter> *>(nullptr));
        else
            return static_cast<const std::tuple_element_t<Position, Values> &>(std::get<Position>(values));
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
