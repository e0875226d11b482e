// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/values/NSNull.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUrl>
#include <QUuid>
#include <QVariant>
#include <algorithm>
#include <concepts>
#include <cstddef>
#include <functional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

class QObject;

/// A method's name on the wire, such as "performWithData:block:".
template <std::size_t N>
struct NSXPCSelector {
    char text[N];
    constexpr NSXPCSelector(const char (&name)[N]) { std::copy_n(name, N, text); }
    constexpr std::string_view view() const { return {text, N - 1}; }
};

/// One method of a protocol: its selector and the virtual member function it stands for. The function returns
/// nothing; at most one of its parameters is a reply block, a std::function that returns nothing.
template <NSXPCSelector Selector, auto Function>
struct NSXPCMethod {};

template <typename... Methods>
struct NSXPCMethods {};

/// Describes a protocol, that is a class of virtual functions, to the connection machinery. Specialise it:
///
///     template <> struct NSXPCProtocolDescription<Greeter> {
///         static constexpr char name[] = "Greeter";
///         using Methods = NSXPCMethods<NSXPCMethod<"greet:reply:", &Greeter::greet>>;
///         using Proxy = GreeterProxy;
///     };
///
/// Proxy is a class that implements the protocol by forwarding, see NSXPCProxy. Parameters are data, strings,
/// numbers, booleans, dates, URLs, UUIDs, arrays, dictionaries, errors, or any of them as QVariant.
template <typename Protocol>
struct NSXPCProtocolDescription;

/// How a parameter of a type travels: as a value of a keyed archive, nil as an invalid one. `from` is false if the
/// value is of another kind.
template <typename T>
struct NSXPCValue {
    static QVariant to(const T &value) {
        QVariant variant = QVariant::fromValue(value);
        return NSIsNil(variant) ? QVariant() : variant;
    }
    static bool from(const QVariant &value, T &into) {
        if (value.isValid() && value.metaType() != QMetaType::fromType<T>())
            return false;
        into = value.value<T>();
        return true;
    }
};

template <>
struct NSXPCValue<QVariant> {
    static QVariant to(const QVariant &value) { return value; }
    static bool from(const QVariant &value, QVariant &into) {
        into = value;
        return true;
    }
};

template <std::integral T>
requires(!std::same_as<T, bool>) struct NSXPCValue<T> {
    static QVariant to(T value) {
        if constexpr (std::is_signed_v<T>)
            return QVariant::fromValue(qlonglong(value));
        else
            return QVariant::fromValue(qulonglong(value));
    }
    static bool from(const QVariant &value, T &into) {
        const int type = value.typeId();
        const bool isSigned = type == QMetaType::Int || type == QMetaType::LongLong;
        into = isSigned ? T(value.toLongLong()) : T(value.toULongLong());
        return isSigned ? std::in_range<T>(value.toLongLong())
                        : (type == QMetaType::UInt || type == QMetaType::ULongLong) &&
                              std::in_range<T>(value.toULongLong());
    }
};

template <std::floating_point T>
struct NSXPCValue<T> {
    static QVariant to(T value) { return QVariant::fromValue(double(value)); }
    static bool from(const QVariant &value, T &into) {
        into = T(value.toDouble());
        const int type = value.typeId();
        return type == QMetaType::Int || type == QMetaType::LongLong || type == QMetaType::UInt ||
               type == QMetaType::ULongLong || type == QMetaType::Float || type == QMetaType::Double;
    }
};

namespace NSXPCDetail {

using ErrorHandler = std::function<void(const NSError &error)>;
/// Takes a reply's results; false if they aren't what the protocol says.
using ReplyTaker = std::function<bool(const QVariantList &results)>;

template <typename T>
struct ReplyBlock : std::false_type {};
template <typename... Results>
struct ReplyBlock<std::function<void(Results...)>> : std::true_type {
    using Values = std::tuple<std::remove_cvref_t<Results>...>;
};

template <typename T>
inline constexpr bool isReplyBlock = ReplyBlock<std::remove_cvref_t<T>>::value;

template <typename... Values, std::size_t... Index>
bool unpack(const QVariantList &list, std::tuple<Values...> &into, std::index_sequence<Index...>) {
    return (... && NSXPCValue<Values>::from(list.at(qsizetype(Index)), std::get<Index>(into)));
}

/// Takes the typed values out of a list; false if their number or a kind is another.
template <typename... Values>
bool unpack(const QVariantList &list, std::tuple<Values...> &into) {
    return list.size() == qsizetype(sizeof...(Values)) &&
           unpack(list, into, std::index_sequence_for<Values...>());
}

template <auto Function>
struct Tag {};

} // namespace NSXPCDetail
