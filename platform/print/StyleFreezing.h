// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

namespace zr {

/// The viewport that a document was laid out in, and what the paper will change about it.
struct StyleViewport {
    double width = 800;
    double height = 1131;
    bool widthChanges = false;
    bool heightChanges = false;
    /// The root's lines run from top to bottom.
    bool isVertical = false;
    /// The root is a query container of the viewport's size, and the only one.
    bool isContainer = false;
};

/// What a style sheet holds that depends on the viewport or on printing.
struct StyleScan {
    /// Something that frozenStyle() would replace.
    bool dependsOnViewport = false;
    /// A page rule with a declaration that no later rule overrides.
    bool hasImportantPageRule = false;
    /// `content-visibility`.
    bool hidesSkippedContent = false;
    /// Units of a query container, which are the viewport's where there is none.
    bool hasContainerUnits = false;
    bool imports = false;
    /// Units along and across an element's lines, and query containers other than the viewport.
    bool hasLogicalUnits = false;
    bool hasContainers = false;
    /// The texts of media conditions whose outcome depends on the viewport.
    QStringList conditions;
};

/// Reads a style sheet (CSS Syntax Level 3; unclosed and broken rules read as browsers do).
StyleScan scanStyle(const QString &css, const StyleViewport &viewport);

/// The sheet, or a style attribute's or other declaration's text, with viewport units replaced by pixels,
/// media conditions by their outcome, and page rules removed.
///
/// \param outcomes  for each of the scan's conditions whether it held; conditions that are missing stay
QString frozenStyle(const QString &css, const StyleViewport &viewport,
                    const QHash<QString, bool> &outcomes = {});

} // namespace zr
