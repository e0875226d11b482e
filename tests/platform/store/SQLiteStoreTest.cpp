// SPDX-License-Identifier: MIT
#include "platform/store/SQLiteStore.h"

#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "tests/platform/store/StoreSupport.h"
#include "tests/support/Expect.h"

#include <QDateTime>
#include <QFile>
#include <QPointF>
#include <QUuid>
#include <limits>

using namespace StoreSupport;
using namespace zr;

namespace {

constexpr const char *Everything = R"({'name': 'M', 'entities': [
  {'name': 'E', 'attributes': {
     'i16': {'type': 'integer16'}, 'i32': {'type': 'integer32'}, 'i64': {'type': 'integer64'},
     'decimal': {'type': 'decimal'}, 'double': {'type': 'double'}, 'float': {'type': 'float'},
     'string': {'type': 'string'}, 'flag': {'type': 'boolean'}, 'date': {'type': 'date'}, 'data': {'type': 'data'},
     'url': {'type': 'url'}, 'uuid': {'type': 'uuid'}, 'any': {'type': 'transformable'},
     'cached': {'type': 'string', 'transient': true}, 'order': {'type': 'string'}, 'Order': {'type': 'integer32'}}}]})";

constexpr const char *Family = R"({'name': 'M', 'entities': [
  {'name': 'Animal', 'abstract': true, 'attributes': {'name': {'type': 'string'}},
   'relationships': {'owner': {'destination': 'Person', 'inverse': 'pets'},
                     'friend': {'destination': 'Animal'}}},
  {'name': 'Dog', 'parent': 'Animal', 'attributes': {'size': {'type': 'integer32'}}},
  {'name': 'Cat', 'parent': 'Animal', 'attributes': {'size': {'type': 'string'}},
   'relationships': {'toys': {'destination': 'Toy', 'toMany': true, 'ordered': true}}},
  {'name': 'Person', 'attributes': {'name': {'type': 'string'}},
   'relationships': {'pets': {'destination': 'Animal', 'inverse': 'owner', 'toMany': true},
                     'clubs': {'destination': 'Club', 'inverse': 'members', 'toMany': true, 'ordered': true}}},
  {'name': 'Club', 'relationships': {'members': {'destination': 'Person', 'inverse': 'clubs', 'toMany': true}}},
  {'name': 'Toy', 'attributes': {'name': {'type': 'string'}}}]})";

class SQLiteStoreTest : public StoreTest {
protected:
    const NSEntityDescription *entity(const char *name) {
        return model->entityNamed(QString::fromLatin1(name));
    }
    ObjectSource &source() { return coordinator->source(); }
    void use(const char *text) {
        model = modelOf(text);
        coordinator = open(model);
        ASSERT_TRUE(coordinator);
    }
    void reopen() {
        coordinator.reset();
        model = NSManagedObjectModel::modelWithData(model->data());
        coordinator = open(model);
        ASSERT_TRUE(coordinator);
    }
    /// Saves a value of E and reads it in another session.
    QVariant kept(const char *property, const QVariant &value) {
        save(*coordinator, {insertion(entity("E"), {{QString::fromLatin1(property), value}})});
        reopen();
        const auto objects = fetch(source(), entity("E")).objects;
        return objects.empty() ? QVariant() : valueOf(objects.back(), property);
    }

    NSManagedObjectModel::Ptr model;
    std::shared_ptr<NSPersistentStoreCoordinator> coordinator;
};

