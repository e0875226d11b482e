// SPDX-License-Identifier: MIT
#include "platform/images/ImageReading.h"

#include "platform/images/NSBitmapImageRep.h"
#include "platform/images/NSImage.h"
#include "tests/platform/images/Pictures.h"

#include <QColorSpace>
#include <QFile>
#include <QImageReader>
#include <QtEndian>
#include <gtest/gtest.h>
#include <thread>
#include <zlib.h>

using namespace Qt::StringLiterals;

namespace {

std::shared_ptr<NSImage> readAgain(const QImage &picture, const char *format, int quality = -1) {
    return NSImage::imageWithData(encoded(picture, format, quality));
}

QImage plain(int width, int height, const QColor &color, QImage::Format format = QImage::Format_RGB32) {
    QImage picture(width, height, format);
    picture.fill(color);
    return picture;
}

bool isNear(const QColor &a, const QColor &b, int tolerance) {
    return std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance && a.alpha() == b.alpha();
}

QByteArray chunk(const QByteArray &type, const QByteArray &data) {
    const auto bigEndian = [](quint32 number) {
        QByteArray bytes(4, '\0');
        qToBigEndian(number, bytes.data());
        return bytes;
    };
    const QByteArray typed = type + data;
    return bigEndian(quint32(data.size())) + typed +
           bigEndian(
               quint32(::crc32(0, reinterpret_cast<const Bytef *>(typed.constData()), uInt(typed.size()))));
}

/// A valid PNG file of one colour with so many pixels and bits a channel, in few bytes.
QByteArray hugePNG(quint32 side, char bits, char type) {
    QByteArray header(13, '\0');
    qToBigEndian(side, header.data());
    qToBigEndian(side, header.data() + 4);
    header[8] = bits;
    header[9] = type;
    const qsizetype row = 1 + qsizetype(side) * bits * (type == 2 ? 3 : 1) / 8;
    z_stream stream{};
    deflateInit(&stream, 9);
    QByteArray packed;
    const QByteArray zeros(row, '\0');
    QByteArray out(1 << 16, '\0');
    for (quint32 y = 0; y <= side; ++y) {
        stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(zeros.constData()));
        stream.avail_in = y < side ? uInt(row) : 0;
        do {
            stream.next_out = reinterpret_cast<Bytef *>(out.data());
            stream.avail_out = uInt(out.size());
            deflate(&stream, y < side ? Z_NO_FLUSH : Z_FINISH);
            packed.append(out.constData(), out.size() - stream.avail_out);
        } while (stream.avail_out == 0);
    }
    deflateEnd(&stream);
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", header) + chunk("IDAT", packed) +
           chunk("IEND", {});
}

/// How much address space the process has ever had, in megabytes.
qint64 peakOfMemory() {
    QFile status(u"/proc/self/status"_s);
    EXPECT_TRUE(status.open(QIODevice::ReadOnly));
    const QByteArray text = status.readAll();
    return text.mid(text.indexOf("VmPeak:") + 7).trimmed().split(' ').first().toLongLong() / 1024;
}

/// An icon file of pictures in PNG format.
QByteArray icon(const QList<QImage> &pictures) {
    QByteArray head("\0\0\1\0", 4), body;
    const auto append = [](QByteArray &bytes, auto number) {
        QByteArray little(sizeof(number), '\0');
        qToLittleEndian(number, little.data());
        bytes += little;
    };
    append(head, quint16(pictures.size()));
    for (const QImage &picture : pictures) {
        const QByteArray png = encoded(picture, "png");
        head += char(picture.width());
        head += char(picture.height());
        head += QByteArray("\0\0\1\0\x20\0", 6);
        append(head, quint32(png.size()));
        append(head, quint32(6 + 16 * pictures.size() + body.size()));
        body += png;
    }
    return head + body;
}

} // namespace

