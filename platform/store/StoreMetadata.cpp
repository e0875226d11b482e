// SPDX-License-Identifier: MIT
#include "platform/store/StoreMetadata.h"

#include "platform/store/StoreFailure.h"
#include "platform/text/NSJSONSerialization.h"

#include <sqlite3.h>

namespace zr {

namespace {

QVariantMap objectOf(const QByteArray &json) {
    NSError error;
    const QVariant value = NSJSONSerialization::JSONObjectWithData(json, 0, &error);
    if (error || value.typeId() != QMetaType::QVariantMap)
        throw SQLiteFailure(SQLITE_CORRUPT, QStringLiteral("The store's description of itself is damaged."));
    return value.toMap();
}

} // namespace

StoreMetadata StoreMetadata::read(SQLiteDatabase &database) {
    QMap<QString, QByteArray> entries;
    SQLiteStatement statement = database.prepared("SELECT key, value FROM metadata");
    while (statement.step())
        entries.insert(statement.value(0).string(), statement.value(1).string().toUtf8());
    if (entries.value(QStringLiteral("format")) != "1")
        throw StoreFailure(NSPersistentStoreIncompatibleVersionHashError,
                           QStringLiteral("The store has a format that this program doesn't know."));
    StoreMetadata metadata;
    metadata.uuid = QString::fromUtf8(entries.value(QStringLiteral("uuid")));
    metadata.model = entries.value(QStringLiteral("model"));
    const QVariantMap hashes = objectOf(entries.value(QStringLiteral("hashes"))),
                      numbers = objectOf(entries.value(QStringLiteral("entities")));
    for (auto at = hashes.begin(); at != hashes.end(); ++at)
        metadata.hashes.insert(at.key(), QByteArray::fromHex(at.value().toString().toLatin1()));
    for (auto at = numbers.begin(); at != numbers.end(); ++at)
        metadata.numbers.insert(at.key(), at.value().toLongLong());
    return metadata;
}

void StoreMetadata::write(SQLiteDatabase &database) const {
    QVariantMap hexadecimal, plain;
    for (auto at = hashes.begin(); at != hashes.end(); ++at)
        hexadecimal.insert(at.key(), QString::fromLatin1(at.value().toHex()));
    for (auto at = numbers.begin(); at != numbers.end(); ++at)
        plain.insert(at.key(), at.value());
    database.execute(
        "CREATE TABLE IF NOT EXISTS metadata(key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID");
    SQLiteStatement statement = database.prepared("INSERT OR REPLACE INTO metadata(key, value) VALUES(?, ?)");
    const auto put = [&](const char *key, const QByteArray &value) {
        statement.bind(1, SQLiteValue::ofText(QByteArray(key))).bind(2, SQLiteValue::ofText(value)).run();
    };
    put("format", "1");
    put("uuid", uuid.toUtf8());
    put("hashes", NSJSONSerialization::dataWithJSONObject(hexadecimal));
    put("entities", NSJSONSerialization::dataWithJSONObject(plain));
    put("model", model);
}

NSManagedObjectModel::Ptr StoreMetadata::storedModel() const {
    NSError error;
    auto stored = NSManagedObjectModel::modelWithData(model, &error);
    if (!stored)
        throw StoreFailure(NSMigrationError,
                           QStringLiteral("The model that the store was made with can't be read."), error);
    return stored;
}

} // namespace zr
