// SPDX-License-Identifier: MIT
#include "platform/images/NSGraphicsContext.h"

#include <QImage>
#include <QPainter>
#include <gtest/gtest.h>
#include <set>

namespace {

/// A white picture of 20 by 20 points on which a rounded rectangle was filled in the colours, one after the other.
QImage filled(double pixelRatio, double radius, const QList<QColor> &colors,
              const QRectF &rect = QRectF(0, 0, 20, 20)) {
    QImage picture(QSize(20, 20) * pixelRatio, QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(pixelRatio);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    NSGraphicsContext context(painter, QSizeF(20, 20));
    NSGraphicsContext *const former = NSGraphicsContext::setCurrentContext(&context);
    context.clipToRoundedRect(rect, radius, radius);
    for (const QColor &color : colors) {
        context.setFillColor(color);
        NSRectFill(QRectF(0, 0, 20, 20));
    }
    NSGraphicsContext::setCurrentContext(former);
    return picture;
}

std::set<int> greys(const QImage &picture) {
    std::set<int> all;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            all.insert(picture.pixelColor(x, y).red());
    return all;
}

} // namespace

TEST(RoundedClip, CornersAreLeftOutAndSmooth) {
    for (const double ratio : {1.0, 2.0}) {
        const QImage picture = filled(ratio, 8, {Qt::black});
        const int last = picture.width() - 1;
        for (const QPoint corner : {QPoint(0, 0), QPoint(last, 0), QPoint(0, last), QPoint(last, last)})
            EXPECT_EQ(picture.pixelColor(corner), QColor(Qt::white)) << ratio;
        EXPECT_EQ(picture.pixelColor(last / 2, 0), QColor(Qt::black)) << ratio;
        EXPECT_EQ(picture.pixelColor(0, last / 2), QColor(Qt::black)) << ratio;
        EXPECT_GT(greys(picture).size(), 6u) << ratio;
    }
}

TEST(RoundedClip, CountsFromTheBottomLeft) {
    const QImage picture = filled(1, 0, {Qt::black}, QRectF(0, 0, 10, 5));
    EXPECT_EQ(picture.pixelColor(0, 19), QColor(Qt::black));
    EXPECT_EQ(picture.pixelColor(9, 15), QColor(Qt::black));
    EXPECT_EQ(picture.pixelColor(9, 14), QColor(Qt::white));
    EXPECT_EQ(picture.pixelColor(10, 19), QColor(Qt::white));
}

TEST(RoundedClip, WithoutPositiveRadiiItIsTheRectangle) {
    for (const double radius : {0.0, -3.0})
        EXPECT_EQ(greys(filled(1, radius, {Qt::black})), std::set<int>{0}) << radius;
}

TEST(RoundedClip, ATooLargeRadiusIsHalfOfTheSide) {
    EXPECT_EQ(filled(1, 1000, {Qt::black}), filled(1, 10, {Qt::black}));
}

TEST(RoundedClip, FillingReplacesTransparencyInsideOnly) {
    const QImage picture = filled(1, 8, {QColor(255, 0, 0, 128)});
    EXPECT_EQ(picture.pixelColor(10, 10), QColor(255, 0, 0, 128));
    EXPECT_EQ(picture.pixelColor(0, 0), QColor(Qt::white));
}

TEST(RoundedClip, AreasThatTouchInsideLeaveNoSeam) {
    QImage picture(20, 20, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    NSGraphicsContext context(painter, QSizeF(20, 20));
    NSGraphicsContext *const former = NSGraphicsContext::setCurrentContext(&context);
    context.clipToRoundedRect(QRectF(0, 0, 20, 20), 4, 4);
    NSRectFill(QRectF(0, 0, 20, 9.5));
    NSRectFill(QRectF(0, 9.5, 20, 10.5));
    NSGraphicsContext::setCurrentContext(former);
    for (int y = 0; y < 20; ++y)
        EXPECT_EQ(picture.pixelColor(10, y), QColor(Qt::black)) << y;
}
