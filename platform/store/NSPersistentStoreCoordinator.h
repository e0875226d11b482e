// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/store/NSManagedObjectID.h"
#include "platform/store/NSManagedObjectModel.h"
#include "platform/store/NSPersistentStore.h"

#include <QList>
#include <QUrl>
#include <QVariantMap>
#include <memory>

namespace zr {
class ObjectSource;
class CoordinatorSource;
} // namespace zr

/// Stands between contexts and a store file: any number of contexts use it, on any threads, one call at a time.
///
/// It has one store at most. Without one, what contexts fetch and save fails with an error. Errors are in
/// NSCocoaErrorDomain (NSCoreDataErrors.h), with the cause under NSUnderlyingErrorKey. Held by std::shared_ptr.
class NSPersistentStoreCoordinator {
public:
    /// Raises NSInvalidArgumentException for nullptr.
    explicit NSPersistentStoreCoordinator(const NSManagedObjectModel::Ptr &model);
    ~NSPersistentStoreCoordinator();
    NSPersistentStoreCoordinator(const NSPersistentStoreCoordinator &) = delete;
    NSPersistentStoreCoordinator &operator=(const NSPersistentStoreCoordinator &) = delete;

    NSManagedObjectModel::Ptr managedObjectModel() const { return m_model; }

    /// Opens the store file at a file URL, or makes a new one if there is no file or an empty one. nullptr and an error if
    /// that fails, if the type isn't NSSQLiteStoreType, or if there is a store already. The configuration must be nil:
    /// models have none. Blocks; as long as another process keeps the file locked, up to 5 seconds.
    std::shared_ptr<NSPersistentStore> addPersistentStoreWithType(const QString &type,
                                                                  const QString &configuration,
                                                                  const QUrl &url, const QVariantMap &options,
                                                                  NSError *error = nullptr);
    /// Closes the store's file. Objects of it can't be read or saved from then on. False and an error if it isn't this
    /// coordinator's.
    bool removePersistentStore(const std::shared_ptr<NSPersistentStore> &store, NSError *error = nullptr);
    /// The store, if there is one.
    QList<std::shared_ptr<NSPersistentStore>> persistentStores() const;

    /// The identifier that a URI names; nil for a URI of another store, a malformed one and one of a temporary identifier.
    /// Whether the store has the object is not looked up.
    NSManagedObjectID managedObjectIDForURIRepresentation(const QUrl &uri);

    /// What contexts get their objects from and save them to.
    zr::ObjectSource &source() const;

private:
    NSManagedObjectModel::Ptr m_model;
    std::unique_ptr<zr::CoordinatorSource> m_source;
};
