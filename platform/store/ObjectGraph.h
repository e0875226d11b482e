// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FirstException.h"
#include "platform/store/ObjectState.h"

#include <functional>
#include <optional>
#include <span>

namespace zr {

/// One step of a change of the graph. Every change is made of these; each knows its opposite.
struct GraphChange {
    enum Kind {
        Value,    ///< an attribute or to-one relationship gets the value
        Add,      ///< a to-many relationship gets the member, at a place of an ordered one
        Remove,   ///< it loses the member
        Arrange,  ///< an ordered relationship gets these members
        Insert,   ///< a new object comes into the graph
        Uninsert, ///< and leaves it again
        Delete,   ///< a saved object is marked as deleted
        Undelete, ///< and isn't any more
    } kind = Value;
    NSManagedObject *object = nullptr;
    int property = -1;
    QVariant value;
    NSManagedObject *member = nullptr;
    qsizetype place = -1;
    QList<NSManagedObject *> members;
};
using GraphChanges = std::vector<GraphChange>;

/// What has happened since changes were last processed.
struct GraphEvents {
    QVariantList inserted, updated, deleted;
    GraphChanges undo; ///< the opposite of all changes, the latest first
};

/// The objects of one context, what belongs to each, and what has changed. Used where its context is used.
class ObjectGraph {
public:
    ObjectGraph(NSManagedObjectContext *owner, std::shared_ptr<const EntityClasses> model, ObjectSource &from)
        : context(owner), classes(std::move(model)), source(from) {}
    ~ObjectGraph();
    ObjectGraph(const ObjectGraph &) = delete;
    ObjectGraph &operator=(const ObjectGraph &) = delete;

    NSManagedObjectContext *const context;
    const std::shared_ptr<const EntityClasses> classes;
    ObjectSource &source;
    /// Called at the first change after changes were processed.
    std::function<void()> onFirstChange;
    /// Whether the opposites of changes are kept.
    bool keepsUndo = false;

    // ---- Objects

    NSManagedObject *registered(const NSManagedObjectID &id) const;
    /// The object with the identifier, a fault if it isn't there yet. Raises NSInvalidArgumentException for nil and for
    /// an entity of another model.
    NSManagedObject *object(const NSManagedObjectID &id);
    /// A new object, which the next save inserts, under a new identifier or the one that is given.
    NSManagedObject *insert(const EntityClass &entityClass, const NSManagedObjectID &id);
    /// The object goes with its row, which is gone.
    void drop(NSManagedObject &object);
    QList<NSManagedObject *> allRegistered() const { return m_registered.values(); }
    /// All objects with changes, in the order of their first ones.
    QList<NSManagedObject *> changed() const;
    bool hasChanges() const;
    /// Takes all objects out and destroys them.
    void reset();

    // ---- Values, in GraphValues.cpp

    /// Reads a fault's values. Raises NSObjectInaccessibleException if that fails.
    void fire(NSManagedObject &object);
    /// The same; false if it fails, with an error unless the row is just gone.
    bool fire(NSManagedObject &object, NSError &error);
    /// Takes what a source has found: a fault gets its values, an unchanged object those of a newer version.
    NSManagedObject *adopt(FetchedObject &&found);
    /// Gives the values of an unchanged object back.
    void turnIntoFault(NSManagedObject &object);
    /// Reads the values anew; those that were changed stay if they are to be merged.
    void refresh(NSManagedObject &object, bool mergeChanges);
    /// The same with a row that is there: `keeps` tells which of the changed properties stay.
    void rebase(NSManagedObject &object, Row row, const std::function<bool(int property)> &keeps);
    /// The present values are now changes of that row.
    void overwrite(NSManagedObject &object, Row row);
    /// Reads these faults together as soon as one of them is needed, so many at a time.
    void batch(const QList<NSManagedObject *> &objects, qint64 size);
    /// Reads faults at once.
    NSError fault(const QList<NSManagedObject *> &objects);

    /// A property's value as key-value coding gives it.
    QVariant value(NSManagedObject &object, int property);
    NSManagedObject *toOne(NSManagedObject &object, int property);
    ToMany &toMany(NSManagedObject &object, int property);
    /// With its members.
    ToMany &loadedToMany(NSManagedObject &object, int property);
    /// Those members that are still in the context: without an inverse nobody takes others out.
    static QList<NSManagedObject *> present(const Members &members);
    QList<NSManagedObject *> related(NSManagedObject &object, int property);
    /// What the members were before they changed; they must be loaded.
    static QList<NSManagedObject *> committedMembers(const ToMany &many);
    /// Makes a to-many relationship be read anew if it is unchanged.
    void forgetMembers(NSManagedObject &object, int property);
    /// The same for those relationships of all objects.
    void forgetMembers(const std::function<bool(const NSRelationshipDescription *)> &which);

