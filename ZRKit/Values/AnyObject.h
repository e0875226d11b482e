// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/ValueKind.h"

#include <QObject>
#include <QVariant>
#include <concepts>

namespace ZRKit {

/// The receiver of an operation that any object has: a value, or an object by its pointer.
class AnyObject {
public:
    AnyObject(QObject *object) : m_value(object ? QVariant::fromValue(object) : QVariant()) {}
    template <typename Value>
    requires std::convertible_to<const Value &, QVariant> AnyObject(const Value &value) : m_value(value) {}

    const QVariant &value() const { return m_value; }
    /// nullptr where the receiver is a value.
    QObject *object() const { return zr::objectOf(m_value); }
    bool isNil() const { return zr::kindOf(m_value) == zr::ValueKind::Nil; }

private:
    QVariant m_value;
};

} // namespace ZRKit
