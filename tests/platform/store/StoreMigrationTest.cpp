// SPDX-License-Identifier: MIT
#include "platform/store/StoreMigration.h"

#include "platform/store/StoreOpening.h"
#include "platform/values/NSDecimalNumber.h"
#include "tests/platform/store/StoreSupport.h"

#include <limits>
#include <sqlite3.h>

using namespace StoreSupport;
using namespace zr;

namespace {

const QVariantMap Migrating = {{NSMigratePersistentStoresAutomaticallyOption, true},
                               {NSInferMappingModelAutomaticallyOption, true}};

/// A model of one entity with these attributes.
NSManagedObjectModel::Ptr notes(int version, const char *attributes) {
    return modelOf(QByteArray("{'name': 'M', 'version': " + QByteArray::number(version) +
                              ", 'entities': [{'name': 'Note', 'attributes': {" + attributes + "}}]}")
                       .constData());
}

class StoreMigrationTest : public StoreTest {
protected:
    void start(const NSManagedObjectModel::Ptr &first) {
        model = first;
        coordinator = open(model);
        ASSERT_TRUE(coordinator);
    }
    void migrate(const NSManagedObjectModel::Ptr &next) {
        coordinator.reset();
        model = next;
        coordinator = open(model, Migrating);
        ASSERT_TRUE(coordinator);
        const OpenedStore opened = openStore(model, path(), {});
        EXPECT_EQ(opened.database->value("PRAGMA integrity_check").bytes, "ok");
        EXPECT_EQ(opened.uuid, coordinator->persistentStores().constFirst()->identifier());
    }
    /// The error of opening with the next model; the store stays that of the present one.
    NSError refusal(const NSManagedObjectModel::Ptr &next) {
        coordinator.reset();
        const QByteArray before = dump();
        NSError error;
        EXPECT_FALSE(open(next, Migrating, &error));
        EXPECT_EQ(dump(), before);
        coordinator = open(model);
        return error;
    }
    /// All that a file holds.
    QByteArray dump() {
        QByteArray all;
        SQLiteDatabase database(path().toUtf8(), SQLiteDatabase::Access::ReadOnly);
        QByteArrayList tables;
        {
            SQLiteStatement statement =
                database.prepared("SELECT name, sql FROM sqlite_schema ORDER BY type, name");
            while (statement.step()) {
                all += statement.value(0).bytes + ' ' + statement.value(1).bytes + '\n';
                if (statement.value(1).bytes.startsWith("CREATE TABLE"))
                    tables << QByteArray(statement.value(0).bytes.constData(),
                                         statement.value(0).bytes.size());
            }
        }
        for (const QByteArray &table : std::as_const(tables)) {
            SQLiteStatement statement = database.prepared("SELECT * FROM \"" + table + "\" ORDER BY 1");
            while (statement.step()) {
                for (int i = 0; i < 3; ++i) {
                    const SQLiteValue value = statement.value(i);
                    all += value.bytes + QByteArray::number(value.integer) + QByteArray::number(value.real) +
                           ' ';
                }
            }
        }
        return all;
    }
    const NSEntityDescription *entity(const char *name) {
        return model->entityNamed(QString::fromLatin1(name));
    }
    std::vector<FetchedObject> all(const char *name) {
        return fetch(coordinator->source(), entity(name)).objects;
    }
    IDs related(const NSManagedObjectID &id, const char *name) {
        IDs objects;
        EXPECT_FALSE(
            coordinator->source().related(id, id.entity()->relationship(QString::fromLatin1(name)), objects));
        return objects;
    }

