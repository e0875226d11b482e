// SPDX-License-Identifier: MIT
#include "platform/images/NSImage.h"

#include "platform/images/NSBitmapImageRep.h"
#include "tests/platform/images/Pictures.h"

#include <QFile>
#include <QPainter>
#include <QTemporaryDir>
#include <QVariant>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

/// A picture that says at which size it was asked for.
class Scalable : public NSImageRep {
public:
    Scalable() : NSImageRep(QSizeF(10, 10), 10, 10) {}
    QImage bitmap(const QSize &pixels) const override {
        asked = pixels;
        QImage picture(pixels, QImage::Format_RGB32);
        picture.fill(Qt::red);
        return picture;
    }
    mutable QSize asked;
};

std::shared_ptr<NSImage> canvas(double width, double height) {
    return std::make_shared<NSImage>(QSizeF(width, height));
}

std::shared_ptr<NSImageRep> bitmapRep(const QImage &picture) {
    return std::make_shared<NSBitmapImageRep>(picture);
}

QImage plain(int width, int height, const QColor &color) {
    QImage picture(width, height, QImage::Format_ARGB32);
    picture.fill(color);
    return picture;
}

constexpr auto sourceOver = NSCompositingOperation::SourceOver;

} // namespace

// Size and representations

TEST(NSImage, HasTheSizeItIsMadeWith) {
    EXPECT_EQ(NSImage(QSizeF(3, 4)).size(), QSizeF(3, 4));
    EXPECT_EQ(NSImage(quarters(30, 20)).size(), QSizeF(30, 20));
    EXPECT_EQ(NSImage(quarters(30, 20), QSizeF(3, 2)).size(), QSizeF(3, 2));
    EXPECT_EQ(NSImage().size(), QSizeF(0, 0));
}

TEST(NSImage, TakesTheSizeOfItsFirstRepresentationAndKeepsIt) {
    NSImage image;
    const auto first = bitmapRep(quarters(30, 20));
    image.addRepresentation(first);
    image.addRepresentation(bitmapRep(quarters(60, 40)));
    EXPECT_EQ(image.size(), QSizeF(30, 20));
    first->setSize(QSizeF(1, 1));
    EXPECT_EQ(image.size(), QSizeF(30, 20));
    image.setSize(QSizeF(5, 5));
    EXPECT_EQ(image.representations().last()->size(), QSizeF(60, 40));
}

TEST(NSImage, RepresentationsAreAddedInOrderAndRemoved) {
    NSImage image;
    const auto first = bitmapRep(quarters(2, 2)), second = bitmapRep(quarters(4, 4));
    image.addRepresentation(first);
    image.addRepresentation(nullptr);
    image.addRepresentation(second);
    EXPECT_EQ(image.representations(), (QList{first, second}));
    image.removeRepresentation(first);
    EXPECT_EQ(image.representations(), QList{second});
}

TEST(NSImage, ANullBitmapIsNoRepresentation) {
    EXPECT_TRUE(NSImage(QImage()).representations().isEmpty());
}

TEST(NSImage, IsTheSameObjectInsideAnyValue) {
    const auto image = std::make_shared<NSImage>(quarters(2, 2));
    const QVariant value = QVariant::fromValue(image);
    EXPECT_EQ(value.value<std::shared_ptr<NSImage>>(), image);
    EXPECT_EQ(value, QVariant::fromValue(image));
    EXPECT_NE(value, QVariant::fromValue(std::make_shared<NSImage>(quarters(2, 2))));
}

// Names

TEST(NSImage, IsFoundByItsNameAsLongAsItHasIt) {
    auto image = std::make_shared<NSImage>(quarters(2, 2));
    EXPECT_TRUE(image->setName(u"first"_s));
    EXPECT_EQ(NSImage::imageNamed(u"first"_s), image);
    EXPECT_EQ(image->name(), u"first"_s);
    EXPECT_TRUE(image->setName(u"second"_s));
    EXPECT_FALSE(NSImage::imageNamed(u"first"_s));
    // The name keeps it alive.
    const std::weak_ptr<NSImage> watched = image;
    image = nullptr;
    ASSERT_TRUE(NSImage::imageNamed(u"second"_s));
    EXPECT_TRUE(NSImage::imageNamed(u"second"_s)->setName({}));
    EXPECT_FALSE(NSImage::imageNamed(u"second"_s));
    EXPECT_TRUE(watched.expired());
}