TEST_F(SQLiteStoreTest, EveryTypesValuesComeBackExactly) {
    use(Everything);
    const auto infinity = std::numeric_limits<double>::infinity();
    const QUrl url = QUrl::fromEncoded("https://example.org/%C3%A4%2Fb?q=%20#%7E");
    const struct {
        const char *property;
        QVariantList values;
    } cases[] = {
        {"i16", {-32768, 32767, 0}},
        {"i32", {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}},
        {"i64", {std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::max()}},
        {"decimal",
         {QVariant::fromValue(NSDecimalNumber(text("1.10"))),
          QVariant::fromValue(NSDecimalNumber::maximumDecimalNumber()),
          QVariant::fromValue(NSDecimalNumber(text("-1e-128"))),
          QVariant::fromValue(NSDecimalNumber::notANumber())}},
        {"double", {0.1, 1.0, -0.0, 5e-324, 1e300, infinity, -infinity}},
        {"float", {0.1f, std::numeric_limits<float>::max()}},
        {"string",
         {text(""), text("Zoë 👍"), QString(QChar(0)), QString(QChar(0xd800)),
          QString(QChar(0xdfff)) + QChar(0xd83d), text("a\0b"), QString(1, QChar(0xfeff)),
          QString(1, QChar(0xffff))}},
        {"flag", {true, false}},
        {"date",
         {QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59, 999), Qt::UTC),
          QDateTime(QDate(-44, 3, 15), QTime(0, 0), Qt::UTC),
          QDateTime(QDate(9999, 12, 31), QTime(0, 0), Qt::UTC)}},
        {"data", {QByteArray(""), QByteArray("\0\xff", 2), QByteArray(100000, 'x')}},
        {"url", {url, QUrl(QStringLiteral("relative/path"))}},
        {"uuid", {QUuid::createUuid(), QUuid()}},
        {"any",
         {QVariantList{qint64(1), text("two"), NSNull()}, QVariantMap{{text("k"), 1.5}}, text("text")}},
        {"order", {text("a keyword of SQL")}},
        {"Order", {7}},
    };
    for (const auto &c : cases) {
        for (const QVariant &value : c.values) {
            const QVariant back = kept(c.property, value);
            EXPECT_EQ(back, value) << c.property << ' ' << NSDescription(value).toStdString();
            EXPECT_EQ(back.metaType(), value.metaType()) << c.property;
        }
        EXPECT_FALSE(kept(c.property, QVariant()).isValid()) << c.property;
    }
}

TEST_F(SQLiteStoreTest, NilAndEmptyStayApart) {
    use(Everything);
    EXPECT_FALSE(kept("string", QString()).isValid());
    EXPECT_EQ(kept("string", text("")), QVariant(text("")));
    EXPECT_FALSE(kept("data", QByteArray()).isValid());
    EXPECT_FALSE(kept("data", QByteArray("")).toByteArray().isNull());
    EXPECT_FALSE(kept("url", QUrl()).isValid());
}

TEST_F(SQLiteStoreTest, AWrongValueFailsTheSave) {
    use(Everything);
    const struct {
        const char *property;
        QVariant value;
    } cases[] = {
        {"double", std::numeric_limits<double>::quiet_NaN()},
        {"i16", 32768},
        {"i32", text("1")},
        {"string", 1},
        {"flag", 2},
        {"date", text("2024")},
        {"any", QVariant::fromValue(QPointF(1, 2))},
        {"string", NSNull()},
    };
    for (const auto &c : cases) {
        const SaveOutcome outcome =
            source().save({insertion(entity("E"), {{text("string"), text("not saved")}}),
                           insertion(entity("E"), {{QString::fromLatin1(c.property), c.value}})});
        EXPECT_EQ(outcome.error.code(), NSPersistentStoreSaveError) << c.property;
        EXPECT_TRUE(outcome.error.localizedDescription().contains(QString::fromLatin1(c.property)));
        EXPECT_TRUE(outcome.conflicts.empty());
    }
    EXPECT_TRUE(fetch(source(), entity("E")).objects.empty());
}

TEST_F(SQLiteStoreTest, InsertedObjectsGetPermanentIdentifiersThatOutliveTheSession) {
    use(Everything);
    const auto one = insertion(entity("E"), {{text("i32"), 1}}),
               two = insertion(entity("E"), {{text("i32"), 2}});
    const QUrl before = one.id.URIRepresentation();
    save(*coordinator, {one, two});
    EXPECT_FALSE(one.id.isTemporaryID());
    EXPECT_FALSE(one.id == two.id);
    const QUrl uri = one.id.URIRepresentation();
    EXPECT_NE(uri, before);
    EXPECT_EQ(uri.host(), coordinator->persistentStores().constFirst()->identifier());
    EXPECT_TRUE(fetch(source(), entity("E"), "i32 = 1").objects.at(0).id == one.id);
    EXPECT_TRUE(coordinator->managedObjectIDForURIRepresentation(uri) == one.id);

    reopen();
    const NSManagedObjectID id = coordinator->managedObjectIDForURIRepresentation(uri);
    ASSERT_TRUE(id);
    EXPECT_EQ(id.URIRepresentation(), uri);
    EXPECT_TRUE(fetch(source(), entity("E"), "i32 = 1").objects.at(0).id == id);
    // An identifier of the session before is none of this one's.
    int found = 0;
    EXPECT_FALSE(source().rows({one.id}, [&](FetchedObject &&) { ++found; }));
    EXPECT_EQ(found, 0);
}

