// SPDX-License-Identifier: MIT
#include "platform/interface/NSView.h"

#include "platform/images/NSGraphicsContext.h"
#include "platform/interface/NSResponder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rendered.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QGraphicsBlurEffect>
#include <QLineEdit>
#include <QMenu>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QPushButton>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>

namespace {

/// Fills a rectangle of its own, and notes what it was asked to draw.
class Painted : public NSView {
public:
    using NSView::NSView;
    void drawRect(const QRectF &rect) override {
        drawn.append(rect);
        if (raises)
            throw std::runtime_error("drawing");
        NSGraphicsContext::currentContext()->setFillColor(color);
        NSRectFill(area.isNull() ? bounds() : area);
    }
    void viewWillMoveToSuperview(QWidget *superview) override { moves.append(superview); }

    QColor color = Qt::red;
    QRectF area;
    bool raises = false;
    QList<QRectF> drawn;
    QList<QWidget *> moves;
};

template <typename Flag>
concept IsADisplayFlag = requires(NSView &view, Flag flag) {
    view.setNeedsDisplay(flag);
};

} // namespace

static_assert(IsADisplayFlag<bool> && !IsADisplayFlag<int> && !IsADisplayFlag<const char *>);

TEST(NSView, DrawsInBottomLeftCoordinatesAtAnyDensity) {
    Painted view(QRectF(0, 0, 20, 10));
    view.area = QRectF(2, 1, 5, 3);
    for (const int ratio : {1, 2, 3}) {
        const QImage picture = rendered(view, ratio);
        QRect filled;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                if (picture.pixelColor(x, y) == QColor(Qt::red))
                    filled |= QRect(x, y, 1, 1);
        EXPECT_EQ(filled, QRect(2 * ratio, 6 * ratio, 5 * ratio, 3 * ratio)) << ratio;
    }
    EXPECT_EQ(NSGraphicsContext::currentContext(), nullptr);
}

TEST(NSView, OfAFractionalSizeFillsTheWholePointsThatItTakes) {
    NSView superview(QRectF(0, 0, 40, 40));
    auto *const view = new Painted(QRectF(0.4, 0.4, 10.2, 10.2), &superview);
    for (const double ratio : {1.0, 2.0}) {
        const QImage picture = rendered(superview, ratio);
        int count = 0;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                count += picture.pixelColor(x, y) == QColor(Qt::red);
        EXPECT_EQ(count, view->width() * view->height() * ratio * ratio);
    }
    EXPECT_EQ(view->size(), QSize(11, 11));
}

TEST(NSView, IsToldWhatHasToBeDrawn) {
    Painted view(QRectF(0, 0, 20, 10));
    QImage picture(20, 10, QImage::Format_ARGB32_Premultiplied);
    view.render(&picture, QPoint(), QRegion(2, 1, 5, 3));
    EXPECT_EQ(view.drawn, QList<QRectF>{QRectF(2, 6, 5, 3)});
}

TEST(NSView, WithoutASizeIsNotDrawn) {
    Painted view(QRectF(0, 0, -20, 10));
    view.resize(0, 0);
    view.setFrame(QRectF(0, 0, -20, 10));
    QPaintEvent event(QRect(0, 0, 1, 1));
    QApplication::sendEvent(&view, &event);
    EXPECT_TRUE(view.drawn.isEmpty());
}

TEST(NSView, IsDrawnAnewIfItNeedsDisplay) {
    Painted view(QRectF(0, 0, 20, 10));
    view.show();
    const auto isDrawn = [&] {
        view.drawn.clear();
        QApplication::processEvents();
        QApplication::sendPostedEvents();
        return !view.drawn.isEmpty();
    };
    while (isDrawn()) {
    }
    view.setNeedsDisplay(false);
    EXPECT_FALSE(isDrawn());
    view.setNeedsDisplay(true);
    EXPECT_TRUE(isDrawn());
}

TEST(NSView, SubviewsStandFromTheBackToTheFront) {
    NSView view;
    auto *const first = new NSView(&view);
    auto *const second = new QPushButton(&view);
    new QObject(&view);
    auto *const window = new QWidget(&view, Qt::Dialog);
    EXPECT_EQ(view.subviews(), (QList<QWidget *>{first, second}));
    first->raise();
    EXPECT_EQ(view.subviews(), (QList<QWidget *>{second, first}));
    view.addSubview(second);
    EXPECT_EQ(view.subviews(), (QList<QWidget *>{first, second}));
    EXPECT_EQ(first->superview(), &view);
    EXPECT_EQ(NSViewSuperview(window), nullptr);
}

