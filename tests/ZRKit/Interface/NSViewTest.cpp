// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/NSView+ZRKit.h"

#include "platform/interface/NSDocumentController.h"

#include <QLineEdit>
#include <QMainWindow>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QPushButton>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// Qt's own comparison takes nearly equal numbers for equal.
::testing::AssertionResult has(const QWidget *view, double x, double y, double width, double height) {
    const QRectF frame = NSViewFrame(view);
    if (frame.x() == x && frame.y() == y && frame.width() == width && frame.height() == height)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << frame.x() << " " << frame.y() << " " << frame.width() << " " << frame.height();
}

/// A view in a superview of 1000 by 1000.
struct Placed {
    explicit Placed(const QRectF &frame) : superview(QRectF(0, 0, 1000, 1000)), view(frame, &superview) {}
    NSView superview;
    NSView view;
};

/// Wants a size of its own.
class Sized : public NSView {
    Q_OBJECT

public:
    using NSView::NSView;
    void sizeToFit() override { setFrameSize(wanted); }
    QSizeF wanted = {60, 25};
};

class Special : public NSView {
    Q_OBJECT

public:
    using NSView::NSView;
};

template <typename Length>
concept IsALength = requires(NSView *view, Length v) {
    ZRKit::setLeft(view, v);
};
template <typename Length>
concept IsAGap = requires(NSView *view, Length gap) {
    ZRKit::packVerticallyWithGap(view, gap, 0);
};
template <typename Length>
concept IsASecondArgument = requires(NSView *view, Length gap) {
    ZRKit::packVertically(view, gap);
};
template <typename View, typename Flag>
concept IsStretchable = requires(View *view, Flag flag) {
    ZRKit::setStretch(view, flag);
};

static_assert(IsALength<double> && IsALength<int> && IsALength<float> && IsALength<qint64> &&
              IsALength<short>);
static_assert(!IsALength<bool> && !IsALength<char> && !IsALength<char16_t> && !IsALength<const char *> &&
              !IsALength<QString> && !IsALength<QPointF>);
static_assert(IsAGap<int> && !IsAGap<char> && !IsAGap<bool>);
static_assert(!IsASecondArgument<char> && !IsASecondArgument<int>);
static_assert(IsStretchable<NSView, bool> && IsStretchable<QPushButton, bool> &&
              IsStretchable<QWidget, bool>);
static_assert(!IsStretchable<NSView, int> && !IsStretchable<QPushButton, int> &&
              !IsStretchable<QPushButton, QString> && !IsStretchable<QWidget, const char *>);

} // namespace

TEST(NSViewCategory, ReadsTheFrame) {
    const Placed placed(QRectF(10.5, 20.25, 100, 50.5));
    const NSView *const view = &placed.view;
    EXPECT_EQ(ZRKit::left(view), 10.5);
    EXPECT_EQ(ZRKit::top(view), 20.25);
    EXPECT_EQ(ZRKit::right(view), 110.5);
    EXPECT_EQ(ZRKit::bottom(view), 70.75);
    EXPECT_EQ(ZRKit::width(view), 100);
    EXPECT_EQ(ZRKit::height(view), 50.5);
    EXPECT_EQ(ZRKit::origin(view), QPointF(10.5, 20.25));
    EXPECT_EQ(ZRKit::size(view), QSizeF(100, 50.5));
    EXPECT_EQ(ZRKit::center(view), QPointF(60.5, 45.5));
    EXPECT_EQ(ZRKit::centerX(view), 60.5);
    EXPECT_EQ(ZRKit::centerY(view), 45.5);
    EXPECT_EQ(ZRKit::topRight(view), QPointF(110.5, 20.25));
    EXPECT_EQ(ZRKit::bottomLeft(view), QPointF(10.5, 70.75));
    EXPECT_EQ(ZRKit::bottomRight(view), QPointF(110.5, 70.75));
}