TEST(NSImage, ANameThatAnotherHasIsRefused) {
    const auto first = std::make_shared<NSImage>(), second = std::make_shared<NSImage>();
    EXPECT_TRUE(first->setName(u"taken"_s));
    EXPECT_TRUE(first->setName(u"taken"_s));
    EXPECT_TRUE(second->setName(u"free"_s));
    EXPECT_FALSE(second->setName(u"taken"_s));
    EXPECT_EQ(NSImage::imageNamed(u"taken"_s), first);
    EXPECT_EQ(second->name(), u"free"_s);
    first->setName({});
    EXPECT_TRUE(second->setName(u""_s));
    EXPECT_TRUE(second->name().isNull());
    EXPECT_FALSE(NSImage::imageNamed(u"free"_s));
}

TEST(NSImage, NilAndEmptyNameNothing) {
    EXPECT_FALSE(NSImage::imageNamed({}));
    EXPECT_FALSE(NSImage::imageNamed(u""_s));
    const auto image = std::make_shared<NSImage>();
    EXPECT_TRUE(image->setName({}));
    EXPECT_FALSE(NSImage::imageNamed({}));
    EXPECT_TRUE(image->name().isNull());
    // What nobody shares can't be kept.
    EXPECT_FALSE(NSImage().setName(u"alone"_s));
    EXPECT_FALSE(NSImage::imageNamed(u"alone"_s));
}

// Which representation

TEST(NSImage, TheBitmapIsTheSmallestThatHasEnoughPixels) {
    NSImage image(QSizeF(32, 32));
    for (const int side : {64, 16, 128, 48})
        image.addRepresentation(bitmapRep(quarters(side, side)));
    EXPECT_EQ(image.CGImageForProposedRect().width(), 48);
    EXPECT_EQ(image.CGImageForProposedRect(QRectF(5, 5, 16, 10)).width(), 16);
    EXPECT_EQ(image.CGImageForProposedRect(QRectF(0, 0, 65, 65)).width(), 128);
    EXPECT_EQ(image.CGImageForProposedRect(QRectF(0, 0, 500, 500)).width(), 128);
    EXPECT_TRUE(NSImage(QSizeF(5, 5)).CGImageForProposedRect().isNull());
}

TEST(NSImage, DrawingTakesTheRepresentationForTheSizeInPixels) {
    NSImage image(QSizeF(32, 32));
    image.addRepresentation(bitmapRep(plain(16, 16, Qt::red)));
    image.addRepresentation(bitmapRep(plain(64, 64, Qt::green)));
    const auto small = canvas(16, 16), large = canvas(17, 17);
    {
        const NSImageFocus focus = small->lockFocus();
        image.drawInRect(QRectF(0, 0, 16, 16));
    }
    {
        const NSImageFocus focus = large->lockFocus();
        image.drawInRect(QRectF(0, 0, 17, 17));
    }
    EXPECT_EQ(pixelOf(*small, 8, 8), QColor(Qt::red));
    EXPECT_EQ(pixelOf(*large, 8, 8), QColor(Qt::green));
}

TEST(NSImage, AScalablePictureIsAskedForThePixelsThatAreDrawn) {
    const auto scalable = std::make_shared<Scalable>();
    NSImage image;
    image.addRepresentation(scalable);
    EXPECT_EQ(image.CGImageForProposedRect().size(), QSize(10, 10));
    const auto target = canvas(300, 150);
    const NSImageFocus focus = target->lockFocus();
    image.drawInRect(QRectF(0, 0, 300, 150));
    EXPECT_EQ(scalable->asked, QSize(300, 150));
    // Half of it in the same place: the whole would be twice as wide.
    image.drawInRect(QRectF(0, 0, 300, 150), QRectF(0, 0, 5, 10));
    EXPECT_EQ(scalable->asked, QSize(600, 150));
}

// Drawing into an image

