// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QImage>
#include <QRect>
#include <QSizeF>
#include <functional>
#include <memory>

/// The first page of a PDF, as a picture of any size. Used by one thread at a time, on any.
class PDFPage {
public:
    /// nullptr if the bytes are no PDF that can be shown. The libraries that this takes are loaded at the first call.
    static std::unique_ptr<PDFPage> open(const QByteArray &pdf);
    virtual ~PDFPage() = default;
    PDFPage(const PDFPage &) = delete;
    PDFPage &operator=(const PDFPage &) = delete;

    /// In points, any UserUnit applied.
    virtual QSizeF size() const = 0;

    /// Part of the page, smoothed, on white.
    /// \param part     in pixels from the page's top left corner
    /// \param scale    pixels a point
    /// \param unwanted asked now and then; the picture is given up once it says yes. May be nil.
    /// \return null if the part can't be drawn or isn't wanted any more
    virtual QImage render(const QRect &part, double scale,
                          const std::function<bool()> &unwanted = {}) const = 0;

protected:
    PDFPage() = default;
};
