// SPDX-License-Identifier: MIT
#include "platform/store/Validation.h"

#include "platform/archive/NSKeyedArchiver.h"
#include "platform/base/NSException.h"
#include "platform/store/NSCoreDataErrors.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

#include <cmath>

using namespace zr;

namespace {

/// Finds what is wrong with one value.
class ValueCheck {
public:
    ValueCheck(const NSManagedObject &object, const EntityProperty &property, const QVariant &value)
        : m_object(object), m_property(property), m_value(value) {}

    QList<NSError> errors() {
        if (m_property.toMany >= 0)
            checkCount();
        else if (NSIsNil(m_value))
            checkPresence();
        else if (m_property.attribute)
            checkAttribute();
        return m_errors;
    }

private:
    void fail(NSCoreDataError code, const QString &what) {
        QVariantMap info{{NSLocalizedDescriptionKey,
                          QStringLiteral("The value of \"%1\" of \"%2\" %3.")
                              .arg(m_property.description->name(), m_object.entity()->name(), what)},
                         {NSValidationObjectErrorKey,
                          QVariant::fromValue<QObject *>(const_cast<NSManagedObject *>(&m_object))},
                         {NSValidationKeyErrorKey, m_property.description->name()}};
        if (!NSIsNil(m_value))
            info.insert(NSValidationValueErrorKey, m_value);
        m_errors << NSError(NSCocoaErrorDomain, code, info);
    }

    void checkPresence() {
        if (!m_property.description->isOptional())
            fail(NSValidationMissingMandatoryPropertyError, QStringLiteral("is missing"));
    }

    void checkCount() {
        const qsizetype count = countOf(m_value);
        const NSRelationshipDescription &relationship = *m_property.relationship;
        if (count == 0 && relationship.isOptional())
            return;
        if (count == 0 && relationship.minCount() == 0)
            checkPresence();
        else if (count < relationship.minCount())
            fail(NSValidationRelationshipLacksMinimumCountError, QStringLiteral("has too few objects"));
        if (relationship.maxCount() > 0 && count > relationship.maxCount())
            fail(NSValidationRelationshipExceedsMaximumCountError, QStringLiteral("has too many objects"));
        checkPredicates();
    }

    void checkAttribute() {
        switch (m_property.attribute->attributeType()) {
        case NSAttributeType::String:
            checkString();
            break;
        case NSAttributeType::Date:
            checkLimits(NSValidationDateTooSoonError, QStringLiteral("is too early"),
                        NSValidationDateTooLateError, QStringLiteral("is too late"));
            break;
        case NSAttributeType::Transformable:
            checkArchive();
            break;
        case NSAttributeType::Double:
        case NSAttributeType::Float:
        case NSAttributeType::Decimal:
            checkNumber();
            break;
        default:
            checkLimits(NSValidationNumberTooSmallError, QStringLiteral("is too small"),
                        NSValidationNumberTooLargeError, QStringLiteral("is too large"));
        }
        checkPredicates();
    }

    void checkNumber() {
        const bool isDecimal = m_property.attribute->attributeType() == NSAttributeType::Decimal;
        if (isDecimal ? held<NSDecimalNumber>(m_value).isNaN() : std::isnan(m_value.toDouble()))
            fail(NSManagedObjectValidationError, QStringLiteral("is not a number"));
        else
            checkLimits(NSValidationNumberTooSmallError, QStringLiteral("is too small"),
                        NSValidationNumberTooLargeError, QStringLiteral("is too large"));
    }

    void checkLimits(NSCoreDataError low, const QString &tooLow, NSCoreDataError high,
                     const QString &tooHigh) {
        const QVariant least = m_property.attribute->minimum(), most = m_property.attribute->maximum();
        if (least.isValid() && NSObjectRuntime::compare(m_value, least) == NSOrderedAscending)
            fail(low, tooLow);
        if (most.isValid() && NSObjectRuntime::compare(m_value, most) == NSOrderedDescending)
            fail(high, tooHigh);
    }

    void checkString() {
        const NSAttributeDescription &attribute = *m_property.attribute;
        const qsizetype length = held<QString>(m_value).size();
        if (length < attribute.minimumLength())
            fail(NSValidationStringTooShortError, QStringLiteral("is too short"));
        if (attribute.maximumLength() >= 0 && length > attribute.maximumLength())
            fail(NSValidationStringTooLongError, QStringLiteral("is too long"));
        if (!m_property.pattern.isNil() && !m_property.pattern.evaluateWithObject(m_value))
            fail(NSValidationStringPatternMatchingError, QStringLiteral("doesn't have the right form"));
    }

