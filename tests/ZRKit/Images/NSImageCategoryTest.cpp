// SPDX-License-Identifier: MIT
#include "ZRKit/Images/NSImage+ZRKit.h"

#include "platform/files/NSBundle.h"
#include "tests/support/LogCapture.h"

#include <QFile>
#include <QTemporaryDir>
#include <cmath>
#include <gtest/gtest.h>
#include <thread>

using namespace ZRKit;
using namespace Qt::StringLiterals;

namespace {

/// A representation of which only the sizes count.
class SizesOnly : public NSImageRep {
public:
    SizesOnly(const QSizeF &points, int wide, int high) : NSImageRep(points, wide, high) {}
    QImage bitmap(const QSize &) const override { return {}; }
};

Image imageWith(const QSizeF &points, int wide, int high) {
    auto image = std::make_shared<NSImage>();
    image->addRepresentation(std::make_shared<SizesOnly>(points, wide, high));
    return image;
}

Image plainImage(int width, int height, const QColor &color = Qt::red) {
    QImage bitmap(width, height, QImage::Format_ARGB32);
    bitmap.fill(color);
    return std::make_shared<NSImage>(bitmap);
}

/// In each quarter another colour: red and green above, blue and yellow below.
Image quarters(int width, int height) {
    QImage bitmap(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            bitmap.setPixelColor(x, y,
                                 y < height / 2 ? (x < width / 2 ? Qt::red : Qt::green)
                                                : (x < width / 2 ? Qt::blue : Qt::yellow));
    return std::make_shared<NSImage>(bitmap);
}

/// Counted from the top left.
QColor pixel(const Image &image, int x, int y) {
    return CGImage(image).pixelColor(x, y);
}

/// Times 72 this is 134217864, in single precision 134217856: 127 times the points, or a little more.
constexpr int manyPixels = 1864137;
constexpr double pointsOf127DPI = 134217856 / 127.0;

QSizeF size(double width, double height) {
    return QSizeF(width, height);
}

class ResourceFolder {
public:
    ResourceFolder() { NSBundle::mainBundle().setResourcePath(m_folder.path()); }
    ~ResourceFolder() { NSBundle::mainBundle().setResourcePath({}); }
    void write(const QString &name, const QByteArray &data) const {
        QFile file(m_folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(data);
    }
    void remove(const QString &name) const { QFile::remove(m_folder.filePath(name)); }

private:
    const QTemporaryDir m_folder;
};

} // namespace

// Encoding

TEST(NSImageCategory, CGImageIsTheBitmapForTheNaturalSize) {
    const Image image = plainImage(20, 10);
    EXPECT_EQ(CGImage(image).size(), QSize(20, 10));
    // Larger ones don't come in its place, and it is not scaled.
    image->addRepresentation(std::make_shared<NSBitmapImageRep>(QImage(40, 20, QImage::Format_RGB32)));
    EXPECT_EQ(CGImage(image).size(), QSize(20, 10));
    image->setSize(size(30, 15));
    EXPECT_EQ(CGImage(image).size(), QSize(40, 20));
}

TEST(NSImageCategory, BitmapImageRepIsANewOneOfThatBitmapAtAPointAPixel) {
    const Image image = plainImage(20, 10);
    image->setSize(size(10, 5));
    const auto bitmap = bitmapImageRep(image);
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(bitmap->CGImage(), CGImage(image));
    EXPECT_EQ(bitmap->size(), size(20, 10));
    EXPECT_NE(bitmap, bitmapImageRep(image));
    EXPECT_NE(std::static_pointer_cast<NSImageRep>(bitmap), image->representations().first());
}

TEST(NSImageCategory, JPEGAndPNGAreReadAgainAsTheSamePicture) {
    const Image image = quarters(64, 48);
    const QByteArray jpeg = dataForJPGWithCompressionQuality(image, 0.9);
    EXPECT_TRUE(jpeg.startsWith("\xFF\xD8\xFF"));
    const QByteArray png = dataForPNG(image);
    EXPECT_TRUE(png.startsWith("\x89PNG\r\n"));
    for (const QByteArray &data : {jpeg, png}) {
        const Image again = NSImage::imageWithData(data);
        ASSERT_TRUE(again);
        EXPECT_EQ(again->size(), size(64, 48));
        EXPECT_GT(pixel(again, 8, 8).red(), 240);
        EXPECT_LT(pixel(again, 8, 8).blue(), 15);
        EXPECT_GT(pixel(again, 8, 40).blue(), 240);
    }
    EXPECT_EQ(CGImage(NSImage::imageWithData(png)).convertToFormat(QImage::Format_RGB32), CGImage(image));
}

TEST(NSImageCategory, TheJPEGsQualityDecidesItsSize) {
    const Image image = quarters(200, 150);
    const qsizetype low = dataForJPGWithCompressionQuality(image, 0).size();
    const qsizetype middle = dataForJPGWithCompressionQuality(image, 0.5).size();
    const qsizetype high = dataForJPGWithCompressionQuality(image, 1).size();
    EXPECT_LT(low, middle);
    EXPECT_LT(middle, high);
    EXPECT_EQ(dataForJPGWithCompressionQuality(image, -3).size(), low);
    EXPECT_EQ(dataForJPGWithCompressionQuality(image, 7).size(), high);
}

TEST(NSImageCategory, TheEncodersWriteTheNaturalPixelsWhateverTheResolution) {
    const Image image = plainImage(144, 72);
    image->setSize(size(72, 36));
    EXPECT_EQ(NSImage::imageWithData(dataForPNG(image))->size(), size(144, 72));
    EXPECT_EQ(NSImage::imageWithData(dataForJPGWithCompressionQuality(image, 0.8))->size(), size(144, 72));
}

TEST(NSImageCategory, ImagesWithoutAPictureGiveNoData) {
    for (const Image &image :
         {Image(), std::make_shared<NSImage>(), std::make_shared<NSImage>(size(10, 10))}) {
        EXPECT_TRUE(CGImage(image).isNull());
        EXPECT_FALSE(bitmapImageRep(image));
        EXPECT_TRUE(dataForJPGWithCompressionQuality(image, 1).isNull());
        EXPECT_TRUE(dataForPNG(image).isNull());
    }
}

// True pixel size

TEST(NSImageCategory, RealSizeTakesWidthAndHeightFromDifferentRepresentations) {
    const Image image = imageWith(size(10, 10), 100, 300);
    image->addRepresentation(std::make_shared<SizesOnly>(size(10, 10), 200, 150));
    EXPECT_EQ(realSize(image), size(200, 300));
}

TEST(NSImageCategory, RealSizeWithoutRepresentationsIsZero) {
    EXPECT_EQ(realSize(std::make_shared<NSImage>(size(5, 5))), size(0, 0));
    EXPECT_EQ(realSize(nullptr), size(0, 0));
}

TEST(NSImageCategory, RealSizeStartsFromZeroAndComparesSigned) {
    const Image image = imageWith(size(10, 10), -5, -7);
    EXPECT_EQ(realSize(image), size(0, 0));
    image->addRepresentation(std::make_shared<SizesOnly>(size(10, 10), 3, -7));
    EXPECT_EQ(realSize(image), size(3, 0));
}

// Resolution

TEST(NSImageCategory, DPIIsThatOfTheFirstRepresentation) {
    const Image image = imageWith(size(72, 36), 144, 72);
    EXPECT_EQ(DPI(image), 144);
    image->addRepresentation(std::make_shared<SizesOnly>(size(72, 72), 720, 720));
    EXPECT_EQ(DPI(image), 144);
    EXPECT_EQ(DPI(image->representations().last()), 720);
    // The image's own size counts for nothing.
    image->setSize(size(7, 7));
    EXPECT_EQ(DPI(image), 144);
}

TEST(NSImageCategory, DPIIsRoundedUp) {
    EXPECT_EQ(DPI(imageWith(size(71, 71), 100, 100)), 102); // 101.4
    EXPECT_EQ(DPI(imageWith(size(1000, 1), 1, 1)), 1);
}

TEST(NSImageCategory, DPIFormsTheProductInSinglePrecision) {
    EXPECT_EQ(DPI(imageWith(size(pointsOf127DPI, 1), manyPixels, 1)), 127);
}

TEST(NSImageCategory, DPIRoundsTheQuotientToSinglePrecisionBeforeTheCeiling) {
    // 72.00000001 in double precision, whose ceiling would be 73.
    const double points = 72 * (1 - 1e-10);
    EXPECT_GT(std::ceil(72.0 * 72 / points), 72);
    EXPECT_EQ(DPI(imageWith(size(points, 1), 72, 1)), 72);
}

TEST(NSImageCategory, DPIWithoutARepresentationIsNoNumber) {
    EXPECT_TRUE(std::isnan(DPI(std::make_shared<NSImage>(size(10, 10)))));
    EXPECT_EQ(DPI(Image()), 0);
    EXPECT_EQ(DPI(ImageRep()), 0);
}

TEST(NSImageCategory, SetDPIChangesTheFirstRepresentationsSizeAndNotTheImages) {
    const Image image = imageWith(size(72, 36), 300, 151);
    EXPECT_EQ(DPI(image), 300);
    setDPI(image, 150);
    EXPECT_EQ(image->representations().first()->size(), size(144, 73)); // 72.48 rounded up
    EXPECT_EQ(image->size(), size(72, 36));
    EXPECT_EQ(DPI(image), 150);
}

TEST(NSImageCategory, SetDPIToTheCurrentOneDoesNothing) {
    // 101.4, which counts as 102; setting that would give 71 x 71.
    const Image image = imageWith(size(71, 5), 100, 100);
    setDPI(image, 102);
    EXPECT_EQ(image->representations().first()->size(), size(71, 5));
}

TEST(NSImageCategory, SetDPIRoundsToSinglePrecisionBeforeTheCeiling) {
    const Image image = imageWith(size(10, 10), 72, 144);
    const double dpi = 72 * (1 - 1e-10);
    EXPECT_GT(std::ceil(72.0 * 72 / dpi), 72);
    setDPI(image, dpi);
    EXPECT_EQ(image->representations().first()->size(), size(72, 144));
}

TEST(NSImageCategory, SetDPIWithoutARepresentationDoesNothing) {
    const auto image = std::make_shared<NSImage>(size(10, 10));
    setDPI(image, 144);
    EXPECT_EQ(image->size(), size(10, 10));
    setDPI(nullptr, 144);
}

TEST(NSImageCategory, SizeForDPIGrowsWithTheResolution) {
    const Image image = imageWith(size(100, 50), 100, 50);
    EXPECT_EQ(sizeForDPI(image, 144), size(200, 100));
    EXPECT_EQ(sizeForDPI(image, 36), size(50, 25));
    EXPECT_EQ(sizeForDPI(image, 100), size(139, 70)); // 138.9 and 69.4 rounded up
}

TEST(NSImageCategory, SizeForDPIUsesTheRepresentationsSizeNotTheImages) {
    const Image image = imageWith(size(100, 50), 100, 50);
    image->setSize(size(10, 10));
    EXPECT_EQ(sizeForDPI(image, 144), size(200, 100));
}

TEST(NSImageCategory, SizeForDPIRoundsToSinglePrecisionBeforeTheCeiling) {
    const Image image = imageWith(size(100 * (1 + 1e-10), 50 * (1 + 1e-10)), 100, 50);
    EXPECT_EQ(sizeForDPI(image, 72), size(100, 50));
}

TEST(NSImageCategory, SizeForDPIFormsTheProductInDoublePrecision) {
    LogCapture log;
    sizeForDPI(imageWith(size(pointsOf127DPI, 1), manyPixels, 1), 72);
    EXPECT_EQ(log.lines(), QStringList{u"current DPI 128.000000"_s});
}

TEST(NSImageCategory, SizeForDPILogsTheCurrentOneOncePerCall) {
    const Image image = imageWith(size(72, 72), 144, 144);
    LogCapture log;
    sizeForDPI(image, 72);
    EXPECT_EQ(log.lines(), QStringList{u"current DPI 144.000000"_s});
    sizeForDPI(image, 72);
    EXPECT_EQ(log.lines().size(), 2);
    sizeForDPI(std::make_shared<NSImage>(), 72);
    EXPECT_EQ(log.lines().size(), 3);
    EXPECT_EQ(sizeForDPI(nullptr, 72), size(0, 0));
    EXPECT_EQ(log.lines().size(), 3);
}

TEST(NSImageCategory, SizeForDPIWithoutARepresentationIsNoNumber) {
    const QSizeF none = sizeForDPI(std::make_shared<NSImage>(size(10, 10)), 72);
    EXPECT_TRUE(std::isnan(none.width()) && std::isnan(none.height()));
}

// Fitting

TEST(NSImageCategory, SizeThatFitsKeepsTheProportions) {
    EXPECT_EQ(sizeThatFits(plainImage(200, 100), size(100, 100)), size(100, 50));
    EXPECT_EQ(sizeThatFits(plainImage(100, 200), size(100, 100)), size(50, 100));
}

TEST(NSImageCategory, SizeThatFitsEnlarges) {
    EXPECT_EQ(sizeThatFits(plainImage(50, 50), size(100, 100)), size(100, 100));
}

TEST(NSImageCategory, SizeThatFitsOfEqualProportionsComesFromTheHeight) {
    // 1/3 isn't exact: the height stays, the width is the product.
    const auto image = std::make_shared<NSImage>(size(1, 3));
    EXPECT_EQ(sizeThatFits(image, size(1, 3)).height(), 3);
    EXPECT_EQ(sizeThatFits(image, size(1, 3)).width(), 1.0 / 3 * 3);
    EXPECT_EQ(sizeThatFits(nullptr, size(1, 3)), size(0, 0));
}

TEST(NSImageCategory, BringToSizeSetsTheReceiversSizeInDoublePrecision) {
    const auto image = std::make_shared<NSImage>(size(3, 1));
    bringToSize(image, size(10, 10));
    EXPECT_EQ(image->size().width(), 10);
    EXPECT_EQ(image->size().height(), 10 / 3.0);
    bringToSize(nullptr, size(1, 1));
}

TEST(NSImageCategory, ScaleToSizeRoundsTheProportionsToSinglePrecision) {
    const auto image = std::make_shared<NSImage>(size(3.1, 1));
    scaleToSize(image, size(10, 10));
    EXPECT_EQ(image->size().height(), 10 / double(float(3.1)));
    EXPECT_NE(image->size().height(), 10 / 3.1);
}

TEST(NSImageCategory, WhatRoundingAddsToASizeAddsNoPixels) {
    // Two thirds are a little more in single precision.
    const Image image = plainImage(200, 300);
    const Image scaled = scaleToSize(image, size(400, 300));
    EXPECT_GT(scaled->size().width(), 200);
    EXPECT_EQ(realSize(scaled), size(200, 300));
    EXPECT_EQ(CGImage(scaled), CGImage(image));
}

TEST(NSImageCategory, ScaleToSizeComparesTheRoundedProportions) {
    // In double precision the image is wider than the box; in single precision both are the same.
    const double width = 100 * (1 + 1e-10);
    const auto image = std::make_shared<NSImage>(size(width, 100));
    EXPECT_EQ(sizeThatFits(image, size(50, 50)).width(), 50);
    EXPECT_LT(sizeThatFits(image, size(50, 50)).height(), 50);
    scaleToSize(image, size(50, 50));
    EXPECT_EQ(image->size(), size(50, 50));
}

TEST(NSImageCategory, ScaleToSizeChangesTheReceiversSizeAndGivesANewImage) {
    const Image image = quarters(200, 100);
    const Image scaled = scaleToSize(image, size(100, 100));
    ASSERT_TRUE(scaled);
    EXPECT_NE(scaled, image);
    EXPECT_EQ(image->size(), size(100, 50));
    EXPECT_EQ(scaled->size(), size(100, 50));
    EXPECT_EQ(realSize(scaled), size(100, 50));
    EXPECT_EQ(realSize(image), size(200, 100));
    EXPECT_EQ(pixel(scaled, 5, 5), QColor(Qt::red));
    EXPECT_EQ(pixel(scaled, 95, 5), QColor(Qt::green));
    EXPECT_EQ(pixel(scaled, 5, 45), QColor(Qt::blue));
    EXPECT_EQ(pixel(scaled, 95, 45), QColor(Qt::yellow));
    EXPECT_FALSE(scaleToSize(nullptr, size(1, 1)));
}

TEST(NSImageCategory, ScaleToSizeEnlargesToo) {
    const Image scaled = scaleToSize(quarters(20, 10), size(100, 100));
    EXPECT_EQ(realSize(scaled), size(100, 50));
    EXPECT_EQ(pixel(scaled, 2, 2), QColor(Qt::red));
    EXPECT_EQ(pixel(scaled, 97, 47), QColor(Qt::yellow));
}

// Scaling to a target size

TEST(NSImageCategory, ScalingToItsOwnSizeOrALargerOneGivesTheReceiverItself) {
    const Image image = plainImage(20, 10);
    EXPECT_EQ(imageByScalingToSize(image, size(20, 10), true), image);
    EXPECT_EQ(imageByScalingToSize(image, size(30, 10), false), image);
    EXPECT_EQ(imageByScalingToSize(image, size(20, 100), true, true), image);
    EXPECT_NE(imageByScalingToSize(image, size(30, 9), true), image);
    EXPECT_NE(imageByScalingToSize(image, size(19, 100), false), image);
    EXPECT_FALSE(imageByScalingToSize(nullptr, size(1, 1), true));
}

TEST(NSImageCategory, ScalingProportionallyCoversTheTargetAndCutsTheSidesOff) {
    // Drawn at 200 x 100 from (-50, 0) on: the outer quarters of the width are cut off.
    QImage bitmap(200, 100, QImage::Format_RGB32);
    for (int x = 0; x < 200; ++x)
        for (int y = 0; y < 100; ++y)
            bitmap.setPixel(x, y, qRgb(x, y < 50 ? 200 : 20, 0));
    const Image scaled = imageByScalingToSize(std::make_shared<NSImage>(bitmap), size(100, 100), true);
    EXPECT_EQ(scaled->size(), size(100, 100));
    EXPECT_EQ(CGImage(scaled).convertToFormat(QImage::Format_RGB32), bitmap.copy(50, 0, 100, 100));
}

TEST(NSImageCategory, ScalingProportionallyCoversTheTargetAndCutsTopAndBottomOff) {
    QImage bitmap(100, 300, QImage::Format_RGB32);
    for (int x = 0; x < 100; ++x)
        for (int y = 0; y < 300; ++y)
            bitmap.setPixel(x, y, qRgb(x, y / 2, y < 150 ? 255 : 0));
    const Image scaled = imageByScalingToSize(std::make_shared<NSImage>(bitmap), size(100, 200), true);
    EXPECT_EQ(CGImage(scaled).convertToFormat(QImage::Format_RGB32), bitmap.copy(0, 50, 100, 200));
}

TEST(NSImageCategory, ScalingProportionallyCentresWhatItShrinks) {
    // 400 x 200 into 100 x 100: half as large, and of the width the middle.
    const Image scaled = imageByScalingToSize(quarters(400, 200), size(100, 100), true);
    EXPECT_EQ(pixel(scaled, 10, 10), QColor(Qt::red));
    EXPECT_EQ(pixel(scaled, 40, 10), QColor(Qt::red));
    EXPECT_EQ(pixel(scaled, 60, 10), QColor(Qt::green));
    EXPECT_EQ(pixel(scaled, 40, 90), QColor(Qt::blue));
    EXPECT_EQ(pixel(scaled, 60, 90), QColor(Qt::yellow));
}

TEST(NSImageCategory, ScalingWithoutProportionsSqueezes) {
    const Image scaled = imageByScalingToSize(quarters(200, 100), size(100, 100), false);
    EXPECT_EQ(realSize(scaled), size(100, 100));
    EXPECT_EQ(pixel(scaled, 5, 5), QColor(Qt::red));
    EXPECT_EQ(pixel(scaled, 95, 5), QColor(Qt::green));
    EXPECT_EQ(pixel(scaled, 5, 95), QColor(Qt::blue));
    EXPECT_EQ(pixel(scaled, 95, 95), QColor(Qt::yellow));
}

TEST(NSImageCategory, TheFillArgumentMakesNoDifference) {
    for (const bool proportionally : {true, false})
        EXPECT_EQ(CGImage(imageByScalingToSize(quarters(200, 100), size(100, 100), proportionally, true)),
                  CGImage(imageByScalingToSize(quarters(200, 100), size(100, 100), proportionally)));
}

TEST(NSImageCategory, ScalingLeavesTheReceiversSize) {
    const Image image = quarters(200, 100);
    imageByScalingToSize(image, size(100, 100), true);
    EXPECT_EQ(image->size(), size(200, 100));
}

TEST(NSImageCategory, ScalingTakesTheFactorsInSinglePrecision) {
    // Cut off or not makes no visible difference; what counts is that the canvas is covered to its edges.
    const Image image = plainImage(1000, 667, Qt::red);
    const Image scaled = imageByScalingToSize(image, size(150, 100), true);
    for (const QPoint corner : {QPoint(0, 0), QPoint(149, 0), QPoint(0, 99), QPoint(149, 99)})
        EXPECT_EQ(pixel(scaled, corner.x(), corner.y()), QColor(Qt::red)) << corner.x() << ' ' << corner.y();
}

// Fit with high quality

TEST(NSImageCategory, FittingIntoABoxOfItsOwnSizeGivesANewImageOfTheSameSize) {
    const Image image = quarters(20, 10);
    const Image fitted = fitToSize(image, size(20, 10));
    EXPECT_NE(fitted, image);
    EXPECT_EQ(fitted->size(), size(20, 10));
    EXPECT_EQ(CGImage(fitted).convertToFormat(QImage::Format_RGB32), CGImage(image));
}

TEST(NSImageCategory, FittingGivesTheReceiverOnlyIfTheBoxIsLargerBothWays) {
    const Image image = plainImage(20, 10);
    EXPECT_EQ(fitToSize(image, size(20.1, 10.1)), image);
    EXPECT_EQ(image->cacheMode(), NSImageCacheMode::Default);
    EXPECT_NE(fitToSize(image, size(20, 100)), image);
    EXPECT_NE(fitToSize(image, size(100, 10)), image);
    EXPECT_FALSE(fitToSize(nullptr, size(1, 1)));
}

TEST(NSImageCategory, FittingSwitchesTheReceiversCacheOff) {
    const Image image = quarters(200, 100);
    const Image fitted = fitToSize(image, size(100, 100));
    EXPECT_EQ(image->cacheMode(), NSImageCacheMode::Never);
    EXPECT_EQ(image->size(), size(200, 100));
    EXPECT_EQ(fitted->cacheMode(), NSImageCacheMode::Default);
    EXPECT_EQ(realSize(fitted), size(100, 50));
    EXPECT_EQ(pixel(fitted, 5, 5), QColor(Qt::red));
    EXPECT_EQ(pixel(fitted, 95, 45), QColor(Qt::yellow));
}

TEST(NSImageCategory, AFractionalFittedSizeIsRoundedUpToPixelsAndFilledToTheEdge) {
    const Image fitted = fitToSize(plainImage(300, 200), size(100, 100));
    EXPECT_EQ(fitted->size(), size(100, 100 / 1.5));
    EXPECT_EQ(realSize(fitted), size(100, 67));
    EXPECT_EQ(pixel(fitted, 0, 0), QColor(Qt::red));
    EXPECT_EQ(pixel(fitted, 99, 66), QColor(Qt::red));
}

TEST(NSImageCategory, FittingIntoNothingGivesAnEmptyImage) {
    for (const QSizeF &box : {size(0, 0), size(-5, -5), size(10, 0)}) {
        const Image fitted = fitToSize(plainImage(20, 10), box);
        ASSERT_TRUE(fitted);
        EXPECT_TRUE(fitted->representations().isEmpty());
        EXPECT_TRUE(dataForPNG(fitted).isNull());
    }
}

// Flatten onto a colour

TEST(NSImageCategory, ImageOnColorShowsTheColourWhereTheImageIsTransparent) {
    QImage bitmap(4, 2, QImage::Format_ARGB32);
    bitmap.fill(Qt::transparent);
    bitmap.setPixelColor(0, 0, Qt::red);
    bitmap.setPixelColor(3, 1, QColor(255, 0, 0, 128));
    const auto image = std::make_shared<NSImage>(bitmap);
    const Image flat = imageOnColor(image, Qt::blue);
    EXPECT_NE(flat, image);
    EXPECT_EQ(flat->size(), size(4, 2));
    EXPECT_EQ(pixel(flat, 0, 0), QColor(Qt::red));
    EXPECT_EQ(pixel(flat, 1, 1), QColor(Qt::blue));
    EXPECT_EQ(pixel(flat, 3, 1), QColor(128, 0, 127));
}

TEST(NSImageCategory, ImageOnColorKeepsATransparentColoursAlpha) {
    QImage bitmap(2, 1, QImage::Format_ARGB32);
    bitmap.fill(Qt::transparent);
    bitmap.setPixelColor(0, 0, Qt::red);
    const Image flat = imageOnColor(std::make_shared<NSImage>(bitmap), QColor(200, 100, 50, 3));
    EXPECT_EQ(pixel(flat, 0, 0), QColor(Qt::red));
    EXPECT_EQ(pixel(flat, 1, 0), QColor(200, 100, 50, 3));
}

TEST(NSImageCategory, ImageOnColorOfAnEmptyImageIsNil) {
    EXPECT_FALSE(imageOnColor(std::make_shared<NSImage>(size(0, 10)), Qt::red));
    EXPECT_FALSE(imageOnColor(std::make_shared<NSImage>(size(10, 0)), Qt::red));
    EXPECT_FALSE(imageOnColor(std::make_shared<NSImage>(size(-1, 10)), Qt::red));
    EXPECT_FALSE(imageOnColor(nullptr, Qt::red));
}

TEST(NSImageCategory, ImageOnColorOfAnImageWithoutAPictureIsTheColour) {
    EXPECT_EQ(pixel(imageOnColor(std::make_shared<NSImage>(size(5, 5)), Qt::green), 2, 2), QColor(Qt::green));
    EXPECT_EQ(pixel(imageOnColor(std::make_shared<NSImage>(size(5, 5)), QColor()), 2, 2), QColor(Qt::black));
}

TEST(NSImageCategory, ImageOnColorHasTheImagesSizeNotItsPixels) {
    const Image image = plainImage(20, 10);
    image->setSize(size(10, 5));
    EXPECT_EQ(realSize(imageOnColor(image, Qt::white)), size(10, 5));
}

// By name

TEST(NSImageCategory, AnImageOfTheResourcesIsLoadedOnceAndKeepsItsName) {
    const ResourceFolder resources;
    resources.write(u"logo.png"_s, dataForPNG(plainImage(3, 2)));
    const Image image = imageNamedAtBundlePath(u"logo.png"_s);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), size(3, 2));
    EXPECT_EQ(image->name(), u"logo.png"_s);
    resources.remove(u"logo.png"_s);
    EXPECT_EQ(imageNamedAtBundlePath(u"logo.png"_s), image);
    EXPECT_EQ(NSImage::imageNamed(u"logo.png"_s), image);
    image->setName({});
    EXPECT_FALSE(imageNamedAtBundlePath(u"logo.png"_s));
}

