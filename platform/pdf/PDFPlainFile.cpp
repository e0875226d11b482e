// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFPlainFile.h"

#include "platform/pdf/PDFAttributes.h"
#include "platform/pdf/PDFNumber.h"
#include "platform/pdf/PDFText.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace {

constexpr qint64 entrySize = 20;

std::string reference(int number) {
    return std::to_string(number) + " 0 R";
}

std::string numberArray(const std::vector<double> &numbers) {
    std::string text = "[";
    for (const double number : numbers) {
        if (text.size() > 1)
            text += ' ';
        text += PDFFormatNumber(number);
    }
    return text + ']';
}

// Exactly `digits` digits.
std::optional<qint64> fixedNumber(const char *text, int digits) {
    qint64 number = 0;
    for (int i = 0; i < digits; ++i) {
        if (text[i] < '0' || text[i] > '9')
            return std::nullopt;
        number = number * 10 + (text[i] - '0');
    }
    return number;
}

bool isName(const PDFValue *value, std::string_view name) {
    return value && value->isName(name);
}

} // namespace

std::unique_ptr<PDFPlainFile> PDFPlainFile::open(const QByteArray &data) {
    std::unique_ptr<PDFPlainFile> file(new PDFPlainFile(data));
    if (!file->readFrame() || !file->readInfo() || !file->readPage())
        return nullptr;
    return file;
}

// Header, cross-reference table and trailer.
bool PDFPlainFile::readFrame() {
    static constexpr std::string_view mark = "startxref";
    const std::string_view bytes(m_data.constData(), size_t(m_data.size()));
    if (bytes.size() < 64 || bytes.substr(0, 7) != "%PDF-1." || bytes[7] < '0' || bytes[7] > '7' ||
        !PDFSyntax::isSpace(bytes[8]))
        return false;
    const size_t last = bytes.rfind(mark);
    // One revision only: what an earlier one held would stay in the file.
    if (last == std::string_view::npos || bytes.size() - last > 64 ||
        memmem(bytes.data(), last, mark.data(), mark.size()))
        return false;
    PDFSyntax end(bytes.data() + last + mark.size(), bytes.data() + bytes.size());
    const auto table = end.integer();
    if (!table || !end.word("%%EOF"))
        return false;
    end.skipSpace();
    if (end.at() != bytes.data() + bytes.size() || *table <= 16 || *table >= qint64(last) ||
        bytes[size_t(*table) - 1] != '\n')
        return false;
    m_table = *table;
    PDFSyntax syntax(bytes.data() + m_table, bytes.data() + last);
    if (!readTable(syntax) || !readTrailer(syntax))
        return false;
    syntax.skipSpace();
    return syntax.at() == bytes.data() + last;
}

bool PDFPlainFile::readTable(PDFSyntax &syntax) {
    if (!syntax.word("xref") || syntax.integer() != 0)
        return false;
    const auto count = syntax.integer();
    syntax.skipSpace();
    const char *entry = syntax.at();
    const char *limit = m_data.constData() + m_data.size();
    if (!count || *count < 3 || (limit - entry) / entrySize < *count ||
        std::memcmp(entry, "0000000000 65535 f", 18) != 0)
        return false;
    m_offsets.assign(size_t(*count), 0);
    for (qint64 number = 1; number < *count; ++number) {
        entry += entrySize;
        const auto offset = fixedNumber(entry, 10);
        if (!offset || std::memcmp(entry + 10, " 00000 n", 8) != 0 || !PDFSyntax::isSpace(entry[18]) ||
            !PDFSyntax::isSpace(entry[19]))
            return false;
        char header[24];
        char *end = std::to_chars(header, header + 12, number).ptr;
        std::memcpy(end, " 0 obj", 6);
        const qint64 length = end + 6 - header;
        if (*offset <= 8 || *offset + length >= m_table || m_data[*offset - 1] != '\n' ||
            std::memcmp(m_data.constData() + *offset, header, size_t(length)) != 0)
            return false;
        m_offsets[size_t(number)] = *offset;
    }
    syntax = PDFSyntax(entry + entrySize, limit);
    return true;
}

bool PDFPlainFile::readTrailer(PDFSyntax &syntax) {
    PDFValue value;
    if (!syntax.word("trailer") || !syntax.value(value))
        return false;
    const auto trailer = PDFSyntax::dictionary(value);
    if (!trailer || !trailer->hasOnly({"/Size", "/Root", "/Info"}))
        return false;
    const PDFValue *size = trailer->find("/Size"), *root = trailer->find("/Root"),
                   *info = trailer->find("/Info");
    if (!size || size->text() != std::to_string(m_offsets.size()) || !root || root->object() == 0 ||
        (info && info->object() == 0))
        return false;
    m_root = root->object();
    m_info = info ? info->object() : 0;
    return true;
}

