// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSManagedObjectModel.h"
#include "platform/store/SQLiteDatabase.h"
#include "platform/store/StoreMetadata.h"

namespace zr {

/// Changes a store to another model, as docs/model-format.md says, in one transaction, and gives what the file then says of
/// itself. Raises StoreFailure (NSInferredMappingModelError, NSMigrationError); the store is then what it was.
StoreMetadata migrateStore(SQLiteDatabase &database, const NSManagedObjectModel::Ptr &model);

} // namespace zr
