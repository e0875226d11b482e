// SPDX-License-Identifier: MIT
#include "ZRKit/Images/NSImage+ZRKit.h"

#include "platform/files/NSBundle.h"
#include "platform/values/NSLog.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using namespace ZRKit;

constexpr float pointsPerInch = 72;

/// Pixels times 72 over points or dots: the product in single precision, the quotient in double, rounded to single before it
/// is rounded up.
float roundedUp(int pixels, double divisor) {
    return std::ceil(float(double(float(pixels) * pointsPerInch) / divisor));
}

ImageRep firstRepresentation(const Image &image) {
    const auto representations = image->representations();
    return representations.isEmpty() ? nullptr : representations.first();
}

/// The largest size with the proportions within the box, both given as width by height.
QSizeF fitted(double proportions, double ofBox, const QSizeF &box) {
    return proportions > ofBox ? QSizeF(box.width(), box.width() / proportions)
                               : QSizeF(proportions * box.height(), box.height());
}

double proportionsOf(const QSizeF &size) {
    return size.width() / size.height();
}

} // namespace

QImage ZRKit::CGImage(const Image &image) {
    return image ? image->CGImageForProposedRect() : QImage();
}

std::shared_ptr<NSBitmapImageRep> ZRKit::bitmapImageRep(const Image &image) {
    const QImage bitmap = CGImage(image);
    return bitmap.isNull() ? nullptr : std::make_shared<NSBitmapImageRep>(bitmap);
}

QByteArray ZRKit::dataForJPGWithCompressionQuality(const Image &image, double quality) {
    const auto bitmap = bitmapImageRep(image);
    return bitmap ? bitmap->representationUsingType(NSBitmapImageFileType::JPEG,
                                                    {{NSImageCompressionFactor, float(quality)}})
                  : QByteArray();
}

QByteArray ZRKit::dataForPNG(const Image &image) {
    const auto bitmap = bitmapImageRep(image);
    return bitmap ? bitmap->representationUsingType(NSBitmapImageFileType::PNG) : QByteArray();
}

QSizeF ZRKit::realSize(const Image &image) {
    int width = 0, height = 0;
    if (image)
        for (const ImageRep &representation : image->representations()) {
            width = std::max(width, representation->pixelsWide());
            height = std::max(height, representation->pixelsHigh());
        }
    return QSizeF(width, height);
}

double ZRKit::DPI(const Image &image) {
    if (!image)
        return 0;
    const ImageRep representation = firstRepresentation(image);
    return representation ? DPI(representation) : std::numeric_limits<double>::quiet_NaN();
}

double ZRKit::DPI(const ImageRep &representation) {
    return representation ? roundedUp(representation->pixelsWide(), representation->size().width()) : 0;
}

void ZRKit::setDPI(const Image &image, double dpi) {
    const ImageRep representation = image ? firstRepresentation(image) : nullptr;
    if (!representation || DPI(representation) == dpi)
        return;
    representation->setSize(
        QSizeF(roundedUp(representation->pixelsWide(), dpi), roundedUp(representation->pixelsHigh(), dpi)));
}

QSizeF ZRKit::sizeForDPI(const Image &image, double dpi) {
    if (!image)
        return QSizeF(0, 0);
    const ImageRep representation = firstRepresentation(image);
    const QSizeF points = representation ? representation->size() : QSizeF(0, 0);
    const int pixels = representation ? representation->pixelsWide() : 0;
    const double current = std::ceil(float(pixels * 72.0 / points.width()));
    NSLog("current DPI %f", current);
    return QSizeF(std::ceil(float(points.width() / current * dpi)),
                  std::ceil(float(points.height() / current * dpi)));
}

QSizeF ZRKit::sizeThatFits(const Image &image, const QSizeF &box) {
    return image ? fitted(proportionsOf(image->size()), proportionsOf(box), box) : QSizeF(0, 0);
}

void ZRKit::bringToSize(const Image &image, const QSizeF &box) {
    if (image)
        image->setSize(sizeThatFits(image, box));
}

Image ZRKit::imageNamedAtBundlePath(const QString &name) {
    if (Image named = NSImage::imageNamed(name))
        return named;
    if (name.isEmpty())
        return nullptr;
    Image image = NSImage::imageWithContentsOfFile(NSBundle::mainBundle().resourcePath() + name);
    // Another thread may have been faster.
    if (image && !image->setName(name))
        if (Image named = NSImage::imageNamed(name))
            return named;
    return image;
}

Image ZRKit::imageByScalingToSize(const Image &image, const QSizeF &size, bool proportionally, bool) {
    if (!image)
        return nullptr;
    const QSizeF own = image->size();
    if (size.width() >= own.width() && size.height() >= own.height())
        return image;
    QSizeF drawn = size;
    if (proportionally)
        drawn =
            own * double(std::max(float(size.width() / own.width()), float(size.height() / own.height())));
    const QPointF origin((size.width() - drawn.width()) * 0.5, (size.height() - drawn.height()) * 0.5);
    auto result = std::make_shared<NSImage>(size);
    const NSImageFocus focus = result->lockFocus();
    image->drawInRect(QRectF(origin, drawn), QRectF(QPointF(), own));
    return result;
}

Image ZRKit::fitToSize(const Image &image, const QSizeF &box) {
    if (!image)
        return nullptr;
    const QSizeF own = image->size();
    if (box.width() > own.width() && box.height() > own.height())
        return image;
    const QSizeF size = sizeThatFits(image, box);
    image->setCacheMode(NSImageCacheMode::Never);
    auto result = std::make_shared<NSImage>(size);
    const NSImageFocus focus = result->lockFocus();
    if (NSGraphicsContext *const context = NSGraphicsContext::currentContext())
        context->setImageInterpolation(NSImageInterpolation::High);
    image->drawInRect(QRectF(QPointF(), size), QRectF(QPointF(), own));
    return result;
}

Image ZRKit::scaleToSize(const Image &image, const QSizeF &box) {
    if (!image)
        return nullptr;
    const QSizeF size = fitted(float(proportionsOf(image->size())), float(proportionsOf(box)), box);
    image->setSize(size);
    auto result = std::make_shared<NSImage>(size);
    const NSImageFocus focus = result->lockFocus();
    image->drawAtPoint(QPointF());
    return result;
}

Image ZRKit::imageOnColor(const Image &image, const QColor &color) {
    if (!image || image->size().width() <= 0 || image->size().height() <= 0)
        return nullptr;
    const QSizeF size = image->size();
    auto result = std::make_shared<NSImage>(size);
    const NSImageFocus focus = result->lockFocus();
    if (NSGraphicsContext *const context = NSGraphicsContext::currentContext())
        context->setFillColor(color);
    NSRectFill(QRectF(QPointF(), size));
    image->drawAtPoint(QPointF());
    return result;
}
