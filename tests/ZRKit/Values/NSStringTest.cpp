// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSData+ZRKitBase64.h"
#include "ZRKit/Values/NSString+ZRKit.h"
#include "ZRKit/Values/NSString+ZRKitBase64.h"

#include "platform/base/NSException.h"
#include "platform/text/NSAttributedString.h"
#include "platform/values/NSNull.h"

#include <QRegularExpression>
#include <QSet>
#include <QUuid>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

const QString nil;
const QString nothing = QStringLiteral("");

QString u(const char16_t *text) {
    return QString(reinterpret_cast<const QChar *>(text));
}

/// Empty, and not nil.
bool isEmptyText(const QString &text) {
    return text.isEmpty() && !text.isNull();
}

QVariantList list(std::initializer_list<const char16_t *> texts) {
    QVariantList all;
    for (const char16_t *text : texts)
        all.append(u(text));
    return all;
}

TEST(NSString, BlankTextsHaveNothingButWhiteSpace) {
    EXPECT_TRUE(ZRKit::isBlank(nothing));
    EXPECT_TRUE(ZRKit::isBlank(u(u" \t\r\n\v\f\u0085\u00a0\u1680\u2000\u2028\u2029\u202f\u205f\u3000")));
    EXPECT_FALSE(ZRKit::isBlank(u(u" a ")));
    EXPECT_FALSE(ZRKit::isBlank(u(u"\u200b")));
    for (const QString &text : {nothing, u(u" "), u(u"a"), u(u"\u2028"), nil})
        EXPECT_EQ(ZRKit::empty(text), ZRKit::isBlank(text));
}

TEST(NSString, NilIsNeitherBlankNorEmpty) {
    EXPECT_FALSE(ZRKit::isBlank(nil));
    EXPECT_FALSE(ZRKit::empty(nil));
}

TEST(NSString, ContainsIsLiteralAndNothingNeverOccurs) {
    EXPECT_TRUE(ZRKit::contains(u(u"hello"), u(u"ell")));
    EXPECT_FALSE(ZRKit::contains(u(u"hello"), u(u"ELL")));
    EXPECT_FALSE(ZRKit::contains(u(u"hello"), nothing));
    EXPECT_FALSE(ZRKit::contains(u(u"hello"), nil));
    EXPECT_FALSE(ZRKit::contains(nothing, nothing));
    EXPECT_FALSE(ZRKit::contains(u(u"e\u0301"), u(u"\u00e9")));
    EXPECT_FALSE(ZRKit::contains(nil, u(u"a")));
}

TEST(NSString, EqualsOnlyStrings) {
    EXPECT_TRUE(ZRKit::eq(u(u"1"), u(u"1")));
    EXPECT_TRUE(ZRKit::eq(nothing, nothing));
    EXPECT_FALSE(ZRKit::eq(u(u"1"), u(u"2")));
    EXPECT_FALSE(ZRKit::eq(u(u"1"), 1));
    EXPECT_FALSE(ZRKit::eq(u(u"1"), QByteArray("1")));
    EXPECT_FALSE(ZRKit::eq(u(u"http://h/"), QUrl(u(u"http://h/"))));
    EXPECT_FALSE(ZRKit::eq(nothing, QVariant()));
    EXPECT_FALSE(ZRKit::eq(nothing, NSNull()));
    EXPECT_FALSE(ZRKit::eq(nothing, nil));
    EXPECT_FALSE(ZRKit::eq(nil, nil));
}

TEST(NSString, AnEmailHasAnAtOrAPoint) {
    EXPECT_TRUE(ZRKit::isValidEmail(u(u"a.b")));
    EXPECT_TRUE(ZRKit::isValidEmail(u(u"a@b")));
    EXPECT_TRUE(ZRKit::isValidEmail(u(u"a@b.c")));
    EXPECT_FALSE(ZRKit::isValidEmail(u(u"ab")));
    EXPECT_FALSE(ZRKit::isValidEmail(nothing));
    EXPECT_FALSE(ZRKit::isValidEmail(nil));
}

