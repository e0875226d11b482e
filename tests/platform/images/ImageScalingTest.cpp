// SPDX-License-Identifier: MIT
#include "platform/images/ImageScaling.h"

#include "tests/platform/images/Pictures.h"

#include <QColorSpace>
#include <gtest/gtest.h>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

QImage scaled(const QImage &picture, const QSize &size) {
    return scaledRegion(picture, picture.rect(), QRectF(picture.rect()), size);
}

/// What ImageMagick's Lanczos filter makes of it.
QImage byImageMagick(const QImage &picture, const QSize &size) {
    return QImage::fromData(converted(
        encoded(picture, "png", 90),
        {u"-filter"_s, u"Lanczos"_s, u"-resize"_s, u"%1x%2!"_s.arg(size.width()).arg(size.height())},
        u"png"_s));
}

} // namespace

class ImageScalingQuality : public testing::TestWithParam<double> {};

TEST_P(ImageScalingQuality, APhotographIsLikeImageMagicksLanczos) {
    const QImage picture = photograph({1200, 900});
    const QSize size = (QSizeF(picture.size()) * GetParam()).toSize();
    EXPECT_GE(similarity(scaled(picture, size), byImageMagick(picture, size)), 0.97);
}

TEST_P(ImageScalingQuality, LineArtIsLikeImageMagicksLanczos) {
    const QImage picture = lineArt({1200, 900});
    const QSize size = (QSizeF(picture.size()) * GetParam()).toSize();
    EXPECT_GE(similarity(scaled(picture, size), byImageMagick(picture, size)), 0.97);
}

INSTANTIATE_TEST_SUITE_P(Factors, ImageScalingQuality, testing::Values(0.125, 0.25, 0.45, 0.7, 0.95, 1.5));

TEST(ImageScalingQuality, TheMeasureTellsABlurredPictureApart) {
    const QImage picture = lineArt({600, 400});
    EXPECT_DOUBLE_EQ(similarity(picture, picture), 1);
    EXPECT_LT(
        similarity(picture.scaled(150, 100, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).scaled(600, 400),
                   picture),
        0.9);
    EXPECT_LT(similarity(picture.mirrored(true, false), picture), 0.6);
}

TEST(ImageScaling, PixelsThatNeedNoScalingStayAsTheyAre) {
    const QImage picture = photograph({60, 40});
    EXPECT_EQ(scaled(picture, picture.size()).convertToFormat(QImage::Format_RGB32), picture);
    EXPECT_EQ(scaledRegion(picture, picture.rect(), QRectF(10, 5, 20, 10), QSize(20, 10))
                  .convertToFormat(QImage::Format_RGB32),
              picture.copy(10, 5, 20, 10));
}

TEST(ImageScaling, APlainColourStaysTheSame) {
    for (const QSize &size : {QSize(3, 3), QSize(7, 50), QSize(100, 1), QSize(333, 217)}) {
        QImage picture(100, 75, QImage::Format_ARGB32);
        picture.fill(QColor(200, 100, 50, 77));
        QImage expected(size, QImage::Format_ARGB32);
        expected.fill(QColor(200, 100, 50, 77));
        EXPECT_LE(largestDifference(scaled(picture, size).convertToFormat(QImage::Format_ARGB32), expected),
                  1);
    }
}

TEST(ImageScaling, ColoursThatAreHardlyOpaqueKeepTheirShade) {
    QImage picture(100, 75, QImage::Format_ARGB32);
    picture.fill(QColor(200, 100, 50, 3));
    const QColor color = scaled(picture, {20, 15}).convertToFormat(QImage::Format_ARGB32).pixelColor(10, 7);
    EXPECT_EQ(color, QColor(200, 100, 50, 3));
}

TEST(ImageScaling, TransparentEdgesGetNoDarkFringe) {
    // A white disc on transparent black: nothing in the result may be darker than white.
    QImage picture(400, 400, QImage::Format_ARGB32);
    for (int y = 0; y < 400; ++y)
        for (int x = 0; x < 400; ++x)
            picture.setPixel(x, y, std::hypot(x - 200, y - 200) < 150 ? 0xFFFFFFFF : 0x00000000);
    for (const QSize &size : {QSize(63, 63), QSize(150, 150), QSize(700, 700)}) {
        const QImage result = scaled(picture, size).convertToFormat(QImage::Format_ARGB32);
        int partly = 0;
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < size.width(); ++x) {
                const QRgb pixel = result.pixel(x, y);
                partly += qAlpha(pixel) > 0 && qAlpha(pixel) < 255;
                if (qAlpha(pixel) > 0) {
                    ASSERT_GE(std::min({qRed(pixel), qGreen(pixel), qBlue(pixel)}), 253) << x << ' ' << y;
                }
            }
        EXPECT_GT(partly, 30);
    }
}

TEST(ImageScaling, NoColourIsStrongerThanItsOpacity) {
    QImage picture(90, 90, QImage::Format_ARGB32);
    for (int y = 0; y < 90; ++y)
        for (int x = 0; x < 90; ++x)
            picture.setPixel(x, y, (x / 9 + y / 9) % 2 ? 0xFFFF0000 : 0x000000FF);
    const QImage result = scaled(picture, {41, 41});
    for (int y = 0; y < 41; ++y) {
        const auto *const row = reinterpret_cast<const quint16 *>(result.constScanLine(y));
        for (int x = 0; x < 41; ++x)
            ASSERT_LE(std::max({row[4 * x], row[4 * x + 1], row[4 * x + 2]}), row[4 * x + 3]);
    }
}

