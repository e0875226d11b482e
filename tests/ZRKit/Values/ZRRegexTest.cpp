// SPDX-License-Identifier: MIT
#include "ZRKit/Values/ZRRegex.h"

#include "platform/values/NSKeyValueCoding.h"
#include "tests/support/LogCapture.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

ZRRegexMatch firstMatch(const ZRRegex &regex, const QString &text) {
    std::optional<ZRRegexMatch> first;
    regex.enumerateMatchesInString(text, [&](const ZRRegexMatch &match, bool *stop) {
        first = match;
        *stop = true;
    });
    EXPECT_TRUE(first) << qPrintable(regex.pattern());
    return first.value_or(ZRRegexMatch(regex, text, {}));
}

QVariantMap mappings(const QString &pattern, NSRegularExpressionOptions options = 0) {
    return ZRRegex(pattern, options).groupNameMappings().value_or(QVariantMap());
}

} // namespace

TEST(ZRRegex, NamesMapToTheNumbersOfTheirGroups) {
    const ZRRegex regex(u"(\\d+)-(?<year>\\d{4})(?:x)(?<tag>\\w+)"_s);
    EXPECT_EQ(regex.groupNameMappings(), (QVariantMap{{u"year"_s, 2}, {u"tag"_s, 3}}));
    EXPECT_EQ(regex.regex().pattern(), u"(\\d+)-(\\d{4})(?:x)(\\w+)"_s);
    EXPECT_EQ(regex.pattern(), u"(\\d+)-(?<year>\\d{4})(?:x)(?<tag>\\w+)"_s);
    const auto match = firstMatch(regex, u"12-2024xabc"_s);
    EXPECT_EQ(match.stringForGroupName(u"year"_s), u"2024"_s);
    EXPECT_EQ(match.objectForKeyedSubscript(u"tag"_s), u"abc"_s);
    EXPECT_EQ(match[u"tag"_s], u"abc"_s);
    EXPECT_EQ(match.stringValue(), u"12-2024xabc"_s);
}

TEST(ZRRegex, NamesAreWordsDigitsAndDashes) {
    EXPECT_EQ(mappings(u"(?<a-1>x)(?<_>y)(?<\u00e9>z)(?<7>w)"_s),
              (QVariantMap{{u"a-1"_s, 1}, {u"_"_s, 2}, {u"\u00e9"_s, 3}, {u"7"_s, 4}}));
    EXPECT_TRUE(mappings(u"(?<=a)(?<!b)c"_s).isEmpty());
}

TEST(ZRRegex, GroupsThatCaptureNothingDoNotCount) {
    EXPECT_EQ(mappings(u"(?:a)(?#(c)(?=d)(?!e)(?<=f)(?<!g)(?<n>h)"_s).value(u"n"_s), 2);
    EXPECT_EQ(mappings(u"((a)(?:(b)))(?<n>c)(?<m>(d))"_s), (QVariantMap{{u"n"_s, 4}, {u"m"_s, 5}}));
    EXPECT_EQ(mappings(u"(?<outer>(?<inner>a)b)"_s), (QVariantMap{{u"outer"_s, 1}, {u"inner"_s, 2}}));
}

TEST(ZRRegex, CountingIsByTextAlone) {
    EXPECT_EQ(mappings(u"\\((?<n>a)"_s).value(u"n"_s), 2);
    EXPECT_EQ(mappings(u"[(](?<n>a)"_s).value(u"n"_s), 2);
    EXPECT_EQ(mappings(u"# (\n(?<n>a)"_s, ZRRegex::DefaultOptions).value(u"n"_s), 2);
    // Forms that capture nothing but aren't among those that the counter knows.
    EXPECT_EQ(mappings(u"(?>x)(?<n>a)"_s).value(u"n"_s), 2);
    EXPECT_EQ(mappings(u"(?i)(?<n>a)"_s).value(u"n"_s), 2);
    // The rewrite doesn't look at where a name stands, either.
    EXPECT_EQ(ZRRegex(u"(?<n>a)[(?<n>]"_s, 0).regex().pattern(), u"(a)[(]"_s);
}