TEST(NSString, LengthCountsUTF16Units) {
    EXPECT_EQ(ZRKit::len(u(u"a𝄞")), 3);
    EXPECT_EQ(ZRKit::len(nothing), 0);
    EXPECT_EQ(ZRKit::len(nil), 0);
}

TEST(NSString, TheDefaultStandsForBlankTexts) {
    const QString other = u(u"other");
    EXPECT_EQ(ZRKit::stringValueWithDefault(u(u" a "), other), u(u" a "));
    EXPECT_EQ(ZRKit::stringValueWithDefault(u(u" \n"), other), other);
    EXPECT_EQ(ZRKit::stringValueWithDefault(nothing, other), other);
    EXPECT_TRUE(ZRKit::stringValueWithDefault(nothing, nil).isNull());
    EXPECT_TRUE(ZRKit::stringValueWithDefault(nil, other).isNull());
}

TEST(NSString, CaseMappingIsUnicodes) {
    EXPECT_EQ(ZRKit::upper(u(u"straße ǆ é ﬁ")), u(u"STRASSE Ǆ É FI"));
    EXPECT_EQ(ZRKit::lower(u(u"ÀÉ Ǆ 𐐀")), u(u"àé ǆ 𐐨"));
    EXPECT_EQ(ZRKit::lower(u"ΟΔΥΣΣΕΥΣ ΣΑΣ Σ"), u(u"οδυσσευς σας σ"));
    EXPECT_EQ(ZRKit::upper(u"οδυσσευς"), u(u"ΟΔΥΣΣΕΥΣ"));
    for (const auto map : {ZRKit::lower, ZRKit::upper}) {
        EXPECT_TRUE(isEmptyText(map(nothing)));
        EXPECT_TRUE(map(nil).isNull());
    }
}

TEST(NSString, StrippingTakesWhiteSpaceFromTheEndsOnly) {
    const QString text = u(u"\u2028\t a\u00a0 b\u3000\n");
    EXPECT_EQ(ZRKit::strip(text), u(u"a\u00a0 b"));
    EXPECT_EQ(ZRKit::lstrip(text), u(u"a\u00a0 b\u3000\n"));
    EXPECT_EQ(ZRKit::rstrip(text), u(u"\u2028\t a\u00a0 b"));
    for (const auto operation : {ZRKit::strip, ZRKit::lstrip, ZRKit::rstrip}) {
        EXPECT_EQ(operation(u(u"ab")), u(u"ab"));
        EXPECT_TRUE(isEmptyText(operation(u(u" \u2003\n"))));
        EXPECT_TRUE(isEmptyText(operation(nothing)));
        EXPECT_TRUE(operation(nil).isNull());
    }
}

TEST(NSString, TrimmingTakesTheSetsCharactersFromOneEnd) {
    const NSCharacterSet set = NSCharacterSet::characterSetWithCharactersInString(u"xy");
    EXPECT_EQ(ZRKit::stringByLTrimmingCharactersInSet(u(u"xyaxy"), set), u(u"axy"));
    EXPECT_EQ(ZRKit::stringByRTrimmingCharactersInSet(u(u"xyaxy"), set), u(u"xya"));
    for (const auto trim :
         {ZRKit::stringByLTrimmingCharactersInSet, ZRKit::stringByRTrimmingCharactersInSet}) {
        EXPECT_TRUE(isEmptyText(trim(u(u"xyyx"), set)));
        EXPECT_TRUE(isEmptyText(trim(nothing, set)));
        EXPECT_EQ(trim(u(u"abc"), set), u(u"abc"));
        EXPECT_TRUE(trim(nil, set).isNull());
        EXPECT_EQ(trim(u(u"xx"), NSCharacterSet::characterSetWithCharactersInString({})), u(u"xx"));
    }
}

