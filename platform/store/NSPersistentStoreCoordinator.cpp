// SPDX-License-Identifier: MIT
#include "platform/store/NSPersistentStoreCoordinator.h"

#include "platform/base/NSException.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/store/SQLiteStore.h"
#include "platform/store/StoreFailure.h"

#include <mutex>

namespace zr {

/// The store, or nothing; one call at a time.
class CoordinatorSource final : public ObjectSource {
public:
    NSError fetch(const NSFetchRequest &request, const NSEntityDescription *entity, bool wantsRows,
                  const std::function<void(const FetchRemainder &)> &begin,
                  const std::function<void(FetchedObject &&)> &found) override {
        const std::scoped_lock lock(mutex);
        return store ? store->fetch(request, entity, wantsRows, begin, found) : missing();
    }

    std::optional<quint64> count(const NSFetchRequest &request, const NSEntityDescription *entity,
                                 NSError &error) override {
        const std::scoped_lock lock(mutex);
        if (store)
            return store->count(request, entity, error);
        error = missing();
        return {};
    }

    NSError rows(const QList<NSManagedObjectID> &ids,
                 const std::function<void(FetchedObject &&)> &found) override {
        const std::scoped_lock lock(mutex);
        return store ? store->rows(ids, found) : missing();
    }

    NSError related(const NSManagedObjectID &id, const NSRelationshipDescription *relationship,
                    QList<NSManagedObjectID> &objects) override {
        const std::scoped_lock lock(mutex);
        return store ? store->related(id, relationship, objects) : missing();
    }

    SaveOutcome save(const std::vector<ObjectChange> &changes) override {
        const std::scoped_lock lock(mutex);
        return store ? store->save(changes) : SaveOutcome{missing(), {}, {}};
    }

    NSManagedObjectID identifierForURI(const QUrl &uri) override {
        const std::scoped_lock lock(mutex);
        return store ? store->identifierForURI(uri) : NSManagedObjectID();
    }

    mutable std::mutex mutex;
    std::unique_ptr<SQLiteStore> store;
    std::shared_ptr<NSPersistentStore> description;

private:
    static NSError missing() {
        return StoreFailure(NSPersistentStoreOpenError, QStringLiteral("There is no store.")).error();
    }
};

} // namespace zr

using namespace zr;

NSPersistentStoreCoordinator::NSPersistentStoreCoordinator(const NSManagedObjectModel::Ptr &model)
    : m_model(model), m_source(std::make_unique<CoordinatorSource>()) {
    if (!model)
        throw NSException(NSInvalidArgumentException, QStringLiteral("A coordinator needs a model."));
}

NSPersistentStoreCoordinator::~NSPersistentStoreCoordinator() = default;

std::shared_ptr<NSPersistentStore>
NSPersistentStoreCoordinator::addPersistentStoreWithType(const QString &type, const QString &configuration,
                                                         const QUrl &url, const QVariantMap &options,
                                                         NSError *error) {
    if (!configuration.isNull())
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("The model has no configuration \"%1\".").arg(configuration));
    const std::scoped_lock lock(m_source->mutex);
    const QString path = NSPathOfFileURL(url);
    const NSError failure =
        storeErrorOf(NSPersistentStoreOpenError, QStringLiteral("%1 can't be opened").arg(path), [&] {
            if (type != NSSQLiteStoreType)
                throw StoreFailure(NSPersistentStoreInvalidTypeError,
                                   QStringLiteral("There is no type of store \"%1\".").arg(type));
            if (m_source->store)
                throw StoreFailure(NSPersistentStoreOpenError, QStringLiteral("There is a store already."));
            const StoreOptions wanted{options.value(NSReadOnlyPersistentStoreOption).toBool(),
                                      options.value(NSMigratePersistentStoresAutomaticallyOption).toBool() &&
                                          options.value(NSInferMappingModelAutomaticallyOption).toBool()};
            m_source->store = std::make_unique<SQLiteStore>(openStore(m_model, path, wanted));
            m_source->description =
                std::make_shared<NSPersistentStore>(url, m_source->store->identifier(), options);
        });
    if (failure) {
        if (error)
            *error = failure;
        return nullptr;
    }
    return m_source->description;
}

bool NSPersistentStoreCoordinator::removePersistentStore(const std::shared_ptr<NSPersistentStore> &store,
                                                         NSError *error) {
    const std::scoped_lock lock(m_source->mutex);
    if (!store || store != m_source->description) {
        if (error)
            *error = StoreFailure(NSPersistentStoreOpenError,
                                  QStringLiteral("The store isn't one of this coordinator."))
                         .error();
        return false;
    }
    m_source->store.reset();
    m_source->description.reset();
    return true;
}

QList<std::shared_ptr<NSPersistentStore>> NSPersistentStoreCoordinator::persistentStores() const {
    const std::scoped_lock lock(m_source->mutex);
    return m_source->description ? QList{m_source->description} : QList<std::shared_ptr<NSPersistentStore>>();
}

NSManagedObjectID NSPersistentStoreCoordinator::managedObjectIDForURIRepresentation(const QUrl &uri) {
    return m_source->identifierForURI(uri);
}

ObjectSource &NSPersistentStoreCoordinator::source() const {
    return *m_source;
}
