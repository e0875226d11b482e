// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariantMap>

/// What a program says of itself.
class NSBundle {
public:
    /// The running program.
    static NSBundle &mainBundle();

    /// The program's entries. Those that it was given stand over what its QCoreApplication knows:
    /// "CFBundleName" is the application's name, "CFBundleIdentifier" the organization's domain turned round
    /// and that name ("com.example.app" for the domain example.com), and is missing where there is no domain.
    /// Any thread.
    QVariantMap infoDictionary() const;
    /// Gives the program its entries; at its start, before any are asked for. nil and the null marker take
    /// one away.
    void setInfoDictionary(const QVariantMap &entries) { m_entries = entries; }

    /// One entry; nil where there is none.
    QVariant objectForInfoDictionaryKey(const QString &key) const { return infoDictionary().value(key); }

private:
    NSBundle() = default;

    QVariantMap m_entries;
};
