// SPDX-License-Identifier: MIT
#include "ZRKit/Store/NSArray+ZRCoreData.h"
#include "ZRKit/Store/NSArrayController+ZRKit.h"
#include "ZRKit/Store/NSManagedObject+ZRKit.h"
#include "ZRKit/Store/ZRCoreData.h"
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "platform/operations/NSRunLoop.h"
#include "platform/store/NSCoreDataErrors.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNotificationCenter.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "tests/ZRKit/Store/StoreSupport.h"
#include "tests/support/Expect.h"

#include <atomic>

using namespace Qt::StringLiterals;
using namespace ZRKit;

namespace {

QVariant asValue(NSManagedObject *object) {
    return QVariant::fromValue<QObject *>(object);
}

class StoreCategories : public StoreSupport {
protected:
    StoreCategories() : data(path("a.db")), moc(data.context()) {}

    NSManagedObject *note(const QString &title) {
        NSManagedObject *made = object(*moc, u"Note"_s);
        made->setValueForKey(title, u"title"_s);
        return made;
    }
    /// A context on a coordinator without a store: all that it is asked for fails.
    std::shared_ptr<NSManagedObjectContext> broken() const {
        auto context = std::make_shared<NSManagedObjectContext>(NSMainQueueConcurrencyType);
        context->setPersistentStoreCoordinator(
            std::make_shared<NSPersistentStoreCoordinator>(moc->managedObjectModel()));
        return context;
    }

