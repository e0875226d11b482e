// SPDX-License-Identifier: MIT
#include "platform/xpc/NSXPCInterface.h"

QStringList NSXPCInterface::selectors() const {
    QStringList names;
    std::transform(m_methods.begin(), m_methods.end(), std::back_inserter(names),
                   [](const Method &each) { return each.selector; });
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
