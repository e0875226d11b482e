// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyText.h"

#include <QObject>
#include <QVariant>
#include <concepts>
#include <cstddef>

namespace ZRKit {

/// Any value as a receiver or an argument: what QVariant takes, an object by its pointer, and literals and
/// characters, which are texts. A value; any thread, as the object allows.
class AnyObject {
    template <typename Value>
    static constexpr bool IsCharacter =
        std::same_as<Value, QChar> || std::same_as<Value, char16_t> || std::same_as<Value, char>;

public:
    /// nil.
    AnyObject() = default;
    AnyObject(std::nullptr_t) {}
    AnyObject(QObject *object) : m_value(object ? QVariant::fromValue(object) : QVariant()) {}
    template <typename Value>
    requires(std::convertible_to<const Value &, QVariant> && !IsCharacter<Value>)
        AnyObject(const Value &value)
        : m_value(value) {}
    template <typename Text>
    requires(std::convertible_to<const Text &, AnyText> &&
             (IsCharacter<Text> || !std::convertible_to<const Text &, QVariant>)) AnyObject(const Text &text)
        : m_value(QString(AnyText(text))) {}

    const QVariant &value() const { return m_value; }
    /// nullptr if the receiver is a value.
    QObject *object() const;
    bool isNil() const;

private:
    QVariant m_value;
};

} // namespace ZRKit
