// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSManagedObjectModel.h"

#include <QByteArray>
#include <QMap>
#include <QSet>
#include <memory>
#include <vector>

namespace zr {

/// A column of an entity table: an attribute, or the row that a to-one relationship points at.
struct StoredColumn {
    QByteArray name; ///< quoted, as all names here
    const NSPropertyDescription *property = nullptr;
    const NSAttributeDescription *attribute = nullptr;       ///< if it is one
    const NSRelationshipDescription *relationship = nullptr; ///< if it is one
};

/// All objects of an entity without parent and of those that inherit from it. Besides its columns it has _pk, the object's
/// number, which is never used again; _entity, the number of its entity; and _version.
struct StoredTable {
    const NSEntityDescription *root = nullptr;
    QByteArray name;
    std::vector<StoredColumn> columns;
};

/// The pairs of a to-many relationship, and of its inverse if that is one too.
struct JoinTable {
    const NSRelationshipDescription *relationship = nullptr;
    QByteArray name;
};

/// A to-many relationship's side of a join table: the column of the object, that of the objects it points at, and that of
/// their places, if they are ordered.
struct JoinSide {
    const JoinTable *table = nullptr;
    QByteArray owner, other, position;
};

/// Where an entity's objects are.
struct StoredEntity {
    const NSEntityDescription *entity = nullptr;
    qint64 number = 0;
    const StoredTable *table = nullptr;
    /// The column of each property, by its index in the entity; -1 if it has none.
    std::vector<int> columns;
    /// What is deleted with an object: join tables, and the column in which it stands there.
    std::vector<std::pair<const JoinTable *, QByteArray>> joins;
};

/// How a to-many relationship is kept.
enum class Storage {
    Column,    ///< a to-one relationship
    ByInverse, ///< in the column of its inverse
    Join,      ///< in a join table
};
Storage storageOf(const NSRelationshipDescription *relationship);

/// The tables of a model. What it is made of and every name follow from the model and the entities' numbers alone, so that
/// those of a file can be told from what the file says of its model.
///
/// | table            | for                                                     |
/// |------------------|---------------------------------------------------------|
/// | e_<entity>       | StoredTable                                             |
/// | j_<entity>_<rel> | JoinTable: source, target, source_position and          |
/// |                  | target_position, a pair once                            |
/// | metadata         | see StoreMetadata                                       |
class StoreSchema {
public:
    /// The numbers are those that the file gave its entities; the others get new ones.
    StoreSchema(const NSManagedObjectModel::Ptr &model, const QMap<QString, qint64> &numbers);
    StoreSchema(const StoreSchema &) = delete;
    StoreSchema &operator=(const StoreSchema &) = delete;

    const NSManagedObjectModel::Ptr &model() const { return m_model; }
    QMap<QString, qint64> numbers() const { return m_numbers; }
    const std::vector<std::unique_ptr<StoredTable>> &tables() const { return m_tables; }
    const std::vector<std::unique_ptr<JoinTable>> &joinTables() const { return m_joinTables; }

    /// Raises NSInvalidArgumentException for an entity of another model.
    const StoredEntity &stored(const NSEntityDescription *entity) const;
    /// The entity of that number in a table; nullptr if there is none.
    const StoredEntity *entityNumbered(const StoredTable *table, qint64 number) const;
    /// The entity and those that inherit from it, without abstract ones.
    std::vector<const StoredEntity *> family(const NSEntityDescription *entity) const;
    /// The column of a property, an attribute that isn't transient or a to-one relationship; nullptr for any other.
    const StoredColumn *column(const NSPropertyDescription *property) const;
    /// Of a relationship that a join table keeps.
    const JoinSide &side(const NSRelationshipDescription *relationship) const {
        return m_sides.at(relationship);
    }

    /// The statements that make a table, under its own or another name.
    static QByteArray definition(const StoredTable &table, const QByteArray &name);
    static QByteArray definition(const JoinTable &table, const QByteArray &name);
    /// The statements that make the indices, by the indices' names.
    QMap<QByteArray, QByteArray> indices() const;

private:
    void addEntity(const NSEntityDescription *entity, StoredTable *table);
    void addJoins();
    QByteArray uniqueName(QSet<QString> &taken, const QString &name) const;

    NSManagedObjectModel::Ptr m_model;
    QMap<QString, qint64> m_numbers;
    QSet<QString> m_names;
    std::vector<std::unique_ptr<StoredTable>> m_tables;
    std::vector<std::unique_ptr<JoinTable>> m_joinTables;
    std::map<const NSEntityDescription *, std::unique_ptr<StoredEntity>> m_entities;
    std::map<std::pair<const StoredTable *, qint64>, const StoredEntity *> m_byNumber;
    std::map<const NSPropertyDescription *, std::pair<const StoredTable *, int>> m_columns;
    std::map<const NSRelationshipDescription *, JoinSide> m_sides;
};

} // namespace zr
