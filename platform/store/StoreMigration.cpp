// SPDX-License-Identifier: MIT
#include "platform/store/StoreMigration.h"

#include "platform/store/ModelMapping.h"
#include "platform/store/StoreFailure.h"

#include <limits>
#include <set>
#include <sqlite3.h>

namespace zr {

namespace {

/// Brings a file's tables from one schema to another, inside a transaction.
class Migration {
public:
    Migration(SQLiteDatabase &database, const StoreSchema &from, const StoreSchema &to)
        : m_database(database), m_from(from), m_to(to), m_mapping(from, to) {}

    void run() {
        // New tables are made beside the old ones, for a name may pass from one to another.
        for (const auto &table : m_to.tables()) {
            if (!isKept(*table))
                makeTable(*table);
        }
        for (const auto &table : m_to.joinTables())
            makeTable(*table);
        dropTables();
        for (const auto &[temporary, name] : m_made)
            m_database.execute("ALTER TABLE " + temporary + " RENAME TO " + name);
        for (const auto &[table, last] : m_lastKeys)
            setLastKey(table, last);
        forgetLostRows();
        remakeIndices();
    }

private:
    const StoredTable *formerTable(const StoredTable &table) const {
        const NSEntityDescription *root = m_mapping.originOfRoot(table.root);
        return root ? m_from.stored(root).table : nullptr;
    }

    /// Whether a table is, row by row, what it was.
    bool isKept(const StoredTable &table) {
        const StoredTable *former = formerTable(table);
        if (!former || former->name != table.name || m_mapping.losesRows(former->root) ||
            StoreSchema::definition(*former, former->name) != StoreSchema::definition(table, table.name))
            return false;
        for (const StoredEntity *member : m_to.family(table.root)) {
            if (!m_mapping.origin(member->entity))
                continue;
            for (const ModelMapping::Value &value : m_mapping.values(member->entity)) {
                if (!value.from || value.from->name != value.to->name || value.replacesNil ||
                    value.becomesReal || value.mayNotFit)
                    return false;
            }
        }
        m_kept.insert(former->name);
        return true;
    }

    QByteArray temporaryName(const QByteArray &name) {
        QByteArray temporary = "\"new_" + QByteArray::number(m_made.size()) + '"';
        m_made.emplace_back(temporary, name);
        return temporary;
    }

    void makeTable(const StoredTable &table) {
        const QByteArray name = temporaryName(table.name);
        m_database.execute(StoreSchema::definition(table, name));
        const StoredTable *former = formerTable(table);
        if (!former)
            return;
        SQLiteStatement last = m_database.prepared("SELECT seq FROM sqlite_sequence WHERE name = ?");
        if (last.bind(1, SQLiteValue::ofText(former->name.mid(1, former->name.size() - 2))).step())
            m_lastKeys.emplace_back(table.name, last.integer(0));
        for (const StoredEntity *member : m_to.family(table.root)) {
            if (m_mapping.origin(member->entity))
                copyObjects(*member, *former, name);
        }
    }

    void copyObjects(const StoredEntity &entity, const StoredTable &former, const QByteArray &name) {
        QByteArray columns, values;
        std::vector<SQLiteValue> parameters;
        for (const ModelMapping::Value &value : m_mapping.values(entity.entity)) {
            if (value.mayNotFit)
                requireFit(entity, former, value);
            columns += ", " + value.to->name;
            const QByteArray given = !value.from         ? QByteArray("?")
                                     : value.becomesReal ? "CAST(" + value.from->name + " AS REAL)"
                                                         : value.from->name;
            const bool takesDefault = !value.from || value.replacesNil;
            values += ", " + (value.from && value.replacesNil ? "coalesce(" + given + ", ?)" : given);
            if (takesDefault)
                parameters.push_back(value.unlessGiven);
        }
        parameters.push_back(SQLiteValue::ofInteger(entity.number));
        m_database
            .prepared("INSERT INTO " + name + "(_pk, _entity, _version" + columns +
                      ") SELECT _pk, _entity, _version" + values + " FROM " + former.name +
                      " WHERE _entity = ?")
            .bindAll(parameters)
            .run();
    }

    void requireFit(const StoredEntity &entity, const StoredTable &former, const ModelMapping::Value &value) {
        const bool isShort = value.to->attribute->attributeType() == NSAttributeType::Integer16;
        using Short = std::numeric_limits<qint16>;
        using Long = std::numeric_limits<qint32>;
        SQLiteStatement statement =
            m_database.prepared("SELECT 1 FROM " + former.name + " WHERE _entity = ? AND " +
                                value.from->name + " NOT BETWEEN ? AND ? LIMIT 1");
        statement.bind(1, entity.number)
            .bind(2, qint64(isShort ? Short::min() : Long::min()))
            .bind(3, qint64(isShort ? Short::max() : Long::max()));
        if (statement.step())
            throw StoreFailure(NSMigrationError,
                               QStringLiteral("A value of \"%1\" of \"%2\" doesn't fit into its new type.")
                                   .arg(value.to->property->name(), entity.entity->name()));
    }