    NSManagedObjectModel::Ptr model;
    std::shared_ptr<NSPersistentStoreCoordinator> coordinator;
};

TEST_F(StoreMigrationTest, AttributesCanBeAddedRemovedAndRenamed) {
    start(notes(1, "'old': {'type': 'string'}, 'gone': {'type': 'integer32'}"));
    save(*coordinator, {insertion(entity("Note"), {{text("old"), text("kept")}, {text("gone"), 1}}),
                        insertion(entity("Note"), {})});
    const QUrl uri = all("Note").at(0).id.URIRepresentation();
    migrate(notes(
        2,
        "'fresh': {'type': 'string', 'renamedFrom': 'old'}, 'price': {'type': 'decimal', 'default': '1.5', "
        "'optional': false}, 'note': {'type': 'string', 'default': 'x'}, 'none': {'type': 'data'}"));
    const auto objects = all("Note");
    ASSERT_EQ(objects.size(), 2u);
    EXPECT_EQ(objects[0].id.URIRepresentation(), uri);
    EXPECT_EQ(valueOf(objects[0], "fresh"), QVariant(text("kept")));
    EXPECT_FALSE(valueOf(objects[1], "fresh").isValid());
    EXPECT_EQ(valueOf(objects[0], "price").value<NSDecimalNumber>(), NSDecimalNumber(text("1.5")));
    EXPECT_EQ(valueOf(objects[1], "note"), QVariant(text("x")));
    EXPECT_FALSE(valueOf(objects[0], "none").isValid());
    save(*coordinator, {update(objects[1], {{text("fresh"), text("new")}}), insertion(entity("Note"), {})});
    coordinator.reset();
    EXPECT_TRUE(open(model));
}

TEST_F(StoreMigrationTest, NamesCanBeExchanged) {
    start(notes(1, "'a': {'type': 'string'}, 'b': {'type': 'string'}"));
    save(*coordinator, {insertion(entity("Note"), {{text("a"), text("1")}, {text("b"), text("2")}})});
    // Which version of a model a file is says its version: the hashes are the same.
    migrate(
        modelOf("{'name': 'M', 'version': 2, 'entities': [{'name': 'Note', 'attributes': {"
                "'a': {'type': 'string', 'renamedFrom': 'b'}, 'b': {'type': 'string', 'renamedFrom': 'a'},"
                "'c': {'type': 'string'}}}]}"));
    EXPECT_EQ(valueOf(all("Note").at(0), "a"), QVariant(text("2")));
    EXPECT_EQ(valueOf(all("Note").at(0), "b"), QVariant(text("1")));
}

TEST_F(StoreMigrationTest, OptionalBecomesRequiredWithADefault) {
    start(notes(1, "'rank': {'type': 'integer32'}"));
    save(*coordinator, {insertion(entity("Note"), {{text("rank"), 5}}), insertion(entity("Note"), {})});
    EXPECT_EQ(refusal(notes(2, "'rank': {'type': 'integer32', 'optional': false}")).code(),
              NSInferredMappingModelError);
    migrate(notes(2, "'rank': {'type': 'integer32', 'optional': false, 'default': 7}"));
    EXPECT_EQ(valueOf(all("Note").at(0), "rank"), QVariant(5));
    EXPECT_EQ(valueOf(all("Note").at(1), "rank"), QVariant(7));
    migrate(notes(3, "'rank': {'type': 'integer32'}"));
    EXPECT_EQ(valueOf(all("Note").at(1), "rank"), QVariant(7));
}

TEST_F(StoreMigrationTest, IntegersBecomeWiderNarrowerIfTheyFitAndDoubles) {
    start(notes(1, "'a': {'type': 'integer16'}, 'b': {'type': 'integer64'}, 'c': {'type': 'integer32'}, 'd': "
                   "{'type': 'float'}"));
    save(*coordinator,
         {insertion(entity("Note"),
                    {{text("a"), -7}, {text("b"), qint64(32767)}, {text("c"), 3}, {text("d"), 0.5f}}),
          insertion(entity("Note"), {})});
    migrate(notes(2, "'a': {'type': 'integer64'}, 'b': {'type': 'integer16'}, 'c': {'type': 'double'}, 'd': "
                     "{'type': 'double'}"));
    const auto objects = all("Note");
    EXPECT_EQ(valueOf(objects[0], "a"), QVariant(qint64(-7)));
    EXPECT_EQ(valueOf(objects[0], "b"), QVariant(32767));
    EXPECT_EQ(valueOf(objects[0], "c"), QVariant(3.0));
    EXPECT_EQ(valueOf(objects[0], "d"), QVariant(0.5));
    EXPECT_FALSE(valueOf(objects[1], "b").isValid());
}

TEST_F(StoreMigrationTest, AValueThatDoesNotFitLeavesTheOldStoreWhole) {
    start(notes(1, "'a': {'type': 'integer32'}"));
    save(*coordinator,
         {insertion(entity("Note"), {{text("a"), 1}}), insertion(entity("Note"), {{text("a"), 32768}})});
    EXPECT_EQ(refusal(notes(2, "'a': {'type': 'integer16'}")).code(), NSMigrationError);
    EXPECT_EQ(all("Note").size(), 2u);
}

TEST_F(StoreMigrationTest, WhatCanNotBeToldFromTheModelsIsRefused) {
    start(modelOf(R"({'name': 'M', 'version': 1, 'entities': [
      {'name': 'A', 'attributes': {'x': {'type': 'string'}, 'y': {'type': 'double'}},
       'relationships': {'one': {'destination': 'B'}, 'many': {'destination': 'B', 'toMany': true}}},
      {'name': 'B'}, {'name': 'C'}]})"));
    for (const char *entities : {
             "{'name': 'A', 'attributes': {'x': {'type': 'data'}}}, {'name': 'B'}, {'name': 'C'}",
             "{'name': 'A', 'attributes': {'y': {'type': 'integer32'}}}, {'name': 'B'}, {'name': 'C'}",
             "{'name': 'A', 'attributes': {'z': {'type': 'string', 'optional': false}}}, {'name': 'B'}, "
             "{'name': 'C'}",
             "{'name': 'A', 'attributes': {'one': {'type': 'string'}}}, {'name': 'B'}, {'name': 'C'}",
             "{'name': 'A', 'relationships': {'x': {'destination': 'B'}}}, {'name': 'B'}, {'name': 'C'}",
             "{'name': 'A', 'relationships': {'one': {'destination': 'C'}}}, {'name': 'B'}, {'name': 'C'}",
             "{'name': 'A', 'relationships': {'many': {'destination': 'C', 'toMany': true}}}, {'name': 'B'}, "
             "{'name': 'C'}",
             "{'name': 'A', 'relationships': {'one': {'destination': 'B', 'toMany': true}}}, {'name': 'B'}, "
             "{'name': 'C'}",
             "{'name': 'A', 'relationships': {'many': {'destination': 'B'}}}, {'name': 'B'}, {'name': 'C'}",
             "{'name': 'A', 'relationships': {'one': {'destination': 'B', 'optional': false}}}, {'name': "
             "'B'}, {'name': 'C'}",
             "{'name': 'A', 'relationships': {'new': {'destination': 'B', 'optional': false, 'toMany': "
             "true}}}, {'name': 'B'}",
             "{'name': 'A', 'abstract': true}, {'name': 'B'}, {'name': 'C'}",
             "{'name': 'A'}, {'name': 'B', 'parent': 'A'}, {'name': 'C'}",
             "{'name': 'D', 'renamedFrom': 'A'}, {'name': 'E', 'renamedFrom': 'A'}",
         }) {
        const NSError error = refusal(
            modelOf((QByteArray("{'name': 'M', 'version': 2, 'entities': [") + entities + "]}").constData()));
        EXPECT_EQ(error.code(), NSInferredMappingModelError) << entities << error.description().toStdString();
    }
}

