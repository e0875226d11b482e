// SPDX-License-Identifier: MIT
#include "platform/store/StoreSave.h"

#include "platform/store/StoreFailure.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"

#include <QSet>
#include <algorithm>
#include <limits>
#include <sqlite3.h>

namespace zr {

void StoreSave::write(const std::vector<ObjectChange> &changes) {
    numberInserted(changes);
    m_versions.reserve(changes.size());
    auto next = m_inserted.cbegin();
    for (const ObjectChange &change : changes) {
        switch (change.kind) {
        case ObjectChange::Insert:
            insert(change, (next++)->second);
            break;
        case ObjectChange::Update:
            update(change);
            break;
        case ObjectChange::Delete:
            remove(change);
            break;
        }
    }
    // Pairs name rows on both sides, which are all there now.
    if (m_conflicts.empty()) {
        for (const ObjectChange &change : changes)
            writePairs(change);
    }
}

/// New objects may point at one another, so their numbers are needed before the first is written.
void StoreSave::numberInserted(const std::vector<ObjectChange> &changes) {
    QHash<const StoredTable *, qint64> last;
    for (const ObjectChange &change : changes) {
        if (change.kind != ObjectChange::Insert)
            continue;
        const StoredTable *table = m_schema.stored(change.id.entity()).table;
        if (!last.contains(table)) {
            SQLiteStatement statement = m_database.prepared("SELECT seq FROM sqlite_sequence WHERE name = ?");
            const QByteArray name = table->name.mid(1, table->name.size() - 2);
            last[table] = statement.bind(1, SQLiteValue::ofText(name)).step() ? statement.integer(0) : 0;
        }
        qint64 &key = last[table];
        if (key < 0 || key == std::numeric_limits<qint64>::max())
            throw SQLiteFailure(SQLITE_FULL, QStringLiteral("The store has no more numbers for objects."));
        m_newKeys.insert(ObjectIdentity::of(change.id).get(), ++key);
        m_inserted.emplace_back(change.id, key);
    }
}

SQLiteStatement StoreSave::insertStatement(const StoredEntity &entity) {
    QByteArray names, marks;
    for (const int column : entity.columns) {
        if (column < 0)
            continue;
        names += ", " + entity.table->columns[size_t(column)].name;
        marks += ", ?";
    }
    return m_database.prepared("INSERT INTO " + entity.table->name + "(_pk, _entity, _version" + names +
                               ") VALUES(?, ?, 1" + marks + ')');
}

void StoreSave::insert(const ObjectChange &change, qint64 key) {
    const StoredEntity &entity = m_schema.stored(change.id.entity());
    auto found = m_inserts.find(&entity);
    if (found == m_inserts.end())
        found = m_inserts.emplace(&entity, insertStatement(entity)).first;
    SQLiteStatement &statement = found->second;
    statement.bind(1, key).bind(2, entity.number);
    int parameter = 2;
    for (size_t i = 0; i < entity.columns.size(); ++i) {
        if (entity.columns[i] >= 0)
            statement.bind(++parameter, storedValue(entity.table->columns[size_t(entity.columns[i])],
                                                    change.row.values.at(i)));
    }
    statement.run();
    m_versions.push_back(1);
}

void StoreSave::update(const ObjectChange &change) {
    const StoredEntity &entity = m_schema.stored(change.id.entity());
    QByteArray sets;
    std::vector<SQLiteValue> values;
    for (const int index : change.changed) {
        const int column = entity.columns.at(size_t(index));
        if (column < 0)
            continue;
        sets += ", " + entity.table->columns[size_t(column)].name + " = ?";
        values.push_back(
            storedValue(entity.table->columns[size_t(column)], change.row.values.at(size_t(index))));
    }
    const bool hasPairs =
        std::any_of(change.toMany.begin(), change.toMany.end(), [&](const ObjectChange::ToMany &toMany) {
            const auto *property = entity.entity->properties().at(size_t(toMany.property));
            return storageOf(dynamic_cast<const NSRelationshipDescription *>(property)) == Storage::Join;
        });
    m_versions.push_back(change.row.version);
    // What its objects' own rows say of a relationship needs no change of this one.
    if (values.empty() && !hasPairs)
        return;
    values.push_back(SQLiteValue::ofInteger(keyOf(change.id)));
    values.push_back(SQLiteValue::ofInteger(change.row.version));
    m_database
        .prepared("UPDATE " + entity.table->name + " SET _version = _version + 1" + sets +
                  " WHERE _pk = ? AND _version = ?")
        .bindAll(values)
        .run();
    if (m_database.changes() == 0)
        m_conflicts.push_back(&change);
    ++m_versions.back();
}

void StoreSave::remove(const ObjectChange &change) {
    const StoredEntity &entity = m_schema.stored(change.id.entity());
    const qint64 key = keyOf(change.id);
    m_versions.push_back(0);
    m_database.prepared("DELETE FROM " + entity.table->name + " WHERE _pk = ? AND _version = ?")
        .bind(1, key)
        .bind(2, change.row.version)
        .run();
    if (m_database.changes() == 0) {
        m_conflicts.push_back(&change);
        return;
    }
    for (const auto &[table, column] : entity.joins)
        m_database.prepared("DELETE FROM " + table->name + " WHERE " + column + " = ?").bind(1, key).run();
}

void StoreSave::writePairs(const ObjectChange &change) {
    if (change.kind == ObjectChange::Delete)
        return;
    for (const ObjectChange::ToMany &toMany : change.toMany) {
        const auto *property = change.id.entity()->properties().at(size_t(toMany.property));
        const auto *relationship = dynamic_cast<const NSRelationshipDescription *>(property);
        if (relationship && storageOf(relationship) == Storage::Join)
            writePairs(m_schema.side(relationship), keyOf(change.id), toMany);
    }
}

void StoreSave::writePairs(const JoinSide &side, qint64 owner, const ObjectChange::ToMany &change) {
    const QSet<NSManagedObjectID> after(change.after.begin(), change.after.end());
    SQLiteStatement drop = m_database.prepared("DELETE FROM " + side.table->name + " WHERE " + side.owner +
                                               " = ? AND " + side.other + " = ?");
    for (const NSManagedObjectID &id : change.before) {
        if (!after.contains(id) && !id.isTemporaryID())
            drop.bind(1, owner).bind(2, keyOf(id)).run();
    }
    const QSet<NSManagedObjectID> before(change.before.begin(), change.before.end());
    const bool isOrdered = !side.position.isEmpty();
    SQLiteStatement put = m_database.prepared(
        isOrdered ? "INSERT INTO " + side.table->name + '(' + side.owner + ", " + side.other + ", " +
                        side.position + ") VALUES(?, ?, ?) ON CONFLICT(source, target) DO UPDATE SET " +
                        side.position + " = excluded." + side.position
                  : "INSERT OR IGNORE INTO " + side.table->name + '(' + side.owner + ", " + side.other +
                        ") VALUES(?, ?)");
    for (qsizetype i = 0; i < change.after.size(); ++i) {
        const NSManagedObjectID &id = change.after.at(i);
        if (isOrdered ? i < change.before.size() && change.before.at(i) == id : before.contains(id))
            continue;
        put.bind(1, owner).bind(2, keyOf(id));
        if (isOrdered)
            put.bind(3, qint64(i));
        put.run();
    }
}

SQLiteValue StoreSave::storedValue(const StoredColumn &column, const QVariant &value) const {
    const NSPropertyDescription *property = column.property;
    if (column.attribute) {
        if (auto stored = zr::storedValue(column.attribute->attributeType(), value))
            return *stored;
        throw StoreFailure(
            NSPersistentStoreSaveError,
            QStringLiteral("\"%1\" can't be the value of \"%2\" of the entity \"%3\".")
                .arg(NSObjectRuntime::description(value), property->name(), property->entity()->name()));
    }
    if (NSIsNil(value))
        return {};
    if (value.metaType() != QMetaType::fromType<NSManagedObjectID>())
        throw StoreFailure(
            NSPersistentStoreSaveError,
            QStringLiteral("\"%1\" of the entity \"%2\" points at something that is no object.")
                .arg(property->name(), property->entity()->name()));
    return value.value<NSManagedObjectID>().isNil()
               ? SQLiteValue()
               : SQLiteValue::ofInteger(keyOf(value.value<NSManagedObjectID>()));
}

qint64 StoreSave::keyOf(const NSManagedObjectID &id) const {
    const qint64 key =
        id.isTemporaryID() ? m_newKeys.value(ObjectIdentity::of(id).get()) : m_identities.keyOf(id);
    if (key == 0)
        throw StoreFailure(
            NSPersistentStoreSaveError,
            QStringLiteral("A changed object is in another store, or points at one that is in none: %1.")
                .arg(id.URIRepresentation().toString()));
    return key;
}

} // namespace zr
