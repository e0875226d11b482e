// SPDX-License-Identifier: MIT
#include "platform/text/NSCharacterSet.h"

#include <gtest/gtest.h>
#include <set>
#include <string_view>

namespace {

/// The code points with the property White_Space in Unicode's PropList.txt, and the line breaks among them.
const std::set<char32_t> unicodeWhiteSpace{
    0x09,   0x0a,   0x0b,   0x0c,   0x0d,   0x20,   0x85,   0xa0,   0x1680, 0x2000, 0x2001, 0x2002, 0x2003,
    0x2004, 0x2005, 0x2006, 0x2007, 0x2008, 0x2009, 0x200a, 0x2028, 0x2029, 0x202f, 0x205f, 0x3000};
const std::set<char32_t> unicodeNewlines{0x0a, 0x0b, 0x0c, 0x0d, 0x85, 0x2028, 0x2029};

TEST(NSCharacterSet, WhiteSpaceIsUnicodesTable) {
    const NSCharacterSet both = NSCharacterSet::whitespaceAndNewlineCharacterSet();
    const NSCharacterSet blanks = NSCharacterSet::whitespaceCharacterSet();
    const NSCharacterSet newlines = NSCharacterSet::newlineCharacterSet();
    for (char32_t c = 0; c <= QChar::LastValidCodePoint; ++c) {
        const bool isNewline = unicodeNewlines.contains(c);
        ASSERT_EQ(both.longCharacterIsMember(c), unicodeWhiteSpace.contains(c)) << unsigned(c);
        ASSERT_EQ(newlines.longCharacterIsMember(c), isNewline) << unsigned(c);
        ASSERT_EQ(blanks.longCharacterIsMember(c), unicodeWhiteSpace.contains(c) && !isNewline)
            << unsigned(c);
        if (c < 0x10000) {
            ASSERT_EQ(NSIsWhitespaceOrNewline(char16_t(c)), unicodeWhiteSpace.contains(c)) << unsigned(c);
        }
    }
}

TEST(NSCharacterSet, SetsOfCategoriesKnowAllScripts) {
    EXPECT_TRUE(NSCharacterSet::decimalDigitCharacterSet().characterIsMember(u'7'));
    EXPECT_TRUE(NSCharacterSet::decimalDigitCharacterSet().characterIsMember(0x0663));
    EXPECT_FALSE(NSCharacterSet::decimalDigitCharacterSet().characterIsMember(u'a'));
    EXPECT_TRUE(NSCharacterSet::letterCharacterSet().characterIsMember(u'é'));
    EXPECT_TRUE(NSCharacterSet::letterCharacterSet().characterIsMember(0x0301));
    EXPECT_TRUE(NSCharacterSet::letterCharacterSet().longCharacterIsMember(0x1d49c));
    EXPECT_FALSE(NSCharacterSet::letterCharacterSet().characterIsMember(u'7'));
    EXPECT_TRUE(NSCharacterSet::alphanumericCharacterSet().characterIsMember(u'7'));
    EXPECT_TRUE(NSCharacterSet::alphanumericCharacterSet().characterIsMember(u'½'));
    EXPECT_FALSE(NSCharacterSet::alphanumericCharacterSet().characterIsMember(u'-'));
    EXPECT_TRUE(NSCharacterSet::punctuationCharacterSet().characterIsMember(u'-'));
    EXPECT_FALSE(NSCharacterSet::punctuationCharacterSet().characterIsMember(u'+'));
}

TEST(NSCharacterSet, HoldsTheCharactersOfAText) {
    const NSCharacterSet set = NSCharacterSet::characterSetWithCharactersInString(u"cab-aé\U0001f600");
    for (const char32_t c : std::u32string_view(U"abc-é\U0001f600"))
        EXPECT_TRUE(set.longCharacterIsMember(c)) << unsigned(c);
    for (const char32_t c : U"\0d`.ABCê\U0001f601")
        EXPECT_FALSE(set.longCharacterIsMember(c)) << unsigned(c);
    // Half of a character is not that character.
    EXPECT_FALSE(set.characterIsMember(0xd83d));
    EXPECT_FALSE(set.characterIsMember(0xde00));
}

TEST(NSCharacterSet, AHalfWithoutItsPartnerStandsForItself) {
    const char16_t half[] = {u'a', 0xd83d, u'b'};
    const NSCharacterSet set = NSCharacterSet::characterSetWithCharactersInString(QStringView(half, 3));
    EXPECT_TRUE(set.characterIsMember(0xd83d));
    EXPECT_TRUE(set.characterIsMember(u'b'));
    EXPECT_FALSE(set.characterIsMember(0xde00));
}

TEST(NSCharacterSet, RangesHoldBothEnds) {
    const NSCharacterSet set = NSCharacterSet::characterSetWithRange(U'b', U'd');
    EXPECT_FALSE(set.characterIsMember(u'a'));
    EXPECT_TRUE(set.characterIsMember(u'b'));
    EXPECT_TRUE(set.characterIsMember(u'd'));
    EXPECT_FALSE(set.characterIsMember(u'e'));
    const NSCharacterSet last = NSCharacterSet::characterSetWithRange(0x10fffe, 0xffffffff);
    EXPECT_TRUE(last.longCharacterIsMember(0x10ffff));
    EXPECT_FALSE(last.longCharacterIsMember(0x110000));
    EXPECT_FALSE(NSCharacterSet::characterSetWithRange(U'd', U'b').characterIsMember(u'c'));
}

TEST(NSCharacterSet, InvertingTwiceGivesTheSame) {
    for (const NSCharacterSet &set : {NSCharacterSet::whitespaceAndNewlineCharacterSet(),
                                      NSCharacterSet::characterSetWithCharactersInString(u""),
                                      NSCharacterSet::characterSetWithRange(0, 0x7f),
                                      NSCharacterSet::characterSetWithRange(0xffff, 0x10ffff)}) {
        const NSCharacterSet inverted = set.invertedSet();
        const NSCharacterSet again = inverted.invertedSet();
        for (char32_t c = 0; c <= QChar::LastValidCodePoint; ++c) {
            ASSERT_NE(inverted.longCharacterIsMember(c), set.longCharacterIsMember(c)) << unsigned(c);
            ASSERT_EQ(again.longCharacterIsMember(c), set.longCharacterIsMember(c)) << unsigned(c);
        }
        EXPECT_FALSE(inverted.longCharacterIsMember(0x110000));
    }
}

TEST(NSCharacterSet, UnionsHoldWhatOneOfBothHolds) {
    const NSCharacterSet a = NSCharacterSet::characterSetWithRange(U'a', U'm');
    const NSCharacterSet b = NSCharacterSet::characterSetWithCharactersInString(u"mnz9");
    const NSCharacterSet both = a.formUnion(b);
    for (char32_t c = 0; c < 0x200; ++c)
        EXPECT_EQ(both.longCharacterIsMember(c), a.longCharacterIsMember(c) || b.longCharacterIsMember(c));
    EXPECT_TRUE(NSCharacterSet().formUnion(b).characterIsMember(u'9'));
}

TEST(NSCharacterSet, NilIsNotTheEmptySet) {
    EXPECT_TRUE(NSCharacterSet().isNull());
    EXPECT_FALSE(NSCharacterSet().characterIsMember(u'a'));
    EXPECT_TRUE(NSCharacterSet().invertedSet().isNull());
    const NSCharacterSet none = NSCharacterSet::characterSetWithCharactersInString({});
    EXPECT_FALSE(none.isNull());
    EXPECT_FALSE(none.characterIsMember(u'\0'));
    EXPECT_TRUE(none.invertedSet().characterIsMember(u'\0'));
}

} // namespace
