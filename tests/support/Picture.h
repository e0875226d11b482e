// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <optional>
#include <vector>

/// An opaque picture, three bytes a pixel, rows from the top.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;

    bool isNull() const { return rgb.empty(); }
    /// The bytes of a PNG file; what is transparent shows white. Null where they are not one.
    static Picture fromPNG(const QByteArray &data);
    /// Puts another picture into this one.
    void draw(const Picture &other, int x, int y);
};

/// How far two pictures of the same size are apart, as means over blocks of 4 x 4 pixels, so that it counts
/// what moved or is missing and not how a rasteriser smooths edges.
struct PictureDifference {
    /// The share of blocks, in per cent, of which a channel differs by more than 48 of 255.
    double badBlocks = 0;
    /// The mean difference of all blocks' channels, of 255.
    double mean = 0;
};

/// Nothing where the sizes differ.
std::optional<PictureDifference> difference(const Picture &a, const Picture &b);

enum class Rasteriser {
    MuPDF,  ///< right on blend modes, overlapping transparency and large fonts of CJK text
    Poppler ///< right on luminosity and alpha masks of mask-image, which MuPDF 1.21 leaves out
};

/// A PDF file's first page at one pixel a point; null where the program fails.
Picture rasterised(const QString &pdfFile, Rasteriser rasteriser);

/// What a program writes to standard output; it is a failure of the test if it can't be run or fails.
QByteArray outputOf(const QString &program, const QStringList &arguments);
