// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFPageBox.h"

#include <QByteArray>
#include <algorithm>
#include <cmath>
#include <optional>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjGen.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <qpdf/QUtil.hh>
#include <set>
#include <vector>

namespace {

using Object = QPDFObjectHandle;

/// The longest page side that every reader shows, in units of user space.
constexpr double longestSide = 14400;
/// The largest size and position that is taken for one.
constexpr double largest = 1e9;

// Not by qpdf's own conversion, which follows the locale of the process.
std::optional<double> number(Object value) {
    if (!value.isInteger() && !value.isReal())
        return std::nullopt;
    bool isNumber = false;
    const double parsed = QByteArray::fromStdString(value.unparseResolved()).toDouble(&isNumber);
    return isNumber && std::abs(parsed) <= largest ? std::optional(parsed) : std::nullopt;
}

Object newNumber(double value, int decimals = 6) {
    return Object::newReal(value, decimals, true);
}

Object attribute(const Object &page, const char *key) {
    return QPDFPageObjectHelper(page).getAttribute(key, false);
}

// Null if the value is not a usable box.
QRectF rectangle(Object value) {
    if (!value.isArray() || value.getArrayNItems() != 4)
        return {};
    double side[4];
    for (int i = 0; i < 4; ++i) {
        const auto parsed = number(value.getArrayItem(i));
        if (!parsed)
            return {};
        side[i] = *parsed;
    }
    const QRectF box = QRectF(QPointF(side[0], side[1]), QPointF(side[2], side[3])).normalized();
    return box.isEmpty() ? QRectF() : box;
}

// In units of user space.
QRectF visibleBox(const Object &page) {
    QRectF box = rectangle(attribute(page, "/MediaBox"));
    if (box.isNull())
        box = QRectF(0, 0, 612, 792);
    const QRectF crop = rectangle(attribute(page, "/CropBox")).intersected(box);
    return crop.isEmpty() ? box : crop;
}

double userUnit(Object page) {
    const auto unit = number(page.getKey("/UserUnit"));
    return unit && *unit > 0 ? *unit : 1;
}

/// How far to scale and move everything on a page, in units of user space.
struct Move {
    double scale = 1;
    double dx = 0;
    double dy = 0;

    bool isNone() const { return scale == 1 && dx == 0 && dy == 0; }
    double x(double value) const { return value * scale + dx; }
    double y(double value) const { return value * scale + dy; }
};

// Moves everything on one page to its new place.
class Mover {
public:
    Mover(QPDF &pdf, const Object &page, const Move &move) : m_pdf(pdf), m_page(page), m_move(move) {}

    void run() {
        if (m_page.hasKey("/Contents")) {
            // The scale multiplies positions of a page that may be millions of units tall.
            const std::string scale = QUtil::double_to_string(m_move.scale, 12, true);
            m_page.addPageContents(m_pdf.newStream(scale + " 0 0 " + scale + ' ' +
                                                   QUtil::double_to_string(m_move.dx, 6, true) + ' ' +
                                                   QUtil::double_to_string(m_move.dy, 6, true) + " cm\n"),
                                   true);
        }
        movePatterns();
        moveAnnotations();
        // Viewports, article beads and private data name places that no longer exist.
        for (const char *key : {"/VP", "/B", "/PieceInfo"})
            m_page.removeKey(key);
        moveReferences();
    }

private:
    Object moved(const Object &value, bool vertical) const {
        const auto parsed = number(value);
        return parsed ? newNumber(vertical ? m_move.y(*parsed) : m_move.x(*parsed)) : value;
    }

    Object scaled(const Object &value) const {
        const auto parsed = number(value);
        return parsed ? newNumber(*parsed * m_move.scale) : value;
    }

