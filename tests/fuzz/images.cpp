// SPDX-License-Identifier: MIT
// What stands before and behind the plugins that decode pictures: any bytes have a format or none, an SVG document is looked
// through, and any part of any bitmap is scaled to any size, without a colour that is stronger than its opacity.
#include "platform/images/ImageFormat.h"
#include "platform/images/ImageScaling.h"
#include "platform/images/SVGCheck.h"

#include <cstdlib>
#include <cstring>

using namespace zr;

namespace {

/// Takes numbers off the input's front; zeros when it has ended.
class Input {
public:
    Input(const uint8_t *bytes, size_t size) : m_bytes(bytes), m_size(size) {}

    template <typename T>
    T next() {
        T value{};
        const size_t count = std::min(sizeof(T), m_size);
        std::memcpy(&value, m_bytes, count);
        m_bytes += count;
        m_size -= count;
        return value;
    }

private:
    const uint8_t *m_bytes;
    size_t m_size;
};

void scale(Input input) {
    const auto format = QImage::Format(1 + input.next<uint8_t>() % (QImage::NImageFormats - 1));
    QImage picture(1 + input.next<uint8_t>() % 64, 1 + input.next<uint8_t>() % 64, format);
    if (picture.colorCount() == 0 && picture.depth() <= 8 && format != QImage::Format_Alpha8 &&
        format != QImage::Format_Grayscale8)
        picture.setColorTable({qRgb(0, 0, 0), qRgba(0, 200, 0, 100)});
    picture.fill(0);
    for (int y = 0; y < picture.height(); y += 2)
        for (int x = 0; x < picture.width(); x += 3)
            picture.setPixel(x, y, picture.colorCount() > 0 ? 1 : input.next<uint32_t>());
    const QRect within(input.next<int8_t>(), input.next<int8_t>(), input.next<int8_t>(),
                       input.next<int8_t>());
    const double x = input.next<double>(), y = input.next<double>();
    const QRectF region(x, y, input.next<double>(), input.next<double>());
    const QSize size(input.next<uint8_t>(), input.next<uint8_t>());
    const QImage result = scaledRegion(picture, within, region, size);
    if (result.isNull())
        return;
    if (result.size() != size)
        std::abort();
    for (int row = 0; row < size.height(); ++row) {
        const auto *pixel = reinterpret_cast<const quint16 *>(result.constScanLine(row));
        for (int column = 0; column < size.width(); ++column, pixel += 4)
            if (std::max({pixel[0], pixel[1], pixel[2]}) > pixel[3])
                std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QByteArray data = QByteArray::fromRawData(reinterpret_cast<const char *>(bytes), qsizetype(size));
    if (imageFormatOf(data) == "svg")
        isHarmlessSVG(data);
    else
        scale(Input(bytes, size));
    return 0;
}
