// SPDX-License-Identifier: MIT
#include "platform/images/ImageFormat.h"

#include <gtest/gtest.h>

using namespace zr;

TEST(ImageFormat, IsToldByTheFirstBytes) {
    EXPECT_EQ(imageFormatOf("\x89PNG\r\n\x1a\n..."), "png");
    EXPECT_EQ(imageFormatOf("\xFF\xD8\xFF\xE0"), "jpeg");
    EXPECT_EQ(imageFormatOf("GIF87a"), "gif");
    EXPECT_EQ(imageFormatOf("GIF89a..."), "gif");
    EXPECT_EQ(imageFormatOf("RIFF\x10\x20\x30\x40WEBPVP8 "), "webp");
    EXPECT_EQ(imageFormatOf(QByteArrayView("II*\0\x08", 5)), "tiff");
    EXPECT_EQ(imageFormatOf(QByteArrayView("MM\0*", 4)), "tiff");
    EXPECT_EQ(imageFormatOf(QByteArrayView("II+\0", 4)), "tiff");
    EXPECT_EQ(imageFormatOf("BM...."), "bmp");
    EXPECT_EQ(imageFormatOf(QByteArrayView("\0\0\1\0\2\0", 6)), "ico");
}

TEST(ImageFormat, TextThatBeginsLikeXMLIsTakenForSVG) {
    EXPECT_EQ(imageFormatOf("<svg/>"), "svg");
    EXPECT_EQ(imageFormatOf("\xEF\xBB\xBF \r\n\t<?xml version='1.0'?>"), "svg");
    EXPECT_EQ(imageFormatOf(QByteArrayView("\xFF\xFE<\0s\0", 6)), "svg");
    EXPECT_EQ(imageFormatOf(QByteArrayView("\xFE\xFF\0<\0s", 6)), "svg");
}

TEST(ImageFormat, NothingElseReachesAPlugin) {
    for (const QByteArrayView bytes :
         {QByteArrayView(), QByteArrayView(""), QByteArrayView("\x89PN"), QByteArrayView("GIF88a"),
          QByteArrayView("RIFF....WAVE"), QByteArrayView("P6 1 1 255"), QByteArrayView("/* XPM */"),
          QByteArrayView("icns...."), QByteArrayView("\0\0\2\0", 4), QByteArrayView("\x1F\x8B\x08"),
          QByteArrayView("\0\0\0\0\0\0\0\0", 8), QByteArrayView("text")})
        EXPECT_TRUE(imageFormatOf(bytes).isNull()) << bytes.toByteArray().toHex().constData();
}