std::optional<PDFPlainFile::Object> PDFPlainFile::object(int number, PDFVisitor *visitor) const {
    if (number <= 0 || size_t(number) >= m_offsets.size())
        return std::nullopt;
    const char *begin = m_data.constData() + m_offsets[size_t(number)];
    PDFSyntax syntax(static_cast<const char *>(std::memchr(begin, 'j', 24)) + 1, m_data.constData() + m_table,
                     visitor);
    Object object;
    if (!syntax.value(object.value))
        return std::nullopt;
    if (!syntax.word("endobj")) {
        if (object.value.kind != PDFValue::Dictionary || !syntax.word("stream"))
            return std::nullopt;
        object.isStream = true;
    }
    return object;
}

std::optional<PDFDictionary> PDFPlainFile::dictionaryObject(int number) const {
    const auto found = object(number);
    return found && !found->isStream ? PDFSyntax::dictionary(found->value) : std::nullopt;
}

bool PDFPlainFile::readInfo() {
    if (m_info == 0)
        return true;
    auto info = dictionaryObject(m_info);
    if (!info)
        return false;
    m_infoEntries = std::move(*info);
    for (const PDFAttribute &attribute : PDFAttributes) {
        const PDFValue *value = m_infoEntries.find(attribute.key);
        if (!value)
            continue;
        if (value->kind != PDFValue::String)
            return false;
        PDFReadAttribute(m_attributes, attribute,
                         PDFStringTokenBytes(QByteArrayView(value->begin, value->end)));
    }
    return true;
}

bool PDFPlainFile::readPage() {
    auto root = dictionaryObject(m_root);
    if (!root || !isName(root->find("/Type"), "/Catalog"))
        return false;
    m_rootEntries = std::move(*root);
    const PDFValue *pagesValue = m_rootEntries.find("/Pages");
    const int pagesNumber = pagesValue ? pagesValue->object() : 0;
    const auto pages = dictionaryObject(pagesNumber);
    if (!pages || !pages->hasOnly({"/Type", "/Count", "/Kids"}) || !isName(pages->find("/Type"), "/Pages"))
        return false;
    const PDFValue *count = pages->find("/Count"), *kidsValue = pages->find("/Kids");
    const auto kids = kidsValue ? PDFSyntax::array(*kidsValue) : std::nullopt;
    if (!count || count->text() != "1" || !kids || kids->size() != 1)
        return false;
    m_page = kids->front().object();
    const auto page = object(m_page);
    auto entries = page && !page->isStream ? PDFSyntax::dictionary(page->value) : std::nullopt;
    if (!entries || !isName(entries->find("/Type"), "/Page"))
        return false;
    m_pageValue = page->value;
    m_pageEntries = std::move(*entries);
    const PDFValue *parent = m_pageEntries.find("/Parent"), *box = m_pageEntries.find("/MediaBox"),
                   *unit = m_pageEntries.find("/UserUnit");
    for (const char *other : {"/CropBox", "/BleedBox", "/TrimBox", "/ArtBox", "/Rotate"})
        if (m_pageEntries.find(other))
            return false;
    const auto sides = box ? PDFSyntax::numbers(*box) : std::nullopt;
    if (!parent || parent->object() != pagesNumber || !sides || sides->size() != 4 ||
        !((*sides)[0] < (*sides)[2] && (*sides)[1] < (*sides)[3]))
        return false;
    if (unit) {
        const auto factor = unit->kind == PDFValue::Number ? PDFParseNumber(unit->text()) : std::nullopt;
        if (!factor || *factor <= 0)
            return false;
        m_userUnit = *factor;
    }
    m_box = QRectF(QPointF((*sides)[0], (*sides)[1]), QPointF((*sides)[2], (*sides)[3]));
    return m_info != m_root && m_info != m_page && m_info != pagesNumber;
}

QRectF PDFPlainFile::pageBox(int page) const {
    if (page != 0)
        return {};
    return QRectF(m_box.topLeft() * m_userUnit, m_box.size() * m_userUnit);
}