TEST(NSImage, ALockedImageGetsABitmapOfAPixelAPointRoundedUp) {
    const auto image = canvas(10.2, 4.9);
    { const NSImageFocus focus = image->lockFocus(); }
    ASSERT_EQ(image->representations().size(), 1);
    EXPECT_EQ(image->representations().first()->pixelsWide(), 11);
    EXPECT_EQ(image->representations().first()->pixelsHigh(), 5);
    EXPECT_EQ(image->representations().first()->size(), QSizeF(10.2, 4.9));
    EXPECT_EQ(image->size(), QSizeF(10.2, 4.9));
    EXPECT_EQ(pixelOf(*image, 0, 0).alpha(), 0);
}

TEST(NSImage, AFractionalImageIsFilledToItsEdges) {
    const auto image = canvas(10.2, 4.9);
    {
        const NSImageFocus focus = image->lockFocus();
        NSGraphicsContext::currentContext()->setFillColor(Qt::red);
        NSRectFill(QRectF(0, 0, 10.2, 4.9));
    }
    EXPECT_EQ(bitmapOf(*image), plain(11, 5, Qt::red));
    const auto drawn = canvas(10.2, 4.9);
    {
        const NSImageFocus focus = drawn->lockFocus();
        NSImage(plain(3, 3, Qt::green)).drawInRect(QRectF(0, 0, 10.2, 4.9));
    }
    EXPECT_EQ(bitmapOf(*drawn), plain(11, 5, Qt::green));
}

TEST(NSImage, LockingAnImageDrawsOnItsPicture) {
    const auto image = std::make_shared<NSImage>(quarters(20, 10));
    image->addRepresentation(bitmapRep(quarters(40, 20)));
    {
        const NSImageFocus focus = image->lockFocus();
        NSGraphicsContext::currentContext()->setFillColor(Qt::white);
        NSRectFill(QRectF(0, 0, 5, 5));
    }
    EXPECT_EQ(image->representations().size(), 1);
    EXPECT_EQ(pixelOf(*image, 0, 9), QColor(Qt::white));
    EXPECT_EQ(pixelOf(*image, 0, 0), QColor(Qt::red));
    EXPECT_EQ(pixelOf(*image, 6, 9), QColor(Qt::blue));
}

TEST(NSImage, TheFormerContextIsCurrentAgainAfterwards) {
    EXPECT_EQ(NSGraphicsContext::currentContext(), nullptr);
    const auto outer = canvas(10, 10), inner = canvas(5, 5);
    {
        const NSImageFocus focus = outer->lockFocus();
        NSGraphicsContext *const context = NSGraphicsContext::currentContext();
        {
            const NSImageFocus innerFocus = inner->lockFocus();
            EXPECT_NE(NSGraphicsContext::currentContext(), context);
            NSRectFill(QRectF(0, 0, 5, 5));
        }
        EXPECT_EQ(NSGraphicsContext::currentContext(), context);
        inner->drawAtPoint(QPointF(5, 5));
    }
    EXPECT_EQ(NSGraphicsContext::currentContext(), nullptr);
    EXPECT_EQ(pixelOf(*outer, 7, 2), QColor(Qt::black));
    EXPECT_EQ(pixelOf(*outer, 2, 7).alpha(), 0);
}

TEST(NSImage, AnImageThatIsEmptyOrTooLargeHasNoPictureToDrawInto) {
    const double huge = 1e9, none = std::numeric_limits<double>::quiet_NaN();
    for (const QSizeF &size : {QSizeF(0, 10), QSizeF(-1, -1), QSizeF(huge, huge), QSizeF(32768, 1),
                               QSizeF(10000, 10000), QSizeF(none, 10)}) {
        NSImage image(size);
        {
            const NSImageFocus focus = image.lockFocus();
            EXPECT_EQ(NSGraphicsContext::currentContext(), nullptr);
            NSRectFill(QRectF(0, 0, 10, 10));
            NSImage(quarters(2, 2)).drawAtPoint(QPointF());
        }
        EXPECT_TRUE(image.representations().isEmpty());
    }
}

// Placing

