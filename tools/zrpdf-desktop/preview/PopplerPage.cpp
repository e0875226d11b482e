// SPDX-License-Identifier: MIT
// The pages' own library, which PDFPage loads.
#include "platform/pdf/PDFDocument.h"
#include "tools/zrpdf-desktop/preview/PDFPage.h"

#include <cmath>
#include <poppler-qt6.h>

namespace {

constexpr double pointsAnInch = 72;

double area(const QSizeF &size) {
    return size.width() * size.height();
}

class PopplerPage : public PDFPage {
public:
    PopplerPage(std::unique_ptr<Poppler::Document> document, std::unique_ptr<Poppler::Page> page, double unit)
        : m_document(std::move(document)), m_page(std::move(page)), m_unit(unit) {}

    QSizeF size() const override { return m_page->pageSizeF() * m_unit; }
    QImage render(const QRect &part, double scale, const std::function<bool()> &unwanted) const override;

private:
    // The page needs it.
    const std::unique_ptr<Poppler::Document> m_document;
    const std::unique_ptr<Poppler::Page> m_page;
    const double m_unit;
};

QImage PopplerPage::render(const QRect &part, double scale, const std::function<bool()> &unwanted) const {
    const double resolution = pointsAnInch * scale * m_unit;
    const auto isUnwanted = [](const QVariant &asked) {
        const auto &ask = *static_cast<const std::function<bool()> *>(asked.value<void *>());
        return ask && ask();
    };
    const auto never = [](const QVariant &) { return false; };
    const QVariant asked = QVariant::fromValue(const_cast<void *>(static_cast<const void *>(&unwanted)));
    QImage image =
        m_page->renderToImage(resolution, resolution, part.x(), part.y(), part.width(), part.height(),
                              Poppler::Page::Rotate0, nullptr, never, isUnwanted, asked);
    // What was given up is half drawn, and what is too large comes as one pixel.
    if (image.size() != part.size() || (unwanted && unwanted()))
        return {};
    return image;
}

} // namespace

/// nullptr if the bytes are no PDF that can be shown; otherwise the caller's.
extern "C" Q_DECL_EXPORT PDFPage *zrpdfOpenPage(const QByteArray *pdf) {
    std::unique_ptr<Poppler::Document> document = Poppler::Document::loadFromData(*pdf);
    if (!document || document->isLocked())
        return nullptr;
    document->setRenderHint(Poppler::Document::Antialiasing);
    document->setRenderHint(Poppler::Document::TextAntialiasing);
    std::unique_ptr<Poppler::Page> page = document->page(0);
    if (!page || page->pageSizeF().isEmpty())
        return nullptr;
    // Poppler passes over a unit of the user's.
    const QSizeF real = PDFDocument(*pdf).pageBox(0).size();
    const double unit = real.isEmpty() ? 1 : std::sqrt(area(real) / area(page->pageSizeF()));
    return new PopplerPage(std::move(document), std::move(page), unit);
}
