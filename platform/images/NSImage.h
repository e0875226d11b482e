// SPDX-License-Identifier: MIT
#pragma once

#include "platform/images/NSGraphicsContext.h"
#include "platform/images/NSImageFocus.h"
#include "platform/images/NSImageRep.h"

#include <QImage>
#include <QList>
#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <QString>
#include <memory>
#include <mutex>

class QPainter;

/// Whether an image keeps the scaled picture that was drawn last, in case it is drawn at that size again. All but Never do.
enum class NSImageCacheMode {
    Default = 0,
    Always = 1,
    BySize = 2,
    Never = 3,
};

/// A picture with a size in points, 72 to the inch, and one or more representations of it in pixels.
///
/// Images are shared and have identity: make them by std::make_shared<NSImage>() or by one of the functions here. Places in an
/// image are measured from its bottom left corner, upwards.
///
/// Threads: everything may be called on any thread and needs no application object. Several threads may draw an image at once, but
/// only one at a time should draw into it.
class NSImage : public std::enable_shared_from_this<NSImage> {
public:
    /// An image without a representation. With the size (0, 0) it takes the size of the first that is added.
    explicit NSImage(const QSizeF &size = QSizeF(0, 0)) : m_size(size) {}
    /// An image of one bitmap, see NSBitmapImageRep; with the size (0, 0) it takes the bitmap's. A null bitmap is none.
    explicit NSImage(const QImage &bitmap, const QSizeF &size = QSizeF(0, 0));
    NSImage(const NSImage &) = delete;
    NSImage &operator=(const NSImage &) = delete;

    /// The picture in a file's bytes; nil (nullptr) if they can't be read. Its size follows from the resolution that the file
    /// claims, or is a point a pixel.
    ///
    /// Formats: JPEG, PNG, GIF, BMP, ICO; with Qt's plugins for them also WebP, TIFF and SVG. ICO and TIFF files give a
    /// representation for each of their pictures, animations their first one. Photographs are turned as their EXIF data
    /// says; colours are converted from the file's RGB profile to sRGB.
    ///
    /// Limits: 65,535 pixels a side, 134,217,728 in all, and QImageReader::allocationLimit() for all bitmaps of a file; of
    /// several pictures those that come first are read. An SVG picture is drawn with at most 4,096 pixels a side. It may not
    /// refer to files, and needs a QGuiApplication if it has text.
    /// \param atLeast  unless empty, bitmaps may be smaller than the file's, but neither narrower nor lower than this. JPEG
    ///                 pictures are read in a fraction of the time then. The size in points is the whole picture's.
    static std::shared_ptr<NSImage> imageWithData(const QByteArray &data, const QSize &atLeast = {});
    /// The same of a file. A path that begins with ":/" is that of a resource compiled into the program.
    static std::shared_ptr<NSImage> imageWithContentsOfFile(const QString &path, const QSize &atLeast = {});

    /// The image that has the name; nil if none has.
    static std::shared_ptr<NSImage> imageNamed(const QString &name);
    /// Names the image, so that imageNamed() finds it, and keeps it alive until the name is taken away, by nil or "". False,
    /// and nothing changes, if another image has the name, or if no std::shared_ptr owns this one.
    bool setName(const QString &name);
    /// nil without one.
    QString name() const;

    /// In points.
    QSizeF size() const;
    /// Sets the image's own size; the representations keep theirs and are stretched when they are drawn.
    void setSize(const QSizeF &size);

    QList<std::shared_ptr<NSImageRep>> representations() const;
    /// nil is not added.
    void addRepresentation(const std::shared_ptr<NSImageRep> &representation);
    void removeRepresentation(const std::shared_ptr<NSImageRep> &representation);

    NSImageCacheMode cacheMode() const;
    void setCacheMode(NSImageCacheMode mode);

    /// The bitmap that suits a rectangle of so many points best, or the image's size if it is empty: that with the fewest
    /// pixels that are enough for a pixel a point, or else the largest. It isn't scaled. Null if there is none.
    QImage CGImageForProposedRect(const QRectF &proposedRect = {}) const;

    /// Draws into the image, as this thread's current context, as long as the result lives; see NSImageFocus.
    [[nodiscard]] NSImageFocus lockFocus() { return NSImageFocus(*this); }

    /// Draws a part of the image into a rectangle of the current context, stretched. Without a current context, a
    /// representation, or for a rectangle that is empty or not finite, nothing is drawn. Pictures are scaled by Lanczos'
    /// filter, and their edges lie on whole pixels.
    /// \param fromRect  the part, in the image's points; an empty one (all zero) is the whole. What it has outside the image
    ///                  is transparent.
    /// \param fraction  the opacity, from 0 to 1
    void drawInRect(const QRectF &rect, const QRectF &fromRect = {},
                    NSCompositingOperation operation = NSCompositingOperation::SourceOver,
                    double fraction = 1) const;
    /// The same at a point, in the part's own size.
    void drawAtPoint(const QPointF &point, const QRectF &fromRect = {},
                     NSCompositingOperation operation = NSCompositingOperation::SourceOver,
                     double fraction = 1) const;

private:
    friend class NSImageFocus;

    /// What is drawn: a region of a representation's bitmap, in its pixels.
    struct Drawing {
        std::shared_ptr<NSImageRep> representation;
        QImage bitmap;
        QRectF region;
    };
    /// What was scaled last, and to which size.
    struct Drawn {
        std::shared_ptr<NSImageRep> representation;
        QRect within;
        QRectF region;
        QSize size;
        friend bool operator==(const Drawn &, const Drawn &) = default;
    };

    void setOnlyRepresentation(const std::shared_ptr<NSImageRep> &representation);
    void forgetDrawn();
    std::shared_ptr<NSImageRep> bestRepresentation(const QSizeF &pixels) const;
    void drawUpright(QPainter &painter, const QRectF &place, const Drawing &drawing) const;
    void drawTurned(QPainter &painter, const QRectF &place, const Drawing &drawing) const;
    QImage scaled(const Drawing &drawing, const QRectF &region, const QSize &size) const;

    mutable std::mutex m_mutex; ///< of all below
    QSizeF m_size;
    QList<std::shared_ptr<NSImageRep>> m_representations;
    QString m_name;
    NSImageCacheMode m_cacheMode = NSImageCacheMode::Default;
    mutable Drawn m_drawn;
    mutable QImage m_drawnPicture;
};
