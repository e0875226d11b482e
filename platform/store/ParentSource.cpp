// SPDX-License-Identifier: MIT
#include "platform/store/ParentSource.h"

#include "platform/store/ContextFetch.h"
#include "platform/store/NSManagedObjectContext.h"
#include "platform/values/ValueKind.h"

using namespace zr;

namespace {

Row rowOf(const NSManagedObject &object) {
    const ObjectState &state = ObjectState::of(object);
    return {state.values, state.version};
}

} // namespace

ParentSource::ParentSource(std::shared_ptr<NSManagedObjectContext> parent, ObjectGraph &graph)
    : m_parent(std::move(parent)), m_graph(graph) {
}

NSError ParentSource::fetch(const NSFetchRequest &request, const NSEntityDescription *entity, bool wantsRows,
                            const std::function<void(const FetchRemainder &)> &begin,
                            const std::function<void(FetchedObject &&)> &found) {
    NSError error;
    std::vector<FetchedObject> all;
    m_parent->performBlockAndWait([&] {
        NSFetchRequest asked = request;
        asked.setIncludesPendingChanges(true);
        QList<NSManagedObject *> objects;
        error = ContextFetch(m_graph, asked, entity).objects(objects, wantsRows);
        for (const NSManagedObject *object : std::as_const(objects))
            all.push_back({object->objectID(), wantsRows ? std::optional(rowOf(*object)) : std::nullopt});
    });
    if (error)
        return error;
    begin({});
    for (FetchedObject &object : all)
        found(std::move(object));
    return {};
}

std::optional<quint64> ParentSource::count(const NSFetchRequest &request, const NSEntityDescription *entity,
                                           NSError &error) {
    quint64 number = 0;
    m_parent->performBlockAndWait([&] { error = ContextFetch(m_graph, request, entity).count(number); });
    return error ? std::nullopt : std::optional(number);
}

NSError ParentSource::rows(const QList<NSManagedObjectID> &ids,
                           const std::function<void(FetchedObject &&)> &found) {
    NSError error;
    std::vector<FetchedObject> all;
    m_parent->performBlockAndWait([&] {
        QList<NSManagedObject *> objects;
        for (const NSManagedObjectID &id : ids)
            objects << m_graph.object(id);
        error = m_graph.fault(objects);
        for (const NSManagedObject *object : std::as_const(objects)) {
            if (!object->isFault() && !object->isDeleted())
                all.push_back({object->objectID(), rowOf(*object)});
        }
    });
    for (FetchedObject &object : all)
        found(std::move(object));
    return error;
}

NSError ParentSource::related(const NSManagedObjectID &id, const NSRelationshipDescription *relationship,
                              QList<NSManagedObjectID> &objects) {
    m_parent->performBlockAndWait([&] {
        NSManagedObject *object = m_graph.object(id);
        const int property = object->entity()->indexOfProperty(relationship->name());
        for (const auto members = m_graph.related(*object, property); const NSManagedObject *member : members)
            objects << member->objectID();
    });
    return {};
}

SaveOutcome ParentSource::save(const std::vector<ObjectChange> &changes) {
    SaveOutcome outcome;
    m_parent->performBlockAndWait([&] {
        checkPresence(changes, outcome);
        if (outcome.error || !outcome.conflicts.empty())
            return;
        std::vector<NSManagedObject *> objects;
        objects.reserve(changes.size());
        for (const ObjectChange &change : changes)
            objects.push_back(change.kind == ObjectChange::Insert
                                  ? m_graph.insert(*m_graph.classes->of(change.id.entity()), change.id)
                                  : m_graph.object(change.id));
        for (size_t i = 0; i < changes.size(); ++i) {
            if (changes[i].kind != ObjectChange::Delete)
                setValues(*objects[i], changes[i]);
        }
        for (size_t i = 0; i < changes.size(); ++i) {
            if (changes[i].kind == ObjectChange::Delete)
                m_graph.remove(*objects[i]);
        }
        for (const NSManagedObject *object : objects)
            outcome.versions.push_back(ObjectState::of(*object).version);
    });
    return outcome;
}

/// What the parent has deleted, or doesn't find, can't be changed.
void ParentSource::checkPresence(const std::vector<ObjectChange> &changes, SaveOutcome &outcome) {
    QList<NSManagedObject *> updated;
    for (const ObjectChange &change : changes) {
        if (change.kind == ObjectChange::Update)
            updated << m_graph.object(change.id);
    }
    outcome.error = m_graph.fault(updated);
    for (const NSManagedObject *object : std::as_const(updated)) {
        if (object->isFault() || object->isDeleted())
            outcome.conflicts.push_back({object->objectID(), std::nullopt});
    }
}

void ParentSource::setValues(NSManagedObject &object, const ObjectChange &change) {
    const auto objectOrNil = [this](const NSManagedObjectID &id) {
        return QVariant::fromValue<QObject *>(m_graph.object(id));
    };
    const EntityClass &entityClass = *ObjectState::of(object).entityClass;
    const auto set = [&](int property) {
        const QVariant &value = change.row.values[size_t(property)];
        const bool isReference = entityClass.property(property).relationship && value.isValid();
        m_graph.setValue(object, property, isReference ? objectOrNil(held<NSManagedObjectID>(value)) : value);
    };
    if (change.kind == ObjectChange::Update) {
        for (const int property : change.changed)
            set(property);
    } else {
        for (int i = 0; i < entityClass.propertyCount(); ++i) {
            if (entityClass.property(i).isInRow())
                set(i);
        }
    }
    for (const ObjectChange::ToMany &many : change.toMany) {
        QVariantList members;
        for (const NSManagedObjectID &id : many.after)
            members << objectOrNil(id);
        m_graph.setValue(object, many.property, members);
    }
}

NSManagedObjectID ParentSource::identifierForURI(const QUrl &uri) {
    NSManagedObjectID id;
    m_parent->performBlockAndWait([&] { id = m_graph.source.identifierForURI(uri); });
    return id;
}
