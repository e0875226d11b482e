// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/preview/PDFPage.h"
#include "platform/pdf/PDFDocument.h"
#include "tools/zrpdf-desktop/preview/PreviewRenderer.h"
#include "tools/zrpdf-desktop/preview/SheetPrinter.h"

#include <QBuffer>
#include <QFile>
#include <QPainter>
#include <QPdfWriter>
#include <QPrinter>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <poppler-qt6.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 60'000;

QByteArray pdfOf(const QSizeF &size, const std::function<void(QPainter &)> &draw) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setResolution(72);
    writer.setPageSize(QPageSize(size, QPageSize::Point, QString(), QPageSize::ExactMatch));
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
    QPainter painter(&writer);
    draw(painter);
    painter.end();
    return bytes;
}

/// The colour of a band.
QColor shade(int band) {
    return QColor(QColor::fromHsv(band * 37 % 360, 200, 220).rgb());
}

/// Bands of 100 points, in another shade each, and ten points of white below each.
QByteArray bands(int count) {
    return pdfOf(QSizeF(400, 100 * count), [count](QPainter &painter) {
        for (int i = 0; i < count; ++i)
            painter.fillRect(0, 100 * i, 400, 90, shade(i));
    });
}

TEST(PDFPageTest, APageIsDrawnInItsSizeAtAnyScale) {
    const auto page = PDFPage::open(bands(2));
    ASSERT_TRUE(page);
    EXPECT_EQ(page->size(), QSizeF(400, 200));
    for (const double scale : {0.5, 1.0, 2.0}) {
        const QImage image = page->render(QRect(QPoint(0, 0), (QSizeF(400, 200) * scale).toSize()), scale);
        EXPECT_EQ(image.size(), (QSizeF(400, 200) * scale).toSize());
        EXPECT_EQ(image.pixelColor(int(10 * scale), int(40 * scale)), shade(0));
        EXPECT_EQ(image.pixelColor(int(10 * scale), int(95 * scale)), QColor(Qt::white));
        EXPECT_EQ(image.pixelColor(int(10 * scale), int(150 * scale)), shade(1));
    }
}

TEST(PDFPageTest, PartsAreTheWholesParts) {
    const auto page = PDFPage::open(bands(3));
    ASSERT_TRUE(page);
    const QImage whole = page->render(QRect(0, 0, 800, 600), 2);
    const QRect part(100, 150, 300, 200);
    EXPECT_EQ(page->render(part, 2), whole.copy(part));
}

TEST(PDFPageTest, EdgesAreSmoothed) {
    const auto page = PDFPage::open(pdfOf(QSizeF(100, 100), [](QPainter &painter) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawEllipse(10, 10, 80, 80);
    }));
    ASSERT_TRUE(page);
    const QImage image = page->render(QRect(0, 0, 100, 100), 1);
    QSet<int> greys;
    for (int x = 0; x < 100; ++x)
        greys.insert(image.pixelColor(x, 20).red());
    EXPECT_GT(greys.size(), 2);
}

TEST(PDFPageTest, AUnitOfTheUsersCounts) {
    PDFDocument document(bands(3));
    ASSERT_TRUE(document.setPageBox(0, QSizeF(26666, 20000), 200.0 / 3));
    const QByteArray large = document.dataRepresentation();
    ASSERT_TRUE(large.contains("/UserUnit"));
    const auto page = PDFPage::open(large);
    ASSERT_TRUE(page);
    EXPECT_NEAR(page->size().width(), 26666, 1);
    EXPECT_NEAR(page->size().height(), 20000, 1);
    const QImage part = page->render(QRect(1000, 14000, 100, 100), 1);
    EXPECT_EQ(part.pixelColor(50, 50), shade(2));
}

