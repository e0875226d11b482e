// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSTextCheckingResult+ZRKit.h"

#include "platform/text/NSRegularExpression.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace ZRKit;

namespace {

const QString text = u"one 22, two"_s;

NSTextCheckingResult match(const QString &pattern) {
    const auto result = NSRegularExpression(pattern).firstMatchInString(text);
    EXPECT_TRUE(result) << qPrintable(pattern);
    return result.value_or(NSTextCheckingResult());
}

} // namespace

TEST(NSTextCheckingResultCategory, InStringIsTheWholeMatch) {
    EXPECT_EQ(inString(match(u"\\d+"_s), text), u"22"_s);
    const QString empty = inString(match(u"x*"_s), text);
    EXPECT_TRUE(empty.isEmpty() && !empty.isNull());
}

TEST(NSTextCheckingResultCategory, InStringAtIsAGroup) {
    const auto result = match(u"(\\w+) (\\d)(\\d)(x)?()"_s);
    EXPECT_EQ(inString(result, text, 0), u"one 22"_s);
    EXPECT_EQ(inString(result, text, 1), u"one"_s);
    EXPECT_EQ(inString(result, text, 3), u"2"_s);
    // A group that took no part, and one that matched nothing.
    for (const int group : {4, 5}) {
        EXPECT_TRUE(inString(result, text, group).isEmpty());
        EXPECT_FALSE(inString(result, text, group).isNull());
    }
    for (const qsizetype beyond : {qsizetype(6), qsizetype(7), NSNotFound, qsizetype(-1)})
        EXPECT_TRUE(inString(result, text, beyond).isNull());
}

TEST(NSTextCheckingResultCategory, GroupsInStringAreAllStrings) {
    EXPECT_EQ(groupsInString(match(u"(\\w+) (x)?(\\d+)"_s), text),
              (QVariantList{u"one 22"_s, u"one"_s, u""_s, u"22"_s}));
    EXPECT_EQ(groupsInString(match(u"two"_s), text), QVariantList{u"two"_s});
    for (const QVariant &group : groupsInString(match(u"(a)?(b)?"_s), text))
        EXPECT_FALSE(group.toString().isNull());
    EXPECT_TRUE(groupsInString(NSTextCheckingResult(), text).isEmpty());
}

TEST(NSTextCheckingResultCategory, AnotherTextThatIsTooShortGivesNil) {
    const auto result = match(u"(t)wo"_s);
    EXPECT_TRUE(inString(result, u"short"_s).isNull());
    EXPECT_TRUE(inString(result, u"short"_s, 1).isNull());
    EXPECT_EQ(groupsInString(result, u"short"_s), (QVariantList{u""_s, u""_s}));
    EXPECT_EQ(inString(NSTextCheckingResult(), text), u""_s);
    EXPECT_TRUE(inString(NSTextCheckingResult(), text, 0).isNull());
}