TEST_F(StoreMigrationTest, EntitiesCanBeAddedRemovedRenamedAndGetAParent) {
    start(modelOf(R"({'name': 'M', 'version': 1, 'entities': [
      {'name': 'Book', 'attributes': {'title': {'type': 'string'}, 'pages': {'type': 'integer32'}},
       'relationships': {'sequel': {'destination': 'Book'}}},
      {'name': 'Old'}]})"));
    const auto first = insertion(entity("Book"), {{text("title"), text("one")}, {text("pages"), 10}});
    const auto second =
        insertion(entity("Book"), {{text("title"), text("two")}, {text("sequel"), reference(first.id)}});
    save(*coordinator, {first, second, insertion(entity("Old"), {})});
    const QString number = first.id.URIRepresentation().path().section(u'/', 2);
    migrate(modelOf(R"({'name': 'M', 'version': 2, 'entities': [
      {'name': 'Item', 'abstract': true, 'attributes': {'title': {'type': 'string', 'indexed': true}}},
      {'name': 'Volume', 'renamedFrom': 'Book', 'parent': 'Item', 'attributes': {'pages': {'type': 'integer64'}},
       'relationships': {'sequel': {'destination': 'Volume'}}},
      {'name': 'Disc', 'parent': 'Item'}, {'name': 'Added'}]})"));
    const auto items = all("Item");
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0].id.entity(), entity("Volume"));
    EXPECT_EQ(items[0].id.URIRepresentation().path(), text("/Volume/") + number);
    EXPECT_EQ(valueOf(items[0], "title"), QVariant(text("one")));
    EXPECT_EQ(valueOf(items[0], "pages"), QVariant(qint64(10)));
    EXPECT_TRUE(valueOf(items[1], "sequel").value<NSManagedObjectID>() == items[0].id);
    EXPECT_TRUE(all("Added").empty());
    save(*coordinator, {insertion(entity("Disc"), {}), insertion(entity("Added"), {})});
    EXPECT_EQ(all("Item").size(), 3u);
}