TEST(ImageScaling, AFractionalRegionIsTakenWhereItLies) {
    // A ramp: the value at each place is the place itself.
    QImage picture(256, 8, QImage::Format_Grayscale8);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 256; ++x)
            picture.scanLine(y)[x] = uchar(x);
    const QImage part = scaledRegion(picture, picture.rect(), QRectF(100.5, 2.25, 20, 2), QSize(40, 4));
    for (int x = 0; x < 40; ++x)
        EXPECT_NEAR(part.pixelColor(x, 1).red(), 100.5 + (x + 0.5) / 2 - 0.5, 1.01) << x;
}

TEST(ImageScaling, NothingOfThePixelsOutsideGetsIn) {
    const QImage picture = quarters(20, 20);
    const QImage part = scaledRegion(picture, QRect(10, 0, 10, 10), QRectF(10, 0, 10, 10), QSize(37, 37));
    QImage expected(37, 37, QImage::Format_RGB32);
    expected.fill(Qt::green);
    EXPECT_EQ(part.convertToFormat(QImage::Format_RGB32), expected);
}

TEST(ImageScaling, EveryKindOfBitmapIsTaken) {
    const QImage picture = quarters(64, 48);
    for (const QImage::Format format :
         {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied,
          QImage::Format_RGB888, QImage::Format_BGR888, QImage::Format_RGBX64, QImage::Format_RGBA64,
          QImage::Format_RGBA64_Premultiplied, QImage::Format_Indexed8, QImage::Format_RGB16,
          QImage::Format_RGB30}) {
        const QImage result = scaled(picture.convertToFormat(format), {32, 24});
        EXPECT_LT(largestDifference(result.convertToFormat(QImage::Format_RGB32), quarters(32, 24)), 64)
            << format;
        EXPECT_EQ(result.pixelColor(2, 2), QColor(Qt::red)) << format;
        EXPECT_EQ(result.pixelColor(29, 21), QColor(Qt::yellow)) << format;
    }
    for (const QImage::Format format : {QImage::Format_Grayscale8, QImage::Format_Grayscale16,
                                        QImage::Format_Mono, QImage::Format_MonoLSB}) {
        QImage halves(64, 48, QImage::Format_Grayscale8);
        for (int y = 0; y < 48; ++y)
            for (int x = 0; x < 64; ++x)
                halves.scanLine(y)[x] = x < 32 ? 255 : 0;
        const QImage result = scaled(halves.convertToFormat(format), {32, 24});
        EXPECT_EQ(result.pixelColor(2, 12).red(), 255) << format;
        EXPECT_EQ(result.pixelColor(29, 12).red(), 0) << format;
    }
}

TEST(ImageScaling, SixteenBitsAChannelAreKept) {
    QImage picture(64, 48, QImage::Format_Grayscale16);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x)
            reinterpret_cast<quint16 *>(picture.scanLine(y))[x] = 0x1234;
    const QImage result = scaled(picture, {20, 10});
    EXPECT_EQ(reinterpret_cast<const quint16 *>(result.constScanLine(5))[20], 0x1234);
}

TEST(ImageScaling, TheSmallestAndTheLongestPicturesWork) {
    QImage dot(1, 1, QImage::Format_RGB32);
    dot.fill(Qt::red);
    EXPECT_EQ(scaled(dot, {50, 70}).pixelColor(49, 69), QColor(Qt::red));
    QImage line(30000, 2, QImage::Format_RGB32);
    line.fill(Qt::red);
    EXPECT_EQ(scaled(line, {1, 1}).pixelColor(0, 0), QColor(Qt::red));
    EXPECT_EQ(scaledRegion(line, line.rect(), QRectF(29999.5, 1.5, 0.25, 0.25), {10, 10}).pixelColor(5, 5),
              QColor(Qt::red));
}

TEST(ImageScaling, NothingComesOfNothing) {
    const QImage picture = quarters(4, 4);
    EXPECT_TRUE(scaled(picture, {}).isNull());
    EXPECT_TRUE(scaled(picture, {0, 5}).isNull());
    EXPECT_TRUE(scaled(QImage(), {5, 5}).isNull());
    EXPECT_TRUE(scaledRegion(picture, picture.rect(), {}, {5, 5}).isNull());
    EXPECT_TRUE(scaledRegion(picture, picture.rect(), QRectF(10, 10, 5, 5), {5, 5}).isNull());
}

TEST(ImageScaling, SizesInPixelsAreRoundedUpAndBounded) {
    EXPECT_EQ(pixelSize(QSizeF(66.7, 1)), QSize(67, 1));
    EXPECT_EQ(pixelSize(QSizeF(66.002, 1.00001)), QSize(67, 1));
    EXPECT_TRUE(pixelSize(QSizeF(0, 5)).isEmpty());
    EXPECT_TRUE(pixelSize(QSizeF(-1, 5)).isEmpty());
    EXPECT_TRUE(pixelSize(QSizeF(std::nan(""), 5)).isEmpty());
    EXPECT_TRUE(pixelSize(QSizeF(1e300, 5)).isEmpty());
}
