// SPDX-License-Identifier: MIT
#include "platform/images/NSImage.h"

#include "platform/base/NeverDestroyed.h"
#include "platform/files/FileContents.h"
#include "platform/images/ImageScaling.h"
#include "platform/images/NSBitmapImageRep.h"

#include <QFile>
#include <QHash>
#include <QPaintEngine>
#include <QPainter>
#include <QTransform>
#include <cmath>

using namespace zr;

namespace {

struct Registry {
    std::mutex mutex;
    QHash<QString, std::shared_ptr<NSImage>> images;
};

Registry &registry() {
    static NeverDestroyed<Registry> shared;
    return *shared;
}

QPainter::CompositionMode compositionMode(NSCompositingOperation operation) {
    switch (operation) {
    case NSCompositingOperation::Clear:
        return QPainter::CompositionMode_Clear;
    case NSCompositingOperation::Copy:
        return QPainter::CompositionMode_Source;
    case NSCompositingOperation::SourceOver:
        return QPainter::CompositionMode_SourceOver;
    case NSCompositingOperation::SourceIn:
        return QPainter::CompositionMode_SourceIn;
    case NSCompositingOperation::SourceOut:
        return QPainter::CompositionMode_SourceOut;
    case NSCompositingOperation::SourceAtop:
        return QPainter::CompositionMode_SourceAtop;
    case NSCompositingOperation::DestinationOver:
        return QPainter::CompositionMode_DestinationOver;
    case NSCompositingOperation::DestinationIn:
        return QPainter::CompositionMode_DestinationIn;
    case NSCompositingOperation::DestinationOut:
        return QPainter::CompositionMode_DestinationOut;
    case NSCompositingOperation::DestinationAtop:
        return QPainter::CompositionMode_DestinationAtop;
    case NSCompositingOperation::XOR:
        return QPainter::CompositionMode_Xor;
    case NSCompositingOperation::PlusLighter:
        return QPainter::CompositionMode_Plus;
    }
    return QPainter::CompositionMode_SourceOver;
}

bool isFilled(const QRectF &rect) {
    return rect.width() > 0 && rect.height() > 0 && std::isfinite(rect.x()) && std::isfinite(rect.y()) &&
           std::isfinite(rect.width()) && std::isfinite(rect.height());
}

/// The part of `whole` that lies in it as `inner` lies in `outer`.
QRectF correspondingPart(const QRectF &inner, const QRectF &outer, const QRectF &whole) {
    const double x = whole.width() / outer.width();
    const double y = whole.height() / outer.height();
    return {whole.x() + (inner.x() - outer.x()) * x, whole.y() + (inner.y() - outer.y()) * y,
            inner.width() * x, inner.height() * y};
}

/// The whole pixels that a region touches; it may be off by what the computation of its edges lost.
QRect touchedPixels(const QRectF &region) {
    constexpr double lost = 1e-6;
    return region.adjusted(lost, lost, -lost, -lost).toAlignedRect();
}

/// The rectangle with its edges on whole numbers.
QRectF snapped(const QRectF &rect) {
    const auto nearest = [](double edge) { return std::floor(edge + 0.5); };
    return {QPointF(nearest(rect.left()), nearest(rect.top())),
            QPointF(nearest(rect.right()), nearest(rect.bottom()))};
}

} // namespace

NSImage::NSImage(const QImage &bitmap, const QSizeF &size) : m_size(size) {
    if (!bitmap.isNull())
        addRepresentation(std::make_shared<NSBitmapImageRep>(bitmap));
}

std::shared_ptr<NSImage> NSImage::imageWithData(const QByteArray &data, const QSize &atLeast) {
    const QList<std::shared_ptr<NSImageRep>> representations = NSImageRep::imageRepsWithData(data, atLeast);
    if (representations.isEmpty())
        return nullptr;
    auto image = std::make_shared<NSImage>();
    for (const auto &representation : representations)
        image->addRepresentation(representation);
    return image;
}

