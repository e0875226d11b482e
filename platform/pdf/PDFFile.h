// SPDX-License-Identifier: MIT
// Internal to platform/pdf.
#pragma once

#include <QByteArray>
#include <QRectF>
#include <QVariantMap>
#include <map>
#include <optional>
#include <string>

/// The new box of a page.
struct PDFPageCut {
    /// In points from the top left corner of the page's box, once enlarged, y downward.
    QRectF box;
    /// How far everything on the page is enlarged first.
    double magnification = 1;
};

/// What is to be changed in a file.
struct PDFChanges {
    /// All attributes that the document is to have, already cleaned.
    std::optional<QVariantMap> attributes;
    std::map<int, PDFPageCut> boxes;

    bool isEmpty() const { return !attributes && boxes.empty(); }
};

/// One opened file, and one way of reading and rewriting it.
class PDFFile {
public:
    virtual ~PDFFile() = default;
    virtual QVariantMap attributes() const = 0;
    virtual int pageCount() const = 0;
    virtual QRectF pageBox(int page) const = 0;
    /// The changed file; null where this way of rewriting does not do.
    virtual QByteArray written(const PDFChanges &changes) const = 0;
};

/// A page box in a reader's terms: how far to scale and move everything on the page, and the new sizes.
struct PDFBoxPlan {
    double scale = 1;
    double dx = 0;
    double dy = 0;
    double width = 0;
    double height = 0;
    int userUnit = 1;

    bool moves() const { return scale != 1 || dx != 0 || dy != 0; }
    double x(double value) const { return value * scale + dx; }
    double y(double value) const { return value * scale + dy; }
    /// The operator that does so for the page's content.
    std::string contentMatrix() const;

    /// The plan for cutting `cut` out of a page whose box, in units of `userUnit` points, is `box` (its top
    /// being the largest y). Nothing where sizes are not usable.
    static std::optional<PDFBoxPlan> make(const QRectF &box, double userUnit, const PDFPageCut &cut);
};

/// The longest page side that every reader shows, in user space units.
inline constexpr double PDFLongestSide = 14400;
