// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDictionary+ZRKit.h"

#include "ZRKit/Values/ZRCollection.h"
#include "platform/values/NSException.h"
#include "tests/support/Expect.h"

#include <QUrl>
#include <QVariantHash>
#include <gtest/gtest.h>
#include <stdexcept>

namespace {

TEST(NSDictionary, KeyGivesTheValue) {
    const QVariantMap dictionary{{QStringLiteral("a"), 1}, {QStringLiteral("b"), QStringLiteral("text")}};
    EXPECT_EQ(ZRKit::key(dictionary, QStringLiteral("a")), QVariant(1));
    EXPECT_EQ(ZRKit::key(dictionary, QStringLiteral("b")), QVariant(QStringLiteral("text")));
    EXPECT_EQ(ZRKit::key(QVariantHash{{QStringLiteral("a"), 1}}, QStringLiteral("a")), QVariant(1));
}

TEST(NSDictionary, KeyReadsTheNullMarkerAndAMissingKeyAsNil) {
    const QVariantMap dictionary{{QStringLiteral("null"), NSNull()}};
    EXPECT_FALSE(ZRKit::key(dictionary, QStringLiteral("null")).isValid());
    EXPECT_FALSE(ZRKit::key(dictionary, QStringLiteral("missing")).isValid());
    EXPECT_FALSE(ZRKit::key(dictionary, QString()).isValid());
    EXPECT_FALSE(ZRKit::key(QVariantMap(), QStringLiteral("a")).isValid());
}

TEST(NSDictionary, KeyKeepsEmptyValues) {
    const QVariantMap dictionary{{QStringLiteral("text"), QStringLiteral("")},
                                 {QStringLiteral("data"), QByteArray("")},
                                 {QStringLiteral("list"), QVariantList()},
                                 {QStringLiteral("zero"), 0},
                                 {QStringLiteral(""), QStringLiteral("empty key")}};
    for (const QString &k : dictionary.keys())
        EXPECT_FALSE(NSIsNil(ZRKit::key(dictionary, k))) << k.toStdString();
    EXPECT_EQ(ZRKit::key(dictionary, QStringLiteral("")), QVariant(QStringLiteral("empty key")));
}

TEST(NSDictionary, KeyGivesNilWhenTheLookupThrows) {
    struct Broken {
        QVariant value(const QString &k) const {
            if (k == QStringLiteral("good"))
                return 1;
            if (k == QStringLiteral("bad"))
                throw NSException(NSInvalidArgumentException, QStringLiteral("bad key"));
            throw 5;
        }
    };
    EXPECT_EQ(ZRKit::key(Broken(), QStringLiteral("good")), QVariant(1));
    EXPECT_FALSE(ZRKit::key(Broken(), QStringLiteral("bad")).isValid());
    EXPECT_FALSE(ZRKit::key(Broken(), QStringLiteral("worse")).isValid());
}

const QString a = QStringLiteral("a"), b = QStringLiteral("b"), c = QStringLiteral("c");

TEST(NSDictionary, LenIsTheCount) {
    EXPECT_EQ(ZRKit::len(QVariantMap{{a, 1}, {b, NSNull()}}), 2);
    EXPECT_EQ(ZRKit::len(QVariantHash{{a, 1}}), 1);
    EXPECT_EQ(ZRKit::len(ZRCollection{{a, 1}}), 1);
    EXPECT_EQ(ZRKit::len(QVariantMap()), 0);
}

TEST(NSDictionary, KeyWithADefaultGivesItForNilOnly) {
    const QVariantMap dictionary{{a, 1}, {b, NSNull()}, {c, QStringLiteral("")}};
    EXPECT_EQ(ZRKit::key(dictionary, a, 5), QVariant(1));
    EXPECT_EQ(ZRKit::key(dictionary, b, 5), QVariant(5)) << "the null marker reads as nil";
    EXPECT_EQ(ZRKit::key(dictionary, QStringLiteral("d"), 5), QVariant(5));
    EXPECT_EQ(ZRKit::key(dictionary, c, 5), QVariant(QStringLiteral("")));
    EXPECT_FALSE(ZRKit::key(dictionary, b, QVariant()).isValid());
}

TEST(NSDictionary, KeysGivesTheFirstThatIsNotNil) {
    const QVariantMap dictionary{{a, NSNull()}, {b, 2}, {c, 3}};
    EXPECT_EQ(ZRKit::keys(dictionary, {QStringLiteral("d"), a, b, c}), QVariant(2));
    EXPECT_EQ(ZRKit::keys(dictionary, {c, b}), QVariant(3));
    EXPECT_FALSE(ZRKit::keys(dictionary, {a}).isValid());
    EXPECT_FALSE(ZRKit::keys(dictionary, {}).isValid());
    EXPECT_FALSE(ZRKit::keys(dictionary, {a, QString(), b}).isValid()) << "nil ends the list";
}

TEST(NSDictionary, HasCountsTheNullMarkerAsPresent) {
    const QVariantMap dictionary{{a, NSNull()}, {b, QStringLiteral("")}, {c, QVariant()}};
    EXPECT_TRUE(ZRKit::has(dictionary, a));
    EXPECT_TRUE(ZRKit::has(dictionary, b));
    EXPECT_FALSE(ZRKit::has(dictionary, c)) << "nil is no object";
    EXPECT_FALSE(ZRKit::has(dictionary, QStringLiteral("d")));
    EXPECT_TRUE(ZRKit::has(ZRCollection{{a, 1}}, a));
}

TEST(NSDictionary, MergeDictPutsTheOthersEntriesOver) {
    const QVariantMap one{{a, 1}, {b, 2}};
    EXPECT_EQ(ZRKit::mergeDict(one, {{b, 3}, {c, 4}}), (QVariantMap{{a, 1}, {b, 3}, {c, 4}}));
    EXPECT_EQ(ZRKit::mergeDict(one, QVariantMap()), one);
    EXPECT_EQ(ZRKit::mergeDict(QVariantMap(), one), one);
    const ZRCollection merged = ZRKit::mergeDict(ZRCollection{{c, 1}, {a, 2}}, QVariantMap{{a, 3}, {b, 4}});
    EXPECT_EQ(merged.array(), (QStringList{c, a, b}));
    EXPECT_EQ(merged.value(a), QVariant(3));
}

TEST(NSDictionary, FlattenGoesInTheOrderOfTheKeys) {
    const QVariantMap dictionary{{b, 2}, {c, 3}, {a, 1}};
    const auto block = [](const QString &k, const QVariant &object) {
        return object == 2 ? QVariant() : QVariant(k + object.toString());
    };
    EXPECT_EQ(ZRKit::zrFlatten(dictionary, block),
              (QVariantList{QStringLiteral("a1"), QStringLiteral("c3")}));
    EXPECT_EQ(ZRKit::zrFlatten(ZRCollection{{c, 3}, {b, 2}, {a, 1}}, block),
              (QVariantList{QStringLiteral("c3"), QStringLiteral("a1")}));
    EXPECT_TRUE(ZRKit::zrFlatten(QVariantMap(), block).isEmpty());
}

TEST(NSDictionary, ChangingTheDictionaryFromItsBlockRaises) {
    QVariantMap map{{a, 1}, {b, 2}};
    QVariantHash hash{{a, 1}, {b, 2}};
    ZRCollection collection{{a, 1}, {b, 2}};
    const auto changing = [](auto &dictionary) {
        return [&dictionary](const QString &k, const QVariant &) {
            dictionary.insert(k + k, 3);
            return k;
        };
    };
    expectException(NSGenericException, [&] { ZRKit::zrFlatten(map, changing(map)); });
    expectException(NSGenericException, [&] { ZRKit::zrFlatten(hash, changing(hash)); });
    expectException(NSGenericException, [&] { ZRKit::zrFlatten(collection, changing(collection)); });
    EXPECT_EQ(map.size(), 3);
    EXPECT_EQ(hash.size(), 3);
    EXPECT_EQ(collection.size(), 3);
    EXPECT_EQ(ZRKit::zrFlatten(map, [&](const QString &k, const QVariant &) { return map.value(k); }).size(),
              3);
}

TEST(NSDictionary, ABlockThatThrowsStopsTheOperation) {
    EXPECT_THROW(ZRKit::zrFlatten(
                     QVariantMap{{a, 1}},
                     [](const QString &, const QVariant &) -> QVariant { throw std::runtime_error("stop"); }),
                 std::runtime_error);
}

TEST(NSDictionary, DeepMutableCopyMakesNestedContainersPlain) {
    const QVariantMap dictionary{{a, QStringList{b}}, {b, QVariantHash{{c, 1}}}};
    const std::optional<QVariantMap> copy = ZRKit::deepMutableCopy(dictionary);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->value(a).metaType().id(), QMetaType::QVariantList);
    EXPECT_EQ(copy->value(b).metaType().id(), QMetaType::QVariantMap);
    EXPECT_EQ(ZRKit::deepMutableCopy(ZRCollection{{a, 1}}), (QVariantMap{{a, 1}}));
    EXPECT_FALSE(ZRKit::deepMutableCopy(QVariantMap{{a, NSNull()}}));
    EXPECT_FALSE(ZRKit::deepMutableCopy(QVariantMap{{a, QVariantHash{{b, QUrl(QStringLiteral("x:y"))}}}}));
}

