// SPDX-License-Identifier: MIT
#include "platform/store/SQLiteStore.h"

#include "platform/base/NSException.h"
#include "platform/store/StoreFailure.h"
#include "platform/store/StoreQuery.h"
#include "platform/store/StoreSave.h"

#include <sqlite3.h>

namespace zr {

namespace {

const QString ReadMessage = QStringLiteral("The store can't be read");

QByteArray jsonList(const QByteArrayList &numbers) {
    return '[' + numbers.join(',') + ']';
}

} // namespace

/// Reads objects from the rows of a table, which have the alias t0.
class SQLiteStore::RowReader {
public:
    RowReader(SQLiteStore &store, const NSEntityDescription *entity);

    /// What to select.
    QByteArray columns() const { return m_columns; }
    FetchedObject read(const SQLiteStatement &row) const;

private:
    struct Place {
        int column = -1; ///< in the statement
        int entity = -1; ///< where the statement tells the entity of what a relationship points at
        const StoredEntity *destination = nullptr;
    };
    QVariant value(const SQLiteStatement &row, const StoredColumn &column, const Place &place) const;

    SQLiteStore &m_store;
    const StoredTable *m_table;
    QByteArray m_columns = "t0._pk, t0._entity, t0._version";
    /// By the columns' places in the table.
    std::vector<Place> m_places;
};

SQLiteStore::RowReader::RowReader(SQLiteStore &store, const NSEntityDescription *entity)
    : m_store(store), m_table(store.m_schema->stored(entity).table), m_places(m_table->columns.size()) {
    int next = 3;
    for (const StoredEntity *member : store.m_schema->family(entity)) {
        for (const int index : member->columns) {
            if (index < 0 || m_places[size_t(index)].column >= 0)
                continue;
            const StoredColumn &column = m_table->columns[size_t(index)];
            Place &place = m_places[size_t(index)];
            place.column = next++;
            m_columns += ", t0." + column.name;
            if (!column.relationship)
                continue;
            const NSEntityDescription *destination = column.relationship->destinationEntity();
            const auto family = store.m_schema->family(destination);
            place.destination = family.size() == 1 ? family.front() : &store.m_schema->stored(destination);
            if (family.size() > 1) {
                place.entity = next++;
                m_columns += ", (SELECT _entity FROM " + place.destination->table->name + " WHERE _pk = t0." +
                             column.name + ')';
            }
        }
    }
}

FetchedObject SQLiteStore::RowReader::read(const SQLiteStatement &row) const {
    const StoredEntity *entity = &m_store.entityNumbered(m_table, row.integer(1));
    FetchedObject object{m_store.identifier(*entity, row.integer(0)), Row()};
    object.row->version = row.integer(2);
    object.row->values.resize(entity->columns.size());
    for (size_t i = 0; i < entity->columns.size(); ++i) {
        if (entity->columns[i] < 0)
            continue;
        const auto index = size_t(entity->columns[i]);
        object.row->values[i] = value(row, m_table->columns[index], m_places[index]);
    }
    return object;
}

QVariant SQLiteStore::RowReader::value(const SQLiteStatement &row, const StoredColumn &column,
                                       const Place &place) const {
    if (column.attribute)
        return attributeValue(column.attribute->attributeType(), row.value(place.column));
    if (row.isNull(place.column))
        return {};
    const bool isKnown = place.entity < 0 || row.isNull(place.entity);
    const StoredEntity &entity =
        isKnown ? *place.destination
                : m_store.entityNumbered(place.destination->table, row.integer(place.entity));
    return QVariant::fromValue(m_store.identifier(entity, row.integer(place.column)));
}

SQLiteStore::SQLiteStore(OpenedStore opened)
    : m_database(std::move(opened.database)), m_schema(std::move(opened.schema)), m_uuid(opened.uuid),
      m_identities(*m_schema, m_uuid) {
}

SQLiteStore::~SQLiteStore() = default;

NSManagedObjectID SQLiteStore::identifier(const StoredEntity &entity, qint64 key) {
    if (key <= 0)
        throw SQLiteFailure(SQLITE_CORRUPT, QStringLiteral("An object in the store has no valid number."));
    return m_identities.identifier(entity, key);
}

const StoredEntity &SQLiteStore::entityNumbered(const StoredTable *table, qint64 number) const {
    const StoredEntity *entity = m_schema->entityNumbered(table, number);
    if (!entity)
        throw SQLiteFailure(SQLITE_CORRUPT, QStringLiteral("An object in the store is of no known entity."));
    return *entity;
}

NSError SQLiteStore::fetch(const NSFetchRequest &request, const NSEntityDescription *entity, bool wantsRows,
                           const std::function<void(const FetchRemainder &)> &begin,
                           const std::function<void(FetchedObject &&)> &found) {
    return storeErrorOf(NSSQLiteError, ReadMessage, [&] {
        const StoreQuery query =
            queryFor(request, entity, *m_schema, m_identities, m_database->parameterLimit());
        if (query.predicates.empty()) {
            begin(query.remainder);
            run(query, entity, wantsRows, found);
            return;
        }
        std::vector<FetchedObject> objects;
        try {
            run(query, entity, wantsRows,
                [&](FetchedObject &&object) { objects.push_back(std::move(object)); });
        } catch (const NSException &) {
            // SQLite evaluates conditions in an order of its own. Whether one of them really raises only memory can tell.
            const StoreQuery all =
                queryFor(request, entity, *m_schema, m_identities, m_database->parameterLimit(), true);
            begin(all.remainder);
            run(all, entity, wantsRows, found);
            return;
        }
        begin(query.remainder);
        for (FetchedObject &object : objects)
            found(std::move(object));
    });
}

void SQLiteStore::run(const StoreQuery &query, const NSEntityDescription *entity, bool wantsRows,
                      const std::function<void(FetchedObject &&)> &found) {
    const StoredTable *table = m_schema->stored(entity).table;
    const RowReader reader(*this, entity);
    SQLiteStatement statement = m_database->prepared(
        "SELECT " + (wantsRows ? reader.columns() : QByteArray("t0._pk, t0._entity")) + query.text.text);
    statement.bindAll(query.text.parameters);
    while (statement.step())
        found(wantsRows
                  ? reader.read(statement)
                  : FetchedObject{
                        identifier(entityNumbered(table, statement.integer(1)), statement.integer(0)), {}});
}

std::optional<quint64> SQLiteStore::count(const NSFetchRequest &request, const NSEntityDescription *entity,
                                          NSError &error) {
    std::optional<quint64> count;
    error = storeErrorOf(NSSQLiteError, ReadMessage, [&] {
        NSFetchRequest unsorted = request;
        unsorted.setSortDescriptors({});
        const StoreQuery query =
            queryFor(unsorted, entity, *m_schema, m_identities, m_database->parameterLimit());
        if (!query.remainder.predicate.isNil())
            return;
        SQLiteStatement statement =
            m_database->prepared("SELECT count(*) FROM (SELECT 1" + query.text.text + ')');
        try {
            statement.bindAll(query.text.parameters).step();
        } catch (const NSException &) {
            return;
        }
        count = quint64(statement.integer(0));
    });
    return count;
}

NSError SQLiteStore::rows(const QList<NSManagedObjectID> &ids,
                          const std::function<void(FetchedObject &&)> &found) {
    return storeErrorOf(NSSQLiteError, ReadMessage, [&] { readRows(ids, found); });
}

void SQLiteStore::readRows(const QList<NSManagedObjectID> &ids,
                           const std::function<void(FetchedObject &&)> &found) {
    QByteArrayList keys;
    for (const NSManagedObjectID &id : ids) {
        if (const qint64 key = m_identities.keyOf(id))
            keys << QByteArray::number(key);
    }
    if (keys.isEmpty())
        return;
    const NSEntityDescription *entity = ids.constFirst().entity();
    const RowReader reader(*this, entity);
    SQLiteStatement statement = m_database->prepared(
        "SELECT " + reader.columns() + " FROM json_each(?) k JOIN " + m_schema->stored(entity).table->name +
        " t0 ON t0._pk = k.value AND t0._entity = ?");
    statement.bind(1, SQLiteValue::ofText(jsonList(keys))).bind(2, m_schema->stored(entity).number);
    while (statement.step())
        found(reader.read(statement));
}

NSError SQLiteStore::related(const NSManagedObjectID &id, const NSRelationshipDescription *relationship,
                             QList<NSManagedObjectID> &objects) {
    return storeErrorOf(NSSQLiteError, ReadMessage, [&] {
        const StoredTable *table = m_schema->stored(relationship->destinationEntity()).table;
        QByteArray sql = "SELECT t0._pk, t0._entity FROM ";
        if (storageOf(relationship) == Storage::ByInverse) {
            const StoredColumn *inverse = m_schema->column(relationship->inverseRelationship());
            sql += table->name + " t0 WHERE t0." + inverse->name + " = ? ORDER BY t0._pk";
        } else {
            const JoinSide &side = m_schema->side(relationship);
            sql += side.table->name + " j JOIN " + table->name + " t0 ON t0._pk = j." + side.other +
                   " WHERE j." + side.owner + " = ? ORDER BY " +
                   (side.position.isEmpty() ? QByteArray() : "j." + side.position + ", ") + "t0._pk";
        }
        SQLiteStatement statement = m_database->prepared(sql);
        statement.bind(1, m_identities.keyOf(id));
        objects.clear();
        while (statement.step())
            objects.append(identifier(entityNumbered(table, statement.integer(1)), statement.integer(0)));
    });
}

SaveOutcome SQLiteStore::save(const std::vector<ObjectChange> &changes) {
    SaveOutcome outcome;
    outcome.error =
        storeErrorOf(NSPersistentStoreSaveError, QStringLiteral("The changes can't be saved"), [&] {
            SQLiteTransaction transaction(*m_database);
            StoreSave save(*m_database, *m_schema, m_identities);
            save.write(changes);
            for (const ObjectChange *change : save.conflicts())
                resolve(*change, outcome);
            if (!outcome.conflicts.empty())
                throw StoreFailure(
                    NSManagedObjectMergeError,
                    QStringLiteral("Objects have been changed in the store since they were read."));
            transaction.commit();
            for (const auto &[id, key] : save.inserted())
                m_identities.makePermanent(id, key);
            outcome.versions = save.versions();
        });
    return outcome;
}

/// Tells what the store has of an object whose change is in conflict.
void SQLiteStore::resolve(const ObjectChange &change, SaveOutcome &outcome) {
    SaveConflict conflict{change.id, {}};
    readRows({change.id}, [&](FetchedObject &&object) { conflict.stored = std::move(object.row); });
    outcome.conflicts.push_back(std::move(conflict));
}

NSManagedObjectID SQLiteStore::identifierForURI(const QUrl &uri) {
    const QStringList parts = uri.path().split(u'/');
    if (uri.scheme() != QStringLiteral("x-zrstore") || uri.host() != m_uuid || parts.size() != 3 ||
        !parts.at(2).startsWith(u'p'))
        return {};
    const NSEntityDescription *entity = m_schema->model()->entityNamed(parts.at(1));
    const qint64 key = parts.at(2).mid(1).toLongLong();
    if (!entity || entity->isAbstract() || key <= 0 || parts.at(2) != u'p' + QString::number(key))
        return {};
    // A row is known by the name of its own entity only.
    const StoredEntity &stored = m_schema->stored(entity);
    bool isOther = false;
    const NSError error = storeErrorOf(NSSQLiteError, ReadMessage, [&] {
        SQLiteStatement statement =
            m_database->prepared("SELECT _entity FROM " + stored.table->name + " WHERE _pk = ?");
        isOther = statement.bind(1, key).step() && statement.integer(0) != stored.number;
    });
    return isOther || error ? NSManagedObjectID() : m_identities.identifier(stored, key);
}

} // namespace zr
