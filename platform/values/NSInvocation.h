// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSSelector.h"

#include <QPointer>
#include <QVariant>

/// A message kept to be sent later: its target, its selector, and arguments that may be set one by one. An
/// object as target isn't kept alive; once it is gone, the message goes to nil. One thread at a time.
class NSInvocation {
public:
    /// Raises NSInvalidArgumentException if the target doesn't respond to the selector.
    NSInvocation(const QVariant &target, const NSSelector &selector);

    QVariant target() const;
    NSSelector selector() const { return m_selector; }
    int numberOfArguments() const { return int(m_arguments.size()); }
    /// The argument at an index from 0; nil as long as none was set. Raises NSRangeException.
    QVariant argument(int index) const;
    void setArgument(const QVariant &value, int index);

    /// Sends the message; its result is the return value from then on. Raises as NSObjectRuntime::perform().
    void invoke();
    QVariant returnValue() const { return m_returnValue; }

private:
    int checked(int index) const;

    QVariant m_value;
    QPointer<QObject> m_object;
    NSSelector m_selector;
    QVariantList m_arguments;
    QVariant m_returnValue;
};
