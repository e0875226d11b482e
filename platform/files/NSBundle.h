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

    /// The folder of the program's resources, with a slash at its end, so that a resource's path is this and its
    /// name: ":/", what is compiled into the program, unless another was set. Any thread.
    QString resourcePath() const { return m_resourcePath; }
    /// Sets the folder of the program's resources: one on disk or one of those compiled in, with or without a slash at its
    /// end; nil and "" for ":/". At the program's start, before anything asks for it.
    void setResourcePath(const QString &folder);

private:
    NSBundle() = default;

    QVariantMap m_entries;
    QString m_resourcePath = QStringLiteral(":/");
};
