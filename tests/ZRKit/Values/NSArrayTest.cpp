// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSArray+ZRKit.h"

#include "ZRKit/Values/NSMutableArray+ZRKit.h"
#include "ZRKit/Values/ZRCollection.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSKeyValueCoding.h"
#include "tests/support/Expect.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QUrl>
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>

namespace {

const QString a = QStringLiteral("a"), b = QStringLiteral("b"), c = QStringLiteral("c");
const QVariantList abc{a, b, c};
const QVariantList empty;

bool isText(const QVariant &value) {
    return value.metaType().id() == QMetaType::QString;
}

TEST(NSArray, LenIsTheCount) {
    EXPECT_EQ(ZRKit::len(abc), 3);
    EXPECT_EQ(ZRKit::len(empty), 0);
    EXPECT_EQ(ZRKit::len(QStringList{a}), 1);
}

TEST(NSArray, AtGivesNilOutOfRange) {
    EXPECT_EQ(ZRKit::at(abc, 0), QVariant(a));
    EXPECT_EQ(ZRKit::at(abc, 2), QVariant(c));
    EXPECT_FALSE(ZRKit::at(abc, 3).isValid());
    EXPECT_FALSE(ZRKit::at(abc, quint64(-1)).isValid());
    EXPECT_FALSE(ZRKit::at(abc, std::numeric_limits<quint64>::max()).isValid());
    EXPECT_FALSE(ZRKit::at(empty, 0).isValid());
    EXPECT_TRUE(NSIsNull(ZRKit::at(QVariantList{NSNull()}, 0))) << "the null marker is an element";
    EXPECT_EQ(ZRKit::at(QStringList{a}, 0), a);
    EXPECT_TRUE(ZRKit::at(QStringList{a}, 1).isNull());
}

TEST(NSArray, FirstAndLastOfAnEmptyArrayAreNil) {
    EXPECT_EQ(ZRKit::first(abc), QVariant(a));
    EXPECT_EQ(ZRKit::last(abc), QVariant(c));
    EXPECT_FALSE(ZRKit::first(empty).isValid());
    EXPECT_FALSE(ZRKit::last(empty).isValid());
}

TEST(NSArray, SlicesCountFromBothEnds) {
    const QVariantList bc{b, c}, ab{a, b};
    EXPECT_EQ(ZRKit::sliceFrom(abc, 1, 0), bc);
    EXPECT_EQ(ZRKit::sliceFrom(abc, -2, 0), bc);
    EXPECT_EQ(ZRKit::sliceFrom(abc, 0, -1), ab);
    EXPECT_EQ(ZRKit::sliceFrom(abc, 3, 0), empty);
    EXPECT_EQ(ZRKit::sliceFrom(abc, 0, 0), abc);
    EXPECT_EQ(ZRKit::sliceFrom(abc, 0, 2), ab);
    EXPECT_EQ(ZRKit::sliceFrom(abc, 0, 99), abc);
    EXPECT_EQ(ZRKit::sliceFrom(abc, 1, 99), bc);
    EXPECT_EQ(ZRKit::sliceFrom(abc, -2, -1), QVariantList{b});
    EXPECT_EQ(ZRKit::sliceFrom(abc, 2, 1), empty);
    EXPECT_EQ(ZRKit::sliceFrom(abc, 1, -2), empty);
    EXPECT_EQ(ZRKit::sliceFrom(abc, 0, -3), empty);
    EXPECT_EQ(ZRKit::sliceFrom(abc, 0, -9), empty);
    EXPECT_EQ(ZRKit::sliceFrom(abc, 5, 5), empty);
    EXPECT_EQ(ZRKit::sliceFrom(QStringList{a, b, c}, 1, 0), (QStringList{b, c}));
}

TEST(NSArray, SlicesOfAnEmptyArrayAreEmpty) {
    EXPECT_EQ(ZRKit::sliceFrom(empty, -5, 0), empty);
    EXPECT_EQ(ZRKit::sliceFrom(empty, 5, 10), empty);
}

TEST(NSArray, SlicesThatAskForTooMuchRaise) {
    // A start before the first element is not clamped before the length is computed.
    expectException(NSRangeException, [] { ZRKit::sliceFrom(abc, -5, 0); });
    expectException(NSRangeException, [] { ZRKit::sliceFrom(abc, -5, 2); });
    EXPECT_EQ(ZRKit::sliceFrom(abc, -5, 1), abc) << "three elements from the first on";
    EXPECT_EQ(ZRKit::sliceFrom(abc, -4, 1), (QVariantList{a, b}));
    // An empty range past the end is out of range too; one at the end is not.
    expectException(NSRangeException, [] { ZRKit::sliceFrom(abc, 5, 10); });
    EXPECT_EQ(ZRKit::sliceFrom(abc, 3, 10), empty);
}

TEST(NSArray, SlicesTakeTheLargestNumbers) {
    constexpr qint64 lowest = std::numeric_limits<qint64>::min(),
                     highest = std::numeric_limits<qint64>::max();
    expectException(NSRangeException, [] { ZRKit::sliceFrom(abc, lowest, 0); });
    expectException(NSRangeException, [] { ZRKit::sliceFrom(abc, lowest, highest); });
    expectException(NSRangeException, [] { ZRKit::sliceFrom(abc, highest - 1, highest); });
    EXPECT_EQ(ZRKit::sliceFrom(abc, 0, highest), abc);
    EXPECT_EQ(ZRKit::sliceFrom(abc, 0, lowest), empty);
    EXPECT_EQ(ZRKit::sliceFrom(abc, highest, 0), empty);
}

TEST(NSArray, JoinTakesDescriptions) {
    EXPECT_EQ(ZRKit::join(abc, QStringLiteral(", ")), QStringLiteral("a, b, c"));
    EXPECT_EQ(ZRKit::join({1, NSNull(), a}, QStringLiteral("-")), QStringLiteral("1-<null>-a"));
    EXPECT_EQ(ZRKit::join({a}, QStringLiteral("-")), a);
    EXPECT_EQ(ZRKit::join(abc, QString()), QStringLiteral("abc"));
    const QString none = ZRKit::join({}, QStringLiteral("-"));
    EXPECT_TRUE(none.isEmpty());
    EXPECT_FALSE(none.isNull());
}

TEST(NSArray, JoinAttributedStringsKeepsAttributes) {
    const QVariantMap red{{QStringLiteral("colour"), QStringLiteral("red")}};
    const NSAttributedString separator(QStringLiteral(", "));
    const QVariantList strings{QVariant::fromValue(NSAttributedString(a, red)),
                               QVariant::fromValue(NSMutableAttributedString(b)),
                               QVariant::fromValue(NSAttributedString(c, red))};
    const NSMutableAttributedString joined = ZRKit::joinAttributedStrings(strings, separator);
    EXPECT_EQ(joined.string(), QStringLiteral("a, b, c"));
    const QList<NSAttributedString::Run> runs{{{0, 1}, red}, {{1, 5}, {}}, {{6, 1}, red}};
    EXPECT_EQ(joined.runs(), runs);
    EXPECT_EQ(ZRKit::joinAttributedStrings(strings.mid(0, 1), separator), NSMutableAttributedString(a, red));
    EXPECT_EQ(ZRKit::joinAttributedStrings({}, separator).length(), 0);
    expectException(NSInvalidArgumentException, [&] { ZRKit::joinAttributedStrings({a}, separator); });
}

TEST(NSArray, MapLeavesNilResultsOut) {
    EXPECT_EQ(ZRKit::zrMap(QVariantList{1, 2, 3}, [](const QVariant &n) { return n.toInt() * 2; }),
              (QVariantList{2, 4, 6}));
    const QVariantList kept = ZRKit::zrMap(QVariantList{1, 2, 3}, [](const QVariant &n) {
        return n == 1 ? QVariant() : n == 2 ? NSNull() : QVariant(QStringLiteral(""));
    });
    ASSERT_EQ(kept.size(), 2) << "the null marker and the empty string are results";
    EXPECT_TRUE(NSIsNull(kept.at(0)));
    EXPECT_EQ(ZRKit::zrMap(abc, [](const QVariant &) { return QString(); }), empty) << "a null string is nil";
    EXPECT_EQ(ZRKit::zrMap(QStringList{a, b}, [](const QString &s) { return s.size(); }).size(), 2);
    EXPECT_EQ(ZRKit::zrMap(abc, [](const QVariant &v) { return NSSet{v}; }).at(1).value<NSSet>(), NSSet{b});
}

TEST(NSArray, SelectAndFilterAreTheSame) {
    const QVariantList mixed{1, a, NSNull(), b};
    EXPECT_EQ(ZRKit::zrSelect(mixed, isText), (QVariantList{a, b}));
    EXPECT_EQ(ZRKit::zrFilter(mixed, isText), (QVariantList{a, b}));
    EXPECT_EQ(ZRKit::zrSelect(QVariantList{1}, isText), empty);
}

TEST(NSArray, MatchAndAnyStopAtTheFirstHit) {
    const QVariantList mixed{1, a, b};
    int calls = 0;
    const auto counted = [&](const QVariant &value) {
        ++calls;
        return isText(value);
    };
    EXPECT_EQ(ZRKit::zrMatch(mixed, counted), QVariant(a));
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(ZRKit::zrAny(mixed, counted), QVariant(a));
    EXPECT_EQ(calls, 4);
    EXPECT_FALSE(ZRKit::zrMatch(QVariantList{1, 2}, isText).isValid());
    EXPECT_FALSE(ZRKit::zrAny(empty, isText).isValid());
}

TEST(NSArray, ReduceStartsWithTheInitialValue) {
    const auto add = [](const QVariant &sum, const QVariant &n) { return QVariant(sum.toInt() + n.toInt()); };
    EXPECT_EQ(ZRKit::zrReduce(QVariantList{1, 2, 3}, QVariant(10), add), QVariant(16));
    EXPECT_EQ(ZRKit::zrReduce(empty, QVariant(10), add), QVariant(10));
    EXPECT_FALSE(ZRKit::zrReduce(empty, QVariant(), add).isValid());
    EXPECT_EQ(ZRKit::zrReduce(abc, QString(),
                              [](const QString &text, const QVariant &s) { return text + s.toString(); }),
              QStringLiteral("abc"));
}

TEST(NSArray, ReduceHoldsWhatTheBlockGives) {
    const auto add = [](double sum, const QVariant &n) { return sum + n.toDouble(); };
    EXPECT_EQ(ZRKit::zrReduce(QVariantList{0.5, 0.5, 1.25}, 0, add), 2.25);
    EXPECT_EQ(ZRKit::zrReduce(empty, 0, add), 0.0);
    EXPECT_EQ(ZRKit::zrReduce(QVariantList{Q_INT64_C(1) << 40, 1}, 0,
                              [](auto sum, const QVariant &n) { return sum + n.toLongLong(); }),
              (Q_INT64_C(1) << 40) + 1);
    EXPECT_EQ(ZRKit::zrReduce(
                  QVariantList{1, 2}, 0,
                  [](const QVariant &sum, const QVariant &n) -> QVariant { return sum.toInt() + n.toInt(); }),
              QVariant(3));
}

TEST(NSArray, ABlockMayReadItsArray) {
    QVariantList array{1, 2.5, a, std::numeric_limits<double>::quiet_NaN(), QVariantList{b}, NSNull()};
    const auto reads = [&](const QVariant &) {
        int count = 0;
        for (QVariant &element : array) // a copy of the variable's own from here on
            count += element.isValid();
        array.begin();
        return count == 6 && array[2] == QVariant(a) && array.last().isValid();
    };
    EXPECT_EQ(ZRKit::zrMap(array, reads).size(), 6);
    EXPECT_EQ(ZRKit::zrSelect(array, reads).size(), 6);
    EXPECT_TRUE(ZRKit::zrMatch(array, reads).isValid());
    EXPECT_TRUE(ZRKit::zrReduce(array, true,
                                [&](bool all, const QVariant &element) { return all && reads(element); }));
    EXPECT_EQ(
        ZRKit::zrSorted(array, [&](const QVariant &x, const QVariant &) { return reads(x) && false; }).size(),
        6);
    QStringList texts{a, b};
    EXPECT_EQ(ZRKit::zrMap(texts, [&](const QString &) { return texts[0] + texts.last(); }).size(), 2);
    expectException(NSGenericException,
                    [&] { ZRKit::zrMap(texts, [&](const QString &) { return texts[0] += a; }); });
    QList<double> numbers{1, 2};
    expectException(NSGenericException,
                    [&] { ZRKit::zrMap(numbers, [&](double) { return numbers[1] = 3; }); });
}

TEST(NSArray, OperationsTakeEveryList) {
    const QStringList texts{c, a, b, a};
    EXPECT_EQ(ZRKit::join(texts, u", "), QStringLiteral("c, a, b, a"));
    EXPECT_EQ(ZRKit::join(QList<int>{1, 2}, u'-'), QStringLiteral("1-2"));
    EXPECT_EQ(ZRKit::join({1, a}, ""), QStringLiteral("1a"));
    EXPECT_EQ(ZRKit::sorted(texts), (QVariantList{a, a, b, c}));
    EXPECT_EQ(ZRKit::sorted(QList<double>{2.5, 1}), (QVariantList{1.0, 2.5}));
    EXPECT_EQ(ZRKit::set(texts), (NSSet{a, b, c}));
    EXPECT_EQ(ZRKit::zrSortBy(texts, u"self").first(), QVariant(c));
    EXPECT_EQ(ZRKit::zrGroupBy(texts, u"self", [](const QVariantList &group) { return group.size(); }),
              (QVariantList{1, 2, 1}));
    const QVariantList nested{QVariant(texts), QVariant::fromValue(QList<int>{1, 2}),
                              QVariant(QJsonArray{1, QJsonObject{{a, 2}}}),
                              QVariant::fromValue(QMap<QString, int>{{a, 1}})};
    const auto copy = ZRKit::deepMutableCopy(nested);
    ASSERT_TRUE(copy);
    EXPECT_EQ(*copy, (QVariantList{QVariantList{c, a, b, a}, QVariantList{1, 2},
                                   QVariantList{1, QVariantMap{{a, 2}}}, QVariantMap{{a, 1}}}));
    for (const QVariant &element : *copy)
        EXPECT_TRUE(element.typeId() == QMetaType::QVariantList ||
                    element.typeId() == QMetaType::QVariantMap);
    EXPECT_EQ(ZRKit::deepMutableCopy(texts), (QVariantList{c, a, b, a}));
}

TEST(NSArray, SortedByABlockKeepsTheOrderOfEquals) {
    const QVariantList words{QStringLiteral("bb"), QStringLiteral("a"), QStringLiteral("aa"),
                             QStringLiteral("b")};
    const auto shorter = [](const QVariant &x, const QVariant &y) {
        return x.toString().size() < y.toString().size();
    };
    EXPECT_EQ(ZRKit::zrSorted(words, shorter), (QVariantList{QStringLiteral("a"), QStringLiteral("b"),
                                                             QStringLiteral("bb"), QStringLiteral("aa")}));
    EXPECT_EQ(ZRKit::zrSorted(empty, shorter), empty);
    QVariantList numbers;
    for (int i = 0; i < 1000; ++i)
        numbers.append(i * 7919 % 1000);
    const QVariantList sorted =
        ZRKit::zrSorted(numbers, [](const QVariant &x, const QVariant &y) { return x.toInt() < y.toInt(); });
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(sorted.at(i), QVariant(i));
}

TEST(NSArray, SortedSurvivesABlockThatContradictsItself) {
    QVariantList numbers;
    for (int i = 0; i < 500; ++i)
        numbers.append(i);
    quint32 state = 1;
    const QVariantList sorted = ZRKit::zrSorted(numbers, [&](const QVariant &, const QVariant &) {
        state = state * 1664525 + 1013904223;
        return (state >> 16) % 2 == 0;
    });
    EXPECT_EQ(ZRKit::set(sorted), ZRKit::set(numbers));
}

TEST(NSArray, ABlockThatThrowsStopsTheOperation) {
    int calls = 0;
    const auto bad = [&](const QVariant &) -> bool {
        if (++calls == 2)
            throw std::runtime_error("stop");
        return false;
    };
    EXPECT_THROW(ZRKit::zrSelect(abc, bad), std::runtime_error);
    EXPECT_EQ(calls, 2);
    EXPECT_THROW(ZRKit::zrMap(abc, [](const QVariant &) -> QVariant { throw std::runtime_error("stop"); }),
                 std::runtime_error);
}

TEST(NSArray, ChangingTheArrayFromItsBlockRaises) {
    QVariantList array{1, 2, 3};
    int calls = 0;
    const auto grows = [&](const QVariant &) {
        ++calls;
        array.append(4);
        return true;
    };
    expectException(NSGenericException, [&] { ZRKit::zrMap(array, grows); });
    EXPECT_EQ(calls, 1);
    expectException(NSGenericException, [&] { ZRKit::zrSelect(array, grows); });
    expectException(NSGenericException, [&] { ZRKit::zrFilter(array, grows); });
    expectException(NSGenericException, [&] { ZRKit::zrMatch(array, grows); });
    expectException(NSGenericException, [&] { ZRKit::zrAny(array, grows); });
    expectException(NSGenericException, [&] {
        ZRKit::zrReduce(array, 0, [&](int sum, const QVariant &v) { return grows(v) ? sum + 1 : sum; });
    });
    expectException(NSGenericException, [&] {
        ZRKit::zrSorted(array, [&](const QVariant &x, const QVariant &) { return grows(x); });
    });
    EXPECT_EQ(calls, 7);
    array = {1, 2, 3};
    expectException(NSGenericException, [&] {
        ZRKit::zrMap(array, [&](const QVariant &v) {
            array.clear();
            return v;
        });
    });
    array = {1};
    expectException(NSGenericException, [&] {
        ZRKit::zrMap(array, [&](const QVariant &v) {
            array[0] = 2;
            return v;
        });
    });
    EXPECT_EQ(ZRKit::zrMap(array, [&](const QVariant &) { return array.at(0); }), QVariantList{2});
}

TEST(NSArray, SortedComparesTheElements) {
    EXPECT_EQ(ZRKit::sorted({c, a, b}), abc);
    EXPECT_EQ(ZRKit::sorted({2.5, 10, -1}), (QVariantList{-1, 2.5, 10}));
    EXPECT_EQ(ZRKit::sorted(empty), empty);
    const QVariantList same = ZRKit::sorted({2, 1.0, 1});
    EXPECT_EQ(same.at(0).metaType().id(), QMetaType::Double) << "equal elements stay in their order";
    expectException(NSInvalidArgumentException, [] { ZRKit::sorted({1, a}); });
}

QVariant valued(const QVariant &value, const char *name = "") {
    return QVariantMap{{QStringLiteral("value"), value}, {QStringLiteral("name"), QString::fromLatin1(name)}};
}

QString names(const QVariantList &objects) {
    return ZRKit::join(NSKeyValueCoding::valueForKey(objects, QStringLiteral("name")).toList(), QString());
}

TEST(NSArray, SortByIsDescending) {
    const QString value = QStringLiteral("value");
    EXPECT_EQ(ZRKit::zrSortBy({valued(1), valued(3), valued(2)}, value),
              (QVariantList{valued(3), valued(2), valued(1)}));
    EXPECT_EQ(
        names(ZRKit::zrSortBy({valued(1, "a"), valued(2, "b"), valued(1, "c"), valued({}, "d")}, value)),
        QStringLiteral("bacd"));
    expectException(NSInvalidArgumentException, [&] { ZRKit::zrSortBy({valued(1), valued(a)}, value); });
}

TEST(NSArray, GroupByGathersEqualValues) {
    const QString value = QStringLiteral("value");
    const QVariantList objects{valued(2, "a"), valued(a, "b"), valued(2.0, "c"), valued({}, "d"),
                               valued(3, "e")};
    EXPECT_EQ(ZRKit::zrGroupBy(objects, value, names),
              (QVariantList{QStringLiteral("ac"), QStringLiteral("b"), QStringLiteral("e")}))
        << "elements without a value are in no group";
    EXPECT_EQ(ZRKit::zrGroupBy(
                  objects, value,
                  [](const QVariantList &group) { return group.size() > 1 ? names(group) : QString(); }),
              QVariantList{QStringLiteral("ac")})
        << "nil results are left out";
    EXPECT_EQ(ZRKit::zrGroupBy(empty, value, names), empty);
    const QVariantList nested{QVariantMap{{a, valued(1)}}, QVariantMap{{a, valued(1)}}, QVariantMap{{b, 1}}};
    EXPECT_EQ(ZRKit::zrGroupBy(nested, QStringLiteral("a.value"),
                               [](const QVariantList &group) { return group.size(); }),
              QVariantList{2});
    QVariantList changing = objects;
    expectException(NSGenericException, [&] {
        ZRKit::zrGroupBy(changing, value, [&](const QVariantList &) {
            changing.removeLast();
            return 1;
        });
    });
}

TEST(NSArray, GroupByTellsValuesApartAsEqualityDoes) {
    const QString value = QStringLiteral("value");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const QVariantList objects{valued(1, "a"),
                               valued(QVariant::fromValue(NSDecimalNumber(1)), "b"),
                               valued(nan, "c"),
                               valued(nan, "d"),
                               valued(QStringList{a}, "e"),
                               valued(QVariantList{a}, "f"),
                               valued(true, "g")};
    EXPECT_EQ(ZRKit::zrGroupBy(objects, value, names),
              (QVariantList{QStringLiteral("abg"), QStringLiteral("cd"), QStringLiteral("ef")}));
    QVariant deep = 1;
    for (int i = 0; i < 1000; ++i)
        deep = QVariantList{deep};
    EXPECT_EQ(ZRKit::zrGroupBy(QVariantList{valued(deep, "x"), valued(deep, "y")}, value, names),
              QVariantList{QStringLiteral("xy")});
    QVariantList many;
    for (int i = 0; i < 20000; ++i)
        many << valued(i % 10000);
    const QVariantList sizes =
        ZRKit::zrGroupBy(many, value, [](const QVariantList &group) { return group.size(); });
    EXPECT_EQ(sizes.size(), 10000);
    EXPECT_EQ(ZRKit::set(sizes), NSSet{2});
    expectException(NSInvalidArgumentException, [&] { ZRKit::zrGroupBy(objects, QString(), names); });
}

TEST(NSArray, GroupByTakesTheNullMarkerAsAValue) {
    const QVariantList objects{valued(NSNull(), "a"), valued({}, "b"), valued(NSNull(), "c")};
    EXPECT_EQ(ZRKit::zrGroupBy(objects, QStringLiteral("value"), names), QVariantList{QStringLiteral("ac")});
}

TEST(NSArray, SetHoldsEachElementOnce) {
    const NSSet expected{a, 1};
    EXPECT_EQ(ZRKit::set({a, 1, a, 1.0}), expected);
    EXPECT_EQ(ZRKit::mutableSet({a, 1, a, 1.0}), expected);
    EXPECT_TRUE(ZRKit::set(empty).isEmpty());
}

TEST(NSArray, DeepMutableCopyKeepsLeavesAndMakesContainersPlain) {
    const QDateTime date(QDate(2020, 1, 2), QTime(3, 4), Qt::UTC);
    const QVariant decimal = QVariant::fromValue(NSDecimalNumber(QStringLiteral("1.50")));
    const QVariantList array{1,
                             true,
                             2.5f,
                             QByteArray("d"),
                             date,
                             decimal,
                             QStringList{a, b},
                             QVariantHash{{a, QVariantList{1}}},
                             QVariant::fromValue(ZRCollection{{b, QStringList{c}}}),
                             QVariantMap{}};
    const std::optional<QVariantList> copy = ZRKit::deepMutableCopy(array);
    ASSERT_TRUE(copy);
    ASSERT_EQ(copy->size(), array.size());
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(copy->at(i), array.at(i));
        EXPECT_EQ(copy->at(i).metaType(), array.at(i).metaType());
    }
    EXPECT_EQ(copy->at(6), QVariant(QVariantList{a, b}));
    EXPECT_EQ(copy->at(6).metaType().id(), QMetaType::QVariantList);
    EXPECT_EQ(copy->at(7), QVariant(QVariantMap{{a, QVariantList{1}}}));
    EXPECT_EQ(copy->at(8), QVariant(QVariantMap{{b, QVariantList{c}}}));
}