TEST(NSViewCategory, PositionsAreRoundedHalfAwayFromZero) {
    for (const auto &[given, rounded] :
         {std::pair{0.5, 1.0}, {-0.5, -1.0}, {1.49, 1.0}, {2.5, 3.0}, {-2.5, -3.0}}) {
        Placed placed(QRectF(7, 8, 10, 10));
        ZRKit::setLeft(&placed.view, given);
        EXPECT_TRUE(has(&placed.view, rounded, 8, 10, 10));
        ZRKit::setTop(&placed.view, given);
        EXPECT_TRUE(has(&placed.view, rounded, rounded, 10, 10));
    }
}

TEST(NSViewCategory, SetLeftRounds) {
    Placed placed(QRectF(1, 2, 10.5, 20.5));
    ZRKit::setLeft(&placed.view, 3.4);
    EXPECT_TRUE(has(&placed.view, 3, 2, 10.5, 20.5));
}

TEST(NSViewCategory, SetBottomSetsTheTopSoThatBottomIsTheHeightFurther) {
    Placed placed(QRectF(1, 2, 10, 20.5));
    ZRKit::setBottom(&placed.view, 10);
    EXPECT_TRUE(has(&placed.view, 1, 10, 10, 20.5));
    EXPECT_EQ(ZRKit::bottom(&placed.view), 30.5);
    ZRKit::setBottom(&placed.view, 10.5);
    EXPECT_EQ(ZRKit::top(&placed.view), 11);
}

TEST(NSViewCategory, SetRightRoundsTheLeftEdge) {
    Placed placed(QRectF(1, 2, 10.25, 20));
    ZRKit::setRight(&placed.view, 100);
    EXPECT_TRUE(has(&placed.view, 90, 2, 10.25, 20)); // round(89.75)
}

TEST(NSViewCategory, SetWidthRoundsUp) {
    Placed placed(QRectF(1.5, 2, 10, 20));
    ZRKit::setWidth(&placed.view, 30.01);
    EXPECT_TRUE(has(&placed.view, 1.5, 2, 31, 20));
    ZRKit::setWidth(&placed.view, -0.5);
    EXPECT_EQ(ZRKit::width(&placed.view), 0);
}

TEST(NSViewCategory, SetHeightRoundsUpAndKeepsTheUpperEdge) {
    Placed placed(QRectF(1, 2.25, 10, 20.5));
    ZRKit::setHeight(&placed.view, 30.01);
    EXPECT_TRUE(has(&placed.view, 1, -8.25, 10, 31));
    EXPECT_EQ(ZRKit::bottom(&placed.view), 22.75);
}

TEST(NSViewCategory, SetOriginDoesNotRound) {
    Placed placed(QRectF(1, 2, 10, 20));
    ZRKit::setOrigin(&placed.view, QPointF(0.1, 0.2));
    EXPECT_TRUE(has(&placed.view, 0.1, 0.2, 10, 20));
}

TEST(NSViewCategory, SetSizeRoundsBothUp) {
    Placed placed(QRectF(1, 2, 10, 20));
    ZRKit::setSize(&placed.view, QSizeF(0.1, 5));
    EXPECT_TRUE(has(&placed.view, 1, 2, 1, 5));
}

TEST(NSViewCategory, SetCenterDoesNotRound) {
    Placed placed(QRectF(1, 2, 11, 21));
    ZRKit::setCenter(&placed.view, QPointF(50, 60.25));
    EXPECT_TRUE(has(&placed.view, 44.5, 49.75, 11, 21));
}

TEST(NSViewCategory, SetCenterXAndYRoundTheirOwnOnly) {
    Placed placed(QRectF(1.25, 2.25, 11, 21));
    ZRKit::setCenterX(&placed.view, 50.5);
    EXPECT_TRUE(has(&placed.view, 45.5, 2.25, 11, 21));
    ZRKit::setCenterY(&placed.view, 50.5);
    EXPECT_TRUE(has(&placed.view, 45.5, 40.5, 11, 21));
}

