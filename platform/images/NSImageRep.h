// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QSize>
#include <QSizeF>
#include <memory>
#include <mutex>

/// One representation of an image: a picture with a size in points, 72 to the inch, and in pixels. An image has several
/// if its file holds it at several sizes.
///
/// Representations are shared, by std::shared_ptr. The picture never changes; the point size may, at any time and on any
/// thread.
class NSImageRep {
public:
    virtual ~NSImageRep() = default;
    NSImageRep(const NSImageRep &) = delete;
    NSImageRep &operator=(const NSImageRep &) = delete;

    /// The representations in a file's bytes, in the file's order; none if they aren't a picture that can be read. See
    /// NSImage::imageWithData().
    static QList<std::shared_ptr<NSImageRep>> imageRepsWithData(const QByteArray &data,
                                                                const QSize &atLeast = {});

    /// In points.
    QSizeF size() const;
    void setSize(const QSizeF &size);
    int pixelsWide() const { return m_pixelsWide; }
    int pixelsHigh() const { return m_pixelsHigh; }

    /// The picture, top row first: of a bitmap its own pixels, whatever is asked for; of a scalable picture as many pixels as
    /// asked for. Null if there is none, or if it is too large.
    virtual QImage bitmap(const QSize &pixels) const = 0;

protected:
    NSImageRep(const QSizeF &size, int pixelsWide, int pixelsHigh)
        : m_size(size), m_pixelsWide(pixelsWide), m_pixelsHigh(pixelsHigh) {}

private:
    mutable std::mutex m_mutex; ///< of the size
    QSizeF m_size;
    const int m_pixelsWide, m_pixelsHigh;
};
