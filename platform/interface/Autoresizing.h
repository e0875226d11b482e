// SPDX-License-Identifier: MIT
#pragma once

#include <QRectF>

namespace zr {

/// A subview's frame after its superview's size has changed. Along each axis the flexible ones among min margin, size and max
/// margin share the change in proportion to their lengths, or equally if these come to nothing; if none is flexible, the max
/// margin takes it. Nothing keeps a length from becoming negative. Any thread.
/// \param mask  of NSAutoresizingMaskOptions
QRectF autoresized(const QRectF &frame, const QSizeF &oldSuperSize, const QSizeF &newSuperSize,
                   unsigned mask);

} // namespace zr
