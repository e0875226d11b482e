// SPDX-License-Identifier: MIT
#include "platform/store/ObjectGraph.h"

#include "platform/base/NSException.h"
#include "platform/store/NSManagedObjectContext.h"

#include <algorithm>

using namespace zr;

ObjectGraph::~ObjectGraph() = default;

NSManagedObject *ObjectGraph::registered(const NSManagedObjectID &id) const {
    NSManagedObject *known = m_registered.value(ObjectIdentity::of(id).get());
    if (known || m_revived.isEmpty())
        return known;
    known = m_revived.value(id);
    return known && !ObjectState::of(*known).is(ObjectState::Gone) ? known : nullptr;
}

NSManagedObject *ObjectGraph::object(const NSManagedObjectID &id) {
    if (NSManagedObject *known = registered(id))
        return known;
    const EntityClass *entityClass = id.isNil() ? nullptr : classes->of(id.entity());
    if (!entityClass)
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("The identifier %1 names no object of this context's model.")
                              .arg(id.URIRepresentation().toString()));
    NSManagedObject *made = make(*entityClass, id);
    enter(*made);
    return made;
}

NSManagedObject *ObjectGraph::make(const EntityClass &entityClass, const NSManagedObjectID &id) {
    m_objects.emplace_back(entityClass.factory()({this, &entityClass, id}));
    NSManagedObject *made = m_objects.back().get();
    // Blocks of a private queue run on any thread, and whichever is the last one destroys the objects.
    if (context->concurrencyType() == NSPrivateQueueConcurrencyType)
        made->moveToThread(nullptr);
    return made;
}

void ObjectGraph::enter(NSManagedObject &object) {
    const ObjectState &state = ObjectState::of(object);
    m_registered.insert(ObjectIdentity::of(state.id).get(), &object);
}

NSManagedObject *ObjectGraph::insert(const EntityClass &entityClass, const NSManagedObjectID &id) {
    NSManagedObject *made = make(entityClass, id);
    ObjectState &state = ObjectState::of(*made);
    state.values = entityClass.defaults();
    state.set(ObjectState::HasValues | ObjectState::Fresh);
    GraphChange change;
    change.kind = GraphChange::Insert;
    change.object = made;
    apply(change);
    return made;
}

void ObjectGraph::drop(NSManagedObject &object) {
    rollback(object);
    if (ObjectState::of(object).is(ObjectState::Gone))
        return;
    mark(object, ObjectState::ToldDeleted);
    leave(object);
}

QList<NSManagedObject *> ObjectGraph::changed() const {
    QList<NSManagedObject *> changed;
    changed.reserve(m_changed.size());
    std::copy_if(m_changed.begin(), m_changed.end(), std::back_inserter(changed),
                 [](NSManagedObject *object) { return object->hasChanges(); });
    return changed;
}

bool ObjectGraph::hasChanges() const {
    return std::any_of(m_changed.begin(), m_changed.end(),
                       [](NSManagedObject *object) { return object->hasChanges(); });
}

void ObjectGraph::reset() {
    m_registered.clear();
    m_revived.clear();
    m_changed.clear();
    m_told.clear();
    m_opposites.clear();
    m_batches.clear();
    m_hasEvents = false;
    // Observers of a dying object may look at others.
    for (const auto &object : m_objects)
        ObjectState::of(*object).set(ObjectState::Gone);
    const auto dying = std::move(m_objects);
    m_objects.clear();
}

void ObjectGraph::list(NSManagedObject &object) {
    ObjectState &state = ObjectState::of(object);
    if (state.is(ObjectState::Listed))
        return;
    state.set(ObjectState::Listed);
    m_changed.append(&object);
}

void ObjectGraph::mark(NSManagedObject &object, unsigned told) {
    ObjectState &state = ObjectState::of(object);
    if (!state.is(ObjectState::AnyTold))
        m_told.append(&object);
    state.set(told);
    if (!std::exchange(m_hasEvents, true) && onFirstChange)
        onFirstChange();
}

GraphEvents ObjectGraph::takeEvents() {
    GraphEvents events;
    const auto told = std::exchange(m_told, {});
    for (NSManagedObject *object : told) {
        ObjectState &state = ObjectState::of(*object);
        const bool isOut = state.is(ObjectState::Gone | ObjectState::Deleted);
        if (state.is(ObjectState::ToldInserted) && !isOut)
            events.inserted << QVariant::fromValue<QObject *>(object);
        else if (isOut && !state.is(ObjectState::ToldInserted))
            events.deleted << QVariant::fromValue<QObject *>(object);
        else if (!isOut)
            events.updated << QVariant::fromValue<QObject *>(object);
        state.clear(ObjectState::AnyTold | ObjectState::Fresh);
    }
    std::reverse(m_opposites.begin(), m_opposites.end());
    events.undo = std::exchange(m_opposites, {});
    m_hasEvents = false;
    return events;
}