TEST(NSArray, DeepMutableCopyGivesNothingForWhatNoPropertyListHolds) {
    QObject object;
    for (const QVariant &bad :
         {QVariant(), NSNull(), QVariant(QUrl(QStringLiteral("a:b"))), QVariant::fromValue(NSSet{1}),
          QVariant::fromValue(&object), QVariant(QString())}) {
        EXPECT_FALSE(ZRKit::deepMutableCopy(QVariantList{bad})) << bad.typeName();
        EXPECT_FALSE(ZRKit::deepMutableCopy(QVariantList{QVariantMap{{a, QVariantList{bad}}}}))
            << bad.typeName();
    }
}

TEST(NSMutableArray, PopTakesTheElementOut) {
    QVariantList array{a, b};
    EXPECT_EQ(ZRKit::pop(array, -1), QVariant(b));
    EXPECT_EQ(array, QVariantList{a});
    array = abc;
    EXPECT_EQ(ZRKit::pop(array, 1), QVariant(b));
    EXPECT_EQ(array, (QVariantList{a, c}));
    EXPECT_EQ(ZRKit::pop(array, -2), QVariant(a));
    EXPECT_EQ(ZRKit::popLast(array), QVariant(c));
    EXPECT_TRUE(array.isEmpty());
    array = abc;
    EXPECT_EQ(ZRKit::popFirst(array), QVariant(a));
    EXPECT_EQ(ZRKit::popLast(array), QVariant(c));
    EXPECT_EQ(array, QVariantList{b});
}