std::shared_ptr<NSImage> NSImage::imageWithContentsOfFile(const QString &path, const QSize &atLeast) {
    if (!path.startsWith(u":/"))
        return imageWithData(NSDataWithContentsOfFile(path), atLeast);
    QFile resource(path);
    return resource.open(QIODevice::ReadOnly) ? imageWithData(resource.readAll(), atLeast) : nullptr;
}

std::shared_ptr<NSImage> NSImage::imageNamed(const QString &name) {
    Registry &named = registry();
    const std::lock_guard lock(named.mutex);
    return named.images.value(name);
}

bool NSImage::setName(const QString &name) {
    const std::shared_ptr<NSImage> self = weak_from_this().lock();
    if (!self)
        return false;
    Registry &named = registry();
    const std::lock_guard lock(named.mutex);
    if (!name.isEmpty() && named.images.value(name, self) != self)
        return false;
    const std::lock_guard ownLock(m_mutex);
    named.images.remove(m_name);
    m_name = name.isEmpty() ? QString() : name;
    if (!name.isEmpty())
        named.images.insert(name, self);
    return true;
}

QString NSImage::name() const {
    const std::lock_guard lock(m_mutex);
    return m_name;
}

QSizeF NSImage::size() const {
    const std::lock_guard lock(m_mutex);
    return m_size;
}

void NSImage::setSize(const QSizeF &size) {
    const std::lock_guard lock(m_mutex);
    m_size = size;
}

QList<std::shared_ptr<NSImageRep>> NSImage::representations() const {
    const std::lock_guard lock(m_mutex);
    return m_representations;
}

void NSImage::addRepresentation(const std::shared_ptr<NSImageRep> &representation) {
    if (!representation)
        return;
    const std::lock_guard lock(m_mutex);
    if (m_size == QSizeF(0, 0))
        m_size = representation->size();
    m_representations.append(representation);
}

void NSImage::removeRepresentation(const std::shared_ptr<NSImageRep> &representation) {
    const std::lock_guard lock(m_mutex);
    m_representations.removeAll(representation);
    forgetDrawn();
}

void NSImage::setOnlyRepresentation(const std::shared_ptr<NSImageRep> &representation) {
    const std::lock_guard lock(m_mutex);
    m_representations = {representation};
    forgetDrawn();
}

/// With the lock held.
void NSImage::forgetDrawn() {
    m_drawn = {};
    m_drawnPicture = {};
}

NSImageCacheMode NSImage::cacheMode() const {
    const std::lock_guard lock(m_mutex);
    return m_cacheMode;
}

void NSImage::setCacheMode(NSImageCacheMode mode) {
    const std::lock_guard lock(m_mutex);
    m_cacheMode = mode;
    if (mode == NSImageCacheMode::Never)
        forgetDrawn();
}

/// That with the fewest pixels of those that have enough; if none has, that with the most.
std::shared_ptr<NSImageRep> NSImage::bestRepresentation(const QSizeF &pixels) const {
    std::shared_ptr<NSImageRep> best;
    bool bestIsEnough = false;
    const auto count = [](const NSImageRep &rep) { return qint64(rep.pixelsWide()) * rep.pixelsHigh(); };
    for (const auto &candidate : representations()) {
        // Half a pixel doesn't count.
        const bool isEnough = candidate->pixelsWide() + 0.5 >= pixels.width() &&
                              candidate->pixelsHigh() + 0.5 >= pixels.height();
        if (!best || (isEnough && !bestIsEnough) ||
            (isEnough == bestIsEnough &&
             (isEnough ? count(*candidate) < count(*best) : count(*candidate) > count(*best)))) {
            best = candidate;
            bestIsEnough = isEnough;
        }
    }
    return best;
}

QImage NSImage::CGImageForProposedRect(const QRectF &proposedRect) const {
    const QSizeF points = proposedRect.isEmpty() ? size() : proposedRect.size();
    const auto representation = bestRepresentation(points);
    return representation ? representation->bitmap(pixelSize(points)) : QImage();
}

