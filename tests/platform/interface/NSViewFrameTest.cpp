// SPDX-License-Identifier: MIT
#include "platform/interface/NSView.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <random>

namespace {

/// Qt's own comparison takes nearly equal numbers for equal.
bool isExactly(const QRectF &a, const QRectF &b) {
    return a.x() == b.x() && a.y() == b.y() && a.width() == b.width() && a.height() == b.height();
}

QRect inWindow(const QWidget &widget) {
    return {widget.mapTo(widget.window(), QPoint()), widget.size()};
}

} // namespace

TEST(NSViewFrame, CountsFromTheBottomLeft) {
    NSView superview(QRectF(0, 0, 200, 100));
    NSView view(QRectF(10, 20, 50, 30), &superview);
    EXPECT_EQ(view.geometry(), QRect(10, 50, 50, 30));
    EXPECT_TRUE(isExactly(view.frame(), QRectF(10, 20, 50, 30)));
    EXPECT_TRUE(isExactly(view.bounds(), QRectF(0, 0, 50, 30)));
    view.setFrameOrigin(QPointF(0, 0));
    EXPECT_EQ(view.geometry(), QRect(0, 70, 50, 30));
    view.setFrameSize(QSizeF(60, 100));
    EXPECT_EQ(view.geometry(), QRect(0, 0, 60, 100));
}

TEST(NSViewFrame, AnyWidgetIsAView) {
    NSView superview(QRectF(0, 0, 200, 100));
    QPushButton button(&superview);
    NSViewSetFrame(&button, QRectF(1.25, 2.5, 99.125, 40));
    EXPECT_TRUE(isExactly(NSViewFrame(&button), QRectF(1.25, 2.5, 99.125, 40)));
    EXPECT_TRUE(isExactly(NSViewBounds(&button), QRectF(0, 0, 99.125, 40)));
    QLabel label(&superview);
    label.setGeometry(5, 6, 7, 8);
    EXPECT_TRUE(isExactly(NSViewFrame(&label), QRectF(5, 86, 7, 8)));
}

TEST(NSViewFrame, FractionsAreKeptAndEdgesAreRounded) {
    NSView superview(QRectF(0, 0, 100, 100));
    NSView view(QRectF(0.1, 0.2, 10.3, 10.4), &superview);
    EXPECT_TRUE(isExactly(view.frame(), QRectF(0.1, 0.2, 10.3, 10.4)));
    EXPECT_EQ(view.geometry(), QRect(0, 89, 10, 11));
}

TEST(NSViewFrame, NeighboursNeitherLeakNorOverlap) {
    NSView superview(QRectF(0, 0, 1000.6, 1000.6));
    for (const double thickness : {0.3, 1.5, 7.7, 33.333}) {
        double at = 0.15;
        int right = 0, top = 0;
        for (int i = 0; i < 25; ++i, at += thickness) {
            NSView column(QRectF(at, 0, thickness, 10), &superview);
            NSView row(QRectF(0, at, 10, thickness), &superview);
            if (i) {
                EXPECT_EQ(column.x(), right) << thickness << " " << i;
                EXPECT_EQ(row.y() + row.height(), top) << thickness << " " << i;
            }
            right = column.x() + column.width();
            top = row.y();
        }
    }
}

TEST(NSViewFrame, WhatTouchesAcrossSuperviewsTouchesOnTheScreen) {
    for (double shift = 0; shift < 1; shift += 0.05) {
        NSView window(QRectF(0, 0, 100, 100));
        NSView left(QRectF(0.4 + shift, 0.3, 10.2, 50.3), &window);
        NSView right(QRectF(10.6 + shift, 0.3, 20.7, 50.3), &window);
        NSView leftInside(QRectF(0, 0, 10.2, 50.3), &left);
        NSView rightInside(QRectF(0, 0, 20.7, 50.3), &right);
        EXPECT_EQ(inWindow(leftInside), inWindow(left)) << shift;
        EXPECT_EQ(inWindow(rightInside), inWindow(right)) << shift;
        EXPECT_EQ(inWindow(leftInside).right() + 1, inWindow(rightInside).left()) << shift;
    }
}

TEST(NSViewFrame, SubviewsFollowTheGridWhenTheirSuperviewMovesByAFraction) {
    NSView window(QRectF(0, 0, 100, 100));
    NSView view(QRectF(10, 10, 20.5, 20.5), &window);
    NSView inside(QRectF(0, 0, 20.5, 20.5), &view);
    for (const double by : {0.25, 0.5, 0.75, 0.2, 0.9}) {
        view.setFrameOrigin(QPointF(10 + by, 10 + by));
        EXPECT_EQ(inside.geometry(), view.rect()) << by;
        EXPECT_TRUE(isExactly(inside.frame(), QRectF(0, 0, 20.5, 20.5))) << by;
    }
}