TEST(NSString, TrimmingWithANilSetRaises) {
    const auto reasonOf = [](auto trim, const QString &text) {
        try {
            trim(text, NSCharacterSet());
        } catch (const NSException &e) {
            return e.name() + u'|' + e.reason();
        }
        return QString();
    };
    EXPECT_EQ(
        reasonOf(ZRKit::stringByLTrimmingCharactersInSet, u(u"a")),
        u(u"NSInvalidArgumentException|stringByLTrimmingCharactersInSet: - nil character set argument"));
    EXPECT_EQ(
        reasonOf(ZRKit::stringByRTrimmingCharactersInSet, nothing),
        u(u"NSInvalidArgumentException|stringByRTrimmingCharactersInSet: - nil character set argument"));
    EXPECT_TRUE(reasonOf(ZRKit::stringByLTrimmingCharactersInSet, nil).isNull());
}

TEST(NSString, SplittingDropsEmptyPieces) {
    EXPECT_EQ(ZRKit::split(u(u" a  b\u2028\tc\n")), list({u"a", u"b", u"c"}));
    EXPECT_EQ(ZRKit::split(u(u"a")), list({u"a"}));
    EXPECT_EQ(ZRKit::split(u(u" \n")), QVariantList());
    EXPECT_EQ(ZRKit::split(nothing), QVariantList());
    EXPECT_EQ(ZRKit::split(nil), QVariantList());
}

TEST(NSString, SplittingByASeparatorKeepsEmptyPieces) {
    EXPECT_EQ(ZRKit::splitBy(u(u",a,,b,"), u(u",")), list({u"", u"a", u"", u"b", u""}));
    EXPECT_EQ(ZRKit::splitBy(u(u"a--b---c"), u(u"--")), list({u"a", u"b", u"-c"}));
    EXPECT_EQ(ZRKit::splitBy(u(u"abc"), u(u",")), list({u"abc"}));
    EXPECT_EQ(ZRKit::splitBy(nothing, u(u",")), list({u""}));
    EXPECT_EQ(ZRKit::splitBy(u(u"abc"), nothing), list({u"abc"}));
    EXPECT_EQ(ZRKit::splitBy(u(u"abc"), nil), list({u"abc"}));
    EXPECT_EQ(ZRKit::splitBy(nil, u(u",")), QVariantList());
}

TEST(NSString, CollapsingMakesRunsOfWhiteSpaceOneSpace) {
    EXPECT_EQ(ZRKit::collapse(u(u"\n a \t\u2029b c ")), u(u"a b c"));
    EXPECT_TRUE(isEmptyText(ZRKit::collapse(u(u" \n"))));
    EXPECT_TRUE(isEmptyText(ZRKit::collapse(nothing)));
    EXPECT_TRUE(ZRKit::collapse(nil).isNull());
}

TEST(NSString, AllBlanksCanGo) {
    EXPECT_EQ(ZRKit::stripAllBlanks(u(u"\n a \t\u2029b c ")), u(u"abc"));
    EXPECT_EQ(ZRKit::stripAllBlanks(u(u"abc")), u(u"abc"));
    EXPECT_TRUE(isEmptyText(ZRKit::stripAllBlanks(u(u" \n"))));
    EXPECT_TRUE(isEmptyText(ZRKit::stripAllBlanks(nothing)));
    EXPECT_TRUE(ZRKit::stripAllBlanks(nil).isNull());
}

TEST(NSString, SlicesCountFromEitherEnd) {
    const QString hello = u(u"hello");
    EXPECT_EQ(ZRKit::sliceFrom(hello, 1, 3), u(u"el"));
    EXPECT_EQ(ZRKit::sliceFrom(hello, -3, 0), u(u"llo"));
    EXPECT_EQ(ZRKit::sliceFrom(hello, 0, -1), u(u"hell"));
    EXPECT_EQ(ZRKit::sliceFrom(hello, 0, 0), hello);
    EXPECT_EQ(ZRKit::sliceFrom(hello, -99, 2), u(u"he"));
    EXPECT_EQ(ZRKit::sliceFrom(hello, 3, 99), u(u"lo"));
    EXPECT_EQ(ZRKit::sliceFrom(hello, -2, -1), u(u"l"));
    for (const auto &[from, to] : {std::pair(5, 0), {2, 1}, {2, 2}, {99, 100}, {3, -2}, {0, -5}, {0, -99}})
        EXPECT_TRUE(isEmptyText(ZRKit::sliceFrom(hello, from, to))) << from << ' ' << to;
    EXPECT_TRUE(isEmptyText(ZRKit::sliceFrom(nothing, 0, 0)));
    EXPECT_TRUE(isEmptyText(ZRKit::sliceFrom(nothing, -1, 1)));
    EXPECT_TRUE(ZRKit::sliceFrom(nil, 0, 1).isNull());
}

