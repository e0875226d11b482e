// SPDX-License-Identifier: MIT
#include "platform/store/NSManagedObject.h"

#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/store/ManagedObjectFactories.h"
#include "platform/store/NSManagedObjectContext.h"
#include "platform/store/ObjectGraph.h"
#include "platform/store/Validation.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNull.h"
#include "platform/values/ValueKind.h"

#include <mutex>

using namespace zr;

namespace {

struct Factories {
    std::mutex mutex;
    QHash<QString, ObjectFactory> byName;
};
Factories &factories() {
    static NeverDestroyed<Factories> all;
    return *all;
}

QVariant orNull(const QVariant &value) {
    return value.isValid() ? value : NSNull();
}

bool report(const QList<NSError> &errors, NSError *error) {
    if (error)
        *error = Validation::combined(errors);
    return errors.isEmpty();
}

[[noreturn]] void raiseUndefined(const NSManagedObject &object, const QString &key) {
    throw NSException(
        NSUndefinedKeyException,
        QStringLiteral("The entity \"%1\" has no such property as \"%2\".").arg(object.entity()->name(), key),
        {{QStringLiteral("NSUnknownUserInfoKey"), key}});
}

} // namespace

ObjectFactory zr::objectFactory(const QString &className) {
    const std::lock_guard lock(factories().mutex);
    return factories().byName.value(className, &makeManagedObject<NSManagedObject>);
}

bool zr::registerObjectFactory(const QString &className, ObjectFactory factory) {
    const std::lock_guard lock(factories().mutex);
    factories().byName.insert(className, factory);
    return true;
}

NSManagedObject::NSManagedObject(const ObjectSeed &seed) : d(std::make_unique<ObjectState>(seed)) {
}

NSManagedObject::~NSManagedObject() = default;

NSManagedObject *NSManagedObject::from(const QVariant &value) {
    return dynamic_cast<NSManagedObject *>(objectOf(value));
}

NSManagedObjectID NSManagedObject::objectID() const {
    return d->id;
}

const NSEntityDescription *NSManagedObject::entity() const {
    return d->entityClass->entity();
}

NSManagedObjectContext *NSManagedObject::managedObjectContext() const {
    return d->is(ObjectState::Gone) ? nullptr : d->graph->context;
}

bool NSManagedObject::isInserted() const {
    return d->is(ObjectState::Inserted);
}

bool NSManagedObject::isUpdated() const {
    return d->is(ObjectState::Updated);
}

bool NSManagedObject::isDeleted() const {
    return d->is(ObjectState::Deleted);
}

bool NSManagedObject::isFault() const {
    return !d->is(ObjectState::HasValues);
}

int NSManagedObject::indexOfRelationship(const QString &key) const {
    const int index = entity()->indexOfProperty(key);
    if (index < 0 || d->entityClass->property(index).toMany < 0)
        raiseUndefined(*this, key);
    return index;
}

bool NSManagedObject::hasFaultForRelationshipNamed(const QString &key) const {
    const int index = indexOfRelationship(key);
    return !d->is(ObjectState::Inserted) &&
           (!d->toMany || !d->toMany[size_t(d->entityClass->property(index).toMany)].isLoaded);
}

QVariant NSManagedObject::valueForKey(const QString &key) const {
    auto *self = const_cast<NSManagedObject *>(this);
    const int index = entity()->indexOfProperty(key);
    return index < 0 ? NSKeyValueCoding::valueForKey(self, key) : d->graph->value(*self, index);
}

void NSManagedObject::setValueForKey(const QVariant &value, const QString &key) {
    const int index = entity()->indexOfProperty(key);
    if (index < 0)
        NSKeyValueCoding::setValueForKey(this, value, key);
    else
        d->graph->setValue(*this, index, value);
}

void NSManagedObject::setPrimitiveValue(const QVariant &value, const QString &key) {
    const int index = entity()->indexOfProperty(key);
    if (index < 0)
        NSKeyValueCoding::setValueForKey(this, value, key);
    else
        d->graph->setValue(*this, index, value, true);
}

void NSManagedObject::addObject(NSManagedObject *object, const QString &key) {
    d->graph->addMember(*this, indexOfRelationship(key), object);
}

void NSManagedObject::insertObject(NSManagedObject *object, const QString &key, qsizetype index) {
    const int property = indexOfRelationship(key);
    if (index < 0 || index > d->graph->loadedToMany(*this, property).members.size())
        throw NSException(
            NSRangeException,
            QStringLiteral("There is no place %1 in the relationship \"%2\".").arg(index).arg(key));
    d->graph->addMember(*this, property, object, index);
}

