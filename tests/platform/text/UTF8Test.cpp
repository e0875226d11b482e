// SPDX-License-Identifier: MIT
#include "platform/text/UTF8.h"

#include <gtest/gtest.h>

namespace {

TEST(UTF8, TextsComeBackAsTheyWere) {
    for (const QString &text :
         {QStringLiteral("a"), QStringLiteral("é€𝄞"), QStringLiteral("\ufeffa\ufeff"),
          QStringLiteral("\uffff\ufffe"), QString(3, QChar(u'\0')), QStringLiteral("\U0010ffff")}) {
        EXPECT_EQ(NSStringFromUTF8(NSDataUsingUTF8(text)), text) << text.toStdString();
    }
    EXPECT_EQ(NSDataUsingUTF8(u"é€"), "\xc3\xa9\xe2\x82\xac");
}

TEST(UTF8, AByteOrderMarkStays) {
    EXPECT_EQ(NSStringFromUTF8("\xef\xbb\xbfx"), QStringLiteral("\ufeffx"));
    EXPECT_EQ(NSStringFromUTF8("\xef\xbb\xbf"), QStringLiteral("\ufeff"));
}

TEST(UTF8, EmptyAndNilAreKeptApart) {
    EXPECT_TRUE(NSStringFromUTF8("").isEmpty());
    EXPECT_FALSE(NSStringFromUTF8("").isNull());
    EXPECT_FALSE(NSDataUsingUTF8(u"").isNull());
    EXPECT_TRUE(NSDataUsingUTF8({}).isNull());
}

TEST(UTF8, WhatIsNotUTF8IsNil) {
    for (const char *bytes : {"\x80", "a\xc3", "a\xe2\x82", "\xf0\x9d\x84", "\xc0\xaf", "\xc1\x81",
                              "\xe0\x80\x80", "\xed\xa0\x80", "\xed\xbf\xbf", "\xf4\x90\x80\x80",
                              "\xf8\x88\x80\x80\x80", "\xff", "ab\xc3(", "\xe9t\xe9"})
        EXPECT_TRUE(NSStringFromUTF8(bytes).isNull()) << QByteArray(bytes).toHex().toStdString();
}

TEST(UTF8, HalfASurrogatePairHasNoBytes) {
    const char16_t high[] = {u'a', 0xd834, u'b'};
    const char16_t low[] = {0xdd1e};
    const char16_t swapped[] = {0xdd1e, 0xd834};
    EXPECT_TRUE(NSDataUsingUTF8(QStringView(high, 3)).isNull());
    EXPECT_TRUE(NSDataUsingUTF8(QStringView(low, 1)).isNull());
    EXPECT_TRUE(NSDataUsingUTF8(QStringView(swapped, 2)).isNull());
}

} // namespace
