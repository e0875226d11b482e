// SPDX-License-Identifier: MIT
#include "platform/predicates/NSSortDescriptor.h"

#include "platform/base/NSException.h"
#include "platform/predicates/NSPredicate.h"
#include "tests/platform/values/RuntimeObjects.h"
#include "tests/support/Expect.h"

#include <gtest/gtest.h>

namespace {

const QString key = QStringLiteral("key"), name = QStringLiteral("name");

QVariant entry(const QVariant &value, const char *label) {
    return QVariantMap{{key, value}, {name, QString::fromLatin1(label)}};
}

QString names(const QVariantList &entries) {
    QString text;
    for (const QVariant &one : entries)
        text += one.toMap().value(name).toString();
    return text;
}

TEST(NSSortDescriptor, SortsInEitherDirectionAndKeepsTheOrderOfEquals) {
    const QVariantList entries{entry(2, "a"), entry(1, "b"), entry(2, "c"), entry(3, "d"), entry(1.0, "e")};
    EXPECT_EQ(names(sortedArrayUsingDescriptors(entries, {NSSortDescriptor(key, true)})),
              QStringLiteral("beacd"));
    EXPECT_EQ(names(sortedArrayUsingDescriptors(entries, {NSSortDescriptor(key, false)})),
              QStringLiteral("dacbe"));
    EXPECT_EQ(names(sortedArrayUsingDescriptors(entries, {})), QStringLiteral("abcde"));
    EXPECT_EQ(names(sortedArrayUsingDescriptors(
                  entries, {NSSortDescriptor(key, true), NSSortDescriptor(name, false)})),
              QStringLiteral("ebcad"));
}

TEST(NSSortDescriptor, NilComesFirstWhenAscending) {
    const QVariantList entries{entry(2, "a"), entry(QVariant(), "b"), entry(1, "c"), entry(QString(), "d")};
    EXPECT_EQ(names(sortedArrayUsingDescriptors(entries, {NSSortDescriptor(key, true)})),
              QStringLiteral("bdca"));
    EXPECT_EQ(names(sortedArrayUsingDescriptors(entries, {NSSortDescriptor(key, false)})),
              QStringLiteral("acbd"));
}

TEST(NSSortDescriptor, FollowsKeyPathsAndComparesTheObjectsThemselvesWithoutOne) {
    const QVariantMap low{{key, QVariantMap{{key, 1}}}}, high{{key, QVariantMap{{key, 2}}}};
    EXPECT_EQ(NSSortDescriptor(QStringLiteral("key.key"), true).compareObject(low, high), NSOrderedAscending);
    EXPECT_EQ(NSSortDescriptor(QStringLiteral("key.key"), false).compareObject(low, high),
              NSOrderedDescending);
    EXPECT_EQ(NSSortDescriptor(QStringLiteral("key.key"), true).compareObject(low, low), NSOrderedSame);
    EXPECT_EQ(sortedArrayUsingDescriptors({3, 1, 2}, {NSSortDescriptor(QString(), true)}),
              (QVariantList{1, 2, 3}));
    EXPECT_EQ(sortedArrayUsingDescriptors({3, 1, 2}, {NSSortDescriptor(QStringLiteral(""), false)}),
              (QVariantList{3, 2, 1}));
}

TEST(NSSortDescriptor, KnowsWhatStringsCompareBy) {
    const QVariantList files{QStringLiteral("File10"), QStringLiteral("file2"), QStringLiteral("FILE1")};
    const auto by = [&](const char *selector) {
        return sortedArrayUsingDescriptors(files,
                                           {NSSortDescriptor({}, true, QString::fromLatin1(selector))});
    };
    const QVariantList units{files.at(2), files.at(0), files.at(1)},
        people{files.at(2), files.at(1), files.at(0)};
    EXPECT_EQ(by("compare:"), units);
    EXPECT_EQ(by("caseInsensitiveCompare:"), units);
    EXPECT_EQ(by("localizedStandardCompare:"), people);
    EXPECT_EQ(by("localizedCaseInsensitiveCompare:").size(), 3);
    EXPECT_EQ(by("localizedCompare:").size(), 3);
    EXPECT_EQ(NSSortDescriptor({}, true, QStringLiteral("caseInsensitiveCompare:"))
                  .compareObject(QStringLiteral("A"), QStringLiteral("a")),
              NSOrderedSame);
    expectException(NSInvalidArgumentException, [&] { by("unknownCompare:"); });
    expectException(NSInvalidArgumentException, [&] {
        NSSortDescriptor({}, true, QStringLiteral("caseInsensitiveCompare:")).compareObject(1, 2);
    });
    expectException(NSInvalidArgumentException,
                    [&] { NSSortDescriptor({}, true).compareObject(1, QStringLiteral("1")); });
}

TEST(NSSortDescriptor, AsksObjectsAndComparators) {
    Person young(QStringLiteral("Z"), 10), old(QStringLiteral("A"), 50);
    const QVariantList people{QVariant::fromValue(&old), QVariant::fromValue(&young)};
    EXPECT_EQ(sortedArrayUsingDescriptors(people, {NSSortDescriptor({}, true)}).at(0), people.at(1));
    EXPECT_EQ(sortedArrayUsingDescriptors(people, {NSSortDescriptor(QStringLiteral("age"), true)}).at(0),
              people.at(1));
    EXPECT_EQ(sortedArrayUsingDescriptors(people, {NSSortDescriptor(name, true)}).at(0), people.at(0));
    const NSSortDescriptor byLength(name, true, [](const QVariant &a, const QVariant &b) {
        return NSObjectRuntime::compare(a.toString().size(), b.toString().size());
    });
    EXPECT_EQ(byLength.compareObject(people.at(0), people.at(1)), NSOrderedSame);
    EXPECT_TRUE(byLength.selector().isNull());
    expectException(NSInvalidArgumentException,
                    [] { NSSortDescriptor(name, true, NSSortDescriptor::Comparator()); });
    expectException(QStringLiteral("NSUnknownKeyException"), [&] {
        sortedArrayUsingDescriptors(people, {NSSortDescriptor(QStringLiteral("unknown"), true)});
    });
}

TEST(NSSortDescriptor, CanBeReversedAndLookedInto) {
    const NSSortDescriptor descriptor(key, true, QStringLiteral("localizedCompare:"));
    EXPECT_EQ(descriptor.key(), key);
    EXPECT_TRUE(descriptor.ascending());
    EXPECT_EQ(descriptor.selector(), QStringLiteral("localizedCompare:"));
    EXPECT_FALSE(descriptor.reversedSortDescriptor().ascending());
    EXPECT_EQ(descriptor.reversedSortDescriptor().selector(), descriptor.selector());
    EXPECT_EQ(NSSortDescriptor(key, true).selector(), QStringLiteral("compare:"));
}

TEST(NSPredicate, LooksAtObjectsByTheirProperties) {
    Person boss(QStringLiteral("Bea"), 50);
    Person clerk(QStringLiteral("Cem"), 20, &boss);
    const auto holds = [&](const char *format) {
        return NSPredicate::predicateWithFormat(QString::fromLatin1(format)).evaluateWithObject(&clerk);
    };
    EXPECT_TRUE(holds("name == 'Cem' AND age < 30"));
    EXPECT_TRUE(holds("boss.name BEGINSWITH 'B' AND boss.boss == nil AND boss.boss.name == nil"));
    EXPECT_TRUE(holds("adult == TRUE AND SELF.greeting ENDSWITH 'Cem'"));
    EXPECT_FALSE(holds("mood == 2"));
    EXPECT_TRUE(NSPredicate::predicateWithFormat(QStringLiteral("boss == %@"), QVariant::fromValue(&boss))
                    .evaluateWithObject(&clerk));
    EXPECT_FALSE(NSPredicate::predicateWithFormat(QStringLiteral("age == 1"))
                     .evaluateWithObject(static_cast<QObject *>(nullptr)));
    expectException(QStringLiteral("NSUnknownKeyException"), [&] { holds("salary > 1"); });
}

} // namespace
