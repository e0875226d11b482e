// SPDX-License-Identifier: MIT
// What images do in a graphical application, which the other tests haven't.
#include "platform/images/NSImage.h"
#include "tests/platform/images/Pictures.h"
#include "tests/support/OffscreenPlatform.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPixmap>
#include <gtest/gtest.h>
#include <thread>

using namespace Qt::StringLiterals;

TEST(GraphicalImages, SVGDocumentsMayHaveText) {
    const QByteArray document = "<svg xmlns='http://www.w3.org/2000/svg' width='200' height='100'>"
                                "<text x='10' y='80' font-size='80' fill='black'>M</text></svg>";
    const auto check = [&] {
        const auto image = NSImage::imageWithData(document);
        ASSERT_TRUE(image);
        int dark = 0;
        for (int x = 0; x < 200; ++x)
            dark += pixelOf(*image, x, 60).alpha() > 128;
        EXPECT_GT(dark, 5);
        EXPECT_LT(dark, 150);
    };
    check();
    std::thread(check).join();
}

TEST(GraphicalImages, TheScreensResolutionIsNotTheFiles) {
    const QByteArray png = encoded(quarters(80, 40), "png");
    for (const QString &format : {u"png"_s, u"jpeg"_s, u"tiff"_s, u"bmp"_s, u"gif"_s, u"webp"_s})
        EXPECT_EQ(NSImage::imageWithData(
                      converted(png, {u"-units"_s, u"PixelsPerInch"_s, u"-density"_s, u"72"_s}, format))
                      ->size(),
                  QSizeF(80, 40))
            << format.toStdString();
    for (const QString &format : {u"png"_s, u"jpeg"_s, u"tiff"_s, u"bmp"_s})
        EXPECT_EQ(NSImage::imageWithData(
                      converted(png, {u"-units"_s, u"PixelsPerInch"_s, u"-density"_s, u"96"_s}, format))
                      ->size(),
                  QSizeF(60, 30))
            << format.toStdString();
}

TEST(GraphicalImages, AreDrawnOnWhatAScreenShows) {
    QPixmap pixmap(100, 60);
    pixmap.setDevicePixelRatio(2);
    pixmap.fill(Qt::white);
    {
        QPainter painter(&pixmap);
        NSGraphicsContext context(painter, QSizeF(50, 30));
        NSGraphicsContext *const former = NSGraphicsContext::setCurrentContext(&context);
        NSImage(quarters(40, 20)).drawInRect(QRectF(0, 0, 20, 10));
        NSGraphicsContext::setCurrentContext(former);
    }
    const QImage shown = pixmap.toImage();
    EXPECT_EQ(shown.copy(0, 40, 40, 20).convertToFormat(QImage::Format_RGB32), [] {
        QImage expected = quarters(40, 20);
        expected.setDevicePixelRatio(2);
        return expected;
    }());
    EXPECT_EQ(shown.pixelColor(41, 50), QColor(Qt::white));
}

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const OffscreenPlatform platform;
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
