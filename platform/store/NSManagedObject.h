// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/store/NSManagedObjectID.h"

#include <QObject>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>
#include <memory>

class NSEntityDescription;
class NSManagedObject;
class NSManagedObjectContext;
namespace zr {
class EntityClass;
class ObjectGraph;
struct ObjectSeed;
struct ObjectState;
using ObjectFactory = NSManagedObject *(*)(const ObjectSeed &seed);
bool registerObjectFactory(const QString &className, ObjectFactory factory);
} // namespace zr

/// Raised for an object whose row can't be read when its values are needed. The user info holds the reason under
/// NSUnderlyingErrorKey, if there is more to it than a row that is gone.
inline const QString NSObjectInaccessibleException = QStringLiteral("NSObjectInaccessibleException");

/// One object of a model's entity, in one context.
///
/// Its attributes and relationships are properties of its meta-object, of type QVariant and each with a NOTIFY signal
/// "<name>Changed()", so that QObject::property(), key-value coding, observing and item views know them; "objectID" is
/// one more. In the meta-object its class is the entity's class. Values:
/// - attributes: what NSAttributeType says, or nil;
/// - to-one relationships: the object as a QObject pointer, or nil;
/// - to-many relationships: an NSSet of objects, or a QVariantList of them if it is ordered.
///
/// An object that isn't saved yet has all of its values; any other one may be a fault, whose values are read from the
/// store when they are first asked for. What can't be read raises NSObjectInaccessibleException.
///
/// Objects belong to their context, which makes them and destroys them when it is reset or ends. They are used where
/// their context is: see NSManagedObjectContext. Only objectID(), entity() and isTemporaryID() may be asked by any thread.
///
/// A subclass has no Q_OBJECT, but NS_MANAGED_OBJECT:
///
///     class Note : public NSManagedObject {
///         NS_MANAGED_OBJECT(Note)
///     public:
///         QString title() const { return valueForKey(QStringLiteral("title")).toString(); }
///     };
///
/// The objects of all entities with that class name ("class" in the model) are then made as objects of it.
class NSManagedObject : public QObject {
public:
    /// Only contexts make objects; see NSEntityDescription::insertNewObjectForEntityForName().
    explicit NSManagedObject(const zr::ObjectSeed &seed);
    ~NSManagedObject() override;

    /// The name under which an entity is looked up that is named after its class: that of the class.
    static QString name() { return QStringLiteral("NSManagedObject"); }
    /// The object that a value points to; nullptr if it is none.
    static NSManagedObject *from(const QVariant &value);

    /// It stays the same, unless the object's deletion is undone after it was saved.
    NSManagedObjectID objectID() const;
    const NSEntityDescription *entity() const;
    /// nullptr once the object has left it: when its deletion, or that of an object never saved, is done.
    NSManagedObjectContext *managedObjectContext() const;

    /// Whether the next save will insert, change or delete it.
    bool isInserted() const;
    bool isUpdated() const;
    bool isDeleted() const;
    bool hasChanges() const { return isInserted() || isUpdated() || isDeleted(); }
    /// Whether its values are still to be read.
    bool isFault() const;
    /// The same for the objects of a to-many relationship. Raises NSUndefinedKeyException for what is none.
    bool hasFaultForRelationshipNamed(const QString &key) const;

    /// The value of an attribute or relationship; any other key as key-value coding has it.
    QVariant valueForKey(const QString &key) const;
    /// Sets it, with the inverse of a relationship, and announces the changes to the observers of all objects concerned.
    /// Numbers are converted to the attribute's width (1.9 is 1 as an integer); a to-many relationship takes sets and
    /// arrays of objects, nil empties it. Raises NSInvalidArgumentException for a value of another kind, a number that
    /// the width doesn't hold, and an object of another entity or context. All of what observers raise waits until the change
    /// is complete; the first exception is then raised.
    void setValueForKey(const QVariant &value, const QString &key);
    /// The same without announcements, for accessors of subclasses that make them; relationships still keep their inverse.
    QVariant primitiveValueForKey(const QString &key) const { return valueForKey(key); }
    void setPrimitiveValue(const QVariant &value, const QString &key);

    /// Adds one object to a to-many relationship, at its end or at an index of an ordered one, or takes it away. An object
    /// that is in it already, or isn't, changes nothing. Raises as setValueForKey() does, NSRangeException for the index.
    void addObject(NSManagedObject *object, const QString &key);
    void insertObject(NSManagedObject *object, const QString &key, qsizetype index);
    void removeObject(NSManagedObject *object, const QString &key);

    /// The values that differ from those last read or saved, by property; the null marker for nil. Of a new object all that
    /// aren't nil or empty.
    QVariantMap changedValues() const;
    /// The values last read or saved of the properties that are named, of all for none; the null marker for nil. To-many
    /// relationships only if they have been read.
    QVariantMap committedValuesForKeys(const QStringList &keys = {}) const;

    /// Whether the object may be saved as it is; otherwise false, and the error: the only one, or
    /// NSValidationMultipleErrorsError with all of them under NSDetailedErrorsKey. A subclass that overrides one of them
    /// calls it too.
    virtual bool validateForInsert(NSError *error = nullptr) const;
    virtual bool validateForUpdate(NSError *error = nullptr) const;
    virtual bool validateForDelete(NSError *error = nullptr) const;
    /// Whether the property may have the value. Raises NSUndefinedKeyException for another key.
    virtual bool validateValue(const QVariant &value, const QString &key, NSError *error = nullptr) const;

    /// Called once after the object is made by an insertion, after its values were read, before and after it is
    /// saved, and before it is deleted. What willSave() changes is saved too, and told by the same call. An insertion that
    /// comes from a child context is none.
    virtual void awakeFromInsert() {}
    virtual void awakeFromFetch() {}
    virtual void willSave() {}
    virtual void didSave() {}
    virtual void prepareForDeletion() {}

    const QMetaObject *metaObject() const override;
    void *qt_metacast(const char *className) override;
    int qt_metacall(QMetaObject::Call call, int id, void **arguments) override;

protected:
    void connectNotify(const QMetaMethod &signal) override;

private:
    friend class zr::ObjectGraph;
    friend struct zr::ObjectState;
    int indexOfRelationship(const QString &key) const;

    const std::unique_ptr<zr::ObjectState> d;
};

namespace zr {
template <typename Class>
NSManagedObject *makeManagedObject(const ObjectSeed &seed) {
    return new Class(seed);
}
} // namespace zr

/// Gives a class of managed objects its constructor and name(), and makes contexts use it. Its entity has its name.
#define NS_MANAGED_OBJECT(Class)                                                                             \
public:                                                                                                      \
    using NSManagedObject::NSManagedObject;                                                                  \
    static QString name() {                                                                                  \
        return QStringLiteral(#Class);                                                                       \
    }                                                                                                        \
                                                                                                             \
private:                                                                                                     \
    inline static const bool isRegisteredClass =                                                             \
        zr::registerObjectFactory(QStringLiteral(#Class), &zr::makeManagedObject<Class>);
