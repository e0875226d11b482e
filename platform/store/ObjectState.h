// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/EntityClass.h"
#include "platform/store/NSManagedObject.h"
#include "platform/store/ObjectSource.h"

#include <QList>
#include <QSet>
#include <atomic>
#include <memory>
#include <vector>

namespace zr {

/// The objects of a to-many relationship, each once, in their order if it has one.
class Members {
public:
    explicit Members(bool isOrdered = false) : m_isOrdered(isOrdered) {}

    bool contains(NSManagedObject *object) const { return m_all.contains(object); }
    qsizetype size() const { return m_all.size(); }
    void insert(NSManagedObject *object, qsizetype at = -1) {
        if (m_all.contains(object))
            return;
        m_all.insert(object);
        if (m_isOrdered)
            m_order.insert(at < 0 ? m_order.size() : at, object);
    }
    /// Where the object was; -1 without an order.
    qsizetype remove(NSManagedObject *object) {
        m_all.remove(object);
        const qsizetype at = m_order.indexOf(object);
        if (at >= 0)
            m_order.removeAt(at);
        return at;
    }
    QList<NSManagedObject *> list() const { return m_isOrdered ? m_order : m_all.values(); }

private:
    bool m_isOrdered;
    QSet<NSManagedObject *> m_all;
    QList<NSManagedObject *> m_order;
};

/// A to-many relationship of one object.
struct ToMany {
    /// Whether the members are known. Until then `added` and `removed` say what has changed since the source's state,
    /// if the relationship follows from its inverse; others are read before they are changed.
    bool isLoaded = false;
    bool isChanged = false;
    Members members;
    /// What the members were before the first change; once they are loaded.
    Members before;
    QSet<NSManagedObject *> added, removed;
};

/// What an object is made with.
struct ObjectSeed {
    ObjectGraph *graph;
    const EntityClass *entityClass;
    const NSManagedObjectID &id;
};

/// What an object holds.
struct ObjectState {
    explicit ObjectState(const ObjectSeed &seed)
        : graph(seed.graph), entityClass(seed.entityClass), id(seed.id) {}

    enum Flag : unsigned {
        Inserted = 1,       ///< the next save inserts it
        Updated = 2,        ///< the next save changes it
        Deleted = 4,        ///< the next save deletes it
        Listed = 8,         ///< it is in the graph's list of changed objects
        HasValues = 16,     ///< it is no fault
        Gone = 32,          ///< it has left the context
        Fresh = 64,         ///< it was inserted since changes were last processed
        ToldInserted = 128, ///< what has happened to it since changes were last processed
        ToldUpdated = 256,
        ToldDeleted = 512,
        AnyTold = ToldInserted | ToldUpdated | ToldDeleted,
        InBatch = 1024, ///< it is read along with others
        Used = 2048,    ///< its values were asked for since the last save
    };

    bool is(unsigned flag) const { return flags & flag; }
    void set(unsigned flag) { flags |= flag; }
    void clear(unsigned flag) { flags &= ~flag; }
    bool hasChanges() const { return is(Inserted | Updated | Deleted); }

    /// Of an object in the same library: what stands behind it.
    static ObjectState &of(const NSManagedObject &object) { return *object.d; }

    ObjectGraph *graph;
    const EntityClass *const entityClass;
    NSManagedObjectID id;
    unsigned flags = 0;
    qint64 version = 0;
    /// One for each property, as in Row; empty for a fault.
    std::vector<QVariant> values;
    /// What they were before the first change; none if they are unchanged or the object is new.
    std::unique_ptr<std::vector<QVariant>> committed;
    /// One for each to-many relationship; none until one of them is used.
    std::unique_ptr<ToMany[]> toMany;
    /// Somebody has connected to a signal of the object; set by any thread.
    std::atomic<bool> isObserved = false;
};

} // namespace zr