TEST(NSImage, PicturesAreNotTurnedOverAndCountFromTheBottomLeft) {
    const auto image = canvas(100, 60);
    {
        const NSImageFocus focus = image->lockFocus();
        NSImage(quarters(20, 10)).drawInRect(QRectF(10, 5, 20, 10));
    }
    const QImage picture = bitmapOf(*image);
    EXPECT_EQ(picture.copy(10, 45, 20, 10).convertToFormat(QImage::Format_RGB32), quarters(20, 10));
    EXPECT_EQ(picture.pixelColor(9, 50).alpha(), 0);
    EXPECT_EQ(picture.pixelColor(30, 50).alpha(), 0);
    EXPECT_EQ(picture.pixelColor(15, 44).alpha(), 0);
    EXPECT_EQ(picture.pixelColor(15, 55).alpha(), 0);
}

TEST(NSImage, DrawingAtAPointHasTheImagesOwnSize) {
    const auto image = canvas(60, 60);
    {
        const NSImageFocus focus = image->lockFocus();
        NSImage(quarters(20, 10), QSizeF(40, 20)).drawAtPoint(QPointF(20, 40));
    }
    EXPECT_EQ(pixelOf(*image, 22, 2), QColor(Qt::red));
    EXPECT_EQ(pixelOf(*image, 57, 17), QColor(Qt::yellow));
    EXPECT_EQ(pixelOf(*image, 19, 2).alpha(), 0);
    EXPECT_EQ(pixelOf(*image, 22, 20).alpha(), 0);
}

TEST(NSImage, APartIsCountedFromTheBottomLeftToo) {
    const NSImage picture(quarters(20, 10), QSizeF(200, 100));
    const auto image = canvas(50, 50);
    const auto drawPart = [&](const QRectF &part) {
        const NSImageFocus focus = image->lockFocus();
        picture.drawInRect(QRectF(0, 0, 50, 50), part, NSCompositingOperation::Copy);
    };
    drawPart(QRectF(0, 0, 100, 50));
    EXPECT_EQ(bitmapOf(*image), plain(50, 50, Qt::blue));
    drawPart(QRectF(100, 50, 100, 50));
    EXPECT_EQ(bitmapOf(*image), plain(50, 50, Qt::green));
    drawPart(QRectF(0, 50, 100, 50));
    EXPECT_EQ(bitmapOf(*image), plain(50, 50, Qt::red));
}

TEST(NSImage, WhatAPartHasOutsideTheImageIsTransparent) {
    const auto image = canvas(40, 20);
    {
        const NSImageFocus focus = image->lockFocus();
        NSImage(plain(20, 20, Qt::red)).drawInRect(QRectF(0, 0, 40, 20), QRectF(10, 0, 20, 20));
    }
    EXPECT_EQ(pixelOf(*image, 19, 10), QColor(Qt::red));
    EXPECT_EQ(pixelOf(*image, 21, 10).alpha(), 0);
}

TEST(NSImage, APictureDrawnFarLargerThanTheAreaCostsNoMore) {
    const auto image = canvas(40, 40);
    {
        const NSImageFocus focus = image->lockFocus();
        // The corner where all four quarters meet is in the middle.
        NSImage(quarters(20, 20)).drawInRect(QRectF(-1e9 + 20, -1e9 + 20, 2e9, 2e9));
    }
    const QImage picture = bitmapOf(*image);
    EXPECT_EQ(picture.pixelColor(0, 0).alpha(), 255);
    EXPECT_EQ(picture.size(), QSize(40, 40));
}

TEST(NSImage, EmptyAndEndlessRectanglesAreNotDrawn) {
    const double none = std::numeric_limits<double>::quiet_NaN(),
                 endless = std::numeric_limits<double>::infinity();
    const auto image = canvas(10, 10);
    {
        const NSImageFocus focus = image->lockFocus();
        const NSImage picture(plain(4, 4, Qt::red));
        for (const QRectF &rect : {QRectF(0, 0, 0, 5), QRectF(0, 0, -5, 5), QRectF(0, 0, endless, 5),
                                   QRectF(none, 0, 5, 5), QRectF(-endless, 0, 5, 5), QRectF(20, 20, 5, 5)})
            picture.drawInRect(rect);
        picture.drawInRect(QRectF(0, 0, 10, 10), QRectF(10, 10, 5, 5));
        picture.drawInRect(QRectF(0, 0, 10, 10), QRectF(0, 0, none, 5));
        NSImage(QSizeF(5, 5)).drawAtPoint(QPointF());
    }
    EXPECT_EQ(bitmapOf(*image), plain(10, 10, Qt::transparent));
}