TEST(NSString, SlicesTakeAnyIndexes) {
    constexpr qint64 least = std::numeric_limits<qint64>::min();
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    EXPECT_EQ(ZRKit::sliceFrom(u(u"ab"), least, most), u(u"ab"));
    EXPECT_TRUE(isEmptyText(ZRKit::sliceFrom(u(u"ab"), most, least)));
    EXPECT_TRUE(isEmptyText(ZRKit::sliceFrom(u(u"ab"), least, least)));
}

TEST(NSString, ReplacingTakesEveryOccurrence) {
    EXPECT_EQ(ZRKit::replace(u(u"a-b-c"), u(u"-"), u(u"++")), u(u"a++b++c"));
    EXPECT_EQ(ZRKit::replace(u(u"aaaa"), u(u"aa"), u(u"b")), u(u"bb"));
    EXPECT_EQ(ZRKit::replace(u(u"aaa"), u(u"aa"), u(u"b")), u(u"ba"));
    EXPECT_EQ(ZRKit::replace(u(u"abc"), u(u"abc"), nothing), nothing);
    EXPECT_FALSE(ZRKit::replace(u(u"abc"), u(u"abc"), nothing).isNull());
    EXPECT_EQ(ZRKit::replace(u(u"abc"), u(u"x"), u(u"y")), u(u"abc"));
    EXPECT_EQ(ZRKit::replace(u(u"aAa"), u(u"a"), u(u"$0\\1")), u(u"$0\\1A$0\\1"));
    EXPECT_TRUE(ZRKit::replace(nil, u(u"x"), u(u"y")).isNull());
}

TEST(NSString, ReplacingWithNilOrFindingNothingChangesNothing) {
    EXPECT_EQ(ZRKit::replace(u(u"abc"), nothing, u(u"y")), u(u"abc"));
    EXPECT_EQ(ZRKit::replace(u(u"abc"), nil, u(u"y")), u(u"abc"));
    EXPECT_EQ(ZRKit::replace(u(u"abc"), u(u"b"), nil), u(u"abc"));
}

TEST(NSString, EscapingIsHTMLs) {
    EXPECT_EQ(ZRKit::escape(u(u"a<b & \"c\"")), u(u"a&lt;b &amp; &quot;c&quot;"));
    EXPECT_EQ(ZRKit::escape(u(u"&amp;<'>\n")), u(u"&amp;amp;&lt;'&gt;\n"));
    EXPECT_EQ(ZRKit::escape(u(u"plain")), u(u"plain"));
    EXPECT_EQ(ZRKit::escapeWithBreakLine(u(u"a\n<b>\n\r\n")), u(u"a<br/>&lt;b&gt;<br/>\r<br/>"));
    for (const auto operation : {ZRKit::escape, ZRKit::escapeWithBreakLine}) {
        EXPECT_TRUE(isEmptyText(operation(nothing)));
        EXPECT_TRUE(operation(nil).isNull());
    }
}

TEST(NSString, ReprQuotesAndEscapes) {
    EXPECT_EQ(ZRKit::repr(u(u"a\\b\"c")), u(u"\"a\\\\b\\\"c\""));
    EXPECT_EQ(ZRKit::repr(u(u"\b\t\n\f\r")), u(u"\"\\b\\t\\n\\f\\r\""));
    EXPECT_EQ(ZRKit::repr(u(u"\x01\v\x1f")), u(u"\"\\u0001\\u000b\\u001f\""));
    EXPECT_EQ(ZRKit::repr(QString(1, QChar(u'\0'))), u(u"\"\\u0000\""));
    EXPECT_EQ(ZRKit::repr(u(u"é𝄞\x7f\u2028")), u(u"\"é𝄞\x7f\u2028\""));
    EXPECT_EQ(ZRKit::repr(nothing), u(u"\"\""));
    EXPECT_TRUE(ZRKit::repr(nil).isNull());
}

