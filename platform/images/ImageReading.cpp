// SPDX-License-Identifier: MIT
#include "platform/images/ImageReading.h"

#include "platform/images/ImageFormat.h"
#include "platform/images/NSBitmapImageRep.h"
#include "platform/images/SVGCheck.h"
#include "platform/images/SVGImageRep.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>
#include <QPixelFormat>
#include <algorithm>
#include <cmath>
#include <limits>

using namespace zr;

namespace {

constexpr qint64 mostPixels = qint64(1) << 27;
constexpr int longestSide = 0xFFFF; ///< the scaler's time grows with the square of a longer one
constexpr int noResolution = 1;     ///< dots a metre

qint64 pixelCount(const QSize &size) {
    return size.isEmpty() ? 0 : qint64(size.width()) * size.height();
}

/// How many bytes the bitmaps of a file may take. Qt applies this limit to some formats only, and not to reduced reading.
qint64 mostBytes() {
    const int limit = QImageReader::allocationLimit();
    return limit > 0 ? qint64(limit) << 20 : std::numeric_limits<qint64>::max();
}

qint64 byteCount(const QSize &size, QImage::Format format) {
    const int bits = format == QImage::Format_Invalid ? 32 : QImage::toPixelFormat(format).bitsPerPixel();
    return pixelCount(size) * std::max(bits, 8) / 8;
}

/// Points a pixel, by the resolution in dots a metre; 1 for one that can't be meant.
double pointsAPixel(int dotsPerMeter) {
    double dotsPerInch = dotsPerMeter * 0.0254;
    if (dotsPerInch < 1 || dotsPerInch > 100000)
        return 1;
    // Whole dots a metre, which Qt rounds down too, can't express 300 to the inch.
    if (std::abs(dotsPerInch - std::round(dotsPerInch)) <= 0.0254)
        dotsPerInch = std::round(dotsPerInch);
    return 72 / dotsPerInch;
}

/// By how much the JPEG decoder may divide a size, so that neither side gets shorter than the other size's.
int divisorFor(const QSize &size, const QSize &atLeast) {
    for (const int divisor : {8, 4, 2})
        if (size.width() / divisor >= atLeast.width() && size.height() / divisor >= atLeast.height())
            return divisor;
    return 1;
}

class Reader {
public:
    Reader(const QByteArray &data, const QByteArray &format, const QSize &atLeast)
        : m_format(format), m_atLeast(atLeast) {
        m_buffer.setData(data);
        m_buffer.open(QIODevice::ReadOnly);
        m_reader.setAutoDetectImageFormat(false);
        m_reader.setFormat(format);
        m_reader.setDevice(&m_buffer);
        m_reader.setAutoTransform(true);
    }

    QList<std::shared_ptr<NSImageRep>> all() {
        QList<std::shared_ptr<NSImageRep>> representations;
        // Qt counts a TIFF file's pages only before it has read one.
        const int count = m_format == "ico" || m_format == "tiff" ? m_reader.imageCount() : 1;
        for (int index = 0; index < count; ++index) {
            const auto representation = index == 0 || m_reader.jumpToImage(index) ? next() : nullptr;
            if (!representation)
                break;
            representations.append(representation);
        }
        return representations;
    }

private:
    std::shared_ptr<NSImageRep> next() {
        const QSize stored = m_reader.size();
        const QImage::Format storedFormat = m_reader.imageFormat();
        if (stored.isEmpty() || std::max(stored.width(), stored.height()) > longestSide ||
            pixelCount(stored) > mostPixels)
            return nullptr;
        const bool isTurned = m_reader.transformation() & QImageIOHandler::TransformationRotate90;
        QSize decoded = stored;
        if (m_format == "jpeg" && !m_atLeast.isEmpty()) {
            const int divisor = divisorFor(stored, isTurned ? m_atLeast.transposed() : m_atLeast);
            // The decoder rounds up. Qt chooses its divisor by what is asked for, which therefore is rounded down.
            decoded =
                QSize((stored.width() + divisor - 1) / divisor, (stored.height() + divisor - 1) / divisor);
            if (divisor > 1)
                m_reader.setScaledSize(QSize(stored.width() / divisor, stored.height() / divisor));
        }
        m_bytes += byteCount(decoded, storedFormat);
        if (m_bytes > mostBytes())
            return nullptr;
        // Qt reads into the bitmap it is given and changes its resolution only if the file claims one. A bitmap of Qt's own
        // would start with Qt's default, and a file may claim just that.
        QImage bitmap(decoded, storedFormat);
        bitmap.setDotsPerMeterX(noResolution);
        bitmap.setDotsPerMeterY(noResolution);
        // If a file is cut short, some readers leave the rest of the memory as it is.
        bitmap.fill(0);
        if (!m_reader.read(&bitmap) || bitmap.isNull())
            return nullptr;
        const bool mayClaim =
            m_format == "png" || m_format == "jpeg" || m_format == "tiff" || m_format == "bmp";
        QSizeF pointSize = stored;
        if (mayClaim)
            pointSize = QSizeF(stored.width() * pointsAPixel(bitmap.dotsPerMeterX()),
                               stored.height() * pointsAPixel(bitmap.dotsPerMeterY()));
        if (isTurned)
            pointSize.transpose();
        if (bitmap.colorSpace().isValid())
            bitmap.convertToColorSpace(QColorSpace(QColorSpace::SRgb));
        return std::make_shared<NSBitmapImageRep>(bitmap, pointSize);
    }

    const QByteArray m_format;
    const QSize m_atLeast;
    QBuffer m_buffer;
    QImageReader m_reader;
    qint64 m_bytes = 0;
};

} // namespace

QList<std::shared_ptr<NSImageRep>> zr::representationsInData(const QByteArray &data, const QSize &atLeast) {
    const QByteArray format = imageFormatOf(data);
    if (format.isNull())
        return {};
    if (format != "svg")
        return Reader(data, format, atLeast).all();
    const QSize size = isHarmlessSVG(data) ? SVGImageRep::naturalSize(data) : QSize();
    if (size.isEmpty())
        return {};
    return {std::make_shared<SVGImageRep>(data, size)};
}
