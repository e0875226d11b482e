// SPDX-License-Identifier: MIT
#include "platform/text/WebDataURL.h"

#include <gtest/gtest.h>

TEST(WebDataURL, TypeCharsetAndBody) {
    const WebDataURL html("data:Text/HTML;charset=\"koi8-r\";x=y,a%20b,c%00");
    EXPECT_EQ(html.mimeType(), "text/html");
    EXPECT_EQ(html.charset(), "koi8-r");
    EXPECT_EQ(html.body(), QByteArray("a b,c\0", 6));
    const WebDataURL picture("DATA:image/gif;base64,R0lG%4F%44");
    EXPECT_EQ(picture.mimeType(), "image/gif");
    EXPECT_EQ(picture.body(), QByteArray::fromBase64("R0lGOD"));
}

TEST(WebDataURL, TextIsWhatHasNoType) {
    for (const char *url : {"data:,x", "data:;charset=utf-8,x", "data:nonsense,x"})
        EXPECT_EQ(WebDataURL(url).mimeType(), "text/plain") << url;
}

TEST(WebDataURL, EmptyAndBroken) {
    EXPECT_TRUE(WebDataURL("data:,").body().isEmpty());
    EXPECT_FALSE(WebDataURL("data:,").body().isNull());
    EXPECT_TRUE(WebDataURL("data:text/html").body().isNull());
    EXPECT_TRUE(WebDataURL("http://a.example/,").body().isNull());
    EXPECT_TRUE(WebDataURL("").body().isNull());
}
