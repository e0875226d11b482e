// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf-desktop/preview/PDFPage.h"

#include <functional>

class QPrinter;

/// Prints the one tall page on sheets of paper: as wide as the paper, but never enlarged, from the top down, on as many
/// sheets as that takes. A sheet ends between two lines of the page if there is such a place in its last fifth, so that
/// no line of text is cut in two.
namespace SheetPrinter {

/// The dots an inch that are enough for text.
constexpr int resolution = 300;

/// Prints the page; any thread, the printer's own.
/// \param printer    set up, with a resolution; nothing of it is changed
/// \param progressed told after each sheet how much of the page is on paper, from 0 to 1; false ends the printing. May be nil.
/// \return whether all of it was handed to the printer
bool print(const PDFPage &page, QPrinter &printer, const std::function<bool(double)> &progressed = {});

} // namespace SheetPrinter
