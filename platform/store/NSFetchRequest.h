// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSPredicate.h"
#include "platform/predicates/NSSortDescriptor.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <algorithm>

/// What a fetch gives.
enum class NSFetchRequestResultType {
    ManagedObjects,   ///< NSManagedObject pointers
    ManagedObjectIDs, ///< NSManagedObjectID values
    Dictionaries,     ///< QVariantMap, with the values of propertiesToFetch
    Count,            ///< one number
};

/// What to look for in a context; a value. Any thread.
class NSFetchRequest {
public:
    NSFetchRequest() = default;
    explicit NSFetchRequest(const QString &entityName) : m_entityName(entityName) {}

    QString entityName() const { return m_entityName; }
    void setEntityName(const QString &name) { m_entityName = name; }
    /// Whether objects of entities that inherit from it count too; true at first.
    bool includesSubentities() const { return m_includesSubentities; }
    void setIncludesSubentities(bool flag) { m_includesSubentities = flag; }
    /// Whether changes that aren't saved yet count; true at first.
    bool includesPendingChanges() const { return m_includesPendingChanges; }
    void setIncludesPendingChanges(bool flag) { m_includesPendingChanges = flag; }

    /// nil finds all.
    NSPredicate predicate() const { return m_predicate; }
    void setPredicate(const NSPredicate &predicate) { m_predicate = predicate; }
    QList<NSSortDescriptor> sortDescriptors() const { return m_sortDescriptors; }
    void setSortDescriptors(const QList<NSSortDescriptor> &descriptors) { m_sortDescriptors = descriptors; }

    /// How many of the first results are left out, and how many are given at most; 0 for all. Negative numbers count as 0.
    qint64 fetchOffset() const { return m_offset; }
    void setFetchOffset(qint64 offset) { m_offset = std::max<qint64>(offset, 0); }
    qint64 fetchLimit() const { return m_limit; }
    void setFetchLimit(qint64 limit) { m_limit = std::max<qint64>(limit, 0); }
    /// How many objects have their values read at a time, when they are first asked for; 0 for all at once.
    qint64 fetchBatchSize() const { return m_batchSize; }
    void setFetchBatchSize(qint64 size) { m_batchSize = std::max<qint64>(size, 0); }

    NSFetchRequestResultType resultType() const { return m_resultType; }
    void setResultType(NSFetchRequestResultType type) { m_resultType = type; }
    /// The key paths of a dictionary result; all attributes if empty.
    QStringList propertiesToFetch() const { return m_propertiesToFetch; }
    void setPropertiesToFetch(const QStringList &properties) { m_propertiesToFetch = properties; }
    /// Whether equal dictionaries are given once.
    bool returnsDistinctResults() const { return m_distinct; }
    void setReturnsDistinctResults(bool flag) { m_distinct = flag; }
    /// Key paths of relationships whose objects are read along with the results.
    QStringList relationshipKeyPathsForPrefetching() const { return m_prefetching; }
    void setRelationshipKeyPathsForPrefetching(const QStringList &keyPaths) { m_prefetching = keyPaths; }

private:
    QString m_entityName;
    NSPredicate m_predicate;
    QList<NSSortDescriptor> m_sortDescriptors;
    QStringList m_propertiesToFetch, m_prefetching;
    qint64 m_offset = 0, m_limit = 0, m_batchSize = 0;
    NSFetchRequestResultType m_resultType = NSFetchRequestResultType::ManagedObjects;
    bool m_includesSubentities = true, m_includesPendingChanges = true, m_distinct = false;
};
