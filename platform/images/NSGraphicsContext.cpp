// SPDX-License-Identifier: MIT
#include "platform/images/NSGraphicsContext.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>
#include <utility>

namespace {

thread_local NSGraphicsContext *current = nullptr;

/// The rectangle with its edges between pixels, as a painter has it that doesn't smooth, unless the painter is turned.
QRectF onPixels(const QRectF &rect, const QPainter &painter) {
    const QTransform &transform = painter.deviceTransform();
    if (transform.type() > QTransform::TxScale || !transform.isInvertible())
        return rect;
    const QRectF device = transform.mapRect(rect);
    const auto edge = [](double position) { return std::floor(position + 0.5); };
    const QPointF corner(edge(device.left()), edge(device.top()));
    return transform.inverted().mapRect(QRectF(corner, QPointF(edge(device.right()), edge(device.bottom()))));
}

} // namespace

NSGraphicsContext *NSGraphicsContext::currentContext() {
    return current;
}

NSGraphicsContext *NSGraphicsContext::setCurrentContext(NSGraphicsContext *context) {
    return std::exchange(current, context);
}

QRectF NSGraphicsContext::painterRect(const QRectF &rect) const {
    return {rect.x(), m_size.height() - rect.y() - rect.height(), rect.width(), rect.height()};
}

void NSGraphicsContext::clipToRoundedRect(const QRectF &rect, double xRadius, double yRadius) {
    QPainterPath path;
    path.addRoundedRect(painterRect(rect), xRadius, yRadius);
    m_painter.setRenderHint(QPainter::Antialiasing); // a clip is as smooth as what is drawn
    m_painter.setClipPath(path, Qt::IntersectClip);
}

void NSGraphicsContext::setFillColor(const QColor &color) {
    if (color.isValid())
        m_fillColor = color;
}

void NSRectFill(const QRectF &rect) {
    if (!current)
        return;
    QPainter &painter = current->painter();
    const QPainter::CompositionMode mode = painter.compositionMode();
    const double opacity = painter.opacity();
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.setOpacity(1);
    const QRectF area = current->painterRect(rect);
    painter.fillRect(painter.testRenderHint(QPainter::Antialiasing) ? onPixels(area, painter) : area,
                     current->fillColor());
    painter.setOpacity(opacity);
    painter.setCompositionMode(mode);
}
