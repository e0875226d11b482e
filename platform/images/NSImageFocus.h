// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

class NSGraphicsContext;
class NSImage;

/// Drawing into an image, for as long as it lives: the thread's current context is the image's own picture then, at first as
/// the image is drawn otherwise. At the end that picture becomes the image's only representation, and the thread's former
/// context its current one again. Focuses end in the reverse order of their beginning.
///
/// The picture has a pixel a point, rounded up (but not for less than a thousandth), over which an image of fractional size is
/// stretched: 100 by 66.7 points have 100 by 67 pixels. It has 8 bits a channel, and 16 while it is drawn. An image that is empty, or of more than 32,767
/// points in one direction or 67,108,864 in all, has no picture: what is drawn goes nowhere, and it is left as it is.
///
///     {
///         const NSImageFocus focus = image->lockFocus();
///         NSGraphicsContext::currentContext()->setFillColor(Qt::yellow);
///         NSRectFill(QRectF(0, 0, 10, 10));
///     }
class NSImageFocus {
public:
    explicit NSImageFocus(NSImage &image);
    ~NSImageFocus();
    NSImageFocus(const NSImageFocus &) = delete;
    NSImageFocus &operator=(const NSImageFocus &) = delete;

private:
    struct Canvas;

    NSImage &m_image;
    std::unique_ptr<Canvas> m_canvas;
    NSGraphicsContext *m_former;
};
