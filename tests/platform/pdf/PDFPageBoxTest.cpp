// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFDocument.h"
#include "tests/platform/pdf/PDFSamples.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {

QByteArray boxed(const QByteArray &data, const QRectF &box) {
    PDFDocument document(data);
    EXPECT_TRUE(document.setPageBox(0, box));
    return document.dataRepresentation();
}

QByteArray boxed(const QByteArray &data, const QSizeF &size) {
    return boxed(data, QRectF(QPointF(0, 0), size));
}

QByteArray withObjectStreams(const QByteArray &data) {
    return rewritten(data, {QStringLiteral("--object-streams=generate")});
}

// The rectangle of the sample's link in points, as mutool sees it: from the top left corner, y downward.
QRectF linkArea(const QByteArray &data) {
    const QByteArray text = output(QStringLiteral("mutool"),
                                   {QStringLiteral("show"), QStringLiteral("-g"), QStringLiteral("@"),
                                    QStringLiteral("pages/1/Annots/1/Rect")},
                                   data);
    const QRectF page = PDFDocument(data).pageBox(0);
    const QByteArray unit = output(QStringLiteral("mutool"),
                                   {QStringLiteral("show"), QStringLiteral("-g"), QStringLiteral("@"),
                                    QStringLiteral("pages/1/UserUnit")},
                                   data);
    const double factor = unit.trimmed() == "null" ? 1 : unit.trimmed().toDouble();
    const QList<QByteArray> sides =
        text.simplified().replace("[ ", "").replace("[", "").replace("]", "").split(' ');
    if (sides.size() < 4)
        return {};
    const double left = sides[0].toDouble() * factor, bottom = sides[1].toDouble() * factor,
                 right = sides[2].toDouble() * factor, top = sides[3].toDouble() * factor;
    return QRectF(left, page.height() - top, right - left, top - bottom);
}

void expectNear(const QRectF &a, const QRectF &b) {
    EXPECT_NEAR(a.left(), b.left(), 0.01);
    EXPECT_NEAR(a.top(), b.top(), 0.01);
    EXPECT_NEAR(a.width(), b.width(), 0.01);
    EXPECT_NEAR(a.height(), b.height(), 0.01);
}

} // namespace

TEST(PDFPageBox, IsCutFromTheTopLeftToExactlyTheSize) {
    const QByteArray paper = sampleDocument(QSizeF(600, 1140));
    for (const QByteArray &before : {paper, withObjectStreams(paper)}) {
        PDFDocument document(before);
        EXPECT_EQ(document.pageBox(0), QRectF(0, 0, 600, 1140));
        ASSERT_TRUE(document.setPageBox(0, QSizeF(599.92, 1131.37)));
        EXPECT_EQ(document.pageBox(0), QRectF(0, 0, 599.92, 1131.37));
        const QByteArray data = document.dataRepresentation();
        EXPECT_TRUE(isSound(data));
        EXPECT_EQ(infoLine(data, QStringLiteral("Page size")), QStringLiteral("599.92 x 1131.37 pts"));
        EXPECT_EQ(PDFDocument(data).pageBox(0), QRectF(0, 0, 599.92, 1131.37));
        EXPECT_FALSE(data.contains("/UserUnit"));
        expectNear(linkArea(data), linkArea(before));
    }
}

TEST(PDFPageBox, ShowsTheSamePixelsAsThePartOfThePaper) {
    // Whole points, so that both pictures lie on the same grid.
    const QByteArray before = sampleDocument(QSizeF(600, 1140));
    const QByteArray uncut = picture(before);
    for (const QByteArray &data :
         {boxed(before, QSizeF(600, 1000)), boxed(withObjectStreams(before), QSizeF(600, 1000))}) {
        const QByteArray cut = picture(data);
        ASSERT_TRUE(cut.startsWith("P6\n600 1000\n255\n"));
        ASSERT_TRUE(uncut.startsWith("P6\n600 1140\n255\n"));
        EXPECT_EQ(cut.mid(16), uncut.mid(16, 600 * 1000 * 3));
    }
}

TEST(PDFPageBox, MayStartAnywhereAndReachBeyondThePaper) {
    const QByteArray before = sampleDocument(QSizeF(600, 1140));
    const QByteArray data = boxed(before, QRectF(10, 20, 700, 1200));
    EXPECT_TRUE(isSound(data));
    EXPECT_EQ(PDFDocument(data).pageBox(0), QRectF(0, 0, 700, 1200));
    expectNear(linkArea(data), linkArea(before).translated(-10, -20));
    // Back again, it is the same page.
    const QByteArray back = boxed(data, QRectF(-10, -20, 600, 1140));
    EXPECT_EQ(picture(back), picture(before));
}

