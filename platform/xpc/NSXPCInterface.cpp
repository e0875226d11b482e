// SPDX-License-Identifier: MIT
#include "platform/xpc/NSXPCInterface.h"

QStringList NSXPCInterface::selectors() const {
    QStringList names;
    for (const Method &method : m_methods)
        names.append(method.selector);
    return names;
}

NSXPCInterface::Outcome NSXPCInterface::invoke(QObject *object, const QString &selector,
                                               const QVariantList &arguments, const Reply &reply) const {
    for (const Method &method : m_methods) {
        if (method.selector == selector)
            return method.invoke(object, arguments, reply);
    }
    return Outcome::UnknownSelector;
}
