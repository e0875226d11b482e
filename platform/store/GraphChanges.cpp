// SPDX-License-Identifier: MIT
#include "platform/store/ObjectGraph.h"

#include "platform/base/NSException.h"
#include "platform/store/AttributeValue.h"
#include "platform/store/ChangeAnnouncement.h"
#include "platform/values/NSNull.h"
#include "platform/values/ValueKind.h"

#include <QScopeGuard>
#include <algorithm>

using namespace zr;

namespace {

QVariant asIdentifier(const NSManagedObject *object) {
    return object ? QVariant::fromValue(object->objectID()) : QVariant();
}

GraphChange valueChange(NSManagedObject *object, int property, const QVariant &value) {
    GraphChange change;
    change.object = object;
    change.property = property;
    change.value = value;
    return change;
}

GraphChange memberChange(GraphChange::Kind kind, NSManagedObject *object, int property,
                         NSManagedObject *member, qsizetype place = -1) {
    GraphChange change;
    change.kind = kind;
    change.object = object;
    change.property = property;
    change.member = member;
    change.place = place;
    return change;
}

GraphChange lifeChange(GraphChange::Kind kind, NSManagedObject *object) {
    GraphChange change;
    change.kind = kind;
    change.object = object;
    return change;
}

} // namespace

// ---- Making changes

void ObjectGraph::make(std::span<const GraphChange> changes, bool isSilent) {
    // Observers may change more: all of them are heard before the first exception goes on.
    FirstException own;
    const bool isOutermost = !m_failure;
    if (isOutermost)
        m_failure = &own;
    const auto end = qScopeGuard([&] {
        if (isOutermost)
            m_failure = nullptr;
    });
    ChangeAnnouncement announcement;
    if (!isSilent) {
        for (const GraphChange &change : changes) {
            if (change.property >= 0)
                announcement.add(*change.object, change.property);
        }
    }
    announcement.will(*m_failure);
    for (const GraphChange &change : changes)
        apply(change);
    announcement.did(*m_failure);
    if (isOutermost)
        own.rethrow();
}

void ObjectGraph::keep(GraphChange &&opposite) {
    // What a new object holds comes and goes with the object.
    if (keepsUndo && (opposite.property < 0 || !ObjectState::of(*opposite.object).is(ObjectState::Fresh)))
        m_opposites.push_back(std::move(opposite));
}

void ObjectGraph::modify(NSManagedObject &object) {
    ObjectState &state = ObjectState::of(object);
    if (state.is(ObjectState::Gone))
        return;
    if (!state.is(ObjectState::Inserted | ObjectState::Deleted))
        state.set(ObjectState::Updated);
    list(object);
    mark(object, ObjectState::ToldUpdated);
}

void ObjectGraph::apply(const GraphChange &change) {
    switch (change.kind) {
    case GraphChange::Value:
        applyValue(change);
        break;
    case GraphChange::Add:
    case GraphChange::Remove:
    case GraphChange::Arrange:
        applyMembers(change);
        break;
    default:
        applyLife(change);
    }
}

void ObjectGraph::applyValue(const GraphChange &change) {
    ObjectState &state = ObjectState::of(*change.object);
    if (!state.is(ObjectState::Inserted) && !state.committed)
        state.committed = std::make_unique<std::vector<QVariant>>(state.values);
    modify(*change.object);
    QVariant &value = state.values[size_t(change.property)];
    if (keepsUndo)
        keep(valueChange(change.object, change.property, value));
    value = change.value;
    if (m_revived.isEmpty() || value.metaType() != QMetaType::fromType<NSManagedObjectID>())
        return;
    if (const NSManagedObject *revived = m_revived.value(held<NSManagedObjectID>(value)))
        value = asIdentifier(revived);
}

