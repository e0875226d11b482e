// SPDX-License-Identifier: MIT
#include "platform/images/NSImageFocus.h"

#include "platform/images/ImageScaling.h"
#include "platform/images/NSBitmapImageRep.h"
#include "platform/images/NSImage.h"

#include <QImage>
#include <QPainter>

using namespace zr;

namespace {

constexpr int longestSide = 32767; // of what QPainter draws on
constexpr qint64 mostPixels = 1 << 26;

/// How many pixels an image's picture has; an empty size if it has none.
QSize canvasSize(const QSizeF &points) {
    const QSize size = pixelSize(points);
    const bool isDrawable = size.width() <= longestSide && size.height() <= longestSide &&
                            qint64(size.width()) * size.height() <= mostPixels;
    return isDrawable ? size : QSize();
}

} // namespace

/// 16 bits a channel: what is hardly opaque would lose its colour in 8.
struct NSImageFocus::Canvas {
    Canvas(const QSize &pixels, const QSizeF &points)
        : bitmap(pixels, QImage::Format_RGBA64_Premultiplied), context(painter, points) {
        if (bitmap.isNull())
            return;
        bitmap.fill(Qt::transparent);
        painter.begin(&bitmap);
        painter.scale(pixels.width() / points.width(), pixels.height() / points.height());
    }

    QImage bitmap;
    QPainter painter;
    NSGraphicsContext context;
};

NSImageFocus::NSImageFocus(NSImage &image) : m_image(image) {
    const QSizeF points = image.size();
    const QSize pixels = canvasSize(points);
    if (!pixels.isEmpty())
        m_canvas = std::make_unique<Canvas>(pixels, points);
    if (m_canvas && !m_canvas->painter.isActive())
        m_canvas = nullptr;
    m_former = NSGraphicsContext::setCurrentContext(m_canvas ? &m_canvas->context : nullptr);
    image.drawInRect(QRectF(QPointF(), points));
}

NSImageFocus::~NSImageFocus() {
    NSGraphicsContext::setCurrentContext(m_former);
    if (!m_canvas)
        return;
    m_canvas->painter.end();
    m_image.setOnlyRepresentation(std::make_shared<NSBitmapImageRep>(
        m_canvas->bitmap.convertToFormat(QImage::Format_ARGB32), m_image.size()));
}
