// SPDX-License-Identifier: MIT
#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <functional>
#include <span>
#include <utility>

/// Points, sizes and rectangles: anchor points, proportions, rectangles with one field replaced, bounding boxes and
/// vectors. A rectangle is taken as it stands, with an origin and a size that may be negative: its minimum is the
/// origin, its maximum origin plus size, and the origin is whichever corner the coordinates count from. Nothing
/// fails: dividing by a width, height or proportion of 0 gives infinity or not-a-number. Pure functions, for any
/// thread.
namespace ZRKit {

// Points

/// The point of a rectangle for an anchor in its unit coordinates: (0, 0) is the origin, (1, 1) the far corner.
QPointF CGPointGetPointForAnchorPointInRect(const QPointF &anchor, const QRectF &rect);
/// The anchor for a point, the reverse of the above.
QPointF CGPointGetAnchorPointForPointInRect(const QPointF &point, const QRectF &rect);
QPointF CGPointForCenterInRect(const QRectF &rect);
/// The same as CGPointForCenterInRect().
QPointF CGRectGetMidPoint(const QRectF &rect);
/// With single precision: the differences are rounded to it first. Infinite from about 1.8e19 on.
double CGPointDistanceBetweenPoints(const QPointF &a, const QPointF &b);
/// The way from a to b, in spite of the name not scaled to any length.
QPointF CGPointNormalizedDistance(const QPointF &a, const QPointF &b);
/// Width and height added to x and y.
QPointF CGPointAddSize(const QPointF &point, const QSizeF &size);

// Sizes

/// Width by height.
double CGSizeGetAspectRatio(const QSizeF &size);
/// Whether a's proportions are wider than b's; not if they are the same.
bool CGSizeAspectIsWiderThanCGSize(const QSizeF &a, const QSizeF &b);
/// With a, the outer size's width by its height: (a times the inner height, inner height) if that is wider than the
/// inner size, otherwise (inner width, a times the inner width). The latter has the outer size's proportions only if
/// a is 1.
QSizeF CGSizeAdjustOuterSizeToFitInnerSize(const QSizeF &outer, const QSizeF &inner);
QSizeF CGSizeGetHalf(const QSizeF &size);
/// Width and height exchanged.
QSizeF CGSizeSwitchAxis(const QSizeF &size);

// Rectangles

/// A rectangle at (0, 0).
QRectF CGRectMakeWithSize(const QSizeF &size);
/// The rectangle with another size and the same origin.
QRectF CGRectWithSize(const QRectF &rect, const QSizeF &size);
QRectF CGRectWithWidth(const QRectF &rect, double width);
QRectF CGRectWithHeight(const QRectF &rect, double height);
/// The rectangle moved, in its size: to an origin, or by one of its coordinates so that the minimum, maximum or
/// middle is there.
QRectF CGRectWithOrigin(const QRectF &rect, const QPointF &origin);
QRectF CGRectWithOriginMinX(const QRectF &rect, double x);
QRectF CGRectWithOriginMinY(const QRectF &rect, double y);
QRectF CGRectWithOriginMaxX(const QRectF &rect, double x);
QRectF CGRectWithOriginMaxY(const QRectF &rect, double y);
QRectF CGRectWithOriginMidX(const QRectF &rect, double x);
QRectF CGRectWithOriginMidY(const QRectF &rect, double y);
/// The smallest rectangle around the points; that of the first one and (0, 0) for a count below 2.
/// \param points  at least one, which is read whatever the count
QRectF CGRectSmallestWithCGPoints(const QPointF *points, qsizetype count);
inline QRectF CGRectSmallestWithCGPoints(std::span<const QPointF> points) {
    return CGRectSmallestWithCGPoints(points.data(), qsizetype(points.size()));
}

// Not-a-number

/// Always false, whatever the value holds: callers rely on the functions, not on a test.
bool CGRectGotAnyNanValues(const QRectF &rect);
bool CGSizeGotAnyNanValues(const QSizeF &size);
bool CGPointGotAnyNanValues(const QPointF &point);

// Blocks

/// What the block makes of the value; it is called once.
template <std::invocable<QRectF> Block>
std::invoke_result_t<Block, QRectF> CGRectApply(const QRectF &rect, Block &&block) {
    return std::invoke(std::forward<Block>(block), rect);
}
template <std::invocable<QSizeF> Block>
std::invoke_result_t<Block, QSizeF> CGSizeApply(const QSizeF &size, Block &&block) {
    return std::invoke(std::forward<Block>(block), size);
}
template <std::invocable<QPointF> Block>
std::invoke_result_t<Block, QPointF> CGPointApply(const QPointF &point, Block &&block) {
    return std::invoke(std::forward<Block>(block), point);
}

// Vectors

/// The vector by its length as CGPointVectorGetLength() has it; itself if that is 0, as it is for very short ones.
QPointF CGPointVectorNormalize(const QPointF &vector);
/// The square root, in single precision, of x² + y².
double CGPointVectorGetLength(const QPointF &vector);
double CGPointVectorDotProduct(const QPointF &a, const QPointF &b);
/// Positive if b points to the left of a, with y upwards.
double CGPointVectorCrossProductZComponent(const QPointF &a, const QPointF &b);

} // namespace ZRKit
