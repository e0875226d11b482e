// SPDX-License-Identifier: MIT
#include "ZRKit/Values/CGGeometry.h"

#include <QList>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace ZRKit;

namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();
constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();

// Qt compares points, sizes and rectangles by approximation.
void expectIs(const QPointF &point, double x, double y) {
    EXPECT_EQ(point.x(), x);
    EXPECT_EQ(point.y(), y);
}

void expectIs(const QSizeF &size, double width, double height) {
    EXPECT_EQ(size.width(), width);
    EXPECT_EQ(size.height(), height);
}

void expectIs(const QRectF &rect, double x, double y, double width, double height) {
    expectIs(rect.topLeft(), x, y);
    expectIs(rect.size(), width, height);
}

const QRectF Rect(3.5, -2, 10, 25);

} // namespace

TEST(CGGeometry, AnAnchorCountsFromTheOriginInTheRectanglesOwnUnits) {
    expectIs(CGPointGetPointForAnchorPointInRect({0, 0}, Rect), 3.5, -2);
    expectIs(CGPointGetPointForAnchorPointInRect({1, 1}, Rect), 13.5, 23);
    expectIs(CGPointGetPointForAnchorPointInRect({0.25, 2}, Rect), 6, 48);
}

TEST(CGGeometry, TheAnchorOfTheCentreIsAHalfAndTheHalfIsTheCentreAgain) {
    const QPointF anchor = CGPointGetAnchorPointForPointInRect(CGPointForCenterInRect(Rect), Rect);
    expectIs(anchor, 0.5, 0.5);
    expectIs(CGPointGetPointForAnchorPointInRect(anchor, Rect), 8.5, 10.5);
    expectIs(CGPointGetAnchorPointForPointInRect({13.5, 23}, Rect), 1, 1);
    expectIs(CGPointGetAnchorPointForPointInRect({13.5, 0.5}, Rect), 1, 0.1);
}

TEST(CGGeometry, TheAnchorInARectangleWithoutWidthIsInfiniteOrNoNumber) {
    const QPointF anchor = CGPointGetAnchorPointForPointInRect({1, 0}, {0, 0, 0, 0});
    EXPECT_EQ(anchor.x(), Infinity);
    EXPECT_TRUE(std::isnan(anchor.y()));
}

TEST(CGGeometry, BothCentresAreTheMiddle) {
    expectIs(CGPointForCenterInRect(Rect), 8.5, 10.5);
    expectIs(CGRectGetMidPoint(Rect), 8.5, 10.5);
    expectIs(CGRectGetMidPoint({10, 10, -4, -6}), 8, 7);
}

TEST(CGGeometry, TheDistanceOfThreeAndFourIsFive) {
    EXPECT_EQ(CGPointDistanceBetweenPoints({0, 0}, {3, 4}), 5);
    EXPECT_EQ(CGPointDistanceBetweenPoints({3, 4}, {0, 0}), 5);
    EXPECT_EQ(CGPointDistanceBetweenPoints({7, 7}, {7, 7}), 0);
}

TEST(CGGeometry, DistancesHaveSinglePrecisionInEveryStep) {
    // Exactly, it is 0x1.829ac08fa6c97p+2; squared in double precision first, it would be 0x1.829ac2p+2.
    EXPECT_EQ(CGPointDistanceBetweenPoints({0, 0}, {5.7, 2}), 0x1.829acp+2);
    // The difference is taken in double precision.
    EXPECT_EQ(CGPointDistanceBetweenPoints({16777217, 0}, {16777220, 4}), 5);
    EXPECT_EQ(CGPointDistanceBetweenPoints({0, 0}, {16777217, 0}), 16777216);
    EXPECT_EQ(CGPointDistanceBetweenPoints({0, 0}, {1e20, 0}), Infinity);
    EXPECT_EQ(CGPointDistanceBetweenPoints({0, 0}, {1e-30, 0}), 0);
}

TEST(CGGeometry, TheNormalizedDistanceIsTheDifferenceAsItStands) {
    expectIs(CGPointNormalizedDistance({1, 2}, {31, -38}), 30, -40);
}