    ZRCoreData data;
    const std::shared_ptr<NSManagedObjectContext> moc;
};

// ---- Objects

TEST_F(StoreCategories, AClassFindsItsEntityUnderItsOwnName) {
    EXPECT_EQ(name<Note>(), u"Note"_s);
    Note *made = makeWithMOC<Note>(*moc);
    ASSERT_TRUE(made);
    EXPECT_EQ(made->title(), u"new"_s);
    EXPECT_EQ(made->managedObjectContext(), moc.get());
    note(u"other"_s);
    EXPECT_EQ(fetchWithMOC<Note>(*moc, {})->size(), 2);
    EXPECT_EQ(fetchWithMOC<Note>(*moc, NSPredicate::predicateWithFormat(u"title = 'new'"_s)),
              QVariantList{asValue(made)});
    expectException(NSInvalidArgumentException, [&] { makeWithMOC<NSManagedObject>(*moc); });
}

TEST_F(StoreCategories, AnIdentifiersTextIsItsURI) {
    NSManagedObject *made = note(u"a"_s);
    EXPECT_TRUE(zr_save(*moc));
    EXPECT_EQ(objectIDString(*made), QString::fromLatin1(made->objectID().URIRepresentation().toEncoded()));
    EXPECT_EQ(NSKeyValueCoding::valueForKeyPath(made, u"objectID.URIRepresentation.absoluteString"_s),
              QVariant(objectIDString(*made)));
}

// ---- Fetching

TEST_F(StoreCategories, AFetchOfNothingIsEmptyNotNone) {
    EXPECT_EQ(fetch(*moc, u"Note"_s, NSPredicate()), QVariantList());
    EXPECT_EQ(fetchAll(*moc, u"Note"_s), QVariantList());
    expectException(NSInvalidArgumentException, [&] { fetch(*moc, u"Weather"_s, NSPredicate()); });
    expectException(NSInvalidArgumentException, [&] { count(*moc, u"Weather"_s, {}); });
    EXPECT_TRUE(shown().isEmpty());
}

TEST_F(StoreCategories, ASetupBlockIsCalledOnceAndShapesTheRequest) {
    for (const QString &title : {u"b"_s, u"c"_s, u"a"_s})
        note(title);
    int calls = 0;
    const auto found = fetch(*moc, u"Note"_s, [&](NSFetchRequest &request) {
        ++calls;
        EXPECT_EQ(request.entityName(), u"Note"_s);
        request.setSortDescriptors({NSSortDescriptor(u"title"_s, true)});
        request.setFetchLimit(2);
    });
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(NSKeyValueCoding::valueForKey(QVariant(*found), u"title"_s),
              QVariant(QVariantList{u"a"_s, u"b"_s}));
}

TEST_F(StoreCategories, AFailedFetchIsShownOnceAndGivesNone) {
    const auto context = broken();
    EXPECT_FALSE(fetch(*context, u"Note"_s, NSPredicate()));
    EXPECT_EQ(shown().size(), 1);
    EXPECT_FALSE(fetch(*context, u"Note"_s, [](NSFetchRequest &) {}));
    EXPECT_EQ(shown().size(), 1);
    EXPECT_EQ(count(*context, u"Note"_s, {}), 0u);
    EXPECT_EQ(shown().size(), 1);
    deleteAll(*context, u"Note"_s);
    EXPECT_EQ(shown().size(), 1);
}

TEST_F(StoreCategories, CountingWithoutAPredicateCountsAllRows) {
    note(u"a"_s);
    note(u"b"_s);
    EXPECT_TRUE(zr_save(*moc));
    EXPECT_EQ(count(*moc, u"Note"_s, {}), 2u);
    EXPECT_EQ(count(*moc, u"Note"_s, NSPredicate::predicateWithFormat(u"title > 'a'"_s)), 1u);
}

// ---- Saving

TEST_F(StoreCategories, SavingAnUnchangedContextDoesNotTouchTheStore) {
    int saves = 0;
    NSNotificationCenter &center = NSNotificationCenter::defaultCenter();
    QObject *registration =
        center.addObserverForName(NSManagedObjectContextWillSaveNotification, asValue(nullptr),
                                  [&](const NSNotification &) { ++saves; });
    EXPECT_TRUE(zr_save(*moc));
    EXPECT_EQ(saves, 0);
    EXPECT_TRUE(zr_save(*broken())) << "nothing to be saved can't fail";
    note(u"a"_s);
    EXPECT_TRUE(zr_save(*moc));
    EXPECT_EQ(saves, 1);
    center.removeObserver(registration);
    EXPECT_TRUE(shown().isEmpty());
}

TEST_F(StoreCategories, AFailedSaveIsShownOnceAndIsFalse) {
    note(u""_s);
    EXPECT_FALSE(zr_save(*moc));
    EXPECT_EQ(shown(),
              QStringList{NSCocoaErrorDomain + u' ' + QString::number(NSValidationStringTooShortError)});
    EXPECT_TRUE(moc->hasChanges());
}

class SavingAll : public StoreCategories {
protected:
    SavingAll() {
        m_registration = NSNotificationCenter::defaultCenter().addObserverForName(
            NSManagedObjectContextDidSaveNotification, QVariant::fromValue<QObject *>(moc.get()),
            [this](const NSNotification &) { parentIsSaved = true; });
    }
    ~SavingAll() override { NSNotificationCenter::defaultCenter().removeObserver(m_registration); }
    bool waitForParent() {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!parentIsSaved && std::chrono::steady_clock::now() < end)
            NSRunLoop::mainRunLoop().runUntilDate(0.01);
        return parentIsSaved;
    }

    const std::shared_ptr<NSManagedObjectContext> child = submoc(*moc);
    std::atomic<bool> parentIsSaved = false;

private:
    QObject *m_registration = nullptr;
};

TEST_F(SavingAll, TheChildIsSavedAndThenTheParentWithoutWaiting) {
    child->performBlock([this] {
        object(*child, u"Note"_s);
        saveAll(*child);
    });
    child->performBlockAndWait([] {});
    EXPECT_TRUE(waitForParent());
    ZRCoreData other(path("a.db"));
    EXPECT_EQ(other.fetchAll(u"Note"_s)->size(), 1);
    EXPECT_TRUE(shown().isEmpty());
}

TEST_F(SavingAll, AChildThatCanNotBeSavedStillHasItsParentSaved) {
    note(u"parent's"_s);
    child->performBlock([this] {
        object(*child, u"Note"_s)->setValueForKey(u""_s, u"title"_s);
        saveAll(*child);
    });
    child->performBlockAndWait([] {});
    EXPECT_TRUE(waitForParent());
    ZRCoreData other(path("a.db"));
    EXPECT_EQ(other.fetchAll(u"Note"_s)->size(), 1);
    EXPECT_EQ(shown(),
              QStringList{NSCocoaErrorDomain + u' ' + QString::number(NSValidationStringTooShortError)});
}

