// SPDX-License-Identifier: MIT
#include "platform/text/EditDistance.h"

#include <QString>
#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <vector>

namespace {

/// The table's definition, two rows at a time.
qint64 reference(QStringView a, QStringView b) {
    std::vector<qint64> above(size_t(b.size()) + 1);
    std::iota(above.begin(), above.end(), 0);
    std::vector<qint64> row(above.size());
    for (qsizetype i = 0; i < a.size(); ++i) {
        row[0] = i + 1;
        for (qsizetype j = 0; j < b.size(); ++j) {
            const size_t k = size_t(j) + 1;
            row[k] = std::min({above[k] + 1, row[k - 1] + 1, above[k - 1] + (a[i] == b[j] ? 0 : 1)});
        }
        std::swap(above, row);
    }
    return above.back();
}

QString randomText(std::mt19937 &random, qsizetype size, const std::u16string &units) {
    QString text(size, Qt::Uninitialized);
    for (QChar &c : text)
        c = units[random() % units.size()];
    return text;
}

/// A text with some units inserted, removed and replaced.
QString damaged(std::mt19937 &random, QString text, int edits, const std::u16string &units) {
    for (; edits > 0; --edits) {
        const qsizetype place = text.isEmpty() ? 0 : qsizetype(random() % size_t(text.size()));
        const QChar unit = units[random() % units.size()];
        if (random() % 3 == 0 && !text.isEmpty())
            text.remove(place, 1);
        else if (random() % 2 == 0 && !text.isEmpty())
            text[place] = unit;
        else
            text.insert(place, unit);
    }
    return text;
}

void expectExact(const QString &a, const QString &b) {
    const qint64 expected = reference(a, b);
    ASSERT_EQ(NSEditDistance(a, b), expected) << a.size() << ' ' << b.size();
    ASSERT_EQ(NSEditDistance(b, a), expected) << a.size() << ' ' << b.size();
}

std::u16string manyUnits() {
    std::u16string units;
    for (char32_t unit = 1; unit < 0x10000; unit += 7)
        units.push_back(char16_t(unit));
    return units;
}

TEST(EditDistance, KnownPairs) {
    EXPECT_EQ(NSEditDistance(u"kitten", u"sitting"), 3);
    EXPECT_EQ(NSEditDistance(u"flaw", u"lawn"), 2);
    EXPECT_EQ(NSEditDistance(u"same", u"same"), 0);
    EXPECT_EQ(NSEditDistance(u"", u""), 0);
    EXPECT_EQ(NSEditDistance(u"", u"abc"), 3);
    EXPECT_EQ(NSEditDistance(u"abc", {}), 3);
    EXPECT_EQ(NSEditDistance(u"ab", u"ba"), 2);
}

TEST(EditDistance, AZeroUnitIsAUnitLikeAnyOther) {
    EXPECT_EQ(NSEditDistance(QStringView(u"xx\0", 3), QStringView(u"yyz", 3)), 3);
    EXPECT_EQ(NSEditDistance(QStringView(u"x\0y", 3), QStringView(u"z\0w", 3)), 2);
}

TEST(EditDistance, HalvesOfSurrogatePairsCountOneByOne) {
    EXPECT_EQ(NSEditDistance(u"𝄞", u"𝄢"), 1);
    EXPECT_EQ(NSEditDistance(u"a𝄞b", u"ab"), 2);
}

TEST(EditDistance, ExactAtEveryPairOfSmallLengths) {
    std::mt19937 random(1);
    for (qsizetype n = 0; n <= 36; ++n) {
        for (qsizetype m = 0; m <= 36; ++m) {
            expectExact(randomText(random, n, u"ab"), randomText(random, m, u"ab"));
            expectExact(randomText(random, n, u"abcdefgé\u4e00"), randomText(random, m, u"abcdefgé\u4e00"));
        }
    }
}

TEST(EditDistance, ExactAroundTheSizesOfWordsAndBands) {
    std::mt19937 random(2);
    const std::u16string alphabets[] = {u"ab", u"abcdefghijklmnopqrstuvwxyz", u"aé\u4e00\uac00\uffff",
                                        manyUnits()};
    for (const qsizetype n :
         {15, 16, 17, 63, 64, 65, 127, 128, 129, 191, 192, 193, 255, 256, 257, 300, 511, 513, 700}) {
        for (const std::u16string &units : alphabets) {
            const QString text = randomText(random, n, units);
            expectExact(text, randomText(random, n + qsizetype(random() % 90), units));
            expectExact(text, damaged(random, text, 3, units));
            expectExact(text, damaged(random, text, int(n / 4), units));
            expectExact(text, text.sliced(n / 3) + text.first(n / 3));
        }
    }
}

TEST(EditDistance, ExactForRandomPairs) {
    std::mt19937 random(3);
    for (int round = 0; round < 1500; ++round) {
        const std::u16string units = round % 3 == 0 ? u"ab" : u"abcdefghij klmnop\u00e9\u0436";
        const QString text = randomText(random, qsizetype(random() % 200), units);
        expectExact(text, damaged(random, text, int(random() % 40), units));
        expectExact(text, randomText(random, qsizetype(random() % 200), units));
        if (HasFatalFailure())
            return;
    }
}

TEST(EditDistance, LongTextsOfDifferentSizes) {
    std::mt19937 random(4);
    const std::u16string units = u"abcdefgh";
    const QString text = randomText(random, 5000, units);
    expectExact(text, damaged(random, text, 400, units));
    expectExact(text, text.first(20));
    expectExact(text, randomText(random, 90, units));
}

TEST(EditDistance, HundredThousandUnitsOnEachSide) {
    std::mt19937 random(5);
    // Far apart by construction: no unit is common to both, so that each one is replaced.
    EXPECT_EQ(NSEditDistance(randomText(random, 100'000, u"abcd"), randomText(random, 100'000, u"wxyz")),
              100'000);
    // Each of the moved units costs its removal and its return.
    const QString text = randomText(random, 99'990, u"ab");
    EXPECT_EQ(NSEditDistance(QStringLiteral("0123456789") + text, text + QStringLiteral("0123456789")), 20);
    EXPECT_EQ(NSEditDistance(text, text), 0);
}

TEST(EditDistance, AsManyDifferentUnitsAsThereAre) {
    QString all(65536, Qt::Uninitialized);
    for (qsizetype i = 0; i < all.size(); ++i)
        all[i] = char16_t(i);
    QString turned = all.sliced(300) + all.first(300);
    EXPECT_EQ(NSEditDistance(all, turned), 600);
}

} // namespace