TEST(ImageReading, EachFormatGivesItsPicture) {
    const QImage picture = quarters(40, 30);
    const QByteArray png = encoded(picture, "png");
    const QByteArray files[] = {
        png,
        encoded(picture, "jpeg", 95),
        encoded(picture, "bmp"),
        converted(png, {}, u"gif"_s),
        converted(png, {u"-define"_s, u"webp:lossless=true"_s}, u"webp"_s),
        converted(png, {}, u"tiff"_s),
        icon({picture}),
        "<svg xmlns='http://www.w3.org/2000/svg' width='40' height='30'>"
        "<rect width='20' height='15' fill='#f00'/><rect x='20' width='20' height='15' fill='#0f0'/>"
        "<rect y='15' width='20' height='15' fill='#00f'/>"
        "<rect x='20' y='15' width='20' height='15' fill='#ff0'/></svg>"};
    for (const QByteArray &file : files) {
        const auto image = NSImage::imageWithData(file);
        ASSERT_TRUE(image) << file.left(4).toHex().constData();
        EXPECT_EQ(image->size(), QSizeF(40, 30)) << file.left(4).toHex().constData();
        EXPECT_TRUE(isNear(pixelOf(*image, 3, 3), Qt::red, 4)) << file.left(4).toHex().constData();
        EXPECT_TRUE(isNear(pixelOf(*image, 36, 3), Qt::green, 4)) << file.left(4).toHex().constData();
        EXPECT_TRUE(isNear(pixelOf(*image, 3, 26), Qt::blue, 4)) << file.left(4).toHex().constData();
        EXPECT_TRUE(isNear(pixelOf(*image, 36, 26), Qt::yellow, 4)) << file.left(4).toHex().constData();
    }
}

TEST(ImageReading, BytesThatAreNoPictureGiveNil) {
    const QByteArray png = encoded(quarters(40, 30), "png");
    for (const QByteArray &bytes :
         {QByteArray(), QByteArray(""), QByteArray("text"), png.left(8), png.left(20), QByteArray("BM"),
          QByteArray("GIF89a"), QByteArray("\xFF\xD8\xFF")}) {
        EXPECT_FALSE(NSImage::imageWithData(bytes));
        EXPECT_TRUE(NSImageRep::imageRepsWithData(bytes).isEmpty());
    }
}

// Size in points

TEST(ImageReading, AFileThatClaimsNoResolutionHasAPointAPixel) {
    EXPECT_EQ(NSImage::imageWithData(hugePNG(64, 8, 0))->size(), QSizeF(64, 64));
}

TEST(ImageReading, TheSizeFollowsFromTheResolutionThatAFileClaims) {
    QImage picture = quarters(300, 150);
    for (const int dpi : {72, 96, 99, 144, 150, 300, 600}) {
        picture.setDotsPerMeterX(int(std::lround(dpi / 0.0254)));
        picture.setDotsPerMeterY(int(std::lround(dpi / 0.0254)));
        for (const char *const format : {"png", "jpeg", "bmp"})
            EXPECT_EQ(readAgain(picture, format)->size(), QSizeF(300, 150) * 72 / dpi)
                << format << ' ' << dpi;
    }
    const QByteArray tiff = converted(encoded(picture, "png"),
                                      {u"-units"_s, u"PixelsPerInch"_s, u"-density"_s, u"200"_s}, u"tiff"_s);
    EXPECT_EQ(NSImage::imageWithData(tiff)->size(), QSizeF(108, 54));
}

TEST(ImageReading, AResolutionThatIsQtsOwnIsTakenAsItStands) {
    // A file of 100 DPI has what Qt gives a new bitmap without a graphical application.
    const QByteArray picture = encoded(quarters(300, 150), "png");
    for (const QString &format : {u"png"_s, u"tiff"_s, u"jpeg"_s, u"bmp"_s})
        EXPECT_EQ(NSImage::imageWithData(
                      converted(picture, {u"-units"_s, u"PixelsPerInch"_s, u"-density"_s, u"100"_s}, format))
                      ->size(),
                  QSizeF(216, 108))
            << format.toStdString();
}

