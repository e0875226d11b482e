// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/ObjectSource.h"

class NSManagedObject;
class NSManagedObjectContext;

namespace zr {

class ObjectGraph;

/// A context as the place where its children's objects come from and go to. Every call runs where the parent's blocks run.
class ParentSource final : public ObjectSource {
public:
    /// `graph` is the parent's.
    ParentSource(std::shared_ptr<NSManagedObjectContext> parent, ObjectGraph &graph);

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
    void checkPresence(const std::vector<ObjectChange> &changes, SaveOutcome &outcome);
    void setValues(NSManagedObject &object, const ObjectChange &change);

    const std::shared_ptr<NSManagedObjectContext> m_parent;
    ObjectGraph &m_graph;
};

} // namespace zr
