// SPDX-License-Identifier: MIT
#include "platform/store/StoreSchema.h"

#include "platform/base/NSException.h"
#include "platform/store/SQLiteValue.h"

#include <algorithm>

namespace zr {

namespace {

QByteArray quoted(const QString &name) {
    return '"' + name.toLatin1() + '"';
}

QByteArray unquoted(const QByteArray &name) {
    return name.mid(1, name.size() - 2);
}

QString fullName(const NSRelationshipDescription *relationship) {
    return relationship->entity()->name() + u'_' + relationship->name();
}

/// Of a relationship and its inverse the one that names their table.
const NSRelationshipDescription *naming(const NSRelationshipDescription *relationship) {
    const NSRelationshipDescription *inverse = relationship->inverseRelationship();
    if (!inverse || !inverse->isToMany())
        return relationship;
    return std::pair(relationship->entity()->name(), relationship->name()) <=
                   std::pair(inverse->entity()->name(), inverse->name())
               ? relationship
               : inverse;
}

JoinSide sideOf(const JoinTable *table, const NSRelationshipDescription *relationship) {
    const bool isSource = table->relationship == relationship;
    JoinSide side{table, isSource ? "source" : "target", isSource ? "target" : "source", {}};
    if (relationship->isOrdered())
        side.position = isSource ? "source_position" : "target_position";
    return side;
}

} // namespace

Storage storageOf(const NSRelationshipDescription *relationship) {
    if (!relationship->isToMany())
        return Storage::Column;
    const NSRelationshipDescription *inverse = relationship->inverseRelationship();
    return inverse && !inverse->isToMany() && !relationship->isOrdered() ? Storage::ByInverse : Storage::Join;
}

StoreSchema::StoreSchema(const NSManagedObjectModel::Ptr &model, const QMap<QString, qint64> &numbers)
    : m_model(model), m_numbers(numbers) {
    qint64 last = 0;
    for (const qint64 number : numbers)
        last = std::max(last, number);
    // By name, so that the order of a model file makes no difference.
    for (const NSEntityDescription *entity : model->entities()) {
        if (!m_numbers.contains(entity->name()))
            m_numbers.insert(entity->name(), ++last);
    }
    for (const NSEntityDescription *entity : model->entities()) {
        if (entity->superentity())
            continue;
        m_tables.push_back(std::make_unique<StoredTable>());
        m_tables.back()->root = entity;
        m_tables.back()->name = uniqueName(m_names, QStringLiteral("e_") + entity->name());
        addEntity(entity, m_tables.back().get());
    }
    addJoins();
}

/// SQLite takes names that differ in case only for the same.
QByteArray StoreSchema::uniqueName(QSet<QString> &taken, const QString &name) const {
    QString unique = name;
    for (int i = 2; taken.contains(unique.toLower()); ++i)
        unique = name + u'_' + QString::number(i);
    taken.insert(unique.toLower());
    return quoted(unique);
}

void StoreSchema::addEntity(const NSEntityDescription *entity, StoredTable *table) {
    QSet<QString> taken;
    for (const StoredColumn &column : table->columns)
        taken.insert(QString::fromLatin1(unquoted(column.name)).toLower());
    auto stored = std::make_unique<StoredEntity>();
    stored->entity = entity;
    stored->number = m_numbers.value(entity->name());
    stored->table = table;
    for (const NSPropertyDescription *property : entity->properties()) {
        const auto *attribute = dynamic_cast<const NSAttributeDescription *>(property);
        const auto *relationship = dynamic_cast<const NSRelationshipDescription *>(property);
        if (property->isTransient() || (relationship && relationship->isToMany())) {
            stored->columns.push_back(-1);
            continue;
        }
        if (!m_columns.contains(property)) {
            table->columns.push_back(
                {uniqueName(taken, property->name()), property, attribute, relationship});
            m_columns[property] = {table, int(table->columns.size()) - 1};
        }
        stored->columns.push_back(m_columns[property].second);
    }
    m_byNumber[{table, stored->number}] = stored.get();
    m_entities[entity] = std::move(stored);
    for (const NSEntityDescription *subentity : entity->subentities())
        addEntity(subentity, table);
}

void StoreSchema::addJoins() {
    std::map<const NSRelationshipDescription *, const JoinTable *> tables;
    for (const NSEntityDescription *entity : m_model->entities()) {
        for (const NSPropertyDescription *property : entity->properties()) {
            const auto *relationship = dynamic_cast<const NSRelationshipDescription *>(property);
            if (!relationship || relationship->entity() != entity || storageOf(relationship) != Storage::Join)
                continue;
            const JoinTable *&table = tables[naming(relationship)];
            if (!table) {
                m_joinTables.push_back(std::make_unique<JoinTable>());
                m_joinTables.back()->relationship = naming(relationship);
                m_joinTables.back()->name =
                    uniqueName(m_names, QStringLiteral("j_") + fullName(naming(relationship)));
                table = m_joinTables.back().get();
            }
            m_sides[relationship] = sideOf(table, relationship);
        }
    }
    for (auto &[entity, stored] : m_entities) {
        for (const auto &table : m_joinTables) {
            if (entity->isKindOfEntity(table->relationship->entity()))
                stored->joins.emplace_back(table.get(), "source");
            if (entity->isKindOfEntity(table->relationship->destinationEntity()))
                stored->joins.emplace_back(table.get(), "target");
        }
    }
}

const StoredEntity &StoreSchema::stored(const NSEntityDescription *entity) const {
    const auto found = m_entities.find(entity);
    if (found == m_entities.end())
        throw NSException(NSInvalidArgumentException, QStringLiteral("The entity is one of another model."));
    return *found->second;
}

const StoredEntity *StoreSchema::entityNumbered(const StoredTable *table, qint64 number) const {
    const auto found = m_byNumber.find({table, number});
    return found == m_byNumber.end() ? nullptr : found->second;
}

std::vector<const StoredEntity *> StoreSchema::family(const NSEntityDescription *entity) const {
    std::vector<const StoredEntity *> family;
    if (!entity->isAbstract())
        family.push_back(&stored(entity));
    for (const NSEntityDescription *subentity : entity->subentities()) {
        const auto members = this->family(subentity);
        family.insert(family.end(), members.begin(), members.end());
    }
    return family;
}

const StoredColumn *StoreSchema::column(const NSPropertyDescription *property) const {
    const auto found = m_columns.find(property);
    return found == m_columns.end() ? nullptr : &found->second.first->columns[size_t(found->second.second)];
}

QByteArray StoreSchema::definition(const StoredTable &table, const QByteArray &name) {
    QByteArray sql =
        "CREATE TABLE " + name +
        "(_pk INTEGER PRIMARY KEY AUTOINCREMENT, _entity INTEGER NOT NULL, _version INTEGER NOT NULL";
    for (const StoredColumn &column : table.columns)
        sql += ", " + column.name + ' ' +
               (column.attribute ? columnType(column.attribute->attributeType()) : "INTEGER");
    return sql + ')';
}

QByteArray StoreSchema::definition(const JoinTable &, const QByteArray &name) {
    return "CREATE TABLE " + name +
           "(source INTEGER NOT NULL, target INTEGER NOT NULL, source_position INTEGER NOT NULL DEFAULT 0, "
           "target_position INTEGER NOT NULL DEFAULT 0, PRIMARY KEY(source, target)) WITHOUT ROWID";
}

QMap<QByteArray, QByteArray> StoreSchema::indices() const {
    QMap<QByteArray, QByteArray> indices;
    QSet<QString> taken = m_names;
    const auto add = [&](const QByteArray &table, const QByteArray &column, const QByteArray &columns) {
        const QByteArray plain = "i_" + unquoted(table) + '_' + unquoted(column);
        const QByteArray name = uniqueName(taken, QString::fromLatin1(plain));
        indices.insert(name, "CREATE INDEX " + name + " ON " + table + '(' + columns + ')');
    };
    for (const auto &table : m_tables) {
        for (const StoredColumn &column : table->columns) {
            if (column.relationship || column.attribute->isIndexed())
                add(table->name, column.name, column.name);
        }
    }
    for (const auto &table : m_joinTables)
        add(table->name, "\"target\"", "target, source");
    return indices;
}

} // namespace zr
