// SPDX-License-Identifier: MIT
// Internal to platform/pdf.
#pragma once

#include <QRectF>
#include <qpdf/QPDFObjectHandle.hh>

class QPDF;

namespace zr {

/// The visible box of a page in points, any UserUnit applied. Its `bottom()` is the page's top, as y grows
/// upward in PDF.
QRectF pdfPageBox(const QPDFObjectHandle &page);

/// Enlarges everything on a page and cuts it to `box`, which is in points from the top left corner of the
/// enlarged page, y downward. False if the rectangle or the factor are not usable. If damage keeps the page
/// from being moved, that is an exception, and the page may be half moved.
bool pdfSetPageBox(QPDF &pdf, QPDFObjectHandle page, const QRectF &box, double magnification);

} // namespace zr
