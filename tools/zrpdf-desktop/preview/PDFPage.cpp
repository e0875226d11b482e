// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/preview/PDFPage.h"

#include "platform/pdf/PDFDocument.h"

#include <cmath>
#include <poppler-qt6.h>

namespace {

constexpr double pointsAnInch = 72;

double area(const QSizeF &size) {
    return size.width() * size.height();
}

} // namespace

struct PDFPage::Parts {
    std::unique_ptr<Poppler::Document> document;
    std::unique_ptr<Poppler::Page> page;
};

std::unique_ptr<PDFPage> PDFPage::open(const QByteArray &pdf) {
    auto parts = std::make_unique<Parts>();
    parts->document = Poppler::Document::loadFromData(pdf);
    if (!parts->document || parts->document->isLocked())
        return nullptr;
    parts->document->setRenderHint(Poppler::Document::Antialiasing);
    parts->document->setRenderHint(Poppler::Document::TextAntialiasing);
    parts->page = parts->document->page(0);
    if (!parts->page || parts->page->pageSizeF().isEmpty())
        return nullptr;
    std::unique_ptr<PDFPage> page(new PDFPage(std::move(parts)));
    // Poppler passes over it.
    const QSizeF real = PDFDocument(pdf).pageBox(0).size();
    if (!real.isEmpty())
        page->m_unit = std::sqrt(area(real) / area(page->m_size));
    page->m_size *= page->m_unit;
    return page;
}

PDFPage::PDFPage(std::unique_ptr<Parts> parts)
    : m_parts(std::move(parts)), m_size(m_parts->page->pageSizeF()) {
}

PDFPage::~PDFPage() = default;

QImage PDFPage::render(const QRect &part, double scale, const std::function<bool()> &unwanted) const {
    const double resolution = pointsAnInch * scale * m_unit;
    const auto isUnwanted = [](const QVariant &asked) {
        const auto &ask = *static_cast<const std::function<bool()> *>(asked.value<void *>());
        return ask && ask();
    };
    const auto never = [](const QVariant &) { return false; };
    const QVariant asked = QVariant::fromValue(const_cast<void *>(static_cast<const void *>(&unwanted)));
    QImage image =
        m_parts->page->renderToImage(resolution, resolution, part.x(), part.y(), part.width(), part.height(),
                                     Poppler::Page::Rotate0, nullptr, never, isUnwanted, asked);
    // What was given up is half drawn, and what is too large comes as one pixel.
    if (image.size() != part.size() || (unwanted && unwanted()))
        return {};
    return image;
}