TEST(NSString, ReprLeavesAnApostropheBareUnlessSomethingElseIsEscaped) {
    EXPECT_EQ(ZRKit::repr(u(u"it's")), u(u"\"it's\""));
    EXPECT_EQ(ZRKit::repr(u(u"\tit's")), u(u"\"\\tit\\'s\""));
    EXPECT_EQ(ZRKit::repr(u(u"'\\'")), u(u"\"\\'\\\\\\'\""));
}

TEST(NSString, UuidIsAnUpperCaseRandomUuidOf36Characters) {
    const QRegularExpression form(QStringLiteral("\\A[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\z"));
    QSet<QString> seen;
    for (int i = 0; i < 1000; ++i) {
        const QString uuid = ZRKit::uuid();
        EXPECT_EQ(uuid.size(), 36);
        EXPECT_TRUE(form.match(uuid).hasMatch()) << uuid.toStdString();
        EXPECT_EQ(QUuid(uuid).version(), QUuid::Random);
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 1000);
}

TEST(NSString, ShortUuidsAre32LowerCaseHexadecimalDigits) {
    const QRegularExpression form(QStringLiteral("\\A[0-9a-f]{12}4[0-9a-f]{3}[89ab][0-9a-f]{15}\\z"));
    QSet<QString> seen;
    for (int i = 0; i < 1000; ++i) {
        seen.insert(ZRKit::uuidShort());
        EXPECT_TRUE(form.match(ZRKit::uuidShort()).hasMatch());
    }
    EXPECT_EQ(seen.size(), 1000);
}

TEST(NSString, Base64UuidsAre22CharactersThatURLsTake) {
    const QRegularExpression form(QStringLiteral("\\A[0-9A-Za-z_-]{22}\\z"));
    QSet<QString> seen;
    QString all;
    for (int i = 0; i < 1000; ++i) {
        const QString text = ZRKit::uuidBase64();
        EXPECT_TRUE(form.match(text).hasMatch()) << text.toStdString();
        const QByteArray bytes = QByteArray::fromBase64(text.toLatin1(), QByteArray::Base64UrlEncoding);
        EXPECT_EQ(QUuid::fromRfc4122(bytes).version(), QUuid::Random);
        seen.insert(text);
        all += text;
    }
    EXPECT_EQ(seen.size(), 1000);
    EXPECT_TRUE(all.contains(u'_') && all.contains(u'-'));
}

TEST(NSString, EditDistanceIsMinusOneWhereOneTextIsEmpty) {
    EXPECT_EQ(ZRKit::computeLevenshteinDistanceWithString(u(u"kitten"), u(u"sitting")), 3);
    EXPECT_EQ(ZRKit::computeLevenshteinDistanceWithString(u(u"abc"), u(u"abc")), 0);
    EXPECT_EQ(ZRKit::computeLevenshteinDistanceWithString(u(u"abc"), nothing), -1);
    EXPECT_EQ(ZRKit::computeLevenshteinDistanceWithString(nothing, u(u"abc")), -1);
    EXPECT_EQ(ZRKit::computeLevenshteinDistanceWithString(nothing, nothing), -1);
    EXPECT_EQ(ZRKit::computeLevenshteinDistanceWithString(u(u"abc"), nil), -1);
    EXPECT_EQ(ZRKit::computeLevenshteinDistanceWithString(nil, u(u"abc")), 0);
}