TEST(NSImageCategory, TheResourcesAreThoseCompiledIntoTheProgramAtFirst) {
    const Image image = imageNamedAtBundlePath(u"red.png"_s);
    ASSERT_TRUE(image);
    EXPECT_EQ(imageNamedAtBundlePath(u"red.png"_s), image);
    image->setName({});
}

TEST(NSImageCategory, TheRegistryComesBeforeTheFile) {
    const ResourceFolder resources;
    resources.write(u"sign.png"_s, dataForPNG(plainImage(3, 2)));
    const Image named = plainImage(7, 7);
    ASSERT_TRUE(named->setName(u"sign.png"_s));
    EXPECT_EQ(imageNamedAtBundlePath(u"sign.png"_s), named);
    named->setName({});
}

TEST(NSImageCategory, AMissingOrUnreadableResourceIsNil) {
    const ResourceFolder resources;
    resources.write(u"broken.png"_s, "no picture");
    EXPECT_FALSE(imageNamedAtBundlePath(u"broken.png"_s));
    EXPECT_FALSE(imageNamedAtBundlePath(u"missing.png"_s));
    EXPECT_FALSE(imageNamedAtBundlePath({}));
    EXPECT_FALSE(imageNamedAtBundlePath(u""_s));
    EXPECT_FALSE(NSImage::imageNamed(u"broken.png"_s));
}

