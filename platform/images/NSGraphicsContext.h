// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QRectF>
#include <QSizeF>

class QPainter;

/// How pictures are drawn at a size that isn't theirs. All but None mean the best there is.
enum class NSImageInterpolation {
    Default = 0,
    None = 1, ///< each pixel is the nearest one of the picture
    Low = 2,
    Medium = 4,
    High = 3,
};

/// How what is drawn meets what is there.
enum class NSCompositingOperation {
    Clear = 0,
    Copy = 1,
    SourceOver = 2,
    SourceIn = 3,
    SourceOut = 4,
    SourceAtop = 5,
    DestinationOver = 6,
    DestinationIn = 7,
    DestinationOut = 8,
    DestinationAtop = 9,
    XOR = 10,
    PlusLighter = 13,
};

/// Where drawing goes, and in which manner: a painter, and an area in its coordinates that is measured from its bottom left
/// corner upwards. The painter's own coordinates stay Qt's.
///
/// A context belongs to the thread that draws. Each thread has a current one, or none.
class NSGraphicsContext {
public:
    /// \param painter  must outlive the context
    /// \param size     of the area, whose top left corner is the painter's origin
    NSGraphicsContext(QPainter &painter, const QSizeF &size) : m_painter(painter), m_size(size) {}
    NSGraphicsContext(const NSGraphicsContext &) = delete;
    NSGraphicsContext &operator=(const NSGraphicsContext &) = delete;

    /// This thread's; nullptr if it has none.
    static NSGraphicsContext *currentContext();
    /// Sets this thread's context, or none for nullptr; gives the one there was, to be set again afterwards.
    static NSGraphicsContext *setCurrentContext(NSGraphicsContext *context);

    QPainter &painter() const { return m_painter; }
    /// A rectangle of the area in the painter's coordinates.
    QRectF painterRect(const QRectF &rect) const;

    /// Keeps all that is drawn from now on inside a rectangle with elliptic corners, whose edges are smooth; the painter's
    /// antialiasing is switched on for that. A radius is at most half of its side; without positive radii the corners are right
    /// angles.
    void clipToRoundedRect(const QRectF &rect, double xRadius, double yRadius);

    NSImageInterpolation imageInterpolation() const { return m_imageInterpolation; }
    void setImageInterpolation(NSImageInterpolation interpolation) { m_imageInterpolation = interpolation; }

    /// The colour that areas are filled with; black at first.
    QColor fillColor() const { return m_fillColor; }
    /// An invalid colour changes nothing.
    void setFillColor(const QColor &color);

private:
    QPainter &m_painter;
    const QSizeF m_size;
    NSImageInterpolation m_imageInterpolation = NSImageInterpolation::Default;
    QColor m_fillColor = Qt::black;
};

/// Puts the current context's fill colour in place of all pixels of the rectangle, transparency included. Its edges are those
/// between pixels that are nearest, so that areas that touch leave no seam. Does nothing without a current context.
void NSRectFill(const QRectF &rect);
