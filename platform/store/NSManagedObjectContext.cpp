// SPDX-License-Identifier: MIT
#include "platform/store/NSManagedObjectContext.h"

#include "platform/base/FirstException.h"
#include "platform/base/NSException.h"
#include "platform/operations/DispatchQueue.h"
#include "platform/operations/NSThread.h"
#include "platform/store/ContextFetch.h"
#include "platform/store/ContextSave.h"
#include "platform/store/ContextState.h"
#include "platform/store/NSCoreDataErrors.h"
#include "platform/store/NSPersistentStoreCoordinator.h"
#include "platform/values/NSNotificationCenter.h"

#include <QCoreApplication>
#include <algorithm>

using namespace zr;

namespace {

constexpr int UndoLevels = 100;

/// Sets the caller's error, if there is one to be set.
template <typename Result>
Result result(Result value, const NSError &failure, NSError *error) {
    if (error)
        *error = failure;
    return value;
}

QList<NSManagedObject *> changedWith(const ObjectGraph &graph, unsigned flag) {
    QList<NSManagedObject *> objects;
    for (const auto changed = graph.changed(); NSManagedObject * object : changed) {
        if (ObjectState::of(*object).is(flag))
            objects << object;
    }
    return objects;
}

} // namespace

// ---- Making

NSManagedObjectContext::NSManagedObjectContext(NSManagedObjectContextConcurrencyType type)
    : d(std::make_unique<ContextState>()) {
    d->type = type;
    d->queue = type == NSMainQueueConcurrencyType ? ContextQueue::main() : ContextQueue::privateQueue();
    if (type == NSPrivateQueueConcurrencyType) {
        moveToThread(nullptr);
        return;
    }
    d->undoManager = std::make_shared<NSUndoManager>();
    d->undoManager->setLevelsOfUndo(UndoLevels);
}

NSManagedObjectContext::~NSManagedObjectContext() {
    if (d->undoManager)
        d->undoManager->removeAllActionsWithTarget(this);
    // The last one to let go may be another thread's block; the objects end where they lived.
    if (d->type == NSMainQueueConcurrencyType && !NSThread::isMainThread() && QCoreApplication::instance())
        DispatchQueue::mainQueue().async([graph = std::shared_ptr<ObjectGraph>(std::move(d->graph))] {});
}

NSManagedObjectContextConcurrencyType NSManagedObjectContext::concurrencyType() const {
    return d->type;
}

void NSManagedObjectContext::performBlock(std::function<void()> block) {
    d->queue->async([self = shared_from_this(), block = std::move(block)] {
        FirstException failure;
        failure.guard(block);
        failure.guard([&] { self->processPendingChanges(); });
        failure.rethrow();
    });
}

void NSManagedObjectContext::performBlockAndWait(const std::function<void()> &block) {
    d->queue->sync(block);
}

std::shared_ptr<NSPersistentStoreCoordinator> NSManagedObjectContext::persistentStoreCoordinator() const {
    return d->parent ? d->parent->persistentStoreCoordinator() : d->coordinator;
}

void NSManagedObjectContext::setPersistentStoreCoordinator(
    const std::shared_ptr<NSPersistentStoreCoordinator> &coordinator) {
    if (d->graph || !coordinator)
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("A context gets one coordinator or parent, once."));
    d->coordinator = coordinator;
    d->graph = std::make_unique<ObjectGraph>(this, EntityClasses::ofModel(coordinator->managedObjectModel()),
                                             coordinator->source());
    prepareGraph();
}

std::shared_ptr<NSManagedObjectContext> NSManagedObjectContext::parentContext() const {
    return d->parent;
}

void NSManagedObjectContext::setParentContext(const std::shared_ptr<NSManagedObjectContext> &parent) {
    if (d->graph || !parent)
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("A context gets one coordinator or parent, once."));
    d->parent = parent;
    d->parentSource = std::make_unique<ParentSource>(parent, parent->graph());
    d->graph = std::make_unique<ObjectGraph>(this, parent->graph().classes, *d->parentSource);
    prepareGraph();
}

void NSManagedObjectContext::prepareGraph() {
    d->graph->keepsUndo = bool(d->undoManager);
    if (d->type != NSMainQueueConcurrencyType)
        return;
    d->graph->onFirstChange = [this] {
        DispatchQueue::mainQueue().async([weak = weak_from_this()] {
            if (const auto self = weak.lock())
                self->processPendingChanges();
        });
    };
}

ObjectGraph &NSManagedObjectContext::graph() const {
    if (!d->graph)
        throw NSException(NSInternalInconsistencyException,
                          QStringLiteral("The context has neither a coordinator nor a parent."));
    return *d->graph;
}

NSManagedObjectModel::Ptr NSManagedObjectContext::managedObjectModel() const {
    return d->graph ? d->graph->classes->model().shared_from_this() : nullptr;
}

// ---- Settings

NSMergePolicy NSManagedObjectContext::mergePolicy() const {
    return d->mergePolicy;
}

void NSManagedObjectContext::setMergePolicy(NSMergePolicy policy) {
    d->mergePolicy = policy;
}