TEST(ZRRegex, WithoutNamesThereAreNoMappings) {
    const ZRRegex regex(u"(a)(b)"_s);
    EXPECT_EQ(regex.groupNameMappings(), std::nullopt);
    const auto match = firstMatch(regex, u"ab"_s);
    for (const QString &name : {u"a"_s, u"1"_s, u""_s, QString()})
        EXPECT_TRUE(match.stringForGroupName(name).isNull());
}

TEST(ZRRegex, AnUnknownNameIsNilAGroupThatTookNoPartIsEmpty) {
    const auto match = firstMatch(ZRRegex(u"(?<a>a)|(?<b>b)"_s), u"a"_s);
    EXPECT_EQ(match[u"a"_s], u"a"_s);
    EXPECT_TRUE(match[u"b"_s].isEmpty());
    EXPECT_FALSE(match[u"b"_s].isNull());
    EXPECT_TRUE(match[u"c"_s].isNull());
    EXPECT_TRUE(match[u"A"_s].isNull());
}

TEST(ZRRegex, DefaultOptionsAre19) {
    EXPECT_EQ(ZRRegex::DefaultOptions, 19u);
    const ZRRegex regex(u"a b"_s);
    EXPECT_EQ(regex.options(), 19u);
    EXPECT_EQ(regex.regex().options(), 19u);
    EXPECT_EQ(regex.allStringMatchesinString(u"ab AB a b"_s), (QVariantList{u"ab"_s, u"AB"_s}));
    EXPECT_EQ(ZRRegex(u"^x # comment"_s).allStringMatchesinString(u"x\nX"_s), (QVariantList{u"x"_s, u"X"_s}));
    EXPECT_EQ(ZRRegex(u"a b"_s, 0).allStringMatchesinString(u"ab AB a b"_s), QVariantList{u"a b"_s});
}

TEST(ZRRegex, OptionBitsPassThroughUnchanged) {
    for (const NSRegularExpressionOptions options : {0ull, 1ull, 8ull, 64ull, 127ull, 1ull << 40}) {
        EXPECT_EQ(ZRRegex(u"a"_s, options).options(), options);
        EXPECT_EQ(ZRRegex(u"a"_s, options).regex().options(), options);
    }
}

TEST(ZRRegex, AllStringMatchesAreTheWholeMatchesInOrder) {
    EXPECT_EQ(ZRRegex(u"(\\w)(\\d)"_s).allStringMatchesinString(u"a1 b2,c3"_s),
              (QVariantList{u"a1"_s, u"b2"_s, u"c3"_s}));
    EXPECT_EQ(ZRRegex(u"x"_s).allStringMatchesinString(u"abc"_s), QVariantList());
    EXPECT_EQ(ZRRegex(u"a*"_s).allStringMatchesinString(u"a"_s), (QVariantList{u"a"_s, u""_s}));
    EXPECT_EQ(ZRRegex(u"a*"_s).allStringMatchesinString(u""_s), QVariantList{u""_s});
}

TEST(ZRRegex, EnumeratesMatchesUntilToldToStop) {
    const ZRRegex regex(u"(?<letter>[a-z])"_s);
    QString seen;
    regex.enumerateMatchesInString(u"a1b2c3"_s, [&](const ZRRegexMatch &match, bool *stop) {
        EXPECT_EQ(match.text(), u"a1b2c3"_s);
        EXPECT_EQ(match.match().range().length, 1);
        EXPECT_EQ(match.match().numberOfRanges(), 2);
        seen += match[u"letter"_s];
        *stop = seen.size() == 2;
    });
    EXPECT_EQ(seen, u"ab"_s);
}

TEST(ZRRegex, EnumeratesWithMatchingOptions) {
    int matches = 0;
    const auto count = [&](const ZRRegexMatch &, bool *) { ++matches; };
    const ZRRegex regex(u"a"_s);
    regex.enumerateMatchesInString(u"aa"_s, NSMatchingAnchored, count);
    EXPECT_EQ(matches, 1);
    matches = 0;
    regex.enumerateMatchesInString(u"ba"_s, NSMatchingAnchored, count);
    EXPECT_EQ(matches, 0);
    // Reports that are no matches don't reach the block.
    regex.enumerateMatchesInString(u"aa"_s, NSMatchingReportCompletion | NSMatchingReportProgress, count);
    EXPECT_EQ(matches, 2);
}

