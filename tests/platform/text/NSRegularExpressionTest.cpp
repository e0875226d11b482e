// SPDX-License-Identifier: MIT
#include "platform/text/NSRegularExpression.h"

#include "platform/base/NSException.h"
#include "tests/support/LogCapture.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

QStringList texts(const NSRegularExpression &expression, const QString &string, NSMatchingOptions options = 0,
                  std::optional<NSRange> range = {}) {
    QStringList found;
    for (const NSTextCheckingResult &result : expression.matchesInString(string, options, range))
        found.append(string.mid(result.range().location, result.range().length));
    return found;
}

QStringList texts(const char16_t *pattern, NSRegularExpressionOptions options, const char16_t *string) {
    return texts(NSRegularExpression(QString::fromUtf16(pattern), options), QString::fromUtf16(string));
}

QString replaced(const char16_t *pattern, const char16_t *string, const char16_t *with) {
    return NSRegularExpression(QString::fromUtf16(pattern))
        .stringByReplacingMatchesInString(QString::fromUtf16(string), 0, {}, QString::fromUtf16(with));
}

using Strings = QStringList;

} // namespace

TEST(NSRegularExpression, FindsAllMatchesInOrder) {
    EXPECT_EQ(texts(u"[a-z]+\\d", 0, u"ab1 cd2, x e3"), (Strings{u"ab1"_s, u"cd2"_s, u"e3"_s}));
    EXPECT_EQ(texts(u"x", 0, u"abc"), Strings());
    EXPECT_EQ(texts(u"a*", 0, u"aab"), (Strings{u"aa"_s, u""_s, u""_s}));
    EXPECT_EQ(texts(u"a*", 0, u""), Strings{u""_s});
}

TEST(NSRegularExpression, EachOptionBitReachesTheEngine) {
    EXPECT_EQ(texts(u"ab", 0, u"AB ab"), Strings{u"ab"_s});
    EXPECT_EQ(texts(u"ab", NSRegularExpressionCaseInsensitive, u"AB ab"), (Strings{u"AB"_s, u"ab"_s}));
    EXPECT_EQ(texts(u"a b # c", NSRegularExpressionAllowCommentsAndWhitespace, u"ab"), Strings{u"ab"_s});
    EXPECT_EQ(texts(u"a.(", NSRegularExpressionIgnoreMetacharacters, u"ab a.("), Strings{u"a.("_s});
    EXPECT_EQ(texts(u"a.b", 0, u"a\nb"), Strings());
    EXPECT_EQ(texts(u"a.b", NSRegularExpressionDotMatchesLineSeparators, u"a\nb"), Strings{u"a\nb"_s});
    EXPECT_EQ(texts(u"^.", 0, u"a\nb"), Strings{u"a"_s});
    EXPECT_EQ(texts(u"^.", NSRegularExpressionAnchorsMatchLines, u"a\nb"), (Strings{u"a"_s, u"b"_s}));
    EXPECT_EQ(texts(u"a.b", NSRegularExpressionUseUnixLineSeparators, u"a\rb a\nb"), Strings{u"a\rb"_s});
    // The plain rule sees a boundary beside each character that isn't of a word.
    EXPECT_EQ(texts(u"\\b.", 0, u"a.b").size(), 3);
    EXPECT_EQ(texts(u"\\b.", NSRegularExpressionUseUnicodeWordBoundaries, u"a.b").size(), 1);
}

TEST(NSRegularExpression, UnknownOptionBitsAreKeptAndMeanNothing) {
    const NSRegularExpression expression(u"a"_s, 1 << 20 | NSRegularExpressionCaseInsensitive);
    EXPECT_EQ(expression.options(), quint64(1 << 20 | 1));
    EXPECT_EQ(texts(expression, u"aA"_s).size(), 2);
}

TEST(NSRegularExpression, CountsUnitsOfUTF16) {
    const QString text = u"\U0001F600x\u00e9x"_s;
    const auto results = NSRegularExpression(u"x"_s).matchesInString(text);
    ASSERT_EQ(results.size(), 2);
    EXPECT_EQ(results[0].range(), (NSRange{2, 1}));
    EXPECT_EQ(results[1].range(), (NSRange{4, 1}));
    // A dot takes a whole character.
    EXPECT_EQ(NSRegularExpression(u"."_s).rangeOfFirstMatchInString(text), (NSRange{0, 2}));
}

