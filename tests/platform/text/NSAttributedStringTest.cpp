// SPDX-License-Identifier: MIT
#include "platform/text/NSAttributedString.h"

#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "tests/support/Expect.h"

#include <gtest/gtest.h>

namespace {

using Runs = QList<NSAttributedString::Run>;

const QString text = QStringLiteral("one two");
const QString colour = QStringLiteral("colour"), size = QStringLiteral("size");
const QVariantMap red{{colour, QStringLiteral("red")}}, blue{{colour, QStringLiteral("blue")}};

TEST(NSAttributedString, HoldsATextAndItsAttributes) {
    const NSAttributedString string(text, red);
    EXPECT_EQ(string.string(), text);
    EXPECT_EQ(string.length(), 7);
    EXPECT_EQ(string.runs(), (Runs{{{0, 7}, red}}));
    EXPECT_EQ(NSAttributedString(text).runs(), (Runs{{{0, 7}, {}}}));
}

TEST(NSAttributedString, TheEmptyTextIsNotNullAndHasNoRuns) {
    for (const NSAttributedString &string : {NSAttributedString(), NSAttributedString(QString(), red),
                                             NSAttributedString(QStringLiteral(""), red)}) {
        EXPECT_FALSE(string.string().isNull());
        EXPECT_EQ(string.length(), 0);
        EXPECT_TRUE(string.runs().isEmpty());
        EXPECT_EQ(string, NSAttributedString());
    }
}

TEST(NSAttributedString, PositionsCountUTF16Units) {
    EXPECT_EQ(NSAttributedString(QStringLiteral("\U0001F600")).length(), 2);
}

TEST(NSAttributedString, IsDescribedStretchByStretch) {
    NSMutableAttributedString string(text);
    string.setAttributes(red, {0, 3});
    EXPECT_EQ(string.description(), QStringLiteral("one{\n    colour = \"red\";\n} two{}"));
    EXPECT_EQ(NSAttributedString().description(), QStringLiteral(""));
    EXPECT_FALSE(NSAttributedString().description().isNull());
    EXPECT_EQ(NSObjectRuntime::description(QVariant::fromValue(string)), string.description());
    EXPECT_EQ(NSObjectRuntime::answer(QVariant::fromValue(string), "length"), QVariant(7));
}

TEST(NSAttributedString, GivesAttributesWithTheirStretch) {
    NSMutableAttributedString string(text, red);
    string.addAttribute(size, 12, {2, 3});
    NSRange range;
    EXPECT_EQ(string.attributesAtIndex(0, &range), red);
    EXPECT_EQ(range, (NSRange{0, 2}));
    EXPECT_EQ(string.attributesAtIndex(4, &range).value(size), QVariant(12));
    EXPECT_EQ(range, (NSRange{2, 3}));
    EXPECT_EQ(string.attributesAtIndex(6, &range), red);
    EXPECT_EQ(range, (NSRange{5, 2}));
    EXPECT_EQ(string.attributeAtIndex(colour, 3, &range), red.value(colour));
    EXPECT_EQ(range, (NSRange{0, 7})) << "over stretches that differ in other attributes";
    EXPECT_FALSE(string.attributeAtIndex(size, 0, &range).isValid());
    EXPECT_EQ(range, (NSRange{0, 2}));
    for (const qsizetype bad : {qsizetype(-1), qsizetype(7), NSNotFound}) {
        expectException(NSRangeException, [&] { string.attributesAtIndex(bad); });
        expectException(NSRangeException, [&] { string.attributeAtIndex(size, bad); });
    }
}

TEST(NSAttributedString, GivesParts) {
    NSMutableAttributedString string(text, red);
    string.setAttributes(blue, {2, 3});
    const NSAttributedString part = string.attributedSubstringFromRange({1, 3});
    EXPECT_EQ(part.string(), QStringLiteral("ne "));
    EXPECT_EQ(part.runs(), (Runs{{{0, 1}, red}, {{1, 2}, blue}}));
    EXPECT_EQ(string.attributedSubstringFromRange({0, 7}), string);
    EXPECT_EQ(string.attributedSubstringFromRange({7, 0}), NSAttributedString());
    for (const NSRange bad :
         {NSRange{0, 8}, NSRange{8, 0}, NSRange{-1, 1}, NSRange{1, -1}, NSRange{1, NSNotFound}})
        expectException(NSRangeException, [&] { string.attributedSubstringFromRange(bad); });
}

TEST(NSAttributedString, EnumeratesStretchesUntilStopped) {
    NSMutableAttributedString string(text, red);
    string.setAttributes(blue, {2, 3});
    Runs seen;
    string.enumerateAttributesInRange({1, 5}, [&](const QVariantMap &attributes, NSRange range, bool *) {
        seen.append({range, attributes});
        string.deleteCharactersInRange({0, 1});
    });
    EXPECT_EQ(seen, (Runs{{{1, 1}, red}, {{2, 3}, blue}, {{5, 1}, red}}));
    int calls = 0;
    string.enumerateAttributesInRange({0, string.length()}, [&](const QVariantMap &, NSRange, bool *stop) {
        ++calls;
        *stop = true;
    });
    EXPECT_EQ(calls, 1);
}

TEST(NSAttributedString, EqualsWhereTextAndAttributesDo) {
    NSMutableAttributedString pieces(QStringLiteral("one"), red);
    pieces.appendAttributedString(NSAttributedString(QStringLiteral(" two"), red));
    EXPECT_EQ(pieces, NSMutableAttributedString(text, red)) << "equal neighbours are one stretch";
    EXPECT_FALSE(pieces == NSMutableAttributedString(text, blue));
    EXPECT_FALSE(pieces == NSMutableAttributedString(QStringLiteral("one")));
}

TEST(NSMutableAttributedString, AppendsAndInserts) {
    NSMutableAttributedString string;
    string.appendAttributedString(NSAttributedString(QStringLiteral("a"), red));
    string.appendAttributedString(NSAttributedString());
    string.appendAttributedString(NSAttributedString(QStringLiteral("b"), blue));
    string.appendAttributedString(string);
    EXPECT_EQ(string.string(), QStringLiteral("abab"));
    EXPECT_EQ(string.runs(), (Runs{{{0, 1}, red}, {{1, 1}, blue}, {{2, 1}, red}, {{3, 1}, blue}}));
    string.insertAttributedString(NSAttributedString(QStringLiteral("xx"), blue), 1);
    EXPECT_EQ(string.string(), QStringLiteral("axxbab"));
    EXPECT_EQ(string.runs(), (Runs{{{0, 1}, red}, {{1, 3}, blue}, {{4, 1}, red}, {{5, 1}, blue}}));
    string.insertAttributedString(string, 6);
    EXPECT_EQ(string.string(), QStringLiteral("axxbabaxxbab"));
    expectException(NSRangeException, [&] { string.insertAttributedString(string, 13); });
}

TEST(NSMutableAttributedString, ReplacesCharacters) {
    NSMutableAttributedString string(text, red);
    string.replaceCharactersInRange({0, 3}, NSAttributedString(QStringLiteral("1"), blue));
    EXPECT_EQ(string.string(), QStringLiteral("1 two"));
    EXPECT_EQ(string.runs(), (Runs{{{0, 1}, blue}, {{1, 4}, red}}));
    string.replaceCharactersInRange({0, 2}, QStringLiteral("xyz"));
    EXPECT_EQ(string.runs(), (Runs{{{0, 3}, blue}, {{3, 3}, red}})) << "the first replaced unit's attributes";
    string.replaceCharactersInRange({3, 0}, QStringLiteral("-"));
    EXPECT_EQ(string.runs(), (Runs{{{0, 4}, blue}, {{4, 3}, red}})) << "those of the unit before";
    string.replaceCharactersInRange({0, 0}, QStringLiteral("-"));
    EXPECT_EQ(string.runs(), (Runs{{{0, 5}, blue}, {{5, 3}, red}})) << "those of the unit behind";
    string.deleteCharactersInRange({0, 5});
    EXPECT_EQ(string, NSMutableAttributedString(QStringLiteral("two"), red));
    string.deleteCharactersInRange({0, 3});
    EXPECT_EQ(string, NSMutableAttributedString());
    string.replaceCharactersInRange({0, 0}, QStringLiteral("new"));
    EXPECT_EQ(string, NSMutableAttributedString(QStringLiteral("new")));
    expectException(NSRangeException, [&] { string.replaceCharactersInRange({2, 2}, text); });
    expectException(NSRangeException, [&] { string.deleteCharactersInRange({4, 0}); });
    EXPECT_EQ(string, NSMutableAttributedString(QStringLiteral("new")));
    string.setAttributedString(NSAttributedString(text, blue));
    EXPECT_EQ(string, NSMutableAttributedString(text, blue));
}

TEST(NSMutableAttributedString, ChangesAttributes) {
    NSMutableAttributedString string(text, red);
    string.addAttributes({{size, 12}, {colour, QStringLiteral("blue")}}, {0, 3});
    EXPECT_EQ(string.attributesAtIndex(0), (QVariantMap{{size, 12}, {colour, QStringLiteral("blue")}}));
    string.removeAttribute(size, {0, 7});
    EXPECT_EQ(string.runs(), (Runs{{{0, 3}, blue}, {{3, 4}, red}}));
    string.addAttribute(colour, QStringLiteral("red"), {0, 3});
    EXPECT_EQ(string.runs(), (Runs{{{0, 7}, red}}));
    string.setAttributes({}, {6, 1});
    EXPECT_EQ(string.runs(), (Runs{{{0, 6}, red}, {{6, 1}, {}}}));
    string.addAttribute(size, 1, {3, 0});
    string.addAttribute(size, 1, {7, 0});
    EXPECT_EQ(string.runs().size(), 2) << "an empty range changes nothing";
    string.addAttribute(size, NSNull(), {0, 1});
    EXPECT_TRUE(NSIsNull(string.attributeAtIndex(size, 0)));
    expectException(NSInvalidArgumentException, [&] { string.addAttribute(size, QVariant(), {0, 1}); });
    expectException(NSRangeException, [&] { string.addAttribute(size, 1, {0, 8}); });
    expectException(NSRangeException, [&] { string.setAttributes(red, {8, 0}); });
    expectException(NSRangeException, [&] { string.removeAttribute(size, {-1, 1}); });
    NSMutableAttributedString empty;
    empty.addAttribute(size, 1, {0, 0});
    EXPECT_EQ(empty, NSMutableAttributedString());
}

} // namespace
