// SPDX-License-Identifier: MIT
#include "platform/interface/NSSplitView.h"

#include "platform/images/NSGraphicsContext.h"
#include "platform/interface/NSNib.h"

#include <QAccessible>
#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

namespace {

/// The strips that the user takes hold of.
QList<QWidget *> handles(const NSSplitView &view) {
    QList<QWidget *> all;
    const QList<QWidget *> panes = view.subviews();
    for (QObject *child : view.children())
        if (auto *const widget = qobject_cast<QWidget *>(child); widget && !panes.contains(widget))
            all.append(widget);
    return all;
}

/// Three panes of 100, 100 and 182 points, with two dividers of 9.
struct Panes {
    explicit Panes(bool isShown = true) : view(QRectF(0, 0, 400, 100)) {
        for (const QRectF &frame :
             {QRectF(0, 0, 100, 100), QRectF(109, 0, 100, 100), QRectF(218, 0, 182, 100)})
            panes.append(new NSView(frame, &view));
        if (isShown) {
            view.show();
            QApplication::processEvents();
        }
    }
    NSSplitView view;
    QList<NSView *> panes;
};

QRectF frame(const NSView *pane) {
    return pane->frame();
}

class Limits : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE double splitViewConstrainMinCoordinate(NSSplitView *, double proposed, int divider) {
        asked.append({proposed, divider});
        return least;
    }
    Q_INVOKABLE double splitViewConstrainMaxCoordinate(NSSplitView *, double proposed, int divider) {
        asked.append({proposed, divider});
        return most;
    }
    double least = 50;
    double most = 150;
    QList<std::pair<double, int>> asked;
};

class Layout : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE void splitViewResizeSubviewsWithOldSize(NSSplitView *, const QSizeF &oldSize) {
        sizes.append(oldSize);
    }
    Q_INVOKABLE bool splitViewShouldHideDividerAtIndex(NSSplitView *, int) { return hides; }
    QList<QSizeF> sizes;
    bool hides = false;
};

void drag(QWidget *handle, int by) {
    const QPoint from = handle->rect().center();
    QTest::mousePress(handle, Qt::LeftButton, {}, from);
    // The handle moves along, so the way is told in the coordinates of its superview.
    const QPoint to = handle->mapToParent(from) + QPoint(by, 0);
    QMouseEvent move(QEvent::MouseMove, handle->mapFromParent(to), handle->parentWidget()->mapToGlobal(to),
                     Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(handle, &move);
    QTest::mouseRelease(handle, Qt::LeftButton, {}, handle->mapFromParent(to));
}

} // namespace

TEST(NSSplitView, DividersAreNoSubviews) {
    const Panes split;
    EXPECT_EQ(split.view.subviews().size(), 3);
    EXPECT_EQ(split.view.dividerCount(), 2);
    EXPECT_EQ(handles(split.view).size(), 2);
    EXPECT_EQ(split.view.dividerRect(0), QRectF(100, 0, 9, 100));
    EXPECT_EQ(split.view.dividerRect(1), QRectF(209, 0, 9, 100));
}

TEST(NSSplitView, WithoutADelegatePanesKeepTheirProportions) {
    Panes split(false);
    split.view.setFrameSize(QSizeF(782, 50));
    EXPECT_EQ(frame(split.panes[0]), QRectF(0, 0, 200, 50));
    EXPECT_EQ(frame(split.panes[1]), QRectF(209, 0, 200, 50));
    EXPECT_EQ(frame(split.panes[2]), QRectF(418, 0, 364, 50));
}

TEST(NSSplitView, PanesWithoutAnyWidthShareEqually) {
    NSSplitView view(QRectF(0, 0, 10, 10));
    NSView left(QRectF(0, 0, 0, 10), &view), right(QRectF(0, 0, 0, 10), &view);
    view.setFrameSize(QSizeF(109, 20));
    EXPECT_EQ(left.frame(), QRectF(0, 0, 50, 20));
    EXPECT_EQ(right.frame(), QRectF(59, 0, 50, 20));
}