TEST(NSViewCategory, MovesByAnyAmount) {
    Placed placed(QRectF(1, 2, 10, 20));
    EXPECT_EQ(ZRKit::moveDelta(&placed.view, 0.25, -1), QPointF(6.25, 11));
    EXPECT_TRUE(has(&placed.view, 1.25, 1, 10, 20));
    ZRKit::moveBy(&placed.view, 1, 0.5);
    EXPECT_TRUE(has(&placed.view, 2.25, 1.5, 10, 20));
}

TEST(NSViewCategory, ScalesItsSizeOnly) {
    Placed placed(QRectF(1, 2, 10, 20));
    ZRKit::scaleBy(&placed.view, 0.25);
    EXPECT_TRUE(has(&placed.view, 1, 2, 2.5, 5));
}

TEST(NSViewCategory, AspectFitShrinksAndRoundsUpButNeverGrows) {
    Placed placed(QRectF(1, 2, 100, 50));
    ZRKit::setSizeWithAspectFit(&placed.view, 33, 1000);
    EXPECT_TRUE(has(&placed.view, 1, 2, 33, 17)); // 16.5
    ZRKit::setSizeWithAspectFit(&placed.view, 1000, 1000);
    EXPECT_TRUE(has(&placed.view, 1, 2, 33, 17));
    placed.view.setFrame(QRectF(1, 2, 10.5, 20.5));
    ZRKit::setSizeWithAspectFit(&placed.view, 1000, 1000);
    EXPECT_TRUE(has(&placed.view, 1, 2, 11, 21));
    placed.view.setFrame(QRectF(1, 2, 0, 50));
    ZRKit::setSizeWithAspectFit(&placed.view, 10, 25);
    EXPECT_TRUE(has(&placed.view, 1, 2, 0, 25));
}

TEST(NSViewCategory, FitInSizeScalesToTheHeightAndThenToTheWidth) {
    Placed placed(QRectF(1, 2, 100, 50));
    ZRKit::fitInSize(&placed.view, 1000, 25);
    EXPECT_TRUE(has(&placed.view, 1, 2, 50, 25));
    ZRKit::fitInSize(&placed.view, 20, 25); // as high, wider
    EXPECT_TRUE(has(&placed.view, 1, 2, 20, 10));
    ZRKit::fitInSize(&placed.view, 20, 10); // as wide: scaled by 1
    EXPECT_TRUE(has(&placed.view, 1, 2, 20, 10));
    ZRKit::fitInSize(&placed.view, 100, 100); // never grows
    EXPECT_TRUE(has(&placed.view, 1, 2, 20, 10));
    ZRKit::fitInSize(&placed.view, 0.5, 5); // both
    EXPECT_TRUE(has(&placed.view, 1, 2, 0.5, 0.25));
    placed.view.setFrame(QRectF(1, 2, 0, 50));
    ZRKit::fitInSize(&placed.view, 10, 25);
    EXPECT_TRUE(has(&placed.view, 1, 2, 0, 25));
    placed.view.setFrame(QRectF(1, 2, 50, 0));
    ZRKit::fitInSize(&placed.view, 25, 25);
    EXPECT_TRUE(has(&placed.view, 1, 2, 25, 0));
}

TEST(NSViewCategory, NormalizeFrameRoundsAllFour) {
    Placed placed(QRectF(1.5, -2.5, 10.4, 20.5));
    EXPECT_EQ(ZRKit::normalizeFrame(&placed.view), &placed.view);
    EXPECT_TRUE(has(&placed.view, 2, -3, 10, 21));
}

