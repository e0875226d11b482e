// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRConvertHTML.h"
#include "platform/pdf/PDFDocument.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Picture.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

constexpr double boxTolerance = 0.01;
constexpr double unitLimit = 14400;

QByteArray converted(const QString &html) {
    return ZRConvertHTML(html, QStringLiteral("public.html")).pdfData();
}

/// A PDF as other programs see it.
class PDFFile {
public:
    explicit PDFFile(const QByteArray &data) {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(data) == data.size());
    }
    QString path() const { return m_folder.filePath(QStringLiteral("page.pdf")); }
    QString text() const {
        return QString::fromUtf8(
            outputOf(QStringLiteral("mutool"), {QStringLiteral("draw"), QStringLiteral("-q"),
                                                QStringLiteral("-F"), QStringLiteral("text"), path()}));
    }
    Picture picture() const { return rasterised(path(), Rasteriser::MuPDF); }
    /// Where the letters of the text begin, from the left, in points.
    QList<double> letterPositions() const {
        QList<double> positions;
        const QString page = QString::fromUtf8(
            outputOf(QStringLiteral("mutool"), {QStringLiteral("draw"), QStringLiteral("-q"),
                                                QStringLiteral("-F"), QStringLiteral("stext"), path()}));
        static const QRegularExpression letter(
            QStringLiteral("<char [^>]*?\\bx=\"([-0-9.]+)\"[^>]*\\bc=\"[a-z]\""));
        for (const QRegularExpressionMatch &match : letter.globalMatch(page))
            positions << match.captured(1).toDouble();
        return positions;
    }

private:
    QTemporaryDir m_folder;
};

QSizeF sizeOf(const QByteArray &pdf) {
    const PDFDocument document(pdf);
    EXPECT_EQ(document.pageCount(), 1);
    return document.pageBox(0).size();
}

/// The sides of the page in the file's own units, which readers limit.
QSizeF unitsOf(const QByteArray &pdf) {
    const QString info = QString::fromUtf8(outputOf(QStringLiteral("pdfinfo"), {PDFFile(pdf).path()}));
    const QStringList words =
        info.mid(info.indexOf(QStringLiteral("Page size:"))).section(u'\n', 0, 0).simplified().split(u' ');
    return {words.value(2).toDouble(), words.value(4).toDouble()};
}

std::vector<std::uint8_t> pixel(const Picture &picture, int x, int y) {
    const auto at = picture.rgb.begin() + (std::ptrdiff_t(y) * picture.width + x) * 3;
    return {at, at + 3};
}
const std::vector<std::uint8_t> red = {255, 0, 0}, lime = {0, 255, 0}, white = {255, 255, 255};

TEST(PagePreparation, ATallDocumentIsOnePageThatReadersWithLimitsShow) {
    const QByteArray pdf = converted(QStringLiteral(
        "<!doctype "
        "html><style>body{margin:0}div{height:99960px;background:linear-gradient(#def,#fed)}</style>"
        "<p style='margin:0;line-height:20px'>first<div></div><p style='margin:0;line-height:20px'>last"));
    EXPECT_NEAR(sizeOf(pdf).width(), 800, boxTolerance);
    EXPECT_NEAR(sizeOf(pdf).height(), 100000, boxTolerance);
    EXPECT_LE(unitsOf(pdf).height(), unitLimit);
    const QString text = PDFFile(pdf).text();
    EXPECT_EQ(text.count(QStringLiteral("first")), 1);
    EXPECT_EQ(text.count(QStringLiteral("last")), 1);
}

TEST(PagePreparation, ReadersDrawATallDocumentFromItsFirstPixelToItsLast) {
    const PDFFile pdf(
        converted(QStringLiteral("<!doctype html><style>body,div{margin:0}div{height:1000px}</style><div "
                                 "style='background:red'></div><div style='height:98000px'></div><div "
                                 "style='background:lime'></div>")));
    QTemporaryDir folder;
    const QString picture = folder.filePath(QStringLiteral("page"));
    // One pixel for some ten of the document's.
    const QString height = QStringLiteral("10000"), width = QStringLiteral("80");
    outputOf(QStringLiteral("mutool"),
             {QStringLiteral("draw"), QStringLiteral("-q"), QStringLiteral("-w"), width, QStringLiteral("-h"),
              height, QStringLiteral("-o"), picture + QStringLiteral("1.png"), pdf.path()});
    outputOf(QStringLiteral("pdftoppm"),
             {QStringLiteral("-png"), QStringLiteral("-singlefile"), QStringLiteral("-scale-to-x"), width,
              QStringLiteral("-scale-to-y"), height, pdf.path(), picture + QStringLiteral("2")});
    for (const char *reader : {"1.png", "2.png"}) {
        QFile file(picture + QString::fromLatin1(reader));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << reader;
        const Picture drawn = Picture::fromPNG(file.readAll());
        ASSERT_FALSE(drawn.isNull()) << reader;
        EXPECT_NEAR(double(drawn.height) / drawn.width, 125, 1) << reader;
        const int x = drawn.width / 2;
        EXPECT_EQ(pixel(drawn, x, 1), red) << reader;
        EXPECT_EQ(pixel(drawn, x, drawn.height / 2), white) << reader;
        EXPECT_EQ(pixel(drawn, x, drawn.height - 2), lime) << reader;
    }
}

