// SPDX-License-Identifier: MIT
#include "platform/store/StoreOpening.h"

#include "platform/files/NSPathUtilities.h"
#include "platform/store/StoreFailure.h"
#include "platform/store/StoreMetadata.h"
#include "platform/store/StoreMigration.h"

#include <QElapsedTimer>
#include <QThread>
#include <QUuid>
#include <sqlite3.h>
#include <unistd.h>

namespace zr {

namespace {

bool isEmpty(SQLiteDatabase &database) {
    return database.value("SELECT count(*) FROM sqlite_schema").integer == 0 &&
           database.value("PRAGMA application_id").integer == 0;
}

/// A file that may not be written, in a folder that may not be either: SQLite can't make the files there by which the
/// processes that use a store know of one another. Without a log of changes the file alone is the store.
std::unique_ptr<SQLiteDatabase> immutable(const QByteArray &path) {
    if (::access((path + "-wal").constData(), F_OK) == 0)
        return nullptr;
    return std::make_unique<SQLiteDatabase>("file:" + path.toPercentEncoding("/") + "?immutable=1",
                                            SQLiteDatabase::Access::Immutable);
}

std::unique_ptr<SQLiteDatabase> openForReading(const QByteArray &path) {
    auto database = std::make_unique<SQLiteDatabase>(path, SQLiteDatabase::Access::ReadOnly);
    try {
        database->value("SELECT count(*) FROM sqlite_schema");
    } catch (const SQLiteFailure &failure) {
        const bool isFolderToBlame =
            failure.primaryCode() == SQLITE_READONLY || failure.primaryCode() == SQLITE_CANTOPEN;
        auto alone = isFolderToBlame ? immutable(path) : nullptr;
        if (!alone)
            throw;
        return alone;
    }
    return database;
}

/// Changes go to a log first, and are on the disk when they are said to be.
void setUpLog(SQLiteDatabase &database) {
    constexpr qint64 Patience = 5000;
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        // While another process opens the file too, SQLite gives up at once instead of waiting.
        try {
            if (database.value("PRAGMA journal_mode=WAL").bytes == "wal")
                break;
            throw StoreFailure(
                NSPersistentStoreOpenError,
                QStringLiteral("The file system can't hold a store: it has no shared memory."));
        } catch (const SQLiteFailure &failure) {
            if (failure.primaryCode() != SQLITE_BUSY || timer.elapsed() > Patience)
                throw;
            QThread::msleep(5);
        }
    }
    database.execute("PRAGMA synchronous=FULL");
}

void create(SQLiteDatabase &database, const NSManagedObjectModel::Ptr &model) {
    SQLiteTransaction transaction(database);
    // Another process may have been faster.
    if (!isEmpty(database))
        return;
    const StoreSchema schema(model, {});
    for (const auto &table : schema.tables())
        database.execute(StoreSchema::definition(*table, table->name));
    for (const auto &table : schema.joinTables())
        database.execute(StoreSchema::definition(*table, table->name));
    for (const auto indices = schema.indices(); const QByteArray &index : indices)
        database.execute(index);
    StoreMetadata metadata;
    metadata.uuid = QUuid::createUuid().toString(QUuid::WithoutBraces);
    metadata.hashes = model->entityVersionHashesByName();
    metadata.numbers = schema.numbers();
    metadata.model = model->data();
    metadata.write(database);
    database.execute("PRAGMA application_id=" + QByteArray::number(StoreMetadata::ApplicationID));
    transaction.commit();
}

bool isNewer(const NSManagedObjectModel &stored, const NSManagedObjectModel &present) {
    const QMap<QString, qint64> versions = present.versions(), storedVersions = stored.versions();
    for (auto at = storedVersions.begin(); at != storedVersions.end(); ++at) {
        if (at.value() > versions.value(at.key(), at.value()))
            return true;
    }
    return false;
}

/// Migrates the store if it was made with another model.
StoreMetadata matched(SQLiteDatabase &database, const NSManagedObjectModel::Ptr &model,
                      const StoreOptions &options) {
    StoreMetadata metadata = StoreMetadata::read(database);
    if (metadata.hashes == model->entityVersionHashesByName())
        return metadata;
    const auto stored = metadata.storedModel();
    if (isNewer(*stored, *model))
        throw StoreFailure(NSPersistentStoreIncompatibleVersionHashError,
                           QStringLiteral("The store was made by a newer version of the program."));
    if (!options.migrates || options.isReadOnly)
        throw StoreFailure(NSPersistentStoreIncompatibleVersionHashError,
                           QStringLiteral("The store was made with another model."));
    return migrateStore(database, model);
}

} // namespace

OpenedStore openStore(const NSManagedObjectModel::Ptr &model, const QString &path,
                      const StoreOptions &options) {
    const QByteArray bytes = NSFileSystemRepresentation(path);
    // Other names have a meaning of their own in SQLite, which also takes a folder's name for that of a file.
    const QByteArray name = bytes.mid(bytes.lastIndexOf('/') + 1);
    if (!bytes.startsWith('/') || name.isEmpty() || name == "." || name == "..")
        throw StoreFailure(NSPersistentStoreOpenError,
                           QStringLiteral("A store is a file with an absolute path."));
    auto database = options.isReadOnly
                        ? openForReading(bytes)
                        : std::make_unique<SQLiteDatabase>(bytes, SQLiteDatabase::Access::ReadWrite);
    if (!options.isReadOnly && database->isReadOnly())
        throw StoreFailure(NSPersistentStoreOpenError, QStringLiteral("The file may not be written."));
    const bool isNew = isEmpty(*database);
    if (isNew && options.isReadOnly)
        throw StoreFailure(NSPersistentStoreOpenError, QStringLiteral("The file holds no store."));
    if (!isNew && database->value("PRAGMA application_id").integer != StoreMetadata::ApplicationID)
        throw StoreFailure(NSPersistentStoreTypeMismatchError,
                           QStringLiteral("The file is a database of another program."));
    if (!options.isReadOnly) {
        setUpLog(*database);
        if (isNew)
            create(*database, model);
    }
    const StoreMetadata metadata = matched(*database, model, options);
    auto schema = std::make_unique<StoreSchema>(model, metadata.numbers);
    return {std::move(database), std::move(schema), metadata.uuid};
}

} // namespace zr
