// SPDX-License-Identifier: MIT
#include "platform/images/NSBitmapImageRep.h"

#include <QBuffer>
#include <QColor>
#include <QImageWriter>
#include <QPainter>
#include <cmath>

namespace {

/// The same pixels without what else a QImage carries: texts, offsets, a profile. They aren't copied.
QImage pixelsOf(const QImage &image) {
    QImage plain(image.constBits(), image.width(), image.height(), image.bytesPerLine(), image.format());
    plain.setColorTable(image.colorTable());
    return plain;
}

QImage onColor(const QImage &image, const QColor &color) {
    QImage opaque(image.size(), QImage::Format_RGB32);
    if (opaque.isNull())
        return {};
    opaque.fill(color.isValid() ? QColor(color.rgb()) : QColor(Qt::white));
    QPainter(&opaque).drawImage(QPoint(), image);
    return opaque;
}

/// Out of a hundred.
int qualityOf(const QVariant &factor) {
    constexpr double usual = 0.75;
    bool isNumber = false;
    const double number = factor.toDouble(&isNumber);
    return int(std::lround(100 * (isNumber && !std::isnan(number) ? std::clamp(number, 0.0, 1.0) : usual)));
}

/// Dots a metre.
int resolution(int pixels, double points) {
    constexpr double pointsInMetre = 72 / 0.0254;
    const double dots = pixels / points * pointsInMetre;
    return dots >= 1 && dots <= 1e7 ? int(std::lround(dots)) : int(std::lround(pointsInMetre));
}

} // namespace

NSBitmapImageRep::NSBitmapImageRep(const QImage &image)
    : NSBitmapImageRep(image, QSizeF(image.width(), image.height()) / image.devicePixelRatio()) {
}

NSBitmapImageRep::NSBitmapImageRep(const QImage &image, const QSizeF &size)
    : NSImageRep(size, image.width(), image.height()), m_image(image) {
}

QImage NSBitmapImageRep::bitmap(const QSize &) const {
    return m_image;
}

QByteArray NSBitmapImageRep::representationUsingType(NSBitmapImageFileType type,
                                                     const QVariantMap &properties) const {
    if (m_image.isNull())
        return {};
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer;
    writer.setDevice(&buffer);
    QImage pixels = pixelsOf(m_image);
    switch (type) {
    case NSBitmapImageFileType::JPEG:
        writer.setFormat("jpeg");
        writer.setQuality(qualityOf(properties.value(NSImageCompressionFactor)));
        if (pixels.hasAlphaChannel())
            pixels = onColor(pixels, properties.value(NSImageFallbackBackgroundColor).value<QColor>());
        break;
    case NSBitmapImageFileType::PNG:
        writer.setFormat("png");
        break;
    default:
        return {};
    }
    const QSizeF points = size();
    pixels.setDotsPerMeterX(resolution(pixels.width(), points.width()));
    pixels.setDotsPerMeterY(resolution(pixels.height(), points.height()));
    return writer.write(pixels) ? data : QByteArray();
}
