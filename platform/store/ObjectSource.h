// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/store/NSFetchRequest.h"
#include "platform/store/NSManagedObjectID.h"
#include "platform/store/NSManagedObjectModel.h"

#include <QList>
#include <QVariant>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace zr {

/// What an identifier names. Shared by all its copies; made temporary, and permanent once, by whoever saves.
struct ObjectIdentity {
    const NSEntityDescription *entity = nullptr;
    /// Keeps the entity alive.
    std::shared_ptr<const NSManagedObjectModel> model;
    /// The identifier of the store; set before `key`.
    QString store;
    /// The row; 0 while the identifier is temporary.
    std::atomic<qint64> key = 0;
    /// Tells temporary identifiers of this process apart; 0 for those that never were one.
    qint64 temporaryNumber = 0;

    /// A new temporary identifier for an object of the entity.
    static NSManagedObjectID temporary(const NSEntityDescription *entity);
    static NSManagedObjectID wrap(std::shared_ptr<ObjectIdentity> identity) {
        return NSManagedObjectID(std::move(identity));
    }
    static const std::shared_ptr<ObjectIdentity> &of(const NSManagedObjectID &id) { return id.m_identity; }
};

/// An object's values as its source has them.
struct Row {
    /// One for each property of the entity, by its index. A to-one relationship is an NSManagedObjectID or nil. The places of
    /// to-many relationships and transient properties are unused.
    std::vector<QVariant> values;
    /// Goes up with every change of the row.
    qint64 version = 0;
};

/// One object's part in a save.
struct ObjectChange {
    enum Kind { Insert, Update, Delete } kind = Update;
    /// Temporary before an insertion.
    NSManagedObjectID id;
    /// The values after the change; unused for a deletion. `row.version` is the version that the change is based on.
    Row row;
    /// The indexes of the properties that differ from the version that the change is based on.
    std::vector<int> changed;
    /// A to-many relationship that has changed: all its objects, in their order, and what they were.
    struct ToMany {
        int property = -1;
        QList<NSManagedObjectID> before, after;
    };
    std::vector<ToMany> toMany;
};

/// A change that is based on another version of the object than the source's.
struct SaveConflict {
    NSManagedObjectID id;
    /// What the source has now; none if the object is gone.
    std::optional<Row> stored;
};

struct SaveOutcome {
    /// nil if everything was saved; nothing was otherwise.
    NSError error;
    /// Why nothing was saved, if that is the reason.
    std::vector<SaveConflict> conflicts;
    /// The new versions of what was saved, in the order of the changes.
    std::vector<qint64> versions;
};

/// What a fetch found, in order.
struct FetchedObject {
    NSManagedObjectID id;
    /// None if only identifiers were asked for.
    std::optional<Row> row;
};

/// What a fetch leaves to be done in memory, because the source could not do it with the same answer.
struct FetchRemainder {
    NSPredicate predicate; ///< nil: nothing
    bool sort = false;     ///< all of the sort descriptors
    bool window = false;   ///< offset and limit
};

/// Where a context gets objects from and saves them to: a store, or another context. A source is used by several
/// threads, one call at a time.
class ObjectSource {
public:
    virtual ~ObjectSource() = default;

    /// Calls the block for each object that the request finds, of the entity or those that inherit from it (see the
    /// request), in order. The remainder is told first. `wantsRows` is false if identifiers are enough. Objects stand in
    /// the request's predicate as their identifiers. The blocks may not call the source.
    virtual NSError fetch(const NSFetchRequest &request, const NSEntityDescription *entity, bool wantsRows,
                          const std::function<void(const FetchRemainder &)> &begin,
                          const std::function<void(FetchedObject &&)> &found) = 0;
    /// How many objects the request finds; none if they have to be looked at in memory.
    virtual std::optional<quint64> count(const NSFetchRequest &request, const NSEntityDescription *entity,
                                         NSError &error) = 0;
    /// The rows of these objects of one entity, in no order; those that are gone are left out.
    virtual NSError rows(const QList<NSManagedObjectID> &ids,
                         const std::function<void(FetchedObject &&)> &found) = 0;
    /// The objects at the other end of a to-many relationship, in their order if it has one, otherwise by their rows.
    virtual NSError related(const NSManagedObjectID &id, const NSRelationshipDescription *relationship,
                            QList<NSManagedObjectID> &objects) = 0;
    /// Saves all changes or none. On success temporary identifiers of inserted objects are permanent if the source is a store.
    virtual SaveOutcome save(const std::vector<ObjectChange> &changes) = 0;
    /// The identifier that a URI names; nil if it is none of this source's.
    virtual NSManagedObjectID identifierForURI(const QUrl &uri) = 0;
};

} // namespace zr
