// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QSize>
#include <QStringList>

class NSImage;

/// Another colour in each quarter: red and green above, blue and yellow below.
QImage quarters(int width, int height);
/// Something like a photograph: soft shapes, edges, a gradient and grain; the same at each call.
QImage photograph(const QSize &size);
/// Something like a page: rows of small strokes, a grid and a circle, black on white.
QImage lineArt(const QSize &size);

/// The picture as a file of the format, at 72 DPI unless it has a resolution of its own.
QByteArray encoded(const QImage &picture, const char *format, int quality = -1);
/// What ImageMagick makes of a picture, as a file of the format: by its arguments between the two names.
QByteArray converted(const QByteArray &picture, const QStringList &arguments, const QString &format);

/// The image's bitmap for its natural size, and one of its pixels.
QImage bitmapOf(const NSImage &image);
QColor pixelOf(const NSImage &image, int x, int y);

/// How alike two pictures of the same size are to the eye: the mean structural similarity of their lightness over windows
/// of 8 by 8 pixels; 1 if they are the same. 0 if their sizes differ.
double similarity(const QImage &a, const QImage &b);
/// The largest difference of any channel of any pixel, alpha included.
int largestDifference(const QImage &a, const QImage &b);
