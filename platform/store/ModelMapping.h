// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/SQLiteValue.h"
#include "platform/store/StoreSchema.h"

#include <map>
#include <vector>

namespace zr {

/// Which entity and property of one model another model's are, by names and renaming identifiers. What can't be told from
/// the models raises StoreFailure (NSInferredMappingModelError), and so do changes that a store can't follow.
class ModelMapping {
public:
    /// How a column of an entity's new row is made.
    struct Value {
        const StoredColumn *to = nullptr;
        const StoredColumn *from = nullptr; ///< nullptr for a property that is new
        SQLiteValue unlessGiven;            ///< for a property that is new, and for nil if `replacesNil`
        bool replacesNil = false;
        bool becomesReal = false;
        bool mayNotFit = false; ///< the values have to be looked at first
    };

    ModelMapping(const StoreSchema &from, const StoreSchema &to);

    /// What an entity was; nullptr for a new one.
    const NSEntityDescription *origin(const NSEntityDescription *entity) const;
    /// What the topmost entity of a table was; nullptr for a new one.
    const NSEntityDescription *originOfRoot(const NSEntityDescription *root) const;
    /// The values of an entity's rows that were one before.
    const std::vector<Value> &values(const NSEntityDescription *entity) const { return m_values.at(entity); }
    /// The relationship whose pairs a join table gets; nullptr if it is new.
    const NSRelationshipDescription *origin(const JoinTable &table) const;
    /// Whether rows of an entity below the former root are gone.
    bool losesRows(const NSEntityDescription *formerRoot) const;

    /// The numbers of the new model's entities, in which those that were there keep theirs.
    static QMap<QString, qint64> numbers(const NSManagedObjectModel &from,
                                         const QMap<QString, qint64> &numbers,
                                         const NSManagedObjectModel &to);

private:
    void mapEntities();
    void mapRoots();
    void mapProperties(const NSEntityDescription *entity);
    Value attribute(const NSAttributeDescription *to, const NSPropertyDescription *from) const;
    Value toOne(const NSRelationshipDescription *to, const NSPropertyDescription *from) const;
    void checkToMany(const NSRelationshipDescription *to, const NSPropertyDescription *from) const;
    void requireSameEnds(const NSRelationshipDescription *to, const NSRelationshipDescription *from) const;

    const StoreSchema &m_from;
    const StoreSchema &m_to;
    std::map<const NSEntityDescription *, const NSEntityDescription *> m_origins, m_roots;
    std::map<const NSEntityDescription *, std::vector<Value>> m_values;
};

} // namespace zr