TEST(CGGeometry, TheAspectRatioIsWidthByHeight) {
    EXPECT_EQ(CGSizeGetAspectRatio({3, 2}), 1.5);
    EXPECT_EQ(CGSizeGetAspectRatio({-3, 2}), -1.5);
    EXPECT_EQ(CGSizeGetAspectRatio({3, 0}), Infinity);
    EXPECT_TRUE(std::isnan(CGSizeGetAspectRatio({0, 0})));
}

TEST(CGGeometry, ProportionsAreComparedNotSizes) {
    EXPECT_TRUE(CGSizeAspectIsWiderThanCGSize({2, 1}, {300, 200}));
    EXPECT_FALSE(CGSizeAspectIsWiderThanCGSize({300, 200}, {2, 1}));
    EXPECT_FALSE(CGSizeAspectIsWiderThanCGSize({2, 1}, {200, 100}));
    EXPECT_FALSE(CGSizeAspectIsWiderThanCGSize({0, 0}, {1, 1}));
    EXPECT_TRUE(CGSizeAspectIsWiderThanCGSize({1, 0}, {1, 1}));
}

TEST(CGGeometry, AWiderOuterSizeTakesTheInnerHeightAndKeepsItsProportions) {
    expectIs(CGSizeAdjustOuterSizeToFitInnerSize({200, 100}, {100, 100}), 200, 100);
    expectIs(CGSizeAdjustOuterSizeToFitInnerSize({30, 10}, {4, 2}), 6, 2);
}

TEST(CGGeometry, AnotherOuterSizeMultipliesTheInnerWidthByItsProportions) {
    expectIs(CGSizeAdjustOuterSizeToFitInnerSize({100, 200}, {100, 100}), 100, 50);
    expectIs(CGSizeAdjustOuterSizeToFitInnerSize({30, 10}, {9, 2}), 9, 27);
    // Equal proportions are not wider.
    expectIs(CGSizeAdjustOuterSizeToFitInnerSize({40, 20}, {10, 5}), 10, 20);
}

TEST(CGGeometry, NoValueEverCountsAsNotANumber) {
    EXPECT_FALSE(CGRectGotAnyNanValues({NotANumber, NotANumber, NotANumber, NotANumber}));
    EXPECT_FALSE(CGRectGotAnyNanValues(Rect));
    EXPECT_FALSE(CGSizeGotAnyNanValues({NotANumber, 1}));
    EXPECT_FALSE(CGSizeGotAnyNanValues({1, 1}));
    EXPECT_FALSE(CGPointGotAnyNanValues({1, NotANumber}));
    EXPECT_FALSE(CGPointGotAnyNanValues({1, 1}));
}

TEST(CGGeometry, ASizeIsAddedToAPoint) {
    expectIs(CGPointAddSize({1, 2}, {0.5, -4}), 1.5, -2);
}

TEST(CGGeometry, SizesAreHalvedExchangedAndMadeRectangles) {
    expectIs(CGRectMakeWithSize({5, -6}), 0, 0, 5, -6);
    expectIs(CGSizeGetHalf({5, -6}), 2.5, -3);
    expectIs(CGSizeSwitchAxis({5, -6}), -6, 5);
}

TEST(CGGeometry, OneFieldOfARectangleIsReplaced) {
    expectIs(CGRectWithSize(Rect, {1, -2}), 3.5, -2, 1, -2);
    expectIs(CGRectWithWidth(Rect, 0.25), 3.5, -2, 0.25, 25);
    expectIs(CGRectWithHeight(Rect, -0.25), 3.5, -2, 10, -0.25);
    expectIs(CGRectWithOrigin(Rect, {7, 8}), 7, 8, 10, 25);
    expectIs(CGRectWithOriginMinX(Rect, 7), 7, -2, 10, 25);
    expectIs(CGRectWithOriginMinY(Rect, 7), 3.5, 7, 10, 25);
}

TEST(CGGeometry, TheFarEdgeOrTheMiddleIsPutSomewhere) {
    expectIs(CGRectWithOriginMaxX({0, 5, 10, 3}, 100), 90, 5, 10, 3);
    expectIs(CGRectWithOriginMaxY(Rect, 100), 3.5, 75, 10, 25);
    expectIs(CGRectWithOriginMidX(Rect, 100), 95, -2, 10, 25);
    expectIs(CGRectWithOriginMidY(Rect, 100), 3.5, 87.5, 10, 25);
    // A negative size isn't turned round.
    expectIs(CGRectWithOriginMaxX({0, 0, -10, 1}, 100), 110, 0, -10, 1);
}