    void checkArchive() {
        try {
            NSKeyedArchiver::archivedDataWithRootObject(m_value);
        } catch (const NSException &exception) {
            fail(NSManagedObjectValidationError,
                 QStringLiteral("can't be archived (%1)").arg(exception.description()));
        }
    }

    void checkPredicates() {
        for (const auto predicates = m_property.description->validationPredicates();
             const NSPredicate &predicate : predicates) {
            try {
                if (!predicate.evaluateWithObject(m_value))
                    fail(NSManagedObjectValidationError,
                         QStringLiteral("doesn't hold the condition %1").arg(predicate.predicateFormat()));
            } catch (const NSException &exception) {
                fail(NSManagedObjectValidationError,
                     QStringLiteral("can't be compared with the condition %1 (%2)")
                         .arg(predicate.predicateFormat(), exception.description()));
            }
        }
    }

    const NSManagedObject &m_object;
    const EntityProperty &m_property;
    const QVariant m_value;
    QList<NSError> m_errors;
};

} // namespace

namespace zr::Validation {

QList<NSError> errorsOfValue(const NSManagedObject &object, int property, const QVariant &value) {
    return ValueCheck(object, ObjectState::of(object).entityClass->property(property), value).errors();
}

QList<NSError> errorsOfValues(NSManagedObject &object) {
    const ObjectState &state = ObjectState::of(object);
    QList<NSError> errors;
    for (int i = 0; i < state.entityClass->propertyCount(); ++i) {
        const EntityProperty &property = state.entityClass->property(i);
        // What was read and not changed was valid when it was saved.
        const bool isNew = state.is(ObjectState::Inserted);
        if (!property.hasRules || (!isNew && !ObjectGraph::isValueChanged(object, i)))
            continue;
        if (property.toMany >= 0)
            errors << errorsOfValue(object, i, state.graph->value(object, i));
        else
            errors << ValueCheck(object, property, state.values[size_t(i)]).errors();
    }
    return errors;
}

QList<NSError> errorsOfDeletion(NSManagedObject &object) {
    const ObjectState &state = ObjectState::of(object);
    QList<NSError> errors;
    for (int i = 0; i < state.entityClass->propertyCount(); ++i) {
        const EntityProperty &property = state.entityClass->property(i);
        if (!property.relationship || property.relationship->deleteRule() != NSDeleteRule::Deny)
            continue;
        const auto others = state.graph->related(object, i);
        const bool isDenied = std::any_of(others.begin(), others.end(), [](const NSManagedObject *other) {
            return !ObjectState::of(*other).is(ObjectState::Deleted | ObjectState::Gone);
        });
        if (isDenied)
            errors << NSError(
                NSCocoaErrorDomain, NSValidationRelationshipDeniedDeleteError,
                {{NSLocalizedDescriptionKey,
                  QStringLiteral(
                      "The object of \"%1\" can't be deleted as long as there are objects in \"%2\".")
                      .arg(object.entity()->name(), property.description->name())},
                 {NSValidationObjectErrorKey, QVariant::fromValue<QObject *>(&object)},
                 {NSValidationKeyErrorKey, property.description->name()}});
    }
    return errors;
}

NSError combined(const QList<NSError> &errors) {
    if (errors.size() < 2)
        return errors.value(0);
    QVariantList details;
    for (const NSError &error : errors)
        details << QVariant::fromValue(error);
    return {NSCocoaErrorDomain,
            NSValidationMultipleErrorsError,
            {{NSLocalizedDescriptionKey, QStringLiteral("%1 values are not valid.").arg(errors.size())},
             {NSDetailedErrorsKey, details}}};
}

QList<NSError> separate(const NSError &error) {
    if (!error)
        return {};
    if (error.domain() != NSCocoaErrorDomain || error.code() != NSValidationMultipleErrorsError)
        return {error};
    QList<NSError> errors;
    for (const QVariantList details = error.userInfo().value(NSDetailedErrorsKey).toList();
         const QVariant &each : details)
        errors << each.value<NSError>();
    return errors;
}

} // namespace zr::Validation