TEST(ImageReading, WidthAndHeightMayDifferInResolution) {
    QImage picture = quarters(300, 150);
    picture.setDotsPerMeterX(int(std::lround(300 / 0.0254)));
    picture.setDotsPerMeterY(int(std::lround(150 / 0.0254)));
    EXPECT_EQ(readAgain(picture, "png")->size(), QSizeF(72, 72));
}

TEST(ImageReading, AResolutionThatCannotBeMeantIsNone) {
    QImage picture = quarters(30, 15);
    picture.setDotsPerMeterX(1);
    picture.setDotsPerMeterY(2000000000);
    EXPECT_EQ(readAgain(picture, "png")->size(), QSizeF(30, 15));
}

// Orientation and colour

TEST(ImageReading, PhotographsAreTurnedAsTheirDataSays) {
    // The same picture, stored turned: all eight ways of EXIF.
    const QByteArray upright = encoded(quarters(80, 40), "png");
    struct Case {
        int orientation;
        QStringList storing;
    };
    const Case cases[] = {{1, {}},
                          {2, {u"-flop"_s}},
                          {3, {u"-rotate"_s, u"180"_s}},
                          {4, {u"-flip"_s}},
                          {5, {u"-transpose"_s}},
                          {6, {u"-rotate"_s, u"270"_s}},
                          {7, {u"-transverse"_s}},
                          {8, {u"-rotate"_s, u"90"_s}}};
    for (const Case &stored : cases) {
        QByteArray jpeg =
            converted(upright,
                      stored.storing + QStringList{u"-units"_s, u"PixelsPerInch"_s, u"-density"_s, u"72"_s,
                                                   u"-quality"_s, u"95"_s},
                      u"jpeg"_s);
        QByteArray exif("\xFF\xE1\0\x22"
                        "Exif\0\0"
                        "MM\0*\0\0\0\x08"
                        "\0\x01"
                        "\x01\x12\0\x03\0\0\0\x01\0\0\0\0"
                        "\0\0\0\0",
                        36);
        exif[29] = char(stored.orientation);
        jpeg.insert(2, exif);
        const auto image = NSImage::imageWithData(jpeg);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->size(), QSizeF(80, 40)) << stored.orientation;
        EXPECT_TRUE(isNear(pixelOf(*image, 10, 10), Qt::red, 6)) << stored.orientation;
        EXPECT_TRUE(isNear(pixelOf(*image, 70, 10), Qt::green, 6)) << stored.orientation;
        EXPECT_TRUE(isNear(pixelOf(*image, 10, 30), Qt::blue, 6)) << stored.orientation;
    }
}

TEST(ImageReading, ColoursAreConvertedFromTheFilesProfile) {
    QImage picture = plain(20, 20, QColor(200, 100, 50));
    picture.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    const QColor wide = pixelOf(*readAgain(picture, "png"), 5, 5);
    EXPECT_TRUE(isNear(wide, QColor(228, 100, 42), 6)) << wide.name().toStdString();
    EXPECT_TRUE(isNear(pixelOf(*readAgain(picture, "jpeg", 100), 5, 5), wide, 3));
    picture.setColorSpace(QColorSpace(QColorSpace::SRgb));
    EXPECT_EQ(pixelOf(*readAgain(picture, "png"), 5, 5), QColor(200, 100, 50));
}

TEST(ImageReading, AProfileKeepsTransparencyAndSixteenBits) {
    QImage picture(20, 20, QImage::Format_RGBA64);
    picture.fill(QColor::fromRgba64(0x8000, 0x4000, 0x2000, 0x1234));
    picture.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    const QRgba64 color = pixelOf(*readAgain(picture, "png"), 5, 5).rgba64();
    EXPECT_EQ(color.alpha(), 0x1234);
    EXPECT_GT(color.red(), 0x8000);
}