TEST(PDFPageBox, IsTakenFromThePresentBoxWhenSetAgain) {
    const QByteArray before = sampleDocument(QSizeF(600, 1140));
    PDFDocument document(before);
    ASSERT_TRUE(document.setPageBox(0, QRectF(5, 7, 500, 1000)));
    ASSERT_TRUE(document.setPageBox(0, QRectF(5, 3, 400, 900)));
    EXPECT_EQ(picture(document.dataRepresentation()), picture(boxed(before, QRectF(10, 10, 400, 900))));
}

TEST(PDFPageBox, EnlargesThePageFirstWhenAsked) {
    const QByteArray before = sampleDocument(QSizeF(600, 1140));
    for (const QByteArray &data : {before, withObjectStreams(before)}) {
        PDFDocument document(data);
        ASSERT_TRUE(document.setPageBox(0, QSizeF(1200, 2280), 2));
        const QByteArray twice = document.dataRepresentation();
        EXPECT_TRUE(isSound(twice));
        EXPECT_EQ(picture(twice), picture(before, 144));
        const QRectF area = linkArea(before);
        expectNear(linkArea(twice), QRectF(area.topLeft() * 2, area.size() * 2));
    }
    PDFDocument document(before);
    ASSERT_TRUE(document.setPageBox(0, QRectF(5, 7, 500, 1000)));
    ASSERT_TRUE(document.setPageBox(0, QRectF(0, 4, 400, 900), 2));
    PDFDocument atOnce(before);
    ASSERT_TRUE(atOnce.setPageBox(0, QRectF(10, 18, 400, 900), 2));
    EXPECT_EQ(picture(document.dataRepresentation()), picture(atOnce.dataRepresentation()));
    EXPECT_FALSE(document.setPageBox(0, QSizeF(10, 10), 0));
}

TEST(PDFPageBox, AndAttributesAreWrittenTogether) {
    PDFDocument document(sampleDocument(QSizeF(600, 1140)));
    document.setPageBox(0, QSizeF(600, 1131.37));
    document.setDocumentAttributes({{PDFDocumentTitleAttribute, QStringLiteral("Both")}});
    const PDFDocument again(document.dataRepresentation());
    EXPECT_EQ(again.pageBox(0), QRectF(0, 0, 600, 1131.37));
    EXPECT_EQ(again.documentAttributes().value(PDFDocumentTitleAttribute), QStringLiteral("Both"));
}

TEST(PDFPageBox, SidesOfTheLimitNeedNoUserUnitAndLongerOnesDo) {
    EXPECT_FALSE(boxed(sampleDocument(), QSizeF(600, 14400)).contains("/UserUnit"));
    EXPECT_TRUE(boxed(sampleDocument(), QSizeF(600, 14400.01)).contains("/UserUnit 2"));
    EXPECT_TRUE(boxed(sampleDocument(), QSizeF(28801, 100)).contains("/UserUnit 4"));
    EXPECT_TRUE(boxed(sampleDocument(), QSizeF(600, 33554432)).contains("/UserUnit 4096"));
}

TEST(PDFPageBox, WithUserUnitKeepsSizePlacesAndPixels) {
    for (const double height : {14401.0, 20000.0, 100000.0}) {
        const QByteArray paper = sampleDocument(QSizeF(600, height));
        for (const QByteArray &before : {paper, withObjectStreams(paper)}) {
            const QByteArray data = boxed(before, QSizeF(600, height));
            EXPECT_TRUE(isSound(data));
            EXPECT_GE(infoLine(data, QStringLiteral("PDF version")).toDouble(), 1.6);
            EXPECT_EQ(PDFDocument(data).pageBox(0), QRectF(0, 0, 600, height));
            expectNear(linkArea(data), linkArea(before));
            const QRegularExpressionMatch size =
                QRegularExpression(QStringLiteral("^([\\d.]+) x ([\\d.]+) pts"))
                    .match(infoLine(data, QStringLiteral("Page size")));
            ASSERT_TRUE(size.hasMatch());
            EXPECT_LE(size.captured(2).toDouble(), 14400);
            const int resolution = height > 50000 ? 18 : 36;
            const QByteArray expected = picture(before, resolution);
            ASSERT_FALSE(expected.isEmpty());
            EXPECT_EQ(picture(data, resolution), expected);
        }
    }
}

TEST(PDFPageBox, UserUnitsGoWhenThePageIsShortAgain) {
    const QByteArray before = sampleDocument(QSizeF(600, 20000));
    const QByteArray scaled = boxed(before, QSizeF(600, 20000));
    ASSERT_TRUE(scaled.contains("/UserUnit 2"));
    const QByteArray back = boxed(scaled, QSizeF(600, 1000));
    EXPECT_FALSE(back.contains("/UserUnit 2"));
    EXPECT_EQ(PDFDocument(back).pageBox(0), QRectF(0, 0, 600, 1000));
    EXPECT_EQ(picture(back), picture(boxed(before, QSizeF(600, 1000))));
}