void ObjectGraph::applyMembers(const GraphChange &change) {
    ToMany &many = toMany(*change.object, change.property);
    if (!std::exchange(many.isChanged, true))
        many.before = many.members;
    modify(*change.object);
    if (change.kind == GraphChange::Arrange) {
        GraphChange opposite = change;
        opposite.members = many.members.list();
        Members members(true);
        for (NSManagedObject *member : change.members)
            members.insert(member);
        many.members = std::move(members);
        keep(std::move(opposite));
        return;
    }
    const bool isAdded = change.kind == GraphChange::Add;
    qsizetype place = -1;
    if (!many.isLoaded) {
        auto &came = isAdded ? many.added : many.removed, &went = isAdded ? many.removed : many.added;
        if (!went.remove(change.member))
            came.insert(change.member);
    } else if (isAdded) {
        many.members.insert(change.member, change.place);
    } else {
        place = many.members.remove(change.member);
    }
    keep(memberChange(isAdded ? GraphChange::Remove : GraphChange::Add, change.object, change.property,
                      change.member, place));
}

void ObjectGraph::applyLife(const GraphChange &change) {
    NSManagedObject &object = *change.object;
    ObjectState &state = ObjectState::of(object);
    if (state.is(ObjectState::Gone) && change.kind == GraphChange::Undelete)
        revive(object);
    if (state.is(ObjectState::Gone) && change.kind != GraphChange::Insert)
        return;
    switch (change.kind) {
    case GraphChange::Insert:
        state.clear(ObjectState::Gone);
        state.set(ObjectState::Inserted);
        enter(object);
        list(object);
        mark(object, ObjectState::ToldInserted);
        keep(lifeChange(GraphChange::Uninsert, &object));
        break;
    case GraphChange::Uninsert:
        if (!state.is(ObjectState::Inserted)) { // it was saved meanwhile
            applyLife(lifeChange(GraphChange::Delete, &object));
            break;
        }
        mark(object, ObjectState::ToldDeleted);
        leave(object);
        keep(lifeChange(GraphChange::Insert, &object));
        break;
    case GraphChange::Delete:
        state.set(ObjectState::Deleted);
        list(object);
        mark(object, ObjectState::ToldDeleted);
        keep(lifeChange(GraphChange::Undelete, &object));
        break;
    case GraphChange::Undelete:
        if (state.is(ObjectState::Inserted))
            break; // it has come back as a new one
        state.clear(ObjectState::Deleted);
        state.set(ObjectState::Updated);
        mark(object, ObjectState::ToldUpdated);
        keep(lifeChange(GraphChange::Delete, &object));
        break;
    default:
        break;
    }
}

/// The object's row is gone for good: it comes back as a new one, with all that it had. What points at it by its old
/// identifier points at it again.
void ObjectGraph::revive(NSManagedObject &object) {
    ObjectState &state = ObjectState::of(object);
    if (!state.is(ObjectState::HasValues))
        return;
    const NSManagedObjectID old = state.id;
    state.id = ObjectIdentity::temporary(object.entity());
    state.version = 0;
    state.committed.reset();
    for (int slot = 0; state.toMany && slot < state.entityClass->toManyCount(); ++slot) {
        ToMany &many = state.toMany[size_t(slot)];
        many.isLoaded = many.isChanged = true;
        many.before = Members();
    }
    applyLife(lifeChange(GraphChange::Insert, &object));
    m_revived.insert(old, &object);
    for (const auto objects = allRegistered(); NSManagedObject * other : objects) {
        const ObjectState &others = ObjectState::of(*other);
        for (int i = 0; others.is(ObjectState::HasValues) && i < others.entityClass->propertyCount(); ++i) {
            if (others.entityClass->property(i).isToOne() &&
                others.values[size_t(i)] == QVariant::fromValue(old))
                applyValue(valueChange(other, i, QVariant::fromValue(state.id)));
        }
    }
}

// ---- Setting properties

void ObjectGraph::setValue(NSManagedObject &object, int property, const QVariant &value, bool isSilent) {
    const EntityProperty &described = ObjectState::of(object).entityClass->property(property);
    if (described.attribute) {
        const QVariant kept = attributeValue(*described.attribute, value);
        fire(object);
        const QVariant &present = ObjectState::of(object).values[size_t(property)];
        if (isSameAttributeValue(described.attribute->attributeType(), present, kept))
            return;
        const GraphChange change = valueChange(&object, property, kept);
        make({&change, 1}, isSilent);
        return;
    }
    checkPresence(object);
    GraphChanges plan;
    if (described.toMany >= 0)
        planToMany(object, property, checkedMembers(object, property, value), plan);
    else
        planToOne(object, property, checkedMember(object, property, value), plan);
    if (!plan.empty())
        make(plan, isSilent);
}

