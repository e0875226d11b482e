// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFGeneralFile.h"

#include "platform/pdf/PDFAttributes.h"
#include "platform/pdf/PDFDecodeBudget.h"
#include "platform/pdf/PDFMetadata.h"
#include "platform/pdf/PDFNumber.h"

#include <algorithm>
#include <cmath>
#include <qpdf/Pipeline.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFObjGen.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFWriter.hh>
#include <set>
#include <stdexcept>

namespace {

using Object = QPDFObjectHandle;

constexpr int deepest = 100;
constexpr size_t longestMetadata = 16 << 20;

// Gathers a stream's data, up to a length.
class Collector : public Pipeline {
public:
    explicit Collector(size_t limit) : Pipeline("collector", nullptr), m_limit(limit) {}
    void write(unsigned char const *data, size_t length) override {
        if (length > m_limit - size_t(bytes.size()))
            throw std::runtime_error("too long");
        bytes.append(reinterpret_cast<const char *>(data), qsizetype(length));
    }
    void finish() override {}

    QByteArray bytes;

private:
    size_t m_limit;
};

// Gathers the written file, which is about as long as the one that was read.
class Output : public Pipeline {
public:
    explicit Output(qsizetype expected) : Pipeline("output", nullptr) { bytes.reserve(expected); }
    void write(unsigned char const *data, size_t length) override {
        bytes.append(reinterpret_cast<const char *>(data), qsizetype(length));
    }
    void finish() override {}

    QByteArray bytes;
};

// Objects and metadata unfold to some ten times their size.
qint64 decodeBudget(const QByteArray &data) {
    return (qint64(32) << 20) + 32 * qint64(data.size());
}

std::shared_ptr<QPDF> opened(const QByteArray &data) {
    auto pdf = QPDF::create();
    pdf->setSuppressWarnings(true);
    pdf->processMemoryFile("document", data.constData(), size_t(data.size()), "");
    return pdf;
}

std::optional<double> number(Object value) {
    if (value.isInteger())
        return std::abs(double(value.getIntValue())) <= 1e9 ? std::optional(double(value.getIntValue()))
                                                            : std::nullopt;
    return value.isReal() ? PDFParseNumber(value.getRealValue()) : std::nullopt;
}

Object newNumber(double value) {
    const std::string text = PDFFormatNumber(value);
    return text.find('.') == std::string::npos ? Object::newInteger(std::stoll(text)) : Object::newReal(text);
}

// The box, with its top as the largest y; null where the value is no usable box.
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

// A page's own or inherited attribute.
Object inherited(const Object &page, const char *key) {
    std::set<QPDFObjGen> seen;
    for (Object node = page; node.isDictionary() && seen.insert(node.getObjGen()).second;
         node = node.getKey("/Parent")) {
        if (node.hasKey(key))
            return node.getKey(key);
    }
    return Object::newNull();
}

// The visible box in units of user space.
QRectF visibleBox(const Object &page) {
    QRectF box = rectangle(inherited(page, "/MediaBox"));
    if (box.isNull())
        box = QRectF(0, 0, 612, 792);
    const QRectF crop = rectangle(inherited(page, "/CropBox")).intersected(box);
    return crop.isEmpty() ? box : crop;
}

double userUnit(Object page) {
    const auto unit = number(page.getKey("/UserUnit"));
    return unit && *unit > 0 ? *unit : 1;
}

// Moves everything on one page to its new place.
class Mover {
public:
    Mover(QPDF &pdf, const Object &page, const PDFBoxPlan &plan) : m_pdf(pdf), m_page(page), m_plan(plan) {}

    void run(bool ofOnlyPage) {
        if (m_page.hasKey("/Contents")) {
            m_page.addPageContents(m_pdf.newStream(m_plan.contentMatrix()), true);
        }
        movePatterns();
        moveAnnotations();
        // Viewports, article beads and private data speak of places that are no more.
        for (const char *key : {"/VP", "/B", "/PieceInfo"})
            m_page.removeKey(key);
        for (Object object : m_pdf.getAllObjects())
            moveInside(object.isStream() ? object.getDict() : object, ofOnlyPage, 0);
    }

private:
    Object moved(const Object &value, bool vertical) const {
        const auto parsed = number(value);
        return parsed ? newNumber(vertical ? m_plan.y(*parsed) : m_plan.x(*parsed)) : value;
    }

    Object scaled(const Object &value) const {
        const auto parsed = number(value);
        return parsed ? newNumber(*parsed * m_plan.scale) : value;
    }

    Object mapped(Object array, bool isLength, int depth = 0) const {
        if (!array.isArray() || depth > 2)
            return array;
        std::vector<Object> items;
        bool vertical = false;
        for (Object item : array.getArrayAsVector()) {
            items.push_back(item.isArray() ? mapped(item, isLength, depth + 1)
                            : isLength     ? scaled(item)
                                           : moved(item, vertical));
            vertical = !vertical;
        }
        return Object::newArray(items);
    }

