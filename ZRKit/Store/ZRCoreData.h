// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyObject.h"
#include "platform/store/NSManagedObjectContext.h"
#include "platform/store/NSPersistentStoreCoordinator.h"

#include <QObject>
#include <QUrl>
#include <concepts>
#include <functional>
#include <memory>
#include <optional>

/// An application's object store in one object: the model of its resources, one SQLite file and the main context, each made
/// when it is first asked for. What fails is shown to the user (NSPresentError()); nothing is raised but for an unknown entity
/// name, or without a context for any: NSInvalidArgumentException.
///
/// Used on the main thread; instance() may be called by any.
class ZRCoreData : public QObject {
    Q_OBJECT
    Q_PROPERTY(QUrl storeURL READ storeURL WRITE setStoreURL)

public:
    /// The one that is shared, made at the first call, as an object of the class that this call is for; later calls give
    /// the same object.
    template <std::derived_from<ZRCoreData> Class = ZRCoreData>
    static ZRCoreData &instance() {
        return shared([] { return std::unique_ptr<ZRCoreData>(std::make_unique<Class>()); });
    }

    /// For the file "Data.db" in the application's private folder (zrPrivateFolder()), which is made.
    ZRCoreData();
    /// For the file at a file URL or path; nothing is opened yet. Anything else is no file and fails an assertion.
    explicit ZRCoreData(const ZRKit::AnyObject &path);
    ~ZRCoreData() override;

    /// The store's file; empty for none. Another one counts when a coordinator is next made.
    QUrl storeURL() const { return m_storeURL; }
    void setStoreURL(const QUrl &url) { m_storeURL = url; }

    /// The merged model of the application's resources; nullptr if that can't be read.
    NSManagedObjectModel::Ptr managedObjectModel();
    /// With the store, whose folder is made if it is missing. nullptr if there is no folder, and for the call in which the
    /// store can't be added: later calls give the coordinator without a store, and what it is then asked for fails.
    std::shared_ptr<NSPersistentStoreCoordinator> persistentStoreCoordinator();
    /// The main context, in which changes in memory win over those in the store, property by property. nullptr without a
    /// coordinator.
    std::shared_ptr<NSManagedObjectContext> managedObjectContext();
    std::shared_ptr<NSManagedObjectContext> context() { return managedObjectContext(); }
    std::shared_ptr<NSManagedObjectContext> moc() { return managedObjectContext(); }
    /// A new child of the main context at each call, with a private queue and without an undo manager.
    std::shared_ptr<NSManagedObjectContext> submoc();

    // In the main context:

    const NSEntityDescription *entity(const QString &name);
    /// A new object of the entity.
    NSManagedObject *object(const QString &entityName);
    void deleteObject(NSManagedObject *object);
    /// Those of any collection, in its order.
    void deleteObjects(const QVariant &objects);
    /// The objects for which the predicate holds, all for nil; none on an error.
    std::optional<QVariantList> fetch(const QString &entityName, const NSPredicate &predicate);
    std::optional<QVariantList> fetchAll(const QString &entityName);
    /// Deletes all objects of the entity. Nothing is saved.
    void deleteAll(const QString &entityName);

    /// Saves what editors and the context hold; whether there was no error. True without a context.
    bool save();
    /// Tells the user, forgets context, model and coordinator, and removes the store's file, but no other file beside
    /// it. Objects must not be used any more; the next request makes an empty store.
    void reset();
    /// Shows an error to the user; of several errors in one, only the whole. Nothing for nil.
    void zr_handleError(const NSError &error);

private:
    static ZRCoreData &shared(const std::function<std::unique_ptr<ZRCoreData>()> &make);
    NSError checkFolder() const;
    NSManagedObjectContext &requiredContext();

    QUrl m_storeURL;
    NSManagedObjectModel::Ptr m_model;
    std::shared_ptr<NSPersistentStoreCoordinator> m_coordinator;
    std::shared_ptr<NSManagedObjectContext> m_context;
};
