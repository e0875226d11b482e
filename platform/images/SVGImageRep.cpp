// SPDX-License-Identifier: MIT
#include "platform/images/SVGImageRep.h"

#include <QBuffer>
#include <QImageReader>

using namespace zr;

namespace {

/// What is drawn larger is drawn at a size below this and scaled.
constexpr int longestSide = 4096;

template <typename Use>
auto withReader(const QByteArray &data, Use use) {
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader;
    reader.setAutoDetectImageFormat(false);
    reader.setFormat("svg");
    reader.setDevice(&buffer);
    return use(reader);
}

} // namespace

QSize SVGImageRep::naturalSize(const QByteArray &data) {
    return withReader(data, [](QImageReader &reader) { return reader.size(); });
}

QImage SVGImageRep::bitmap(const QSize &pixels) const {
    QSize size = pixels.isEmpty() ? QSize(pixelsWide(), pixelsHigh()) : pixels;
    if (size.width() > longestSide || size.height() > longestSide)
        size = size.scaled(longestSide, longestSide, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    return withReader(m_data, [&](QImageReader &reader) {
        reader.setScaledSize(size);
        return reader.read();
    });
}