    void makeTable(const JoinTable &table) {
        const QByteArray name = temporaryName(table.name);
        m_database.execute(StoreSchema::definition(table, name));
        const NSRelationshipDescription *former = m_mapping.origin(table);
        if (!former)
            return;
        // The table may have been named for the other side.
        const JoinSide &side = m_from.side(former);
        m_database.execute("INSERT INTO " + name +
                           "(source, target, source_position, target_position) SELECT " + side.owner + ", " +
                           side.other + ", " + side.owner + "_position, " + side.other + "_position FROM " +
                           side.table->name);
    }

    void dropTables() {
        for (const auto &table : m_from.tables()) {
            if (!m_kept.contains(table->name))
                m_database.execute("DROP TABLE " + table->name);
        }
        for (const auto &table : m_from.joinTables())
            m_database.execute("DROP TABLE " + table->name);
    }

    /// The numbers of objects that are gone aren't used again.
    void setLastKey(const QByteArray &table, qint64 last) {
        const SQLiteValue name = SQLiteValue::ofText(table.mid(1, table.size() - 2));
        m_database.prepared("DELETE FROM sqlite_sequence WHERE name = ?").bind(1, name).run();
        m_database.prepared("INSERT INTO sqlite_sequence(name, seq) VALUES(?, ?)")
            .bind(1, name)
            .bind(2, last)
            .run();
    }

    /// Nothing points at objects of entities that are gone.
    void forgetLostRows() {
        const auto lost = [&](const NSEntityDescription *entity) {
            const NSEntityDescription *former = m_mapping.originOfRoot(entity->rootEntity());
            return former && m_mapping.losesRows(former);
        };
        const auto missing = [&](const NSEntityDescription *entity, const QByteArray &column) {
            return column + " NOT IN (SELECT _pk FROM " + m_to.stored(entity).table->name + ')';
        };
        for (const auto &table : m_to.tables()) {
            for (const StoredColumn &column : table->columns) {
                if (column.relationship && lost(column.relationship->destinationEntity()))
                    m_database.execute("UPDATE " + table->name + " SET " + column.name + " = NULL WHERE " +
                                       missing(column.relationship->destinationEntity(), column.name));
            }
        }
        for (const auto &table : m_to.joinTables()) {
            const NSEntityDescription *source = table->relationship->entity(),
                                      *target = table->relationship->destinationEntity();
            if (lost(source) || lost(target))
                m_database.execute("DELETE FROM " + table->name + " WHERE " + missing(source, "source") +
                                   " OR " + missing(target, "target"));
        }
    }

    void remakeIndices() {
        QMap<QByteArray, QByteArray> wanted = m_to.indices();
        QByteArrayList unwanted;
        {
            SQLiteStatement present = m_database.prepared(
                "SELECT name, sql FROM sqlite_schema WHERE type = 'index' AND sql IS NOT NULL");
            while (present.step()) {
                const QByteArray name = '"' + present.value(0).string().toUtf8().replace('"', "\"\"") + '"';
                if (wanted.value(name) == present.value(1).string().toUtf8())
                    wanted.remove(name);
                else
                    unwanted << name;
            }
        }
        for (const QByteArray &name : std::as_const(unwanted))
            m_database.execute("DROP INDEX " + name);
        for (const QByteArray &index : std::as_const(wanted))
            m_database.execute(index);
    }

    SQLiteDatabase &m_database;
    const StoreSchema &m_from;
    const StoreSchema &m_to;
    ModelMapping m_mapping;
    std::set<QByteArray> m_kept;
    std::vector<std::pair<QByteArray, QByteArray>> m_made;
    std::vector<std::pair<QByteArray, qint64>> m_lastKeys;
};

StoreMetadata migrate(SQLiteDatabase &database, const NSManagedObjectModel::Ptr &model) {
    SQLiteTransaction transaction(database);
    StoreMetadata metadata = StoreMetadata::read(database);
    // Another process may have been faster.
    if (metadata.hashes == model->entityVersionHashesByName())
        return metadata;
    const auto stored = metadata.storedModel();
    const StoreSchema from(stored, metadata.numbers);
    const StoreSchema to(model, ModelMapping::numbers(*stored, metadata.numbers, *model));
    Migration(database, from, to).run();
    metadata.hashes = model->entityVersionHashesByName();
    metadata.numbers = to.numbers();
    metadata.model = model->data();
    metadata.write(database);
    transaction.commit();
    return metadata;
}

} // namespace

StoreMetadata migrateStore(SQLiteDatabase &database, const NSManagedObjectModel::Ptr &model) {
    try {
        return migrate(database, model);
    } catch (const SQLiteFailure &failure) {
        const NSError error = storeError(
            NSMigrationError, QStringLiteral("The store can't be brought to the present model"), failure);
        throw StoreFailure(NSCoreDataError(error.code()), error.localizedDescription(), failure.error());
    }
}

} // namespace zr