TEST(NSView, ASubviewIsShownUnlessItWasHidden) {
    NSView view(QRectF(0, 0, 100, 100));
    view.show();
    auto *const shown = new NSView(QRectF(0, 0, 10, 10));
    auto *const hidden = new NSView(QRectF(0, 0, 10, 10));
    hidden->setHidden(true);
    view.addSubview(shown);
    view.addSubview(hidden);
    EXPECT_TRUE(shown->isVisible());
    EXPECT_FALSE(NSViewIsHidden(shown));
    EXPECT_FALSE(hidden->isVisible());
    EXPECT_TRUE(NSViewIsHidden(hidden));
    hidden->removeFromSuperview();
    EXPECT_TRUE(NSViewIsHidden(hidden));
    view.addSubview(hidden);
    hidden->setHidden(false);
    EXPECT_TRUE(hidden->isVisible());
}

TEST(NSView, RemovedIsNobodysAndKeepsItsFrame) {
    NSView view(QRectF(0, 0, 100, 100));
    auto *const subview = new NSView(QRectF(1.5, 2.5, 10, 10), &view);
    subview->removeFromSuperview();
    const std::unique_ptr<NSView> owned(subview);
    EXPECT_TRUE(view.subviews().isEmpty());
    EXPECT_EQ(subview->superview(), nullptr);
    EXPECT_EQ(subview->frame(), QRectF(1.5, 2.5, 10, 10));
    subview->removeFromSuperview();
}

TEST(NSView, CannotBePutIntoItself) {
    NSView view;
    auto *const middle = new NSView(&view);
    auto *const inside = new NSView(middle);
    inside->addSubview(&view);
    view.addSubview(&view);
    EXPECT_EQ(view.superview(), nullptr);
    EXPECT_EQ(inside->superview(), middle);
}

TEST(NSView, HearsThatItMoves) {
    NSView view;
    auto *const subview = new Painted;
    view.addSubview(subview);
    subview->removeFromSuperview();
    const std::unique_ptr<NSView> owned(subview);
    EXPECT_EQ(subview->moves, (QList<QWidget *>{&view, nullptr}));
}

TEST(NSView, AlphaCountsForAllThatIsInIt) {
    Painted view(QRectF(0, 0, 40, 20));
    auto *const inside = new Painted(QRectF(0, 0, 20, 20), &view);
    inside->color = Qt::blue;
    NSView window(QRectF(0, 0, 40, 20));
    window.addSubview(&view);
    EXPECT_EQ(view.alphaValue(), 1);
    view.setAlphaValue(0.5);
    EXPECT_EQ(view.alphaValue(), 0.5);
    const QImage half = rendered(window);
    EXPECT_NEAR(half.pixelColor(30, 10).green(), 127, 1);
    EXPECT_EQ(half.pixelColor(30, 10).red(), 255);
    EXPECT_NEAR(half.pixelColor(10, 10).red(), 127, 1); // nothing of the view behind shines through
    EXPECT_EQ(half.pixelColor(10, 10).blue(), 255);
    view.setAlphaValue(0);
    EXPECT_EQ(rendered(window).pixelColor(30, 10), QColor(Qt::white));
    view.setAlphaValue(-2);
    EXPECT_EQ(view.alphaValue(), -2);
    EXPECT_EQ(rendered(window).pixelColor(30, 10), QColor(Qt::white));
    view.setAlphaValue(1);
    EXPECT_EQ(rendered(window).pixelColor(30, 10), QColor(Qt::red));
    EXPECT_EQ(view.graphicsEffect(), nullptr);
    view.removeFromSuperview();
}

TEST(NSView, AnEffectOfTheProgramsStaysAtFullAlpha) {
    QPushButton button;
    auto *const blur = new QGraphicsBlurEffect;
    button.setGraphicsEffect(blur);
    NSViewSetAlphaValue(&button, 1);
    EXPECT_EQ(button.graphicsEffect(), blur);
}

TEST(NSView, WhatDrawingRaisesIsLogged) {
    const LogCapture log;
    Painted view(QRectF(0, 0, 20, 10));
    view.raises = true;
    rendered(view);
    EXPECT_EQ(log.count(QStringLiteral("Exception while a view was drawn: drawing")), 1);
    EXPECT_EQ(NSGraphicsContext::currentContext(), nullptr);
}

