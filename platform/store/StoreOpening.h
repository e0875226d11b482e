// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/SQLiteDatabase.h"
#include "platform/store/StoreSchema.h"

#include <QString>
#include <memory>

namespace zr {

struct StoreOptions {
    bool isReadOnly = false;
    /// Whether a file of another model may be changed to the present one.
    bool migrates = false;
};

/// A store file that is ready to be used.
struct OpenedStore {
    std::unique_ptr<SQLiteDatabase> database;
    std::unique_ptr<StoreSchema> schema;
    /// The store's identifier.
    QString uuid;
};

/// Opens a store file, or makes a new one if there is no file or an empty one. Raises StoreFailure and SQLiteFailure. The
/// time that it takes doesn't depend on the number of objects, unless the store is migrated.
OpenedStore openStore(const NSManagedObjectModel::Ptr &model, const QString &path,
                      const StoreOptions &options);

} // namespace zr