std::shared_ptr<NSUndoManager> NSManagedObjectContext::undoManager() const {
    return d->undoManager;
}

void NSManagedObjectContext::setUndoManager(const std::shared_ptr<NSUndoManager> &undoManager) {
    if (d->graph)
        processPendingChanges();
    if (d->undoManager)
        d->undoManager->removeAllActionsWithTarget(this);
    d->undoManager = undoManager;
    if (d->graph)
        d->graph->keepsUndo = bool(undoManager);
}

bool NSManagedObjectContext::retainsRegisteredObjects() const {
    return d->retainsRegisteredObjects;
}

void NSManagedObjectContext::setRetainsRegisteredObjects(bool flag) {
    d->retainsRegisteredObjects = flag;
}

// ---- Objects

NSManagedObject *NSManagedObjectContext::insertObject(const NSEntityDescription *entity) {
    const EntityClass *entityClass = entity ? graph().classes->of(entity) : nullptr;
    if (!entityClass || entity->isAbstract())
        throw NSException(NSInvalidArgumentException,
                          entityClass ? QStringLiteral("The entity \"%1\" is abstract.").arg(entity->name())
                                      : QStringLiteral("The entity isn't one of the context's model."));
    NSManagedObject *object = graph().insert(*entityClass, ObjectIdentity::temporary(entity));
    object->awakeFromInsert();
    return object;
}

void NSManagedObjectContext::deleteObject(NSManagedObject *object) {
    if (!object)
        return;
    if (ObjectState::of(*object).graph != d->graph.get())
        throw NSException(NSInvalidArgumentException, QStringLiteral("The object is another context's."));
    graph().remove(*object);
}

NSManagedObject *NSManagedObjectContext::objectWithID(const NSManagedObjectID &id) {
    return graph().object(id);
}

NSManagedObject *NSManagedObjectContext::objectRegisteredForID(const NSManagedObjectID &id) const {
    return graph().registered(id);
}

NSManagedObject *NSManagedObjectContext::existingObjectWithID(const NSManagedObjectID &id, NSError *error) {
    const bool wasHere = graph().registered(id);
    NSManagedObject *object = graph().object(id);
    NSError failure;
    if (!object->isDeleted() && graph().fire(*object, failure))
        return result(object, {}, error);
    if (!wasHere)
        graph().leave(*object);
    if (!failure)
        failure =
            NSError(NSCocoaErrorDomain, NSManagedObjectReferentialIntegrityError,
                    {{NSLocalizedDescriptionKey,
                      QStringLiteral("There is no object %1.").arg(id.URIRepresentation().toString())}});
    return result<NSManagedObject *>(nullptr, failure, error);
}

QList<NSManagedObject *> NSManagedObjectContext::registeredObjects() const {
    return graph().allRegistered();
}

QList<NSManagedObject *> NSManagedObjectContext::insertedObjects() const {
    return changedWith(graph(), ObjectState::Inserted);
}

QList<NSManagedObject *> NSManagedObjectContext::updatedObjects() const {
    return changedWith(graph(), ObjectState::Updated);
}

QList<NSManagedObject *> NSManagedObjectContext::deletedObjects() const {
    return changedWith(graph(), ObjectState::Deleted);
}

bool NSManagedObjectContext::hasChanges() const {
    return d->graph && d->graph->hasChanges();
}

// ---- Fetching

const NSEntityDescription *NSManagedObjectContext::entityOf(const NSFetchRequest &request) const {
    return NSEntityDescription::entityForName(request.entityName(), *this);
}

std::optional<QVariantList> NSManagedObjectContext::executeFetchRequest(const NSFetchRequest &request,
                                                                        NSError *error) {
    QVariantList results;
    const NSError failure = ContextFetch(graph(), request, entityOf(request)).results(results);
    return result(failure ? std::nullopt : std::optional(results), failure, error);
}

std::optional<quint64> NSManagedObjectContext::countForFetchRequest(const NSFetchRequest &request,
                                                                    NSError *error) {
    quint64 count = 0;
    const NSError failure = ContextFetch(graph(), request, entityOf(request)).count(count);
    return result(failure ? std::nullopt : std::optional(count), failure, error);
}

// ---- Changes

bool NSManagedObjectContext::save(NSError *error) {
    processPendingChanges();
    tell(NSManagedObjectContextWillSaveNotification, {}, {}, {});
    ContextSave save(graph(), d->mergePolicy);
    save.prepare();
    processPendingChanges();
    const NSError failure = save.run();
    processPendingChanges(); // what a merge has changed
    if (failure)
        return result(false, failure, error);
    for (const QVariantList *saved : {&save.inserted(), &save.updated(), &save.deleted()}) {
        for (const QVariant &object : *saved)
            NSManagedObject::from(object)->didSave();
    }
    tell(NSManagedObjectContextDidSaveNotification, save.inserted(), save.updated(), save.deleted());
    if (!d->retainsRegisteredObjects)
        graph().releaseUnused();
    return result(true, {}, error);
}