TEST(ImageReading, CMYKPhotographsComeOutInTheirColours) {
    const QByteArray jpeg = converted(encoded(quarters(40, 40), "png"),
                                      {u"-colorspace"_s, u"CMYK"_s, u"-quality"_s, u"95"_s}, u"jpeg"_s);
    const auto image = NSImage::imageWithData(jpeg);
    ASSERT_TRUE(image);
    EXPECT_TRUE(isNear(pixelOf(*image, 5, 5), Qt::red, 8)) << pixelOf(*image, 5, 5).name().toStdString();
    EXPECT_TRUE(isNear(pixelOf(*image, 35, 35), Qt::yellow, 8));
}

TEST(ImageReading, GreyPicturesStayGrey) {
    const QImage grey = plain(20, 20, QColor(77, 77, 77), QImage::Format_Grayscale8);
    EXPECT_EQ(pixelOf(*readAgain(grey, "png"), 5, 5), QColor(77, 77, 77));
    EXPECT_TRUE(isNear(pixelOf(*readAgain(grey, "jpeg", 95), 5, 5), QColor(77, 77, 77), 1));
}

TEST(ImageReading, TransparencyIsKept) {
    const QImage picture = plain(20, 20, QColor(200, 100, 50, 3), QImage::Format_ARGB32);
    EXPECT_EQ(pixelOf(*readAgain(picture, "png"), 5, 5), QColor(200, 100, 50, 3));
    const auto webp = NSImage::imageWithData(
        converted(encoded(picture, "png"),
                  {u"-define"_s, u"webp:lossless=true"_s, u"-define"_s, u"webp:exact=true"_s}, u"webp"_s));
    EXPECT_EQ(pixelOf(*webp, 5, 5), QColor(200, 100, 50, 3));
}

TEST(ImageReading, SixteenBitsAChannelAreKept) {
    QImage picture(20, 20, QImage::Format_Grayscale16);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            reinterpret_cast<quint16 *>(picture.scanLine(y))[x] = 0x1234;
    EXPECT_EQ(pixelOf(*readAgain(picture, "png"), 5, 5).rgba64().red(), 0x1234);
}

// Several pictures in a file

TEST(ImageReading, AnIconFileGivesARepresentationForEachPicture) {
    const auto image = NSImage::imageWithData(
        icon({plain(16, 16, Qt::red), plain(48, 48, Qt::green), plain(32, 32, Qt::blue)}));
    ASSERT_TRUE(image);
    ASSERT_EQ(image->representations().size(), 3);
    EXPECT_EQ(image->representations()[0]->pixelsWide(), 16);
    EXPECT_EQ(image->representations()[1]->pixelsWide(), 48);
    EXPECT_EQ(image->representations()[2]->pixelsWide(), 32);
    EXPECT_EQ(image->size(), QSizeF(16, 16));
    EXPECT_EQ(image->CGImageForProposedRect(QRectF(0, 0, 30, 30)).pixelColor(1, 1), QColor(Qt::blue));
}

TEST(ImageReading, ATIFFFileGivesARepresentationForEachPage) {
    const QByteArray pages = converted(encoded(quarters(40, 30), "png"),
                                       {u"("_s, u"+clone"_s, u"-resize"_s, u"20x15!"_s, u")"_s}, u"tiff"_s);
    const auto representations = NSImageRep::imageRepsWithData(pages);
    ASSERT_EQ(representations.size(), 2);
    EXPECT_EQ(representations[0]->pixelsWide(), 40);
    EXPECT_EQ(representations[1]->pixelsHigh(), 15);
}

TEST(ImageReading, AnAnimationGivesItsFirstPicture) {
    const QByteArray frames =
        converted(encoded(quarters(40, 30), "png"),
                  {u"("_s, u"+clone"_s, u"-negate"_s, u")"_s, u"-delay"_s, u"10"_s}, u"gif"_s);
    const auto image = NSImage::imageWithData(frames);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->representations().size(), 1);
    EXPECT_EQ(pixelOf(*image, 3, 3), QColor(Qt::red));
}

