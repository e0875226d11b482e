// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSView+ZRKit.h"
#include "ZRKit/Interface/ZRSplitView.h"
#include "ZRKit/Interface/ZRView.h"
#include "ZRKit/Interface/ZRWindow.h"
#include "tests/support/XUser.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QScreen>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 30000; // milliseconds

template <typename Condition>
bool eventually(Condition condition) {
    return QTest::qWaitFor(condition, patience);
}

QString number(int value) {
    return QString::number(value);
}

/// What a view's point looks like on the screen, from the view's top left corner.
QColor onScreen(const QWidget &view, const QPoint &point) {
    const QPoint place = view.mapToGlobal(point);
    return QGuiApplication::primaryScreen()
        ->grabWindow(0, place.x(), place.y(), 1, 1)
        .toImage()
        .pixelColor(0, 0);
}

/// A split view that fills a window of 501 by 200 points, with panes of 200 and 300.
class XSplitViewTest : public testing::Test {
protected:
    XSplitViewTest() {
        split->addSubview(left);
        split->addSubview(right);
        left->setBackgroundColor(QColor(200, 0, 0));
        right->setBackgroundColor(QColor(0, 0, 200));
        split->setMinLeft(100);
        split->setMaxLeft(300);
        split->setMinRight(50);
        split->setMaxRight(1000);
        split->awakeFromNib();
        window.setContentView(split);
        window.resize(501, 200);
        window.makeKeyAndOrderFront();
        isActive =
            eventually([&] { return QApplication::activeWindow() == &window && split->width() == 501; });
    }
    void SetUp() override { ASSERT_TRUE(isActive); }

    bool isLeft(double width) {
        return eventually([&] { return ZRKit::width(left) == width; });
    }
    QPoint divider() const { return split->mapToGlobal(QPoint(int(split->dividerRect(0).left()), 100)); }
    /// As a hand does it: in more than one step.
    void drag(int by) {
        const QPoint from = divider();
        user({u"mousemove"_s, number(from.x()), number(from.y()), u"mousedown"_s, u"1"_s});
        for (const int part : {1, 2, 3, 4})
            user({u"mousemove"_s, number(from.x() + by * part / 4), number(from.y() + part)});
        user({u"mouseup"_s, u"1"_s});
    }
    void resizeWindow(int width, int height) {
        user({u"windowsize"_s, QString::number(window.winId()), number(width), number(height)});
        ASSERT_TRUE(eventually([&] { return split->size() == QSize(width, height); }));
    }

    ZRWindow window;
    ZRSplitView *const split = new ZRSplitView(QRectF(0, 0, 501, 200));
    ZRView *const left = new ZRView(QRectF(0, 0, 200, 200));
    ZRView *const right = new ZRView(QRectF(201, 0, 300, 200));
    bool isActive = false;
};

} // namespace

TEST_F(XSplitViewTest, LooksOnTheScreenAsItsFramesSay) {
    ASSERT_TRUE(eventually([&] { return onScreen(*split, {200, 100}) == QColor(212, 212, 212); }));
    EXPECT_EQ(onScreen(*split, {199, 100}), QColor(200, 0, 0));
    EXPECT_EQ(onScreen(*split, {201, 100}), QColor(0, 0, 200));
    EXPECT_EQ(onScreen(*split, {0, 199}), QColor(200, 0, 0));
    EXPECT_EQ(onScreen(*split, {500, 0}), QColor(0, 0, 200));
}

TEST_F(XSplitViewTest, TheMouseDragsTheDividerWithinItsLimits) {
    drag(60);
    EXPECT_TRUE(isLeft(260)) << ZRKit::width(left);
    EXPECT_EQ(right->frame(), QRectF(261, 0, 240, 200));
    drag(200);
    EXPECT_TRUE(isLeft(300)) << ZRKit::width(left);
    drag(-290);
    EXPECT_TRUE(isLeft(100)) << ZRKit::width(left);
    EXPECT_TRUE(eventually([&] { return onScreen(*split, {100, 100}) == QColor(212, 212, 212); }));
}

TEST_F(XSplitViewTest, AClickBesideTheDividerLeavesIt) {
    const QPoint beside = divider() + QPoint(20, 0);
    user({u"mousemove"_s, number(beside.x()), number(beside.y()), u"mousedown"_s, u"1"_s, u"mousemove"_s,
          number(beside.x() + 50), number(beside.y()), u"mouseup"_s, u"1"_s});
    drag(10); // comes after it
    EXPECT_TRUE(isLeft(210)) << ZRKit::width(left);
}

TEST_F(XSplitViewTest, KeysMoveTheDividerOnceItHasTheFocus) {
    user({u"key"_s, u"Tab"_s});
    ASSERT_TRUE(
        eventually([&] { return QApplication::focusWidget() && QApplication::focusWidget() != &window; }));
    user({u"key"_s, u"Right"_s, u"Right"_s, u"Left"_s});
    EXPECT_TRUE(isLeft(210)) << ZRKit::width(left);
    EXPECT_TRUE(eventually([&] {
        return onScreen(*split, {210, 100}) != QColor(212, 212, 212);
    })); // it is marked
    user({u"key"_s, u"End"_s});
    EXPECT_TRUE(isLeft(300)) << ZRKit::width(left);
    user({u"key"_s, u"Home"_s});
    EXPECT_TRUE(isLeft(100)) << ZRKit::width(left);
}

