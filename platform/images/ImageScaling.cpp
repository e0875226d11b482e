// SPDX-License-Identifier: MIT
#include "platform/images/ImageScaling.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <zimg.h>

namespace {

constexpr auto pixelFormat = QImage::Format_RGBA64_Premultiplied;
constexpr std::size_t alignment = 64;
constexpr int channels = 4;

struct FreeGraph {
    void operator()(zimg_filter_graph *graph) const { zimg_filter_graph_free(graph); }
};

struct FreeMemory {
    void operator()(void *memory) const { std::free(memory); }
};

using Graph = std::unique_ptr<zimg_filter_graph, FreeGraph>;
using Memory = std::unique_ptr<void, FreeMemory>;

std::size_t rounded(std::size_t bytes) {
    return (bytes + alignment - 1) / alignment * alignment;
}

Memory aligned(std::size_t bytes) {
    return Memory(std::aligned_alloc(alignment, rounded(std::max(bytes, alignment))));
}

/// Some rows of a picture as the scaler has them, a plane a channel; row y is kept at y modulo a power of two.
class Planes {
public:
    Planes(int width, unsigned rows, bool hasAlpha)
        : m_count(hasAlpha ? channels : channels - 1), m_mask(zimg_select_buffer_mask(rows)),
          m_stride(rounded(std::size_t(width) * sizeof(quint16))) {
        for (int i = 0; i < m_count; ++i)
            m_memory[i] = aligned(m_stride * kept(rows));
    }

    bool isThere() const {
        return std::all_of(m_memory, m_memory + m_count, [](const Memory &memory) { return bool(memory); });
    }
    quint16 *row(int channel, unsigned y) const {
        const std::size_t at = m_mask == ZIMG_BUFFER_MAX ? y : y & m_mask;
        return reinterpret_cast<quint16 *>(static_cast<char *>(m_memory[channel].get()) + at * m_stride);
    }
    int count() const { return m_count; }

    template <typename Buffer>
    Buffer buffer() const {
        Buffer buffer{};
        buffer.version = ZIMG_API_VERSION;
        for (int i = 0; i < m_count; ++i) {
            buffer.plane[i].data = m_memory[i].get();
            buffer.plane[i].stride = ptrdiff_t(m_stride);
            buffer.plane[i].mask = m_mask;
        }
        return buffer;
    }

private:
    std::size_t kept(unsigned rows) const { return m_mask == ZIMG_BUFFER_MAX ? rows : m_mask + 1; }