TEST_F(SQLiteStoreTest, ForeignAndMalformedURIsNameNothing) {
    use(Family);
    const auto dog = insertion(entity("Dog"), {});
    save(*coordinator, {dog});
    const QString uuid = coordinator->persistentStores().constFirst()->identifier();
    const auto named = [&](const QString &uri) {
        return bool(coordinator->managedObjectIDForURIRepresentation(QUrl(uri)));
    };
    EXPECT_TRUE(named(QStringLiteral("x-zrstore://%1/Dog/p1").arg(uuid)));
    // No such object yet, but the store's all the same.
    EXPECT_TRUE(named(QStringLiteral("x-zrstore://%1/Dog/p99").arg(uuid)));
    EXPECT_FALSE(named(QStringLiteral("x-zrstore://%1/Cat/p1").arg(uuid)));
    for (const char *uri :
         {"x-zrstore://%1/Animal/p1", "x-zrstore://%1/Bird/p1", "x-zrstore://%1/Dog/p0",
          "x-zrstore://%1/Dog/p-1", "x-zrstore://%1/Dog/p01", "x-zrstore://%1/Dog/1", "x-zrstore://%1/Dog",
          "x-zrstore://%1/Dog/p1/", "http://%1/Dog/p1", "x-zrstore:///Dog/t123", "",
          "x-zrstore://11111111-1111-1111-1111-111111111111/Dog/p1",
          "x-zrstore://%1/Dog/p99999999999999999999"})
        EXPECT_FALSE(named(QString::fromLatin1(uri).replace(text("%1"), uuid))) << uri;
}

TEST_F(SQLiteStoreTest, NumbersOfDeletedObjectsAreNeverUsedAgain) {
    use(Everything);
    const auto one = insertion(entity("E"), {});
    save(*coordinator, {one});
    const QUrl uri = one.id.URIRepresentation();
    save(*coordinator, {deletion(fetch(source(), entity("E")).objects.at(0))});
    reopen();
    const auto two = insertion(entity("E"), {});
    save(*coordinator, {two});
    EXPECT_NE(two.id.URIRepresentation(), uri);
}

TEST_F(SQLiteStoreTest, UpdatesAndDeletionsReachTheFile) {
    use(Everything);
    save(*coordinator, {insertion(entity("E"), {{text("i32"), 1}, {text("string"), text("a")}}),
                        insertion(entity("E"), {})});
    const auto objects = fetch(source(), entity("E")).objects;
    save(*coordinator, {update(objects.at(0), {{text("string"), text("b")}}), deletion(objects.at(1))});
    reopen();
    const auto after = fetch(source(), entity("E")).objects;
    ASSERT_EQ(after.size(), 1u);
    EXPECT_EQ(valueOf(after[0], "string"), QVariant(text("b")));
    EXPECT_EQ(valueOf(after[0], "i32"), QVariant(1));
    EXPECT_EQ(after[0].row->version, 2);
}

TEST_F(SQLiteStoreTest, AChangeOfAnOldVersionIsAConflictAndNothingIsSaved) {
    use(Everything);
    save(*coordinator,
         {insertion(entity("E"), {{text("i32"), 1}}), insertion(entity("E"), {{text("i32"), 2}}),
          insertion(entity("E"), {{text("i32"), 3}})});
    const auto objects = fetch(source(), entity("E")).objects;
    const auto other = open(model);
    const auto others = fetch(other->source(), entity("E")).objects;
    save(*other, {update(others.at(0), {{text("i32"), 10}}), deletion(others.at(1))});

    const SaveOutcome outcome =
        source().save({update(objects.at(2), {{text("i32"), 30}}), update(objects.at(0), {{text("i32"), 11}}),
                       update(objects.at(1), {{text("i32"), 20}}), insertion(entity("E"), {})});
    EXPECT_EQ(outcome.error.code(), NSManagedObjectMergeError);
    ASSERT_EQ(outcome.conflicts.size(), 2u);
    EXPECT_TRUE(outcome.conflicts[0].id == objects[0].id);
    ASSERT_TRUE(outcome.conflicts[0].stored);
    EXPECT_EQ(outcome.conflicts[0].stored->version, 2);
    EXPECT_EQ(valueOf({objects[0].id, outcome.conflicts[0].stored}, "i32"), QVariant(10));
    EXPECT_TRUE(outcome.conflicts[1].id == objects[1].id);
    EXPECT_FALSE(outcome.conflicts[1].stored);
    EXPECT_EQ(fetch(source(), entity("E"), "i32 = 30").objects.size(), 0u);

    // Based on what the store has now, the change goes through.
    const SaveOutcome again =
        source().save({update({objects[0].id, outcome.conflicts[0].stored}, {{text("i32"), 11}})});
    EXPECT_FALSE(again.error);
    EXPECT_EQ(again.versions, std::vector<qint64>{3});
}