TEST(NSSplitView, MasksOfThePanesDoNotCount) {
    Panes split(false);
    Layout layout; // which leaves the panes alone
    split.view.setDelegate(&layout);
    for (NSView *pane : split.panes)
        pane->setAutoresizingMask(63);
    split.view.setFrameSize(QSizeF(500, 200));
    EXPECT_EQ(frame(split.panes[0]), QRectF(0, 0, 100, 100));
    EXPECT_EQ(layout.sizes, QList<QSizeF>{QSizeF(400, 100)});
}

TEST(NSSplitView, AResizeByQtIsNoticedToo) {
    Panes split;
    split.view.resize(782, 50);
    EXPECT_EQ(frame(split.panes[2]), QRectF(418, 0, 364, 50));
    EXPECT_EQ(handles(split.view)[0]->geometry().center().x(), 204);
    Panes hidden(false);
    hidden.view.resize(782, 50); // which is told when it is shown
    EXPECT_EQ(frame(hidden.panes[2]), QRectF(418, 0, 364, 50));
}

TEST(NSSplitView, ADividerMovesBetweenItsNeighboursOnly) {
    Panes split;
    split.view.setPosition(150, 0);
    EXPECT_EQ(frame(split.panes[0]), QRectF(0, 0, 150, 100));
    EXPECT_EQ(frame(split.panes[1]), QRectF(159, 0, 50, 100));
    EXPECT_EQ(frame(split.panes[2]), QRectF(218, 0, 182, 100));
    split.view.setPosition(1000, 0);
    EXPECT_EQ(frame(split.panes[1]), QRectF(209, 0, 0, 100));
    split.view.setPosition(-1000, 1);
    EXPECT_EQ(frame(split.panes[1]), QRectF(209, 0, 0, 100));
    split.view.setPosition(300, 1);
    EXPECT_EQ(frame(split.panes[1]), QRectF(209, 0, 91, 100));
    EXPECT_EQ(frame(split.panes[2]), QRectF(309, 0, 91, 100));
    for (const int none : {-1, 2, 7})
        split.view.setPosition(10, none);
    split.view.setPosition(std::numeric_limits<double>::quiet_NaN(), 0);
    EXPECT_EQ(frame(split.panes[1]), QRectF(209, 0, 91, 100));
}

TEST(NSSplitView, TheDelegateLimitsDividers) {
    Panes split;
    Limits limits;
    split.view.setDelegate(&limits);
    split.view.setPosition(0, 0);
    EXPECT_EQ(frame(split.panes[0]).width(), 50);
    split.view.setPosition(1000, 0);
    EXPECT_EQ(frame(split.panes[0]).width(), 150);
    EXPECT_TRUE(limits.asked.contains({0.0, 0}));
    EXPECT_TRUE(limits.asked.contains({200.0, 0})); // as far as the second divider lets it
    limits.least = 120;
    limits.most = 80; // the smallest wins
    split.view.setPosition(10, 0);
    EXPECT_EQ(frame(split.panes[0]).width(), 120);
    limits.least = 5000; // there is no room for that
    split.view.setPosition(10, 0);
    EXPECT_EQ(frame(split.panes[0]).width(), 200);
}

TEST(NSSplitView, DragsByMouse) {
    Panes split;
    QWidget *const handle = handles(split.view)[0];
    EXPECT_EQ(handle->cursor().shape(), Qt::SplitHCursor);
    drag(handle, 30);
    EXPECT_EQ(frame(split.panes[0]).width(), 130);
    EXPECT_EQ(frame(split.panes[1]), QRectF(139, 0, 70, 100));
    drag(handle, -1000);
    EXPECT_EQ(frame(split.panes[0]).width(), 0);
    drag(handle, 40);
    EXPECT_EQ(frame(split.panes[0]).width(), 40);
    QTest::mousePress(handle, Qt::RightButton);
    QTest::mouseMove(handle, QPoint(50, 5));
    EXPECT_EQ(frame(split.panes[0]).width(), 40);
}

