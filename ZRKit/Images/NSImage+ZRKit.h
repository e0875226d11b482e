// SPDX-License-Identifier: MIT
#pragma once

#include "platform/images/NSBitmapImageRep.h"
#include "platform/images/NSImage.h"

#include <QByteArray>
#include <QColor>
#include <QSizeF>
#include <QString>
#include <memory>
#include <type_traits>

/// Encoding images, their resolution, and fitting, cutting and scaling them. Sizes are in points, 72 to the inch, unless
/// pixels are named. Nothing fails loudly: of nil (nullptr), of an image without representations and of an empty one, results are
/// nil, empty, (0, 0), or no number where it says so.
///
/// Some operations give the receiver itself, and some change its size: an image is a shared object.
///
/// Threads: sizes and numbers may be asked for on any thread. The operations that draw make their new image on the calling
/// thread; one image is drawn by one thread at a time.
namespace ZRKit {

using Image = std::shared_ptr<NSImage>;
using ImageRep = std::shared_ptr<NSImageRep>;

// Encoding

/// The image's bitmap for its natural size, see NSImage::CGImageForProposedRect(); null if there is none.
QImage CGImage(const Image &image);
/// A new representation of CGImage(); nil if that is null.
std::shared_ptr<NSBitmapImageRep> bitmapImageRep(const Image &image);
/// A JPEG file of bitmapImageRep(); nil if that is nil.
/// \param quality  from 0 to 1
QByteArray dataForJPGWithCompressionQuality(const Image &image, double quality);
/// A PNG file of bitmapImageRep(); nil if that is nil.
QByteArray dataForPNG(const Image &image);

// Resolution and size; everything that has to do with DPI looks at the first representation only

/// In pixels: the largest width and the largest height of all representations, which need not be the same one's.
QSizeF realSize(const Image &image);
/// Dots per inch of the first representation, a whole number, rounded up: 144 of one that is 144 pixels and 72 points wide.
/// No number without a representation.
double DPI(const Image &image);
/// Dots per inch of the representation.
double DPI(const ImageRep &representation);
/// Sets the first representation's point size (not the image's own) to whole points, rounded up, that give the resolution;
/// nothing if that is DPI() already.
void setDPI(const Image &image, double dpi);
/// The first representation's point size times `dpi` over its resolution, rounded up: 200 x 100 of one with 100 x 50 points
/// at 72 DPI, asked for 144. Logs "current DPI" and it at each call. No numbers without a representation.
QSizeF sizeForDPI(const Image &image, double dpi);

/// The largest size of the image's proportions within a box; larger than the image too.
QSizeF sizeThatFits(const Image &image, const QSizeF &box);
/// Sets the image's size to sizeThatFits().
void bringToSize(const Image &image, const QSizeF &box);

// New images

/// The image of the name. If there is none, the image in the file of that name in NSBundle::mainBundle().resourcePath(), which
/// has the name from then on; nil if it can't be read.
Image imageNamedAtBundlePath(const QString &name);

/// The image drawn into one of another size; the image itself if it is not larger than that in either direction.
/// Proportionally, it fills the size, centred, and what is too much in one direction is cut off. Otherwise it is stretched.
/// \param fill  makes no difference
Image imageByScalingToSize(const Image &image, const QSizeF &size, bool proportionally, bool fill = false);
template <typename P, typename F = bool>
requires(!std::is_same_v<P, bool> || !std::is_same_v<F, bool>) Image
    imageByScalingToSize(const Image &, const QSizeF &, P, F = {})
= delete;
/// The image drawn in sizeThatFits() of the box with the best interpolation; the image itself only if the box is larger in both
/// directions. The image is not cached from then on.
Image fitToSize(const Image &image, const QSizeF &box);
/// The image drawn in sizeThatFits() of the box, with the proportions rounded to single precision. The image itself gets that
/// size too.
Image scaleToSize(const Image &image, const QSizeF &box);
/// The image over a colour, which shows through where the image is transparent; an invalid colour is black. nil if the image's
/// width or height is not above 0.
Image imageOnColor(const Image &image, const QColor &color);

} // namespace ZRKit
