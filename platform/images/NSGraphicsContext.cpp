// SPDX-License-Identifier: MIT
#include "platform/images/NSGraphicsContext.h"

#include <QPainter>
#include <utility>

namespace {

thread_local NSGraphicsContext *current = nullptr;

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

void NSGraphicsContext::setFillColor(const QColor &color) {
    if (color.isValid())
        m_fillColor = color;
}

void NSRectFill(const QRectF &rect) {
    if (!current)
        return;
    QPainter &painter = current->painter();
    painter.save();
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.setOpacity(1);
    painter.fillRect(current->painterRect(rect), current->fillColor());
    painter.restore();
}
