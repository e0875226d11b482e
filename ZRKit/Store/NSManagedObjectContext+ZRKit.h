// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/AnyObject.h"
#include "platform/store/NSManagedObjectContext.h"

#include <QString>
#include <QVariantList>
#include <functional>
#include <memory>
#include <optional>

/// Fetching, counting, making, deleting and saving in one line each.
///
/// What fails is shown to the user, once, and gives an empty result. Each is used where the context is. Exceptions are those of
/// NSManagedObjectContext: an unknown entity name raises NSInvalidArgumentException.
namespace ZRKit {

/// Shows the error to the user (NSPresentError()); of several errors in one, only the whole. Nothing for nil.
void zr_handleError(const NSManagedObjectContext &context, const NSError &error);

/// The objects that a request finds; the block, which is required, is called once with the request and may change it. None on
/// an error.
std::optional<QVariantList> fetch(NSManagedObjectContext &context, const QString &entityName,
                                  const std::function<void(NSFetchRequest &)> &setupBlock);
/// The objects for which the predicate holds, all for nil; none on an error.
std::optional<QVariantList> fetch(NSManagedObjectContext &context, const QString &entityName,
                                  const NSPredicate &predicate);
std::optional<QVariantList> fetchAll(NSManagedObjectContext &context, const QString &entityName);
/// How many these are; 0 on an error.
quint64 count(NSManagedObjectContext &context, const QString &entityName, const NSPredicate &predicate);

/// Saves if there are changes; false if that fails.
bool zr_save(NSManagedObjectContext &context);
/// Saves a child context, and then its parent, where that runs its blocks: the call doesn't wait for it. The parent is saved
/// even if the child can't be. Exceptions of the child's save are dropped.
void saveAll(NSManagedObjectContext &context);

/// The object with the identifier that objectIDString() gave; nullptr for the null marker, for a text that is no
/// identifier of this store, and for an object that is gone. Nothing is shown.
NSManagedObject *objectForID(NSManagedObjectContext &context, const AnyObject &objectID);
/// The objects of an array or set of identifiers, in its order, without those that aren't found.
QVariantList objectsForIDs(NSManagedObjectContext &context, const QVariant &objectIDs);

const NSEntityDescription *entity(const NSManagedObjectContext &context, const QString &name);
/// A new object of the entity.
NSManagedObject *object(NSManagedObjectContext &context, const QString &entityName);
/// Deletes the objects of an array or set, in its order. Other values, and elements that are no objects, raise
/// NSInvalidArgumentException.
void deleteObjects(NSManagedObjectContext &context, const QVariant &objects);
/// Deletes all objects of the entity. Nothing is saved.
void deleteAll(NSManagedObjectContext &context, const QString &entityName);

/// A new child with a private queue, without an undo manager and with the receiver's associated values.
std::shared_ptr<NSManagedObjectContext> submoc(NSManagedObjectContext &context);

} // namespace ZRKit
