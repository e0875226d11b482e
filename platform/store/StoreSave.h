// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/IdentityTable.h"
#include "platform/store/ObjectSource.h"
#include "platform/store/SQLiteDatabase.h"

#include <QHash>
#include <map>

namespace zr {

/// One save: writes the changes of objects inside a transaction, and finds those that are based on another version of an
/// object than the file's. Raises StoreFailure and SQLiteFailure.
class StoreSave {
public:
    StoreSave(SQLiteDatabase &database, const StoreSchema &schema, const IdentityTable &identities)
        : m_database(database), m_schema(schema), m_identities(identities) {}

    void write(const std::vector<ObjectChange> &changes);

    /// The changes that are in conflict. If there are any, nothing may be committed.
    const std::vector<const ObjectChange *> &conflicts() const { return m_conflicts; }
    /// The new versions, in the order of the changes.
    const std::vector<qint64> &versions() const { return m_versions; }
    /// The rows of the objects that were inserted.
    const std::vector<std::pair<NSManagedObjectID, qint64>> &inserted() const { return m_inserted; }

private:
    void numberInserted(const std::vector<ObjectChange> &changes);
    void insert(const ObjectChange &change, qint64 key);
    SQLiteStatement insertStatement(const StoredEntity &entity);
    void update(const ObjectChange &change);
    void remove(const ObjectChange &change);
    void writePairs(const ObjectChange &change);
    void writePairs(const JoinSide &side, qint64 owner, const ObjectChange::ToMany &change);

    SQLiteValue storedValue(const StoredColumn &column, const QVariant &value) const;
    qint64 keyOf(const NSManagedObjectID &id) const;

    SQLiteDatabase &m_database;
    const StoreSchema &m_schema;
    const IdentityTable &m_identities;
    std::map<const StoredEntity *, SQLiteStatement> m_inserts;
    QHash<const ObjectIdentity *, qint64> m_newKeys;
    std::vector<std::pair<NSManagedObjectID, qint64>> m_inserted;
    std::vector<qint64> m_versions;
    std::vector<const ObjectChange *> m_conflicts;
};

} // namespace zr
