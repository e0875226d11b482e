// SPDX-License-Identifier: MIT
#include "tests/platform/images/Pictures.h"

#include "platform/images/NSImage.h"

#include <QBuffer>
#include <QFile>
#include <QImageWriter>
#include <QPainter>
#include <QPainterPath>
#include <QProcess>
#include <QRadialGradient>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

QImage quarters(int width, int height) {
    QImage picture(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.setPixelColor(x, y,
                                  y < height / 2 ? (x < width / 2 ? Qt::red : Qt::green)
                                                 : (x < width / 2 ? Qt::blue : Qt::yellow));
    return picture;
}

QImage photograph(const QSize &size) {
    QRandomGenerator random(20);
    QImage picture(size, QImage::Format_RGB32);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, size.width(), size.height());
    sky.setColorAt(0, QColor(90, 140, 210));
    sky.setColorAt(1, QColor(230, 200, 150));
    painter.fillRect(picture.rect(), sky);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 60; ++i) {
        const QPointF centre(random.bounded(size.width()), random.bounded(size.height()));
        const double radius = size.width() * (0.02 + random.generateDouble() * 0.12);
        QRadialGradient shade(centre, radius);
        shade.setColorAt(0, QColor::fromHsv(int(random.bounded(360)), 150, 220, 220));
        shade.setColorAt(1, QColor::fromHsv(int(random.bounded(360)), 180, 90, i % 3 == 0 ? 255 : 0));
        painter.setBrush(shade);
        painter.drawEllipse(centre, radius, radius * 0.7);
    }
    painter.end();
    for (int y = 0; y < size.height(); ++y) {
        auto *const row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const int grain = int(random.bounded(25)) - 12;
            row[x] =
                qRgb(std::clamp(qRed(row[x]) + grain, 0, 255), std::clamp(qGreen(row[x]) + grain, 0, 255),
                     std::clamp(qBlue(row[x]) + grain, 0, 255));
        }
    }
    return picture;
}

QImage lineArt(const QSize &size) {
    QRandomGenerator random(10);
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, 2.2));
    const int letter = 14;
    for (int y = 40; y < size.height() * 2 / 3; y += 2 * letter)
        for (int x = 40; x < size.width() - 40; x += letter) {
            if (random.bounded(6) == 0)
                continue;
            const auto inside = [&] {
                return QPointF(x + random.bounded(letter - 3), y + random.bounded(letter + 4));
            };
            QPainterPath stroke(inside());
            stroke.quadTo(inside(), inside());
            stroke.lineTo(inside());
            painter.drawPath(stroke);
        }
    painter.setPen(QPen(Qt::black, 1));
    for (int x = 40; x < size.width() - 40; x += 25)
        painter.drawLine(x, size.height() * 2 / 3 + 20, x, size.height() - 40);
    painter.setPen(QPen(Qt::darkRed, 3));
    painter.drawEllipse(QPointF(size.width() / 2.0, size.height() * 5 / 6.0), size.height() / 8.0,
                        size.height() / 8.0);
    return picture;
}

QByteArray encoded(const QImage &picture, const char *format, int quality) {
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    QImage written = picture;
    if (written.dotsPerMeterX() == QImage(1, 1, QImage::Format_Mono).dotsPerMeterX()) {
        written.setDotsPerMeterX(2835);
        written.setDotsPerMeterY(2835);
    }
    EXPECT_TRUE(writer.write(written)) << writer.errorString().toStdString();
    return data;
}

QByteArray converted(const QByteArray &picture, const QStringList &arguments, const QString &format) {
    const QTemporaryDir folder;
    const QString result = folder.filePath(u"out."_s + format);
    QProcess convert;
    convert.start(u"convert"_s, QStringList{u"-"_s} + arguments + QStringList{format + u':' + result});
    convert.write(picture);
    convert.closeWriteChannel();
    EXPECT_TRUE(convert.waitForFinished(-1) && convert.exitCode() == 0)
        << convert.readAllStandardError().constData();
    QFile file(result);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

QImage bitmapOf(const NSImage &image) {
    return image.CGImageForProposedRect();
}

QColor pixelOf(const NSImage &image, int x, int y) {
    return bitmapOf(image).pixelColor(x, y);
}

double similarity(const QImage &a, const QImage &b) {
    if (a.size() != b.size())
        return 0;
    const QImage first = a.convertToFormat(QImage::Format_Grayscale8);
    const QImage second = b.convertToFormat(QImage::Format_Grayscale8);
    constexpr int side = 8;
    constexpr double pixels = side * side;
    constexpr double c1 = 0.01 * 255 * 0.01 * 255, c2 = 0.03 * 255 * 0.03 * 255;
    double sum = 0;
    int windows = 0;
    for (int top = 0; top + side <= first.height(); top += side / 2)
        for (int left = 0; left + side <= first.width(); left += side / 2) {
            double x = 0, y = 0, xx = 0, yy = 0, xy = 0;
            for (int row = top; row < top + side; ++row)
                for (int column = left; column < left + side; ++column) {
                    const double p = first.constScanLine(row)[column], q = second.constScanLine(row)[column];
                    x += p, y += q, xx += p * p, yy += q * q, xy += p * q;
                }
            x /= pixels, y /= pixels;
            const double varianceX = xx / pixels - x * x, varianceY = yy / pixels - y * y;
            const double covariance = xy / pixels - x * y;
            sum += (2 * x * y + c1) * (2 * covariance + c2) /
                   ((x * x + y * y + c1) * (varianceX + varianceY + c2));
            ++windows;
        }
    return sum / windows;
}

int largestDifference(const QImage &a, const QImage &b) {
    if (a.size() != b.size())
        return 256;
    int largest = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            for (const int shift : {0, 8, 16, 24})
                largest = std::max(largest, std::abs(int(p >> shift & 0xFF) - int(q >> shift & 0xFF)));
        }
    return largest;
}