TEST(NSView, RemovingAnimationsStopsThoseOfTheViewOnly) {
    NSView window(QRectF(0, 0, 100, 100));
    auto *const view = new NSView(QRectF(0, 0, 10, 10), &window);
    auto *const other = new NSView(QRectF(0, 0, 10, 10), &window);
    // Of those for one property of one object only the latest runs.
    const auto animation = [](QWidget *target, const char *property, QObject *parent) {
        auto *const change = new QPropertyAnimation(target, property, parent);
        change->setDuration(1'000'000);
        change->setEndValue(target->property(property));
        return change;
    };
    QPropertyAnimation *const own = animation(view, "pos", view);
    QPropertyAnimation *const elsewhere = animation(view, "size", other);
    QPropertyAnimation *const others = animation(other, "pos", view);
    auto *const group = new QParallelAnimationGroup(&window);
    QPropertyAnimation *const grouped = animation(view, "minimumSize", nullptr);
    QPropertyAnimation *const othersGrouped = animation(other, "minimumSize", nullptr);
    group->addAnimation(grouped);
    group->addAnimation(othersGrouped);
    own->start();
    elsewhere->start(QAbstractAnimation::DeleteWhenStopped);
    others->start();
    group->start();
    for (const QPropertyAnimation *each : {own, elsewhere, others, grouped, othersGrouped})
        ASSERT_EQ(each->state(), QAbstractAnimation::Running);
    NSViewRemoveAllAnimations(view);
    EXPECT_EQ(own->state(), QAbstractAnimation::Stopped);
    EXPECT_EQ(elsewhere->state(), QAbstractAnimation::Stopped);
    EXPECT_EQ(grouped->state(), QAbstractAnimation::Stopped);
    EXPECT_EQ(grouped->parent(), view);
    EXPECT_EQ(others->state(), QAbstractAnimation::Running);
    EXPECT_EQ(othersGrouped->state(), QAbstractAnimation::Running);
}

TEST(NSView, SizesToWhatItsContentAsksFor) {
    NSView window(QRectF(0, 0, 300, 100));
    auto *const button = new QPushButton(QStringLiteral("A button with a text"), &window);
    NSViewSetFrame(button, QRectF(10, 20, 1, 1));
    NSViewSizeToFit(button);
    EXPECT_EQ(NSViewFrame(button), QRectF(QPointF(10, 20), QSizeF(button->sizeHint())));
    NSView view(QRectF(1, 2, 3, 4)); // which asks for nothing
    NSViewSizeToFit(&view);
    EXPECT_EQ(view.frame(), QRectF(1, 2, 3, 4));
}

TEST(NSView, TheKeyViewLoopGoesAsOneReads) {
    NSView window(QRectF(0, 0, 300, 100));
    const auto field = [](const QRectF &frame, QWidget *parent) {
        auto *const edit = new QLineEdit(parent);
        NSViewSetFrame(edit, frame);
        return edit;
    };
    QLineEdit *const below = field(QRectF(0, 0, 50, 20), &window);
    QLineEdit *const right = field(QRectF(100, 80, 50, 20), &window);
    auto *const box = new NSView(QRectF(0, 40, 200, 30), &window);
    QLineEdit *const second = field(QRectF(60, 0, 50, 20), box);
    QLineEdit *const first = field(QRectF(0, 0, 50, 20), box);
    QLineEdit *const left = field(QRectF(0, 80, 50, 20), &window);
    NSViewRecalculateKeyViewLoop(below);
    QList<QWidget *> order;
    for (QWidget *next = left; next && order.size() < 5;) {
        order.append(next);
        do
            next = next->nextInFocusChain();
        while (next->focusPolicy() == Qt::NoFocus && next != left);
    }
    EXPECT_EQ(order, (QList<QWidget *>{left, right, first, second, below}));
}

TEST(NSView, ItsNextResponderIsItsSuperview) {
    NSView view;
    NSView inside(&view);
    EXPECT_EQ(NSResponderNext(&inside), &view);
}

namespace {

/// Brings up no menu of its own, but notes that it was asked.
class Asked : public NSView {
public:
    using NSView::NSView;
    QMenu *menuForEvent(QContextMenuEvent *event) override {
        reasons.append(event->reason());
        return NSView::menuForEvent(event);
    }
    QList<QContextMenuEvent::Reason> reasons;
};

} // namespace

TEST(NSView, TheMenuComesUpForMouseAndKey) {
    Asked view(QRectF(0, 0, 100, 100));
    view.show();
    for (const auto reason : {QContextMenuEvent::Mouse, QContextMenuEvent::Keyboard}) {
        QMenu menu;
        menu.addAction(QStringLiteral("Item"));
        view.setMenu(&menu);
        EXPECT_EQ(view.menu(), &menu);
        QContextMenuEvent event(reason, QPoint(5, 5), view.mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(&view, &event);
        EXPECT_TRUE(event.isAccepted());
        EXPECT_TRUE(menu.isVisible());
        EXPECT_EQ(view.reasons.last(), reason);
        menu.close();
    }
    EXPECT_EQ(view.menu(), nullptr); // they are gone
}

TEST(NSView, WithoutAMenuTheSuperviewIsAsked) {
    Asked window(QRectF(0, 0, 100, 100));
    Asked view(QRectF(0, 0, 50, 50), &window);
    QMenu menu;
    menu.addAction(QStringLiteral("Item"));
    window.setMenu(&menu);
    window.show();
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), view.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(&view, &event);
    EXPECT_EQ(view.reasons.size(), 1);
    EXPECT_EQ(window.reasons.size(), 1);
    EXPECT_TRUE(menu.isVisible());
}
