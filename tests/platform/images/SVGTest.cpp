// SPDX-License-Identifier: MIT
#include "platform/images/SVGCheck.h"

#include "platform/images/NSImage.h"
#include "tests/platform/images/Pictures.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

QByteArray document(const QByteArray &content) {
    return "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' width='40' "
           "height='20'>" +
           content + "</svg>";
}

} // namespace

TEST(SVG, IsDrawnAnewAtEachSize) {
    const auto image = NSImage::imageWithData(document("<rect width='20' height='20' fill='#f00'/>"));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSizeF(40, 20));
    EXPECT_EQ(image->representations().first()->pixelsWide(), 40);
    EXPECT_EQ(bitmapOf(*image).size(), QSize(40, 20));
    EXPECT_EQ(pixelOf(*image, 19, 10), QColor(Qt::red));
    EXPECT_EQ(pixelOf(*image, 20, 10).alpha(), 0);
    // Its edge is as sharp at ten times the size.
    const auto large = std::make_shared<NSImage>(QSizeF(400, 200));
    {
        const NSImageFocus focus = large->lockFocus();
        image->drawInRect(QRectF(0, 0, 400, 200));
    }
    EXPECT_EQ(pixelOf(*large, 199, 100), QColor(Qt::red));
    EXPECT_EQ(pixelOf(*large, 200, 100).alpha(), 0);
}

TEST(SVG, IsDrawnWhateverTheSize) {
    const auto image = NSImage::imageWithData(document("<rect width='40' height='20' fill='#f00'/>"));
    ASSERT_TRUE(image);
    EXPECT_LE(image->CGImageForProposedRect(QRectF(0, 0, 1e6, 1e6)).width(), 4096);
    const auto target = std::make_shared<NSImage>(QSizeF(6000, 10));
    {
        const NSImageFocus focus = target->lockFocus();
        image->drawInRect(QRectF(0, 0, 6000, 10));
    }
    EXPECT_EQ(pixelOf(*target, 5999, 9), QColor(Qt::red));
}

TEST(SVG, ADocumentThatAsksForAHugeSizeIsSmallUntilItIsDrawn) {
    const auto image =
        NSImage::imageWithData("<svg xmlns='http://www.w3.org/2000/svg' width='900000' height='900000'/>");
    EXPECT_TRUE(!image || bitmapOf(*image).width() <= 4096);
}

TEST(SVG, OtherXMLIsNoPicture) {
    EXPECT_FALSE(NSImage::imageWithData("<html><body/></html>"));
    EXPECT_FALSE(NSImage::imageWithData("<svg"));
    EXPECT_FALSE(NSImage::imageWithData("<"));
    EXPECT_FALSE(NSImage::imageWithData("<svg></svg><svg></svg>"));
}

TEST(SVG, FilesThatADocumentNamesAreNotOpened) {
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"secret.png"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(encoded(quarters(10, 10), "png"));
    file.close();
    const QByteArray path = file.fileName().toUtf8();
    for (const QByteArray &name :
         {path, "file://" + path, "data/../" + path, QByteArray("http://localhost/x.png")}) {
        EXPECT_FALSE(isHarmlessSVG(document("<image width='9' height='9' xlink:href='" + name + "'/>")))
            << name.constData();
        EXPECT_FALSE(isHarmlessSVG(document("<image width='9' height='9' href='" + name + "'/>")))
            << name.constData();
    }
    EXPECT_FALSE(NSImage::imageWithData(document("<image width='9' height='9' xlink:href='" + path + "'/>")));
    EXPECT_FALSE(isHarmlessSVG("<?xml-stylesheet type='text/css' href='/dev/zero'?>" + document("")));
}

TEST(SVG, PicturesWithinAreTakenIfTheyAreSmall) {
    const QByteArray small = encoded(quarters(10, 10), "png").toBase64();
    EXPECT_TRUE(isHarmlessSVG(
        document("<image width='9' height='9' xlink:href='data:image/png;base64," + small + "'/>")));
    EXPECT_FALSE(isHarmlessSVG(document("<image xlink:href='data:image/png;base64,AAAA'/>")));
    EXPECT_FALSE(isHarmlessSVG(document("<image xlink:href='data:image/png,x'/>")));
    QImage wide(30000, 2000, QImage::Format_Mono);
    wide.fill(0);
    const QByteArray large = encoded(wide, "png").toBase64();
    EXPECT_LT(large.size(), 100000);
    EXPECT_FALSE(isHarmlessSVG(document("<image xlink:href='data:image/png;base64," + large + "'/>")));
}

TEST(SVG, ElementsThatMultiplyAreCounted) {
    const auto levels = [](int count, int copies) {
        QByteArray content = "<defs><g id='g0'><rect width='1' height='1'/></g>";
        for (int level = 1; level <= count; ++level) {
            content += "<g id='g" + QByteArray::number(level) + "'>";
            for (int i = 0; i < copies; ++i)
                content += "<use xlink:href='#g" + QByteArray::number(level - 1) + "'/>";
            content += "</g>";
        }
        return document(content + "</defs><use xlink:href='#g" + QByteArray::number(count) + "'/>");
    };
    EXPECT_TRUE(isHarmlessSVG(levels(3, 10)));
    EXPECT_FALSE(isHarmlessSVG(levels(9, 10)));
    EXPECT_FALSE(isHarmlessSVG(levels(40, 2)));
    EXPECT_FALSE(isHarmlessSVG(levels(5000, 1)));
}

TEST(SVG, ElementsThatContainThemselvesAreRefused) {
    EXPECT_FALSE(isHarmlessSVG(document("<g id='a'><use xlink:href='#a'/></g>")));
    EXPECT_FALSE(
        isHarmlessSVG(document("<g id='a'><use xlink:href='#b'/></g><g id='b'><use xlink:href='#a'/></g>")));
    EXPECT_TRUE(isHarmlessSVG(document("<g id='a'/><use xlink:href='#a'/><use xlink:href='#missing'/>")));
}

TEST(SVG, ElementsAreNotNestedTooDeeply) {
    const auto nested = [](int depth) {
        return document(QByteArray("<g>").repeated(depth) + QByteArray("</g>").repeated(depth));
    };
    EXPECT_TRUE(isHarmlessSVG(nested(150)));
    EXPECT_FALSE(isHarmlessSVG(nested(100000)));
}

TEST(SVG, TextNeedsAGraphicalApplication) {
    // There is none here: Qt would end the process.
    EXPECT_FALSE(isHarmlessSVG(document("<text x='1' y='9'>a</text>")));
    EXPECT_FALSE(NSImage::imageWithData(document("<g><text>a<tspan>b</tspan></text></g>")));
}

TEST(SVG, EntitiesDontMultiply) {
    QByteArray type = "<!DOCTYPE svg [<!ENTITY a0 'xxxxxxxxxx'>";
    for (int level = 1; level < 12; ++level) {
        const QByteArray below = "&a" + QByteArray::number(level - 1) + ";";
        type += "<!ENTITY a" + QByteArray::number(level) + " '" + below.repeated(10) + "'>";
    }
    EXPECT_FALSE(isHarmlessSVG(type + "]>" + document("<desc>&a11;</desc>")));
}
