// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSPropertyDescription.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <memory>
#include <vector>

class NSManagedObject;
class NSManagedObjectContext;
class NSManagedObjectModel;
namespace zr {
class ModelReader;
}

/// A class of objects in a model: its properties and where it stands among the others. Immutable, read by any thread,
/// and alive as long as its model.
class NSEntityDescription {
public:
    NSEntityDescription(const NSEntityDescription &) = delete;
    NSEntityDescription &operator=(const NSEntityDescription &) = delete;

    /// The entity of that name in the context's model. Raises NSInvalidArgumentException for an unknown name and for
    /// a context without a model.
    static const NSEntityDescription *entityForName(const QString &name,
                                                    const NSManagedObjectContext &context);
    /// A new object of the entity, in the context; raises as entityForName() does, and for an abstract entity.
    static NSManagedObject *insertNewObjectForEntityForName(const QString &name,
                                                            NSManagedObjectContext &context);

    QString name() const { return m_name; }
    const NSManagedObjectModel *managedObjectModel() const { return m_model; }
    /// The name of the class that its objects have; the entity's own name unless the model says otherwise.
    QString managedObjectClassName() const { return m_className; }
    /// What it inherits from; nullptr for none.
    const NSEntityDescription *superentity() const { return m_superentity; }
    /// The topmost entity that it inherits from, or itself.
    const NSEntityDescription *rootEntity() const;
    /// Those that inherit from it directly, by name.
    const std::vector<const NSEntityDescription *> &subentities() const { return m_subentities; }
    /// Whether it is the other one, or inherits from it.
    bool isKindOfEntity(const NSEntityDescription *other) const;
    /// Whether there are only objects of its subentities.
    bool isAbstract() const { return m_abstract; }
    /// What the entity was called in the model that a store is migrated from; its name unless the model says otherwise.
    QString renamingIdentifier() const { return m_renamingIdentifier; }
    /// Tells two versions of the entity apart: changes with everything that the store depends on.
    QByteArray versionHash() const { return m_versionHash; }

    /// Its properties: inherited ones first, then its own attributes by name, then its own relationships by name. A
    /// property's place in this list is its index wherever an object's values are listed.
    const std::vector<const NSPropertyDescription *> &properties() const { return m_properties; }
    /// The index of the property of that name; -1 if there is none.
    int indexOfProperty(const QString &name) const { return m_indexes.value(name, -1); }
    /// The property of that name, if it is one of that sort; nullptr otherwise.
    const NSPropertyDescription *property(const QString &name) const;
    const NSAttributeDescription *attribute(const QString &name) const;
    const NSRelationshipDescription *relationship(const QString &name) const;

private:
    friend class zr::ModelReader;
    NSEntityDescription() = default;

    QString m_name;
    QString m_className;
    QString m_renamingIdentifier;
    const NSManagedObjectModel *m_model = nullptr;
    const NSEntityDescription *m_superentity = nullptr;
    std::vector<const NSEntityDescription *> m_subentities;
    std::vector<std::unique_ptr<NSPropertyDescription>> m_ownProperties;
    std::vector<const NSPropertyDescription *> m_properties;
    QHash<QString, int> m_indexes;
    QByteArray m_versionHash;
    bool m_abstract = false;
};
