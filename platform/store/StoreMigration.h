// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSManagedObjectModel.h"
#include "platform/store/SQLiteDatabase.h"

namespace zr {

/// Changes a store to another model, as docs/model-format.md says, in one transaction. Raises StoreFailure
/// (NSInferredMappingModelError, NSMigrationError) and SQLiteFailure; the store is then what it was.
void migrateStore(SQLiteDatabase &database, const NSManagedObjectModel::Ptr &model);

} // namespace zr
