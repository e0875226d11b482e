// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QUrl>
#include <QVariantMap>

/// The one type of store there is: a SQLite file.
inline const QString NSSQLiteStoreType = QStringLiteral("SQLite");

// Options of a store; each is true or false, which is what it is unless given.

/// The file is only read, and may be one that the user can't write.
inline const QString NSReadOnlyPersistentStoreOption = QStringLiteral("NSReadOnlyPersistentStoreOption");
/// A file of another model is changed to the present one ...
inline const QString NSMigratePersistentStoresAutomaticallyOption =
    QStringLiteral("NSMigratePersistentStoresAutomaticallyOption");
/// ... in a way that is told from the two models. Without both, such a file is refused.
inline const QString NSInferMappingModelAutomaticallyOption =
    QStringLiteral("NSInferMappingModelAutomaticallyOption");

/// A store file in use by a coordinator. Immutable; any thread.
class NSPersistentStore {
public:
    NSPersistentStore(const QUrl &url, const QString &identifier, const QVariantMap &options)
        : m_url(url), m_identifier(identifier), m_options(options) {}

    QString type() const { return NSSQLiteStoreType; }
    QUrl URL() const { return m_url; }
    /// A UUID that the file got when it was made.
    QString identifier() const { return m_identifier; }
    QVariantMap options() const { return m_options; }
    bool isReadOnly() const { return m_options.value(NSReadOnlyPersistentStoreOption).toBool(); }

private:
    QUrl m_url;
    QString m_identifier;
    QVariantMap m_options;
};