TEST_F(XSplitViewTest, TheLeftPaneKeepsItsWidthInAWindowThatIsResized) {
    resizeWindow(700, 300);
    EXPECT_EQ(left->frame(), QRectF(0, 0, 200, 300));
    EXPECT_EQ(right->frame(), QRectF(201, 0, 499, 300));
    resizeWindow(400, 150);
    EXPECT_EQ(left->frame(), QRectF(0, 0, 200, 150));
    EXPECT_EQ(right->frame(), QRectF(201, 0, 199, 150));
    EXPECT_EQ(right->geometry(), QRect(201, 0, 199, 150));
}

TEST_F(XSplitViewTest, APinnedRightPaneKeepsItsWidthInAWindowThatIsResized) {
    split->setFixRight(true);
    split->setMaxLeft(1000);
    resizeWindow(700, 300);
    EXPECT_EQ(right->frame(), QRectF(400, 0, 300, 300));
    EXPECT_EQ(left->frame(), QRectF(0, 0, 399, 300));
    drag(-100);
    ASSERT_TRUE(isLeft(299)) << ZRKit::width(left);
    resizeWindow(600, 300);
    EXPECT_EQ(right->frame(), QRectF(200, 0, 400, 300));
}

TEST_F(XSplitViewTest, ConflictingLimitsGiveTheLeftPaneTheSmallest) {
    split->setMinLeft(200);
    split->setMaxLeft(150);
    resizeWindow(700, 300);
    EXPECT_EQ(left->frame().width(), 200);
    drag(70);
    drag(-130);
    user({u"key"_s, u"Tab"_s, u"End"_s});
    EXPECT_TRUE(isLeft(200));
    EXPECT_EQ(left->frame().width(), 200);
}

namespace {

/// Gives a menu, and counts how often it was asked.
class MenuGiver : public QObject {
    Q_OBJECT

public:
    MenuGiver() { menu.addAction(u"Item"_s); }
    Q_INVOKABLE QMenu *menuForView(ZRView *, QContextMenuEvent *event) {
        reason = event->reason();
        return &menu;
    }
    QMenu menu;
    QContextMenuEvent::Reason reason = QContextMenuEvent::Other;
};

} // namespace

TEST(XViews, MouseAndMenuKeyBringUpTheDelegatesMenu) {
    MenuGiver delegate;
    ZRWindow window;
    auto *const view = new ZRView(QRectF(0, 0, 300, 200));
    view->setFocusPolicy(Qt::StrongFocus);
    view->setMenuDelegate(&delegate);
    window.setContentView(view);
    window.resize(300, 200);
    window.makeKeyAndOrderFront();
    ASSERT_TRUE(eventually([&] { return QApplication::activeWindow() == &window; }));
    const QPoint place = view->mapToGlobal(QPoint(50, 60));
    user({u"mousemove"_s, number(place.x()), number(place.y()), u"click"_s, u"3"_s});
    ASSERT_TRUE(eventually([&] { return delegate.menu.isVisible(); }));
    EXPECT_EQ(delegate.reason, QContextMenuEvent::Mouse);
    EXPECT_EQ(delegate.menu.pos(), place);
    delegate.menu.close();
    view->setFocus();
    ASSERT_TRUE(eventually([&] { return view->hasFocus() && QApplication::activeWindow() == &window; }));
    user({u"key"_s, u"Menu"_s});
    ASSERT_TRUE(eventually([&] { return delegate.menu.isVisible(); }));
    EXPECT_EQ(delegate.reason, QContextMenuEvent::Keyboard);
    delegate.menu.close();
}

TEST(XViews, MasksFollowAWindowThatIsResized) {
    ZRWindow window;
    auto *const content = new ZRView(QRectF(0, 0, 300, 200));
    content->setBackgroundColor(QColor(255, 255, 255));
    auto *const view = new ZRView(QRectF(10, 20, 100, 50));
    view->setBackgroundColor(QColor(0, 128, 0));
    view->setBorderTop(true);
    content->addSubview(view);
    window.setContentView(content);
    window.resize(300, 200);
    window.makeKeyAndOrderFront();
    ASSERT_TRUE(eventually(
        [&] { return QApplication::activeWindow() == &window && content->size() == QSize(300, 200); }));
    EXPECT_EQ(view->frame(), QRectF(10, 20, 100, 50));
    view->setAutoresizingMask(NSViewWidthSizable | NSViewMinYMargin);
    user({u"windowsize"_s, QString::number(window.winId()), u"400"_s, u"300"_s});
    ASSERT_TRUE(eventually([&] { return content->size() == QSize(400, 300); }));
    EXPECT_EQ(view->frame(), QRectF(10, 120, 200, 50));
    EXPECT_EQ(view->geometry(), QRect(10, 130, 200, 50));
    EXPECT_TRUE(eventually([&] { return onScreen(*content, {209, 130}) == QColor(212, 212, 212); }));
    EXPECT_EQ(onScreen(*content, {209, 131}), QColor(0, 128, 0));
    EXPECT_EQ(onScreen(*content, {209, 129}), QColor(255, 255, 255));
    EXPECT_EQ(onScreen(*content, {210, 131}), QColor(255, 255, 255));
}

#include "XViewsTest.moc"
