// SPDX-License-Identifier: MIT
#include "platform/store/ObjectGraph.h"

#include "platform/store/AttributeValue.h"
#include "platform/store/ChangeAnnouncement.h"
#include "platform/store/NSManagedObjectContext.h"
#include "platform/values/ValueKind.h"

using namespace zr;

namespace {

QList<NSManagedObjectID> identifiers(const QList<NSManagedObject *> &objects) {
    QList<NSManagedObjectID> ids;
    ids.reserve(objects.size());
    for (const NSManagedObject *object : objects)
        ids << object->objectID();
    return ids;
}

} // namespace

bool ObjectGraph::isValueChanged(const NSManagedObject &object, int property) {
    const ObjectState &state = ObjectState::of(object);
    const EntityProperty &described = state.entityClass->property(property);
    if (described.toMany >= 0) {
        const ToMany *many = state.toMany ? &state.toMany[size_t(described.toMany)] : nullptr;
        return many && many->isChanged;
    }
    if (!state.is(ObjectState::HasValues))
        return false;
    const QVariant &value = state.values[size_t(property)];
    if (state.is(ObjectState::Inserted))
        return value.isValid();
    if (!state.committed)
        return false;
    const QVariant &before = (*state.committed)[size_t(property)];
    return described.attribute ? !isSameAttributeValue(described.attribute->attributeType(), before, value)
                               : before != value;
}

bool ObjectGraph::isNowhere(const NSManagedObjectID &id) const {
    if (!id.isTemporaryID() || context->parentContext())
        return false;
    const NSManagedObject *known = registered(id);
    return !known || !known->isInserted();
}

std::optional<ObjectChange> ObjectGraph::changeOf(NSManagedObject &object) {
    ObjectState &state = ObjectState::of(object);
    ObjectChange change;
    change.id = state.id;
    change.row.version = state.version;
    if (state.is(ObjectState::Deleted)) {
        change.kind = ObjectChange::Delete;
        return change;
    }
    const bool isNew = state.is(ObjectState::Inserted);
    change.kind = isNew ? ObjectChange::Insert : ObjectChange::Update;
    if (state.is(ObjectState::HasValues))
        change.row.values = state.values;
    for (int i = 0; i < state.entityClass->propertyCount(); ++i) {
        const EntityProperty &property = state.entityClass->property(i);
        if (property.toMany >= 0) {
            if (property.followsFromInverse() || !isValueChanged(object, i))
                continue;
            const ToMany &many = loadedToMany(object, i);
            const QList<NSManagedObject *> before = committedMembers(many), after = present(many.members);
            if (before != after)
                change.toMany.push_back({i, identifiers(before), identifiers(after)});
            continue;
        }
        if (!property.isInRow() || (!isNew && !isValueChanged(object, i)))
            continue;
        if (!isNew)
            change.changed.push_back(i);
        // What was never saved, and is in the context no more, is nothing to point at.
        QVariant &value = change.row.values[size_t(i)];
        if (property.relationship && value.isValid() && isNowhere(held<NSManagedObjectID>(value)))
            value = QVariant();
    }
    if (!isNew && change.changed.empty() && change.toMany.empty())
        return std::nullopt;
    if (change.row.values.empty())
        fire(object), change.row.values = state.values;
    return change;
}

void ObjectGraph::didSave(NSManagedObject &object, qint64 version) {
    ObjectState &state = ObjectState::of(object);
    if (state.is(ObjectState::Deleted)) {
        leave(object);
        return;
    }
    state.version = version;
    state.clear(ObjectState::Inserted | ObjectState::Updated);
    state.set(ObjectState::Used);
    state.committed.reset();
    for (int slot = 0; state.toMany && slot < state.entityClass->toManyCount(); ++slot) {
        ToMany &many = state.toMany[size_t(slot)];
        many.isChanged = false;
        many.added.clear();
        many.removed.clear();
        many.before = many.members;
    }
}

void ObjectGraph::forgetUnchanged() {
    QList<NSManagedObject *> kept;
    for (NSManagedObject *object : std::as_const(m_changed)) {
        if (object->hasChanges())
            kept.append(object);
        else
            ObjectState::of(*object).clear(ObjectState::Listed);
    }
    m_changed = kept;
}

void ObjectGraph::leave(NSManagedObject &object) {
    ObjectState &state = ObjectState::of(object);
    m_registered.remove(ObjectIdentity::of(state.id).get());
    state.clear(ObjectState::Inserted | ObjectState::Updated | ObjectState::Deleted);
    state.set(ObjectState::Gone);
}

void ObjectGraph::rollback(NSManagedObject &object) {
    ObjectState &state = ObjectState::of(object);
    if (state.is(ObjectState::Inserted)) {
        mark(object, ObjectState::ToldDeleted);
        leave(object);
        return;
    }
    if (!state.hasChanges())
        return;
    ChangeAnnouncement changes;
    for (int i = 0; i < state.entityClass->propertyCount(); ++i) {
        if (isValueChanged(object, i))
            changes.add(object, i);
    }
    FirstException failure;
    changes.will(failure);
    state.clear(ObjectState::Updated | ObjectState::Deleted);
    if (state.committed)
        state.values = std::move(*std::exchange(state.committed, nullptr));
    for (int slot = 0; state.toMany && slot < state.entityClass->toManyCount(); ++slot) {
        ToMany &many = state.toMany[size_t(slot)];
        if (std::exchange(many.isChanged, false))
            many.members = many.before;
        many.added.clear();
        many.removed.clear();
    }
    mark(object, ObjectState::ToldUpdated);
    changes.did(failure);
    failure.rethrow();
}

void ObjectGraph::rollback() {
    FirstException failure;
    for (const auto objects = std::exchange(m_changed, {}); NSManagedObject * object : objects) {
        ObjectState::of(*object).clear(ObjectState::Listed);
        failure.guard([&] { rollback(*object); });
    }
    m_opposites.clear();
    failure.rethrow();
}

void ObjectGraph::releaseUnused() {
    for (NSManagedObject *object : std::as_const(m_registered)) {
        ObjectState &state = ObjectState::of(*object);
        if (state.is(ObjectState::Used) || state.hasChanges() || state.entityClass->hasTransients())
            state.clear(ObjectState::Used);
        else if (state.is(ObjectState::HasValues))
            turnIntoFault(*object);
    }
}