    // A pattern's matrix maps to the page's own space, whatever the content does.
    void movePatterns() {
        Object resources = inherited(m_page, "/Resources");
        if (!resources.isDictionary() || !resources.getKey("/Pattern").isDictionary())
            return;
        // Resources and patterns may be shared with forms, where they stay.
        resources = resources.shallowCopy();
        Object patterns = resources.getKey("/Pattern").shallowCopy();
        for (const std::string &name : patterns.getKeys()) {
            Object pattern = patterns.getKey(name);
            if (!pattern.isDictionary() && !pattern.isStream())
                continue;
            pattern =
                pattern.isStream() ? pattern.copyStream() : m_pdf.makeIndirectObject(pattern.shallowCopy());
            Object entries = pattern.isStream() ? pattern.getDict() : pattern;
            Object old = entries.getKey("/Matrix");
            std::vector<double> matrix = {1, 0, 0, 1, 0, 0};
            for (int i = 0; i < 6 && old.isArray() && old.getArrayNItems() == 6; ++i)
                matrix[size_t(i)] = number(old.getArrayItem(i)).value_or(matrix[size_t(i)]);
            Object array = Object::newArray();
            for (size_t i = 0; i < 4; ++i)
                array.appendItem(newNumber(matrix[i] * m_plan.scale));
            array.appendItem(newNumber(m_plan.x(matrix[4])));
            array.appendItem(newNumber(m_plan.y(matrix[5])));
            entries.replaceKey("/Matrix", array);
            patterns.replaceKey(name, pattern);
        }
        resources.replaceKey("/Pattern", patterns);
        m_page.replaceKey("/Resources", resources);
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
            if (m_plan.scale == 1)
                continue;
            if (annotation.hasKey("/RD"))
                annotation.replaceKey("/RD", mapped(annotation.getKey("/RD"), true));
            Object style = annotation.getKey("/BS");
            if (style.isDictionary()) {
                style = style.shallowCopy();
                style.replaceKey("/W",
                                 style.hasKey("/W") ? scaled(style.getKey("/W")) : newNumber(m_plan.scale));
                if (style.hasKey("/D"))
                    style.replaceKey("/D", mapped(style.getKey("/D"), true));
                annotation.replaceKey("/BS", style);
            } else if (annotation.hasKey("/Border")) {
                annotation.replaceKey("/Border", mapped(annotation.getKey("/Border"), true));
            } else {
                // A border is one unit wide unless said otherwise.
                annotation.replaceKey(
                    "/Border", Object::newArray({newNumber(0), newNumber(0), newNumber(m_plan.scale)}));
            }
        }
    }

    // Destinations on the page, wherever they stand, and the layout attributes of tagged documents.
    void moveInside(Object value, bool ofOnlyPage, int depth) {
        if (depth > deepest)
            return;
        if (value.isArray()) {
            const int count = value.getArrayNItems();
            if (count >= 3 && value.getArrayItem(1).isName() && value.getArrayItem(0).isDictionary() &&
                value.getArrayItem(0).isSameObjectAs(m_page)) {
                moveDestination(value, count);
                return;
            }
            for (int i = 0; i < count; ++i) {
                Object item = value.getArrayItem(i);
                if (!item.isIndirect() && (item.isArray() || item.isDictionary()))
                    moveInside(item, ofOnlyPage, depth + 1);
            }
        } else if (value.isDictionary()) {
            if (ofOnlyPage && value.getKey("/O").isNameAndEquals("/Layout"))
                moveLayout(value);
            for (const std::string &key : value.getKeys()) {
                Object item = value.getKey(key);
                if (!item.isIndirect() && (item.isArray() || item.isDictionary()))
                    moveInside(item, ofOnlyPage, depth + 1);
            }
        }
    }

