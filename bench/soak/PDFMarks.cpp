// SPDX-License-Identifier: MIT
#include "bench/soak/PDFMarks.h"

#include "bench/soak/Corpus.h"

#include <memory>
#include <poppler-qt6.h>

using namespace Qt::StringLiterals;

std::optional<PDFMarks> PDFMarks::of(const QByteArray &pdf) {
    const auto document = Poppler::Document::loadFromData(pdf);
    if (!document || document->numPages() < 1)
        return {};
    PDFMarks marks;
    marks.pages = document->numPages();
    marks.title = Document::marks(document->info(u"Title"_s));
    if (const auto page = document->page(0))
        marks.text = Document::marks(page->text({}));
    return marks;
}

QString PDFMarks::summary() const {
    const auto listed = [](const QList<int> &numbers) {
        QStringList texts;
        for (const int number : numbers)
            texts << QString::number(number);
        return texts.isEmpty() ? u"nothing"_s : texts.join(u", "_s);
    };
    return u"%1 pages, %2 in the title, %3 in the text"_s.arg(pages).arg(listed(title), listed(text));
}
