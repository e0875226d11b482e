// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/ObjectSource.h"
#include "platform/store/StoreSchema.h"

#include <QHashFunctions>
#include <QString>
#include <array>
#include <memory>
#include <unordered_map>

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
    /// Rows are mostly read in the order of their numbers: neighbours lie together.
    static constexpr qint64 GroupSize = 16;
    using Group = std::array<std::weak_ptr<ObjectIdentity>, GroupSize>;
    using Place = std::pair<const StoredTable *, qint64>;
    struct Hash {
        size_t operator()(const Place &place) const { return qHash(place); }
    };

    std::weak_ptr<ObjectIdentity> &slot(const StoredTable *table, qint64 key);

    const StoreSchema &m_schema;
    QString m_store;
    std::unordered_map<Place, Group, Hash> m_groups;
    size_t m_sweepAt = 1024;
};

} // namespace zr
