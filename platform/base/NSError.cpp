// SPDX-License-Identifier: MIT
#include "platform/base/NSError.h"

QString NSError::localizedDescription() const {
    if (isNil())
        return {};
    QString message = m_userInfo.value(NSLocalizedDescriptionKey).toString();
    if (!message.isEmpty())
        return message;
    return QStringLiteral("The operation couldn’t be completed. (%1 error %2.)").arg(m_domain).arg(m_code);
}

QString NSError::description() const {
    if (isNil())
        return QStringLiteral("(null)");
    return QStringLiteral("Error Domain=%1 Code=%2 \"%3\"")
        .arg(m_domain, QString::number(m_code), localizedDescription());
}