TEST_F(SavingAll, WhatTheChildsSaveRaisesIsSwallowedAndTheParentIsSaved) {
    QObject *registration = NSNotificationCenter::defaultCenter().addObserverForName(
        NSManagedObjectContextWillSaveNotification, QVariant::fromValue<QObject *>(child.get()),
        [](const NSNotification &) { throw NSException(NSGenericException, u"no"_s); });
    child->performBlockAndWait([this] { saveAll(*child); });
    EXPECT_TRUE(waitForParent());
    NSNotificationCenter::defaultCenter().removeObserver(registration);
    EXPECT_TRUE(shown().isEmpty());
}

TEST_F(SavingAll, AParentThatCanNotBeSavedIsShown) {
    note(u""_s);
    child->performBlockAndWait([this] { saveAll(*child); });
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (presenter->shown.isEmpty() && std::chrono::steady_clock::now() < end)
        NSRunLoop::mainRunLoop().runUntilDate(0.01);
    EXPECT_EQ(shown().size(), 1);
    EXPECT_FALSE(parentIsSaved);
}

TEST_F(SavingAll, AContextWithoutAParentSavesItself) {
    note(u"a"_s);
    saveAll(*moc);
    EXPECT_FALSE(moc->hasChanges());
    EXPECT_TRUE(parentIsSaved);
}

// ---- Identifiers

TEST_F(StoreCategories, AnIdentifiersTextGivesTheSameObject) {
    NSManagedObject *made = note(u"a"_s);
    EXPECT_TRUE(zr_save(*moc));
    EXPECT_EQ(objectForID(*moc, objectIDString(*made)), made);
    const auto child = submoc(*moc);
    child->performBlockAndWait([&] {
        NSManagedObject *there = objectForID(*child, objectIDString(*made));
        ASSERT_TRUE(there);
        EXPECT_EQ(there->objectID(), made->objectID());
    });
}

TEST_F(StoreCategories, OtherTextsGiveNoObjectAndNothingIsShown) {
    NSManagedObject *made = note(u"a"_s);
    EXPECT_TRUE(zr_save(*moc));
    ZRCoreData other(path("b.db"));
    NSManagedObject *foreign = other.object(u"Note"_s);
    EXPECT_TRUE(other.save());
    for (const AnyObject &text :
         {AnyObject(NSNull()), AnyObject(), AnyObject(u""_s), AnyObject(u"nonsense"_s), AnyObject(17),
          AnyObject(u"x-zrstore://"_s), AnyObject(objectIDString(*foreign)),
          AnyObject(objectIDString(*made) + u"x"_s)})
        EXPECT_EQ(objectForID(*moc, text), nullptr) << NSDescription(text.value()).toStdString();
    EXPECT_EQ(objectForID(*broken(), objectIDString(*made)), nullptr);
    EXPECT_TRUE(shown().isEmpty());
}

TEST_F(StoreCategories, StaleIdentifiersAreSkippedAndTheOrderIsKept) {
    NSManagedObject *a = note(u"a"_s), *b = note(u"b"_s), *c = note(u"c"_s);
    EXPECT_TRUE(zr_save(*moc));
    const QVariantList texts = objectIDs({asValue(c), asValue(b), asValue(a)});
    ASSERT_EQ(texts.size(), 3);
    EXPECT_EQ(texts[0], QVariant(objectIDString(*c)));
    moc->deleteObject(b);
    EXPECT_EQ(objectsForIDs(*moc, texts), (QVariantList{asValue(c), asValue(a)}));
    EXPECT_TRUE(zr_save(*moc));
    EXPECT_EQ(objectsForIDs(*moc, texts), (QVariantList{asValue(c), asValue(a)}));
    EXPECT_EQ(objectsForIDs(*moc, QStringList{objectIDString(*a)}), QVariantList{asValue(a)});
    EXPECT_TRUE(objectsForIDs(*moc, QVariant()).isEmpty());
    EXPECT_TRUE(shown().isEmpty());
}