    // ---- Changes, in GraphChanges.cpp

    /// Sets a property, with the inverse. `isSilent` leaves out the announcements.
    void setValue(NSManagedObject &object, int property, const QVariant &value, bool isSilent = false);
    void addMember(NSManagedObject &object, int property, NSManagedObject *member, qsizetype at = -1);
    void removeMember(NSManagedObject &object, int property, NSManagedObject *member);
    /// Deletes the object, and what its delete rules delete.
    void remove(NSManagedObject &object);
    /// Makes changes, in their order, and announces them.
    void make(std::span<const GraphChange> changes, bool isSilent = false);
    /// Gives what has happened since the last call.
    GraphEvents takeEvents();

    // ---- Around a save, in GraphSaving.cpp

    /// Whether the value of a property differs from the one that was read or saved.
    static bool isValueChanged(const NSManagedObject &object, int property);
    /// What a save has to do; none for an object whose changes need no row. Reads members that are needed.
    std::optional<ObjectChange> changeOf(NSManagedObject &object);
    /// The object's present values are now those of the source.
    void didSave(NSManagedObject &object, qint64 version);
    /// Forgets which objects had changes, after a save.
    void forgetUnchanged();
    /// The object's row is gone, or never was: it leaves the graph.
    void leave(NSManagedObject &object);
    /// Takes all changes back.
    void rollback();
    /// Takes the changes of one object back.
    void rollback(NSManagedObject &object);
    /// Gives back the values of unchanged objects that nobody has asked for since the last call.
    void releaseUnused();

private:
    struct Batch {
        QList<NSManagedObject *> objects;
        qint64 size = 0;
    };

    NSManagedObject *make(const EntityClass &entityClass, const NSManagedObjectID &id);
    void enter(NSManagedObject &object);
    void list(NSManagedObject &object);
    void mark(NSManagedObject &object, unsigned told);
    void modify(NSManagedObject &object);
    void keep(GraphChange &&opposite);
    void apply(const GraphChange &change);
    void applyValue(const GraphChange &change);
    void applyMembers(const GraphChange &change);
    void applyLife(const GraphChange &change);
    void revive(NSManagedObject &object);
    /// Whether the object was never saved, and won't be.
    bool isNowhere(const NSManagedObjectID &id) const;
    QList<NSManagedObject *> batchOf(NSManagedObject &object);
    void take(NSManagedObject &object, Row &&row);
    static void checkPresence(const NSManagedObject &object);
    NSManagedObject *checkedMember(const NSManagedObject &object, int property, const QVariant &value) const;
    QList<NSManagedObject *> checkedMembers(const NSManagedObject &object, int property,
                                            const QVariant &value) const;
    bool hasMember(NSManagedObject &object, int property, NSManagedObject *member);
    void planToOne(NSManagedObject &object, int property, NSManagedObject *value, GraphChanges &plan);
    void planToMany(NSManagedObject &object, int property, const QList<NSManagedObject *> &members,
                    GraphChanges &plan);
    void planLink(NSManagedObject *from, int property, NSManagedObject *to, GraphChanges &plan);
    void planUnlink(NSManagedObject *from, int property, NSManagedObject *to, GraphChanges &plan);
    void planDeletion(NSManagedObject &object, GraphChanges &plan, QList<NSManagedObject *> &next);

    QHash<const ObjectIdentity *, NSManagedObject *> m_registered;
    /// Objects that came back after their deletion was saved, by the identifiers that they had before.
    QHash<NSManagedObjectID, NSManagedObject *> m_revived;
    std::vector<std::unique_ptr<NSManagedObject>> m_objects; ///< all, those that have left too
    QList<NSManagedObject *> m_changed;
    QList<NSManagedObject *> m_told;
    GraphChanges m_opposites;
    QHash<const NSManagedObject *, std::pair<std::shared_ptr<Batch>, qsizetype>> m_batches;
    bool m_hasEvents = false;
    FirstException *m_failure = nullptr;
};

} // namespace zr
