// SPDX-License-Identifier: MIT
#include "platform/store/NSUndoManager.h"

#include "tests/support/Expect.h"

namespace {

/// A number whose changes can be undone.
class NSUndoManagerTest : public testing::Test {
protected:
    void set(int value) {
        const int before = number;
        number = value;
        manager.registerUndoWithTarget(&target, [this, before] { set(before); });
    }

    NSUndoManager manager;
    QObject target;
    int number = 0;
};

TEST_F(NSUndoManagerTest, StepsAreUndoneAndRedoneOneByOne) {
    EXPECT_FALSE(manager.canUndo());
    set(1);
    set(2);
    manager.undo();
    EXPECT_EQ(number, 1);
    EXPECT_TRUE(manager.canRedo());
    manager.undo();
    EXPECT_EQ(number, 0);
    EXPECT_FALSE(manager.canUndo());
    manager.undo();
    manager.redo();
    manager.redo();
    manager.redo();
    EXPECT_EQ(number, 2);
    EXPECT_FALSE(manager.canRedo());
}

TEST_F(NSUndoManagerTest, AGroupIsOneStepAndGroupsInsideBelongToIt) {
    manager.beginUndoGrouping();
    set(1);
    manager.beginUndoGrouping();
    set(2);
    EXPECT_EQ(manager.groupingLevel(), 2);
    expectException(NSInternalInconsistencyException, [&] { manager.undo(); });
    manager.endUndoGrouping();
    manager.endUndoGrouping();
    manager.undo();
    EXPECT_EQ(number, 0);
    manager.redo();
    EXPECT_EQ(number, 2);
    expectException(NSInternalInconsistencyException, [&] { manager.endUndoGrouping(); });
}

TEST_F(NSUndoManagerTest, AnOpenGroupIsClosedByUndo) {
    manager.beginUndoGrouping();
    set(1);
    manager.undo();
    EXPECT_EQ(number, 0);
    EXPECT_EQ(manager.groupingLevel(), 0);
}

TEST_F(NSUndoManagerTest, AnEmptyGroupLeavesNothing) {
    manager.beginUndoGrouping();
    manager.endUndoGrouping();
    EXPECT_FALSE(manager.canUndo());
}

TEST_F(NSUndoManagerTest, ANewStepEndsRedoing) {
    set(1);
    manager.undo();
    set(5);
    EXPECT_FALSE(manager.canRedo());
    manager.undo();
    EXPECT_EQ(number, 0);
}

TEST_F(NSUndoManagerTest, TheOldestGroupsAreForgottenBeyondTheLevels) {
    manager.setLevelsOfUndo(2);
    for (int i = 1; i <= 5; ++i)
        set(i);
    manager.undo();
    manager.undo();
    EXPECT_FALSE(manager.canUndo());
    EXPECT_EQ(number, 3);
    manager.redo();
    manager.redo();
    EXPECT_EQ(number, 5);
    manager.setLevelsOfUndo(1);
    manager.undo();
    EXPECT_FALSE(manager.canUndo());
}

TEST_F(NSUndoManagerTest, RegistrationIsTurnedOffAndOn) {
    manager.disableUndoRegistration();
    manager.disableUndoRegistration();
    manager.enableUndoRegistration();
    EXPECT_FALSE(manager.isUndoRegistrationEnabled());
    set(1);
    manager.enableUndoRegistration();
    EXPECT_FALSE(manager.canUndo());
    expectException(NSInternalInconsistencyException, [&] { manager.enableUndoRegistration(); });
}

TEST_F(NSUndoManagerTest, NamesGoWithTheirGroups) {
    set(1);
    manager.setActionName(QStringLiteral("one"));
    set(2);
    manager.setActionName(QStringLiteral("two"));
    EXPECT_EQ(manager.undoActionName(), QStringLiteral("two"));
    EXPECT_TRUE(manager.redoActionName().isNull());
    manager.undo();
    EXPECT_EQ(manager.undoActionName(), QStringLiteral("one"));
    EXPECT_EQ(manager.redoActionName(), QStringLiteral("two"));
}

TEST_F(NSUndoManagerTest, ATargetsStepsAreRemoved) {
    QObject other;
    set(1);
    manager.registerUndoWithTarget(&other, [] { FAIL(); });
    manager.removeAllActionsWithTarget(&other);
    manager.undo();
    EXPECT_EQ(number, 0);
    manager.removeAllActions();
    EXPECT_FALSE(manager.canRedo());
}

TEST_F(NSUndoManagerTest, AStepThatRaisesEndsTheUndoAndTheManagerGoesOn) {
    manager.registerUndoWithTarget(&target,
                                   [] { throw NSException(NSGenericException, QStringLiteral("no")); });
    expectException(NSGenericException, [&] { manager.undo(); });
    EXPECT_FALSE(manager.isUndoing());
    set(1);
    manager.undo();
    EXPECT_EQ(number, 0);
}

} // namespace