TEST(NSRegularExpression, AnInvalidPatternGivesNilAndAnError) {
    for (const QString &pattern : {u"("_s, u"[a"_s, u"a{2,1}"_s, u"*"_s, u"\\"_s, u""_s, QString()}) {
        NSError error;
        const NSRegularExpression expression(pattern, 0, &error);
        EXPECT_TRUE(expression.isNil()) << qPrintable(pattern);
        EXPECT_FALSE(expression);
        EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
        EXPECT_EQ(error.code(), 2048);
        EXPECT_TRUE(error.localizedDescription().startsWith(u"The pattern \""_s))
            << qPrintable(error.description());
        EXPECT_TRUE(NSRegularExpression(pattern).isNil());
    }
    NSError none;
    EXPECT_TRUE(NSRegularExpression::regularExpressionWithPattern(u"a"_s, 0, &none));
    EXPECT_TRUE(none.isNil());
}

TEST(NSRegularExpression, ANilExpressionFindsNothing) {
    const NSRegularExpression nil;
    const QString text = u"text"_s;
    EXPECT_TRUE(nil.pattern().isNull());
    EXPECT_EQ(nil.options(), 0u);
    EXPECT_EQ(nil.numberOfCaptureGroups(), 0);
    EXPECT_TRUE(nil.matchesInString(text).isEmpty());
    EXPECT_EQ(nil.numberOfMatchesInString(text), 0);
    EXPECT_FALSE(nil.firstMatchInString(text));
    EXPECT_TRUE(nil.rangeOfFirstMatchInString(text).isNotFound());
    EXPECT_EQ(nil.stringByReplacingMatchesInString(text, 0, {}, u"x"_s), text);
    nil.enumerateMatchesInString(text, NSMatchingReportCompletion, {}, [](auto, auto, auto) { FAIL(); });
}

TEST(NSRegularExpression, ANilTextHasNoMatchesAnEmptyOneMay) {
    const NSRegularExpression expression(u"a*"_s);
    EXPECT_EQ(expression.numberOfMatchesInString(QString()), 0);
    EXPECT_EQ(expression.numberOfMatchesInString(u""_s), 1);
    EXPECT_TRUE(expression.stringByReplacingMatchesInString(QString(), 0, {}, u"x"_s).isNull());
    EXPECT_EQ(expression.stringByReplacingMatchesInString(u""_s, 0, {}, u"x"_s), u"x"_s);
}

TEST(NSRegularExpression, GroupsHaveRangesOrAreNowhere) {
    const NSRegularExpression expression(u"(a)|(b(c)?)"_s);
    EXPECT_EQ(expression.numberOfCaptureGroups(), 3);
    const auto results = expression.matchesInString(u"a bc b"_s);
    ASSERT_EQ(results.size(), 3);
    for (const auto &result : results) {
        EXPECT_EQ(result.numberOfRanges(), 4);
        EXPECT_EQ(result.rangeAtIndex(0), result.range());
        EXPECT_EQ(result.regularExpression(), expression);
    }
    EXPECT_EQ(results[0].rangeAtIndex(1), (NSRange{0, 1}));
    EXPECT_TRUE(results[0].rangeAtIndex(2).isNotFound());
    EXPECT_EQ(results[1].rangeAtIndex(2), (NSRange{2, 2}));
    EXPECT_EQ(results[1].rangeAtIndex(3), (NSRange{3, 1}));
    EXPECT_EQ(results[2].rangeAtIndex(3), (NSRange{NSNotFound, 0}));
    EXPECT_THROW(results[0].rangeAtIndex(4), NSException);
    EXPECT_THROW(results[0].rangeAtIndex(-1), NSException);
}

TEST(NSRegularExpression, ManyGroups) {
    QString pattern, text;
    for (int i = 0; i < 100; ++i) {
        pattern += u"(.)"_s;
        text += QChar(u'a' + i % 26);
    }
    const auto result = NSRegularExpression(pattern).firstMatchInString(text);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->numberOfRanges(), 101);
    EXPECT_EQ(result->rangeAtIndex(100), (NSRange{99, 1}));
}

