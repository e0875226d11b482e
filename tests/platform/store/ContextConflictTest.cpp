// SPDX-License-Identifier: MIT
#include "tests/platform/store/ContextSupport.h"

using namespace ContextSupport;

namespace {

/// Two contexts on one store change the same book; the first one has saved.
class ContextConflictTest : public ContextTest {
protected:
    void SetUp() override {
        mine = book("title", 1);
        set(mine, "copies", 1);
        save();
        theirs = other->objectWithID(mine->objectID());
        valueOf(mine, "title");
        set(theirs, "title", text("theirs"));
        set(theirs, "pages", 2);
    }
    void theySave() { save(*other); }
    void iChange() {
        set(mine, "title", text("mine"));
        set(mine, "copies", 3);
    }
    QVariantList stored() {
        const auto fresh = contextOn(coordinator);
        const NSManagedObject *book = fresh->existingObjectWithID(mine->objectID());
        return book ? QVariantList{valueOf(book, "title"), valueOf(book, "pages"), valueOf(book, "copies")}
                    : QVariantList();
    }
    QVariantList present() const {
        return {valueOf(mine, "title"), valueOf(mine, "pages"), valueOf(mine, "copies")};
    }

    std::shared_ptr<NSManagedObjectContext> other = contextOn(coordinator);
    NSManagedObject *mine = nullptr, *theirs = nullptr;
};

TEST_F(ContextConflictTest, TheErrorPolicyTellsAndSavesNothing) {
    theySave();
    iChange();
    NSManagedObject *more = book("more");
    NSError error;
    EXPECT_FALSE(context->save(&error));
    EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
    EXPECT_EQ(error.code(), NSManagedObjectMergeError);
    const QVariantList conflicts = error.userInfo().value(NSPersistentStoreSaveConflictsErrorKey).toList();
    ASSERT_EQ(conflicts.size(), 1);
    EXPECT_EQ(conflicts[0].toMap().value(text("object")), asValue(mine));
    EXPECT_GT(conflicts[0].toMap().value(text("newVersion")).toLongLong(),
              conflicts[0].toMap().value(text("oldVersion")).toLongLong());
    EXPECT_TRUE(more->isInserted());
    EXPECT_EQ(present(), (QVariantList{text("mine"), 1, 3}));
    EXPECT_EQ(stored(), (QVariantList{text("theirs"), 2, 1}));
    EXPECT_EQ(contextOn(coordinator)->countForFetchRequest(request("Book")), 1u);
}

TEST_F(ContextConflictTest, ObjectTrumpKeepsWhatChangedInMemory) {
    theySave();
    iChange();
    context->setMergePolicy(NSMergeByPropertyObjectTrumpMergePolicy);
    save();
    EXPECT_EQ(stored(), (QVariantList{text("mine"), 2, 3}));
    EXPECT_EQ(present(), stored());
}

TEST_F(ContextConflictTest, StoreTrumpKeepsWhatChangedInTheStore) {
    theySave();
    iChange();
    context->setMergePolicy(NSMergeByPropertyStoreTrumpMergePolicy);
    save();
    EXPECT_EQ(stored(), (QVariantList{text("theirs"), 2, 3}));
    EXPECT_EQ(present(), stored());
}

TEST_F(ContextConflictTest, OverwriteKeepsAllThatIsInMemory) {
    theySave();
    iChange();
    context->setMergePolicy(NSOverwriteMergePolicy);
    save();
    EXPECT_EQ(stored(), (QVariantList{text("mine"), 1, 3}));
    EXPECT_EQ(present(), stored());
}

TEST_F(ContextConflictTest, RollbackGivesUpTheObjectsChangesOnly) {
    theySave();
    iChange();
    NSManagedObject *more = book("more");
    context->setMergePolicy(NSRollbackMergePolicy);
    save();
    EXPECT_EQ(stored(), (QVariantList{text("theirs"), 2, 1}));
    EXPECT_EQ(present(), stored());
    EXPECT_FALSE(more->objectID().isTemporaryID());
}

TEST_F(ContextConflictTest, ADeletionAgainstAChangeGoesByThePolicy) {
    theySave();
    context->deleteObject(mine);
    NSError error;
    EXPECT_FALSE(context->save(&error));
    EXPECT_EQ(error.code(), NSManagedObjectMergeError);
    EXPECT_TRUE(mine->isDeleted());
    context->setMergePolicy(NSMergeByPropertyStoreTrumpMergePolicy);
    save();
    EXPECT_FALSE(mine->isDeleted());
    EXPECT_EQ(present(), (QVariantList{text("theirs"), 2, 1}));
    set(theirs, "pages", 5);
    theySave();
    context->setMergePolicy(NSMergeByPropertyObjectTrumpMergePolicy);
    context->deleteObject(mine);
    save();
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(ContextConflictTest, AChangeAgainstADeletionLosesUnlessItIsAnError) {
    other->rollback();
    other->deleteObject(theirs);
    theySave();
    iChange();
    NSError error;
    EXPECT_FALSE(context->save(&error));
    EXPECT_EQ(error.code(), NSManagedObjectMergeError);
    context->setMergePolicy(NSMergeByPropertyObjectTrumpMergePolicy);
    save();
    EXPECT_EQ(mine->managedObjectContext(), nullptr);
    EXPECT_TRUE(stored().isEmpty());
    EXPECT_FALSE(context->hasChanges());
}

TEST_F(ContextConflictTest, TwoDeletionsAreOne) {
    other->rollback();
    other->deleteObject(theirs);
    theySave();
    context->deleteObject(mine);
    context->setMergePolicy(NSMergeByPropertyObjectTrumpMergePolicy);
    save();
    EXPECT_TRUE(stored().isEmpty());
    EXPECT_FALSE(context->hasChanges());
}

TEST_F(ContextConflictTest, AMergeThatIsNotValidIsNotSaved) {
    theySave();
    context->setMergePolicy(NSMergeByPropertyStoreTrumpMergePolicy);
    set(mine, "copies", 3);
    mine->setPrimitiveValue(0, text("pages"));
    NSError error;
    EXPECT_FALSE(context->save(&error));
    EXPECT_EQ(error.code(), NSValidationNumberTooSmallError);
    EXPECT_EQ(stored(), (QVariantList{text("theirs"), 2, 1}));
}

TEST_F(ContextConflictTest, ChildrenOfOneObjectAreAddedByTwoWithoutAConflict) {
    NSManagedObject *jane = author("Jane");
    save();
    NSManagedObject *there = make(*other, "Book");
    set(there, "author", asValue(other->objectWithID(jane->objectID())));
    theySave();
    set(book("more"), "author", asValue(jane));
    save();
    const auto fresh = contextOn(coordinator);
    EXPECT_EQ(valueOf(fresh->objectWithID(jane->objectID()), "books").value<NSSet>().size(), 2);
}

} // namespace
