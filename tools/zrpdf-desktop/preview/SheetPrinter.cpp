// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/preview/SheetPrinter.h"

#include <QPainter>
#include <QPrinter>
#include <algorithm>
#include <cmath>

namespace {

constexpr double pointsAnInch = 72;

/// Whether all pixels of a row are alike.
bool isPlain(const QImage &image, int row) {
    const auto *pixels = reinterpret_cast<const QRgb *>(image.constScanLine(row));
    return std::all_of(pixels, pixels + image.width(),
                       [first = pixels[0]](QRgb pixel) { return pixel == first; });
}

/// How many rows of a picture go on this sheet: up to the last plain one of its last fifth, or else all.
int rowsThatStay(const QImage &image) {
    for (int row = image.height() - 1; row >= image.height() - image.height() / 5; --row)
        if (isPlain(image, row))
            return row + 1;
    return image.height();
}

} // namespace

bool SheetPrinter::print(const PDFPage &page, QPrinter &printer,
                         const std::function<bool(double)> &progressed) {
    const QRect sheet = printer.pageLayout().paintRectPixels(printer.resolution());
    const double scale = std::min(sheet.width() / page.size().width(), printer.resolution() / pointsAnInch);
    const int width = std::max(1, int(std::lround(page.size().width() * scale)));
    const int height = std::max(1, int(std::lround(page.size().height() * scale)));
    QPainter painter;
    if (sheet.isEmpty() || !painter.begin(&printer))
        return false;
    // Text that was compressed as photographs are is hard to read.
    painter.setRenderHint(QPainter::LosslessImageRendering);
    for (int top = 0; top < height;) {
        const int left = height - top;
        QImage image = page.render(QRect(0, top, width, std::min(sheet.height(), left)), scale)
                           .convertToFormat(QImage::Format_RGB32);
        if (image.isNull() || (top > 0 && !printer.newPage()))
            return false;
        const int rows = left > sheet.height() ? rowsThatStay(image) : left;
        painter.drawImage(QPoint(0, 0), image, QRect(0, 0, width, rows));
        top += rows;
        if (progressed && !progressed(double(top) / height))
            return printer.abort(), false;
    }
    return painter.end();
}