TEST(NSString, EditDistanceQuotientIsOfTheMeanLength) {
    EXPECT_DOUBLE_EQ(ZRKit::computeLevenshteinDistanceQuotientWithString(u(u"kitten"), u(u"sitting")),
                     3 / 6.5);
    EXPECT_DOUBLE_EQ(ZRKit::computeLevenshteinDistanceQuotientWithString(u(u"abc"), u(u"abc")), 0);
    EXPECT_DOUBLE_EQ(ZRKit::computeLevenshteinDistanceQuotientWithString(u(u"a"), u(u"bcd")), 1.5);
    EXPECT_DOUBLE_EQ(ZRKit::computeLevenshteinDistanceQuotientWithString(u(u"abc"), nothing), 1);
    EXPECT_DOUBLE_EQ(ZRKit::computeLevenshteinDistanceQuotientWithString(nothing, u(u"abc")), 1);
    EXPECT_DOUBLE_EQ(ZRKit::computeLevenshteinDistanceQuotientWithString(nil, u(u"abc")), 0);
}

TEST(NSString, EditDistanceIsThatOfTheWholeTable) {
    std::mt19937 random(1);
    const auto randomText = [&] {
        QString text(qsizetype(1 + random() % 40), Qt::Uninitialized);
        for (QChar &unit : text)
            unit = u"abc𝄞"[random() % 5];
        return text;
    };
    for (int round = 0; round < 500; ++round) {
        const QString a = randomText(), b = randomText();
        std::vector<std::vector<qint64>> table(size_t(a.size()) + 1,
                                               std::vector<qint64>(size_t(b.size()) + 1));
        for (size_t i = 0; i < table.size(); ++i) {
            for (size_t j = 0; j < table[i].size(); ++j) {
                if (i == 0 || j == 0)
                    table[i][j] = qint64(i + j);
                else
                    table[i][j] = std::min(
                        {table[i - 1][j] + 1, table[i][j - 1] + 1,
                         table[i - 1][j - 1] + (a[qsizetype(i) - 1] == b[qsizetype(j) - 1] ? 0 : 1)});
            }
        }
        ASSERT_EQ(ZRKit::computeLevenshteinDistanceWithString(a, b), table.back().back()) << a.toStdString();
    }
}

TEST(NSString, LiteralsViewsAndCharactersAreTexts) {
    EXPECT_EQ(ZRKit::strip(u" a "), u(u"a"));
    EXPECT_EQ(ZRKit::strip(QStringView(u" a ")), u(u"a"));
    EXPECT_EQ(ZRKit::strip(QLatin1StringView(" a ")), u(u"a"));
    EXPECT_EQ(ZRKit::len(u"𝄞"), 2);
    EXPECT_TRUE(ZRKit::contains(u"hello", u"ell"));
    EXPECT_EQ(ZRKit::splitBy(u"a,b", u',').size(), 2);
    EXPECT_EQ(ZRKit::sliceFrom(u"hello", 1, 3), u(u"el"));
    EXPECT_EQ(ZRKit::urlEncode(u"a b"), u(u"a%20b"));
    EXPECT_EQ(ZRKit::urlEncode(u'+'), u(u"%2B"));
    EXPECT_EQ(ZRKit::urlEncode(QChar(u'ä')), u(u"%C3%A4"));
    EXPECT_EQ(ZRKit::urlEncode(43), u(u"43"));
    EXPECT_EQ(ZRKit::replace(u"a b", u" ", u"+"), u(u"a+b"));
    EXPECT_EQ(ZRKit::replace(u"a b", u' ', u'+'), u(u"a+b"));
    EXPECT_EQ(ZRKit::replace(u"a b", QChar(u' '), QChar(u'+')), u(u"a+b"));
    EXPECT_EQ(ZRKit::replace(u"a b", u" ", '+'), u(u"a+b"));
    EXPECT_EQ(ZRKit::replace(u"a b", u" ", QLatin1StringView("+")), u(u"a+b"));
    EXPECT_EQ(ZRKit::replace(u"a b", u" ", 43), u(u"a43b"));
    EXPECT_EQ(ZRKit::replace(u"a b", u" ", 1.5), u(u"a1.5b"));
    EXPECT_EQ(ZRKit::replace(u"a b", u" ", QVariant(u(u"+"))), u(u"a+b"));
    EXPECT_TRUE(ZRKit::eq(u"a", u"a"));
    EXPECT_TRUE(ZRKit::eq(u"a", u'a'));
    EXPECT_FALSE(ZRKit::eq(u"97", 97));
    EXPECT_EQ(ZRKit::computeLevenshteinDistanceWithString(u"kitten", u"sitting"), 3);
    EXPECT_EQ(ZRKit::base64EncodedString(u"Man"), u(u"TWFu"));
    EXPECT_EQ(ZRKit::dataWithBase64DecodedString(u"TWFu"), "Man");
    EXPECT_EQ(ZRKit::dataWithBase64EncodedString(u"TWFu"), "Man");
    EXPECT_EQ(ZRKit::dataURLWithMimeType("Man", u"text/plain"), u(u"data:text/plain;base64,TWFu"));
    EXPECT_EQ(ZRKit::replaceRegEx(u"x12", NSRegularExpression(u(u"\\d")), u"-"), u(u"x--"));
    // nil stays nil, however it is given.
    EXPECT_TRUE(ZRKit::strip(QStringView()).isNull());
    EXPECT_TRUE(isEmptyText(ZRKit::strip(u"")));
    EXPECT_TRUE(ZRKit::data(QString()).isNull());
    EXPECT_EQ(ZRKit::replace(u"a b", u" ", QStringView()), u(u"a b"));
}

