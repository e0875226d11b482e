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
/// enlarged page, y downward. False if the rectangle or the factor is not usable. Throws if damage prevents
/// the move, which may leave the page half moved.
bool pdfSetPageBox(QPDF &pdf, QPDFObjectHandle page, const QRectF &box, double magnification);

} // namespace zr