TEST(ZRRegex, AMatchKeepsWhatItNeeds) {
    std::optional<ZRRegexMatch> kept;
    {
        QString text = u"key=value"_s;
        ZRRegex(u"(?<k>\\w+)=(?<v>\\w+)"_s)
            .enumerateMatchesInString(text, [&](const ZRRegexMatch &match, bool *) { kept = match; });
        text.fill(u'-');
    }
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->stringForGroupName(u"v"_s), u"value"_s);
    EXPECT_EQ(kept->stringValue(), u"key=value"_s);
    // What it has from its base isn't used.
    EXPECT_EQ(kept->numberOfRanges(), 0);
}

TEST(ZRRegex, AMatchIsMadeOfItsThreeParts) {
    const ZRRegex regex(u"(?<n>b)"_s);
    const auto result = regex.regex().firstMatchInString(u"abc"_s);
    ASSERT_TRUE(result);
    const ZRRegexMatch match(regex, u"xyz"_s, *result);
    EXPECT_EQ(match.text(), u"xyz"_s);
    EXPECT_EQ(match.match().range(), (NSRange{1, 1}));
    EXPECT_EQ(match.stringValue(), u"y"_s);
    EXPECT_EQ(match[u"n"_s], u"y"_s);
}

TEST(ZRRegex, MatchesAnswerByKey) {
    const QVariant match = QVariant::fromValue(firstMatch(ZRRegex(u"b"_s), u"abc"_s));
    EXPECT_EQ(NSKeyValueCoding::valueForKey(match, u"stringValue"_s), QVariant(u"b"_s));
    EXPECT_EQ(NSKeyValueCoding::valueForKey(match, u"text"_s), QVariant(u"abc"_s));
}

TEST(ZRRegex, ANameDefinedTwiceIsLoggedAndStandsForTheLaterGroup) {
    LogCapture log;
    const ZRRegex regex(u"(?<n>a)(?<m>b)(?<n>c)"_s);
    EXPECT_EQ(log.lines().size(), 1);
    EXPECT_EQ(log.count(u"Only define once! <ZRRegex:136> __20-[ZRRegex configure]_block_invoke\n\n"
                        u"    ![_groupNameMappings objectForKey:label] failed assertion\n\n"_s),
              1);
    EXPECT_EQ(regex.groupNameMappings(), (QVariantMap{{u"n"_s, 3}, {u"m"_s, 2}}));
    EXPECT_EQ(regex.regex().pattern(), u"(a)(b)(c)"_s);
    EXPECT_EQ(firstMatch(regex, u"abc"_s)[u"n"_s], u"c"_s);
}

TEST(ZRRegex, AnInvalidPatternIsLoggedAndFindsNothing) {
    for (const QString &pattern : {u"(?<n>a"_s, u"["_s, u""_s, QString()}) {
        LogCapture log;
        const ZRRegex regex(pattern);
        EXPECT_EQ(log.lines().size(), 1);
        EXPECT_EQ(
            log.count(u"Assertion <ZRRegex:158> -[ZRRegex configure]\n\n    (_regex) failed assertion\n\n"_s),
            1);
        EXPECT_TRUE(regex.regex().isNil());
        EXPECT_EQ(regex.allStringMatchesinString(u"a"_s), std::nullopt);
        regex.enumerateMatchesInString(u"a"_s, [](const ZRRegexMatch &, bool *) { FAIL(); });
        regex.enumerateMatchesInString(u"a"_s, NSMatchingReportCompletion,
                                       [](const ZRRegexMatch &, bool *) { FAIL(); });
    }
}

