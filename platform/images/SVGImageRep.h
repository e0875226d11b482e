// SPDX-License-Identifier: MIT
#pragma once

#include "platform/images/NSImageRep.h"

namespace zr {

/// A representation that is drawn anew at each size: an SVG document, which isHarmlessSVG() has found so. Any thread.
class SVGImageRep : public NSImageRep {
public:
    /// The size that the document asks for; empty if it can't be drawn.
    static QSize naturalSize(const QByteArray &data);

    /// \param size  the document's natural one
    SVGImageRep(const QByteArray &data, const QSize &size)
        : NSImageRep(size, size.width(), size.height()), m_data(data) {}

    QImage bitmap(const QSize &pixels) const override;

private:
    const QByteArray m_data;
};

} // namespace zr
