// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSPredicate.h"

#include <QString>
#include <optional>

class NSEntityDescription;
namespace zr {
class ModelReader;
}

/// What kind of value an attribute holds, and the C++ type in which it is kept. nil stands for "no value" in each.
enum class NSAttributeType {
    Integer16,     ///< qint16, as an int
    Integer32,     ///< int
    Integer64,     ///< qint64
    Decimal,       ///< NSDecimalNumber
    Double,        ///< double
    Float,         ///< float
    String,        ///< QString
    Boolean,       ///< bool
    Date,          ///< QDateTime in UTC, to the millisecond
    Data,          ///< QByteArray
    URI,           ///< QUrl
    UUID,          ///< QUuid
    Transformable, ///< anything that NSKeyedArchiver archives
};

/// What becomes of the objects at the other end when an object is deleted.
enum class NSDeleteRule {
    NoAction, ///< they keep pointing at nothing
    Nullify,  ///< they forget it
    Cascade,  ///< they are deleted too
    Deny,     ///< the object is not deleted as long as there are any
};

/// One property of an entity: what attributes and relationships have in common. Part of a model, which is immutable
/// once it is made and is read by any thread.
class NSPropertyDescription {
public:
    virtual ~NSPropertyDescription() = default;
    NSPropertyDescription(const NSPropertyDescription &) = delete;
    NSPropertyDescription &operator=(const NSPropertyDescription &) = delete;

    QString name() const { return m_name; }
    /// The entity that declares it.
    const NSEntityDescription *entity() const { return m_entity; }
    /// Whether nil, or an empty relationship, is valid.
    bool isOptional() const { return m_optional; }
    /// Whether it is kept in memory only.
    bool isTransient() const { return m_transient; }
    /// What the property was called in the model that a store is migrated from; its name unless the model says otherwise.
    QString renamingIdentifier() const { return m_renamingIdentifier; }
    /// Conditions that a value must meet besides the ready-made ones, evaluated on the value itself.
    QList<NSPredicate> validationPredicates() const { return m_validationPredicates; }

protected:
    NSPropertyDescription() = default;

private:
    friend class zr::ModelReader;
    QString m_name;
    QString m_renamingIdentifier;
    const NSEntityDescription *m_entity = nullptr;
    QList<NSPredicate> m_validationPredicates;
    bool m_optional = true;
    bool m_transient = false;
};

/// An attribute: a value of its own.
class NSAttributeDescription final : public NSPropertyDescription {
public:
    NSAttributeType attributeType() const { return m_type; }
    /// What a new object has; nil for nothing.
    QVariant defaultValue() const { return m_defaultValue; }
    /// The least and the greatest number or date; nil for no limit.
    QVariant minimum() const { return m_minimum; }
    QVariant maximum() const { return m_maximum; }
    /// The least and the greatest length of a string, in UTF-16 units; -1 for no limit.
    qint64 minimumLength() const { return m_minimumLength; }
    qint64 maximumLength() const { return m_maximumLength; }
    /// A regular expression for all of a string; nil for none.
    QString pattern() const { return m_pattern; }
    /// Whether the store keeps an index of it.
    bool isIndexed() const { return m_indexed; }

private:
    friend class zr::ModelReader;
    NSAttributeType m_type = NSAttributeType::String;
    QVariant m_defaultValue, m_minimum, m_maximum;
    qint64 m_minimumLength = -1, m_maximumLength = -1;
    QString m_pattern;
    bool m_indexed = false;
};

/// A relationship to objects of an entity.
class NSRelationshipDescription final : public NSPropertyDescription {
public:
    const NSEntityDescription *destinationEntity() const { return m_destination; }
    /// The relationship of the destination that leads back; nullptr if there is none.
    const NSRelationshipDescription *inverseRelationship() const { return m_inverse; }
    bool isToMany() const { return m_toMany; }
    /// Whether the objects of a to-many relationship have an order.
    bool isOrdered() const { return m_ordered; }
    /// How many objects there have to be, and may be, if there are any; 0 for no limit.
    qint64 minCount() const { return m_minCount; }
    qint64 maxCount() const { return m_maxCount; }
    NSDeleteRule deleteRule() const { return m_deleteRule; }

private:
    friend class zr::ModelReader;
    const NSEntityDescription *m_destination = nullptr;
    const NSRelationshipDescription *m_inverse = nullptr;
    qint64 m_minCount = 0, m_maxCount = 0;
    NSDeleteRule m_deleteRule = NSDeleteRule::Nullify;
    bool m_toMany = false;
    bool m_ordered = false;
};