TEST(NSViewCategory, ScreenPositionIsTheSumOfAllAncestors) {
    NSView top(QRectF(0.5, 1, 500, 500));
    NSView middle(QRectF(10, 20, 200, 200), &top);
    NSView inside(QRectF(3.25, 4, 50, 50), &middle);
    EXPECT_EQ(ZRKit::screenX(&inside), 13.75);
    EXPECT_EQ(ZRKit::screenY(&inside), 25);
    EXPECT_EQ(ZRKit::screenX(nullptr), 0);
    EXPECT_EQ(ZRKit::screenY(nullptr), 0);
}

TEST(NSViewCategory, SizeToFitKeepsWhatIsNotFlexibleInItsPlace) {
    struct Case {
        unsigned mask;
        QRectF fitted;
    };
    // 60 by 25 instead of 100 by 50
    for (const Case &each :
         {Case{0, {50, 35, 60, 25}}, Case{NSViewMaxXMargin, {10, 35, 60, 25}},
          Case{NSViewMaxYMargin, {50, 10, 60, 25}},
          Case{NSViewMaxXMargin | NSViewMaxYMargin, {10, 10, 60, 25}},
          Case{NSViewWidthSizable | NSViewHeightSizable, {50, 35, 60, 25}}, Case{63, {10, 10, 60, 25}}}) {
        NSView superview(QRectF(0, 0, 500, 500));
        Sized view(QRectF(10, 10, 100, 50), &superview);
        view.setAutoresizingMask(each.mask);
        ZRKit::sizeToFitRespectingAutoresizingMask(&view);
        EXPECT_EQ(view.frame(), each.fitted) << each.mask;
    }
    NSView superview(QRectF(0, 0, 500, 500));
    QPushButton button(u"Text"_s, &superview);
    NSViewSetFrame(&button, QRectF(10, 10, 300, 100));
    ZRKit::sizeToFitRespectingAutoresizingMask(&button);
    EXPECT_EQ(ZRKit::size(&button), QSizeF(button.sizeHint()));
    EXPECT_EQ(ZRKit::bottomRight(&button), QPointF(310, 110));
}

TEST(NSViewCategory, MakesViewsOfAClass) {
    const std::unique_ptr<NSView> framed = ZRKit::newWithFrame(QRectF(1, 2, 3.5, 4));
    EXPECT_TRUE(has(framed.get(), 1, 2, 3.5, 4));
    const std::unique_ptr<Sized> sized = ZRKit::newWithSize<Sized>(QSizeF(30, 40));
    EXPECT_TRUE(has(sized.get(), 0, 0, 30, 40));
    const std::unique_ptr<QPushButton> button = ZRKit::newWithFrame<QPushButton>(QRectF(1, 2, 3, 4));
    EXPECT_TRUE(has(button.get(), 1, 2, 3, 4));
}

TEST(NSViewCategory, AFilledSubviewTakesTheBounds) {
    NSView view(QRectF(10, 10, 100.5, 50));
    auto *const subview = new QPushButton;
    ZRKit::addFilledSubview(&view, subview);
    EXPECT_EQ(NSViewSuperview(subview), &view);
    EXPECT_TRUE(has(subview, 0, 0, 100.5, 50));
    EXPECT_EQ(subview->size(), view.size());
}

TEST(NSViewCategory, StretchingIsAMaskOfEighteenOnAnyWidget) {
    NSView superview(QRectF(0, 0, 100, 100));
    NSView view(QRectF(10, 10, 50, 50), &superview);
    QPushButton button(&superview);
    EXPECT_EQ(ZRKit::setStretch(&view, true), &view);
    EXPECT_EQ(view.autoresizingMask(), 18u);
    EXPECT_EQ(ZRKit::setStretch(&button, true), &button);
    EXPECT_EQ(NSViewAutoresizingMask(&button), 18u);
    EXPECT_EQ(ZRKit::setStretch(&button, false), &button);
    EXPECT_EQ(NSViewAutoresizingMask(&button), 0u);
    ZRKit::setStretch(&view, false);
    EXPECT_EQ(view.autoresizingMask(), 0u);
}