TEST(PagePreparation, TwentyThousandParagraphsAreOnePageWithEachOnce) {
    constexpr int count = 20000;
    QString html = QStringLiteral("<!doctype html><body>");
    for (int i = 0; i < count; ++i)
        html += QStringLiteral("<p>number %1 of many\n").arg(i, 5, 10, QLatin1Char('0'));
    const QByteArray pdf = converted(html);
    EXPECT_GT(sizeOf(pdf).height(), count * 30);
    EXPECT_LE(unitsOf(pdf).height(), unitLimit);
    const QString text = PDFFile(pdf).text();
    qsizetype at = 0;
    for (int i = 0; i < count; ++i) {
        const QString line = QStringLiteral("number %1 of many").arg(i, 5, 10, QLatin1Char('0'));
        const qsizetype found = text.indexOf(line, at);
        ASSERT_GE(found, at) << qPrintable(line);
        at = found + line.size();
    }
    EXPECT_EQ(text.count(QStringLiteral("of many")), count);
}

TEST(PagePreparation, ADocumentOfTheReadersLimitKeepsItsUnits) {
    const auto tall = [](int height) {
        return converted(
            QStringLiteral("<!doctype html><body style='margin:0'><div style='height:%1px'>x").arg(height));
    };
    EXPECT_NEAR(unitsOf(tall(14400)).height(), 14400, boxTolerance);
    const QByteArray taller = tall(14401);
    EXPECT_LT(unitsOf(taller).height(), 14400);
    EXPECT_NEAR(sizeOf(taller).height(), 14401, boxTolerance);
}

TEST(PagePreparation, ADocumentBeyondTheEnginesLayoutFailsWithItsOwnMessage) {
    for (const char *style : {"height:40000000px", "width:40000000px"}) {
        LogCapture log;
        EXPECT_TRUE(
            converted(QStringLiteral("<!doctype html><div style='%1'>x").arg(QString::fromLatin1(style)))
                .isNull());
        const QStringList lines = log.lines();
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const QString &line) {
            return line.contains(
                QStringLiteral("The document is larger than the engine can lay out (33,554,432 pixels)"));
        })) << style;
    }
    EXPECT_FALSE(converted(QStringLiteral("the next one")).isNull());
}

TEST(PagePreparation, NothingOfOneDocumentStaysForTheNext) {
    const QString plain = QStringLiteral("<!doctype html><body><p>plain");
    const Picture before = PDFFile(converted(plain)).picture();
    EXPECT_FALSE(
        converted(
            QStringLiteral("<!doctype html><style>html{background:linear-gradient(red,lime);border:9px solid}"
                           "body{height:200vh}@page{margin:3cm!important}</style>x"))
            .isNull());
    const Picture after = PDFFile(converted(plain)).picture();
    EXPECT_EQ(before.rgb, after.rgb);
}

TEST(PagePreparation, LettersStandAsFarApartAsTheirFontSays) {
    const QHash<QChar, double> advances = {{u'i', 0.277}, {u'm', 0.831}, {u'e', 0.533}};
    const QByteArray font =
        outputOf(QStringLiteral("python3"),
                 {QStringLiteral(ZR_SOURCE_DIR "/tests/platform/print/make_font.py"), QStringLiteral("e=533"),
                  QStringLiteral("i=277"), QStringLiteral("m=831")});
    ASSERT_FALSE(font.isEmpty());
    const QString text = QStringLiteral("immimeemiieimmeimimeiiimmmeeemiemiemime");
    for (const double size : {7.0, 9.5, 13.0, 16.0}) {
        const QByteArray pdf = converted(
            QStringLiteral("<!doctype html><style>@font-face{font-family:f;src:url(data:font/ttf;base64,%1)}"
                           "body{margin:0}p{margin:0;font:%2px f}</style><p>%3")
                .arg(QString::fromLatin1(font.toBase64()), QString::number(size), text));
        const QList<double> positions = PDFFile(pdf).letterPositions();
        ASSERT_EQ(positions.size(), text.size()) << size;
        double expected = 0;
        for (qsizetype i = 0; i < text.size(); ++i) {
            EXPECT_NEAR(positions[i], expected, 0.05) << size << " pixels, letter " << i;
            expected += advances.value(text[i]) * size;
        }
    }
}

