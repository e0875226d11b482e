// SPDX-License-Identifier: MIT
#include "platform/store/ObjectGraph.h"

#include "platform/base/NSException.h"
#include "platform/store/AttributeValue.h"
#include "platform/store/ChangeAnnouncement.h"
#include "platform/values/NSSet.h"
#include "platform/values/ValueKind.h"

#include <algorithm>

using namespace zr;

namespace {

[[noreturn]] void raiseInaccessible(const NSManagedObject &object, const NSError &error) {
    const QString uri = object.objectID().URIRepresentation().toString();
    throw NSException(
        NSObjectInaccessibleException,
        error ? QStringLiteral("The object %1 can't be read: %2").arg(uri, error.localizedDescription())
              : QStringLiteral("The object %1 is gone.").arg(uri),
        error ? QVariantMap{{NSUnderlyingErrorKey, QVariant::fromValue(error)}} : QVariantMap());
}

QVariant asValue(NSManagedObject *object) {
    return object ? QVariant::fromValue<QObject *>(object) : QVariant();
}

/// Whether a to-one relationship or attribute differs between two rows.
bool isSame(const EntityProperty &property, const QVariant &a, const QVariant &b) {
    if (property.attribute)
        return isSameAttributeValue(property.attribute->attributeType(), a, b);
    return a == b;
}

} // namespace

// ---- Faults

void ObjectGraph::fire(NSManagedObject &object) {
    NSError error;
    if (!fire(object, error))
        raiseInaccessible(object, error);
}

bool ObjectGraph::fire(NSManagedObject &object, NSError &error) {
    ObjectState &state = ObjectState::of(object);
    state.set(ObjectState::Used);
    if (state.is(ObjectState::HasValues))
        return true;
    error = fault(state.is(ObjectState::InBatch) ? batchOf(object) : QList<NSManagedObject *>{&object});
    return state.is(ObjectState::HasValues);
}

NSError ObjectGraph::fault(const QList<NSManagedObject *> &objects) {
    QHash<const EntityClass *, QList<NSManagedObjectID>> faults;
    for (const NSManagedObject *object : objects) {
        const ObjectState &state = ObjectState::of(*object);
        if (!state.is(ObjectState::HasValues | ObjectState::Gone))
            faults[state.entityClass].append(state.id);
    }
    for (const auto &ids : std::as_const(faults)) {
        // Objects that wake up may ask the source for more, which takes one call at a time.
        std::vector<FetchedObject> all;
        if (NSError error = source.rows(ids, [&](FetchedObject &&found) { all.push_back(std::move(found)); }))
            return error;
        for (FetchedObject &found : all)
            adopt(std::move(found));
    }
    return {};
}

QList<NSManagedObject *> ObjectGraph::batchOf(NSManagedObject &object) {
    const auto [batch, place] = m_batches.value(&object);
    const qsizetype first = place - place % batch->size;
    return batch->objects.mid(first, batch->size);
}

void ObjectGraph::batch(const QList<NSManagedObject *> &objects, qint64 size) {
    const auto made = std::make_shared<Batch>(Batch{objects, size});
    for (qsizetype i = 0; i < objects.size(); ++i) {
        ObjectState &state = ObjectState::of(*objects[i]);
        if (state.is(ObjectState::HasValues))
            continue;
        state.set(ObjectState::InBatch);
        m_batches.insert(objects[i], {made, i});
    }
}

void ObjectGraph::take(NSManagedObject &object, Row &&row) {
    ObjectState &state = ObjectState::of(object);
    state.values = std::move(row.values);
    state.values.resize(size_t(state.entityClass->propertyCount()));
    state.version = row.version;
    state.set(ObjectState::HasValues);
    if (state.is(ObjectState::InBatch)) {
        state.clear(ObjectState::InBatch);
        m_batches.remove(&object);
    }
    object.awakeFromFetch();
}

