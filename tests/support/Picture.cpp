// SPDX-License-Identifier: MIT
#include "tests/support/Picture.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <png.h>

namespace {

constexpr int blockSide = 4;
constexpr int badDifference = 48;

/// The sums of a row of blocks, channel by channel.
void addRow(std::vector<int> &sums, const Picture &picture, int y) {
    const std::uint8_t *row = picture.rgb.data() + size_t(y) * size_t(picture.width) * 3;
    for (int x = 0; x < picture.width / blockSide * blockSide; ++x) {
        for (int channel = 0; channel < 3; ++channel)
            sums[size_t(x / blockSide * 3 + channel)] += row[x * 3 + channel];
    }
}

} // namespace

Picture Picture::fromPNG(const QByteArray &data) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, data.constData(), size_t(data.size())))
        return {};
    image.format = PNG_FORMAT_RGB;
    Picture picture{int(image.width), int(image.height), {}};
    picture.rgb.resize(PNG_IMAGE_SIZE(image));
    const png_color white{255, 255, 255};
    if (!png_image_finish_read(&image, &white, picture.rgb.data(), 0, nullptr))
        return {};
    return picture;
}

void Picture::draw(const Picture &other, int x, int y) {
    for (int row = 0; row < other.height && y + row < height; ++row) {
        std::memcpy(rgb.data() + (size_t(y + row) * size_t(width) + size_t(x)) * 3,
                    other.rgb.data() + size_t(row) * size_t(other.width) * 3,
                    size_t(std::min(other.width, width - x)) * 3);
    }
}

std::optional<PictureDifference> difference(const Picture &a, const Picture &b) {
    if (a.isNull() || a.width != b.width || a.height != b.height)
        return std::nullopt;
    const int columns = a.width / blockSide;
    const int rows = a.height / blockSide;
    constexpr int pixels = blockSide * blockSide;
    qint64 bad = 0;
    double total = 0;
    for (int row = 0; row < rows; ++row) {
        std::vector<int> first(size_t(columns) * 3), second(size_t(columns) * 3);
        for (int y = row * blockSide; y < (row + 1) * blockSide; ++y) {
            addRow(first, a, y);
            addRow(second, b, y);
        }
        for (int column = 0; column < columns; ++column) {
            int largest = 0;
            for (int channel = 0; channel < 3; ++channel) {
                const size_t i = size_t(column * 3 + channel);
                const int apart = std::abs(first[i] - second[i]);
                largest = std::max(largest, apart);
                total += double(apart) / pixels;
            }
            bad += largest > badDifference * pixels;
        }
    }
    const double blocks = double(columns) * rows;
    return PictureDifference{100 * double(bad) / blocks, total / (blocks * 3)};
}

QByteArray outputOf(const QString &program, const QStringList &arguments) {
    QProcess process;
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.start(program, arguments);
    const bool ended = process.waitForFinished(-1);
    if (!ended || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        ADD_FAILURE() << qPrintable(program) << " failed: " << process.readAllStandardError().constData();
    return process.readAllStandardOutput();
}

Picture rasterised(const QString &pdfFile, Rasteriser rasteriser) {
    const QTemporaryDir folder;
    const QString stem = folder.filePath(QStringLiteral("page"));
    if (rasteriser == Rasteriser::MuPDF)
        outputOf(QStringLiteral("mutool"),
                 {QStringLiteral("draw"), QStringLiteral("-q"), QStringLiteral("-r"), QStringLiteral("72"),
                  QStringLiteral("-o"), stem + QStringLiteral(".png"), pdfFile, QStringLiteral("1")});
    else
        outputOf(QStringLiteral("pdftoppm"),
                 {QStringLiteral("-r"), QStringLiteral("72"), QStringLiteral("-f"), QStringLiteral("1"),
                  QStringLiteral("-singlefile"), QStringLiteral("-png"), pdfFile, stem});
    QFile file(stem + QStringLiteral(".png"));
    return file.open(QIODevice::ReadOnly) ? Picture::fromPNG(file.readAll()) : Picture();
}
