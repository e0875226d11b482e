// SPDX-License-Identifier: MIT
#include "ZRKit/Store/NSManagedObjectContext+ZRKit.h"

#include "ZRKit/Values/NSObject+ZRKit.h"
#include "platform/base/NSException.h"
#include "platform/operations/NSErrorPresenter.h"
#include "platform/store/NSPersistentStoreCoordinator.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

using namespace zr;

namespace ZRKit {

namespace {

std::optional<QVariantList> execute(NSManagedObjectContext &context, const NSFetchRequest &request) {
    NSError error;
    auto found = context.executeFetchRequest(request, &error);
    if (!error)
        return found;
    zr_handleError(context, error);
    return std::nullopt;
}

QVariantList elements(const QVariant &collection) {
    const ValueKind kind = kindOf(collection);
    if (kind != ValueKind::Nil && kind != ValueKind::Array && kind != ValueKind::Set)
        NSObjectRuntime::raiseUnrecognized(collection,
                                           NSSelector("countByEnumeratingWithState:objects:count:"));
    return arrayOf(collection);
}

} // namespace

void zr_handleError(const NSManagedObjectContext &, const NSError &error) {
    NSPresentError(error);
}

std::optional<QVariantList> fetch(NSManagedObjectContext &context, const QString &entityName,
                                  const std::function<void(NSFetchRequest &)> &setupBlock) {
    NSFetchRequest request(entityName);
    setupBlock(request);
    return execute(context, request);
}

std::optional<QVariantList> fetch(NSManagedObjectContext &context, const QString &entityName,
                                  const NSPredicate &predicate) {
    NSFetchRequest request(entityName);
    request.setPredicate(predicate);
    return execute(context, request);
}

std::optional<QVariantList> fetchAll(NSManagedObjectContext &context, const QString &entityName) {
    return fetch(context, entityName, NSPredicate());
}

quint64 count(NSManagedObjectContext &context, const QString &entityName, const NSPredicate &predicate) {
    NSFetchRequest request(entityName);
    request.setPredicate(predicate);
    NSError error;
    const auto number = context.countForFetchRequest(request, &error);
    zr_handleError(context, error);
    return error ? 0 : number.value_or(0);
}

bool zr_save(NSManagedObjectContext &context) {
    if (!context.hasChanges())
        return true;
    NSError error;
    if (context.save(&error))
        return true;
    zr_handleError(context, error);
    return false;
}

void saveAll(NSManagedObjectContext &context) {
    NSError error;
    try {
        context.save(&error);
    } catch (...) {
        error = NSError(); // dropped, deliberately
    }
    zr_handleError(context, error);
    const auto parent = context.parentContext();
    if (!parent)
        return;
    parent->performBlock([child = context.shared_from_this(), parent] {
        NSError failure;
        parent->save(&failure);
        zr_handleError(*child, failure);
    });
}

NSManagedObject *objectForID(NSManagedObjectContext &context, const AnyObject &objectID) {
    const auto coordinator = context.persistentStoreCoordinator();
    if (NSIsNull(objectID.value()) || !coordinator)
        return nullptr;
    const QUrl uri = QUrl(toString(objectID.value()), QUrl::StrictMode);
    const NSManagedObjectID id = coordinator->managedObjectIDForURIRepresentation(uri);
    return id.isNil() ? nullptr : context.existingObjectWithID(id);
}

QVariantList objectsForIDs(NSManagedObjectContext &context, const QVariant &objectIDs) {
    QVariantList objects;
    for (const auto ids = elements(objectIDs); const QVariant &each : ids) {
        if (NSManagedObject *found = objectForID(context, each))
            objects << QVariant::fromValue<QObject *>(found);
    }
    return objects;
}

const NSEntityDescription *entity(const NSManagedObjectContext &context, const QString &name) {
    return NSEntityDescription::entityForName(name, context);
}

NSManagedObject *object(NSManagedObjectContext &context, const QString &entityName) {
    return NSEntityDescription::insertNewObjectForEntityForName(entityName, context);
}

void deleteObjects(NSManagedObjectContext &context, const QVariant &objects) {
    for (const auto all = elements(objects); const QVariant &each : all) {
        NSManagedObject *object = NSManagedObject::from(each);
        if (!object)
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("%1 is no managed object.").arg(NSDescription(each)));
        context.deleteObject(object);
    }
}

void deleteAll(NSManagedObjectContext &context, const QString &entityName) {
    deleteObjects(context, fetchAll(context, entityName).value_or(QVariantList()));
}

std::shared_ptr<NSManagedObjectContext> submoc(NSManagedObjectContext &context) {
    auto child = std::make_shared<NSManagedObjectContext>(NSPrivateQueueConcurrencyType);
    child->setParentContext(context.shared_from_this());
    child->setUndoManager(nullptr);
    const QVariant values = associatedValues(&context);
    if (!NSIsNil(values))
        setAssociatedValues(child.get(), values);
    return child;
}

} // namespace ZRKit
