// SPDX-License-Identifier: MIT
#include "ZRKit/Images/NSImage+ZRKit.h"

#include "examples/kit/Example.h"
#include "platform/files/NSBundle.h"

#include <QFile>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace ZRKit;

namespace {

/// Orange, with a transparent left half.
QImage halfOrange(int width, int height) {
    QImage picture(width, height, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    for (int y = 0; y < height; ++y)
        for (int x = width / 2; x < width; ++x)
            picture.setPixelColor(x, y, QColor(255, 165, 0));
    return picture;
}

} // namespace

EXAMPLE(NSImage_ZRKit) {
    // Sizes and representations
    const auto image = std::make_shared<NSImage>(halfOrange(200, 100));
    expect(image->size() == QSizeF(200, 100)); // points
    image->addRepresentation(std::make_shared<NSBitmapImageRep>(halfOrange(400, 200)));
    expect(realSize(image) == QSizeF(400, 200)); // pixels

    // Resolution
    const auto scan = std::make_shared<NSImage>();
    scan->addRepresentation(std::make_shared<NSBitmapImageRep>(halfOrange(300, 150), QSizeF(72, 36)));
    expect(DPI(scan) == 300);
    expect(sizeForDPI(scan, 600) == QSizeF(144, 72));
    setDPI(scan, 150);
    expect(DPI(scan->representations().first()) == 150);
    expect(scan->representations().first()->size() == QSizeF(144, 72) && scan->size() == QSizeF(72, 36));

    // Fitting and scaling
    expect(sizeThatFits(image, QSizeF(100, 100)) == QSizeF(100, 50));
    const Image fitted = fitToSize(image, QSizeF(100, 100));
    expect(fitted->size() == QSizeF(100, 50) && image->size() == QSizeF(200, 100));
    expect(fitToSize(image, QSizeF(500, 500)) == image);
    const Image cover = imageByScalingToSize(image, QSizeF(100, 100), true);
    expect(cover->size() == QSizeF(100, 100) && CGImage(cover).pixelColor(60, 50) == QColor(255, 165, 0));
    expect(imageByScalingToSize(image, QSizeF(200, 100), true) == image);
    const Image scaled = scaleToSize(image, QSizeF(50, 50));
    expect(scaled->size() == QSizeF(50, 25) && image->size() == QSizeF(50, 25));
    bringToSize(image, QSizeF(400, 400));
    expect(image->size() == QSizeF(400, 200));

    // Drawing
    const auto badge = std::make_shared<NSImage>(QSizeF(60, 40));
    {
        const NSImageFocus focus = badge->lockFocus();
        NSGraphicsContext::currentContext()->setFillColor(Qt::darkBlue);
        NSRectFill(QRectF(0, 0, 60, 10)); // at the bottom
        image->drawInRect(QRectF(0, 10, 60, 30));
    }
    expect(CGImage(badge).pixelColor(5, 35) == QColor(Qt::darkBlue));
    expect(CGImage(imageOnColor(badge, Qt::white)).pixelColor(5, 5) == QColor(Qt::white));

    // Files
    const QByteArray png = dataForPNG(badge);
    const QByteArray jpeg = dataForJPGWithCompressionQuality(badge, 0.8);
    expect(NSImage::imageWithData(png)->size() == QSizeF(60, 40));
    expect(NSImage::imageWithData(jpeg, QSize(15, 10))->representations().first()->pixelsWide() == 15);
    const QTemporaryDir resources;
    QFile file(resources.filePath(u"badge.png"_s));
    expect(file.open(QIODevice::WriteOnly) && file.write(png) == png.size());
    file.close();
    NSBundle::mainBundle().setResourcePath(resources.path());
    const Image named = imageNamedAtBundlePath(u"badge.png"_s);
    expect(named && named == NSImage::imageNamed(u"badge.png"_s));
    expect(!imageNamedAtBundlePath(u"missing.png"_s));
}