// Reduced reading

TEST(ImageReading, JPEGIsReadSmallerButNotBelowWhatIsAskedFor) {
    const QByteArray jpeg = encoded(quarters(1600, 800), "jpeg", 90);
    const auto pixels = [&](const QSize &atLeast) {
        const auto image = NSImage::imageWithData(jpeg, atLeast);
        EXPECT_EQ(image->size(), QSizeF(1600, 800));
        return bitmapOf(*image).size();
    };
    EXPECT_EQ(pixels({200, 100}), QSize(200, 100));
    EXPECT_EQ(pixels({1, 1}), QSize(200, 100));
    EXPECT_EQ(pixels({201, 1}), QSize(400, 200));
    EXPECT_EQ(pixels({1, 201}), QSize(800, 400));
    EXPECT_EQ(pixels({801, 1}), QSize(1600, 800));
    EXPECT_EQ(pixels({5000, 5000}), QSize(1600, 800));
    EXPECT_EQ(pixels({}), QSize(1600, 800));
}

TEST(ImageReading, AReducedPictureLooksLikeTheWhole) {
    const QImage picture = photograph({1603, 1201}); // which no power of two divides
    const QByteArray jpeg = encoded(picture, "jpeg", 95);
    const auto reduced = NSImage::imageWithData(jpeg, {400, 300});
    const auto whole = NSImage::imageWithData(jpeg);
    EXPECT_LT(bitmapOf(*reduced).width(), 900);
    const auto drawn = [](const NSImage &image) {
        const auto target = std::make_shared<NSImage>(QSizeF(200, 150));
        {
            const NSImageFocus focus = target->lockFocus();
            image.drawInRect(QRectF(0, 0, 200, 150));
        }
        return bitmapOf(*target);
    };
    EXPECT_GE(similarity(drawn(*reduced), drawn(*whole)), 0.97);
}

TEST(ImageReading, ATurnedPhotographIsReducedByItsTurnedSize) {
    QByteArray jpeg = encoded(quarters(1600, 800), "jpeg", 90);
    QByteArray exif("\xFF\xE1\0\x22"
                    "Exif\0\0"
                    "MM\0*\0\0\0\x08"
                    "\0\x01"
                    "\x01\x12\0\x03\0\0\0\x01\0\x06\0\0"
                    "\0\0\0\0",
                    36);
    jpeg.insert(2, exif);
    const auto image = NSImage::imageWithData(jpeg, {150, 400});
    EXPECT_EQ(image->size(), QSizeF(800, 1600));
    EXPECT_EQ(bitmapOf(*image).size(), QSize(200, 400));
}

// Hostile files

TEST(ImageReading, APictureOfFarTooManyPixelsIsRefusedWithoutMemory) {
    const QByteArray bomb = hugePNG(60000, 1, 0);
    EXPECT_LT(bomb.size(), 1000000);
    const qint64 before = peakOfMemory();
    EXPECT_FALSE(NSImage::imageWithData(bomb));
    EXPECT_FALSE(NSImage::imageWithData(bomb, {100, 100}));
    EXPECT_LT(peakOfMemory() - before, 64);
}

TEST(ImageReading, APictureThatIsTooLongIsRefused) {
    EXPECT_FALSE(NSImage::imageWithData(encoded(plain(65536, 1, Qt::red), "png")));
    EXPECT_FALSE(NSImage::imageWithData(encoded(plain(1, 65536, Qt::red), "png")));
    const auto longest = NSImage::imageWithData(encoded(plain(65535, 2, Qt::red), "png"));
    ASSERT_TRUE(longest);
    const auto small = std::make_shared<NSImage>(QSizeF(2, 2));
    {
        const NSImageFocus focus = small->lockFocus();
        longest->drawInRect(QRectF(0, 0, 2, 2));
    }
    EXPECT_EQ(pixelOf(*small, 1, 1), QColor(Qt::red));
}