    const int m_count;
    const unsigned m_mask;
    const std::size_t m_stride;
    Memory m_memory[channels];
};

struct Source {
    const QImage &picture;
    QPoint origin;
    const Planes &planes;
};

struct Destination {
    QImage &picture;
    const Planes &planes;
};

int readRow(void *user, unsigned y, unsigned left, unsigned right) {
    const Source &source = *static_cast<Source *>(user);
    const QImage &picture = source.picture;
    QImage row(picture.constScanLine(source.origin.y() + int(y)), picture.width(), 1, picture.bytesPerLine(),
               picture.format());
    row.setColorTable(picture.colorTable());
    row.convertTo(pixelFormat);
    if (row.isNull())
        return 1;
    const auto *const pixels =
        reinterpret_cast<const quint16 *>(row.constScanLine(0)) + qsizetype(source.origin.x()) * channels;
    for (int channel = 0; channel < source.planes.count(); ++channel) {
        quint16 *const plane = source.planes.row(channel, y);
        for (unsigned x = left; x < right; ++x)
            plane[x] = pixels[x * channels + unsigned(channel)];
    }
    return 0;
}

int writeRow(void *user, unsigned y, unsigned left, unsigned right) {
    const Destination &destination = *static_cast<Destination *>(user);
    auto *const pixels = reinterpret_cast<quint16 *>(destination.picture.scanLine(int(y)));
    const Planes &planes = destination.planes;
    const quint16 *const alphas = planes.count() == channels ? planes.row(channels - 1, y) : nullptr;
    for (int channel = 0; channel < channels - 1; ++channel) {
        const quint16 *const plane = planes.row(channel, y);
        for (unsigned x = left; x < right; ++x) {
            // The filter overshoots at edges, where a colour could come out stronger than its opacity.
            const quint16 most = alphas ? alphas[x] : 0xFFFF;
            pixels[x * channels + unsigned(channel)] = std::min(plane[x], most);
        }
    }
    for (unsigned x = left; x < right; ++x)
        pixels[x * channels + channels - 1] = alphas ? alphas[x] : 0xFFFF;
    return 0;
}

zimg_image_format imageFormat(const QSize &size, bool hasAlpha) {
    zimg_image_format format;
    zimg_image_format_default(&format, ZIMG_API_VERSION);
    format.width = unsigned(size.width());
    format.height = unsigned(size.height());
    format.pixel_type = ZIMG_PIXEL_WORD;
    format.depth = 16;
    format.pixel_range = ZIMG_RANGE_FULL;
    format.color_family = ZIMG_COLOR_RGB;
    format.matrix_coefficients = ZIMG_MATRIX_RGB;
    format.alpha = hasAlpha ? ZIMG_ALPHA_PREMULTIPLIED : ZIMG_ALPHA_NONE;
    return format;
}

Graph scaler(const QSize &from, const QRectF &region, const QSize &to, bool hasAlpha) {
    zimg_image_format source = imageFormat(from, hasAlpha);
    source.active_region.left = region.x();
    source.active_region.top = region.y();
    source.active_region.width = region.width();
    source.active_region.height = region.height();
    const zimg_image_format destination = imageFormat(to, hasAlpha);
    zimg_graph_builder_params parameters;
    zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
    parameters.resample_filter = ZIMG_RESIZE_LANCZOS;
    parameters.filter_param_a = 3;
    parameters.cpu_type = ZIMG_CPU_AUTO_64B;
    return Graph(zimg_filter_graph_build(&source, &destination, &parameters));
}

} // namespace

QSize zr::pixelSize(const QSizeF &size) {
    constexpr double most = 1 << 30;
    constexpr double little = 1.0 / 1024;
    const double width = std::ceil(size.width() - little);
    const double height = std::ceil(size.height() - little);
    return width >= 1 && height >= 1 && width <= most && height <= most ? QSize(int(width), int(height))
                                                                        : QSize();
}

QImage zr::scaledRegion(const QImage &picture, const QRect &within, const QRectF &region, const QSize &size) {
    const QRect part = within & picture.rect();
    const QRectF inside = region & QRectF(part);
    if (inside.isEmpty() || size.isEmpty())
        return {};
    if (inside.size() == QSizeF(size) && inside == QRectF(inside.toRect()))
        return picture.copy(inside.toRect()).convertToFormat(pixelFormat);

    const bool hasAlpha = picture.hasAlphaChannel();
    const Graph graph = scaler(part.size(), inside.translated(-part.topLeft()), size, hasAlpha);
    unsigned inputRows = 0, outputRows = 0;
    std::size_t scratchSize = 0;
    if (!graph || zimg_filter_graph_get_input_buffering(graph.get(), &inputRows) ||
        zimg_filter_graph_get_output_buffering(graph.get(), &outputRows) ||
        zimg_filter_graph_get_tmp_size(graph.get(), &scratchSize))
        return {};
    const Planes from(part.width(), std::min(inputRows, unsigned(part.height())), hasAlpha);
    const Planes to(size.width(), std::min(outputRows, unsigned(size.height())), hasAlpha);
    const Memory scratch = aligned(scratchSize);
    QImage result(size, pixelFormat);
    if (!from.isThere() || !to.isThere() || !scratch || result.isNull())
        return {};
    const auto input = from.buffer<zimg_image_buffer_const>();
    const auto output = to.buffer<zimg_image_buffer>();
    Source source{picture, part.topLeft(), from};
    Destination destination{result, to};
    const auto error = zimg_filter_graph_process(graph.get(), &input, &output, scratch.get(), readRow,
                                                 &source, writeRow, &destination);
    return error == ZIMG_ERROR_SUCCESS ? result : QImage();
}
