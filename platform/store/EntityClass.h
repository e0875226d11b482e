// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSManagedObjectModel.h"

#include <QHash>
#include <QMetaObject>
#include <QVariant>
#include <memory>
#include <vector>

class NSManagedObject;

namespace zr {

struct ObjectSeed;
using ObjectFactory = NSManagedObject *(*)(const ObjectSeed &seed);

/// One property of an entity, as its objects need it.
struct EntityProperty {
    const NSPropertyDescription *description = nullptr;
    const NSAttributeDescription *attribute = nullptr; ///< if it is one
    const NSRelationshipDescription *relationship = nullptr;
    /// The place of the inverse relationship among the properties of the destination; -1 if there is none.
    int inverse = -1;
    /// The place among the to-many relationships; -1 for other properties.
    int toMany = -1;
    /// The attribute's pattern as a condition on the value.
    NSPredicate pattern;
    /// Whether any value can be invalid.
    bool hasRules = true;

    bool isToOne() const { return relationship && !relationship->isToMany(); }
    bool isOrdered() const { return relationship && relationship->isOrdered(); }
    /// Whether the other side of a to-many relationship says it all: its objects point here by a to-one relationship.
    bool followsFromInverse() const {
        return toMany >= 0 && inverse >= 0 && !relationship->isOrdered() &&
               !relationship->inverseRelationship()->isToMany();
    }
    /// Whether the store keeps its value in the object's row.
    bool isInRow() const { return toMany < 0 && !description->isTransient(); }
};

/// What the objects of an entity have in common: their meta-object, in which every attribute and relationship is a
/// property of type QVariant with a NOTIFY signal, besides a read-only "objectID". Immutable; any thread.
class EntityClass {
public:
    explicit EntityClass(const NSEntityDescription *entity);
    EntityClass(const EntityClass &) = delete;
    EntityClass &operator=(const EntityClass &) = delete;

    const NSEntityDescription *entity() const { return m_entity; }
    const std::vector<EntityProperty> &properties() const { return m_properties; }
    const EntityProperty &property(int index) const { return m_properties[size_t(index)]; }
    int propertyCount() const { return int(m_properties.size()); }
    int toManyCount() const { return m_toManyCount; }
    /// Whether objects have values that only they hold.
    bool hasTransients() const { return m_hasTransients; }
    /// The values that a new object has.
    const std::vector<QVariant> &defaults() const { return m_defaults; }
    const QMetaObject &metaObject() const { return m_metaObject; }
    ObjectFactory factory() const { return m_factory; }

private:
    static bool hasRules(const EntityProperty &property);
    void buildMetaObject();

    const NSEntityDescription *const m_entity;
    std::vector<EntityProperty> m_properties;
    std::vector<QVariant> m_defaults;
    int m_toManyCount = 0;
    bool m_hasTransients = false;
    ObjectFactory m_factory;
    QMetaObject m_metaObject{};
    std::vector<uint> m_strings, m_data;
    std::vector<const QtPrivate::QMetaTypeInterface *> m_types;
};

/// The classes of a model's entities, the same ones for all contexts. Immutable; any thread.
class EntityClasses {
public:
    static std::shared_ptr<const EntityClasses> ofModel(const NSManagedObjectModel::Ptr &model);

    explicit EntityClasses(NSManagedObjectModel::Ptr model);

    const NSManagedObjectModel &model() const { return *m_model; }
    /// nullptr for an entity of another model.
    const EntityClass *of(const NSEntityDescription *entity) const;

private:
    const NSManagedObjectModel::Ptr m_model;
    QHash<const NSEntityDescription *, std::shared_ptr<const EntityClass>> m_classes;
};

} // namespace zr