TEST(PDFPageBox, DestinationsMoveAlong) {
    const QByteArray plain = sampleDocument(QSizeF(600, 20000));
    for (const QByteArray &before : {plain, rewritten(plain, {QStringLiteral("--qdf")})}) {
        const QByteArray data =
            rewritten(boxed(before, QSizeF(600, 20000)),
                      {QStringLiteral("--qdf"), QStringLiteral("--object-streams=disable")});
        const QByteArray text = QByteArray(data).simplified();
        EXPECT_TRUE(text.contains("/XYZ 10 50.25 0")) << data.constData();
        EXPECT_TRUE(text.contains("/FitH 9980"));
    }
}

TEST(PDFPageBox, EveryKindOfDestinationMovesAlong) {
    PDFBuilder builder;
    builder.add("<</Type /Catalog/Pages 2 0 R/Dests <</a [3 0 R /XYZ null 30 2]/b [3 0 R /FitR 10 20 30 40]"
                "/c [3 0 R /FitV 11]/d [3 0 R /FitBH 12]/e [3 0 R /FitBV 13]/f [3 0 R /Fit]"
                "/g [3 0 R /XYZ 1]>>/OpenAction [3 0 R /FitH 14]>>");
    builder.add("<</Type /Pages/Count 1/Kids [3 0 R]>>");
    builder.add("<</Type /Page/MediaBox [0 0 100 200]/Parent 2 0 R/Resources <<>>/Annots [4 0 R]>>");
    builder.add("<</Type /Annot/Subtype /Link/Border [0 0 0]/Rect [1 2 3 4]/QuadPoints [1 2 3 4 5 6 7 8]"
                "/A <</S /GoTo/D [3 0 R /XYZ 5 6 0]>>>>");
    const QByteArray plain = builder.file(1, 0);
    for (const QByteArray &before : {plain, withObjectStreams(plain)}) {
        const QByteArray data = boxed(before, QRectF(1, 50, 90, 100));
        EXPECT_TRUE(isSound(data));
        const QByteArray text =
            rewritten(data, {QStringLiteral("--qdf"), QStringLiteral("--object-streams=disable")})
                .simplified();
        for (const char *expected :
             {"/XYZ null -20 2 ]", "/FitR 9 -30 29 -10 ]", "/FitV 10 ]", "/FitBH -38 ]", "/FitBV 12 ]",
              "/Fit ]", "/XYZ 0 ]", "/FitH -36 ]", "/QuadPoints [ 0 -48 2 -46 4 -44 6 -42 ]",
              "/Rect [ 0 -48 2 -46 ]", "/XYZ 4 -44 0 ]"})
            EXPECT_TRUE(text.contains(expected)) << expected << '\n' << text.constData();
    }
}

TEST(PDFPageBox, BordersOfLinksKeepTheirWidth) {
    PDFBuilder builder;
    builder.add("<</Type /Catalog/Pages 2 0 R>>");
    builder.add("<</Type /Pages/Count 1/Kids [3 0 R]>>");
    builder.add(
        "<</Type /Page/MediaBox [0 0 600 20000]/Parent 2 0 R/Resources <<>>/Annots [4 0 R 5 0 R 6 0 R]>>");
    builder.add("<</Type /Annot/Subtype /Link/Border [0 0 3]/Rect [10 2 30 40]>>");
    builder.add("<</Type /Annot/Subtype /Link/Rect [50 2 70 40]>>");
    builder.add("<</Type /Annot/Subtype /Link/BS <</W 4/S /D/D [6 2]>>/Rect [80 2 99 40]>>");
    const QByteArray text = rewritten(boxed(builder.file(1, 0), QSizeF(600, 20000)),
                                      {QStringLiteral("--qdf"), QStringLiteral("--object-streams=disable")})
                                .simplified();
    EXPECT_TRUE(text.contains("/Border [ 0 0 1.5 ]")) << text.constData();
    EXPECT_TRUE(text.contains("/Border [ 0 0 0.5 ]"));
    EXPECT_TRUE(text.contains("/W 2"));
    EXPECT_TRUE(text.contains("/D [ 3 1 ]"));
}

