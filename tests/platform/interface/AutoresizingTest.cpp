// SPDX-License-Identifier: MIT
#include "platform/interface/NSView.h"

#include <QPushButton>
#include <QVBoxLayout>
#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <random>

namespace {

/// One axis by the definition, written as the definition is: three lengths, some of which are flexible.
std::array<double, 3> shared(std::array<double, 3> lengths, unsigned flexibleBits, double change) {
    double sum = 0;
    int count = 0;
    for (int i = 0; i < 3; ++i)
        if (flexibleBits >> i & 1) {
            sum += lengths[size_t(i)];
            ++count;
        }
    if (!count) {
        lengths[2] += change;
        return lengths;
    }
    const std::array<double, 3> before = lengths;
    for (size_t i = 0; i < 3; ++i)
        if (flexibleBits >> i & 1)
            lengths[i] += sum != 0 ? change * before[i] / sum : change / count;
    return lengths;
}

QRectF expected(const QRectF &frame, const QSizeF &before, const QSizeF &after, unsigned mask) {
    const auto x = shared({frame.x(), frame.width(), before.width() - frame.x() - frame.width()}, mask & 7,
                          after.width() - before.width());
    const auto y = shared({frame.y(), frame.height(), before.height() - frame.y() - frame.height()},
                          mask >> 3 & 7, after.height() - before.height());
    return {x[0], y[0], x[1], y[1]};
}

::testing::AssertionResult isNear(const QRectF &a, const QRectF &b, double within = 1e-9) {
    if (std::abs(a.x() - b.x()) <= within && std::abs(a.y() - b.y()) <= within &&
        std::abs(a.width() - b.width()) <= within && std::abs(a.height() - b.height()) <= within)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << a.x() << " " << a.y() << " " << a.width() << " " << a.height() << " is not " << b.x() << " "
           << b.y() << " " << b.width() << " " << b.height();
}

/// Qt's own comparison takes nearly equal numbers for equal.
bool isExactly(const QRectF &a, const QRectF &b) {
    return a.x() == b.x() && a.y() == b.y() && a.width() == b.width() && a.height() == b.height();
}

bool isOnlyOne(unsigned bits) {
    return bits == 0 || bits == 1 || bits == 2 || bits == 4;
}

} // namespace

TEST(Autoresizing, All64MasksGrowAndShrinkAsDefined) {
    const QSizeF size(400, 300);
    const QRectF frame(40.25, 30.5, 200.125, 90.75);
    for (unsigned mask = 0; mask < 64; ++mask)
        for (const QSizeF &other :
             {QSizeF(1000, 700), QSizeF(250.5, 200.25), QSizeF(401, 299), QSizeF(0, 0), QSizeF(400, 900)}) {
            NSView superview(QRectF(QPointF(), size));
            NSView view(frame, &superview);
            view.setAutoresizingMask(mask);
            superview.setFrameSize(other);
            const QRectF now = view.frame();
            EXPECT_TRUE(isNear(now, expected(frame, size, other, mask))) << mask;
            // One flexible part takes the change exactly.
            if (isOnlyOne(mask & 7) && isOnlyOne(mask >> 3)) {
                EXPECT_TRUE(isExactly(now, expected(frame, size, other, mask))) << mask;
            }
        }
}

TEST(Autoresizing, PartsWithoutAnyLengthShareTheChangeEqually) {
    for (unsigned mask = 0; mask < 64; ++mask) {
        NSView superview(QRectF(0, 0, 0, 0));
        NSView view(QRectF(0, 0, 0, 0), &superview);
        view.setAutoresizingMask(mask);
        superview.setFrameSize(QSizeF(90, 60));
        EXPECT_TRUE(isNear(view.frame(), expected(QRectF(), QSizeF(0, 0), QSizeF(90, 60), mask))) << mask;
    }
}

TEST(Autoresizing, NoMaskDriftsInAThousandResizesBackAndForth) {
    const QRectF frame(10.1, 20.2, 100.3, 50.7);
    for (unsigned mask = 0; mask < 64; ++mask) {
        NSView superview(QRectF(0, 0, 300.9, 200.4));
        NSView view(frame, &superview);
        view.setAutoresizingMask(mask);
        std::mt19937 random(mask);
        std::uniform_real_distribution<double> side(0, 2000);
        for (int i = 0; i < 1000; ++i)
            superview.setFrameSize(QSizeF(side(random), side(random)));
        superview.setFrameSize(QSizeF(300.9, 200.4));
        EXPECT_TRUE(isExactly(view.frame(), frame)) << mask;
    }
}

TEST(Autoresizing, WhatShrankBelowNothingIsNegativeAndComesBack) {
    NSView superview(QRectF(0, 0, 200, 100));
    NSView view(QRectF(50, 0, 100, 100), &superview);
    view.setAutoresizingMask(NSViewWidthSizable);
    superview.setFrameSize(QSizeF(60, 100));
    EXPECT_TRUE(isExactly(view.frame(), QRectF(50, 0, -40, 100)));
    EXPECT_EQ(view.width(), 0);
    superview.setFrameSize(QSizeF(200, 100));
    EXPECT_TRUE(isExactly(view.frame(), QRectF(50, 0, 100, 100)));
    EXPECT_EQ(view.geometry(), QRect(50, 0, 100, 100));
}

