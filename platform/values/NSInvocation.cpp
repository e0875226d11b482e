// SPDX-License-Identifier: MIT
#include "platform/values/NSInvocation.h"

#include "platform/base/NSException.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

using namespace zr;

NSInvocation::NSInvocation(const QVariant &target, const NSSelector &selector)
    : m_object(objectOf(target)), m_selector(selector), m_arguments(selector.argumentCount()) {
    if (!NSObjectRuntime::respondsTo(target, selector))
        NSObjectRuntime::raiseUnrecognized(target, selector);
    if (!m_object)
        m_value = target;
}

QVariant NSInvocation::target() const {
    if (m_value.isValid())
        return m_value;
    return m_object ? QVariant::fromValue(m_object.data()) : QVariant();
}

int NSInvocation::checked(int index) const {
    if (index < 0 || index >= m_arguments.size())
        throw NSException(
            NSRangeException,
            QStringLiteral("%1 has no argument %2.").arg(m_selector.name(), QString::number(index)));
    return index;
}

QVariant NSInvocation::argument(int index) const {
    return m_arguments[checked(index)];
}

void NSInvocation::setArgument(const QVariant &value, int index) {
    m_arguments[checked(index)] = value;
}

void NSInvocation::invoke() {
    m_returnValue = NSObjectRuntime::perform(target(), m_selector, m_arguments);
}
