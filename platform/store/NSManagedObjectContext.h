// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/store/NSFetchRequest.h"
#include "platform/store/NSManagedObject.h"
#include "platform/store/NSManagedObjectModel.h"
#include "platform/store/NSMergePolicy.h"
#include "platform/store/NSUndoManager.h"

#include <QObject>
#include <QVariantList>
#include <functional>
#include <memory>
#include <optional>

class NSNotification;
class NSPersistentStoreCoordinator;
namespace zr {
struct ContextState;
class ObjectGraph;
} // namespace zr

/// Where a context's blocks run.
enum NSManagedObjectContextConcurrencyType {
    NSPrivateQueueConcurrencyType = 1, ///< one after the other, on threads of the context's own queue
    NSMainQueueConcurrencyType = 2,    ///< on the main thread
};

/// What contexts announce through NSNotificationCenter::defaultCenter(), on the context's own thread, with the context as
/// the sender. The user info holds arrays of objects under the keys below, without those that would be empty.
inline const QString NSManagedObjectContextObjectsDidChangeNotification =
    QStringLiteral("NSObjectsChangedInManagingContextNotification");
inline const QString NSManagedObjectContextWillSaveNotification =
    QStringLiteral("NSManagingContextWillSaveChangesNotification");
inline const QString NSManagedObjectContextDidSaveNotification =
    QStringLiteral("NSManagingContextDidSaveChangesNotification");
inline const QString NSInsertedObjectsKey = QStringLiteral("inserted");
inline const QString NSUpdatedObjectsKey = QStringLiteral("updated");
inline const QString NSDeletedObjectsKey = QStringLiteral("deleted");

/// What has edits that aren't in its objects yet, such as an input field.
class NSEditor {
public:
    virtual ~NSEditor() = default;
    /// Puts them there; false if that can't be done.
    virtual bool commitEditing() = 0;
};

/// A set of objects as one part of a program sees and changes them, until it saves them: to its store, or to the context
/// that is its parent.
///
/// Make contexts with std::make_shared, and give each a coordinator or a parent once, before its first use. A context and its
/// objects are used by one thread at a time: by the main thread, or by blocks of performBlock() and performBlockAndWait(),
/// which alone any thread may call, besides concurrencyType() and parentContext(). Nothing checks this. The objects live until
/// reset() or the context's end.
///
/// An object is in a context once: all ways to it give the same object. Functions with an error set it to nil on success; it
/// may be nullptr.
class NSManagedObjectContext : public QObject, public std::enable_shared_from_this<NSManagedObjectContext> {
    Q_OBJECT

public:
    explicit NSManagedObjectContext(NSManagedObjectContextConcurrencyType type);
    ~NSManagedObjectContext() override;

    NSManagedObjectContextConcurrencyType concurrencyType() const;
    /// Runs a block where the context may be used, after those that wait already, and returns at once. The context is kept
    /// alive until then. What the block raises is logged.
    void performBlock(std::function<void()> block);
    /// The same, and waits; what the block raises is raised here. A block of the context may call it: it goes on at once.
    void performBlockAndWait(const std::function<void()> &block);

    /// Where objects come from and are saved to; the parent's for a child. nullptr if neither was set.
    std::shared_ptr<NSPersistentStoreCoordinator> persistentStoreCoordinator() const;
    void setPersistentStoreCoordinator(const std::shared_ptr<NSPersistentStoreCoordinator> &coordinator);
    std::shared_ptr<NSManagedObjectContext> parentContext() const;
    void setParentContext(const std::shared_ptr<NSManagedObjectContext> &parent);
    /// nullptr without a coordinator or parent.
    NSManagedObjectModel::Ptr managedObjectModel() const;