TEST(ImageReading, APictureBeyondTheProgramsLimitIsRefused) {
    const QByteArray picture = hugePNG(7000, 8, 2); // 196 MB at four bytes a pixel
    EXPECT_FALSE(NSImage::imageWithData(picture));
    const int limit = QImageReader::allocationLimit();
    QImageReader::setAllocationLimit(1);
    EXPECT_FALSE(NSImage::imageWithData(hugePNG(600, 8, 2)));
    EXPECT_TRUE(NSImage::imageWithData(hugePNG(500, 8, 2)));
    QImageReader::setAllocationLimit(limit);
    EXPECT_TRUE(NSImage::imageWithData(hugePNG(600, 8, 2)));
}

TEST(ImageReading, OfManyPicturesThoseWithinTheLimitAreRead) {
    QByteArray file = converted(encoded(quarters(500, 400), "png"),
                                {u"-duplicate"_s, u"3"_s, u"-compress"_s, u"zip"_s}, u"tiff"_s);
    EXPECT_EQ(NSImageRep::imageRepsWithData(file).size(), 4);
    const int limit = QImageReader::allocationLimit();
    QImageReader::setAllocationLimit(2);
    const qsizetype read = NSImageRep::imageRepsWithData(file).size();
    QImageReader::setAllocationLimit(limit);
    EXPECT_EQ(read, 2);
}

TEST(ImageReading, FilesThatClaimHugeSizesAreRefused) {
    // A GIF and a BMP header of 60,000 by 60,000.
    QByteArray gif("GIF89a\x60\xEA\x60\xEA\0\0\0,\0\0\0\0\x60\xEA\x60\xEA\0\x02\x02\x44\x01\0;", 27);
    QByteArray bmp(54, '\0');
    bmp.replace(0, 2, "BM");
    bmp[10] = 54;
    bmp[14] = 40;
    qToLittleEndian(quint32(60000), bmp.data() + 18);
    qToLittleEndian(quint32(60000), bmp.data() + 22);
    bmp[26] = 1;
    bmp[28] = 24;
    const qint64 before = peakOfMemory();
    EXPECT_FALSE(NSImage::imageWithData(gif));
    EXPECT_FALSE(NSImage::imageWithData(bmp));
    EXPECT_LT(peakOfMemory() - before, 64);
}

TEST(ImageReading, AFileThatIsCutShortShowsNothingOfTheMemory) {
    const QImage white = plain(300, 300, Qt::white);
    for (const char *const format : {"bmp", "jpeg", "png"}) {
        const QByteArray whole = encoded(white, format);
        // Memory that was used before.
        QByteArray used(300 * 300 * 4, '\x5A');
        used = QByteArray();
        const auto image = NSImage::imageWithData(whole.left(whole.size() / 2));
        if (!image)
            continue;
        const QImage bitmap = bitmapOf(*image).convertToFormat(QImage::Format_RGB32);
        for (int y = 0; y < 300; ++y) {
            const QColor pixel = bitmap.pixelColor(150, y);
            EXPECT_TRUE(pixel == QColor(Qt::white) || pixel == QColor(Qt::black) ||
                        pixel == QColor(128, 128, 128))
                << format << ' ' << y << ' ' << pixel.name().toStdString();
        }
    }
}

TEST(ImageReading, NeedsNoMainThread) {
    const QByteArray jpeg = encoded(quarters(64, 64), "jpeg", 95);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            const auto image = NSImage::imageWithData(jpeg);
            ASSERT_TRUE(image);
            EXPECT_TRUE(isNear(pixelOf(*image, 5, 5), Qt::red, 4));
        });
    for (std::thread &thread : threads)
        thread.join();
}