TEST(NSViewCategory, RemovesAllAnimations) {
    NSView view;
    QPropertyAnimation animation(&view, "pos", &view);
    animation.setDuration(1'000'000);
    animation.setEndValue(QPoint(5, 5));
    animation.start();
    ASSERT_EQ(animation.state(), QAbstractAnimation::Running);
    ZRKit::removeAllAnimations(&view);
    EXPECT_EQ(animation.state(), QAbstractAnimation::Stopped);
}

TEST(NSViewCategory, RemovesAllSubviewsLastFirst) {
    class Noting : public NSView {
    public:
        Noting(QList<Noting *> &removals, QWidget *superview) : NSView(superview), m_removals(removals) {}
        void viewWillMoveToSuperview(QWidget *) override { m_removals.append(this); }

    private:
        QList<Noting *> &m_removals;
    };
    NSView view;
    QList<Noting *> removed;
    auto first = std::make_unique<Noting>(removed, &view);
    auto second = std::make_unique<Noting>(removed, &view);
    ZRKit::removeAllSubviews(&view);
    EXPECT_TRUE(view.subviews().isEmpty());
    EXPECT_EQ(removed, (QList<Noting *>{second.get(), first.get()}));
}

TEST(NSViewCategory, TheFirstResponderIsWhoHasTheWindowsFocus) {
    NSView window(QRectF(0, 0, 100, 100));
    QLineEdit first(&window), second(&window);
    window.show();
    second.setFocus();
    EXPECT_TRUE(ZRKit::isFirstResponder(&second));
    EXPECT_FALSE(ZRKit::isFirstResponder(&first));
    ZRKit::findAndResignFirstResponder(&second);
    EXPECT_TRUE(ZRKit::isFirstResponder(&second));
}

TEST(NSViewCategory, TheLibraryIsTheFirstOpenDocument) {
    const NSView view;
    EXPECT_EQ(ZRKit::library(&view), nullptr);
    QObject first, second;
    NSDocumentController *const controller = NSDocumentController::sharedDocumentController();
    controller->addDocument(&first);
    controller->addDocument(&second);
    EXPECT_EQ(ZRKit::library(&view), &first);
    EXPECT_EQ(ZRKit::library(nullptr), nullptr);
    controller->removeDocument(&first);
    controller->removeDocument(&second);
}

TEST(NSViewCategory, AncestorsAreFoundByClassAndSubclass) {
    Special top;
    NSView middle(&top);
    QPushButton inside(&middle);
    EXPECT_EQ(ZRKit::ancestorOrSelfWithClass<Special>(&inside), &top);
    EXPECT_EQ(ZRKit::ancestorOrSelfWithClass<NSView>(&inside), &middle);
    EXPECT_EQ(ZRKit::ancestorOrSelfWithClass<NSView>(&top), &top);
    EXPECT_EQ(ZRKit::ancestorOrSelfWithClass(&inside, QPushButton::staticMetaObject), &inside);
    EXPECT_EQ(ZRKit::ancestorOrSelfWithClass<QLineEdit>(&inside), nullptr);
    EXPECT_EQ(ZRKit::ancestorOrSelfWithClass<NSView>(nullptr), nullptr);
}

TEST(NSViewCategory, OnlyTheReceiverItselfIsFoundAsADescendant) {
    NSView view;
    Special inside(&view);
    EXPECT_EQ(ZRKit::descendantOrSelfWithClass<Special>(&view), nullptr);
    EXPECT_EQ(ZRKit::descendantOrSelfWithClass<Special>(&inside), &inside);
    EXPECT_EQ(ZRKit::descendantOrSelfWithClass<NSView>(&inside), &inside);
    EXPECT_EQ(ZRKit::descendantOrSelfWithClass<NSView>(nullptr), nullptr);
}