TEST(NSTextCheckingResult, MovesItsRanges) {
    const auto result = NSRegularExpression(u"b(x)?"_s).firstMatchInString(u"ab"_s);
    ASSERT_TRUE(result);
    const auto moved = result->resultByAdjustingRangesWithOffset(10);
    EXPECT_EQ(moved.range(), (NSRange{11, 1}));
    EXPECT_TRUE(moved.rangeAtIndex(1).isNotFound());
    EXPECT_EQ(moved.regularExpression(), result->regularExpression());
    EXPECT_EQ(result->resultByAdjustingRangesWithOffset(-1).range(), (NSRange{0, 1}));
    EXPECT_THROW(result->resultByAdjustingRangesWithOffset(-2), NSException);
}

TEST(NSTextCheckingResult, TheDefaultOneIsNowhere) {
    const NSTextCheckingResult nothing;
    EXPECT_TRUE(nothing.range().isNotFound());
    EXPECT_EQ(nothing.numberOfRanges(), 0);
    EXPECT_TRUE(nothing.regularExpression().isNil());
    const auto made = NSTextCheckingResult::regularExpressionCheckingResultWithRanges(
        {NSRange{1, 2}, NSRange{NSNotFound, 0}}, NSRegularExpression(u"a(b)?"_s));
    EXPECT_EQ(made.range(), (NSRange{1, 2}));
    EXPECT_EQ(made.regularExpression().pattern(), u"a(b)?"_s);
}

TEST(NSRegularExpression, SearchesARangeOnly) {
    const NSRegularExpression expression(u"a"_s);
    const QString text = u"aaaa"_s;
    EXPECT_EQ(expression.numberOfMatchesInString(text, 0, NSRange{1, 2}), 2);
    EXPECT_EQ(expression.rangeOfFirstMatchInString(text, 0, NSRange{2, 1}), (NSRange{2, 1}));
    EXPECT_EQ(expression.numberOfMatchesInString(text, 0, NSRange{4, 0}), 0);
    for (const NSRange range : {NSRange{0, 5}, NSRange{5, 0}, NSRange{-1, 1}, NSRange{1, -1},
                                NSRange{NSNotFound, 1}, NSRange{1, NSNotFound}}) {
        try {
            expression.matchesInString(text, 0, range);
            ADD_FAILURE() << "a range beyond the text was searched";
        } catch (const NSException &e) {
            EXPECT_EQ(e.name(), NSRangeException);
        }
    }
    // The next search is over the whole text again.
    EXPECT_EQ(expression.numberOfMatchesInString(text), 4);
}

TEST(NSRegularExpression, AnchoredTakesOnlyAMatchWhereTheRangeBegins) {
    const NSRegularExpression expression(u"a"_s);
    EXPECT_EQ(texts(expression, u"aab"_s, NSMatchingAnchored).size(), 1);
    EXPECT_EQ(texts(expression, u"baa"_s, NSMatchingAnchored).size(), 0);
    EXPECT_EQ(expression.numberOfMatchesInString(u"baa"_s, NSMatchingAnchored, NSRange{1, 2}), 1);
}

TEST(NSRegularExpression, BoundsOfARangeAreOpaqueAndAnchoringUnlessAskedOtherwise) {
    const QString text = u"abc"_s;
    const NSRange middle{1, 1};
    const NSRegularExpression lookahead(u"b(?=c)"_s), lookbehind(u"(?<=a)b"_s), anchors(u"^b$"_s);
    EXPECT_EQ(lookahead.numberOfMatchesInString(text, 0, middle), 0);
    EXPECT_EQ(lookahead.numberOfMatchesInString(text, NSMatchingWithTransparentBounds, middle), 1);
    EXPECT_EQ(lookbehind.numberOfMatchesInString(text, 0, middle), 0);
    EXPECT_EQ(lookbehind.numberOfMatchesInString(text, NSMatchingWithTransparentBounds, middle), 1);
    EXPECT_EQ(anchors.numberOfMatchesInString(text, 0, middle), 1);
    EXPECT_EQ(anchors.numberOfMatchesInString(text, NSMatchingWithoutAnchoringBounds, middle), 0);
    // Options of one search don't stay for the next.
    EXPECT_EQ(lookahead.numberOfMatchesInString(text, 0, middle), 0);
    EXPECT_EQ(anchors.numberOfMatchesInString(text, 0, middle), 1);
}