TEST(PDFPageBox, OtherBoxesGiveWay) {
    PDFBuilder builder;
    builder.add("<</Type /Catalog/Pages 2 0 R>>");
    builder.add("<</Type /Pages/Count 1/Kids [3 0 R]/MediaBox [-10 -20 610 820]/CropBox [0 0 600 800]>>");
    builder.add("<</Type /Page/Parent 2 0 R/Resources <<>>/TrimBox [5 5 590 790]/ArtBox [6 6 580 780]>>");
    PDFDocument document(builder.file(1, 0));
    EXPECT_EQ(document.pageBox(0), QRectF(0, 0, 600, 800));
    ASSERT_TRUE(document.setPageBox(0, QSizeF(500, 700)));
    const QByteArray data = document.dataRepresentation();
    const QByteArray boxes =
        output(QStringLiteral("pdfinfo"), {QStringLiteral("-box"), QStringLiteral("@")}, data);
    EXPECT_EQ(boxes.count("0.00     0.00   500.00   700.00"), 5) << boxes.constData();
}

TEST(PDFPageBox, EachPageHasItsOwn) {
    PDFBuilder builder;
    builder.add("<</Type /Catalog/Pages 2 0 R>>");
    builder.add("<</Type /Pages/Count 2/Kids [3 0 R 4 0 R]/MediaBox [0 0 600 800]/Resources <</Font <</F1 6 "
                "0 R>>>>>>");
    builder.add("<</Type /Page/Parent 2 0 R/Contents 5 0 R>>");
    builder.add("<</Type /Page/Parent 2 0 R/Contents 5 0 R/UserUnit 2>>");
    builder.addStream("BT /F1 30 Tf 10 700 Td (shared) Tj ET");
    builder.add("<</Type /Font/Subtype /Type1/BaseFont /Helvetica>>");
    const QByteArray before = builder.file(1, 0);
    PDFDocument document(before);
    ASSERT_EQ(document.pageCount(), 2);
    EXPECT_EQ(document.pageBox(0), QRectF(0, 0, 600, 800));
    EXPECT_EQ(document.pageBox(1), QRectF(0, 0, 1200, 1600));
    EXPECT_TRUE(document.setPageBox(0, QSizeF(600, 500)));
    EXPECT_FALSE(document.setPageBox(2, QSizeF(600, 500)));
    EXPECT_FALSE(document.setPageBox(-1, QSizeF(600, 500)));
    const QByteArray data = document.dataRepresentation();
    EXPECT_TRUE(isSound(data));
    EXPECT_EQ(PDFDocument(data).pageBox(0), QRectF(0, 0, 600, 500));
    EXPECT_EQ(PDFDocument(data).pageBox(1), QRectF(0, 0, 1200, 1600));
    EXPECT_EQ(picture(data).mid(15), picture(before).mid(15, 600 * 500 * 3));
    EXPECT_EQ(picture(data, 36, 2), picture(before, 36, 2));
}

TEST(PDFPageBox, PatternsSharedWithFormsStayThere) {
    // The page and a form on it paint with the same pattern.
    PDFBuilder builder;
    builder.add("<</Type /Catalog/Pages 2 0 R>>");
    builder.add("<</Type /Pages/Count 1/Kids [3 0 R]>>");
    builder.add(
        "<</Type /Page/MediaBox [0 0 600 20000]/Parent 2 0 R/Contents 4 0 R/Resources <</Pattern <</P1 5 0 "
        "R>>/XObject <</X1 6 0 R>>>>>>");
    builder.addStream("/Pattern cs /P1 scn 0 19700 200 300 re f 1 0 0 1 300 0 cm /X1 Do");
    builder.add("<</PatternType 2/Matrix [1 0 0 1 0 19700]/Shading <</ShadingType 2/ColorSpace "
                "/DeviceRGB/Coords [0 0 "
                "200 300]/Function <</FunctionType 2/N 1/Domain [0 1]/C0 [1 0 0]/C1 [0 0 1]>>/Extend [true "
                "true]>>>>");
    builder.addStream(
        "/Pattern cs /P1 scn 0 19700 200 300 re f",
        "/Type /XObject/Subtype /Form/BBox [0 0 600 20000]/Resources <</Pattern <</P1 5 0 R>>>>");
    const QByteArray before = builder.file(1, 0);
    EXPECT_EQ(picture(boxed(before, QSizeF(600, 20000)), 36), picture(before, 36));
}

TEST(PDFPageBox, SizesThatAreNoneAreRefused) {
    PDFDocument document(sampleDocument());
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const QSizeF &size : {QSizeF(0, 100), QSizeF(100, 0), QSizeF(-1, 100), QSizeF(),
                               QSizeF(infinity, 10), QSizeF(10, nan), QSizeF(1e300, 10)})
        EXPECT_FALSE(document.setPageBox(0, size));
    EXPECT_FALSE(document.setPageBox(0, QRectF(nan, 0, 10, 10)));
    EXPECT_EQ(document.pageBox(0), QRectF(0, 0, 600, 1131.12));
}