TEST_F(SQLiteStoreTest, ADeletionOfAnOldVersionIsAConflict) {
    use(Everything);
    save(*coordinator, {insertion(entity("E"), {{text("i32"), 1}})});
    const auto stale = fetch(source(), entity("E")).objects.at(0);
    save(*coordinator, {update(stale, {{text("i32"), 2}})});
    const SaveOutcome outcome = source().save({deletion(stale)});
    ASSERT_EQ(outcome.conflicts.size(), 1u);
    EXPECT_TRUE(outcome.conflicts[0].stored);
    EXPECT_EQ(fetch(source(), entity("E")).objects.size(), 1u);
}

TEST_F(SQLiteStoreTest, RowsAreReadByIdentifierAndGoneOnesLeftOut) {
    use(Everything);
    std::vector<ObjectChange> changes;
    for (int i = 0; i < 1000; ++i)
        changes.push_back(insertion(entity("E"), {{text("i32"), i}}));
    save(*coordinator, changes);
    save(*coordinator, {deletion(fetch(source(), entity("E"), "i32 = 500").objects.at(0))});
    IDs ids;
    for (const ObjectChange &change : changes)
        ids << change.id;
    qint64 sum = 0;
    int count = 0;
    EXPECT_FALSE(source().rows(ids, [&](FetchedObject &&object) {
        sum += valueOf(object, "i32").toInt();
        ++count;
    }));
    EXPECT_EQ(count, 999);
    EXPECT_EQ(sum, 999 * 1000 / 2 - 500);
    EXPECT_FALSE(source().rows({}, [](FetchedObject &&) { FAIL(); }));
}

TEST_F(SQLiteStoreTest, SubentitiesShareATableAndKeepTheirOwnProperties) {
    use(Family);
    save(*coordinator,
         {insertion(entity("Dog"), {{text("name"), text("Rex")}, {text("size"), 3}}),
          insertion(entity("Cat"), {{text("name"), text("Tom")}, {text("size"), text("small")}})});
    const auto animals = fetch(source(), entity("Animal")).objects;
    ASSERT_EQ(animals.size(), 2u);
    EXPECT_EQ(animals[0].id.entity(), entity("Dog"));
    EXPECT_EQ(animals[1].id.entity(), entity("Cat"));
    EXPECT_EQ(valueOf(animals[0], "size"), QVariant(3));
    EXPECT_EQ(valueOf(animals[1], "size"), QVariant(text("small")));
    EXPECT_EQ(fetch(source(), entity("Dog")).objects.size(), 1u);
    NSFetchRequest exact;
    exact.setIncludesSubentities(false);
    EXPECT_TRUE(fetch(source(), entity("Animal"), exact).objects.empty());
    EXPECT_EQ(fetch(source(), entity("Cat"), exact).objects.size(), 1u);
}

TEST_F(SQLiteStoreTest, NewObjectsMayPointAtOneAnother) {
    use(Family);
    auto rex = insertion(entity("Dog"), {}), tom = insertion(entity("Cat"), {}),
         ann = insertion(entity("Person"), {});
    rex = change(ObjectChange::Insert, rex.id, {},
                 {{text("friend"), reference(tom.id)}, {text("owner"), reference(ann.id)}});
    tom = change(ObjectChange::Insert, tom.id, {}, {{text("friend"), reference(rex.id)}});
    save(*coordinator, {rex, tom, ann});
    const auto dog = fetch(source(), entity("Dog")).objects.at(0);
    EXPECT_TRUE(valueOf(dog, "friend").value<NSManagedObjectID>() == tom.id);
    EXPECT_EQ(valueOf(dog, "friend").value<NSManagedObjectID>().entity(), entity("Cat"));
    EXPECT_TRUE(valueOf(dog, "owner").value<NSManagedObjectID>() == ann.id);
    reopen();
    EXPECT_EQ(
        valueOf(fetch(source(), entity("Dog")).objects.at(0), "friend").value<NSManagedObjectID>().entity(),
        entity("Cat"));
    QList<NSManagedObjectID> pets;
    const auto person = fetch(source(), entity("Person")).objects.at(0);
    EXPECT_FALSE(source().related(person.id, entity("Person")->relationship(text("pets")), pets));
    ASSERT_EQ(pets.size(), 1);
    EXPECT_EQ(pets.constFirst().entity(), entity("Dog"));
}