TEST(NSRegularExpression, EnumeratingStopsWhenTold) {
    const NSRegularExpression expression(u"\\d"_s);
    const QString text(1000, u'7');
    for (const int wanted : {1, 2, 3, 64, 65, 500}) {
        int seen = 0;
        expression.enumerateMatchesInString(text, 0, {},
                                            [&](const NSTextCheckingResult *result, auto, bool *stop) {
                                                ASSERT_NE(result, nullptr);
                                                EXPECT_EQ(result->range(), (NSRange{seen, 1}));
                                                *stop = ++seen == wanted;
                                            });
        EXPECT_EQ(seen, wanted);
    }
    int all = 0;
    expression.enumerateMatchesInString(text, 0, {}, [&](auto, auto, auto) { ++all; });
    EXPECT_EQ(all, 1000);
}

TEST(NSRegularExpression, ABlockMaySearchWithTheSameExpressionAndThrow) {
    const NSRegularExpression expression(u"a+"_s);
    int inner = 0;
    expression.enumerateMatchesInString(u"a aa aaa"_s, 0, {}, [&](auto, auto, auto) {
        inner += int(expression.numberOfMatchesInString(u"a a"_s));
    });
    EXPECT_EQ(inner, 6);
    EXPECT_THROW(expression.enumerateMatchesInString(u"a"_s, 0, {}, [](auto, auto, auto) { throw 5; }), int);
    EXPECT_EQ(expression.numberOfMatchesInString(u"a"_s), 1);
}

TEST(NSRegularExpression, ABlockMayChangeTheTextThatIsSearched) {
    QString text = u"a b c"_s;
    QStringList seen;
    NSRegularExpression(u"\\w"_s).enumerateMatchesInString(text, 0, {}, [&](auto result, auto, auto) {
        text.fill(u'-');
        seen.append(QString::number(result->range().location));
    });
    EXPECT_EQ(seen, (Strings{u"0"_s, u"2"_s, u"4"_s}));
}

TEST(NSRegularExpression, CompletionIsReportedOnceWhenAskedFor) {
    QStringList calls;
    const auto block = [&](const NSTextCheckingResult *result, NSMatchingFlags flags, bool *) {
        calls.append(result ? u"match"_s : u"flags %1"_s.arg(flags & ~quint64(NSMatchingHitEnd)));
    };
    const NSRegularExpression expression(u"a"_s);
    expression.enumerateMatchesInString(u"aba"_s, NSMatchingReportCompletion, {}, block);
    EXPECT_EQ(calls, (Strings{u"match"_s, u"match"_s, u"flags 2"_s}));
    calls.clear();
    expression.enumerateMatchesInString(u"aba"_s, 0, {}, block);
    EXPECT_EQ(calls, (Strings{u"match"_s, u"match"_s}));
}

TEST(NSRegularExpression, FlagsTellOfTheEnd) {
    NSMatchingFlags flags = 0;
    const auto last = [&](auto, NSMatchingFlags f, auto) { flags = f; };
    NSRegularExpression(u"ab*"_s).enumerateMatchesInString(u"ab"_s, 0, {}, last);
    EXPECT_EQ(flags, quint64(NSMatchingHitEnd));
    NSRegularExpression(u"ab*"_s).enumerateMatchesInString(u"abc"_s, 0, {}, last);
    EXPECT_EQ(flags, 0u);
    NSRegularExpression(u"ab$"_s).enumerateMatchesInString(u"ab"_s, 0, {}, last);
    EXPECT_EQ(flags, quint64(NSMatchingHitEnd | NSMatchingRequiredEnd));
}

