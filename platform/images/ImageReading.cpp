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

qint64 pixelCount(const QSize &size) {
    return size.isEmpty() ? 0 : qint64(size.width()) * size.height();
}

/// How many bytes the bitmaps of a file may have. The readers' own limit stops some formats only, and some after the fact.
qint64 mostBytes() {
    const int limit = QImageReader::allocationLimit();
    return limit > 0 ? qint64(limit) << 20 : std::numeric_limits<qint64>::max();
}

qint64 byteCount(const QSize &size, QImage::Format format) {
    const int bits = format == QImage::Format_Invalid ? 32 : QImage::toPixelFormat(format).bitsPerPixel();
    return pixelCount(size) * std::max(bits, 8) / 8;
}

/// Points a pixel, by the resolution in dots a metre that the file claims. One that claims none has the one that Qt gives to
/// every new bitmap; such a file has a point a pixel.
double pointsAPixel(int dotsPerMeter, int unclaimed) {
    double dotsPerInch = dotsPerMeter * 0.0254;
    if (dotsPerMeter == unclaimed || dotsPerInch < 1 || dotsPerInch > 100000)
        return 1;
    // Formats that count whole dots a metre can't say 300 to the inch otherwise.
    constexpr double precision = 0.0254 / 2 + 1e-6;
    if (std::abs(dotsPerInch - std::round(dotsPerInch)) <= precision)
        dotsPerInch = std::round(dotsPerInch);
    return 72 / dotsPerInch;
}

/// The size, at most an eighth of it in each direction and not below the other, that the JPEG decoder gives at no cost.
QSize reduced(const QSize &size, const QSize &atLeast) {
    for (const int divisor : {8, 4, 2})
        if (size.width() / divisor >= atLeast.width() && size.height() / divisor >= atLeast.height())
            return size / divisor;
    return size;
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
        const bool hasSeveral = m_format == "ico" || m_format == "tiff";
        for (int index = 0; index == 0 || (hasSeveral && index < m_reader.imageCount()); ++index) {
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
        if (stored.isEmpty() || pixelCount(stored) > mostPixels)
            return nullptr;
        const bool isTurned = m_reader.transformation() & QImageIOHandler::TransformationRotate90;
        QSize decoded = stored;
        if (m_format == "jpeg" && !m_atLeast.isEmpty()) {
            decoded = reduced(stored, isTurned ? m_atLeast.transposed() : m_atLeast);
            if (decoded != stored)
                m_reader.setScaledSize(decoded);
        }
        m_bytes += byteCount(decoded, storedFormat);
        if (m_bytes > mostBytes())
            return nullptr;
        QImage bitmap = m_reader.read();
        if (bitmap.isNull())
            return nullptr;
        const QImage unclaimed(1, 1, QImage::Format_Mono);
        QSizeF pointSize =
            QSizeF(stored.width() * pointsAPixel(bitmap.dotsPerMeterX(), unclaimed.dotsPerMeterX()),
                   stored.height() * pointsAPixel(bitmap.dotsPerMeterY(), unclaimed.dotsPerMeterY()));
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