TEST(NSSplitView, MovesByKeys) {
    Panes split;
    Limits limits;
    split.view.setDelegate(&limits);
    QWidget *const handle = handles(split.view)[0];
    EXPECT_TRUE(handle->focusPolicy() & Qt::TabFocus);
    for (const auto &[key, width] : {std::pair{Qt::Key_Right, 110},
                                     {Qt::Key_Right, 120},
                                     {Qt::Key_Left, 110},
                                     {Qt::Key_End, 150},
                                     {Qt::Key_Right, 150},
                                     {Qt::Key_Home, 50},
                                     {Qt::Key_Left, 50},
                                     {Qt::Key_A, 50}}) {
        QTest::keyClick(handle, key);
        EXPECT_EQ(frame(split.panes[0]).width(), width) << key;
    }
}

TEST(NSSplitView, TellsScreenReadersOfItsDividers) {
    Panes split;
    QAccessibleInterface *const view = QAccessible::queryAccessibleInterface(&split.view);
    EXPECT_EQ(view->role(), QAccessible::Splitter);
    QAccessibleInterface *const divider = QAccessible::queryAccessibleInterface(handles(split.view)[0]);
    EXPECT_EQ(divider->role(), QAccessible::Grip);
    EXPECT_FALSE(divider->text(QAccessible::Name).isEmpty());
    QAccessibleValueInterface *const value = divider->valueInterface();
    ASSERT_TRUE(value);
    EXPECT_EQ(value->currentValue(), QVariant(100.0));
    EXPECT_EQ(value->minimumValue(), QVariant(0.0));
    EXPECT_EQ(value->maximumValue(), QVariant(200.0));
    value->setCurrentValue(70);
    EXPECT_EQ(frame(split.panes[0]).width(), 70);
}

TEST(NSSplitView, AHiddenDividerIsNeitherDrawnNorDragged) {
    Panes split;
    Layout layout;
    split.view.setDelegate(&layout);
    layout.hides = true;
    split.view.setPosition(50, 0);
    EXPECT_TRUE(handles(split.view)[0]->isVisible()); // not at the edge
    split.view.setPosition(0, 0);
    EXPECT_FALSE(handles(split.view)[0]->isVisible());
    layout.hides = false;
    split.view.setPosition(0, 0);
    EXPECT_TRUE(handles(split.view)[0]->isVisible());
}

TEST(NSSplitView, DrawsItsDividers) {
    class Black : public NSSplitView {
    public:
        using NSSplitView::NSSplitView;
        void drawDividerInRect(const QRectF &rect) override {
            NSGraphicsContext::currentContext()->setFillColor(Qt::black);
            NSRectFill(rect);
        }
        double dividerThickness() const override { return 2; }
    };
    Black view(QRectF(0, 0, 102, 10));
    NSView left(QRectF(0, 0, 50, 10), &view), right(QRectF(52, 0, 50, 10), &view);
    QImage picture(view.size(), QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::white);
    view.render(&picture, QPoint(), QRegion(), QWidget::DrawChildren);
    for (int x = 0; x < 102; ++x)
        EXPECT_EQ(picture.pixelColor(x, 5), QColor(x == 50 || x == 51 ? Qt::black : Qt::white)) << x;
}

TEST(NSSplitView, PanesThatComeAndGoAreNoticed) {
    Panes split;
    delete split.panes.takeFirst();
    QApplication::processEvents();
    EXPECT_EQ(handles(split.view).size(), 1);
    EXPECT_EQ(frame(split.panes[0]).x(), 0);
    auto *const button = new QPushButton;
    NSViewSetFrame(button, QRectF(0, 0, 100, 10));
    split.view.addSubview(button);
    QApplication::processEvents();
    EXPECT_EQ(handles(split.view).size(), 2);
    EXPECT_EQ(NSViewFrame(button).height(), 100);
    EXPECT_NEAR(NSViewFrame(button).x() + NSViewFrame(button).width(), 400, 1e-9);
}

#include "NSSplitViewTest.moc"