NSManagedObject *ObjectGraph::checkedMember(const NSManagedObject &object, int property,
                                            const QVariant &value) const {
    if (NSIsNil(value))
        return nullptr;
    const NSRelationshipDescription *relationship =
        ObjectState::of(object).entityClass->property(property).relationship;
    NSManagedObject *member = NSManagedObject::from(value);
    if (!member || !member->entity()->isKindOfEntity(relationship->destinationEntity()))
        throw NSException(
            NSInvalidArgumentException,
            QStringLiteral("The relationship \"%1\" of the entity \"%2\" takes objects of the entity "
                           "\"%3\", not %4.")
                .arg(relationship->name(), object.entity()->name(), relationship->destinationEntity()->name(),
                     NSDescription(value)));
    if (ObjectState::of(*member).graph != this || ObjectState::of(*member).is(ObjectState::Gone))
        throw NSException(
            NSInvalidArgumentException,
            QStringLiteral("The relationship \"%1\" of the entity \"%2\" takes objects of its own "
                           "context.")
                .arg(relationship->name(), object.entity()->name()));
    return member;
}

QList<NSManagedObject *> ObjectGraph::checkedMembers(const NSManagedObject &object, int property,
                                                     const QVariant &value) const {
    const ValueKind kind = kindOf(value);
    const EntityProperty &described = ObjectState::of(object).entityClass->property(property);
    if (kind != ValueKind::Nil && kind != ValueKind::Array &&
        (kind != ValueKind::Set || described.isOrdered()))
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("The relationship \"%1\" of the entity \"%2\" takes %3.")
                              .arg(described.description->name(), object.entity()->name(),
                                   described.isOrdered() ? QStringLiteral("an array of objects")
                                                         : QStringLiteral("a set or an array of objects")));
    Members members(true);
    for (const QVariantList values = arrayOf(value); const QVariant &each : values) {
        NSManagedObject *member = checkedMember(object, property, each);
        if (!member)
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("The relationship \"%1\" of the entity \"%2\" can't hold nil.")
                                  .arg(described.description->name(), object.entity()->name()));
        members.insert(member);
    }
    return members.list();
}

bool ObjectGraph::hasMember(NSManagedObject &object, int property, NSManagedObject *member) {
    const EntityProperty &described = ObjectState::of(object).entityClass->property(property);
    return described.followsFromInverse() ? toOne(*member, described.inverse) == &object
                                          : loadedToMany(object, property).members.contains(member);
}

void ObjectGraph::checkPresence(const NSManagedObject &object) {
    if (ObjectState::of(object).is(ObjectState::Gone))
        throw NSException(
            NSInvalidArgumentException,
            QStringLiteral("The object of \"%1\" has left its context, and takes part in no relationship.")
                .arg(object.entity()->name()));
}

void ObjectGraph::addMember(NSManagedObject &object, int property, NSManagedObject *given, qsizetype at) {
    checkPresence(object);
    NSManagedObject *member = checkedMember(object, property, QVariant::fromValue<QObject *>(given));
    if (!member || hasMember(object, property, member))
        return;
    GraphChanges plan{memberChange(GraphChange::Add, &object, property, member, at)};
    const int inverse = ObjectState::of(object).entityClass->property(property).inverse;
    if (inverse >= 0)
        planLink(member, inverse, &object, plan);
    make(plan);
}

void ObjectGraph::removeMember(NSManagedObject &object, int property, NSManagedObject *given) {
    checkPresence(object);
    NSManagedObject *member = checkedMember(object, property, QVariant::fromValue<QObject *>(given));
    if (!member || !hasMember(object, property, member))
        return;
    GraphChanges plan{memberChange(GraphChange::Remove, &object, property, member)};
    const int inverse = ObjectState::of(object).entityClass->property(property).inverse;
    if (inverse >= 0)
        planUnlink(member, inverse, &object, plan);
    make(plan);
}

void ObjectGraph::planToOne(NSManagedObject &object, int property, NSManagedObject *value,
                            GraphChanges &plan) {
    NSManagedObject *old = toOne(object, property);
    if (old == value)
        return;
    plan.push_back(valueChange(&object, property, asIdentifier(value)));
    const int inverse = ObjectState::of(object).entityClass->property(property).inverse;
    if (inverse < 0)
        return;
    if (old)
        planUnlink(old, inverse, &object, plan);
    if (value)
        planLink(value, inverse, &object, plan);
}