TEST(PagePreparation, AShortDocumentFillsTheWindow) {
    for (const char *html :
         {"", "x", "<!doctype html>", "<body style='margin:0'>", "<!doctype html><svg></svg>"}) {
        const QSizeF size = sizeOf(converted(QString::fromLatin1(html)));
        EXPECT_NEAR(size.width(), 800, boxTolerance) << html;
        EXPECT_NEAR(size.height(), 1131, boxTolerance) << html;
    }
}

TEST(PagePreparation, ThePageIsAsTallAsTheDocumentToThePixel) {
    for (const int height : {1130, 1131, 1132, 1133, 1200, 2999, 5001}) {
        const Picture picture = PDFFile(converted(QStringLiteral("<!doctype html><body style='margin:0'><div "
                                                                 "style='height:%1px;background:red'></div>")
                                                      .arg(height)))
                                    .picture();
        EXPECT_EQ(picture.height, std::max(height, 1131));
        EXPECT_EQ(pixel(picture, 400, height - 2), red);
        EXPECT_EQ(pixel(picture, 1, height - 2), red);
        EXPECT_EQ(pixel(picture, 798, height - 2), red);
    }
}

TEST(PagePreparation, PageRulesThatNothingOverridesHaveNoEffect) {
    const Picture picture =
        PDFFile(
            converted(QStringLiteral(
                "<!doctype html><style>@page{margin:3cm!important;size:A5!important}@page :first{margin:1cm "
                "!important;@top-left{content:'head'}}body{margin:0}div{height:1500px;background:red}</"
                "style><div>")))
            .picture();
    EXPECT_EQ(picture.height, 1500);
    EXPECT_EQ(pixel(picture, 2, 2), red);
    EXPECT_EQ(pixel(picture, 797, 1497), red);
}

TEST(PagePreparation, TransitionsDoNotRunBetweenScreenAndPaper) {
    const Picture picture =
        PDFFile(converted(
                    QStringLiteral("<!doctype html><style>*{transition:all 10s}body{background:lime;margin:0}"
                                   "div{height:150vh;background:red;width:50vw}"
                                   "</style><div>")))
            .picture();
    EXPECT_EQ(pixel(picture, 200, 1690), red);
    EXPECT_EQ(pixel(picture, 600, 1690), lime);
}

TEST(PagePreparation, StylesThatThePolicyForbidsStayForbidden) {
    const Picture picture =
        PDFFile(converted(QStringLiteral(
                    "<!doctype html><meta http-equiv=Content-Security-Policy content=\"style-src 'none'\">"
                    "<div style='height:150vh;background:red'>x</div>")))
            .picture();
    EXPECT_EQ(picture.height, 1131);
    EXPECT_EQ(pixel(picture, 400, 500), white);
}

TEST(PagePreparation, StyleAttributesAreFrozenWhereThePolicyAllowsThem) {
    const Picture picture =
        PDFFile(converted(QStringLiteral(
                    "<!doctype html><body style='margin:0'>"
                    "<div style='height:150vh;background:red'>x</div><div style='height:1px'>")))
            .picture();
    EXPECT_EQ(picture.height, 1698);
    EXPECT_EQ(pixel(picture, 400, 1690), red);
}

TEST(PagePreparation, DocumentsWithoutABodyAreShown) {
    const QByteArray frames = converted(
        QStringLiteral("<html><frameset cols='50%,50%'><frame src='data:text/html,<body bgcolor=red>'>"
                       "<frame src='data:text/html,<body bgcolor=lime>'></frameset></html>"));
    const Picture picture = PDFFile(frames).picture();
    EXPECT_EQ(picture.height, 1131);
    EXPECT_EQ(pixel(picture, 200, 1100), red);
    EXPECT_EQ(pixel(picture, 600, 1100), lime);
}

TEST(PagePreparation, DrawingsAreAsLargeAsTheyAre) {
    const QByteArray svg = "<svg xmlns='http://www.w3.org/2000/svg' width='900' height='2000'>"
                           "<rect width='900' height='2000' fill='red'/><rect y='50vh' width='10' "
                           "height='10vh' fill='lime'/></svg>";
    const QByteArray pdf = ZRConvertHTML(svg, QStringLiteral("public.svg-image")).pdfData();
    const Picture picture = PDFFile(pdf).picture();
    EXPECT_EQ(picture.width, 900);
    EXPECT_EQ(picture.height, 2000);
    EXPECT_EQ(pixel(picture, 890, 1990), red);
    EXPECT_EQ(pixel(picture, 5, 600), lime);
    EXPECT_EQ(pixel(picture, 5, 700), red);
}

} // namespace