QByteArray PDFPlainFile::written(const PDFChanges &changes) const {
    std::vector<Splice> splices;
    std::vector<std::string> added;
    int info = m_info;
    if (changes.attributes && !writeAttributes(*changes.attributes, splices, added, info))
        return {};
    for (const auto &[page, cut] : changes.boxes)
        if (page != 0 || !writeBox(cut, splices, added))
            return {};
    return spliced(std::move(splices), added, info);
}

bool PDFPlainFile::writeAttributes(const QVariantMap &attributes, std::vector<Splice> &splices,
                                   std::vector<std::string> &added, int &info) const {
    if (m_rootEntries.find("/Metadata"))
        return false;
    std::string dictionary = "<<";
    const auto add = [&](std::string_view key, std::string_view value) {
        if (dictionary.size() > 2)
            dictionary += '\n';
        dictionary.append(key).append(" ").append(value);
    };
    for (const PDFAttribute &attribute : PDFAttributes) {
        const QByteArray bytes = PDFAttributeBytes(attributes, attribute);
        if (!bytes.isNull())
            add(attribute.key, PDFStringToken(bytes).toStdString());
    }
    for (const PDFEntry &entry : m_infoEntries.entries) {
        const bool known = std::any_of(PDFAttributes.begin(), PDFAttributes.end(),
                                       [&](const PDFAttribute &a) { return entry.key == a.key; });
        if (!known)
            add(entry.key, entry.value.text());
    }
    dictionary += ">>";
    if (m_info != 0) {
        splices.push_back(replacement(object(m_info)->value, std::move(dictionary)));
    } else {
        info = int(m_offsets.size() + added.size());
        added.push_back(std::move(dictionary));
    }
    return true;
}

// Moves whatever on the page stands outside its content: link areas, destinations, patterns, and the boxes of
// the document's structure.
class PDFPlainFile::Mover : public PDFVisitor {
public:
    Mover(const PDFPlainFile &file, const PDFBoxPlan &plan, std::vector<Splice> &splices)
        : m_file(file), m_plan(plan), m_splices(splices) {}

    bool run() {
        if (!findLinks() || !findPatterns())
            return false;
        const int count = int(m_file.m_offsets.size());
        m_references.assign(size_t(count), 0);
        for (int number = 1; number < count && m_understood; ++number) {
            const auto object = m_file.object(number, this);
            if (!object)
                return false;
            if (std::binary_search(m_links.begin(), m_links.end(), number))
                m_understood = m_understood && !object->isStream && moveLink(object->value);
            if (std::binary_search(m_patterns.begin(), m_patterns.end(), number))
                m_understood = m_understood && movePattern(object->value);
        }
        // A pattern that something else paints with too would be moved there as well.
        return m_understood && std::all_of(m_patterns.begin(), m_patterns.end(),
                                           [&](int pattern) { return m_references[size_t(pattern)] == 1; });
    }

    void reference(int object) override {
        if (size_t(object) < m_references.size())
            ++m_references[size_t(object)];
    }

    // A destination: [page /XYZ left top zoom] and its kin.
    void array(const PDFValue &, std::span<const PDFValue> elements) override {
        if (elements.size() < 3 || elements[0].object() != m_file.m_page ||
            elements[1].kind != PDFValue::Name)
            return;
        const std::string_view fit = elements[1].text();
        std::string_view axes;
        if (fit == "/XYZ")
            axes = "xy";
        else if (fit == "/FitH" || fit == "/FitBH")
            axes = "y";
        else if (fit == "/FitV" || fit == "/FitBV")
            axes = "x";
        else if (fit == "/FitR")
            axes = "xyxy";
        for (size_t i = 0; i < axes.size() && i + 2 < elements.size(); ++i) {
            const PDFValue &element = elements[i + 2];
            if (element.kind == PDFValue::Null)
                continue;
            const auto number =
                element.kind == PDFValue::Number ? PDFParseNumber(element.text()) : std::nullopt;
            if (number)
                m_splices.push_back(
                    m_file.replacement(element, PDFFormatNumber(moved(*number, axes[i] == 'y'))));
            else
                m_understood = false;
        }
    }

    // Layout attributes of tagged documents.
    void dictionary(const PDFValue &, std::span<const PDFEntry> entries) override {
        const PDFEntry *box = nullptr;
        bool isLayout = false, isPlain = true;
        for (const PDFEntry &entry : entries) {
            if (entry.key == "/BBox")
                box = &entry;
            else if (entry.key == "/O")
                isLayout = entry.value.isName("/Layout");
            else if (entry.key != "/Placement")
                isPlain = false;
        }
        if (!isLayout)
            return;
        m_understood = m_understood && isPlain;
        if (box)
            movePoints(box->value, 4);
    }

private:
    double moved(double value, bool vertical) const { return vertical ? m_plan.y(value) : m_plan.x(value); }