TEST(NSViewCategory, SubviewsAreFoundByTheExactNameOfTheirClassDepthFirst) {
    NSView view;
    NSView branch(&view);
    Special deep(&branch);
    Special shallow(&view);
    EXPECT_EQ(ZRKit::findSubViewByClassName(&view, u"Special"_s), &deep);
    EXPECT_EQ(ZRKit::findSubViewByClassName(&view, "NSView"), &view);
    EXPECT_EQ(ZRKit::findSubViewByClassName(&shallow, "NSView"), nullptr); // a superclass's name isn't enough
    EXPECT_EQ(ZRKit::findSubViewByClassName(&view, "special"), nullptr);
    EXPECT_EQ(ZRKit::findSubViewByClassName(&view, QString()), nullptr);
}

TEST(NSViewCategory, ShowsSubviewsALineEach) {
    NSView view;
    Special special(&view);
    QPushButton button(&special);
    NSView other(&view);
    const QString tree = u"NSView\n\tSpecial\n\t\tQPushButton\n\tNSView\n"_s;
    EXPECT_EQ(ZRKit::showSubviews(&view, &view, QString()), tree);
    EXPECT_EQ(ZRKit::showSubviews(nullptr, &view, ""), tree);
    EXPECT_EQ(ZRKit::showSubviews(&view, &special, "> "), u"> Special\n> \tQPushButton\n"_s);
    EXPECT_EQ(ZRKit::showSubviews(&view, nullptr, ""), u""_s);
}

TEST(NSViewCategory, DumpsTheTreeWithFrames) {
    NSView view(QRectF(1, 2, 300, 200.5));
    Special special(QRectF(0, 0, 10, 10), &view);
    QPushButton button(&special);
    NSViewSetFrame(&button, QRectF(1, 1, 5, 5));
    NSView faint(QRectF(0, 0, 20, 20), &view);
    faint.setAlphaValue(0);
    special.setHidden(true);
    EXPECT_EQ(ZRKit::dump(&view), u"[ 0] NSView {{1, 2}, {300, 200.5}}\n"
                                  "**[ 1] Special {{0, 0}, {10, 10}}\n"
                                  "----[ 2] QPushButton {{1, 1}, {5, 5}}\n"
                                  "**[ 1] NSView {{0, 0}, {20, 20}}\n"_s);
    QString text = u"before\n"_s;
    ZRKit::dumpView(nullptr, &button, 12, text);
    EXPECT_EQ(text, u"before\n"_s + u"--"_s.repeated(12) + u"[12] QPushButton {{1, 1}, {5, 5}}\n"_s);
    EXPECT_TRUE(ZRKit::dump(static_cast<QWidget *>(nullptr)).isNull());
}

TEST(NSViewCategory, DumpsTheContentOfTheWindow) {
    QMainWindow window;
    auto *const content = new NSView(QRectF(0, 0, 10, 10));
    window.setCentralWidget(content);
    const NSView inside(QRectF(0, 0, 5, 5), content);
    EXPECT_EQ(ZRKit::dumpAll(&inside), ZRKit::dump(content));
    EXPECT_TRUE(ZRKit::dumpAll(&inside).contains(u"--[ 1] NSView {{0, 0}, {5, 5}}"_s));
    const NSView alone(QRectF(0, 0, 5, 5));
    EXPECT_EQ(ZRKit::dumpAll(&alone), ZRKit::dump(&alone));
}