void ObjectGraph::planToMany(NSManagedObject &object, int property, const QList<NSManagedObject *> &members,
                             GraphChanges &plan) {
    const EntityProperty &described = ObjectState::of(object).entityClass->property(property);
    const Members present = loadedToMany(object, property).members;
    const QSet<NSManagedObject *> wanted(members.begin(), members.end());
    if (described.isOrdered() && present.list() != members) {
        GraphChange change = memberChange(GraphChange::Arrange, &object, property, nullptr);
        change.members = members;
        plan.push_back(change);
    }
    for (const auto old = present.list(); NSManagedObject * member : old) {
        if (wanted.contains(member))
            continue;
        if (!described.isOrdered())
            plan.push_back(memberChange(GraphChange::Remove, &object, property, member));
        if (described.inverse >= 0)
            planUnlink(member, described.inverse, &object, plan);
    }
    for (NSManagedObject *member : members) {
        if (present.contains(member))
            continue;
        if (!described.isOrdered())
            plan.push_back(memberChange(GraphChange::Add, &object, property, member));
        if (described.inverse >= 0)
            planLink(member, described.inverse, &object, plan);
    }
}

/// `from` comes to point at `to`; whoever it pointed at by a to-one relationship loses it.
void ObjectGraph::planLink(NSManagedObject *from, int property, NSManagedObject *to, GraphChanges &plan) {
    const EntityProperty &described = ObjectState::of(*from).entityClass->property(property);
    if (described.toMany >= 0) {
        if (!described.followsFromInverse())
            loadedToMany(*from, property);
        plan.push_back(memberChange(GraphChange::Add, from, property, to));
        return;
    }
    NSManagedObject *before = toOne(*from, property);
    if (before == to)
        return;
    if (before && described.inverse >= 0)
        planUnlink(before, described.inverse, from, plan);
    plan.push_back(valueChange(from, property, asIdentifier(to)));
}

void ObjectGraph::planUnlink(NSManagedObject *from, int property, NSManagedObject *to, GraphChanges &plan) {
    const EntityProperty &described = ObjectState::of(*from).entityClass->property(property);
    if (described.toMany >= 0) {
        if (!described.followsFromInverse())
            loadedToMany(*from, property);
        plan.push_back(memberChange(GraphChange::Remove, from, property, to));
    } else if (toOne(*from, property) == to) {
        plan.push_back(valueChange(from, property, {}));
    }
}

// ---- Deleting

void ObjectGraph::remove(NSManagedObject &first) {
    QList<NSManagedObject *> next{&first};
    while (!next.isEmpty()) {
        NSManagedObject *object = next.takeLast();
        ObjectState &state = ObjectState::of(*object);
        if (state.is(ObjectState::Deleted | ObjectState::Gone))
            continue;
        object->prepareForDeletion();
        GraphChanges plan;
        planDeletion(*object, plan, next);
        plan.push_back(lifeChange(
            state.is(ObjectState::Inserted) ? GraphChange::Uninsert : GraphChange::Delete, object));
        make(plan);
    }
}

void ObjectGraph::planDeletion(NSManagedObject &object, GraphChanges &plan, QList<NSManagedObject *> &next) {
    const EntityClass &entityClass = *ObjectState::of(object).entityClass;
    NSError unreadable; // then there is nothing to come back
    const bool mayComeBack = keepsUndo && fire(object, unreadable);
    for (int i = 0; i < entityClass.propertyCount(); ++i) {
        const EntityProperty &property = entityClass.property(i);
        if (!property.relationship)
            continue;
        if (mayComeBack && property.toMany >= 0)
            loadedToMany(object, i);
        const NSDeleteRule rule = property.relationship->deleteRule();
        if (rule != NSDeleteRule::Cascade && (rule != NSDeleteRule::Nullify || property.inverse < 0))
            continue;
        for (const auto others = related(object, i); NSManagedObject * other : others) {
            if (property.inverse >= 0)
                planUnlink(other, property.inverse, &object, plan);
            if (rule == NSDeleteRule::Cascade)
                next << other;
        }
    }
}
