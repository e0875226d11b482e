// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRSplitView.h"

#include "ZRKit/Interface/NSView+ZRKit.h"
#include "platform/interface/NSNib.h"
#include "platform/values/NSKeyValueCoding.h"
#include "tests/support/LogCapture.h"

#include <QApplication>
#include <QPushButton>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// A split view of 500 by 100 with panes of 200 and 299 points, as its own delegate.
struct Panes {
    Panes()
        : view(QRectF(0, 0, 500, 100)), left(QRectF(0, 0, 200, 100), &view),
          right(QRectF(201, 0, 299, 100), &view) {
        view.awakeFromNib();
    }
    void resizeTo(double width, double height = 100) { view.setFrameSize(QSizeF(width, height)); }

    ZRSplitView view;
    NSView left;
    NSView right;
};

template <typename Flag>
concept IsAFlag = requires(ZRSplitView &view, Flag flag) {
    view.setFixRight(flag);
};
static_assert(IsAFlag<bool> && !IsAFlag<int> && !IsAFlag<QString> && !IsAFlag<const char *>);

std::unique_ptr<QWidget> loaded(const QString &properties) {
    const QString pane =
        u"<widget class=\"QPushButton\" name=\"pane%1\"><property name=\"geometry\"><rect><x>%2</x><y>0</y>"
        "<width>%3</width><height>100</height></rect></property></widget>"_s;
    const QString file =
        u"<?xml version=\"1.0\" encoding=\"UTF-8\"?><ui version=\"4.0\"><class>Form</class>"
        "<widget class=\"ZRSplitView\" name=\"Form\"><property name=\"geometry\"><rect><x>0</x>"
        "<y>0</y><width>500</width><height>100</height></rect></property>"_s +
        properties + pane.arg(1).arg(0).arg(200) + pane.arg(2).arg(201).arg(299) +
        u"</widget><customwidgets><customwidget><class>ZRSplitView</class><extends>QWidget</extends>"
        "<header>ZRSplitView.h</header></customwidget></customwidgets></ui>"_s;
    std::unique_ptr<QWidget> view = NSNib(file.toUtf8()).instantiateWithOwner(nullptr);
    EXPECT_TRUE(qobject_cast<ZRSplitView *>(view.get()));
    return view;
}

QString attribute(const QString &name, const QString &value) {
    return u"<property name=\"%1\" stdset=\"0\">%2</property>"_s.arg(name, value);
}

} // namespace

TEST(ZRSplitView, HasADividerOfOnePointInGrey) {
    Panes panes;
    EXPECT_EQ(panes.view.dividerThickness(), 1);
    QImage picture(500, 100, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::white);
    panes.view.render(&picture, QPoint(), QRegion(), QWidget::DrawChildren);
    for (int x = 195; x < 205; ++x)
        EXPECT_EQ(picture.pixelColor(x, 50), x == 200 ? QColor(212, 212, 212) : QColor(Qt::white)) << x;
}

TEST(ZRSplitView, LimitsAreWhatWasSetOrWhatTheOthersLeave) {
    ZRSplitView view(QRectF(0, 0, 500, 100));
    EXPECT_EQ(view.minLeft(), 500);
    EXPECT_EQ(view.maxLeft(), 500);
    EXPECT_EQ(view.minRight(), 500);
    EXPECT_EQ(view.maxRight(), 500);
    EXPECT_FALSE(view.fixRight());
    view.setMinLeft(100);
    EXPECT_EQ(view.minLeft(), 100);
    EXPECT_EQ(view.maxRight(), 400);
    view.setMaxLeft(300);
    EXPECT_EQ(view.maxLeft(), 300);
    EXPECT_EQ(view.minRight(), 200);
    view.setMinRight(50);
    EXPECT_EQ(view.minRight(), 50);
    view.setMaxRight(450);
    EXPECT_EQ(view.maxRight(), 450);
    view.setMinLeft(0);
    EXPECT_EQ(view.minLeft(), 50);
}

TEST(ZRSplitView, NegativeLimitsAreZero) {
    ZRSplitView view(QRectF(0, 0, 500, 100));
    view.setMinLeft(-10);
    EXPECT_EQ(view.minLeft(), 0);
    EXPECT_EQ(view.maxRight(), 510); // from the number as it was set
    view.setMaxRight(600);
    view.setMinLeft(0);
    EXPECT_EQ(view.minLeft(), 0);
}

TEST(ZRSplitView, WithoutAnyAttributeTheLeftPaneTakesAll) {
    Panes panes;
    panes.resizeTo(600);
    EXPECT_EQ(panes.left.frame(), QRectF(0, 0, 599, 100));
    EXPECT_EQ(panes.right.frame(), QRectF(600, 0, 0, 100));
}

