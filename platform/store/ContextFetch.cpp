// SPDX-License-Identifier: MIT
#include "platform/store/ContextFetch.h"

#include "platform/store/PredicateMapping.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "platform/values/ValueKind.h"

#include <algorithm>

using namespace zr;

namespace {

QVariant objectAsIdentifier(const QVariant &value) {
    const NSManagedObject *object = NSManagedObject::from(value);
    return object ? QVariant::fromValue(object->objectID()) : value;
}

/// The object or objects that a value of a relationship holds by their identifiers.
QVariant withIdentifiers(const QVariant &value) {
    if (kindOf(value) == ValueKind::Object)
        return objectAsIdentifier(value);
    if (kindOf(value) != ValueKind::Set && kindOf(value) != ValueKind::Array)
        return value;
    QVariantList elements = arrayOf(value);
    std::transform(elements.begin(), elements.end(), elements.begin(), objectAsIdentifier);
    return kindOf(value) == ValueKind::Array ? QVariant(elements)
                                             : QVariant::fromValue(NSSet(elements.begin(), elements.end()));
}

QVariantList asValues(const QList<NSManagedObject *> &objects) {
    QVariantList values;
    values.reserve(objects.size());
    for (NSManagedObject *object : objects)
        values << QVariant::fromValue<QObject *>(object);
    return values;
}

} // namespace

ContextFetch::ContextFetch(ObjectGraph &graph, const NSFetchRequest &request,
                           const NSEntityDescription *entity)
    : m_graph(graph), m_request(request), m_entity(entity), m_class(*graph.classes->of(entity)),
      m_predicate(predicateWithConstants(request.predicate(),
                                         [this](const QVariant &value) { return ownConstant(value); })),
      m_merges(hasToMerge()), m_beyond(looksBeyondEntity()) {
}

/// Identifiers, and objects of other contexts, as the context's own objects.
QVariant ContextFetch::ownConstant(const QVariant &value) const {
    const QVariant identifier = objectAsIdentifier(value);
    if (identifier.metaType() != QMetaType::fromType<NSManagedObjectID>())
        return value;
    const auto &id = held<NSManagedObjectID>(identifier);
    return id.isNil() ? QVariant() : QVariant::fromValue<QObject *>(m_graph.object(id));
}

bool ContextFetch::concerns(const NSManagedObject &object) const {
    return m_request.includesSubentities() ? object.entity()->isKindOfEntity(m_entity)
                                           : object.entity() == m_entity;
}

bool ContextFetch::looksBeyondEntity() const {
    const auto descriptors = m_request.sortDescriptors();
    return looksBeyondObject(m_request.predicate(), m_class) ||
           std::any_of(descriptors.begin(), descriptors.end(), [&](const NSSortDescriptor &descriptor) {
               return looksBeyondObject(descriptor.key(), m_class);
           });
}

bool ContextFetch::hasToMerge() const {
    if (!m_request.includesPendingChanges())
        return false;
    const auto changed = m_graph.changed();
    return looksBeyondEntity()
               ? !changed.isEmpty()
               : std::any_of(changed.begin(), changed.end(),
                             [this](const NSManagedObject *object) { return concerns(*object); });
}

/// The source knows neither the context's objects, only identifiers, nor what has changed.
NSFetchRequest ContextFetch::requestForSource() const {
    NSFetchRequest request = m_request;
    request.setPredicate(m_merges && m_beyond
                             ? NSPredicate()
                             : predicateWithConstants(m_request.predicate(), objectAsIdentifier));
    const bool isDistinct = m_request.returnsDistinctResults() &&
                            m_request.resultType() == NSFetchRequestResultType::Dictionaries;
    if (m_merges || isDistinct) {
        request.setFetchOffset(0);
        request.setFetchLimit(0);
    }
    if (m_merges && m_beyond)
        request.setSortDescriptors({});
    return request;
}

NSError ContextFetch::ask(bool wantsValues, std::vector<FetchedObject> &found) {
    // What is found is looked at afterwards: that may ask the source for more, which takes one call at a time.
    return m_graph.source.fetch(
        requestForSource(), m_entity, wantsValues,
        [this](const FetchRemainder &remainder) { m_remainder = remainder; },
        [&found](FetchedObject &&object) { found.push_back(std::move(object)); });
}

NSError ContextFetch::objects(QList<NSManagedObject *> &objects, bool wantsValues) {
    std::vector<FetchedObject> found;
    if (NSError error = ask(wantsValues, found))
        return error;
    if (NSError error = adoptAndFilter(std::move(found), wantsValues, objects))
        return error;
    bool isSorted = !m_remainder.sort;
    if (m_merges)
        mergeChanged(objects, isSorted);
    if (!isSorted)
        sort(objects);
    if (m_merges || m_remainder.window)
        window(objects);
    return {};
}