    /// Error at first.
    NSMergePolicy mergePolicy() const;
    void setMergePolicy(NSMergePolicy policy);
    /// Records all changes; a main context has one that keeps 100 groups, a private one none. What is changed between
    /// two calls of processPendingChanges() makes one group. Saves don't matter to it: an object whose deletion was saved
    /// comes back as a new one, with another identifier.
    std::shared_ptr<NSUndoManager> undoManager() const;
    void setUndoManager(const std::shared_ptr<NSUndoManager> &undoManager);
    /// Whether the values of unchanged objects are kept; false at first: those that nobody has asked for between two saves
    /// are then given back, and read again if they are needed.
    bool retainsRegisteredObjects() const;
    void setRetainsRegisteredObjects(bool flag);

    /// A new object; see NSEntityDescription::insertNewObjectForEntityForName(), which takes the entity's name. Raises
    /// NSInvalidArgumentException for an abstract entity and one of another model.
    NSManagedObject *insertObject(const NSEntityDescription *entity);
    /// Deletes the object with the next save; what its delete rules say happens at once. Nothing for nil and an object
    /// that is deleted already. Raises NSInvalidArgumentException for one of another context.
    void deleteObject(NSManagedObject *object);
    /// The object, without asking whether it exists: a fault if it isn't here yet. Raises NSInvalidArgumentException for nil
    /// and an identifier of another model.
    NSManagedObject *objectWithID(const NSManagedObjectID &id);
    /// The same if it is here already; nullptr otherwise.
    NSManagedObject *objectRegisteredForID(const NSManagedObjectID &id) const;
    /// The object with its values; nullptr and an error (NSManagedObjectReferentialIntegrityError if there is no such
    /// object) otherwise.
    NSManagedObject *existingObjectWithID(const NSManagedObjectID &id, NSError *error = nullptr);

    /// In no order.
    QList<NSManagedObject *> registeredObjects() const;
    /// What the next save inserts, changes and deletes, in the order of the first changes.
    QList<NSManagedObject *> insertedObjects() const;
    QList<NSManagedObject *> updatedObjects() const;
    QList<NSManagedObject *> deletedObjects() const;
    bool hasChanges() const;

    /// What the request finds, as its result type says, unsaved changes included; none and an error if it fails. Raises
    /// NSInvalidArgumentException for an unknown entity name and what NSPredicate raises for what can't be compared.
    std::optional<QVariantList> executeFetchRequest(const NSFetchRequest &request, NSError *error = nullptr);
    /// How many objects it finds; none and an error if it fails.
    std::optional<quint64> countForFetchRequest(const NSFetchRequest &request, NSError *error = nullptr);

    /// Saves all changes or none. Objects are asked whether they are valid first; conflicts are solved by the merge policy. A
    /// child's changes become the parent's, and are in the store when that is saved.
    bool save(NSError *error = nullptr);
    /// Takes all unsaved changes back. What could be undone is forgotten.
    void rollback();
    /// Takes back the latest group of changes, or makes it again; nothing without an undo manager.
    void undo();
    void redo();
    /// Destroys all objects, with their unsaved changes.
    void reset();
    /// Reads an object's values anew when they are next needed; with `mergeChanges` at once, and its unsaved changes stay.
    void refreshObject(NSManagedObject *object, bool mergeChanges);
    /// Announces what has changed since the last call and makes an undo group of it. Happens by itself after each block, in
    /// a save, and in a main context as soon as the main thread's event loop runs.
    void processPendingChanges();
    /// Takes over what another context of the same coordinator has saved; that one must not be reset or end meanwhile. Raises NSInvalidArgumentException for another
    /// notification than NSManagedObjectContextDidSaveNotification.
    void mergeChangesFromContextDidSaveNotification(const NSNotification &notification);

    /// Makes commitEditing() ask the editor; until it is taken out, which it must be before it dies.
    void objectDidBeginEditing(NSEditor *editor);
    void objectDidEndEditing(NSEditor *editor);
    /// Asks all editors, and takes those out that have put their edits in; false if one can't.
    bool commitEditing();

private:
    zr::ObjectGraph &graph() const;
    void prepareGraph();
    const NSEntityDescription *entityOf(const NSFetchRequest &request) const;
    void tell(const QString &name, const QVariantList &inserted, const QVariantList &updated,
              const QVariantList &deleted);

    const std::unique_ptr<zr::ContextState> d;
};