    Object mapped(Object array, bool isLength, int depth = 0) const {
        if (!array.isArray() || depth > 2)
            return array;
        std::vector<Object> items;
        bool vertical = false;
        for (const Object &item : array.getArrayAsVector()) {
            items.push_back(Object(item).isArray() ? mapped(item, isLength, depth + 1)
                            : isLength             ? scaled(item)
                                                   : moved(item, vertical));
            vertical = !vertical;
        }
        return Object::newArray(items);
    }

    // A pattern's matrix maps to the page's own space, whatever the content does.
    void movePatterns() {
        // Resources and patterns may be shared with forms, where they stay.
        Object resources = QPDFPageObjectHelper(m_page).getAttribute("/Resources", true);
        if (!resources.isDictionary() || !resources.getKey("/Pattern").isDictionary())
            return;
        Object patterns = resources.getKey("/Pattern").shallowCopy();
        for (auto &[name, pattern] : patterns.getDictAsMap()) {
            if (!pattern.isDictionary() && !pattern.isStream())
                continue;
            Object copy =
                pattern.isStream() ? pattern.copyStream() : m_pdf.makeIndirectObject(pattern.shallowCopy());
            Object entries = copy.isStream() ? copy.getDict() : copy;
            Object matrix = entries.getKey("/Matrix");
            if (!matrix.isArray() || matrix.getArrayNItems() != 6)
                matrix = Object::newArray(
                    {newNumber(1), newNumber(0), newNumber(0), newNumber(1), newNumber(0), newNumber(0)});
            std::vector<Object> items = matrix.getArrayAsVector();
            for (size_t i = 0; i < 6; ++i)
                items[i] = i < 4 ? scaled(items[i]) : moved(items[i], i == 5);
            entries.replaceKey("/Matrix", Object::newArray(items));
            patterns.replaceKey(name, copy);
        }
        resources.replaceKey("/Pattern", patterns);
    }

    void moveAnnotations() {
        Object annotations = m_page.getKey("/Annots");
        if (!annotations.isArray())
            return;
        std::set<QPDFObjGen> seen;
        for (Object annotation : annotations.getArrayAsVector()) {
            if (!annotation.isDictionary() ||
                (annotation.isIndirect() && !seen.insert(annotation.getObjGen()).second))
                continue;
            for (const char *key : {"/Rect", "/QuadPoints", "/Vertices", "/L", "/CL", "/InkList"})
                if (annotation.hasKey(key))
                    annotation.replaceKey(key, mapped(annotation.getKey(key), false));
            if (m_move.scale == 1)
                continue;
            if (annotation.hasKey("/RD"))
                annotation.replaceKey("/RD", mapped(annotation.getKey("/RD"), true));
            Object style = annotation.getKey("/BS");
            if (style.isDictionary()) {
                style = style.shallowCopy();
                style.replaceKey("/W",
                                 style.hasKey("/W") ? scaled(style.getKey("/W")) : newNumber(m_move.scale));
                if (style.hasKey("/D"))
                    style.replaceKey("/D", mapped(style.getKey("/D"), true));
                annotation.replaceKey("/BS", style);
            } else if (annotation.hasKey("/Border")) {
                annotation.replaceKey("/Border", mapped(annotation.getKey("/Border"), true));
            } else {
                // A border is one unit wide unless said otherwise.
                annotation.replaceKey(
                    "/Border", Object::newArray({newNumber(0), newNumber(0), newNumber(m_move.scale)}));
            }
        }
    }

    // Moves what the catalog leads to and names places on the page: destinations, and the layout attributes of
    // tagged documents.
    void moveReferences() {
        const bool isOnlyPage = m_pdf.getAllPages().size() == 1;
        std::set<QPDFObjGen> seen;
        std::vector<Object> open = {m_pdf.getRoot()};
        while (!open.empty()) {
            Object value = open.back();
            open.pop_back();
            if (value.isIndirect() && !seen.insert(value.getObjGen()).second)
                continue;
            if (value.isArray()) {
                std::vector<Object> items = value.getArrayAsVector();
                if (items.size() >= 3 && items[1].isName() && items[0].isIndirect() &&
                    items[0].getObjGen() == m_page.getObjGen())
                    moveDestination(value, items);
                else
                    open.insert(open.end(), items.begin(), items.end());
            } else if (value.isDictionary()) {
                if (isOnlyPage && value.getKey("/O").isNameAndEquals("/Layout"))
                    moveLayout(value);
                for (const auto &[key, item] : value.getDictAsMap())
                    if (key != "/Resources" && key != "/Contents")
                        open.push_back(item);
            }
        }
    }

