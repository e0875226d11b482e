// SPDX-License-Identifier: MIT
#include "platform/values/NSCountedSet.h"

#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "tests/support/Expect.h"

#include <gtest/gtest.h>

namespace {

const QString a = QStringLiteral("a"), b = QStringLiteral("b");

TEST(NSCountedSet, CountsWhatIsAdded) {
    NSCountedSet set(QVariantList{a, b, a, 1, 1.0});
    EXPECT_EQ(set.count(), 3);
    EXPECT_EQ(set.countForObject(a), 2);
    EXPECT_EQ(set.countForObject(1), 2) << "equal numbers are one member";
    EXPECT_EQ(set.countForObject(QStringLiteral("c")), 0);
    set.addObject(b);
    EXPECT_EQ(set.countForObject(b), 2);
    EXPECT_EQ(NSCountedSet(NSSet{a, b}).countForObject(a), 1);
    EXPECT_EQ(set.set(), (NSSet{a, b, 1}));
    EXPECT_EQ(NSCountedSet(set.allObjects()), NSCountedSet(set.set()));
}

TEST(NSCountedSet, RemovesOneAtATime) {
    NSCountedSet set(QVariantList{a, a});
    set.removeObject(a);
    EXPECT_TRUE(set.containsObject(a));
    set.removeObject(a);
    EXPECT_FALSE(set.containsObject(a));
    set.removeObject(a);
    EXPECT_EQ(set.countForObject(a), 0);
    set.addObject(a);
    set.removeAllObjects();
    EXPECT_EQ(set.count(), 0);
}

TEST(NSCountedSet, TakesTheNullMarkerButNotNil) {
    NSCountedSet set;
    set.addObject(NSNull());
    EXPECT_EQ(set.countForObject(NSNull()), 1);
    expectException(NSInvalidArgumentException, [&] { set.addObject(QVariant()); });
    expectException(NSInvalidArgumentException, [&] { set.addObject(QString()); });
}

TEST(NSCountedSet, IsAnObjectWithACount) {
    const QVariant set = QVariant::fromValue(NSCountedSet(QVariantList{b, a, b, QVariantList{1}}));
    EXPECT_EQ(NSKeyValueCoding::valueForKey(set, QStringLiteral("count")), QVariant(3));
    EXPECT_EQ(NSKeyValueCoding::valueForKeyPath(set, QStringLiteral("allObjects.@count")), QVariant(3));
    EXPECT_EQ(NSObjectRuntime::description(set),
              QStringLiteral("{(\n    \"a\" [1],\n    \"b\" [2],\n    (\n        1\n    ) [1]\n)}"));
    EXPECT_EQ(NSCountedSet().description(), QStringLiteral("{()}"));
}

} // namespace