TEST_F(SQLiteStoreTest, AReferenceToAnUnsavedObjectOrToSomethingElseFailsTheSave) {
    use(Family);
    const QVariant wrong[] = {reference(ObjectIdentity::temporary(entity("Cat"))), QVariant(7),
                              QVariant(text("x"))};
    for (const QVariant &value : wrong) {
        const SaveOutcome outcome = source().save({insertion(entity("Dog"), {{text("friend"), value}})});
        EXPECT_EQ(outcome.error.code(), NSPersistentStoreSaveError);
    }
    EXPECT_TRUE(fetch(source(), entity("Animal")).objects.empty());
}

class ToManyTest : public SQLiteStoreTest {
protected:
    IDs related(const NSManagedObjectID &id, const char *name) {
        IDs objects;
        const NSError error =
            source().related(id, id.entity()->relationship(QString::fromLatin1(name)), objects);
        EXPECT_FALSE(error) << error.localizedDescription().toStdString();
        return objects;
    }
    FetchedObject row(const NSManagedObjectID &id) {
        FetchedObject result;
        EXPECT_FALSE(source().rows({id}, [&](FetchedObject &&object) { result = std::move(object); }));
        return result;
    }
};

TEST_F(ToManyTest, AnOrderedRelationshipKeepsItsOrder) {
    use(Family);
    IDs toys;
    std::vector<ObjectChange> changes;
    for (int i = 0; i < 5; ++i) {
        changes.push_back(insertion(entity("Toy"), {}));
        toys << changes.back().id;
    }
    const IDs shuffled = {toys[3], toys[0], toys[4], toys[1]};
    const auto cat = insertion(entity("Cat"), {}, {{text("toys"), {{}, shuffled}}});
    changes.push_back(cat);
    save(*coordinator, changes);
    EXPECT_EQ(related(cat.id, "toys"), shuffled);

    const IDs after = {toys[2], toys[3], toys[1], toys[0]};
    save(*coordinator, {update(row(cat.id), {}, {{text("toys"), {shuffled, after}}})});
    EXPECT_EQ(related(cat.id, "toys"), after);
    EXPECT_EQ(row(cat.id).row->version, 2);

    save(*coordinator, {deletion(row(toys[3]))});
    EXPECT_EQ(related(cat.id, "toys"), (IDs{toys[2], toys[1], toys[0]}));
    save(*coordinator, {deletion(row(cat.id))});
    EXPECT_TRUE(related(cat.id, "toys").isEmpty());
}

TEST_F(ToManyTest, BothSidesOfManyToManyAreOne) {
    use(Family);
    const auto chess = insertion(entity("Club"), {}), golf = insertion(entity("Club"), {});
    auto ann = insertion(entity("Person"), {}, {{text("clubs"), {{}, {golf.id, chess.id}}}});
    save(*coordinator, {chess, golf, ann});
    EXPECT_EQ(related(ann.id, "clubs"), (IDs{golf.id, chess.id}));
    EXPECT_EQ(related(chess.id, "members"), IDs{ann.id});

    // Both sides tell the same change.
    const auto bob = insertion(entity("Person"), {}, {{text("clubs"), {{}, {chess.id}}}});
    save(*coordinator, {bob, update(row(chess.id), {}, {{text("members"), {{ann.id}, {bob.id}}}}),
                        update(row(ann.id), {}, {{text("clubs"), {{golf.id, chess.id}, {golf.id}}}})});
    EXPECT_EQ(related(chess.id, "members"), IDs{bob.id});
    EXPECT_EQ(related(ann.id, "clubs"), IDs{golf.id});
    EXPECT_EQ(related(bob.id, "clubs"), IDs{chess.id});
}

TEST_F(ToManyTest, WhatTheInverseKeepsNeedsNoChangeOfTheRow) {
    use(Family);
    const auto ann = insertion(entity("Person"), {});
    save(*coordinator, {ann});
    const auto rex = insertion(entity("Dog"), {{text("owner"), reference(ann.id)}});
    const SaveOutcome outcome =
        source().save({rex, update(row(ann.id), {}, {{text("pets"), {{}, {rex.id}}}})});
    EXPECT_FALSE(outcome.error);
    EXPECT_EQ(outcome.versions, (std::vector<qint64>{1, 1}));
    EXPECT_EQ(related(ann.id, "pets"), IDs{rex.id});
}