NSManagedObject *ObjectGraph::adopt(FetchedObject &&found) {
    NSManagedObject *object = this->object(found.id);
    if (!found.row)
        return object;
    ObjectState &state = ObjectState::of(*object);
    if (!state.is(ObjectState::HasValues))
        take(*object, std::move(*found.row));
    else if (!state.hasChanges() && found.row->version > state.version)
        rebase(*object, std::move(*found.row), [](int) { return false; });
    return object;
}

void ObjectGraph::turnIntoFault(NSManagedObject &object) {
    ObjectState &state = ObjectState::of(object);
    state.clear(ObjectState::HasValues | ObjectState::Used);
    std::vector<QVariant>().swap(state.values);
    state.committed.reset();
    state.toMany.reset();
}

void ObjectGraph::refresh(NSManagedObject &object, bool mergeChanges) {
    ObjectState &state = ObjectState::of(object);
    if (state.is(ObjectState::Inserted | ObjectState::Gone))
        return;
    if (mergeChanges) {
        std::optional<Row> row;
        if (const NSError error =
                source.rows({state.id}, [&](FetchedObject &&found) { row = std::move(found.row); }))
            raiseInaccessible(object, error);
        if (row && state.is(ObjectState::HasValues))
            rebase(object, std::move(*row), [](int) { return true; });
        for (int i = 0; state.toMany && i < state.entityClass->propertyCount(); ++i) {
            if (state.entityClass->property(i).toMany >= 0)
                forgetMembers(object, i);
        }
        return;
    }
    rollback(object);
    ChangeAnnouncement all;
    for (int i = 0; i < state.entityClass->propertyCount(); ++i)
        all.add(object, i);
    FirstException failure;
    all.will(failure);
    turnIntoFault(object);
    all.did(failure);
    failure.rethrow();
}

void ObjectGraph::rebase(NSManagedObject &object, Row row, const std::function<bool(int property)> &keeps) {
    ObjectState &state = ObjectState::of(object);
    row.values.resize(size_t(state.entityClass->propertyCount()));
    std::vector<QVariant> merged = row.values;
    bool isKept = false;
    ChangeAnnouncement changes;
    for (int i = 0; i < state.entityClass->propertyCount(); ++i) {
        const auto at = size_t(i);
        const EntityProperty &property = state.entityClass->property(i);
        if (!property.isInRow()) {
            merged[at] = state.values[at];
            row.values[at] = state.committed ? (*state.committed)[at] : state.values[at];
        } else if (isValueChanged(object, i) && keeps(i)) {
            merged[at] = state.values[at];
            isKept = true;
        } else if (!isSame(property, merged[at], state.values[at])) {
            changes.add(object, i);
        }
    }
    FirstException failure;
    changes.will(failure);
    state.values = std::move(merged);
    state.version = row.version;
    state.committed = isKept ? std::make_unique<std::vector<QVariant>>(std::move(row.values)) : nullptr;
    const bool isToManyChanged =
        state.toMany && std::any_of(&state.toMany[0], &state.toMany[0] + state.entityClass->toManyCount(),
                                    [](const ToMany &many) { return many.isChanged; });
    if (!isKept && !isToManyChanged)
        state.clear(ObjectState::Updated);
    mark(object, ObjectState::ToldUpdated);
    changes.did(failure);
    failure.rethrow();
}

void ObjectGraph::overwrite(NSManagedObject &object, Row row) {
    ObjectState &state = ObjectState::of(object);
    for (int i = 0; i < state.entityClass->propertyCount(); ++i) {
        if (!state.entityClass->property(i).isInRow())
            row.values[size_t(i)] = state.values[size_t(i)];
    }
    state.version = row.version;
    state.committed = std::make_unique<std::vector<QVariant>>(std::move(row.values));
}

// ---- Values

QVariant ObjectGraph::value(NSManagedObject &object, int property) {
    const ObjectState &state = ObjectState::of(object);
    const EntityProperty &described = state.entityClass->property(property);
    if (described.attribute) {
        fire(object);
        return state.values[size_t(property)];
    }
    if (described.isToOne())
        return asValue(toOne(object, property));
    QVariantList values;
    for (NSManagedObject *member : related(object, property))
        values << asValue(member);
    return described.isOrdered() ? QVariant(values)
                                 : QVariant::fromValue(NSSet(values.begin(), values.end()));
}

