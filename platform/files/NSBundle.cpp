// SPDX-License-Identifier: MIT
#include "platform/files/NSBundle.h"

#include "platform/values/NSNull.h"

#include <QCoreApplication>
#include <QStringList>
#include <algorithm>

NSBundle &NSBundle::mainBundle() {
    static auto *const bundle = new NSBundle;
    return *bundle;
}

QVariantMap NSBundle::infoDictionary() const {
    QVariantMap dictionary;
    const QString name = QCoreApplication::applicationName();
    if (!name.isEmpty())
        dictionary.insert(QStringLiteral("CFBundleName"), name);
    QStringList labels = QCoreApplication::organizationDomain().split(u'.', Qt::SkipEmptyParts);
    if (!labels.isEmpty() && !name.isEmpty()) {
        std::reverse(labels.begin(), labels.end());
        dictionary.insert(QStringLiteral("CFBundleIdentifier"), (labels << name).join(u'.'));
    }
    for (auto entry = m_entries.cbegin(); entry != m_entries.cend(); ++entry) {
        if (NSIsNil(entry.value()) || NSIsNull(entry.value()))
            dictionary.remove(entry.key());
        else
            dictionary.insert(entry.key(), entry.value());
    }
    return dictionary;
}

void NSBundle::setResourcePath(const QString &folder) {
    m_resourcePath = folder.isEmpty() ? QStringLiteral(":/") : folder;
    if (!m_resourcePath.endsWith(u'/'))
        m_resourcePath += u'/';
}