QImage NSImage::scaled(const Drawing &drawing, const QRectF &region, const QSize &size) const {
    const Drawn wanted{drawing.representation, touchedPixels(drawing.region), region, size};
    {
        const std::lock_guard lock(m_mutex);
        if (m_drawn == wanted)
            return m_drawnPicture;
    }
    QImage picture = scaledRegion(drawing.bitmap, wanted.within, region, size);
    const std::lock_guard lock(m_mutex);
    if (m_cacheMode != NSImageCacheMode::Never && m_representations.contains(drawing.representation)) {
        m_drawn = wanted;
        m_drawnPicture = picture;
    }
    return picture;
}

void NSImage::drawInRect(const QRectF &rect, const QRectF &fromRect, NSCompositingOperation operation,
                         double fraction) const {
    const NSGraphicsContext *const context = NSGraphicsContext::currentContext();
    const QRectF whole(QPointF(), size());
    const QRectF asked = fromRect == QRectF() ? whole : fromRect;
    if (!context || !isFilled(rect) || !isFilled(whole) || !isFilled(asked))
        return;
    const QRectF part = asked & whole;
    const QRectF place = context->painterRect(correspondingPart(part, asked, rect));
    if (!isFilled(part) || !isFilled(place))
        return;

    QPainter &painter = context->painter();
    const QTransform transform = painter.deviceTransform();
    const QSizeF pixels(
        std::hypot(transform.m11(), transform.m12()) * place.width() / part.width() * whole.width(),
        std::hypot(transform.m21(), transform.m22()) * place.height() / part.height() * whole.height());
    Drawing drawing;
    drawing.representation = bestRepresentation(pixels);
    if (!drawing.representation)
        return;
    drawing.bitmap = drawing.representation->bitmap(pixelSize(pixels));
    if (drawing.bitmap.isNull())
        return;
    // Rows of pixels are counted from the top.
    const QRectF partFromTop(part.x(), whole.height() - part.bottom(), part.width(), part.height());
    drawing.region = correspondingPart(partFromTop, whole, QRectF(drawing.bitmap.rect()));

    painter.save();
    painter.setCompositionMode(compositionMode(operation));
    painter.setOpacity(painter.opacity() * fraction);
    if (context->imageInterpolation() == NSImageInterpolation::None) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
        painter.drawImage(place, drawing.bitmap, drawing.region);
    } else if (transform.type() <= QTransform::TxScale && transform.m11() > 0 && transform.m22() > 0) {
        drawUpright(painter, place, drawing);
    } else {
        drawTurned(painter, place, drawing);
    }
    painter.restore();
}

/// What is seen, and no more: a picture may be drawn far larger than the area.
void NSImage::drawUpright(QPainter &painter, const QRectF &place, const Drawing &drawing) const {
    const QTransform transform = painter.deviceTransform();
    const QPaintDevice &device = *painter.paintEngine()->paintDevice();
    const QRectF pixels = snapped(transform.mapRect(place));
    const QRectF seen = pixels & QRectF(0, 0, device.width(), device.height());
    if (seen.isEmpty())
        return;
    const QImage picture =
        scaled(drawing, correspondingPart(seen, pixels, drawing.region), seen.size().toSize());
    // From here on the painter counts the device's pixels.
    painter.setWorldTransform(painter.worldTransform() * transform.inverted());
    painter.drawImage(seen.topLeft(), picture);
}

/// Made smaller first if it has to be; the painter turns well, and enlarges tolerably.
void NSImage::drawTurned(QPainter &painter, const QRectF &place, const Drawing &drawing) const {
    const QTransform transform = painter.deviceTransform();
    const double width = std::hypot(transform.m11(), transform.m12()) * place.width();
    const double height = std::hypot(transform.m21(), transform.m22()) * place.height();
    const QSizeF size(std::min(width, drawing.region.width()), std::min(height, drawing.region.height()));
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(place, scaled(drawing, drawing.region, size.expandedTo(QSizeF(1, 1)).toSize()));
}

void NSImage::drawAtPoint(const QPointF &point, const QRectF &fromRect, NSCompositingOperation operation,
                          double fraction) const {
    drawInRect(QRectF(point, fromRect == QRectF() ? size() : fromRect.size()), fromRect, operation, fraction);
}
