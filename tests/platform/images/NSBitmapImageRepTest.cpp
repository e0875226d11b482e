// SPDX-License-Identifier: MIT
#include "platform/images/NSBitmapImageRep.h"

#include "platform/images/NSImage.h"
#include "tests/platform/images/Pictures.h"

#include <QColorSpace>
#include <QImageReader>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

constexpr auto JPEG = NSBitmapImageFileType::JPEG;
constexpr auto PNG = NSBitmapImageFileType::PNG;

} // namespace

TEST(NSBitmapImageRep, HasAPointAPixel) {
    const NSBitmapImageRep bitmap(quarters(30, 20));
    EXPECT_EQ(bitmap.size(), QSizeF(30, 20));
    EXPECT_EQ(bitmap.pixelsWide(), 30);
    EXPECT_EQ(bitmap.pixelsHigh(), 20);
}

TEST(NSBitmapImageRep, HasAsManyPixelsAPointAsTheBitmapSays) {
    QImage dense = quarters(30, 20);
    dense.setDevicePixelRatio(2);
    EXPECT_EQ(NSBitmapImageRep(dense).size(), QSizeF(15, 10));
    EXPECT_EQ(NSBitmapImageRep(dense).pixelsWide(), 30);
}

TEST(NSBitmapImageRep, GivesItsOwnPixelsWhateverIsAskedFor) {
    const NSBitmapImageRep bitmap(quarters(30, 20));
    EXPECT_EQ(bitmap.bitmap({3, 2}), quarters(30, 20));
}

TEST(NSBitmapImageRep, PNGKeepsEveryPixelAndItsTransparency) {
    QImage picture = photograph({40, 30}).convertToFormat(QImage::Format_ARGB32);
    picture.setPixelColor(3, 3, QColor(200, 100, 50, 3));
    picture.setPixelColor(4, 4, Qt::transparent);
    const QImage again = QImage::fromData(NSBitmapImageRep(picture).representationUsingType(PNG));
    EXPECT_EQ(again.convertToFormat(QImage::Format_ARGB32), picture);
}

TEST(NSBitmapImageRep, PNGKeepsSixteenBitsAChannel) {
    QImage picture(4, 4, QImage::Format_RGBA64);
    picture.fill(QColor::fromRgba64(0x1234, 0x5678, 0x9ABC, 0xDEF0));
    const QImage again = QImage::fromData(NSBitmapImageRep(picture).representationUsingType(PNG));
    EXPECT_EQ(again.pixelColor(2, 2).rgba64(), QRgba64::fromRgba64(0x1234, 0x5678, 0x9ABC, 0xDEF0));
}

TEST(NSBitmapImageRep, PNGTakesPalettesAndGreys) {
    QImage palette(8, 8, QImage::Format_Indexed8);
    palette.setColorTable({0xFFFF0000, 0x80FFFF00});
    palette.fill(1);
    EXPECT_EQ(QImage::fromData(NSBitmapImageRep(palette).representationUsingType(PNG)).pixelColor(3, 3),
              QColor(255, 255, 0, 128));
    QImage grey(8, 8, QImage::Format_Grayscale8);
    grey.fill(77);
    EXPECT_EQ(QImage::fromData(NSBitmapImageRep(grey).representationUsingType(PNG)).pixelColor(3, 3),
              QColor(77, 77, 77));
}

TEST(NSBitmapImageRep, JPEGShowsWhiteWhereThePictureIsTransparent) {
    QImage picture(16, 16, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    const NSBitmapImageRep bitmap(picture);
    EXPECT_EQ(QImage::fromData(bitmap.representationUsingType(JPEG)).pixelColor(8, 8), QColor(Qt::white));
    const QColor behind = QImage::fromData(bitmap.representationUsingType(
                                               JPEG, {{NSImageFallbackBackgroundColor, QColor(Qt::blue)},
                                                      {NSImageCompressionFactor, 1}}))
                              .pixelColor(8, 8);
    EXPECT_GT(behind.blue(), 250);
    EXPECT_LT(behind.red(), 5);
}

TEST(NSBitmapImageRep, TheCompressionFactorIsANumberFromNoneToAll) {
    const NSBitmapImageRep bitmap(photograph({100, 80}));
    const auto size = [&](const QVariant &factor) {
        return bitmap.representationUsingType(JPEG, {{NSImageCompressionFactor, factor}}).size();
    };
    EXPECT_LT(size(0.0F), size(0.5F));
    EXPECT_LT(size(0.5F), size(1.0F));
    EXPECT_EQ(size(0.5F), size(0.5));
    EXPECT_EQ(size(-1), size(0));
    EXPECT_EQ(size(2), size(1));
    const qsizetype usual = bitmap.representationUsingType(JPEG).size();
    EXPECT_EQ(usual, size(0.75));
    EXPECT_EQ(size(QVariant()), usual);
    EXPECT_EQ(size(u"low"_s), usual);
    EXPECT_EQ(size(std::nan("")), usual);
}

TEST(NSBitmapImageRep, FilesSayTheResolutionThatFollowsFromThePointSize) {
    const NSBitmapImageRep bitmap(quarters(300, 150), QSizeF(72, 36));
    for (const auto type : {JPEG, PNG}) {
        const QImage written = QImage::fromData(bitmap.representationUsingType(type));
        EXPECT_EQ(written.dotsPerMeterX(), 11811);
        EXPECT_EQ(written.dotsPerMeterY(), 11811);
        EXPECT_EQ(NSImage::imageWithData(bitmap.representationUsingType(type))->size(), QSizeF(72, 36));
    }
}

TEST(NSBitmapImageRep, FilesCarryNoOtherRemarksOfTheBitmap) {
    QImage picture = quarters(20, 20);
    picture.setText(u"Comment"_s, u"secret"_s);
    picture.setColorSpace(QColorSpace::SRgb);
    for (const auto type : {JPEG, PNG}) {
        const QByteArray data = NSBitmapImageRep(picture).representationUsingType(type);
        EXPECT_FALSE(data.contains("secret"));
        EXPECT_FALSE(QImage::fromData(data).colorSpace().isValid());
    }
}

TEST(NSBitmapImageRep, AnEmptyBitmapGivesNoData) {
    EXPECT_TRUE(NSBitmapImageRep(QImage()).representationUsingType(PNG).isNull());
    EXPECT_TRUE(NSBitmapImageRep(QImage()).representationUsingType(JPEG).isNull());
}

TEST(NSBitmapImageRep, WhatJPEGCannotHoldGivesNoData) {
    QImage line(70000, 1, QImage::Format_Grayscale8);
    line.fill(0);
    EXPECT_TRUE(NSBitmapImageRep(line).representationUsingType(JPEG).isNull());
    EXPECT_FALSE(NSBitmapImageRep(line).representationUsingType(PNG).isNull());
}

TEST(NSBitmapImageRep, AnotherFileTypeGivesNoData) {
    EXPECT_TRUE(NSBitmapImageRep(quarters(4, 4)).representationUsingType(NSBitmapImageFileType(77)).isNull());
}
