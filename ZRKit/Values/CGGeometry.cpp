// SPDX-License-Identifier: MIT
#include "ZRKit/Values/CGGeometry.h"

#include <algorithm>
#include <cmath>

namespace {

float vectorLength(const QPointF &vector) {
    return std::sqrt(float(vector.x() * vector.x() + vector.y() * vector.y()));
}

} // namespace

QPointF ZRKit::CGPointGetPointForAnchorPointInRect(const QPointF &anchor, const QRectF &rect) {
    return {anchor.x() * rect.width() + rect.x(), anchor.y() * rect.height() + rect.y()};
}

QPointF ZRKit::CGPointGetAnchorPointForPointInRect(const QPointF &point, const QRectF &rect) {
    return {(point.x() - rect.x()) / rect.width(), (point.y() - rect.y()) / rect.height()};
}

QPointF ZRKit::CGPointForCenterInRect(const QRectF &rect) {
    return rect.center();
}

QPointF ZRKit::CGRectGetMidPoint(const QRectF &rect) {
    return rect.center();
}

double ZRKit::CGPointDistanceBetweenPoints(const QPointF &a, const QPointF &b) {
    const auto dx = float(b.x() - a.x());
    const auto dy = float(b.y() - a.y());
    return std::sqrt(dx * dx + dy * dy);
}

QPointF ZRKit::CGPointNormalizedDistance(const QPointF &a, const QPointF &b) {
    return b - a;
}

QPointF ZRKit::CGPointAddSize(const QPointF &point, const QSizeF &size) {
    return {point.x() + size.width(), point.y() + size.height()};
}

double ZRKit::CGSizeGetAspectRatio(const QSizeF &size) {
    return size.width() / size.height();
}

bool ZRKit::CGSizeAspectIsWiderThanCGSize(const QSizeF &a, const QSizeF &b) {
    return CGSizeGetAspectRatio(a) > CGSizeGetAspectRatio(b);
}

QSizeF ZRKit::CGSizeAdjustOuterSizeToFitInnerSize(const QSizeF &outer, const QSizeF &inner) {
    const double aspect = CGSizeGetAspectRatio(outer);
    if (aspect > CGSizeGetAspectRatio(inner))
        return {aspect * inner.height(), inner.height()};
    return {inner.width(), aspect * inner.width()};
}

QSizeF ZRKit::CGSizeGetHalf(const QSizeF &size) {
    return size * 0.5;
}

QSizeF ZRKit::CGSizeSwitchAxis(const QSizeF &size) {
    return size.transposed();
}

QRectF ZRKit::CGRectMakeWithSize(const QSizeF &size) {
    return {QPointF(0, 0), size};
}

QRectF ZRKit::CGRectWithSize(const QRectF &rect, const QSizeF &size) {
    return {rect.topLeft(), size};
}

QRectF ZRKit::CGRectWithWidth(const QRectF &rect, double width) {
    return {rect.x(), rect.y(), width, rect.height()};
}

QRectF ZRKit::CGRectWithHeight(const QRectF &rect, double height) {
    return {rect.x(), rect.y(), rect.width(), height};
}

QRectF ZRKit::CGRectWithOrigin(const QRectF &rect, const QPointF &origin) {
    return {origin, rect.size()};
}

QRectF ZRKit::CGRectWithOriginMinX(const QRectF &rect, double x) {
    return {QPointF(x, rect.y()), rect.size()};
}

QRectF ZRKit::CGRectWithOriginMinY(const QRectF &rect, double y) {
    return {QPointF(rect.x(), y), rect.size()};
}

QRectF ZRKit::CGRectWithOriginMaxX(const QRectF &rect, double x) {
    return CGRectWithOriginMinX(rect, x - rect.width());
}

QRectF ZRKit::CGRectWithOriginMaxY(const QRectF &rect, double y) {
    return CGRectWithOriginMinY(rect, y - rect.height());
}

QRectF ZRKit::CGRectWithOriginMidX(const QRectF &rect, double x) {
    return CGRectWithOriginMinX(rect, x - rect.width() * 0.5);
}

QRectF ZRKit::CGRectWithOriginMidY(const QRectF &rect, double y) {
    return CGRectWithOriginMinY(rect, y - rect.height() * 0.5);
}

QRectF ZRKit::CGRectSmallestWithCGPoints(const QPointF *points, qsizetype count) {
    double minX = points->x(), minY = points->y(), maxX = minX, maxY = minY;
    for (qsizetype i = 1; i < count; ++i) {
        minX = std::min(minX, points[i].x());
        minY = std::min(minY, points[i].y());
        maxX = std::max(maxX, points[i].x());
        maxY = std::max(maxY, points[i].y());
    }
    return {minX, minY, maxX - minX, maxY - minY};
}

bool ZRKit::CGRectGotAnyNanValues(const QRectF &) {
    return false;
}

bool ZRKit::CGSizeGotAnyNanValues(const QSizeF &) {
    return false;
}

bool ZRKit::CGPointGotAnyNanValues(const QPointF &) {
    return false;
}

QPointF ZRKit::CGPointVectorNormalize(const QPointF &vector) {
    const float length = vectorLength(vector);
    return length == 0 ? vector : QPointF(vector.x() / length, vector.y() / length);
}

double ZRKit::CGPointVectorGetLength(const QPointF &vector) {
    return vectorLength(vector);
}

double ZRKit::CGPointVectorDotProduct(const QPointF &a, const QPointF &b) {
    return QPointF::dotProduct(a, b);
}

double ZRKit::CGPointVectorCrossProductZComponent(const QPointF &a, const QPointF &b) {
    return a.x() * b.y() - a.y() * b.x();
}
