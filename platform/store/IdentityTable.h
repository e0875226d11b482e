// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/ObjectSource.h"
#include "platform/store/StoreSchema.h"

#include <QHash>
#include <QString>
#include <memory>

namespace zr {

/// The identifiers of a store's rows that somebody holds: one row has one identity, so that identifiers can be compared by
/// it. One thread at a time.
class IdentityTable {
public:
    IdentityTable(const StoreSchema &schema, const QString &store) : m_schema(schema), m_store(store) {}

    /// The identifier of a row of that entity.
    NSManagedObjectID identifier(const StoredEntity &entity, qint64 key);
    /// Makes a temporary identifier that of a row.
    void makePermanent(const NSManagedObjectID &id, qint64 key);
    /// The row that an identifier names, if it is one of this store; 0 otherwise.
    qint64 keyOf(const NSManagedObjectID &id) const;

private:
    using Place = std::pair<const StoredTable *, qint64>;
    void insert(const Place &place, const std::shared_ptr<ObjectIdentity> &identity);

    const StoreSchema &m_schema;
    QString m_store;
    QHash<Place, std::weak_ptr<ObjectIdentity>> m_identities;
    qsizetype m_sweepAt = 1024;
};

} // namespace zr