TEST(Autoresizing, AFrameSetInBetweenIsWhereTheNextChangeStarts) {
    NSView superview(QRectF(0, 0, 100, 100));
    NSView view(QRectF(10, 10, 80, 80), &superview);
    view.setAutoresizingMask(NSViewWidthSizable | NSViewMinXMargin);
    superview.setFrameSize(QSizeF(190, 100));
    EXPECT_TRUE(isNear(view.frame(), QRectF(20, 10, 160, 80)));
    view.setFrame(QRectF(0, 0, 100, 100));
    superview.setFrameSize(QSizeF(290, 100));
    EXPECT_TRUE(isExactly(view.frame(), QRectF(0, 0, 200, 100)));
}

TEST(Autoresizing, AMaskSetInBetweenCountsFromThere) {
    NSView superview(QRectF(0, 0, 100, 100));
    NSView view(QRectF(10, 10, 80, 80), &superview);
    superview.setFrameSize(QSizeF(150, 150));
    view.setAutoresizingMask(NSViewWidthSizable | NSViewHeightSizable);
    superview.setFrameSize(QSizeF(160, 170));
    EXPECT_TRUE(isExactly(view.frame(), QRectF(10, 10, 90, 100)));
}

TEST(Autoresizing, GoesDownTheTree) {
    NSView top(QRectF(0, 0, 100, 100));
    NSView middle(QRectF(10, 10, 80, 80), &top);
    NSView bottom(QRectF(10, 10, 60, 60), &middle);
    for (NSView *view : {&middle, &bottom})
        view->setAutoresizingMask(NSViewWidthSizable | NSViewHeightSizable);
    top.setFrameSize(QSizeF(150, 130));
    EXPECT_EQ(bottom.geometry(), QRect(10, 10, 110, 90));
    EXPECT_TRUE(isExactly(bottom.frame(), QRectF(10, 10, 110, 90)));
}

TEST(Autoresizing, ASuperviewThatQtResizesTakesItsSubviewsAlong) {
    QWidget window;
    window.resize(200, 100);
    QPushButton button(&window);
    NSViewSetFrame(&button, QRectF(10, 10, 80, 30));
    NSViewSetAutoresizingMask(&button, NSViewMinXMargin | NSViewMinYMargin);
    NSView still(QRectF(0, 0, 20, 20), &window);
    window.resize(260, 150); // hidden widgets hear of it when they are shown; frames know it at once
    EXPECT_TRUE(isExactly(NSViewFrame(&button), QRectF(70, 60, 80, 30)));
    EXPECT_EQ(button.geometry(), QRect(70, 60, 80, 30));
    window.show();
    EXPECT_EQ(still.geometry(), QRect(0, 130, 20, 20)); // the bottom left corner stays
    window.resize(210, 120);
    EXPECT_EQ(button.geometry(), QRect(20, 60, 80, 30));
    EXPECT_EQ(still.geometry(), QRect(0, 100, 20, 20));
}

TEST(Autoresizing, AWidgetThatGotNeitherFrameNorMaskStaysWhereQtPutsIt) {
    NSView superview(QRectF(0, 0, 100, 100));
    QPushButton button(&superview);
    button.setGeometry(10, 10, 50, 20);
    EXPECT_EQ(NSViewFrame(&button), QRectF(10, 70, 50, 20));
    superview.setFrameSize(QSizeF(200, 200));
    EXPECT_EQ(button.geometry(), QRect(10, 10, 50, 20));
    EXPECT_EQ(NSViewFrame(&button), QRectF(10, 170, 50, 20));
}

TEST(Autoresizing, AMaskAloneIsEnough) {
    NSView superview(QRectF(0, 0, 100, 100));
    QPushButton button(&superview);
    button.setGeometry(10, 10, 50, 20);
    NSViewSetAutoresizingMask(&button, NSViewWidthSizable);
    superview.setFrameSize(QSizeF(200, 200));
    EXPECT_TRUE(isExactly(NSViewFrame(&button), QRectF(10, 70, 150, 20)));
    EXPECT_EQ(button.geometry(), QRect(10, 110, 150, 20));
}

TEST(Autoresizing, ALayoutHasTheLastWord) {
    QWidget window;
    auto *const layout = new QVBoxLayout(&window);
    layout->setContentsMargins(5, 5, 5, 5);
    auto *const view = new NSView;
    view->setFrame(QRectF(1, 2, 30, 40));
    view->setAutoresizingMask(63);
    layout->addWidget(view);
    window.resize(200, 100);
    window.show();
    EXPECT_EQ(view->geometry(), QRect(5, 5, 190, 90));
    EXPECT_TRUE(isExactly(view->frame(), QRectF(5, 5, 190, 90)));
    window.resize(300, 150);
    EXPECT_EQ(view->geometry(), QRect(5, 5, 290, 140));
    EXPECT_TRUE(isExactly(view->frame(), QRectF(5, 5, 290, 140)));
}

TEST(Autoresizing, AWidgetOfFixedSizeInALayoutIsNotPulledAlong) {
    QWidget window;
    auto *const layout = new QVBoxLayout(&window);
    auto *const view = new NSView;
    view->setFixedSize(20, 20);
    view->setAutoresizingMask(18);
    layout->addWidget(view, 0, Qt::AlignTop | Qt::AlignLeft);
    window.resize(200, 100);
    window.show();
    const QRect before = view->geometry();
    window.resize(300, 150);
    EXPECT_EQ(view->geometry(), before);
    EXPECT_EQ(view->frame().y(), 150 - before.y() - 20);
}