TEST(NSViewCategory, PacksVerticallyWithTheFirstOnTop) {
    NSView superview(QRectF(0, 0, 500, 500));
    NSView view(QRectF(10, 100, 50, 200), &superview);
    NSView first(QRectF(0, 0, 10, 10), &view);
    NSView second(QRectF(0, 0, 10, 20), &view);
    NSView hidden(QRectF(0, 1, 10, 1000), &view);
    hidden.setHidden(true);
    NSView third(QRectF(0, 0, 10, 30), &view);
    EXPECT_EQ(ZRKit::packVerticallyWithGap(&view, 5, 2, 3), 75);
    EXPECT_TRUE(has(&view, 10, 225, 50, 75)); // y + height stays 300
    EXPECT_EQ(ZRKit::top(&third), 3);
    EXPECT_EQ(ZRKit::top(&second), 38);
    EXPECT_EQ(ZRKit::top(&first), 63);
    EXPECT_EQ(ZRKit::top(&hidden), 1);
    EXPECT_LT(first.y(), second.y()); // on the screen, too, the first is on top
    EXPECT_EQ(first.geometry(), QRect(0, 2, 10, 10));
    EXPECT_EQ(third.geometry(), QRect(0, 42, 10, 30));
}

TEST(NSViewCategory, PacksVerticallyInShorterForms) {
    NSView view(QRectF(0, 0, 50, 200));
    NSView first(QRectF(0, 0, 10, 10.4), &view);
    NSView second(QRectF(0, 0, 10, 20.4), &view);
    EXPECT_EQ(ZRKit::packVerticallyWithGap(&view, 1, 4), 35); // round(21.4) + round(11.4) - 1 + 4 - rounding
    EXPECT_EQ(ZRKit::top(&second), 0);
    EXPECT_EQ(ZRKit::top(&first), 21);
    EXPECT_EQ(ZRKit::packVertically(&view), 30);
    EXPECT_EQ(ZRKit::top(&first), 20);
    NSView empty(QRectF(0, 0, 50, 200));
    EXPECT_EQ(ZRKit::packVerticallyWithGap(&empty, 1, 4, 6), 9);
    EXPECT_EQ(ZRKit::packVertically(nullptr), 0);
}

TEST(NSViewCategory, PacksHorizontally) {
    NSView view(QRectF(0, 0, 500, 50));
    NSView first(QRectF(0, 0, 10, 10), &view);
    NSView hidden(QRectF(7, 0, 1000, 10), &view);
    hidden.setHidden(true);
    NSView second(QRectF(0, 0, 20, 10), &view);
    EXPECT_EQ(ZRKit::packHorizontallyWithGap(&view, 4, 2), 40);
    EXPECT_EQ(ZRKit::left(&first), 2);
    EXPECT_EQ(ZRKit::left(&second), 16);
    EXPECT_EQ(ZRKit::left(&hidden), 7);
    EXPECT_EQ(ZRKit::width(&view), 36);
    EXPECT_EQ(ZRKit::packHorizontally(&view), 30);
    EXPECT_EQ(ZRKit::width(&view), 30);
    NSView empty(QRectF(0, 0, 500, 50));
    EXPECT_EQ(ZRKit::packHorizontallyWithGap(&empty, 4, 2), 2);
    EXPECT_EQ(ZRKit::width(&empty), 0); // never less
    EXPECT_EQ(ZRKit::packHorizontallyWithGap(nullptr, 4, 2), 0);
}

TEST(NSViewCategory, NilIsNeutral) {
    EXPECT_EQ(ZRKit::left(nullptr), 0);
    EXPECT_EQ(ZRKit::size(nullptr), QSizeF(0, 0));
    EXPECT_EQ(ZRKit::center(nullptr), QPointF());
    ZRKit::setLeft(nullptr, 1);
    ZRKit::setHeight(nullptr, 1);
    EXPECT_EQ(ZRKit::moveDelta(nullptr, 1, 1), QPointF());
    EXPECT_EQ(ZRKit::normalizeFrame(nullptr), nullptr);
    ZRKit::sizeToFitRespectingAutoresizingMask(nullptr);
    ZRKit::addFilledSubview(nullptr, nullptr);
    ZRKit::removeAllSubviews(nullptr);
    EXPECT_FALSE(ZRKit::isFirstResponder(nullptr));
    EXPECT_EQ(ZRKit::findSubViewByClassName(nullptr, ""), nullptr);
}

#include "NSViewTest.moc"