NSError ContextFetch::adoptAndFilter(std::vector<FetchedObject> &&found, bool wantsValues,
                                     QList<NSManagedObject *> &objects) {
    QList<NSManagedObject *> candidates;
    candidates.reserve(qsizetype(found.size()));
    for (FetchedObject &object : found)
        candidates << m_graph.adopt(std::move(object));
    const bool filtersAll = !m_remainder.predicate.isNil() || (m_merges && m_beyond);
    const bool sorts = (m_merges || m_remainder.sort) && !m_request.sortDescriptors().isEmpty();
    if (wantsValues || filtersAll || sorts) {
        if (NSError error = m_graph.fault(candidates))
            return error;
    }
    for (NSManagedObject *object : std::as_const(candidates)) {
        if (m_request.includesPendingChanges() && object->isDeleted())
            continue;
        const bool isChanged = m_merges && object->hasChanges();
        if (!(filtersAll || isChanged) || m_predicate.isNil() || m_predicate.evaluateWithObject(object))
            objects << object;
    }
    return {};
}

void ContextFetch::mergeChanged(QList<NSManagedObject *> &objects, bool &isSorted) const {
    const QSet<NSManagedObject *> found(objects.begin(), objects.end());
    isSorted = false; // what was found may have changed since
    for (const auto changed = m_graph.changed(); NSManagedObject * object : changed) {
        if (!object->isDeleted() && concerns(*object) && !found.contains(object) &&
            (m_predicate.isNil() || m_predicate.evaluateWithObject(object)))
            objects << object;
    }
}

void ContextFetch::sort(QList<NSManagedObject *> &objects) const {
    if (m_request.sortDescriptors().isEmpty())
        return;
    const QVariantList sorted = sortedArrayUsingDescriptors(asValues(objects), m_request.sortDescriptors());
    std::transform(sorted.begin(), sorted.end(), objects.begin(), NSManagedObject::from);
}

template <typename List>
void ContextFetch::window(List &list) const {
    if (m_request.fetchOffset() > 0)
        list = list.mid(std::min<qint64>(m_request.fetchOffset(), list.size()));
    if (m_request.fetchLimit() > 0 && list.size() > m_request.fetchLimit())
        list.resize(qsizetype(m_request.fetchLimit()));
}

QVariantMap ContextFetch::dictionaryOf(NSManagedObject &object) const {
    QStringList keyPaths = m_request.propertiesToFetch();
    if (keyPaths.isEmpty()) {
        for (const EntityProperty &property : m_class.properties()) {
            if (property.attribute)
                keyPaths << property.description->name();
        }
    }
    QVariantMap dictionary;
    for (const QString &keyPath : std::as_const(keyPaths)) {
        const QVariant value = NSKeyValueCoding::valueForKeyPath(&object, keyPath);
        if (!NSIsNil(value))
            dictionary.insert(keyPath, withIdentifiers(value));
    }
    return dictionary;
}

NSError ContextFetch::results(QVariantList &results) {
    const NSFetchRequestResultType type = m_request.resultType();
    if (type == NSFetchRequestResultType::Count) {
        quint64 number = 0;
        NSError error = count(number);
        if (!error)
            results << number;
        return error;
    }
    const bool isBatched = type == NSFetchRequestResultType::ManagedObjects && m_request.fetchBatchSize() > 0;
    QList<NSManagedObject *> objects;
    if (NSError error =
            this->objects(objects, type != NSFetchRequestResultType::ManagedObjectIDs && !isBatched))
        return error;
    for (const auto keyPaths = m_request.relationshipKeyPathsForPrefetching();
         const QString &keyPath : keyPaths) {
        if (NSError error = prefetch(objects, keyPath))
            return error;
    }
    if (type == NSFetchRequestResultType::ManagedObjects) {
        if (isBatched)
            m_graph.batch(objects, m_request.fetchBatchSize());
        results = asValues(objects);
        return {};
    }
    NSSet known;
    for (NSManagedObject *object : std::as_const(objects)) {
        const QVariant result = type == NSFetchRequestResultType::ManagedObjectIDs
                                    ? QVariant::fromValue(object->objectID())
                                    : QVariant(dictionaryOf(*object));
        if (m_request.returnsDistinctResults()) {
            if (known.contains(result))
                continue;
            known.insert(result);
        }
        results << result;
    }
    if (type == NSFetchRequestResultType::Dictionaries && m_request.returnsDistinctResults())
        window(results);
    return {};
}

NSError ContextFetch::count(quint64 &count) {
    NSError error;
    if (!m_merges) {
        if (const auto number = m_graph.source.count(requestForSource(), m_entity, error)) {
            count = *number;
            return {};
        }
        if (error)
            return error;
    }
    QList<NSManagedObject *> found;
    error = objects(found, false);
    count = quint64(found.size());
    return error;
}

NSError ContextFetch::prefetch(const QList<NSManagedObject *> &objects, const QString &keyPath) {
    const QString key = keyPath.section(QLatin1Char('.'), 0, 0), rest = keyPath.section(QLatin1Char('.'), 1);
    if (NSError error = m_graph.fault(objects))
        return error;
    QSet<NSManagedObject *> others;
    for (NSManagedObject *object : objects) {
        const int property = object->entity()->indexOfProperty(key);
        if (property < 0 || !object->entity()->relationship(key))
            continue;
        for (const auto related = m_graph.related(*object, property); NSManagedObject * other : related)
            others.insert(other);
    }
    if (others.isEmpty())
        return {};
    return rest.isEmpty() ? m_graph.fault(others.values()) : prefetch(others.values(), rest);
}