    void movePoints(const PDFValue &value, size_t multiple) {
        auto numbers = PDFSyntax::numbers(value);
        if (!numbers || numbers->size() % multiple != 0) {
            m_understood = false;
            return;
        }
        for (size_t i = 0; i < numbers->size(); ++i)
            (*numbers)[i] = moved((*numbers)[i], i % 2 == 1);
        m_splices.push_back(m_file.replacement(value, numberArray(*numbers)));
    }

    bool findLinks() {
        const PDFValue *value = m_file.m_pageEntries.find("/Annots");
        if (!value)
            return true;
        std::optional<Object> indirect;
        if (value->object() != 0) {
            indirect = m_file.object(value->object());
            if (!indirect)
                return false;
            value = &indirect->value;
        }
        const auto links = PDFSyntax::array(*value);
        if (!links)
            return false;
        for (const PDFValue &link : *links) {
            if (link.object() == 0)
                return false;
            m_links.push_back(link.object());
        }
        std::sort(m_links.begin(), m_links.end());
        return std::adjacent_find(m_links.begin(), m_links.end()) == m_links.end();
    }

    bool findPatterns() {
        const PDFValue *value = m_file.m_pageEntries.find("/Resources");
        if (!value)
            return true;
        const auto resources = PDFSyntax::dictionary(*value);
        if (!resources)
            return false;
        const PDFValue *patternsValue = resources->find("/Pattern");
        if (!patternsValue)
            return true;
        const auto patterns = PDFSyntax::dictionary(*patternsValue);
        if (!patterns)
            return false;
        for (const PDFEntry &pattern : patterns->entries) {
            if (pattern.value.object() == 0)
                return false;
            m_patterns.push_back(pattern.value.object());
        }
        std::sort(m_patterns.begin(), m_patterns.end());
        return true;
    }

    bool moveLink(const PDFValue &value) {
        const auto link = PDFSyntax::dictionary(value);
        if (!link || !isName(link->find("/Subtype"), "/Link") ||
            !link->hasOnly({"/Type", "/Subtype", "/F", "/Border", "/Rect", "/Dest", "/A", "/QuadPoints",
                            "/StructParent", "/Contents", "/NM", "/M", "/P", "/H", "/C"}))
            return false;
        const PDFValue *rect = link->find("/Rect"), *areas = link->find("/QuadPoints"),
                       *border = link->find("/Border");
        // A border's width is in user space units, and one by default.
        const auto widths = border ? PDFSyntax::numbers(*border) : std::nullopt;
        const bool noBorder =
            widths && std::all_of(widths->begin(), widths->end(), [](double width) { return width == 0; });
        if (!rect || (m_plan.scale != 1 && !noBorder))
            return false;
        movePoints(*rect, 4);
        if (areas)
            movePoints(*areas, 8);
        return m_understood;
    }

    // A pattern's matrix maps to the page's own space, whatever the content does.
    bool movePattern(const PDFValue &value) {
        const auto pattern = PDFSyntax::dictionary(value);
        if (!pattern)
            return false;
        const PDFValue *matrix = pattern->find("/Matrix");
        if (!matrix) {
            PDFValue start = value;
            start.begin += 2;
            start.end = start.begin;
            m_splices.push_back(m_file.replacement(
                start,
                "/Matrix " + numberArray({m_plan.scale, 0, 0, m_plan.scale, m_plan.dx, m_plan.dy}) + '\n'));
            return true;
        }
        auto numbers = PDFSyntax::numbers(*matrix);
        if (!numbers || numbers->size() != 6)
            return false;
        for (size_t i = 0; i < 4; ++i)
            (*numbers)[i] *= m_plan.scale;
        (*numbers)[4] = m_plan.x((*numbers)[4]);
        (*numbers)[5] = m_plan.y((*numbers)[5]);
        m_splices.push_back(m_file.replacement(*matrix, numberArray(*numbers)));
        return true;
    }

    const PDFPlainFile &m_file;
    const PDFBoxPlan &m_plan;
    std::vector<Splice> &m_splices;
    std::vector<int> m_links;
    std::vector<int> m_patterns;
    std::vector<int> m_references;
    bool m_understood = true;
};