TEST(ZRSplitView, TheLeftPaneKeepsItsWidthAsFarAsItFits) {
    Panes panes;
    panes.view.setMinLeft(100);
    panes.view.setMaxLeft(300);
    panes.resizeTo(600, 80);
    EXPECT_EQ(panes.left.frame(), QRectF(0, 0, 200, 80));
    EXPECT_EQ(panes.right.frame(), QRectF(201, 0, 399, 80));
    panes.resizeTo(150);
    EXPECT_EQ(panes.left.frame(), QRectF(0, 0, 149, 100));
    EXPECT_EQ(panes.right.frame(), QRectF(150, 0, 0, 100));
    panes.resizeTo(600);
    EXPECT_EQ(panes.left.frame(), QRectF(0, 0, 149, 100)); // as it was, within its limits
}

TEST(ZRSplitView, APinnedRightPaneKeepsItsWidth) {
    Panes panes;
    panes.view.setMinLeft(10);
    panes.view.setMaxLeft(1000);
    panes.view.setMinRight(100);
    panes.view.setMaxRight(400);
    panes.view.setFixRight(true);
    panes.resizeTo(700);
    EXPECT_EQ(panes.right.frame(), QRectF(401, 0, 299, 100));
    EXPECT_EQ(panes.left.frame(), QRectF(0, 0, 400, 100));
    panes.resizeTo(350);
    EXPECT_EQ(panes.right.frame(), QRectF(51, 0, 299, 100));
    EXPECT_EQ(panes.left.frame(), QRectF(0, 0, 50, 100));
}

TEST(ZRSplitView, APinnedRightPaneWiderThanTheViewLeavesTheLeftOneNothing) {
    Panes panes;
    panes.view.setFixRight(true);
    panes.view.setMinRight(299);
    panes.view.setMaxRight(299);
    panes.resizeTo(200);
    EXPECT_EQ(panes.left.frame(), QRectF(0, 0, 0, 100));
    EXPECT_EQ(panes.right.frame(), QRectF(1, 0, 199, 100));
}

TEST(ZRSplitView, TheSmallestWidthWinsOverTheLargest) {
    Panes panes;
    panes.view.setValue(200, u"minleft"_s);
    panes.view.setValue(150, u"maxleft"_s);
    panes.resizeTo(600);
    EXPECT_EQ(panes.left.frame().width(), 200);
    ZRKit::setWidth(&panes.left, 500);
    panes.resizeTo(700);
    EXPECT_EQ(panes.left.frame().width(), 200);
}

TEST(ZRSplitView, TheRightPaneIsLimitedTooBeforeItTakesTheRest) {
    Panes panes;
    panes.view.setFixRight(true);
    panes.view.setMinRight(50);
    panes.view.setMaxRight(120);
    panes.resizeTo(600);
    EXPECT_EQ(panes.right.frame(), QRectF(480, 0, 120, 100));
    EXPECT_EQ(panes.left.frame().width(), 479);
}

TEST(ZRSplitView, KeepsThePanesOriginsAsTheyAre) {
    Panes panes;
    panes.view.setMinLeft(10);
    panes.view.setMaxLeft(400);
    panes.left.setFrameOrigin(QPointF(3, 4));
    panes.right.setFrameOrigin(QPointF(77, 5));
    panes.view.updateSplitview();
    EXPECT_EQ(panes.left.frame(), QRectF(3, 4, 200, 100));
    EXPECT_EQ(panes.right.frame(), QRectF(201, 5, 299, 100));
}

TEST(ZRSplitView, MissingPanesAreNoReasonToFail) {
    ZRSplitView view(QRectF(0, 0, 500, 100));
    view.updateSplitview();
    view.setFrameSize(QSizeF(300, 100));
    NSView left(QRectF(0, 0, 100, 100), &view);
    view.setMinLeft(10);
    view.setMaxLeft(200);
    view.setFrameSize(QSizeF(400, 50));
    EXPECT_EQ(left.frame(), QRectF(0, 0, 100, 50));
}

TEST(ZRSplitView, ThreeSubviewsAreLoggedAndTheFirstTwoLaidOut) {
    ZRSplitView view(QRectF(0, 0, 500, 100));
    NSView left(QRectF(0, 0, 200, 100), &view), right(QRectF(201, 0, 299, 100), &view),
        third(QRectF(7, 7, 7, 7), &view);
    const LogCapture log;
    view.awakeFromNib();
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines()[0].startsWith(
        u"We need exactly 2 subviews, not more not less <ZRSplitView:18> -[ZRSplitView awakeFromNib]\n\n"
        "    self.subviews.count == 2 failed assertion\n\n"_s))
        << log.lines()[0].toStdString();
    EXPECT_EQ(view.delegate(), &view);
    view.setMinLeft(100);
    view.setMaxLeft(300);
    view.setFrameSize(QSizeF(600, 100));
    EXPECT_EQ(left.frame(), QRectF(0, 0, 200, 100));
    EXPECT_EQ(right.frame(), QRectF(201, 0, 399, 100));
    EXPECT_EQ(third.frame(), QRectF(7, 7, 7, 7));
}

TEST(ZRSplitView, TwoSubviewsAreAsItShouldBe) {
    const LogCapture log;
    Panes panes;
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_EQ(panes.view.delegate(), &panes.view);
    QObject other;
    panes.view.setDelegate(&other);
    panes.view.awakeFromNib();
    EXPECT_EQ(panes.view.delegate(), &other);
}