    void moveDestination(Object array, int count) {
        const std::string fit = array.getArrayItem(1).getName();
        std::string axes;
        if (fit == "/XYZ")
            axes = "xy";
        else if (fit == "/FitH" || fit == "/FitBH")
            axes = "y";
        else if (fit == "/FitV" || fit == "/FitBV")
            axes = "x";
        else if (fit == "/FitR")
            axes = "xyxy";
        for (int i = 0; i < int(axes.size()) && i + 2 < count; ++i)
            array.setArrayItem(i + 2, moved(array.getArrayItem(i + 2), axes[size_t(i)] == 'y'));
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
    const PDFBoxPlan &m_plan;
};

void writeAttributes(QPDF &pdf, const QVariantMap &attributes) {
    Object info = pdf.getTrailer().getKey("/Info");
    if (!info.isDictionary()) {
        info = pdf.makeIndirectObject(Object::newDictionary());
        pdf.getTrailer().replaceKey("/Info", info);
    }
    for (const PDFAttribute &attribute : PDFAttributes) {
        const QByteArray bytes = PDFAttributeBytes(attributes, attribute);
        if (bytes.isNull())
            info.removeKey(attribute.key);
        else
            info.replaceKey(attribute.key, Object::newString(bytes.toStdString()));
    }
    Object metadata = pdf.getRoot().getKey("/Metadata");
    if (metadata.isNull())
        return;
    QByteArray packet;
    if (metadata.isStream()) {
        try {
            Collector collector(longestMetadata);
            if (metadata.pipeStreamData(&collector, 0, qpdf_dl_specialized, true))
                packet = PDFMetadataWith(collector.bytes, attributes);
        } catch (const std::exception &) {
            packet = QByteArray();
        }
    }
    if (packet.isNull()) {
        pdf.getRoot().removeKey("/Metadata");
        return;
    }
    metadata.replaceStreamData(packet.toStdString(), Object::newNull(), Object::newNull());
}

// False where the page can't have such a box.
bool writeBox(QPDF &pdf, Object page, const PDFPageCut &cut, bool ofOnlyPage, bool &needsUserUnit) {
    const auto plan = PDFBoxPlan::make(visibleBox(page), userUnit(page), cut);
    if (!plan)
        return false;
    if (plan->moves())
        Mover(pdf, page, *plan).run(ofOnlyPage);
    page.replaceKey("/MediaBox", Object::newArray({newNumber(0), newNumber(0), newNumber(plan->width),
                                                   newNumber(plan->height)}));
    for (const char *key : {"/CropBox", "/BleedBox", "/TrimBox", "/ArtBox"})
        page.removeKey(key);
    if (!inherited(page, "/CropBox").isNull())
        page.replaceKey("/CropBox", page.getKey("/MediaBox"));
    if (plan->userUnit == 1)
        page.removeKey("/UserUnit");
    else
        page.replaceKey("/UserUnit", Object::newInteger(plan->userUnit));
    needsUserUnit = needsUserUnit || plan->userUnit != 1;
    return true;
}

} // namespace

std::unique_ptr<PDFGeneralFile> PDFGeneralFile::open(const QByteArray &data) {
    std::unique_ptr<PDFGeneralFile> file(new PDFGeneralFile(data));
    const PDFDecodeBudget budget(decodeBudget(data));
    try {
        file->m_opened = opened(data);
        Object info = file->m_opened->getTrailer().getKey("/Info");
        for (const PDFAttribute &attribute : PDFAttributes) {
            Object value = info.isDictionary() ? info.getKey(attribute.key) : Object::newNull();
            if (value.isString())
                PDFReadAttribute(file->m_attributes, attribute,
                                 QByteArray::fromStdString(value.getStringValue()));
        }
        for (Object page : file->m_opened->getAllPages()) {
            if (!page.isDictionary())
                return nullptr;
            const QRectF box = visibleBox(page);
            const double unit = userUnit(page);
            file->m_boxes.emplace_back(box.topLeft() * unit, box.size() * unit);
        }
    } catch (const std::exception &) {
        return nullptr;
    }
    return file;
}

QRectF PDFGeneralFile::pageBox(int page) const {
    return page >= 0 && page < pageCount() ? m_boxes[size_t(page)] : QRectF();
}

bool PDFGeneralFile::isAsPlanned(const QByteArray &written, const PDFChanges &changes) const {
    const auto file = open(written);
    if (!file || file->pageCount() != pageCount() ||
        file->attributes() != changes.attributes.value_or(m_attributes))
        return false;
    return std::all_of(changes.boxes.begin(), changes.boxes.end(), [&](const auto &box) {
        const QSizeF size = file->pageBox(box.first).size() - box.second.box.size();
        return std::abs(size.width()) < 0.01 && std::abs(size.height()) < 0.01;
    });
}

QByteArray PDFGeneralFile::written(const PDFChanges &changes) const {
    const PDFDecodeBudget budget(decodeBudget(m_data));
    try {
        const auto pdf = m_opened ? std::move(m_opened) : opened(m_data);
        m_opened = nullptr;
        if (changes.attributes)
            writeAttributes(*pdf, *changes.attributes);
        bool needsUserUnit = false;
        for (const auto &[index, cut] : changes.boxes) {
            const auto &pages = pdf->getAllPages();
            if (index < 0 || size_t(index) >= pages.size() ||
                !writeBox(*pdf, pages[size_t(index)], cut, pages.size() == 1, needsUserUnit))
                return {};
        }
        Output output(m_data.size() + 1024);
        QPDFWriter writer(*pdf);
        writer.setOutputPipeline(&output);
        writer.setStreamDataMode(qpdf_s_preserve);
        if (needsUserUnit)
            writer.setMinimumPDFVersion("1.6");
        writer.write();
        // What was damaged may have come out wrong.
        if (pdf->anyWarnings() && !isAsPlanned(output.bytes, changes))
            return {};
        return output.bytes;
    } catch (const std::exception &) {
        return {};
    }
}