// Compositing

TEST(NSImage, SourceOverBlendsByAlphaAndFraction) {
    const auto image = canvas(30, 10);
    {
        const NSImageFocus focus = image->lockFocus();
        NSGraphicsContext::currentContext()->setFillColor(Qt::blue);
        NSRectFill(QRectF(0, 0, 30, 10));
        const NSImage half(plain(10, 10, QColor(255, 0, 0, 128)));
        half.drawInRect(QRectF(0, 0, 10, 10));
        half.drawInRect(QRectF(10, 0, 10, 10), {}, sourceOver, 0.5);
        half.drawInRect(QRectF(20, 0, 10, 10), {}, sourceOver, 0);
    }
    EXPECT_EQ(pixelOf(*image, 5, 5), QColor(128, 0, 127));
    EXPECT_EQ(pixelOf(*image, 15, 5), QColor(64, 0, 191));
    EXPECT_EQ(pixelOf(*image, 25, 5), QColor(Qt::blue));
}

TEST(NSImage, EachOperationMeetsWhatIsThereInItsWay) {
    // Half-transparent red over opaque blue, and over nothing.
    struct Case {
        NSCompositingOperation operation;
        QColor onBlue, onNothing;
    };
    const QColor red(255, 0, 0, 128), blue(0, 0, 255), clear(0, 0, 0, 0);
    const Case cases[] = {
        {NSCompositingOperation::Clear, clear, clear},
        {NSCompositingOperation::Copy, red, red},
        {NSCompositingOperation::SourceOver, QColor(128, 0, 127), red},
        {NSCompositingOperation::SourceIn, red, clear},
        {NSCompositingOperation::SourceOut, clear, red},
        {NSCompositingOperation::SourceAtop, QColor(128, 0, 127), clear},
        {NSCompositingOperation::DestinationOver, blue, red},
        {NSCompositingOperation::DestinationIn, QColor(0, 0, 255, 128), clear},
        {NSCompositingOperation::DestinationOut, QColor(0, 0, 255, 127), clear},
        {NSCompositingOperation::DestinationAtop, QColor(0, 0, 255, 128), red},
        {NSCompositingOperation::XOR, QColor(0, 0, 255, 127), red},
        {NSCompositingOperation::PlusLighter, QColor(128, 0, 255), red},
    };
    for (const Case &expected : cases) {
        const auto image = canvas(20, 10);
        {
            const NSImageFocus focus = image->lockFocus();
            NSGraphicsContext::currentContext()->setFillColor(blue);
            NSRectFill(QRectF(0, 0, 10, 10));
            NSImage(plain(4, 4, red)).drawInRect(QRectF(0, 0, 20, 10), {}, expected.operation);
        }
        QImage both = plain(20, 10, expected.onNothing);
        QPainter painter(&both);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(0, 0, 10, 10, expected.onBlue);
        painter.end();
        EXPECT_LE(largestDifference(bitmapOf(*image), both), 1) << int(expected.operation);
    }
}

TEST(NSImage, CompositingChangesOnlyTheRectangle) {
    const auto image = canvas(20, 10);
    {
        const NSImageFocus focus = image->lockFocus();
        NSRectFill(QRectF(0, 0, 20, 10));
        NSImage(plain(4, 4, Qt::transparent))
            .drawInRect(QRectF(0, 0, 10, 10), {}, NSCompositingOperation::Copy);
    }
    EXPECT_EQ(pixelOf(*image, 5, 5).alpha(), 0);
    EXPECT_EQ(pixelOf(*image, 10, 5), QColor(Qt::black));
}

TEST(NSImage, ColoursThatAreHardlyOpaqueKeepTheirShade) {
    const auto image = canvas(10, 10);
    {
        const NSImageFocus focus = image->lockFocus();
        NSImage(plain(30, 30, QColor(200, 100, 50, 3))).drawInRect(QRectF(0, 0, 10, 10));
    }
    EXPECT_EQ(pixelOf(*image, 5, 5), QColor(200, 100, 50, 3));
}

// Interpolation