TEST_F(StoreMigrationTest, RelationshipsKeepTheirPairsAndOrderUnderANewName) {
    start(modelOf(R"({'name': 'M', 'version': 1, 'entities': [
      {'name': 'Zoo', 'relationships': {'animals': {'destination': 'Animal', 'inverse': 'zoos', 'toMany': true, 'ordered': true}}},
      {'name': 'Animal', 'relationships': {'zoos': {'destination': 'Zoo', 'inverse': 'animals', 'toMany': true}}}]})"));
    const auto ape = insertion(entity("Animal"), {}), bear = insertion(entity("Animal"), {}),
               cat = insertion(entity("Animal"), {});
    save(*coordinator, {ape, bear, cat,
                        insertion(entity("Zoo"), {}, {{text("animals"), {{}, {cat.id, ape.id, bear.id}}}})});
    migrate(modelOf(R"({'name': 'M', 'version': 2, 'entities': [
      {'name': 'Aviary', 'renamedFrom': 'Zoo', 'relationships': {
         'birds': {'destination': 'Bird', 'inverse': 'homes', 'toMany': true, 'ordered': true, 'renamedFrom': 'animals'}}},
      {'name': 'Bird', 'renamedFrom': 'Animal', 'relationships': {
         'homes': {'destination': 'Aviary', 'inverse': 'birds', 'toMany': true, 'renamedFrom': 'zoos'}}}]})"));
    const auto birds = all("Bird");
    EXPECT_EQ(related(all("Aviary").at(0).id, "birds"), (IDs{birds[2].id, birds[0].id, birds[1].id}));
    EXPECT_EQ(related(birds[1].id, "homes"), IDs{all("Aviary").at(0).id});
}