TEST(NSImageCategory, ThreadsThatAskForAResourceAtOnceGetTheSameImage) {
    const ResourceFolder resources;
    resources.write(u"shared.png"_s, dataForPNG(plainImage(3, 2)));
    std::vector<Image> images(8);
    std::vector<std::thread> threads;
    for (Image &image : images)
        threads.emplace_back([&] { image = imageNamedAtBundlePath(u"shared.png"_s); });
    for (std::thread &thread : threads)
        thread.join();
    ASSERT_TRUE(images.front());
    EXPECT_EQ(std::count(images.begin(), images.end(), images.front()), 8);
    images.front()->setName({});
}

TEST(NSImageCategory, SizesMayBeAskedForWhileAnotherThreadChangesThem) {
    const Image image = quarters(200, 100);
    std::thread other([&] {
        for (int i = 0; i < 1000; ++i) {
            bringToSize(image, size(100, 100));
            setDPI(image, i % 2 ? 72 : 144);
        }
    });
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(sizeThatFits(image, size(50, 50)), size(50, 25));
        const double dpi = DPI(image);
        EXPECT_TRUE(dpi == 72 || dpi == 144) << dpi;
        EXPECT_EQ(realSize(image), size(200, 100));
    }
    other.join();
}

TEST(NSImageCategory, FlagsAreTrueOrFalseAndNothingElse) {
    const auto takes = [](auto... flags) {
        return requires(Image image) {
            imageByScalingToSize(image, QSizeF(), flags...);
        };
    };
    EXPECT_TRUE(takes(true));
    EXPECT_TRUE(takes(true, false));
    EXPECT_FALSE(takes(1));
    EXPECT_FALSE(takes(true, 1));
    EXPECT_FALSE(takes(nullptr));
}