bool PDFPlainFile::writeBox(const PDFPageCut &cut, std::vector<Splice> &splices,
                            std::vector<std::string> &added) const {
    const auto plan = PDFBoxPlan::make(m_box, m_userUnit, cut);
    if (!plan)
        return false;
    const PDFValue *box = m_pageEntries.find("/MediaBox"), *unit = m_pageEntries.find("/UserUnit"),
                   *contents = m_pageEntries.find("/Contents");
    splices.push_back(replacement(*box, numberArray({0, 0, plan->width, plan->height})));
    if (unit)
        splices.push_back(replacement(*unit, std::to_string(plan->userUnit)));
    else if (plan->userUnit != 1)
        splices.back().bytes += "\n/UserUnit " + std::to_string(plan->userUnit);
    if (plan->userUnit != 1 && m_data[7] < '6')
        splices.push_back({7, 1, "6"});
    if (!plan->moves())
        return true;
    for (const char *other : {"/VP", "/B", "/PieceInfo", "/AA"})
        if (m_pageEntries.find(other))
            return false;
    if (contents) {
        std::string streams;
        if (contents->object() != 0) {
            const auto stream = object(contents->object());
            if (!stream || !stream->isStream)
                return false;
            streams = contents->text();
        } else {
            const auto list = PDFSyntax::array(*contents);
            if (!list)
                return false;
            streams = contents->text().substr(1, contents->text().size() - 2);
        }
        const std::string start = plan->contentMatrix();
        const int number = int(m_offsets.size() + added.size());
        added.push_back("<</Length " + std::to_string(start.size()) + ">> stream\n" + start + "endstream");
        splices.push_back(replacement(*contents, '[' + reference(number) + ' ' + streams + ']'));
    }
    return Mover(*this, *plan, splices).run();
}

QByteArray PDFPlainFile::spliced(std::vector<Splice> splices, const std::vector<std::string> &added,
                                 int info) const {
    std::sort(splices.begin(), splices.end(),
              [](const Splice &a, const Splice &b) { return a.offset < b.offset; });
    // How far everything after each splice moves.
    std::vector<qint64> shifts(splices.size() + 1, 0);
    for (size_t i = 0; i < splices.size(); ++i) {
        const Splice &splice = splices[i];
        const qint64 end = i + 1 < splices.size() ? splices[i + 1].offset : m_table;
        if (splice.offset + splice.length > end)
            return {};
        shifts[i + 1] = shifts[i] + qint64(splice.bytes.size()) - splice.length;
    }
    const size_t count = m_offsets.size() + added.size();
    qint64 size = m_table + shifts.back() + qint64(count) * entrySize + 200;
    for (const std::string &object : added)
        size += qint64(object.size()) + 40;

    QByteArray out;
    out.reserve(size);
    qint64 at = 0;
    for (const Splice &splice : splices) {
        out.append(m_data.constData() + at, splice.offset - at);
        out.append(splice.bytes.data(), qsizetype(splice.bytes.size()));
        at = splice.offset + splice.length;
    }
    out.append(m_data.constData() + at, m_table - at);

    std::vector<qint64> offsets = m_offsets;
    for (size_t number = 1; number < m_offsets.size(); ++number) {
        const auto after =
            std::upper_bound(splices.begin(), splices.end(), offsets[number],
                             [](qint64 offset, const Splice &splice) { return offset < splice.offset; });
        if (after != splices.begin() && std::prev(after)->offset + std::prev(after)->length > offsets[number])
            return {};
        offsets[number] += shifts[size_t(after - splices.begin())];
    }
    for (const std::string &object : added) {
        offsets.push_back(out.size());
        out.append(QByteArray::number(qint64(offsets.size() - 1))).append(" 0 obj\n");
        out.append(object.data(), qsizetype(object.size())).append("\nendobj\n");
    }

    const qint64 table = out.size();
    out.append("xref\n0 ").append(QByteArray::number(qint64(count))).append("\n0000000000 65535 f \n");
    for (size_t number = 1; number < count; ++number) {
        char entry[] = "0000000000 00000 n \n";
        qint64 rest = offsets[number];
        for (int digit = 9; rest > 0; --digit, rest /= 10)
            entry[digit] = char('0' + rest % 10);
        out.append(entry, entrySize);
    }
    out.append("trailer\n<</Size ").append(QByteArray::number(qint64(count)));
    out.append("\n/Root ").append(reference(m_root).c_str());
    if (info != 0)
        out.append("\n/Info ").append(reference(info).c_str());
    out.append(">>\nstartxref\n").append(QByteArray::number(table)).append("\n%%EOF\n");
    return out;
}
