// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSManagedObjectModel.h"
#include "platform/store/SQLiteDatabase.h"

#include <QMap>
#include <QString>

namespace zr {

/// What a store file says of itself, in its table metadata(key, value).
///
/// | key      | value, a text                                                     |
/// |----------|-------------------------------------------------------------------|
/// | format   | "1"                                                               |
/// | uuid     | the store's identifier                                            |
/// | hashes   | JSON: the version hash of each entity, in hexadecimal             |
/// | entities | JSON: the number of each entity, also of those that are gone      |
/// | model    | the model that the store was made with, NSManagedObjectModel::data() |
struct StoreMetadata {
    /// SQLite's application_id of a store: "ZRKS".
    static constexpr qint64 ApplicationID = 0x5a524b53;

    QString uuid;
    QMap<QString, QByteArray> hashes;
    QMap<QString, qint64> numbers;
    QByteArray model;

    /// Raises StoreFailure for a format that isn't known, SQLiteFailure for a damaged file.
    static StoreMetadata read(SQLiteDatabase &database);
    /// Makes the table if there is none.
    void write(SQLiteDatabase &database) const;
    /// The model that the store was made with; raises StoreFailure if it can't be read.
    NSManagedObjectModel::Ptr storedModel() const;
};

} // namespace zr