TEST_F(StoreMigrationTest, NothingPointsAtObjectsOfARemovedEntity) {
    start(modelOf(R"({'name': 'M', 'version': 1, 'entities': [
      {'name': 'Animal'}, {'name': 'Dog', 'parent': 'Animal'}, {'name': 'Cat', 'parent': 'Animal'},
      {'name': 'Person', 'relationships': {'pet': {'destination': 'Animal'},
                                           'seen': {'destination': 'Animal', 'toMany': true}}}]})"));
    const auto dog = insertion(entity("Dog"), {}), cat = insertion(entity("Cat"), {});
    save(*coordinator, {dog, cat,
                        insertion(entity("Person"), {{text("pet"), reference(dog.id)}},
                                  {{text("seen"), {{}, {dog.id, cat.id}}}})});
    const QUrl uri = dog.id.URIRepresentation();
    migrate(modelOf(R"({'name': 'M', 'version': 2, 'entities': [
      {'name': 'Animal'}, {'name': 'Cat', 'parent': 'Animal'},
      {'name': 'Person', 'relationships': {'pet': {'destination': 'Animal'},
                                           'seen': {'destination': 'Animal', 'toMany': true}}}]})"));
    const auto person = all("Person").at(0);
    EXPECT_FALSE(valueOf(person, "pet").isValid());
    EXPECT_EQ(related(person.id, "seen"), IDs{all("Cat").at(0).id});
    EXPECT_EQ(all("Animal").size(), 1u);
    EXPECT_FALSE(coordinator->managedObjectIDForURIRepresentation(uri));
}

TEST_F(StoreMigrationTest, NumbersOfDeletedObjectsStayUnused) {
    start(notes(1, "'a': {'type': 'string'}"));
    save(*coordinator, {insertion(entity("Note"), {}), insertion(entity("Note"), {})});
    const QUrl last = all("Note").at(1).id.URIRepresentation();
    save(*coordinator, {deletion(all("Note").at(1))});
    migrate(notes(2, "'a': {'type': 'string'}, 'b': {'type': 'string'}"));
    const auto added = insertion(entity("Note"), {});
    save(*coordinator, {added});
    EXPECT_NE(added.id.URIRepresentation(), last);
}

TEST_F(StoreMigrationTest, AnIndexIsMadeAndDroppedWithoutTouchingTheTable) {
    const auto indices = [&] {
        return openStore(model, path(), {})
            .database->value("SELECT count(*) FROM sqlite_schema WHERE type = 'index' AND sql IS NOT NULL")
            .integer;
    };
    start(notes(1, "'a': {'type': 'string'}"));
    save(*coordinator, {insertion(entity("Note"), {{text("a"), text("x")}})});
    EXPECT_EQ(indices(), 0);
    migrate(notes(2, "'a': {'type': 'string', 'indexed': true}"));
    EXPECT_EQ(indices(), 1);
    migrate(notes(3, "'a': {'type': 'string'}"));
    EXPECT_EQ(indices(), 0);
    EXPECT_EQ(valueOf(all("Note").at(0), "a"), QVariant(text("x")));
}

TEST_F(StoreMigrationTest, WhatTheStoreDoesNotKeepNeedsNoMigration) {
    start(notes(1, "'a': {'type': 'string'}"));
    save(*coordinator, {insertion(entity("Note"), {{text("a"), text("x")}})});
    coordinator.reset();
    model = notes(2, "'a': {'type': 'string', 'maxLength': 3, 'default': 'y'}, 't': {'type': 'string', "
                     "'transient': true}");
    coordinator = open(model);
    ASSERT_TRUE(coordinator);
    EXPECT_EQ(valueOf(all("Note").at(0), "a"), QVariant(text("x")));
}

TEST_F(StoreMigrationTest, AStoredModelThatCanNotBeReadIsAnError) {
    start(notes(1, "'a': {'type': 'string'}"));
    coordinator.reset();
    SQLiteDatabase(path().toUtf8(), SQLiteDatabase::Access::ReadWrite)
        .execute("UPDATE metadata SET value = '{\"models\": [7]}' WHERE key = 'model'");
    NSError error;
    EXPECT_FALSE(open(notes(2, "'b': {'type': 'string'}"), Migrating, &error));
    EXPECT_EQ(error.code(), NSMigrationError);
}

} // namespace