TEST(NSRegularExpression, ReplacesWithTemplates) {
    EXPECT_EQ(replaced(u"(\\w+) (\\w+)", u"one two!", u"$2 $1"), u"two one!"_s);
    EXPECT_EQ(replaced(u"b", u"abc", u"[$0]"), u"a[b]c"_s);
    EXPECT_EQ(replaced(u"x", u"abc", u"y"), u"abc"_s);
    EXPECT_EQ(replaced(u"b", u"b", u""), u""_s);
    EXPECT_FALSE(replaced(u"b", u"b", u"").isNull());
    EXPECT_EQ(replaced(u"a*", u"baac", u"-"), u"-b--c-"_s);
    // A group that took no part, and one that the pattern doesn't have.
    EXPECT_EQ(replaced(u"a(x)?", u"a", u"<$1>"), u"<>"_s);
    EXPECT_EQ(replaced(u"a", u"a", u"<$1>"), u"<>"_s);
    // As many digits count as make a group that there is.
    EXPECT_EQ(replaced(u"(a)", u"a", u"$10"), u"a0"_s);
    EXPECT_EQ(replaced(u"(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)", u"abcdefghij", u"$10$1"), u"ja"_s);
    // What a backslash makes plain, and dollars that stand for themselves.
    EXPECT_EQ(replaced(u"(a)", u"a", u"\\$1 \\\\ \\n $ $x"), u"$1 \\ n $ $x"_s);
    EXPECT_EQ(replaced(u"a", u"a", u"x\\"), u"x\\"_s);
}

TEST(NSRegularExpression, ReplacesInPlaceWithinARange) {
    QString text = u"aaaa"_s;
    EXPECT_EQ(NSRegularExpression(u"a"_s).replaceMatchesInString(text, 0, NSRange{1, 2}, u"bc"_s), 2);
    EXPECT_EQ(text, u"abcbca"_s);
    EXPECT_EQ(NSRegularExpression(u"x"_s).replaceMatchesInString(text, 0, {}, u"y"_s), 0);
    EXPECT_EQ(text, u"abcbca"_s);
}

TEST(NSRegularExpression, GivesTheReplacementForOneResult) {
    const NSRegularExpression expression(u"(\\d)(\\d)"_s);
    const auto result = expression.firstMatchInString(u"12"_s);
    ASSERT_TRUE(result);
    EXPECT_EQ(expression.replacementStringForResult(*result, u"12"_s, 0, u"$2$1"_s), u"21"_s);
    EXPECT_EQ(expression.replacementStringForResult(*result, u"xx12"_s, 2, u"$2$1"_s), u"21"_s);
    EXPECT_EQ(expression.replacementStringForResult(*result, u"12"_s, 0, u""_s), u""_s);
    EXPECT_THROW(expression.replacementStringForResult(*result, u"12"_s, 1, u"$2"_s), NSException);
}

TEST(NSRegularExpression, EscapedTextsMatchAndReplaceThemselves) {
    QString text;
    for (char16_t c = 1; c < 0x250; ++c)
        text += QChar(c);
    text += u"\u2028\u2029\u200e\U0001F600 (a|b)* [^x] \\Q.\\E # $1 \\1 ${a}"_s;
    const QString pattern = NSRegularExpression::escapedPatternForString(text);
    for (const NSRegularExpressionOptions options :
         {quint64(0),
          quint64(NSRegularExpressionAllowCommentsAndWhitespace | NSRegularExpressionAnchorsMatchLines)}) {
        const NSRegularExpression expression(pattern, options);
        ASSERT_TRUE(expression);
        EXPECT_EQ(texts(expression, text), Strings{text});
    }
    EXPECT_EQ(NSRegularExpression::escapedPatternForString(u"1.5*2"_s), u"1\\.5\\*2"_s);
    EXPECT_EQ(NSRegularExpression(u"x"_s).stringByReplacingMatchesInString(
                  u"x"_s, 0, {}, NSRegularExpression::escapedTemplateForString(text)),
              text);
    EXPECT_EQ(NSRegularExpression::escapedTemplateForString(u"$1\\"_s), u"\\$1\\\\"_s);
    EXPECT_TRUE(NSRegularExpression::escapedPatternForString(QString()).isNull());
    EXPECT_FALSE(NSRegularExpression::escapedPatternForString(u""_s).isNull());
    EXPECT_TRUE(NSRegularExpression::escapedTemplateForString(QString()).isNull());
}

TEST(NSRegularExpression, EqualPatternsWithEqualOptionsAreEqual) {
    EXPECT_EQ(NSRegularExpression(u"a"_s, 1), NSRegularExpression(u"a"_s, 1));
    EXPECT_FALSE(NSRegularExpression(u"a"_s, 1) == NSRegularExpression(u"a"_s, 2));
    EXPECT_FALSE(NSRegularExpression(u"a"_s) == NSRegularExpression());
    EXPECT_EQ(NSRegularExpression(), NSRegularExpression(u"("_s));
}