TEST_F(SQLiteStoreTest, WithoutAStoreEverythingFails) {
    use(Everything);
    const auto store = coordinator->persistentStores().constFirst();
    EXPECT_TRUE(coordinator->removePersistentStore(store));
    EXPECT_TRUE(coordinator->persistentStores().isEmpty());
    EXPECT_FALSE(QFile::exists(path() + text("-wal")));
    EXPECT_EQ(fetch(source(), entity("E"), NSFetchRequest()).error.code(), NSPersistentStoreOpenError);
    EXPECT_EQ(source().save({}).error.code(), NSPersistentStoreOpenError);
    NSError error;
    EXPECT_FALSE(source().count({}, entity("E"), error));
    EXPECT_EQ(error.code(), NSPersistentStoreOpenError);
    EXPECT_TRUE(source().rows({ObjectIdentity::temporary(entity("E"))}, [](FetchedObject &&) {}));
    EXPECT_FALSE(coordinator->removePersistentStore(store, &error));
    EXPECT_FALSE(coordinator->removePersistentStore(nullptr, &error));

    const auto again =
        coordinator->addPersistentStoreWithType(NSSQLiteStoreType, {}, QUrl::fromLocalFile(path()), {});
    ASSERT_TRUE(again);
    EXPECT_EQ(again->identifier(), store->identifier());
    EXPECT_FALSE(fetch(source(), entity("E"), NSFetchRequest()).error);
}

TEST_F(SQLiteStoreTest, ACoordinatorTakesOneSQLiteStore) {
    use(Everything);
    NSError error;
    const QUrl other = QUrl::fromLocalFile(folder.filePath(text("Other.db")));
    EXPECT_FALSE(coordinator->addPersistentStoreWithType(NSSQLiteStoreType, {}, other, {}, &error));
    EXPECT_EQ(error.code(), NSPersistentStoreOpenError);
    NSPersistentStoreCoordinator empty(model);
    EXPECT_FALSE(empty.addPersistentStoreWithType(text("XML"), {}, other, {}, &error));
    EXPECT_EQ(error.code(), NSPersistentStoreInvalidTypeError);
    EXPECT_FALSE(empty.addPersistentStoreWithType(NSSQLiteStoreType, {}, QUrl(text("https://example.org/x")),
                                                  {}, &error));
    EXPECT_EQ(error.code(), NSPersistentStoreOpenError);
    EXPECT_FALSE(QFile::exists(other.toLocalFile()));
}

TEST_F(SQLiteStoreTest, AnEntityOfAnotherModelIsRaised) {
    use(Everything);
    const auto other = modelOf(Everything);
    expectException(NSInvalidArgumentException,
                    [&] { fetch(source(), other->entityNamed(text("E")), NSFetchRequest()); });
    expectException(NSInvalidArgumentException,
                    [&] { source().save({insertion(other->entityNamed(text("E")), {})}); });
    EXPECT_TRUE(fetch(source(), entity("E")).objects.empty());
}

TEST_F(SQLiteStoreTest, AFetchCanGiveIdentifiersOnly) {
    use(Everything);
    const auto one = insertion(entity("E"), {{text("i32"), 1}});
    save(*coordinator, {one, insertion(entity("E"), {{text("i32"), 2}})});
    NSFetchRequest request;
    request.setPredicate(NSPredicate::predicateWithFormat(text("i32 == 1")));
    const Fetched fetched = fetch(source(), entity("E"), request, false);
    ASSERT_EQ(fetched.objects.size(), 1u);
    EXPECT_TRUE(fetched.objects[0].id == one.id);
    EXPECT_FALSE(fetched.objects[0].row);
}

TEST_F(SQLiteStoreTest, ACountFollowsTheWindow) {
    use(Everything);
    save(*coordinator, std::vector<ObjectChange>{insertion(entity("E"), {}), insertion(entity("E"), {}),
                                                 insertion(entity("E"), {})});
    NSFetchRequest request;
    NSError error;
    EXPECT_EQ(source().count(request, entity("E"), error), 3u);
    request.setFetchOffset(1);
    EXPECT_EQ(source().count(request, entity("E"), error), 2u);
    request.setFetchLimit(1);
    EXPECT_EQ(source().count(request, entity("E"), error), 1u);
    EXPECT_FALSE(error);
}

} // namespace