TEST(NSImage, WithoutInterpolationEachPixelIsTheNearest) {
    QImage checks(2, 2, QImage::Format_RGB32);
    checks.fill(Qt::white);
    checks.setPixelColor(0, 0, Qt::black);
    checks.setPixelColor(1, 1, Qt::black);
    const auto image = canvas(20, 20);
    const auto coloursAt = [&](NSImageInterpolation interpolation) {
        {
            const NSImageFocus focus = image->lockFocus();
            NSGraphicsContext::currentContext()->setImageInterpolation(interpolation);
            NSImage(checks).drawInRect(QRectF(0, 0, 20, 20));
        }
        QSet<QRgb> colours;
        for (int x = 0; x < 20; ++x)
            colours.insert(bitmapOf(*image).pixel(x, 3));
        return colours.size();
    };
    EXPECT_EQ(coloursAt(NSImageInterpolation::None), 2);
    for (const auto smooth : {NSImageInterpolation::Default, NSImageInterpolation::Low,
                              NSImageInterpolation::Medium, NSImageInterpolation::High})
        EXPECT_GT(coloursAt(smooth), 2);
}

// Cache

TEST(NSImage, APictureIsDrawnAgainAsItWasUnlessTheImageChanges) {
    const auto image = std::make_shared<NSImage>(quarters(40, 40));
    const auto target = canvas(10, 10);
    const auto draw = [&] {
        const NSImageFocus focus = target->lockFocus();
        image->drawInRect(QRectF(0, 0, 10, 10));
    };
    for (const auto mode : {NSImageCacheMode::Default, NSImageCacheMode::Always, NSImageCacheMode::BySize,
                            NSImageCacheMode::Never}) {
        image->setCacheMode(mode);
        EXPECT_EQ(image->cacheMode(), mode);
        draw();
        draw();
        EXPECT_EQ(pixelOf(*target, 1, 1), QColor(Qt::red));
        {
            const NSImageFocus focus = image->lockFocus();
            NSGraphicsContext::currentContext()->setFillColor(Qt::white);
            NSRectFill(QRectF(0, 0, 40, 40));
        }
        draw();
        EXPECT_EQ(pixelOf(*target, 1, 1), QColor(Qt::white));
        image->removeRepresentation(image->representations().first());
        image->addRepresentation(bitmapRep(quarters(40, 40)));
        draw();
        EXPECT_EQ(pixelOf(*target, 1, 1), QColor(Qt::red));
    }
}

TEST(NSImage, ThreadsMayDrawOneImageAtOnce) {
    const auto image = std::make_shared<NSImage>(quarters(100, 100));
    std::vector<std::thread> threads;
    std::vector<std::shared_ptr<NSImage>> targets;
    for (int i = 0; i < 4; ++i)
        targets.push_back(canvas(20 + i, 20));
    for (const auto &target : targets)
        threads.emplace_back([&] {
            for (int time = 0; time < 20; ++time) {
                const NSImageFocus focus = target->lockFocus();
                image->drawInRect(QRectF(QPointF(), target->size()));
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    for (const auto &target : targets)
        EXPECT_EQ(pixelOf(*target, 2, 2), QColor(Qt::red));
}

// Files

TEST(NSImage, IsReadFromAFileAndFromAResource) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"picture.any name"_s);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(encoded(quarters(12, 8), "png"));
    file.close();
    const auto image = NSImage::imageWithContentsOfFile(path);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), QSizeF(12, 8));
    EXPECT_EQ(pixelOf(*image, 1, 1), QColor(Qt::red));
    EXPECT_FALSE(NSImage::imageWithContentsOfFile(path + u'x'));
    EXPECT_FALSE(NSImage::imageWithContentsOfFile(folder.path()));
    EXPECT_FALSE(NSImage::imageWithContentsOfFile({}));
    EXPECT_FALSE(NSImage::imageWithContentsOfFile(u""_s));
    EXPECT_FALSE(NSImage::imageWithContentsOfFile(u":/missing"_s));
    const auto resource = NSImage::imageWithContentsOfFile(u":/red.png"_s);
    ASSERT_TRUE(resource);
    EXPECT_TRUE(resource->size().width() > 0 && !bitmapOf(*resource).isNull());
}
