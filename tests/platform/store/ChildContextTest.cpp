// SPDX-License-Identifier: MIT
#include "tests/platform/store/ContextSupport.h"

using namespace ContextSupport;

namespace {

/// A private child of the main context; both are used by the main thread, which waits for its turn in the child.
class ChildContextTest : public ContextTest {
protected:
    void inChild(const std::function<void()> &block) { child->performBlockAndWait(block); }
    NSManagedObject *there(const NSManagedObject *object) { return child->objectWithID(object->objectID()); }

    std::shared_ptr<NSManagedObjectContext> child = childOf(context);
};

TEST_F(ChildContextTest, AChildHasItsParentsCoordinatorAndModel) {
    EXPECT_EQ(child->parentContext(), context);
    EXPECT_EQ(child->persistentStoreCoordinator(), coordinator);
    EXPECT_EQ(child->managedObjectModel(), library());
    EXPECT_EQ(child->undoManager(), nullptr);
    EXPECT_TRUE(context->undoManager());
}

TEST_F(ChildContextTest, AChildSeesItsParentsUnsavedChanges) {
    NSManagedObject *saved = book("saved", 1);
    save();
    set(saved, "pages", 5);
    NSManagedObject *unsaved = book("unsaved", 6), *jane = author("Jane");
    set(unsaved, "author", asValue(jane));
    inChild([&] {
        EXPECT_EQ(titles(*child, "pages >= 5"), (QStringList{text("saved"), text("unsaved")}));
        EXPECT_EQ(valueOf(there(saved), "pages"), QVariant(5));
        EXPECT_EQ(valueOf(there(unsaved), "author"), asValue(there(jane)));
        EXPECT_EQ(valueOf(there(jane), "books"), setOf({there(unsaved)}));
        EXPECT_EQ(titles(*child, "author = %@", asValue(there(jane))), QStringList{text("unsaved")});
        EXPECT_EQ(child->countForFetchRequest(request("Book")), 2u);
    });
}

TEST_F(ChildContextTest, ASaveGoesToTheParentAndIsInTheStoreAfterThatOnesSave) {
    NSManagedObject *emma = book("Emma"), *gone = book("gone"), *jane = author("Jane");
    save();
    NSManagedObjectID made;
    inChild([&] {
        set(there(emma), "title", text("EMMA"));
        set(there(emma), "author", asValue(there(jane)));
        child->deleteObject(there(gone));
        NSManagedObject *chapter = make(*child, "Chapter", {{text("heading"), text("I")}});
        set(chapter, "book", asValue(there(emma)));
        make(*child, "Tag")->addObject(there(emma), text("books"));
        made = chapter->objectID();
        EXPECT_EQ(valueOf(emma, "title"), QVariant(text("Emma"))) << "before the child is saved";
        save(*child);
        EXPECT_FALSE(child->hasChanges());
        EXPECT_TRUE(made.isTemporaryID());
    });
    EXPECT_EQ(valueOf(emma, "title"), QVariant(text("EMMA")));
    EXPECT_EQ(valueOf(emma, "author"), asValue(jane));
    EXPECT_EQ(valueOf(jane, "books"), setOf({emma}));
    EXPECT_TRUE(gone->isDeleted());
    NSManagedObject *chapter = context->objectRegisteredForID(made);
    ASSERT_TRUE(chapter);
    EXPECT_TRUE(chapter->isInserted());
    EXPECT_EQ(valueOf(emma, "chapters"), QVariant(listOf({chapter})));
    EXPECT_EQ(valueOf(emma, "tags").value<NSSet>().size(), 1);
    EXPECT_EQ(contextOn(coordinator)->countForFetchRequest(request("Chapter")), 0u);
    save();
    EXPECT_FALSE(made.isTemporaryID());
    const auto fresh = contextOn(coordinator);
    EXPECT_EQ(titles(*fresh), QStringList{text("EMMA")});
    EXPECT_EQ(valueOf(fresh->objectWithID(made), "book"), asValue(fresh->objectWithID(emma->objectID())));
    inChild([&] {
        EXPECT_EQ(valueOf(child->objectWithID(made), "heading"), QVariant(text("I")));
        set(child->objectWithID(made), "heading", text("II"));
        save(*child);
    });
    EXPECT_EQ(valueOf(chapter, "heading"), QVariant(text("II")));
    EXPECT_TRUE(chapter->isUpdated());
}

TEST_F(ChildContextTest, AChangeOfWhatTheParentHasDeletedIsAConflict) {
    NSManagedObject *emma = book("Emma");
    save();
    inChild([&] { set(there(emma), "title", text("EMMA")); });
    context->deleteObject(emma);
    inChild([&] {
        NSError error;
        EXPECT_FALSE(child->save(&error));
        EXPECT_EQ(error.code(), NSManagedObjectMergeError);
        child->setMergePolicy(NSMergeByPropertyObjectTrumpMergePolicy);
        save(*child);
        EXPECT_EQ(there(emma)->isFault(), true);
    });
    EXPECT_TRUE(emma->isDeleted());
}

TEST_F(ChildContextTest, AnInvalidChildIsNotSaved) {
    inChild([&] {
        set(make(*child, "Book"), "pages", 0);
        NSError error;
        EXPECT_FALSE(child->save(&error));
        EXPECT_EQ(error.code(), NSValidationNumberTooSmallError);
    });
    EXPECT_FALSE(context->hasChanges());
}

TEST_F(ChildContextTest, AGrandchildsObjectsComeDownToTheStore) {
    const auto grandchild = childOf(child);
    NSManagedObjectID id;
    grandchild->performBlockAndWait([&] {
        NSManagedObject *made = make(*grandchild, "Book", {{text("title"), text("deep")}});
        id = made->objectID();
        save(*grandchild);
    });
    inChild([&] {
        EXPECT_TRUE(child->objectRegisteredForID(id)->isInserted());
        save(*child);
    });
    save();
    EXPECT_EQ(titles(*contextOn(coordinator)), QStringList{text("deep")});
    grandchild->performBlockAndWait(
        [&] { EXPECT_EQ(valueOf(grandchild->objectWithID(id), "title"), QVariant(text("deep"))); });
}

TEST_F(ChildContextTest, WhatAChildSavesCanBeUndoneInTheParent) {
    NSManagedObject *emma = book("Emma");
    save();
    inChild([&] {
        set(there(emma), "title", text("EMMA"));
        make(*child, "Tag");
        save(*child);
    });
    context->undo();
    EXPECT_EQ(valueOf(emma, "title"), QVariant(text("Emma")));
    EXPECT_TRUE(context->insertedObjects().isEmpty());
}

} // namespace
