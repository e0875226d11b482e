// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/IdentityTable.h"
#include "platform/store/ObjectSource.h"
#include "platform/store/StoreOpening.h"

#include <QString>

namespace zr {

struct StoreQuery;

/// The objects in one store file. One thread at a time.
///
/// Its blocks are called while the file is being read: they may not call the store. Errors are in NSCocoaErrorDomain, with
/// SQLite's own under NSUnderlyingErrorKey.
class SQLiteStore final : public ObjectSource {
public:
    explicit SQLiteStore(OpenedStore opened);
    ~SQLiteStore() override;

    QString identifier() const { return m_uuid; }

    NSError fetch(const NSFetchRequest &request, const NSEntityDescription *entity, bool wantsRows,
                  const std::function<void(const FetchRemainder &)> &begin,
                  const std::function<void(FetchedObject &&)> &found) override;
    std::optional<quint64> count(const NSFetchRequest &request, const NSEntityDescription *entity,
                                 NSError &error) override;
    NSError rows(const QList<NSManagedObjectID> &ids,
                 const std::function<void(FetchedObject &&)> &found) override;
    NSError related(const NSManagedObjectID &id, const NSRelationshipDescription *relationship,
                    QList<NSManagedObjectID> &objects) override;
    SaveOutcome save(const std::vector<ObjectChange> &changes) override;
    NSManagedObjectID identifierForURI(const QUrl &uri) override;

private:
    class RowReader;
    void run(const StoreQuery &query, const NSEntityDescription *entity, bool wantsRows,
             const std::function<void(FetchedObject &&)> &found);
    NSManagedObjectID identifier(const StoredEntity &entity, qint64 key);
    const StoredEntity &entityNumbered(const StoredTable *table, qint64 number) const;
    void readRows(const QList<NSManagedObjectID> &ids, const std::function<void(FetchedObject &&)> &found);
    void resolve(const ObjectChange &change, SaveOutcome &outcome);

    std::unique_ptr<SQLiteDatabase> m_database;
    std::unique_ptr<StoreSchema> m_schema;
    QString m_uuid;
    IdentityTable m_identities;
};

} // namespace zr
