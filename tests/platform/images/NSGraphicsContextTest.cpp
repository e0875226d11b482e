// SPDX-License-Identifier: MIT
#include "platform/images/NSGraphicsContext.h"

#include "platform/images/NSImage.h"
#include "tests/platform/images/Pictures.h"

#include <QPainter>
#include <gtest/gtest.h>
#include <thread>

namespace {

/// A canvas of the test's own, current as long as it lives.
class Canvas {
public:
    explicit Canvas(int width, int height)
        : picture(width, height, QImage::Format_ARGB32_Premultiplied),
          context(painter, QSizeF(width, height)) {
        picture.fill(Qt::transparent);
        painter.begin(&picture);
        m_former = NSGraphicsContext::setCurrentContext(&context);
    }
    ~Canvas() { NSGraphicsContext::setCurrentContext(m_former); }

    QImage picture;
    QPainter painter;
    NSGraphicsContext context;

private:
    NSGraphicsContext *m_former = nullptr;
};

} // namespace

TEST(NSGraphicsContext, EachThreadHasItsOwnOrNone) {
    EXPECT_EQ(NSGraphicsContext::currentContext(), nullptr);
    const Canvas canvas(10, 10);
    EXPECT_EQ(NSGraphicsContext::currentContext(), &canvas.context);
    std::thread([] { EXPECT_EQ(NSGraphicsContext::currentContext(), nullptr); }).join();
}

TEST(NSGraphicsContext, CountsFromTheBottomLeft) {
    const Canvas canvas(100, 40);
    EXPECT_EQ(canvas.context.painterRect(QRectF(1, 2, 10, 5)), QRectF(1, 33, 10, 5));
    NSGraphicsContext::currentContext()->setFillColor(Qt::red);
    NSRectFill(QRectF(0, 0, 10, 5));
    EXPECT_EQ(canvas.picture.pixelColor(0, 39), QColor(Qt::red));
    EXPECT_EQ(canvas.picture.pixelColor(9, 35), QColor(Qt::red));
    EXPECT_EQ(canvas.picture.pixelColor(0, 34).alpha(), 0);
    EXPECT_EQ(canvas.picture.pixelColor(10, 39).alpha(), 0);
}

TEST(NSGraphicsContext, FillingReplacesThePixelsAlphaIncluded) {
    Canvas canvas(4, 4);
    NSRectFill(QRectF(0, 0, 4, 4));
    EXPECT_EQ(canvas.picture.pixelColor(1, 1), QColor(Qt::black));
    canvas.context.setFillColor(QColor(0, 0, 0, 0));
    canvas.painter.setOpacity(0.5);
    NSRectFill(QRectF(0, 0, 2, 4));
    EXPECT_EQ(canvas.picture.pixelColor(1, 1).alpha(), 0);
    EXPECT_EQ(canvas.picture.pixelColor(2, 1), QColor(Qt::black));
    EXPECT_EQ(canvas.painter.compositionMode(), QPainter::CompositionMode_SourceOver);
}

TEST(NSGraphicsContext, AnInvalidColourChangesNothing) {
    Canvas canvas(4, 4);
    canvas.context.setFillColor(Qt::green);
    canvas.context.setFillColor(QColor());
    EXPECT_EQ(canvas.context.fillColor(), QColor(Qt::green));
}

TEST(NSGraphicsContext, WithoutOneNothingIsDrawn) {
    NSRectFill(QRectF(0, 0, 10, 10));
    NSImage(quarters(4, 4)).drawAtPoint(QPointF());
}

TEST(NSGraphicsContext, DrawingKeepsToThePaintersTransformAndClip) {
    Canvas canvas(40, 40);
    canvas.painter.translate(10, 10);
    canvas.painter.scale(0.5, 0.5);
    canvas.painter.setClipRect(QRectF(0, 0, 20, 40));
    NSGraphicsContext inner(canvas.painter, QSizeF(40, 40));
    NSGraphicsContext::setCurrentContext(&inner);
    NSImage(quarters(40, 40)).drawInRect(QRectF(0, 0, 40, 40));
    NSGraphicsContext::setCurrentContext(&canvas.context);
    EXPECT_EQ(canvas.picture.pixelColor(9, 9).alpha(), 0);
    EXPECT_EQ(canvas.picture.pixelColor(12, 12), QColor(Qt::red));
    EXPECT_EQ(canvas.picture.pixelColor(12, 27), QColor(Qt::blue));
    EXPECT_EQ(canvas.picture.pixelColor(22, 12).alpha(), 0); // clipped
    EXPECT_EQ(canvas.painter.worldTransform(), QTransform(0.5, 0, 0, 0.5, 10, 10));
}

TEST(NSGraphicsContext, ATurnedPainterTurnsThePicture) {
    Canvas canvas(40, 40);
    canvas.painter.translate(40, 0);
    canvas.painter.rotate(90);
    NSImage(quarters(80, 80)).drawInRect(QRectF(0, 0, 40, 40));
    EXPECT_EQ(canvas.picture.pixelColor(35, 5), QColor(Qt::red));
    EXPECT_EQ(canvas.picture.pixelColor(35, 35), QColor(Qt::green));
    EXPECT_EQ(canvas.picture.pixelColor(5, 5), QColor(Qt::blue));
}

TEST(NSGraphicsContext, DensePixelsAreUsed) {
    Canvas canvas(40, 40);
    canvas.painter.end();
    canvas.picture.setDevicePixelRatio(2);
    canvas.painter.begin(&canvas.picture);
    NSGraphicsContext dense(canvas.painter, QSizeF(20, 20));
    NSGraphicsContext::setCurrentContext(&dense);
    const QImage picture = photograph({40, 40});
    NSImage(picture).drawInRect(QRectF(0, 0, 20, 20));
    NSGraphicsContext::setCurrentContext(&canvas.context);
    EXPECT_EQ(canvas.picture.convertToFormat(QImage::Format_RGB32).pixel(17, 23), picture.pixel(17, 23));
    EXPECT_EQ(canvas.picture.convertToFormat(QImage::Format_RGB32).pixel(39, 0), picture.pixel(39, 0));
}
