// SPDX-License-Identifier: MIT
#pragma once

#include "platform/images/NSImageRep.h"

#include <QString>
#include <QVariantMap>

/// The formats that pictures are written in.
enum class NSBitmapImageFileType {
    JPEG = 3, ///< ISO/IEC 10918-1, in a JFIF file
    PNG = 4,  ///< ISO/IEC 15948
};

/// A property for writing JPEG: from 0, small, to 1, good; a number, 0.75 unless given. What lies outside counts as the
/// nearest of these.
inline const QString NSImageCompressionFactor = QStringLiteral("NSImageCompressionFactor");
/// A property for writing JPEG, which has no transparency: the QColor behind transparent pixels, white unless given.
inline const QString NSImageFallbackBackgroundColor = QStringLiteral("NSImageFallbackBackgroundColor");

/// A representation that is a bitmap. Any thread.
class NSBitmapImageRep : public NSImageRep {
public:
    /// The bitmap at one point a pixel, or as many pixels a point as its device pixel ratio says. The bitmap must not refer to
    /// memory that changes.
    explicit NSBitmapImageRep(const QImage &image);
    /// The bitmap at a size in points.
    NSBitmapImageRep(const QImage &image, const QSizeF &size);

    /// The bitmap, top row first.
    QImage CGImage() const { return m_image; }
    QImage bitmap(const QSize &pixels) const override;

    /// The picture as a file's bytes, with a resolution that follows from the point size and no other remarks; nil for an
    /// empty bitmap, and for one with a side of more than 65,500 (JPEG) pixels. PNG keeps 16 bits a channel and transparency.
    QByteArray representationUsingType(NSBitmapImageFileType type, const QVariantMap &properties = {}) const;

private:
    const QImage m_image;
};