TEST_F(StoreCategories, IdentifiersOfNothingAreNothing) {
    EXPECT_EQ(objectIDs({}), QVariantList());
    expectException(NSUndefinedKeyException, [] { objectIDs({17}); });
}

// ---- Making and deleting

TEST_F(StoreCategories, ObjectsOfAnyCollectionAreDeleted) {
    NSManagedObject *a = note(u"a"_s), *b = note(u"b"_s), *c = note(u"c"_s);
    EXPECT_TRUE(zr_save(*moc));
    EXPECT_EQ(entity(*moc, u"Note"_s), a->entity());
    deleteObjects(*moc, QVariant::fromValue(NSSet{asValue(a)}));
    deleteObjects(*moc, QVariantList{asValue(b), asValue(b)});
    deleteObjects(*moc, QVariant());
    EXPECT_EQ(fetchAll(*moc, u"Note"_s), QVariantList{asValue(c)});
    deleteAll(*moc, u"Note"_s);
    EXPECT_EQ(moc->deletedObjects(), (QList<NSManagedObject *>{a, b, c})) << "nothing is saved";
    expectException(NSInvalidArgumentException, [&] { deleteObjects(*moc, 17); });
    expectException(NSInvalidArgumentException, [&] { deleteObjects(*moc, QVariantList{17}); });
    expectException(NSInvalidArgumentException, [&] { entity(*moc, u"Weather"_s); });
}

TEST_F(StoreCategories, ASubmocTakesTheAssociatedValuesAlong) {
    setAssociatedValues(moc.get(), QVariantMap{{u"user"_s, 7}});
    const auto child = submoc(*moc);
    EXPECT_EQ(associatedValues(child.get()), QVariant(QVariantMap{{u"user"_s, 7}}));
    EXPECT_EQ(child->parentContext(), moc);
    EXPECT_EQ(child->concurrencyType(), NSPrivateQueueConcurrencyType);
    EXPECT_EQ(child->undoManager(), nullptr);
    EXPECT_NE(submoc(*moc), child);
}

TEST_F(StoreCategories, HandlingNoErrorShowsNothing) {
    zr_handleError(*moc, {});
    EXPECT_TRUE(shown().isEmpty());
    zr_handleError(*moc, {u"Test"_s, 1});
    EXPECT_EQ(shown(), QStringList{u"Test 1"_s});
}

// ---- Controllers

TEST_F(StoreCategories, AControllerListsEveryObjectInSpiteOfItsFilter) {
    for (const QString &title : {u"b"_s, u"a"_s})
        note(title);
    const auto controller =
        arrayControllerWithMOC(moc, u"Note"_s, NSPredicate::predicateWithFormat(u"title = 'a'"_s),
                               {NSSortDescriptor(u"title"_s, true)});
    EXPECT_EQ(controller->managedObjectContext(), moc);
    EXPECT_EQ(controller->entityName(), u"Note"_s);
    EXPECT_TRUE(controller->automaticallyPreparesContent());
    EXPECT_TRUE(controller->filterPredicate().isNil());
    EXPECT_EQ(NSKeyValueCoding::valueForKey(QVariant(controller->arrangedObjects()), u"title"_s),
              QVariant(QVariantList{u"a"_s, u"b"_s}));
    controller->setFilterPredicate(NSPredicate::predicateWithFormat(u"title = 'a'"_s));
    EXPECT_EQ(controller->arrangedObjects().size(), 1);
}

TEST_F(StoreCategories, ForceLoadFetchesAllAndReportsNothing) {
    note(u"b"_s);
    note(u"a"_s);
    NSArrayController controller;
    controller.setManagedObjectContext(moc);
    controller.setEntityName(u"Note"_s);
    controller.setFetchPredicate(NSPredicate::predicateWithValue(false));
    controller.setSortDescriptors({NSSortDescriptor(u"title"_s, false)});
    forceLoad(controller);
    EXPECT_EQ(NSKeyValueCoding::valueForKey(QVariant(controller.content()), u"title"_s),
              QVariant(QVariantList{u"b"_s, u"a"_s}));
    controller.setManagedObjectContext(broken());
    forceLoad(controller);
    EXPECT_TRUE(controller.content().isEmpty());
    EXPECT_TRUE(shown().isEmpty());
}

} // namespace