NSManagedObject *ObjectGraph::toOne(NSManagedObject &object, int property) {
    fire(object);
    const QVariant &value = ObjectState::of(object).values[size_t(property)];
    return value.isValid() ? this->object(held<NSManagedObjectID>(value)) : nullptr;
}

ToMany &ObjectGraph::toMany(NSManagedObject &object, int property) {
    ObjectState &state = ObjectState::of(object);
    if (!state.toMany) {
        state.toMany = std::make_unique<ToMany[]>(size_t(state.entityClass->toManyCount()));
        for (const EntityProperty &each : state.entityClass->properties()) {
            if (each.toMany < 0)
                continue;
            ToMany &many = state.toMany[size_t(each.toMany)];
            many.members = many.before = Members(each.isOrdered());
            // What never was in a source has no members there.
            many.isLoaded = state.is(ObjectState::Inserted | ObjectState::Gone);
        }
    }
    return state.toMany[size_t(state.entityClass->property(property).toMany)];
}

ToMany &ObjectGraph::loadedToMany(NSManagedObject &object, int property) {
    ToMany &many = toMany(object, property);
    if (many.isLoaded)
        return many;
    const ObjectState &state = ObjectState::of(object);
    const EntityProperty &described = state.entityClass->property(property);
    QList<NSManagedObjectID> ids;
    if (const NSError error = source.related(state.id, described.relationship, ids))
        raiseInaccessible(object, error);
    Members members(described.isOrdered());
    for (const NSManagedObjectID &id : std::as_const(ids))
        members.insert(this->object(id));
    many.before = members;
    for (NSManagedObject *removed : std::as_const(many.removed))
        members.remove(removed);
    for (NSManagedObject *added : std::as_const(many.added))
        members.insert(added);
    many.members = std::move(members);
    many.isLoaded = true;
    return many;
}

QList<NSManagedObject *> ObjectGraph::present(const Members &members) {
    QList<NSManagedObject *> list = members.list();
    list.removeIf(
        [](const NSManagedObject *member) { return ObjectState::of(*member).is(ObjectState::Gone); });
    return list;
}

QList<NSManagedObject *> ObjectGraph::related(NSManagedObject &object, int property) {
    const EntityProperty &described = ObjectState::of(object).entityClass->property(property);
    if (described.toMany >= 0)
        return present(loadedToMany(object, property).members);
    NSManagedObject *one = toOne(object, property);
    return one ? QList<NSManagedObject *>{one} : QList<NSManagedObject *>();
}

QList<NSManagedObject *> ObjectGraph::committedMembers(const ToMany &many) {
    return many.isChanged ? many.before.list() : many.members.list();
}

void ObjectGraph::forgetMembers(NSManagedObject &object, int property) {
    ToMany &many = toMany(object, property);
    if (many.isChanged || !many.isLoaded)
        return;
    ChangeAnnouncement change;
    change.add(object, property);
    FirstException failure;
    change.will(failure);
    many.isLoaded = false;
    many.members = many.before = Members(ObjectState::of(object).entityClass->property(property).isOrdered());
    change.did(failure);
    failure.rethrow();
}

void ObjectGraph::forgetMembers(const std::function<bool(const NSRelationshipDescription *)> &which) {
    for (const auto objects = allRegistered(); NSManagedObject * object : objects) {
        const ObjectState &state = ObjectState::of(*object);
        if (!state.toMany || state.is(ObjectState::Inserted))
            continue;
        for (int i = 0; i < state.entityClass->propertyCount(); ++i) {
            const EntityProperty &property = state.entityClass->property(i);
            if (property.toMany >= 0 && which(property.relationship))
                forgetMembers(*object, i);
        }
    }
}
