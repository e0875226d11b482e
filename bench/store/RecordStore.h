// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSPersistentStoreCoordinator.h"

#include <QString>
#include <memory>

/// The same records in a store.
namespace RecordStore {

/// The model, of the entity "Record" with the attributes title, rank (indexed), price, added and done.
NSManagedObjectModel::Ptr model();
/// A coordinator with the store at a path, which is made if need be. Ends the program if anything goes wrong.
std::shared_ptr<NSPersistentStoreCoordinator> open(const QString &path);
/// Adds SQLitePeer::record(0) and so on, past the contexts, in several saves.
void fill(NSPersistentStoreCoordinator &coordinator, int count);

} // namespace RecordStore