TEST(NSViewFrame, FollowsAGeometryThatQtSets) {
    NSView superview(QRectF(0, 0, 100, 100));
    NSView view(QRectF(0.5, 0.5, 10.5, 10.5), &superview);
    view.move(30, 40);
    EXPECT_TRUE(isExactly(view.frame(), QRectF(30, 60 - view.height(), view.width(), view.height())));
    view.resize(20, 10);
    EXPECT_TRUE(isExactly(view.frame(), QRectF(30, 50, 20, 10)));
}

TEST(NSViewFrame, AWindowsFrameFollowsItsSizeAndKeepsItsOrigin) {
    NSView window(QRectF(5, 6, 100.5, 50));
    EXPECT_TRUE(isExactly(window.frame(), QRectF(5, 6, 100.5, 50)));
    EXPECT_EQ(window.size(), QSize(101, 50));
    window.show();
    EXPECT_TRUE(isExactly(window.frame(), QRectF(5, 6, 100.5, 50)));
    window.resize(300, 200);
    EXPECT_TRUE(isExactly(window.frame(), QRectF(5, 6, 300, 200)));
    QWidget plain;
    plain.setGeometry(40, 50, 60, 70);
    EXPECT_TRUE(isExactly(NSViewFrame(&plain), QRectF(0, 0, 60, 70)));
}

TEST(NSViewFrame, AFrameFromBeforeThereWasASuperviewIsUsedThen) {
    NSView superview(QRectF(0, 0, 100, 100));
    auto *const view = new NSView(QRectF(10, 20, 30.5, 40));
    superview.addSubview(view);
    EXPECT_TRUE(isExactly(view->frame(), QRectF(10, 20, 30.5, 40)));
    EXPECT_EQ(view->geometry(), QRect(10, 40, 31, 40));
    auto *const other = new NSView(QRectF(1, 2, 3, 4));
    other->setParent(&superview);
    EXPECT_TRUE(isExactly(other->frame(), QRectF(1, 2, 3, 4)));
    EXPECT_EQ(other->geometry(), QRect(1, 94, 3, 4));
}

TEST(NSViewFrame, MovesWithItsNumbersBetweenSuperviews) {
    NSView low(QRectF(0, 0, 100, 50));
    NSView high(QRectF(0, 0, 100, 200));
    auto *const view = new NSView(QRectF(10.25, 20, 30, 10), &low);
    EXPECT_EQ(view->geometry(), QRect(10, 20, 30, 10));
    high.addSubview(view);
    EXPECT_TRUE(isExactly(view->frame(), QRectF(10.25, 20, 30, 10)));
    EXPECT_EQ(view->geometry(), QRect(10, 170, 30, 10));
    view->setAutoresizingMask(NSViewMinYMargin);
    low.setFrameSize(QSizeF(100, 500)); // no longer its business
    EXPECT_TRUE(isExactly(view->frame(), QRectF(10.25, 20, 30, 10)));
    high.setFrameSize(QSizeF(100, 210));
    EXPECT_TRUE(isExactly(view->frame(), QRectF(10.25, 30, 30, 10)));
}

TEST(NSViewFrame, NoNumberCrashes) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    NSView superview(QRectF(0, 0, 100, 100));
    NSView view(&superview);
    NSView inside(QRectF(0, 0, 10, 10), &view);
    inside.setAutoresizingMask(63);
    for (const double wrong : {none, infinity, -infinity, 1e300, -1e300, 4e9, -4e9, -1.0}) {
        view.setFrame(QRectF(wrong, 1, 10, 10));
        view.setFrame(QRectF(1, 1, wrong, 10));
        view.setFrame(QRectF(wrong, wrong, wrong, wrong));
        const QRectF frame = view.frame();
        EXPECT_TRUE(std::isnan(wrong) ? std::isnan(frame.width()) : frame.width() == wrong) << wrong;
        EXPECT_GE(view.width(), 0);
        EXPECT_LE(view.width(), QWIDGETSIZE_MAX);
        superview.setFrameSize(QSizeF(wrong, 100));
        superview.setFrameSize(QSizeF(100, 100));
    }
    view.setFrame(QRectF(1, 2, 30, 40));
    EXPECT_EQ(view.geometry(), QRect(1, 58, 30, 40));
}

TEST(NSViewFrame, ANegativeSizeShowsNothing) {
    NSView superview(QRectF(0, 0, 100, 100));
    NSView view(QRectF(50, 50, -10, -20), &superview);
    EXPECT_TRUE(isExactly(view.frame(), QRectF(50, 50, -10, -20)));
    EXPECT_EQ(view.size(), QSize(0, 0));
}

TEST(NSViewFrame, StaysExactIfTheWidgetHasLimits) {
    NSView superview(QRectF(0, 0, 100, 100));
    QPushButton button(&superview);
    button.setMinimumSize(40, 20);
    NSViewSetFrame(&button, QRectF(1, 2, 10, 10));
    EXPECT_TRUE(isExactly(NSViewFrame(&button), QRectF(1, 2, 10, 10)));
    EXPECT_EQ(button.size(), QSize(40, 20));
}

