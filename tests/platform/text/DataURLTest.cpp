// SPDX-License-Identifier: MIT
#include "platform/text/DataURL.h"

#include <gtest/gtest.h>

using zr::DataURL;

TEST(DataURL, TypeCharsetAndBody) {
    const DataURL html("data:Text/HTML;charset=\"koi8-r\";x=y,a%20b,c%00");
    EXPECT_EQ(html.mimeType(), "text/html");
    EXPECT_EQ(html.charset(), "koi8-r");
    EXPECT_EQ(html.body(), QByteArray("a b,c\0", 6));
    const DataURL picture("DATA:image/gif;base64,R0lG%4F%44");
    EXPECT_EQ(picture.mimeType(), "image/gif");
    EXPECT_EQ(picture.body(), QByteArray::fromBase64("R0lGOD"));
}

TEST(DataURL, TextIsWhatHasNoType) {
    for (const char *url : {"data:,x", "data:;charset=utf-8,x", "data:nonsense,x"})
        EXPECT_EQ(DataURL(url).mimeType(), "text/plain") << url;
}

TEST(DataURL, EmptyAndBroken) {
    EXPECT_TRUE(DataURL("data:,").body().isEmpty());
    EXPECT_FALSE(DataURL("data:,").body().isNull());
    EXPECT_TRUE(DataURL("data:text/html").body().isNull());
    EXPECT_TRUE(DataURL("http://a.example/,").body().isNull());
    EXPECT_TRUE(DataURL("").body().isNull());
}
