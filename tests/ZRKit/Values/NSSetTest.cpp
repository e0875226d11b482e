// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSSet+ZRKit.h"

#include "ZRKit/Values/NSCountedSet+ZRKit.h"
#include "tests/support/Expect.h"

#include <QObject>
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>

namespace {

const NSSet numbers{1, 2, 3};

bool isOdd(const QVariant &number) {
    return number.toInt() % 2 == 1;
}

TEST(NSSetCategory, MapLeavesNilAndRepeatedResultsOut) {
    const auto half = [](const QVariant &n) { return n == 1 ? QVariant() : QVariant(n.toInt() / 2); };
    EXPECT_EQ(ZRKit::zrMap(numbers, half), NSSet{1});
    EXPECT_TRUE(ZRKit::zrMap(numbers, [](const QVariant &) { return NSNull(); }).contains(NSNull()));
    EXPECT_TRUE(ZRKit::zrMap(NSSet(), half).isEmpty());
}

TEST(NSSetCategory, FilterAndSelectAreTheSame) {
    EXPECT_EQ(ZRKit::zrFilter(numbers, isOdd), (NSSet{1, 3}));
    EXPECT_EQ(ZRKit::zrSelect(numbers, isOdd), (NSSet{1, 3}));
    EXPECT_TRUE(ZRKit::zrSelect(NSSet{2}, isOdd).isEmpty());
}

TEST(NSSetCategory, AnyAndMatchGiveSomeMember) {
    int calls = 0;
    const auto isEven = [&](const QVariant &n) {
        ++calls;
        return !isOdd(n);
    };
    EXPECT_EQ(ZRKit::zrAny(numbers, isEven), QVariant(2));
    EXPECT_EQ(ZRKit::zrMatch(numbers, isEven), QVariant(2));
    calls = 0;
    EXPECT_TRUE(ZRKit::zrAny(NSSet{2, 4, 6}, isEven).isValid());
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(ZRKit::zrAny(NSSet{1}, isEven).isValid());
    EXPECT_FALSE(ZRKit::zrMatch(NSSet(), isEven).isValid());
}

TEST(NSSetCategory, SortedGivesAnArray) {
    EXPECT_EQ(
        ZRKit::zrSorted(numbers, [](const QVariant &a, const QVariant &b) { return a.toInt() > b.toInt(); }),
        (QVariantList{3, 2, 1}));
}

TEST(NSSetCategory, ChangingTheSetFromItsBlockRaises) {
    NSSet set = numbers;
    const auto grows = [&](const QVariant &) {
        set.insert(set.size() + 1);
        return true;
    };
    expectException(NSGenericException, [&] { ZRKit::zrMap(set, grows); });
    expectException(NSGenericException, [&] { ZRKit::zrSelect(set, grows); });
    expectException(NSGenericException, [&] { ZRKit::zrFilter(set, grows); });
    expectException(NSGenericException, [&] { ZRKit::zrAny(set, grows); });
    expectException(NSGenericException, [&] { ZRKit::zrMatch(set, grows); });
    expectException(NSGenericException, [&] {
        ZRKit::zrSorted(set, [&](const QVariant &a, const QVariant &) { return grows(a); });
    });
    EXPECT_EQ(set.size(), 9);
    expectException(NSGenericException, [&] {
        ZRKit::zrMap(set, [&](const QVariant &member) {
            set.clear();
            return member;
        });
    });
}

TEST(NSSetCategory, ABlockMayReadItsSet) {
    NSSet set{1, 2, std::numeric_limits<double>::quiet_NaN()};
    const auto reads = [&](const QVariant &) {
        int count = 0;
        for (const QVariant &member : set) // a copy of the variable's own from here on
            count += member.isValid();
        return count == 3 && set.find(1) != set.end();
    };
    EXPECT_EQ(ZRKit::zrSelect(set, reads).size(), 3);
    EXPECT_TRUE(ZRKit::zrAny(set, reads).isValid());
}

/// Writes down what it is sent.
class Receiver : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE void take(const QVariant &member) { taken.insert(member); }
    Q_INVOKABLE void takeNothing() {
        ++calls;
        taken.insert(QStringLiteral("nothing"));
    }
    int calls = 0;
    NSSet taken;
};

TEST(NSSetCategory, ApplyTargetSendsEachMember) {
    Receiver receiver;
    const QVariant target = QVariant::fromValue(&receiver);
    ZRKit::zrApplyTarget(numbers, target, NSSelector("take:"));
    EXPECT_EQ(receiver.taken, numbers);
    receiver.taken.clear();
    ZRKit::zrApplyTarget(NSSet(), target, NSSelector("take:"));
    ZRKit::zrApplyTarget(numbers, target, NSSelector("unknown:"));
    ZRKit::zrApplyTarget(numbers, QVariant(), NSSelector("take:"));
    ZRKit::zrApplyTarget(numbers, 5, NSSelector("take:"));
    EXPECT_TRUE(receiver.taken.isEmpty()) << "a target that doesn't respond is sent nothing";
    ZRKit::zrApplyTarget(numbers, &receiver, NSSelector("takeNothing"));
    EXPECT_EQ(receiver.taken, NSSet{QStringLiteral("nothing")});
    EXPECT_EQ(receiver.calls, 3) << "once for each member";
}

TEST(NSCountedSetCategory, SortedByCountInEitherDirection) {
    const QString a = QStringLiteral("a"), b = QStringLiteral("b"), c = QStringLiteral("c");
    const NSCountedSet set(QVariantList{b, b, b, a, c, c});
    EXPECT_EQ(ZRKit::sortedArrayByCountAscending(set, true), (QVariantList{a, c, b}));
    EXPECT_EQ(ZRKit::sortedArrayByCountAscending(set, false), (QVariantList{b, c, a}));
    EXPECT_TRUE(ZRKit::sortedArrayByCountAscending(NSCountedSet(), true).isEmpty());
    const QVariantList even =
        ZRKit::sortedArrayByCountAscending(NSCountedSet(QVariantList{a, b, c, c}), true);
    EXPECT_EQ(even.last(), QVariant(c));
    EXPECT_EQ(ZRKit::set(even), (NSSet{a, b, c}));
}

template <typename Direction>
concept IsADirection = requires(const NSCountedSet &set, Direction direction) {
    ZRKit::sortedArrayByCountAscending(set, direction);
};

static_assert(IsADirection<bool>);
static_assert(!IsADirection<int> && !IsADirection<const char *> && !IsADirection<double>);

TEST(NSSetCategory, ABlockThatThrowsStopsTheOperation) {
    const auto bad = [](const QVariant &) -> bool { throw std::runtime_error("stop"); };
    EXPECT_THROW(ZRKit::zrSelect(numbers, bad), std::runtime_error);
    EXPECT_THROW(ZRKit::zrMap(numbers, bad), std::runtime_error);
    EXPECT_THROW(ZRKit::zrAny(numbers, bad), std::runtime_error);
}

} // namespace

#include "NSSetTest.moc"