TEST(ZRRegex, TheCacheGivesTheSameObject) {
    const QString pattern = u"cached (?<n>x)"_s;
    const ZRRegex first = ZRRegex::regexWithPattern(pattern, 19, true);
    EXPECT_EQ(first, ZRRegex::regexWithPattern(pattern, 19, true));
    EXPECT_FALSE(first == ZRRegex::regexWithPattern(pattern, 0, true));
    EXPECT_EQ(ZRRegex::regexWithPattern(pattern, 0, true).options(), 0u);
    EXPECT_FALSE(first == ZRRegex::regexWithPattern(pattern + u' ', 19, true));
    EXPECT_EQ(first.groupNameMappings(), (QVariantMap{{u"n"_s, 1}}));
}

TEST(ZRRegex, WithoutTheFlagTheCacheIsNeitherReadNorWritten) {
    const QString pattern = u"uncached x"_s;
    const ZRRegex uncached = ZRRegex::regexWithPattern(pattern, 19, false);
    const ZRRegex cached = ZRRegex::regexWithPattern(pattern, 19, true);
    EXPECT_FALSE(uncached == cached);
    EXPECT_FALSE(ZRRegex::regexWithPattern(pattern, 19, false) == cached);
    EXPECT_EQ(ZRRegex::regexWithPattern(pattern, 19, true), cached);
}

TEST(ZRRegex, AnInvalidPatternIsCachedToo) {
    LogCapture log;
    const ZRRegex first = ZRRegex::regexWithPattern(u"(cached"_s, 19, true);
    EXPECT_EQ(first, ZRRegex::regexWithPattern(u"(cached"_s, 19, true));
    EXPECT_EQ(log.lines().size(), 1);
}

TEST(ZRRegex, TheCacheDropsWhatWasNotAskedForAndMakesItAgain) {
    const ZRRegex first = ZRRegex::regexWithPattern(u"dropped"_s, 0, true);
    for (int i = 0; i < 2000; ++i)
        ZRRegex::regexWithPattern(u"other%1"_s.arg(i), 0, true);
    const ZRRegex second = ZRRegex::regexWithPattern(u"dropped"_s, 0, true);
    EXPECT_FALSE(first == second);
    EXPECT_EQ(first.allStringMatchesinString(u"dropped"_s), second.allStringMatchesinString(u"dropped"_s));
}

TEST(ZRRegex, ManyThreadsShareTheCacheAndItsObjects) {
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 300; ++i) {
                const ZRRegex regex =
                    ZRRegex::regexWithPattern(u"(?<letters>[a-z]+)%1"_s.arg((i + t) % 600), 0, true);
                const QString text = u"12 abc%1 "_s.arg((i + t) % 600);
                regex.enumerateMatchesInString(text, [&](const ZRRegexMatch &match, bool *) {
                    right += match[u"letters"_s] == u"abc"_s;
                });
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(right, 8 * 300);
}

TEST(ZRRegex, ManyNamesAreFoundInOnePass) {
    constexpr int Names = 20'000;
    QString pattern;
    for (int i = 0; i < Names; ++i)
        pattern += u"(?<name%1>a)?"_s.arg(i);
    const ZRRegex regex(pattern, 0);
    ASSERT_TRUE(regex.regex());
    EXPECT_EQ(regex.regex().pattern(), u"(a)?"_s.repeated(Names));
    EXPECT_EQ(regex.groupNameMappings()->size(), Names);
    EXPECT_EQ(regex.groupNameMappings()->value(u"name19999"_s), QVariant(qlonglong(Names)));
}

TEST(ZRRegex, ASearchThatIsGivenUpGivesNoMatches) {
    LogCapture log;
    const QString text = u"cc"_s + QString(20'000'000, u'a');
    EXPECT_EQ(ZRRegex(u"(?:a|(?<b>b))*c"_s).allStringMatchesinString(text), QVariantList());
    EXPECT_EQ(log.count(u"The search for "_s), 1);
}

TEST(ZRRegex, LiteralsAreTexts) {
    const ZRRegex regex(u"(?<year>\\d{4})");
    EXPECT_EQ(regex.allStringMatchesinString(u"1999 2024"), (QVariantList{u"1999"_s, u"2024"_s}));
    EXPECT_EQ(firstMatch(regex, u"in 2024"_s)[u"year"], u"2024"_s);
}
