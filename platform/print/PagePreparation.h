// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QSizeF>
#include <QString>

namespace zr {

class DevToolsSession;

/// What is to be done with a loaded page.
struct PagePrintOptions {
    /// Structure tags for screen readers and other tools; they cost time and bytes.
    bool tagged = false;
};

/// A loaded page as PDF: one page that shows what the screen shows.
struct PagePrint {
    /// Null when printing failed; `error` then says why.
    QByteArray pdf;
    /// The document's size in CSS pixels: what the page's box has to be in points, once the page is enlarged
    /// by `magnification`. The paper that was printed on may be a little larger.
    QSizeF size;
    /// What makes a CSS pixel a point. Printing it as a whole point would make pictures of shadows and
    /// filters, which have 300 dots an inch of paper, 16/9 times the size. The engine writes a pixel as 3.125
    /// dots, and a dot, 0.24 points, as .23999999; anything else would push the edges of pictures over the
    /// pixel grid.
    static constexpr double magnification = 1 / (3.125 * 0.23999999);
    QString error;
};

/// Prepares the page in the session's main frame and prints it, all of the document on one page.
///
/// The page has finished loading, in an 800 x 1131 viewport; it is not used again without a new document.
/// Main thread; runs the main run loop while it waits for the browser.
///
/// \param page       the page's session
/// \param mainFrame  the main frame's identifier
PagePrint printLoadedPage(DevToolsSession &page, const QString &mainFrame,
                          const PagePrintOptions &options = {});

} // namespace zr
