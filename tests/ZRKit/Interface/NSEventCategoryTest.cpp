// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSEvent+ZRKit.h"

#include "platform/interface/NSApplication.h"

#include <QLineEdit>
#include <QTest>
#include <gtest/gtest.h>

namespace {

/// The modifier keys that are down, each a letter.
std::string keysDown() {
    std::string keys;
    if (ZRKit::zrCapsLockKeyIsDown())
        keys += 'l';
    if (ZRKit::zrShiftKeyIsDown())
        keys += 's';
    if (ZRKit::zrControlKeyIsDown())
        keys += 'c';
    if (ZRKit::zrOptionKeyIsDown())
        keys += 'o';
    if (ZRKit::zrCommandKeyIsDown())
        keys += 'm';
    return keys;
}

} // namespace

// The program's first test: those after it have events.
TEST(NSEventCategory, WithoutACurrentEventNoKeyIsDown) {
    ASSERT_TRUE(NSApplication::sharedApplication().currentEvent().isNil());
    EXPECT_EQ(keysDown(), "");
}

TEST(NSEventCategory, OnlyTheKeysThatAreHeldAreDown) {
    QLineEdit field;
    QTest::keyPress(&field, Qt::Key_A, Qt::ShiftModifier);
    EXPECT_EQ(keysDown(), "s");
    QTest::keyPress(&field, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(keysDown(), "c");
    QTest::mouseClick(&field, Qt::LeftButton, Qt::AltModifier);
    EXPECT_EQ(keysDown(), "o");
    QTest::keyPress(&field, Qt::Key_A, Qt::MetaModifier);
    EXPECT_EQ(keysDown(), "m");
    QTest::keyPress(&field, Qt::Key_A,
                    Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    EXPECT_EQ(keysDown(), "scom");
    QTest::keyRelease(&field, Qt::Key_A);
    EXPECT_EQ(keysDown(), "");
}

TEST(NSEventCategory, AModifierKeyItselfIsDownFromItsPressToItsRelease) {
    QLineEdit field;
    QTest::keyPress(&field, Qt::Key_Shift);
    EXPECT_EQ(keysDown(), "s");
    QTest::keyRelease(&field, Qt::Key_Shift, Qt::ShiftModifier);
    EXPECT_EQ(keysDown(), "");
}