void NSManagedObject::removeObject(NSManagedObject *object, const QString &key) {
    d->graph->removeMember(*this, indexOfRelationship(key), object);
}

QVariantMap NSManagedObject::changedValues() const {
    auto &self = const_cast<NSManagedObject &>(*this);
    QVariantMap changed;
    for (int i = 0; i < d->entityClass->propertyCount(); ++i) {
        if (ObjectGraph::isValueChanged(*this, i))
            changed.insert(d->entityClass->property(i).description->name(), orNull(d->graph->value(self, i)));
    }
    return changed;
}

QVariantMap NSManagedObject::committedValuesForKeys(const QStringList &keys) const {
    auto &self = const_cast<NSManagedObject &>(*this);
    d->graph->fire(self);
    QVariantMap values;
    for (int i = 0; i < d->entityClass->propertyCount(); ++i) {
        const EntityProperty &property = d->entityClass->property(i);
        const QString name = property.description->name();
        if (!keys.isEmpty() && !keys.contains(name))
            continue;
        if (property.toMany >= 0) {
            if (!hasFaultForRelationshipNamed(name)) {
                QVariantList members;
                for (NSManagedObject *member : ObjectGraph::committedMembers(d->graph->toMany(self, i)))
                    members << QVariant::fromValue<QObject *>(member);
                values.insert(name, members);
            }
        } else if (d->is(ObjectState::Inserted)) {
            values.insert(name, NSNull());
        } else {
            const QVariant value = d->committed ? (*d->committed)[size_t(i)] : d->values[size_t(i)];
            if (property.relationship && value.isValid())
                values.insert(
                    name, QVariant::fromValue<QObject *>(d->graph->object(held<NSManagedObjectID>(value))));
            else
                values.insert(name, orNull(value));
        }
    }
    return values;
}

bool NSManagedObject::validateForInsert(NSError *error) const {
    return report(Validation::errorsOfValues(const_cast<NSManagedObject &>(*this)), error);
}

bool NSManagedObject::validateForUpdate(NSError *error) const {
    return report(Validation::errorsOfValues(const_cast<NSManagedObject &>(*this)), error);
}

bool NSManagedObject::validateForDelete(NSError *error) const {
    return report(Validation::errorsOfDeletion(const_cast<NSManagedObject &>(*this)), error);
}

bool NSManagedObject::validateValue(const QVariant &value, const QString &key, NSError *error) const {
    const int index = entity()->indexOfProperty(key);
    if (index < 0)
        raiseUndefined(*this, key);
    return report(Validation::errorsOfValue(*this, index, value), error);
}

const QMetaObject *NSManagedObject::metaObject() const {
    return &d->entityClass->metaObject();
}

void *NSManagedObject::qt_metacast(const char *className) {
    if (className &&
        (qstrcmp(className, metaObject()->className()) == 0 || qstrcmp(className, "NSManagedObject") == 0))
        return this;
    return QObject::qt_metacast(className);
}

int NSManagedObject::qt_metacall(QMetaObject::Call call, int id, void **arguments) {
    id = QObject::qt_metacall(call, id, arguments);
    if (id < 0)
        return id;
    const int count = d->entityClass->propertyCount();
    switch (call) {
    case QMetaObject::InvokeMetaMethod: // of a signal: emits it
        if (id < count)
            QMetaObject::activate(this, metaObject(), id, nullptr);
        return id - count;
    case QMetaObject::RegisterMethodArgumentMetaType:
        if (id < count)
            *static_cast<QMetaType *>(arguments[0]) = QMetaType();
        return id - count;
    case QMetaObject::ReadProperty:
        if (id < count)
            *static_cast<QVariant *>(arguments[0]) = d->graph->value(*this, id);
        else if (id == count)
            *static_cast<QVariant *>(arguments[0]) = QVariant::fromValue(d->id);
        return id - count - 1;
    case QMetaObject::WriteProperty:
        if (id < count)
            d->graph->setValue(*this, id, *static_cast<QVariant *>(arguments[0]));
        return id - count - 1;
    case QMetaObject::ResetProperty:
    case QMetaObject::BindableProperty:
    case QMetaObject::RegisterPropertyMetaType:
        return id - count - 1;
    default:
        return id;
    }
}

void NSManagedObject::connectNotify(const QMetaMethod &) {
    d->isObserved.store(true, std::memory_order_relaxed);
}
