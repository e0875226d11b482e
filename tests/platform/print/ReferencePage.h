// SPDX-License-Identifier: MIT
#pragma once

#include "tests/platform/print/BrowserPage.h"
#include "tests/support/Picture.h"

#include <QList>
#include <QStringList>
#include <QTemporaryDir>

/// A document in the engine itself, started as the product starts it, to hold PDF pages against.
class ReferencePage {
public:
    /// Loads a document, with its scripts off.
    explicit ReferencePage(const QString &url);

    /// The document's width and height in pixels, as the engine lays it out.
    QSize size();
    /// The engine's picture of the whole document, tall ones in pieces.
    Picture picture();

    struct Text {
        QString text; ///< without white space
        bool inFlow;  ///< painted in the document's order
        bool isRightToLeft;
    };
    /// The visible texts of paragraphs, headings, cells and list items, in order.
    QList<Text> texts();
    /// All text that is not hidden by style.
    QString wholeText();
    /// Where the visible links of the document lead.
    QStringList links();

    BrowserPage &page() { return m_page; }

private:
    Picture shot(const zr::DevToolsParams &params);
    const QTemporaryDir m_folder; ///< pictures are made by way of files, which the browser leaves behind
    BrowserPage m_page;
};
