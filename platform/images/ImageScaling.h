// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <QSizeF>

namespace zr {

/// A size in whole pixels, rounded up, but not for less than a thousandth: computed sizes are a little off. An empty one if that
/// is none that a picture can have.
QSize pixelSize(const QSizeF &size);

/// A region of a picture, in its pixels and at fractions of them if need be, in as many pixels as asked for, by Lanczos'
/// filter over three lobes. Colours are weighted by their opacity. The result is premultiplied and has 16 bits a channel; it is
/// null if the region or the size is empty, or memory short. Any thread.
/// \param within  the pixels that count: nothing of the others gets into the result
QImage scaledRegion(const QImage &picture, const QRect &within, const QRectF &region, const QSize &size);

} // namespace zr