TEST(PDFPageTest, APageAHundredThousandPointsTallIsDrawnInTiles) {
    PDFDocument document(bands(100));
    ASSERT_TRUE(document.setPageBox(0, QSizeF(4000, 100'000), 10));
    const auto page = PDFPage::open(document.dataRepresentation());
    ASSERT_TRUE(page);
    EXPECT_NEAR(page->size().height(), 100'000, 1);
    const QImage last = page->render(QRect(0, 2 * 99'000, 1024, 1024), 2);
    EXPECT_EQ(last.size(), QSize(1024, 1024));
    EXPECT_EQ(last.pixelColor(500, 500), shade(99));
}

TEST(PDFPageTest, WhatIsTooLargeOrUnwantedIsNull) {
    const auto page = PDFPage::open(bands(2));
    ASSERT_TRUE(page);
    EXPECT_TRUE(page->render(QRect(0, 0, 4'000'000, 2'000'000), 10'000).isNull());
    EXPECT_TRUE(page->render(QRect(0, 0, 400, 200), 1, [] { return true; }).isNull());
    EXPECT_FALSE(page->render(QRect(0, 0, 400, 200), 1, [] { return false; }).isNull());
}

TEST(PDFPageTest, WhatIsNoPDFIsNoPage) {
    EXPECT_EQ(PDFPage::open(QByteArray()), nullptr);
    EXPECT_EQ(PDFPage::open("%PDF-1.7 and nothing else"), nullptr);
    EXPECT_EQ(PDFPage::open(bands(1).left(300)), nullptr);
}

class PreviewRendererTest : public testing::Test {
protected:
    PreviewRendererTest() {
        QObject::connect(&renderer, &PreviewRenderer::loaded, [this](const QSizeF &size) { sizes << size; });
        QObject::connect(&renderer, &PreviewRenderer::rendered,
                         [this](const QRect &part, double scale, const QImage &image) {
                             parts << part;
                             scales << scale;
                             images << image;
                         });
    }
    QString put(const QString &name, const QByteArray &bytes) {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }

    QTemporaryDir folder;
    QList<QSizeF> sizes;
    QList<QRect> parts;
    QList<double> scales;
    QList<QImage> images;
    PreviewRenderer renderer;
};

TEST_F(PreviewRendererTest, PartsComeInTheirOrder) {
    renderer.load(put(u"a.pdf"_s, bands(4)));
    ASSERT_TRUE(QTest::qWaitFor([&] { return sizes.size() == 1; }, patience));
    EXPECT_EQ(sizes[0], QSizeF(400, 400));
    const QList<QRect> wanted{QRect(0, 100, 200, 100), QRect(0, 0, 200, 100), QRect(0, 300, 200, 100)};
    renderer.want(wanted, 1);
    ASSERT_TRUE(QTest::qWaitFor([&] { return parts.size() == 3; }, patience));
    EXPECT_EQ(parts, wanted);
    EXPECT_EQ(images[1].pixelColor(50, 50), shade(0));
    EXPECT_EQ(images[2].pixelColor(50, 50), shade(3));
}

TEST_F(PreviewRendererTest, OnlyWhatIsWantedLastComes) {
    renderer.load(put(u"a.pdf"_s, bands(40)));
    ASSERT_TRUE(QTest::qWaitFor([&] { return sizes.size() == 1; }, patience));
    for (int scale = 1; scale <= 8; ++scale) {
        QList<QRect> wanted;
        for (int row = 0; row < 20; ++row)
            wanted << QRect(0, row * 500, 500, 500);
        renderer.want(wanted, scale);
    }
    renderer.want({QRect(0, 0, 100, 100)}, 0.5);
    ASSERT_TRUE(QTest::qWaitFor([&] { return scales.contains(0.5); }, patience));
    EXPECT_EQ(scales.count(0.5), 1);
    EXPECT_LT(scales.size(), 20);
}

TEST_F(PreviewRendererTest, TheFileNamedLastCounts) {
    const QString first = put(u"a.pdf"_s, bands(4)), second = put(u"b.pdf"_s, bands(2));
    renderer.load(first);
    renderer.load(second);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !sizes.isEmpty(); }, patience));
    EXPECT_EQ(sizes, QList<QSizeF>{QSizeF(400, 200)});
    renderer.load(folder.filePath(u"missing.pdf"_s));
    ASSERT_TRUE(QTest::qWaitFor([&] { return sizes.size() == 2; }, patience));
    EXPECT_TRUE(sizes[1].isEmpty());
}

TEST_F(PreviewRendererTest, ItEndsWhileItDraws) {
    renderer.load(put(u"a.pdf"_s, bands(40)));
    ASSERT_TRUE(QTest::qWaitFor([&] { return sizes.size() == 1; }, patience));
    QList<QRect> wanted;
    for (int row = 0; row < 50; ++row)
        wanted << QRect(0, row * 1000, 2000, 1000);
    renderer.want(wanted, 16);
}

/// The printed sheets, each as a picture of a pixel a point.
QList<QImage> printed(const QByteArray &pdf) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"printed.pdf"_s);
    QPrinter printer;
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(path);
    printer.setResolution(SheetPrinter::resolution);
    printer.setPageLayout(
        QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF(36, 36, 36, 36)));
    const auto page = PDFPage::open(pdf);
    double last = 0;
    EXPECT_TRUE(SheetPrinter::print(*page, printer, [&](double progress) {
        EXPECT_GT(progress, last);
        last = progress;
        return true;
    }));
    EXPECT_EQ(last, 1);
    const auto document = Poppler::Document::load(path);
    QList<QImage> sheets;
    for (int i = 0; document && i < document->numPages(); ++i)
        sheets << document->page(i)->renderToImage();
    return sheets;
}

/// Colours that were scaled differ a little.
bool isLike(const QColor &a, const QColor &b) {
    return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) + std::abs(a.blue() - b.blue()) <= 6;
}

/// The bands that a sheet shows whole, down its middle, by their places on the page.
QList<int> bandsOn(const QImage &sheet, int count) {
    QList<int> found;
    for (int band = 0; band < count; ++band) {
        int rows = 0;
        for (int y = 0; y < sheet.height(); ++y)
            rows += isLike(sheet.pixelColor(100, y), shade(band));
        if (rows >= 88)
            found << band;
    }
    return found;
}

TEST(SheetPrinterTest, ATallPageGoesOnSeveralSheetsAndNothingIsCut) {
    const QList<QImage> one = printed(bands(2));
    ASSERT_EQ(one.size(), 1);
    // 400 points wide: not enlarged, from the top left of what can be printed.
    EXPECT_TRUE(isLike(one[0].pixelColor(434, 80), shade(0)));
    EXPECT_TRUE(isLike(one[0].pixelColor(438, 80), Qt::white));
    const QList<QImage> three = printed(bands(21));
    ASSERT_EQ(three.size(), 3);
    QList<int> all, expected;
    for (const QImage &sheet : three)
        all << bandsOn(sheet, 21);
    for (int band = 0; band < 21; ++band)
        expected << band;
    EXPECT_EQ(all, expected);
}

TEST(SheetPrinterTest, AWidePageIsMadeAsWideAsThePaper) {
    const QByteArray wide =
        pdfOf(QSizeF(2000, 500), [](QPainter &painter) { painter.fillRect(0, 0, 2000, 500, Qt::red); });
    const QList<QImage> sheets = printed(wide);
    ASSERT_EQ(sheets.size(), 1);
    EXPECT_TRUE(isLike(sheets[0].pixelColor(40, 40), Qt::red));
    EXPECT_TRUE(isLike(sheets[0].pixelColor(555, 160), Qt::red));
    EXPECT_TRUE(isLike(sheets[0].pixelColor(555, 175), Qt::white));
}

TEST(SheetPrinterTest, APictureWithoutABlankRowIsCutAtTheSheetsEnd) {
    const QByteArray full = pdfOf(QSizeF(500, 2000), [](QPainter &painter) {
        for (int y = 0; y < 2000; ++y)
            for (int x = 0; x < 500; x += 10)
                painter.fillRect(x, y, 10, 1, (x / 10 + y) % 2 ? Qt::black : Qt::white);
    });
    EXPECT_EQ(printed(full).size(), 3);
}

TEST(SheetPrinterTest, PrintingEndsIfNobodyWantsIt) {
    const QTemporaryDir folder;
    QPrinter printer;
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(folder.filePath(u"printed.pdf"_s));
    printer.setResolution(SheetPrinter::resolution);
    const auto page = PDFPage::open(bands(100));
    int sheets = 0;
    EXPECT_FALSE(SheetPrinter::print(*page, printer, [&](double) { return ++sheets < 2; }));
    EXPECT_EQ(sheets, 2);
}

} // namespace