TEST(ZRSplitView, AnswersAsItsOwnDelegate) {
    Panes panes;
    panes.view.setMinLeft(120);
    panes.view.setMaxLeft(260);
    EXPECT_EQ(panes.view.splitViewConstrainMinCoordinate(&panes.view, 7, 3), 120);
    EXPECT_EQ(panes.view.splitViewConstrainMaxCoordinate(&panes.view, 7, 3), 260);
    EXPECT_FALSE(panes.view.splitViewShouldHideDividerAtIndex(&panes.view, 0));
    ZRKit::setWidth(&panes.left, 230);
    panes.view.splitViewResizeSubviewsWithOldSize(&panes.view, QSizeF(1, 1));
    EXPECT_EQ(panes.right.frame(), QRectF(231, 0, 269, 100));
}

TEST(ZRSplitView, TheDividerIsDraggedWithinTheLeftPanesLimits) {
    Panes panes;
    panes.view.setMinLeft(120);
    panes.view.setMaxLeft(260);
    panes.view.setPosition(10, 0);
    EXPECT_EQ(panes.left.frame().width(), 120);
    EXPECT_EQ(panes.right.frame(), QRectF(121, 0, 379, 100));
    panes.view.setPosition(400, 0);
    EXPECT_EQ(panes.left.frame().width(), 260);
    panes.view.setMinLeft(200);
    panes.view.setMaxLeft(150); // the smallest wins here as well
    panes.view.setPosition(170, 0);
    EXPECT_EQ(panes.left.frame().width(), 200);
}

TEST(ZRSplitView, TakesItsFiveAttributesAsTheyAreWritten) {
    ZRSplitView view(QRectF(0, 0, 500, 100));
    view.setValue(u"101.1"_s, u"minleft"_s);
    view.setValue(u"IB 7"_s, u"maxleft"_s); // no number
    view.setValue(303, u"IBmaxleft"_s);
    view.setValue(52.5, u"$minright"_s);
    view.setValue(u"404pt"_s, u"IB$maxright"_s);
    view.setValue(u"YES"_s, u"fixRight"_s);
    EXPECT_EQ(view.minLeft(), double(101.1F));
    EXPECT_EQ(view.maxLeft(), 303);
    EXPECT_EQ(view.minRight(), 52.5);
    EXPECT_EQ(view.maxRight(), 404);
    EXPECT_TRUE(view.fixRight());
    view.setValue(u"no"_s, u"fixRight"_s);
    EXPECT_FALSE(view.fixRight());
}

TEST(ZRSplitView, AnAttributeInOtherCaseIsNoneOfTheFive) {
    ZRSplitView view(QRectF(0, 0, 500, 100));
    for (const QString &key : {u"minLeft"_s, u"MINLEFT"_s, u"maxRight"_s, u"fixright"_s, u"FixRight"_s,
                               u"left"_s, u""_s, QString()})
        view.setValue(7, key);
    EXPECT_EQ(view.minLeft(), 500);
    EXPECT_EQ(view.maxRight(), 500);
    EXPECT_FALSE(view.fixRight());
    NSKeyValueCoding::setValueForKey(&view, 7, u"minLeft"_s);
    EXPECT_EQ(view.minLeft(), 500);
}

TEST(ZRSplitView, TakesAttributesFromAnInterfaceFile) {
    const auto widget = loaded(attribute(u"minleft"_s, u"<string>120 points</string>"_s) +
                               attribute(u"maxleft"_s, u"<double>260.5</double>"_s) +
                               attribute(u"minright"_s, u"<number>10</number>"_s) +
                               attribute(u"maxright"_s, u"<string>1000</string>"_s) +
                               attribute(u"fixRight"_s, u"<string>no</string>"_s) +
                               attribute(u"minLeft"_s, u"<number>1</number>"_s));
    const auto *const view = static_cast<ZRSplitView *>(widget.get());
    EXPECT_EQ(view->minLeft(), 120);
    EXPECT_EQ(view->maxLeft(), 260.5);
    EXPECT_EQ(view->minRight(), 10);
    EXPECT_EQ(view->maxRight(), 1000);
    EXPECT_FALSE(view->fixRight());
    EXPECT_EQ(view->delegate(), view);
    widget->resize(700, 50);
    EXPECT_EQ(NSViewFrame(view->subviews()[0]), QRectF(0, 0, 200, 50));
    EXPECT_EQ(NSViewFrame(view->subviews()[1]), QRectF(201, 0, 499, 50));
    const auto pinned = loaded(attribute(u"fixRight"_s, u"<bool>true</bool>"_s) +
                               attribute(u"maxright"_s, u"<number>299</number>"_s) +
                               attribute(u"minright"_s, u"<number>100</number>"_s));
    pinned->resize(700, 50);
    EXPECT_EQ(NSViewFrame(static_cast<ZRSplitView *>(pinned.get())->subviews()[1]), QRectF(401, 0, 299, 50));
}

TEST(ZRSplitView, PassesOnThatItMoves) {
    NSView superview;
    auto *const view = new ZRSplitView;
    superview.addSubview(view);
    EXPECT_EQ(view->superview(), &superview);
}
