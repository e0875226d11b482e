// SPDX-License-Identifier: MIT
#include "ZRKit/Values/CGGeometry.h"

#include "examples/kit/Example.h"

using namespace ZRKit;

EXAMPLE(CGGeometry) {
    const QRectF page(10, 20, 200, 100);

    // Anchors
    expect(CGPointGetPointForAnchorPointInRect({0.5, 1}, page) == QPointF(110, 120));
    expect(CGPointGetAnchorPointForPointInRect({110, 120}, page) == QPointF(0.5, 1));
    expect(CGRectGetMidPoint(page) == QPointF(110, 70));

    // Sizes
    expect(CGSizeAspectIsWiderThanCGSize(page.size(), {4, 3}));
    expect(CGSizeAdjustOuterSizeToFitInnerSize({200, 100}, {50, 50}) == QSizeF(100, 50));
    expect(CGSizeAdjustOuterSizeToFitInnerSize({100, 200}, {50, 50}) == QSizeF(50, 25));

    // One field replaced
    expect(CGRectWithOriginMaxX(page, 300) == QRectF(100, 20, 200, 100));
    expect(CGRectWithOriginMidY(page, 0) == QRectF(10, -50, 200, 100));
    expect(CGRectWithWidth(page, 50) == QRectF(10, 20, 50, 100));
    const QRectF inset = CGRectApply(page, [](const QRectF &rect) { return rect.adjusted(5, 5, -5, -5); });
    expect(inset == QRectF(15, 25, 190, 90));

    // Around points
    const QPointF corners[] = {{1, 5}, {3, 2}, {2, 8}};
    expect(CGRectSmallestWithCGPoints(corners, 3) == QRectF(1, 2, 2, 6));
    expect(CGRectSmallestWithCGPoints(corners) == QRectF(1, 2, 2, 6)); // a span

    // Vectors
    expect(CGPointDistanceBetweenPoints({0, 0}, {3, 4}) == 5);
    expect(CGPointNormalizedDistance({1, 1}, {4, 5}) == QPointF(3, 4)); // not of length 1
    expect(CGPointVectorGetLength(CGPointVectorNormalize({3, 4})) == 1);
    expect(CGPointVectorCrossProductZComponent({1, 0}, {0, 1}) == 1);
}