TEST(NSRegularExpression, AHopelessSearchIsGivenUp) {
    const NSRegularExpression expression(u"(a+)+$"_s);
    const QString text = QString(60, u'a') + u'b';
    LogCapture log;
    bool completed = false;
    expression.enumerateMatchesInString(
        text, NSMatchingReportCompletion, {}, [&](auto result, auto flags, auto) {
            EXPECT_EQ(result, nullptr);
            EXPECT_EQ(flags, quint64(NSMatchingCompleted | NSMatchingInternalError));
            completed = true;
        });
    EXPECT_TRUE(completed);
    EXPECT_EQ(log.count(u"The search for \"(a+)+$\" in 61 characters was given up: "_s), 1);
    EXPECT_EQ(expression.numberOfMatchesInString(u"aaa"_s), 1);
    EXPECT_EQ(expression.numberOfMatchesInString(text), 0);
    EXPECT_EQ(log.count(u"The search for \"(a+)+$\" in 61 characters was given up: "_s), 2);
}

TEST(NSRegularExpression, ASearchThatNeedsTooMuchMemoryIsGivenUp) {
    const NSRegularExpression expression(u"(?:a|(b))*c"_s);
    LogCapture log;
    EXPECT_EQ(expression.numberOfMatchesInString(QString(20'000'000, u'a')), 0);
    EXPECT_EQ(log.count(u"The search for "_s), 1);
    // Hundreds of thousands of rounds are no trouble.
    EXPECT_EQ(expression.numberOfMatchesInString(QString(500'000, u'a') + u'c'), 1);
    EXPECT_EQ(log.lines().size(), 1);
}

TEST(NSRegularExpression, ASearchThatIsGivenUpReturnsWhatAFailedOneReturns) {
    // Matches at once, then runs out of memory.
    const NSRegularExpression expression(u"(?:a|(b))*c"_s);
    const QString text = u"cc"_s + QString(20'000'000, u'a');
    LogCapture log;
    EXPECT_TRUE(expression.matchesInString(text).isEmpty());
    EXPECT_EQ(expression.numberOfMatchesInString(text), 0);
    EXPECT_EQ(expression.stringByReplacingMatchesInString(text, 0, {}, u"x"_s), text);
    QString changed = text;
    EXPECT_EQ(expression.replaceMatchesInString(changed, 0, {}, u"x"_s), 0);
    EXPECT_EQ(changed, text);
    EXPECT_EQ(log.count(u"The search for "_s), 4);
    // What is found before needs no more of the text.
    EXPECT_EQ(expression.firstMatchInString(text)->range(), (NSRange{0, 1}));
    EXPECT_EQ(expression.rangeOfFirstMatchInString(text), (NSRange{0, 1}));
    int calls = 0;
    expression.enumerateMatchesInString(text, NSMatchingReportCompletion, {},
                                        [&](auto result, auto flags, auto) {
                                            EXPECT_EQ(result == nullptr, ++calls == 3);
                                            EXPECT_EQ(bool(flags & NSMatchingInternalError), calls == 3);
                                        });
    EXPECT_EQ(calls, 3);
}

TEST(NSRegularExpression, ProgressOfALongSearchIsReportedAndMayStopIt) {
    const NSRegularExpression expression(u"(a+)+$"_s);
    const QString text = QString(60, u'a') + u'b';
    int progress = 0;
    LogCapture log;
    expression.enumerateMatchesInString(text, NSMatchingReportProgress | NSMatchingReportCompletion, {},
                                        [&](auto result, auto flags, bool *stop) {
                                            EXPECT_EQ(result, nullptr);
                                            EXPECT_EQ(flags, quint64(NSMatchingProgress));
                                            *stop = ++progress == 10;
                                        });
    EXPECT_EQ(progress, 10);
    EXPECT_THROW(expression.enumerateMatchesInString(text, NSMatchingReportProgress, {},
                                                     [&](auto, auto, auto) { throw 5; }),
                 int);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(NSRegularExpression, ManyThreadsSearchWithOneExpression) {
    const NSRegularExpression expression(u"(\\w+)@(\\w+)"_s);
    const QString text = u"a@b cc@dd nothing eee@fff "_s.repeated(50);
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round)
                right += expression.matchesInString(text).size() == 150;
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(right, 400);
}