TEST(NSViewFrame, WithoutAViewEverythingIsEmpty) {
    EXPECT_EQ(NSViewFrame(nullptr), QRectF());
    NSViewSetFrame(nullptr, QRectF(1, 2, 3, 4));
    NSViewSetFrameOrigin(nullptr, QPointF());
    NSViewSetFrameSize(nullptr, QSizeF());
    NSViewSetAutoresizingMask(nullptr, 18);
    EXPECT_EQ(NSViewAutoresizingMask(nullptr), 0u);
    EXPECT_EQ(NSViewSuperview(nullptr), nullptr);
    EXPECT_TRUE(NSViewSubviews(nullptr).isEmpty());
    NSViewAddSubview(nullptr, nullptr);
    NSViewRemoveFromSuperview(nullptr);
    EXPECT_FALSE(NSViewIsHidden(nullptr));
    EXPECT_EQ(NSViewAlphaValue(nullptr), 0);
    NSViewSetAlphaValue(nullptr, 0.5);
    NSViewSizeToFit(nullptr);
    NSViewRemoveAllAnimations(nullptr);
    NSViewRecalculateKeyViewLoop(nullptr);
}

namespace {

/// Deletes its neighbour as soon as it hears of a new size.
class Jealous : public NSView {
public:
    using NSView::NSView;
    void resizeEvent(QResizeEvent *) override { delete std::exchange(neighbour, nullptr); }
    NSView *neighbour = nullptr;
};

} // namespace

TEST(NSViewFrame, AViewMayDeleteOthersWhileTheyAreResized) {
    NSView superview(QRectF(0, 0, 100, 100));
    superview.show();
    auto *const first = new Jealous(QRectF(0, 0, 10, 10), &superview);
    auto *const second = new Jealous(QRectF(0, 0, 10, 10), &superview);
    for (Jealous *view : {first, second}) {
        view->setAutoresizingMask(18);
        view->show();
    }
    first->neighbour = second;
    superview.setFrameSize(QSizeF(200, 200));
    EXPECT_EQ(superview.subviews(), QList<QWidget *>{first});
}

TEST(NSViewFrame, AnyChangesLeaveEveryEdgeOnTheNearestPoint) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        std::mt19937 random(seed);
        const auto number = [&](double from, double to) {
            return std::uniform_real_distribution<double>(from, to)(random);
        };
        const auto anyFrame = [&] {
            return QRectF(number(-50, 300), number(-50, 300), number(0, 300), number(0, 300));
        };
        QWidget window;
        window.resize(400, 300);
        QList<QWidget *> views;
        for (int i = 0; i < 30; ++i) {
            QWidget *const superview =
                i % 4 && !views.isEmpty() ? views[int(random() % unsigned(views.size()))] : &window;
            QWidget *const view = i % 3 ? new NSView(superview) : new QWidget(superview);
            NSViewSetFrame(view, anyFrame());
            NSViewSetAutoresizingMask(view, random() % 64);
            views.append(view);
        }
        if (seed % 2)
            window.show();
        for (int step = 0; step < 50; ++step) {
            QWidget *const view = views[int(random() % unsigned(views.size()))];
            switch (random() % 4) {
            case 0:
                NSViewSetFrame(view, anyFrame());
                break;
            case 1:
                NSViewSetFrameOrigin(view, QPointF(number(-50, 300), number(-50, 300)));
                break;
            case 2:
                window.resize(int(random() % 800), int(random() % 800));
                break;
            default:
                NSViewAddSubview(views[int(random() % unsigned(views.size()))], view);
            }
            for (const QWidget *each : views) { // superviews before their subviews, or not
                double left = 0;
                double top = 0;
                for (const QWidget *at = each; NSViewSuperview(at); at = NSViewSuperview(at)) {
                    const QRectF frame = NSViewFrame(at);
                    left += frame.x();
                    top += NSViewFrame(NSViewSuperview(at)).height() - frame.y() - frame.height();
                }
                const QSizeF size = NSViewFrame(each).size();
                const auto isNear = [](int point, double exact) {
                    return std::abs(point - exact) <= 0.5 + 1e-6;
                };
                const QRect geometry = inWindow(*each);
                ASSERT_TRUE(isNear(geometry.x(), left) && isNear(geometry.y(), top)) << seed << " " << step;
                if (size.width() > 1 && size.height() > 1) {
                    ASSERT_TRUE(isNear(geometry.x() + geometry.width(), left + size.width()) &&
                                isNear(geometry.y() + geometry.height(), top + size.height()))
                        << seed << " " << step;
                }
            }
        }
    }
}

TEST(NSViewFrame, ADeletedViewsFrameIsNobodyElses) {
    NSView superview(QRectF(0, 0, 100, 100));
    for (int i = 0; i < 100; ++i) {
        const auto view = std::make_unique<QWidget>(&superview); // most get the address of the one before
        EXPECT_EQ(NSViewAutoresizingMask(view.get()), 0u);
        EXPECT_EQ(NSViewFrame(view.get()), QRectF(0, 70, 100, 30));
        NSViewSetFrame(view.get(), QRectF(1, 1, 1, 1));
        NSViewSetAutoresizingMask(view.get(), 63);
    }
}
