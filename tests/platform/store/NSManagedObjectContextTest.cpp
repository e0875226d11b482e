// SPDX-License-Identifier: MIT
#include "platform/store/NSManagedObjectContext.h"

#include "platform/values/NSNotificationCenter.h"
#include "tests/platform/store/ContextSupport.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QPointer>
#include <algorithm>

using namespace ContextSupport;

namespace {

using NSManagedObjectContextTest = ContextTest;

TEST_F(NSManagedObjectContextTest, AnObjectIsInAContextOnce) {
    NSManagedObject *emma = book("Emma");
    save();
    EXPECT_EQ(fetch(*context, request("Book")), listOf({emma}));
    EXPECT_EQ(context->objectWithID(emma->objectID()), emma);
    EXPECT_EQ(context->objectRegisteredForID(emma->objectID()), emma);
    EXPECT_EQ(context->existingObjectWithID(emma->objectID()), emma);
    EXPECT_EQ(context->registeredObjects(), QList<NSManagedObject *>{emma});
    const auto other = contextOn(coordinator);
    EXPECT_EQ(other->objectRegisteredForID(emma->objectID()), nullptr);
    EXPECT_NE(other->objectWithID(emma->objectID()), emma);
}

TEST_F(NSManagedObjectContextTest, UnknownAndAbstractEntitiesRaise) {
    expectException(NSInvalidArgumentException, [&] { make("Weather"); });
    expectException(NSInvalidArgumentException, [&] { make("Item"); });
    expectException(NSInvalidArgumentException, [&] { context->executeFetchRequest(request("Weather")); });
    expectException(NSInvalidArgumentException, [&] { context->countForFetchRequest(request("Weather")); });
    expectException(NSInvalidArgumentException, [&] { context->objectWithID({}); });
    NSManagedObjectContext none(NSMainQueueConcurrencyType);
    EXPECT_EQ(none.managedObjectModel(), nullptr);
    EXPECT_FALSE(none.hasChanges());
    expectException(NSInvalidArgumentException,
                    [&] { NSEntityDescription::entityForName(text("Book"), none); });
    expectException(NSInvalidArgumentException, [&] { context->setPersistentStoreCoordinator(coordinator); });
    expectException(NSInvalidArgumentException, [&] { contextOn(coordinator)->deleteObject(book("a")); });
}

TEST_F(NSManagedObjectContextTest, AMissingObjectIsAnErrorWhereExistenceIsAskedFor) {
    NSManagedObject *emma = book("Emma");
    save();
    const NSManagedObjectID id = emma->objectID();
    context->deleteObject(emma);
    NSError error;
    EXPECT_EQ(context->existingObjectWithID(id, &error), nullptr);
    EXPECT_EQ(error.code(), NSManagedObjectReferentialIntegrityError);
    save();
    EXPECT_EQ(context->existingObjectWithID(id, &error), nullptr);
    EXPECT_EQ(error.code(), NSManagedObjectReferentialIntegrityError);
    EXPECT_EQ(context->objectRegisteredForID(id), nullptr);
}

TEST_F(NSManagedObjectContextTest, InsertedUpdatedAndDeletedObjectsAreListed) {
    NSManagedObject *a = book("a"), *b = book("b");
    EXPECT_EQ(context->insertedObjects(), (QList<NSManagedObject *>{a, b}));
    save();
    EXPECT_FALSE(context->hasChanges());
    NSManagedObject *c = book("c");
    set(a, "title", text("A"));
    context->deleteObject(b);
    EXPECT_EQ(context->insertedObjects(), QList<NSManagedObject *>{c});
    EXPECT_EQ(context->updatedObjects(), QList<NSManagedObject *>{a});
    EXPECT_EQ(context->deletedObjects(), QList<NSManagedObject *>{b});
    context->rollback();
    EXPECT_FALSE(context->hasChanges());
    EXPECT_EQ(valueOf(a, "title"), QVariant(text("a")));
    EXPECT_EQ(c->managedObjectContext(), nullptr);
    EXPECT_EQ(titles(*context), (QStringList{text("a"), text("b")}));
}

TEST_F(NSManagedObjectContextTest, AFetchSeesWhatIsNotSavedYet) {
    NSManagedObject *a = book("a", 10), *b = book("b", 20);
    book("c", 30);
    save();
    set(a, "pages", 25);
    context->deleteObject(b);
    NSManagedObject *d = book("d", 40);
    set(d, "author", asValue(author("Jane")));
    EXPECT_EQ(titles(*context, "pages > 20"), (QStringList{text("a"), text("c"), text("d")}));
    EXPECT_EQ(titles(*context, "author.name = 'Jane'"), QStringList{text("d")});
    EXPECT_EQ(context->countForFetchRequest(request("Book", "pages > 20")), 3u);
    EXPECT_EQ(context->countForFetchRequest(request("Item")), 3u) << "of entities that inherit too";
    NSFetchRequest saved = request("Book", "pages > 15");
    saved.setIncludesPendingChanges(false);
    EXPECT_EQ(context->countForFetchRequest(saved), 2u);
    EXPECT_EQ(contextOn(coordinator)->countForFetchRequest(request("Book")), 3u);
}

TEST_F(NSManagedObjectContextTest, AChangeElsewhereCountsWhereAPredicateLooksThere) {
    NSManagedObject *a = book("a"), *b = book("b"), *jane = author("Jane"), *anne = author("Anne");
    set(a, "author", asValue(jane));
    set(b, "author", asValue(anne));
    save();
    set(anne, "name", text("Jane"));
    EXPECT_EQ(titles(*context, "author.name = 'Jane'"), (QStringList{text("a"), text("b")}));
    EXPECT_EQ(titles(*context, "author = %@", asValue(anne)), QStringList{text("b")});
    EXPECT_EQ(titles(*context, "author = %@", anne->objectID()), QStringList{text("b")});
    EXPECT_EQ(titles(*context, "author IN %@", listOf({anne, jane})), (QStringList{text("a"), text("b")}));
    const auto other = contextOn(coordinator);
    EXPECT_EQ(titles(*other, "author = %@", asValue(anne)), QStringList{text("b")}) << "of another context";
    make(*other, "Tag");
    set(other->objectWithID(a->objectID()), "title", text("A"));
    EXPECT_EQ(titles(*other, "author = %@", asValue(jane)), QStringList{text("A")});
    EXPECT_EQ(fetch(*context, request("Author", "ANY books.title = 'b'")), listOf({anne}));
    NSFetchRequest sorted = request("Book");
    sorted.setSortDescriptors(
        {NSSortDescriptor(text("author.name"), true), NSSortDescriptor(text("title"), false)});
    EXPECT_EQ(fetch(*context, sorted), listOf({b, a}));
}

TEST_F(NSManagedObjectContextTest, OrderLimitAndOffsetHoldWithAndWithoutUnsavedChanges) {
    for (int i = 0; i < 10; ++i)
        book(QByteArray::number(i).constData(), 10 - i);
    NSFetchRequest asked = request("Book", "pages < 9");
    asked.setSortDescriptors({NSSortDescriptor(text("pages"), true)});
    asked.setFetchOffset(1);
    asked.setFetchLimit(3);
    const auto pages = [&] {
        QList<int> found;
        for (const QVariantList books = fetch(*context, asked); const QVariant &each : books)
            found << valueOf(NSManagedObject::from(each), "pages").toInt();
        return found;
    };
    EXPECT_EQ(pages(), (QList<int>{2, 3, 4}));
    save();
    EXPECT_EQ(pages(), (QList<int>{2, 3, 4}));
    asked.setPredicate(NSPredicate::predicateWithBlock([](const QVariant &object, const QVariantMap &) {
        return valueOf(NSManagedObject::from(object), "pages").toInt() < 9;
    }));
    EXPECT_EQ(pages(), (QList<int>{2, 3, 4})) << "a block is evaluated in memory";
    asked.setFetchOffset(100);
    EXPECT_TRUE(pages().isEmpty());
}

TEST_F(NSManagedObjectContextTest, ResultsAreObjectsIdentifiersDictionariesOrANumber) {
    NSManagedObject *jane = author("Jane"), *a = book("a", 1), *b = book("b", 1);
    set(a, "author", asValue(jane));
    for (int round = 0; round < 2; ++round) {
        NSFetchRequest asked = request("Book");
        asked.setSortDescriptors({NSSortDescriptor(text("title"), true)});
        asked.setResultType(NSFetchRequestResultType::ManagedObjectIDs);
        EXPECT_EQ(fetch(*context, asked),
                  (QVariantList{QVariant::fromValue(a->objectID()), QVariant::fromValue(b->objectID())}));
        asked.setResultType(NSFetchRequestResultType::Count);
        EXPECT_EQ(fetch(*context, asked), QVariantList{quint64(2)});
        asked.setResultType(NSFetchRequestResultType::Dictionaries);
        asked.setPropertiesToFetch({text("title"), text("author"), text("author.name")});
        EXPECT_EQ(fetch(*context, asked),
                  (QVariantList{QVariantMap{{text("title"), text("a")},
                                            {text("author"), QVariant::fromValue(jane->objectID())},
                                            {text("author.name"), text("Jane")}},
                                QVariantMap{{text("title"), text("b")}}}));
        asked.setPropertiesToFetch({text("pages")});
        asked.setReturnsDistinctResults(true);
        EXPECT_EQ(fetch(*context, asked), (QVariantList{QVariantMap{{text("pages"), 1}}}));
        asked.setPropertiesToFetch({});
        asked.setFetchLimit(1);
        EXPECT_EQ(fetch(*context, asked),
                  (QVariantList{QVariantMap{{text("title"), text("a")}, {text("pages"), 1}}}));
        save();
    }
}

TEST_F(NSManagedObjectContextTest, ObjectsOfABatchAreReadTogether) {
    for (int i = 0; i < 10; ++i)
        book("a", i + 1);
    save();
    const auto other = contextOn(coordinator);
    NSFetchRequest asked = request("Book");
    asked.setSortDescriptors({NSSortDescriptor(text("pages"), true)});
    asked.setFetchBatchSize(4);
    const QVariantList books = fetch(*other, asked);
    ASSERT_EQ(books.size(), 10);
    const auto faults = [&] {
        return std::count_if(books.begin(), books.end(),
                             [](const QVariant &each) { return NSManagedObject::from(each)->isFault(); });
    };
    EXPECT_EQ(faults(), 10);
    EXPECT_EQ(valueOf(NSManagedObject::from(books[5]), "pages"), QVariant(6));
    EXPECT_EQ(faults(), 6) << "the second four";
    valueOf(NSManagedObject::from(books[9]), "pages");
    EXPECT_EQ(faults(), 4) << "the last two";
}

TEST_F(NSManagedObjectContextTest, PrefetchedRelationshipsAreRead) {
    NSManagedObject *a = book("a"), *jane = author("Jane"), *tag = make("Tag");
    set(a, "author", asValue(jane));
    set(jane, "books", setOf({a}));
    set(a, "tags", setOf({tag}));
    save();
    const auto other = contextOn(coordinator);
    NSFetchRequest asked = request("Author");
    asked.setRelationshipKeyPathsForPrefetching({text("books.tags")});
    NSManagedObject *found = NSManagedObject::from(fetch(*other, asked).value(0));
    EXPECT_FALSE(found->hasFaultForRelationshipNamed(text("books")));
    EXPECT_FALSE(other->objectWithID(a->objectID())->isFault());
    EXPECT_FALSE(other->objectWithID(tag->objectID())->isFault());
}

TEST_F(NSManagedObjectContextTest, AFetchTakesOverNewerRowsOfUnchangedObjects) {
    NSManagedObject *a = book("a"), *b = book("b");
    save();
    const auto other = contextOn(coordinator);
    set(other->objectWithID(a->objectID()), "title", text("A"));
    set(other->objectWithID(b->objectID()), "title", text("B"));
    save(*other);
    set(b, "title", text("mine"));
    EXPECT_EQ(fetch(*context, request("Book")).size(), 2);
    EXPECT_EQ(valueOf(a, "title"), QVariant(text("A")));
    EXPECT_EQ(valueOf(b, "title"), QVariant(text("mine")));
}

TEST_F(NSManagedObjectContextTest, RefreshingGivesUpOrKeepsChanges) {
    NSManagedObject *a = book("a", 1);
    save();
    const auto other = contextOn(coordinator);
    set(other->objectWithID(a->objectID()), "pages", 2);
    save(*other);
    set(a, "title", text("mine"));
    context->refreshObject(a, true);
    EXPECT_EQ(valueOf(a, "title"), QVariant(text("mine")));
    EXPECT_EQ(valueOf(a, "pages"), QVariant(2));
    EXPECT_TRUE(a->isUpdated());
    context->refreshObject(a, false);
    EXPECT_TRUE(a->isFault());
    EXPECT_FALSE(a->hasChanges());
    EXPECT_EQ(valueOf(a, "title"), QVariant(text("a")));
}

TEST_F(NSManagedObjectContextTest, ResetDestroysTheObjects) {
    const QPointer<NSManagedObject> a = book("a");
    save();
    book("b");
    context->reset();
    EXPECT_TRUE(a.isNull());
    EXPECT_FALSE(context->hasChanges());
    EXPECT_TRUE(context->registeredObjects().isEmpty());
    EXPECT_EQ(titles(*context), QStringList{text("a")});
}

TEST_F(NSManagedObjectContextTest, UnusedValuesAreGivenBackUnlessTheContextRetainsThem) {
    NSManagedObject *a = make("Tag", {{text("word"), text("a")}}),
                    *b = make("Tag", {{text("word"), text("b")}});
    NSManagedObject *memory = make("Book", {{text("note"), text("only here")}});
    save();
    EXPECT_FALSE(context->retainsRegisteredObjects());
    const auto saveAnother = [&] {
        make("Tag");
        save();
    };
    saveAnother();
    EXPECT_TRUE(a->isFault());
    EXPECT_EQ(valueOf(a, "word"), QVariant(text("a")));
    saveAnother();
    EXPECT_FALSE(a->isFault()) << "it was asked for";
    EXPECT_TRUE(b->isFault());
    EXPECT_EQ(valueOf(memory, "note"), QVariant(text("only here")));
    context->setRetainsRegisteredObjects(true);
    valueOf(b, "word");
    saveAnother();
    saveAnother();
    EXPECT_FALSE(b->isFault());
}

TEST_F(NSManagedObjectContextTest, ChangesAndSavesAreAnnounced) {
    QStringList told;
    NSNotificationCenter &center = NSNotificationCenter::defaultCenter();
    QObject *registration = center.addObserverForName(
        {}, QVariant::fromValue<QObject *>(context.get()), [&](const NSNotification &each) {
            QString line = each.name();
            const QVariantMap info = each.userInfo();
            for (auto at = info.begin(); at != info.end(); ++at)
                line += QStringLiteral(" %1:%2").arg(at.key()).arg(at.value().toList().size());
            told << line;
        });
    NSManagedObject *a = book("a"), *b = book("b");
    context->processPendingChanges();
    EXPECT_EQ(told, QStringList{NSManagedObjectContextObjectsDidChangeNotification + text(" inserted:2")});
    told.clear();
    save();
    EXPECT_EQ(told, (QStringList{NSManagedObjectContextWillSaveNotification,
                                 NSManagedObjectContextDidSaveNotification + text(" inserted:2")}));
    told.clear();
    set(a, "title", text("A"));
    context->deleteObject(b);
    save();
    EXPECT_EQ(told,
              (QStringList{NSManagedObjectContextObjectsDidChangeNotification + text(" deleted:1 updated:1"),
                           NSManagedObjectContextWillSaveNotification,
                           NSManagedObjectContextDidSaveNotification + text(" deleted:1 updated:1")}));
    told.clear();
    set(a, "title", text("B"));
    QCoreApplication::processEvents();
    EXPECT_EQ(told, QStringList{NSManagedObjectContextObjectsDidChangeNotification + text(" updated:1")})
        << "the main thread's event loop announces changes too";
    center.removeObserver(registration);
}

TEST_F(NSManagedObjectContextTest, WhatAnObserverOfANotificationRaisesArrivesOrIsLogged) {
    NSManagedObject *a = book("a");
    save();
    NSNotificationCenter &center = NSNotificationCenter::defaultCenter();
    QObject *registration = center.addObserverForName(
        NSManagedObjectContextObjectsDidChangeNotification, {},
        [](const NSNotification &) { throw NSException(NSGenericException, text("mine")); });
    set(a, "title", text("b"));
    expectException(NSGenericException, [&] { context->rollback(); });
    EXPECT_FALSE(context->hasChanges());
    {
        const LogCapture log;
        const auto child = childOf(context);
        child->performBlock([&] { make(*child, "Tag"); });
        child->performBlockAndWait([] {});
        EXPECT_EQ(log.count(text("Exception in a block of a managed object context: mine")), 1);
    }
    center.removeObserver(registration);
}

TEST_F(NSManagedObjectContextTest, AnotherContextsSaveIsMerged) {
    NSManagedObject *a = book("a"), *b = book("b"), *jane = author("Jane");
    set(a, "author", asValue(jane));
    save();
    const auto other = contextOn(coordinator);
    const auto there = [&](NSManagedObject *object) { return other->objectWithID(object->objectID()); };
    NSNotification saved;
    NSNotificationCenter &center = NSNotificationCenter::defaultCenter();
    QObject *registration = center.addObserverForName(NSManagedObjectContextDidSaveNotification,
                                                      QVariant::fromValue<QObject *>(other.get()),
                                                      [&](const NSNotification &each) { saved = each; });
    EXPECT_EQ(valueOf(jane, "books"), setOf({a}));
    set(there(a), "title", text("A"));
    other->deleteObject(there(b));
    NSManagedObject *c = make(*other, "Book", {{text("title"), text("c")}});
    set(c, "author", asValue(there(jane)));
    set(a, "pages", 7);
    save(*other);
    center.removeObserver(registration);
    context->mergeChangesFromContextDidSaveNotification(saved);
    EXPECT_EQ(valueOf(a, "title"), QVariant(text("A")));
    EXPECT_EQ(valueOf(a, "pages"), QVariant(7)) << "own changes stay";
    EXPECT_EQ(b->managedObjectContext(), nullptr);
    EXPECT_EQ(valueOf(jane, "books"), setOf({a, context->objectWithID(c->objectID())}));
    save();
    expectException(NSInvalidArgumentException, [&] {
        context->mergeChangesFromContextDidSaveNotification(NSNotification(text("other")));
    });
}

TEST_F(NSManagedObjectContextTest, EditorsAreAskedToCommit) {
    struct Editor : NSEditor {
        bool commitEditing() override { return ++asked, isReady; }
        bool isReady = false;
        int asked = 0;
    } one, other;
    one.isReady = true;
    context->objectDidBeginEditing(&one);
    context->objectDidBeginEditing(&other);
    EXPECT_FALSE(context->commitEditing());
    other.isReady = true;
    EXPECT_TRUE(context->commitEditing());
    EXPECT_TRUE(context->commitEditing());
    EXPECT_EQ(one.asked, 1);
    EXPECT_EQ(other.asked, 2);
    context->objectDidBeginEditing(&one);
    context->objectDidEndEditing(&one);
    EXPECT_TRUE(context->commitEditing());
    EXPECT_EQ(one.asked, 1);
}

TEST_F(NSManagedObjectContextTest, WhatPointsAtAnObjectThatWasNeverSavedPointsAtNothing) {
    NSManagedObject *a = book("a"), *shelf = make("Shelf");
    set(shelf, "books", setOf({a}));
    a->setPrimitiveValue(asValue(shelf), text("shelf"));
    NSManagedObject *b = book("b");
    set(a, "sequel", asValue(b));
    context->deleteObject(shelf);
    save();
    const auto fresh = contextOn(coordinator);
    EXPECT_FALSE(valueOf(fresh->existingObjectWithID(a->objectID()), "shelf").isValid());
}

TEST_F(NSManagedObjectContextTest, AContextWithoutAStoreFailsWithErrors) {
    const auto empty = contextOn(std::make_shared<NSPersistentStoreCoordinator>(library()));
    NSError error;
    EXPECT_FALSE(empty->executeFetchRequest(request("Book"), &error));
    EXPECT_TRUE(error);
    EXPECT_FALSE(empty->countForFetchRequest(request("Book"), &error));
    EXPECT_TRUE(error);
    EXPECT_TRUE(empty->save(&error)) << "there is nothing to be saved";
    EXPECT_FALSE(error);
    make(*empty, "Book");
    EXPECT_FALSE(empty->save(&error));
    EXPECT_TRUE(error);
    EXPECT_EQ(empty->insertedObjects().size(), 1);
}

} // namespace