TEST(NSMutableDictionary, KeySetTakesTheObjectFirst) {
    QVariantMap dictionary;
    ZRKit::keySet(dictionary, QStringLiteral("v"), QStringLiteral("k"));
    EXPECT_EQ(dictionary, (QVariantMap{{QStringLiteral("k"), QStringLiteral("v")}}));
    ZRKit::keySet(dictionary, QVariant(), QStringLiteral("k"));
    ZRKit::keySet(dictionary, 1, QString());
    EXPECT_EQ(dictionary, (QVariantMap{{QStringLiteral("k"), QStringLiteral("v")}})) << "nil does nothing";
    ZRKit::keySet(dictionary, NSNull(), QStringLiteral(""));
    EXPECT_TRUE(NSIsNull(dictionary.value(QStringLiteral(""))))
        << "the null marker and the empty key are no nil";
    ZRCollection collection;
    ZRKit::keySet(collection, 1, a);
    EXPECT_EQ(collection.value(a), QVariant(1));
}

TEST(NSDictionary, KeysAndObjectsSkipNil) {
    EXPECT_EQ(ZRKit::ZRDictionaryWithKeysAndObjectsSkipNil({{a, 1}, {b, QVariant()}, {c, NSNull()}}),
              (QVariantMap{{a, 1}}));
    EXPECT_EQ(ZRKit::ZRDictionaryWithKeysAndObjectsSkipNil({{a, 1}, {a, 2}, {a, NSNull()}}),
              (QVariantMap{{a, 2}}));
    EXPECT_EQ(ZRKit::ZRDictionaryWithKeysAndObjectsSkipNil({{a, QString()}, {b, QStringLiteral("")}}),
              (QVariantMap{{b, QStringLiteral("")}}));
    EXPECT_TRUE(ZRKit::ZRDictionaryWithKeysAndObjectsSkipNil({}).isEmpty());
    QVariantMap changeable = ZRKit::ZRDictionaryWithKeysAndObjectsSkipNil({{a, 1}});
    changeable.insert(b, 2);
    EXPECT_EQ(changeable.size(), 2);
    EXPECT_EQ(ZRKit::ZRDictionaryWithKeysAndObjectsSkipNil({{QString(), QVariant()}}), QVariantMap());
    expectException(NSInvalidArgumentException, [] {
        ZRKit::ZRDictionaryWithKeysAndObjectsSkipNil({{QString(), 1}});
    });
}

} // namespace