    void moveDestination(Object array, const std::vector<Object> &items) {
        const std::string fit = Object(items[1]).getName();
        std::string axes;
        if (fit == "/XYZ")
            axes = "xy";
        else if (fit == "/FitH" || fit == "/FitBH")
            axes = "y";
        else if (fit == "/FitV" || fit == "/FitBV")
            axes = "x";
        else if (fit == "/FitR")
            axes = "xyxy";
        for (size_t i = 0; i < axes.size() && i + 2 < items.size(); ++i)
            array.setArrayItem(int(i + 2), moved(items[i + 2], axes[i] == 'y'));
    }

    void moveLayout(Object layout) {
        if (layout.hasKey("/BBox"))
            layout.replaceKey("/BBox", mapped(layout.getKey("/BBox"), false));
        for (const char *key :
             {"/Width", "/Height", "/SpaceBefore", "/SpaceAfter", "/StartIndent", "/EndIndent", "/TextIndent",
              "/LineHeight", "/BaselineShift", "/TextDecorationThickness", "/BorderThickness", "/Padding"})
            if (layout.hasKey(key))
                layout.replaceKey(key, layout.getKey(key).isArray() ? mapped(layout.getKey(key), true)
                                                                    : scaled(layout.getKey(key)));
    }

    QPDF &m_pdf;
    Object m_page;
    const Move m_move;
};

// Drops a difference that is too small to be written.
double withoutTraces(double distance) {
    return std::abs(distance) < 1e-6 ? 0 : distance;
}

} // namespace

QRectF zr::pdfPageBox(const Object &page) {
    const QRectF box = visibleBox(page);
    const double unit = userUnit(page);
    return {box.topLeft() * unit, box.size() * unit};
}

bool zr::pdfSetPageBox(QPDF &pdf, Object page, const QRectF &box, double magnification) {
    const double oldUnit = userUnit(page) * magnification;
    const auto usable = [](double length) {
        return std::isfinite(length) && length > 0 && length <= largest;
    };
    if (!usable(box.width()) || !usable(box.height()) || !usable(oldUnit) ||
        !(std::abs(box.x()) <= largest) || !(std::abs(box.y()) <= largest))
        return false;
    int unit = 1;
    // Powers of two: every size and position stays exact, in readers that calculate in single precision too.
    while (std::max(box.width(), box.height()) / unit > longestSide)
        unit *= 2;
    const QRectF before = visibleBox(page);
    Move move;
    move.scale = oldUnit / unit;
    move.dx = withoutTraces(-(before.left() + box.left() / oldUnit) * move.scale);
    move.dy = withoutTraces(-(before.bottom() - box.bottom() / oldUnit) * move.scale);
    if (!move.isNone())
        Mover(pdf, page, move).run();
    const Object sides = Object::newArray(
        {newNumber(0), newNumber(0), newNumber(box.width() / unit), newNumber(box.height() / unit)});
    page.replaceKey("/MediaBox", sides);
    for (const char *key : {"/CropBox", "/BleedBox", "/TrimBox", "/ArtBox"})
        page.removeKey(key);
    if (!attribute(page, "/CropBox").isNull())
        page.replaceKey("/CropBox", sides);
    if (unit == 1)
        page.removeKey("/UserUnit");
    else
        page.replaceKey("/UserUnit", Object::newInteger(unit));
    return true;
}
