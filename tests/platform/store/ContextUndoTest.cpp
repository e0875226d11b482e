// SPDX-License-Identifier: MIT
#include "tests/platform/store/ContextSupport.h"

#include <QCoreApplication>

using namespace ContextSupport;

namespace {

using ContextUndoTest = ContextTest;

TEST_F(ContextUndoTest, AnInsertionIsUndoneAndRedoneWithItsValues) {
    NSManagedObject *emma = book("Emma"), *jane = author("Jane");
    set(emma, "author", asValue(jane));
    context->undo();
    EXPECT_FALSE(context->hasChanges());
    EXPECT_EQ(emma->managedObjectContext(), nullptr);
    EXPECT_TRUE(titles(*context).isEmpty());
    context->redo();
    EXPECT_EQ(titles(*context), QStringList{text("Emma")});
    EXPECT_EQ(valueOf(emma, "author"), asValue(jane));
    EXPECT_EQ(valueOf(jane, "books"), setOf({emma}));
    save();
    EXPECT_EQ(titles(*contextOn(coordinator)), QStringList{text("Emma")});
}

TEST_F(ContextUndoTest, ChangesBetweenTwoProcessingsAreOneGroup) {
    NSManagedObject *emma = book("Emma", 1);
    context->processPendingChanges();
    set(emma, "title", text("b"));
    set(emma, "pages", 2);
    QCoreApplication::processEvents();
    set(emma, "title", text("c"));
    context->undo();
    EXPECT_EQ(valueOf(emma, "title"), QVariant(text("b")));
    context->undo();
    EXPECT_EQ(valueOf(emma, "title"), QVariant(text("Emma")));
    EXPECT_EQ(valueOf(emma, "pages"), QVariant(1));
    context->redo();
    context->redo();
    EXPECT_EQ(valueOf(emma, "title"), QVariant(text("c")));
    EXPECT_EQ(valueOf(emma, "pages"), QVariant(2));
    EXPECT_FALSE(context->undoManager()->canRedo());
}

TEST_F(ContextUndoTest, ADeletionIsUndoneWithAllThatItDid) {
    NSManagedObject *emma = book("Emma"), *jane = author("Jane"), *one = make("Chapter"),
                    *two = make("Chapter");
    set(emma, "author", asValue(jane));
    set(emma, "chapters", listOf({one, two}));
    save();
    context->deleteObject(emma);
    EXPECT_EQ(context->deletedObjects().size(), 3);
    context->undo();
    EXPECT_TRUE(context->deletedObjects().isEmpty());
    EXPECT_EQ(valueOf(jane, "books"), setOf({emma}));
    EXPECT_EQ(valueOf(emma, "chapters"), QVariant(listOf({one, two})));
    context->redo();
    EXPECT_EQ(context->deletedObjects().size(), 3);
    EXPECT_EQ(valueOf(jane, "books"), setOf({}));
    context->undo();
    save();
    EXPECT_EQ(contextOn(coordinator)->countForFetchRequest(request("Chapter")), 2u);
}

TEST_F(ContextUndoTest, AnOrderAndAPlaceComeBack) {
    NSManagedObject *emma = book("Emma"), *a = make("Chapter"), *b = make("Chapter"), *c = make("Chapter");
    set(emma, "chapters", listOf({a, b, c}));
    save();
    emma->removeObject(b, text("chapters"));
    context->undo();
    EXPECT_EQ(valueOf(emma, "chapters"), QVariant(listOf({a, b, c})));
    set(emma, "chapters", listOf({c, a}));
    context->undo();
    EXPECT_EQ(valueOf(emma, "chapters"), QVariant(listOf({a, b, c})));
    EXPECT_EQ(valueOf(b, "book"), asValue(emma));
}

TEST_F(ContextUndoTest, ASavedChangeAndASavedInsertionAreUndoneInTheStoreToo) {
    NSManagedObject *emma = book("Emma");
    save();
    set(emma, "title", text("b"));
    save();
    context->undo();
    EXPECT_EQ(valueOf(emma, "title"), QVariant(text("Emma")));
    EXPECT_TRUE(emma->isUpdated());
    save();
    EXPECT_EQ(titles(*contextOn(coordinator)), QStringList{text("Emma")});
    context->undo();
    EXPECT_TRUE(emma->isDeleted());
    save();
    EXPECT_TRUE(titles(*contextOn(coordinator)).isEmpty());
}

TEST_F(ContextUndoTest, ARollbackAndAResetForgetAll) {
    const auto canUndo = [&] { return context->undoManager()->canUndo(); };
    book("c");
    context->processPendingChanges();
    context->rollback();
    EXPECT_FALSE(canUndo());
    book("d");
    context->processPendingChanges();
    context->reset();
    EXPECT_FALSE(canUndo());
    context->undo();
}

TEST_F(ContextUndoTest, ASavedDeletionIsUndoneAsANewObjectWithAllItsRelationships) {
    NSManagedObject *emma = book("Emma"), *jane = author("Jane"), *one = make("Chapter"),
                    *two = make("Chapter"), *tag = make("Tag"), *shelf = make("Shelf");
    set(emma, "author", asValue(jane));
    set(emma, "chapters", listOf({one, two}));
    set(emma, "tags", setOf({tag}));
    set(emma, "shelf", asValue(shelf));
    save();
    context->reset();
    emma = NSManagedObject::from(fetch(*context, request("Book")).value(0));
    jane = NSManagedObject::from(valueOf(emma, "author"));
    tag = NSManagedObject::from(fetch(*context, request("Tag")).value(0));
    const NSManagedObjectID before = emma->objectID();
    context->deleteObject(jane);
    context->deleteObject(emma);
    save();
    EXPECT_EQ(emma->managedObjectContext(), nullptr);
    context->undo();
    EXPECT_TRUE(emma->isInserted());
    EXPECT_NE(emma->objectID(), before);
    EXPECT_EQ(context->objectWithID(before), emma);
    EXPECT_EQ(valueOf(emma, "author"), asValue(jane));
    EXPECT_EQ(valueOf(jane, "books"), setOf({emma}));
    save();
    const auto fresh = contextOn(coordinator);
    NSManagedObject *same = fresh->existingObjectWithID(emma->objectID());
    ASSERT_TRUE(same);
    EXPECT_EQ(valueOf(same, "title"), QVariant(text("Emma")));
    EXPECT_EQ(valueOf(NSManagedObject::from(valueOf(same, "author")), "name"), QVariant(text("Jane")));
    EXPECT_EQ(valueOf(same, "chapters").toList().size(), 2);
    EXPECT_EQ(valueOf(same, "tags"), setOf({fresh->objectWithID(tag->objectID())}));
    EXPECT_EQ(valueOf(fresh->objectWithID(tag->objectID()), "books"), setOf({same}));
    EXPECT_TRUE(valueOf(same, "shelf").isValid());
    EXPECT_EQ(fresh->countForFetchRequest(request("Chapter")), 2u);
    context->redo();
    save();
    EXPECT_EQ(contextOn(coordinator)->countForFetchRequest(request("Book")), 0u);
}

TEST_F(ContextUndoTest, StepsAreUndoneAndRedoneWithASaveAfterEach) {
    const auto stored = [&] { return titles(*contextOn(coordinator)); };
    const auto step = [&](void (NSManagedObjectContext::*way)()) {
        (context.get()->*way)();
        save();
    };
    NSManagedObject *a = book("a");
    save();
    book("b");
    save();
    set(a, "title", text("A"));
    save();
    const QList<QStringList> states{{}, {text("a")}, {text("a"), text("b")}, {text("A"), text("b")}};
    for (int round = 0; round < 2; ++round) {
        for (int i = 2; i >= 0; --i) {
            step(&NSManagedObjectContext::undo);
            EXPECT_EQ(stored(), states[i]) << i;
        }
        for (int i = 1; i <= 3; ++i) {
            step(&NSManagedObjectContext::redo);
            EXPECT_EQ(stored(), states[i]) << i;
        }
    }
}

TEST_F(ContextUndoTest, AHundredGroupsAreKept) {
    NSManagedObject *a = book("a", 1);
    for (int i = 0; i < 150; ++i) {
        set(a, "copies", i);
        context->processPendingChanges();
    }
    int undone = 0;
    while (context->undoManager()->canUndo()) {
        context->undo();
        ++undone;
    }
    EXPECT_EQ(undone, 100);
    EXPECT_EQ(valueOf(a, "copies"), QVariant(49));
}

TEST_F(ContextUndoTest, WithoutAnUndoManagerNothingIsKept) {
    context->setUndoManager(nullptr);
    book("a");
    context->undo();
    context->redo();
    EXPECT_EQ(context->insertedObjects().size(), 1);
}

} // namespace