TEST(NSMutableArray, PopOutOfRangeGivesNilAndRemovesNothing) {
    QVariantList array;
    EXPECT_FALSE(ZRKit::pop(array, -1).isValid());
    EXPECT_FALSE(ZRKit::popFirst(array).isValid());
    EXPECT_FALSE(ZRKit::popLast(array).isValid());
    array = abc;
    for (const qint64 index :
         {qint64(3), qint64(-4), std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::max()})
        EXPECT_FALSE(ZRKit::pop(array, index).isValid()) << index;
    EXPECT_EQ(array, abc);
}

TEST(NSMutableArray, AddFormatAppendsTheFilledFormat) {
    QVariantList array{1};
    ZRKit::addFormat(array, "%@ has %d", a, 3);
    ZRKit::addFormat(array, "plain");
    EXPECT_EQ(array, (QVariantList{1, QStringLiteral("a has 3"), QStringLiteral("plain")}));
}

TEST(NSMutableArray, AddObjectIfNotNilKeepsNullMarkersAndEmptyValues) {
    QVariantList array;
    ZRKit::addObjectIfNotNil(array, {});
    ZRKit::addObjectIfNotNil(array, QString());
    EXPECT_TRUE(array.isEmpty());
    ZRKit::addObjectIfNotNil(array, NSNull());
    ZRKit::addObjectIfNotNil(array, QStringLiteral(""));
    ZRKit::addObjectIfNotNil(array, QVariantList{1});
    ASSERT_EQ(array.size(), 3);
    EXPECT_TRUE(NSIsNull(array.at(0)));
    EXPECT_EQ(array.at(2), QVariant(QVariantList{1})) << "an array is one object";
}

} // namespace
