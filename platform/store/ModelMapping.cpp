// SPDX-License-Identifier: MIT
#include "platform/store/ModelMapping.h"

#include "platform/store/StoreFailure.h"

#include <set>

namespace zr {

namespace {

[[noreturn]] void fail(const QString &what, const QString &why) {
    throw StoreFailure(
        NSInferredMappingModelError,
        QStringLiteral("The store can't be brought to the present model: %1 %2.").arg(what, why));
}

QString nameOf(const NSPropertyDescription *property) {
    return QStringLiteral("\"%1\" of \"%2\"").arg(property->name(), property->entity()->name());
}

bool isInteger(NSAttributeType type) {
    return type <= NSAttributeType::Integer64;
}

} // namespace

ModelMapping::ModelMapping(const StoreSchema &from, const StoreSchema &to) : m_from(from), m_to(to) {
    mapEntities();
    mapRoots();
    for (const auto &[entity, origin] : m_origins)
        mapProperties(entity);
}

void ModelMapping::mapEntities() {
    std::map<const NSEntityDescription *, const NSEntityDescription *> successors;
    for (const NSEntityDescription *entity : m_to.model()->entities()) {
        const NSEntityDescription *origin = m_from.model()->entityNamed(entity->renamingIdentifier());
        if (!origin)
            continue;
        const auto [at, isFirst] = successors.emplace(origin, entity);
        if (!isFirst)
            fail(QStringLiteral("the entity \"%1\"").arg(origin->name()),
                 QStringLiteral("has become both \"%1\" and \"%2\"").arg(at->second->name(), entity->name()));
        if (entity->isAbstract() && !origin->isAbstract())
            fail(QStringLiteral("the entity \"%1\"").arg(entity->name()),
                 QStringLiteral("has become abstract"));
        m_origins[entity] = origin;
    }
}

/// Objects are numbered by table: they stay together with those that they were with.
void ModelMapping::mapRoots() {
    std::map<const NSEntityDescription *, const NSEntityDescription *> successors;
    for (const auto &[entity, origin] : m_origins) {
        const NSEntityDescription *root = entity->rootEntity(), *formerRoot = origin->rootEntity();
        if (m_roots.emplace(root, formerRoot).first->second != formerRoot ||
            successors.emplace(formerRoot, root).first->second != root)
            fail(QStringLiteral("the entity \"%1\"").arg(entity->name()),
                 QStringLiteral("inherits from another entity than before"));
    }
}

const NSEntityDescription *ModelMapping::origin(const NSEntityDescription *entity) const {
    const auto found = m_origins.find(entity);
    return found == m_origins.end() ? nullptr : found->second;
}

const NSEntityDescription *ModelMapping::originOfRoot(const NSEntityDescription *root) const {
    const auto found = m_roots.find(root);
    return found == m_roots.end() ? nullptr : found->second;
}

void ModelMapping::mapProperties(const NSEntityDescription *entity) {
    const StoredEntity &stored = m_to.stored(entity);
    for (const NSPropertyDescription *property : entity->properties()) {
        const NSPropertyDescription *from = origin(entity)->property(property->renamingIdentifier());
        if (from && from->isTransient())
            from = nullptr;
        if (property->isTransient())
            continue;
        Value value;
        if (const auto *attribute = dynamic_cast<const NSAttributeDescription *>(property)) {
            value = this->attribute(attribute, from);
        } else if (const auto *relationship = dynamic_cast<const NSRelationshipDescription *>(property)) {
            if (relationship->isToMany()) {
                checkToMany(relationship, from);
                continue;
            }
            value = toOne(relationship, from);
        }
        value.to =
            &stored.table->columns[size_t(stored.columns[size_t(entity->indexOfProperty(property->name()))])];
        value.from = from ? m_from.column(from) : nullptr;
        m_values[entity].push_back(value);
    }
    m_values[entity];
}

ModelMapping::Value ModelMapping::attribute(const NSAttributeDescription *to,
                                            const NSPropertyDescription *from) const {
    Value value;
    const auto *former = dynamic_cast<const NSAttributeDescription *>(from);
    if (from && !former)
        fail(nameOf(to), QStringLiteral("was a relationship"));
    value.unlessGiven = storedValue(to->attributeType(), to->defaultValue()).value_or(SQLiteValue());
    const bool isRequired = !to->isOptional() && (!former || former->isOptional());
    if (isRequired && value.unlessGiven.type == SQLiteValue::Null)
        fail(nameOf(to), QStringLiteral("is required and has no default"));
    value.replacesNil = isRequired;
    if (!former || former->attributeType() == to->attributeType())
        return value;
    const bool wasInteger = isInteger(former->attributeType());
    if (wasInteger && isInteger(to->attributeType()))
        value.mayNotFit = to->attributeType() < former->attributeType();
    else if (to->attributeType() == NSAttributeType::Double &&
             (wasInteger || former->attributeType() == NSAttributeType::Float))
        value.becomesReal = true;
    else
        fail(nameOf(to), QStringLiteral("has a type that its values can't be turned into"));
    return value;
}

void ModelMapping::requireSameEnds(const NSRelationshipDescription *to,
                                   const NSRelationshipDescription *from) const {
    if (originOfRoot(to->destinationEntity()->rootEntity()) != from->destinationEntity()->rootEntity())
        fail(nameOf(to), QStringLiteral("points at another entity than before"));
}

ModelMapping::Value ModelMapping::toOne(const NSRelationshipDescription *to,
                                        const NSPropertyDescription *from) const {
    const auto *former = dynamic_cast<const NSRelationshipDescription *>(from);
    if (from && (!former || former->isToMany()))
        fail(nameOf(to), QStringLiteral("was something else than a relationship to one"));
    if (!to->isOptional() && (!former || former->isOptional()))
        fail(nameOf(to), QStringLiteral("is required, but objects may have none"));
    if (former)
        requireSameEnds(to, former);
    return {};
}

void ModelMapping::checkToMany(const NSRelationshipDescription *to, const NSPropertyDescription *from) const {
    const auto *former = dynamic_cast<const NSRelationshipDescription *>(from);
    if (from && (!former || storageOf(former) != storageOf(to)))
        fail(nameOf(to), QStringLiteral("was kept in another way"));
    if (!to->isOptional() && (!former || former->isOptional()))
        fail(nameOf(to), QStringLiteral("is required, but objects may have none"));
    if (former)
        requireSameEnds(to, former);
    // What keeps the relationship has to have kept it before.
    if (former && storageOf(to) == Storage::ByInverse &&
        (!former->inverseRelationship() ||
         to->inverseRelationship()->renamingIdentifier() != former->inverseRelationship()->name()))
        fail(nameOf(to), QStringLiteral("has another inverse than before"));
}

const NSRelationshipDescription *ModelMapping::origin(const JoinTable &table) const {
    for (const auto &[entity, origin] : m_origins) {
        if (!entity->isKindOfEntity(table.relationship->entity()))
            continue;
        if (const auto *former = origin->relationship(table.relationship->renamingIdentifier()))
            return former;
    }
    return nullptr;
}

bool ModelMapping::losesRows(const NSEntityDescription *formerRoot) const {
    std::set<const NSEntityDescription *> kept;
    for (const auto &[entity, origin] : m_origins)
        kept.insert(origin);
    for (const StoredEntity *member : m_from.family(formerRoot)) {
        if (!kept.contains(member->entity))
            return true;
    }
    return false;
}

QMap<QString, qint64> ModelMapping::numbers(const NSManagedObjectModel &from,
                                            const QMap<QString, qint64> &numbers,
                                            const NSManagedObjectModel &to) {
    QMap<QString, qint64> result = numbers;
    for (const NSEntityDescription *entity : from.entities())
        result.remove(entity->name());
    for (const NSEntityDescription *entity : to.entities()) {
        if (from.entityNamed(entity->renamingIdentifier()))
            result.insert(entity->name(), numbers.value(entity->renamingIdentifier()));
    }
    // Numbers that are gone stay out of use.
    for (const NSEntityDescription *entity : from.entities()) {
        const qint64 number = numbers.value(entity->name());
        if (!result.values().contains(number))
            result.insert(entity->name() + QStringLiteral(" %1").arg(number), number);
    }
    return result;
}

} // namespace zr