void NSManagedObjectContext::rollback() {
    if (!d->graph)
        return;
    if (d->undoManager)
        d->undoManager->removeAllActionsWithTarget(this);
    FirstException failure;
    failure.guard([this] { d->graph->rollback(); });
    failure.guard([this] { processPendingChanges(); });
    failure.rethrow();
}

void NSManagedObjectContext::undo() {
    processPendingChanges();
    if (d->undoManager)
        d->undoManager->undo();
}

void NSManagedObjectContext::redo() {
    processPendingChanges();
    if (d->undoManager)
        d->undoManager->redo();
}

void NSManagedObjectContext::reset() {
    if (d->undoManager)
        d->undoManager->removeAllActionsWithTarget(this);
    if (d->graph)
        d->graph->reset();
}

void NSManagedObjectContext::refreshObject(NSManagedObject *object, bool mergeChanges) {
    if (object && ObjectState::of(*object).graph == d->graph.get())
        d->graph->refresh(*object, mergeChanges);
}

void NSManagedObjectContext::processPendingChanges() {
    if (!d->graph)
        return;
    GraphEvents events = d->graph->takeEvents();
    if (d->undoManager && !events.undo.empty()) {
        auto changes = std::make_shared<const GraphChanges>(std::move(events.undo));
        d->undoManager->registerUndoWithTarget(this, [this, changes] {
            d->graph->make(*changes);
            processPendingChanges();
        });
    }
    if (!events.inserted.isEmpty() || !events.updated.isEmpty() || !events.deleted.isEmpty())
        tell(NSManagedObjectContextObjectsDidChangeNotification, events.inserted, events.updated,
             events.deleted);
}

void NSManagedObjectContext::tell(const QString &name, const QVariantList &inserted,
                                  const QVariantList &updated, const QVariantList &deleted) {
    QVariantMap info;
    if (!inserted.isEmpty())
        info.insert(NSInsertedObjectsKey, inserted);
    if (!updated.isEmpty())
        info.insert(NSUpdatedObjectsKey, updated);
    if (!deleted.isEmpty())
        info.insert(NSDeletedObjectsKey, deleted);
    NSNotificationCenter::defaultCenter().postNotificationName(name, QVariant::fromValue<QObject *>(this),
                                                               info);
}

void NSManagedObjectContext::mergeChangesFromContextDidSaveNotification(const NSNotification &notification) {
    if (notification.name() != NSManagedObjectContextDidSaveNotification)
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("Only the notification of a save can be merged."));
    const QVariantMap info = notification.userInfo();
    QSet<const NSRelationshipDescription *> affected;
    const auto registeredOf = [&](const QVariant &value) {
        const NSManagedObject *other = NSManagedObject::from(value);
        for (const EntityProperty &property : ObjectState::of(*other).entityClass->properties()) {
            if (property.inverse >= 0)
                affected.insert(property.relationship->inverseRelationship());
        }
        return graph().registered(other->objectID());
    };
    for (const QString &key : {NSInsertedObjectsKey, NSUpdatedObjectsKey}) {
        for (const QVariantList objects = info.value(key).toList(); const QVariant &object : objects) {
            if (NSManagedObject *own = registeredOf(object); own && !own->isFault())
                graph().refresh(*own, true);
        }
    }
    for (const QVariantList objects = info.value(NSDeletedObjectsKey).toList();
         const QVariant &object : objects) {
        if (NSManagedObject *own = registeredOf(object))
            graph().drop(*own);
    }
    graph().forgetMembers(
        [&](const NSRelationshipDescription *relationship) { return affected.contains(relationship); });
    processPendingChanges();
}

// ---- Editors

void NSManagedObjectContext::objectDidBeginEditing(NSEditor *editor) {
    if (editor && !d->editors.contains(editor))
        d->editors.append(editor);
}

void NSManagedObjectContext::objectDidEndEditing(NSEditor *editor) {
    d->editors.removeAll(editor);
}

bool NSManagedObjectContext::commitEditing() {
    for (const auto editors = d->editors; NSEditor * editor : editors) {
        if (!d->editors.contains(editor))
            continue;
        if (!editor->commitEditing())
            return false;
        d->editors.removeAll(editor);
    }
    return true;
}

// ---- Entities

const NSEntityDescription *NSEntityDescription::entityForName(const QString &name,
                                                              const NSManagedObjectContext &context) {
    const NSManagedObjectModel::Ptr model = context.managedObjectModel();
    const NSEntityDescription *entity = model ? model->entityNamed(name) : nullptr;
    if (!entity)
        throw NSException(
            NSInvalidArgumentException,
            model ? QStringLiteral("The model has no entity \"%1\".").arg(name)
                  : QStringLiteral("The context has no model in which there could be an entity \"%1\".")
                        .arg(name));
    return entity;
}

NSManagedObject *NSEntityDescription::insertNewObjectForEntityForName(const QString &name,
                                                                      NSManagedObjectContext &context) {
    return context.insertObject(entityForName(name, context));
}

#include "moc_NSManagedObjectContext.cpp"