TEST(NSString, TheRangeIsTheWholeText) {
    EXPECT_EQ(ZRKit::range(u(u"a𝄞")), (NSRange{0, 3}));
    EXPECT_EQ(ZRKit::range(nothing), (NSRange{0, 0}));
    EXPECT_EQ(ZRKit::range(nil), (NSRange{0, 0}));
}

TEST(NSString, AnyObjectCanBeTheReplacement) {
    const QString text = u(u"a-b");
    EXPECT_EQ(ZRKit::replace(text, u(u"-"), QVariant(12)), u(u"a12b"));
    EXPECT_EQ(ZRKit::replace(text, u(u"-"), QVariant(QByteArray("\xc3\xa9"))), u(u"aéb"));
    EXPECT_EQ(ZRKit::replace(text, u(u"-"), NSNull()), u(u"ab"));
    EXPECT_EQ(ZRKit::replace(text, u(u"-"), QVariant(u(u"+"))), u(u"a+b"));
    EXPECT_EQ(ZRKit::replace(text, u(u"-"), QVariant()), text);
    EXPECT_EQ(ZRKit::replace(text, nothing, QVariant(12)), text);
}

TEST(NSString, MatchesOfAnExpressionAreReplacedByTheTemplate) {
    const NSRegularExpression expression(u(u"(\\w)(\\d)"));
    EXPECT_EQ(ZRKit::replaceRegEx(u(u"a1 b2 c"), expression, u(u"$2$1")), u(u"1a 2b c"));
    EXPECT_EQ(ZRKit::replaceRegEx(u(u"none"), expression, u(u"x")), u(u"none"));
    EXPECT_TRUE(isEmptyText(ZRKit::replaceRegEx(nothing, expression, u(u"x"))));
    EXPECT_TRUE(ZRKit::replaceRegEx(nil, expression, u(u"x")).isNull());
    EXPECT_TRUE(ZRKit::replaceRegEx(u(u"a1"), NSRegularExpression(), u(u"x")).isNull());
}

TEST(NSString, AttributedStringsCarryTheAttributesOverTheWholeText) {
    const NSMutableAttributedString plain = ZRKit::attributedString(u(u"abc"));
    EXPECT_EQ(plain.string(), u(u"abc"));
    EXPECT_TRUE(plain.attributesAtIndex(0).isEmpty());
    const QVariantMap attributes{{u(u"font"), u(u"Sans")}};
    const NSMutableAttributedString styled = ZRKit::attributedStringWithAttributes(u(u"abc"), attributes);
    NSRange run;
    EXPECT_EQ(styled.attributesAtIndex(1, &run), attributes);
    EXPECT_EQ(run, (NSRange{0, 3}));
    EXPECT_EQ(ZRKit::attributedStringWithAttributes(nothing, attributes).length(), 0);
}

} // namespace