TEST(CGGeometry, ABlockIsCalledOnceAndItsResultGiven) {
    int calls = 0;
    expectIs(CGRectApply(Rect,
                         [&](QRectF rect) {
                             ++calls;
                             return rect.translated(1, 1);
                         }),
             4.5, -1, 10, 25);
    EXPECT_EQ(CGSizeApply({2, 3}, [&](const QSizeF &size) { return ++calls + size.width(); }), 4);
    expectIs(CGPointApply({2, 3},
                          [&](QPointF point) {
                              ++calls;
                              return point * 2;
                          }),
             4, 6);
    EXPECT_EQ(calls, 3);
    const std::function<QSizeF(const QRectF &)> block = [](const QRectF &rect) { return rect.size(); };
    expectIs(CGRectApply(Rect, block), 10, 25);
    CGPointApply({}, [&](const QPointF &) { calls = 0; });
    EXPECT_EQ(calls, 0);
}

TEST(CGGeometry, TheSmallestRectangleHoldsAllPoints) {
    const QPointF points[] = {{1, 5}, {3, 2}, {2, 8}};
    expectIs(CGRectSmallestWithCGPoints(points, 3), 1, 2, 2, 6);
    expectIs(CGRectSmallestWithCGPoints(points), 1, 2, 2, 6);
    expectIs(CGRectSmallestWithCGPoints(points, 2), 1, 2, 2, 3);
    expectIs(CGRectSmallestWithCGPoints(QList<QPointF>{{-1, -5}, {-3, -2}}), -3, -5, 2, 3);
}

TEST(CGGeometry, TheSmallestRectangleOfOneOrNoPointIsTheFirst) {
    const QPointF points[] = {{1, 5}, {3, 2}};
    expectIs(CGRectSmallestWithCGPoints(points, 1), 1, 5, 0, 0);
    expectIs(CGRectSmallestWithCGPoints(points, 0), 1, 5, 0, 0);
}

TEST(CGGeometry, AVectorIsDividedByItsLength) {
    expectIs(CGPointVectorNormalize({3, 4}), 3.0 / 5, 4.0 / 5);
    expectIs(CGPointVectorNormalize({-8, 0}), -1, 0);
    // The length has single precision, the quotient double.
    const QPointF unit = CGPointVectorNormalize({5.7, 2});
    expectIs(unit, 5.7 / 0x1.829ac2p+2, 2 / 0x1.829ac2p+2);
    EXPECT_NEAR(unit.x(), 0.94359995, 1e-6);
}

TEST(CGGeometry, AVectorWithoutLengthStaysAsItIs) {
    expectIs(CGPointVectorNormalize({0, 0}), 0, 0);
    // Its square is below what single precision holds.
    expectIs(CGPointVectorNormalize({1e-30, -1e-30}), 1e-30, -1e-30);
    expectIs(CGPointVectorNormalize({1e30, 0}), 0, 0);
}

TEST(CGGeometry, TheLengthIsASingleRootOfADoubleSum) {
    EXPECT_EQ(CGPointVectorGetLength({3, -4}), 5);
    EXPECT_EQ(CGPointVectorGetLength({5.7, 2}), 0x1.829ac2p+2);
    EXPECT_EQ(CGPointVectorGetLength({16777217, 0}), 16777216);
    EXPECT_EQ(CGPointVectorGetLength({1e30, 0}), Infinity);
}

TEST(CGGeometry, ProductsOfVectors) {
    EXPECT_EQ(CGPointVectorDotProduct({2, 3}, {5, -7}), -11);
    EXPECT_EQ(CGPointVectorCrossProductZComponent({2, 3}, {5, -7}), -29);
    EXPECT_EQ(CGPointVectorCrossProductZComponent({5, -7}, {2, 3}), 29);
    EXPECT_EQ(CGPointVectorCrossProductZComponent({1, 0}, {0, 1}), 1);
}
