// SPDX-License-Identifier: MIT
#include "ZRKit/Values/ZRCollection.h"

#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"
#include "tests/support/Expect.h"

#include <QObject>
#include <gtest/gtest.h>

using namespace zr;

namespace {

const QString a = QStringLiteral("a"), b = QStringLiteral("b"), c = QStringLiteral("c"),
              d = QStringLiteral("d");

ZRCollection abc() {
    ZRCollection collection;
    collection.setObject(1, a);
    collection.setObject(2, b);
    collection.setObject(3, c);
    return collection;
}

void expectConsistent(const ZRCollection &collection) {
    EXPECT_EQ(collection.array().size(), collection.dictionary().size());
    EXPECT_EQ(collection.count(), collection.array().size());
    for (const QString &key : collection.array()) {
        EXPECT_TRUE(collection.dictionary().contains(key));
        EXPECT_EQ(collection.array().count(key), 1);
    }
}

TEST(ZRCollection, RemovesManyKeysInOneWalk) {
    ZRCollection collection;
    QStringList even;
    for (int i = 0; i < 100'000; ++i) {
        collection.setObject(i, QString::number(i));
        if (i % 2 == 0)
            even << QString::number(i);
    }
    collection.removeObjectsForKeys(even + QStringList{QStringLiteral("none"), QString()});
    EXPECT_EQ(collection.count(), 50'000);
    EXPECT_EQ(collection.keyAtIndex(1), QStringLiteral("3"));
    const quint64 changes = collection.mutationCount();
    collection.removeObjectsForKeys({QStringLiteral("none")});
    EXPECT_EQ(collection.mutationCount(), changes);
    collection.removeObjectsForKeys(collection.array());
    EXPECT_EQ(collection.count(), 0);
}

TEST(ZRCollection, StartsEmpty) {
    EXPECT_EQ(ZRCollection().count(), 0);
    EXPECT_EQ(ZRCollection(100).count(), 0);
    EXPECT_TRUE(ZRCollection(100).isEmpty());
    EXPECT_TRUE(ZRCollection(-1).isEmpty());
    EXPECT_TRUE(ZRCollection().keyEnumerator().nextObject().isNull());
}

TEST(ZRCollection, AnExistingKeyKeepsItsPlace) {
    ZRCollection collection = abc();
    collection.setObject(9, a);
    EXPECT_EQ(collection.array(), (QStringList{a, b, c}));
    EXPECT_EQ(collection.objectForKey(a), QVariant(9));
    EXPECT_EQ(collection.count(), 3);
    expectConsistent(collection);
}

TEST(ZRCollection, InsertingMovesAnExistingKey) {
    ZRCollection collection = abc();
    collection.insertObject(9, c, 0);
    EXPECT_EQ(collection.array(), (QStringList{c, a, b}));
    EXPECT_EQ(collection.objectForKey(c), QVariant(9));
    collection.insertObject(4, d, 3);
    EXPECT_EQ(collection.array(), (QStringList{c, a, b, d}));
    collection.insertObject(5, a, 3);
    EXPECT_EQ(collection.array(), (QStringList{c, b, d, a})) << "the place counts after the removal";
    expectConsistent(collection);
}

TEST(ZRCollection, InsertingOutOfRangeRaisesAndChangesNothing) {
    ZRCollection collection = abc();
    expectException(NSRangeException, [&] { collection.insertObject(4, d, 4); });
    expectException(NSRangeException, [&] { collection.insertObject(4, d, -1); });
    expectException(NSRangeException, [&] { collection.insertObject(4, a, 3); });
    EXPECT_EQ(collection.array(), (QStringList{a, b, c}));
    expectConsistent(collection);
}

TEST(ZRCollection, RemovingTakesKeyAndObject) {
    ZRCollection collection = abc();
    collection.removeObjectForKey(b);
    collection.removeObjectForKey(d);
    EXPECT_EQ(collection.array(), (QStringList{a, c}));
    EXPECT_FALSE(collection.objectForKey(b).isValid());
    collection.removeObjectForKey(collection.array().first());
    EXPECT_EQ(collection.array(), QStringList{c});
    collection.setObject(1, a);
    EXPECT_EQ(collection.array(), (QStringList{c, a})) << "a key that comes again comes last";
    expectConsistent(collection);
    collection.removeObjectsForKeys(collection.array());
    EXPECT_TRUE(collection.isEmpty());
    collection = abc();
    collection.removeAllObjects();
    EXPECT_TRUE(collection.isEmpty());
    expectConsistent(collection);
}

TEST(ZRCollection, NilIsRefused) {
    ZRCollection collection = abc();
    expectException(NSInvalidArgumentException, [&] { collection.setObject(QVariant(), a); });
    expectException(NSInvalidArgumentException, [&] { collection.setObject(1, QString()); });
    expectException(NSInvalidArgumentException, [&] { collection.insertObject(QString(), a, 0); });
    collection.setObject(NSNull(), a);
    EXPECT_TRUE(NSIsNull(collection.objectForKey(a)));
    collection.setObject(1, QStringLiteral(""));
    EXPECT_EQ(collection.objectForKey(QStringLiteral("")), QVariant(1));
    EXPECT_FALSE(collection.objectForKey(QString()).isValid());
    EXPECT_FALSE(collection.contains(QString()));
    EXPECT_EQ(collection.indexOfKey(QString()), NSNotFound);
    collection.removeObjectForKey(QString());
    EXPECT_EQ(collection.array().last(), QStringLiteral(""));
    expectConsistent(collection);
}

TEST(ZRCollection, EnumeratesKeysBothWays) {
    const ZRCollection collection = abc();
    EXPECT_EQ(collection.keyEnumerator().allObjects(), (QStringList{a, b, c}));
    EXPECT_EQ(collection.reverseKeyEnumerator().allObjects(), (QStringList{c, b, a}));
    auto enumerator = collection.reverseKeyEnumerator();
    EXPECT_EQ(enumerator.nextObject(), c);
    EXPECT_EQ(enumerator.allObjects(), (QStringList{b, a}));
    EXPECT_TRUE(enumerator.nextObject().isNull());
}

TEST(ZRCollection, ChangingItDuringAnEnumerationRaises) {
    ZRCollection collection = abc();
    auto enumerator = collection.keyEnumerator();
    EXPECT_EQ(enumerator.nextObject(), a);
    collection.removeObjectForKey(d);
    EXPECT_EQ(enumerator.nextObject(), b) << "removing what isn't there changes nothing";
    collection.setObject(4, d);
    expectException(NSGenericException, [&] { enumerator.nextObject(); });

    const auto walk = [&](auto change) {
        for (const auto &entry : collection)
            change(entry.first);
    };
    expectException(NSGenericException, [&] { walk([&](const QString &k) { collection.setObject(0, k); }); });
    expectException(NSGenericException,
                    [&] { walk([&](const QString &k) { collection.removeObjectForKey(k); }); });
    expectException(NSGenericException,
                    [&] { walk([&](const QString &k) { collection.insertObject(0, k + k, 0); }); });
    expectException(NSGenericException,
                    [&] { walk([&](const QString &) { collection.removeAllObjects(); }); });
    collection = abc();
    expectException(NSGenericException, [&] { walk([&](const QString &) { collection = ZRCollection(); }); });
    collection = abc();
    auto it = collection.begin();
    collection.setObject(0, a);
    expectException(NSGenericException, [&] { it.key(); });
    expectException(NSGenericException, [&] { it.value(); });
    expectException(NSGenericException, [&] { ++it; });
}

TEST(ZRCollection, WalksOverEntriesInOrder) {
    QStringList seen;
    for (const auto &[key, object] : abc())
        seen.append(key + object.toString());
    EXPECT_EQ(seen, (QStringList{QStringLiteral("a1"), QStringLiteral("b2"), QStringLiteral("c3")}));
}

TEST(ZRCollection, AnswersPositions) {
    const ZRCollection collection = abc();
    EXPECT_EQ(collection.indexOfKey(b), 1);
    EXPECT_EQ(collection.indexOfKey(d), NSNotFound);
    EXPECT_EQ(collection.keyAtIndex(2), c);
    EXPECT_EQ(collection.objectAtIndex(2), QVariant(3));
    for (const qsizetype index : {qsizetype(-1), qsizetype(3), NSNotFound}) {
        expectException(NSRangeException, [&] { collection.keyAtIndex(index); });
        expectException(NSRangeException, [&] { collection.objectAtIndex(index); });
    }
}

TEST(ZRCollection, ACopyIsIndependentAndOrdered) {
    const ZRCollection original{{c, 3}, {a, 1}};
    ZRCollection copy = original.copy();
    copy.setObject(2, b);
    EXPECT_EQ(copy.array(), (QStringList{c, a, b}));
    EXPECT_EQ(original.array(), (QStringList{c, a}));
}

TEST(ZRCollection, AnswersLikeADictionary) {
    const ZRCollection collection{{c, 3}, {a, 1}, {c, 4}};
    EXPECT_EQ(collection.allKeys(), (QStringList{c, a}));
    EXPECT_EQ(collection.allValues(), (QVariantList{4, 1}));
    EXPECT_EQ(collection.toVariantMap(), (QVariantMap{{a, 1}, {c, 4}}));
    EXPECT_TRUE(collection.contains(a));
    EXPECT_EQ(collection, (ZRCollection{{a, 1}, {c, 4}})) << "dictionaries are equal whatever the order";
    EXPECT_FALSE(collection == abc());
    ZRCollection merged = abc();
    merged.addEntriesFromDictionary(QVariantMap{{d, 4}, {a, 0}});
    EXPECT_EQ(merged.array(), (QStringList{a, b, c, d}));
    EXPECT_EQ(merged.value(a), QVariant(0));
    merged.addEntriesFromDictionary(merged);
    EXPECT_EQ(merged.count(), 4);
    merged.addEntriesFromDictionary(ZRCollection{{QStringLiteral("z"), 1}, {QStringLiteral("e"), 2}});
    EXPECT_EQ(merged.array().mid(4), (QStringList{QStringLiteral("z"), QStringLiteral("e")}));
}

TEST(ZRCollection, DescribesItselfInOrder) {
    const ZRCollection inner{{d, NSNull()}};
    const ZRCollection collection{{b, 2}, {a, QStringLiteral("text")}, {c, QVariant::fromValue(inner)}};
    EXPECT_EQ(ZRCollection().description(), QStringLiteral("{\n}\n"));
    EXPECT_EQ(ZRCollection({{b, 2}, {a, QStringLiteral("x y")}}).descriptionWithLocale(QLocale::c(), 1),
              QStringLiteral("    {\n        b = 2;\n        a = x y;\n    }\n"));
    // A nested collection is described at the same level.
    EXPECT_EQ(collection.description(),
              QStringLiteral("{\n    b = 2;\n    a = text;\n    c = {\n    d = <null>;\n}\n;\n}\n"));
    EXPECT_EQ(collection.descriptionWithLocale(QLocale::c(), 0), collection.description());
}

TEST(ZRCollection, DescriptionForObjectTakesStringsAsTheyAre) {
    EXPECT_EQ(ZRKit::DescriptionForObject(QStringLiteral("a\"b"), QLocale::c(), 3), QStringLiteral("a\"b"));
    EXPECT_EQ(ZRKit::DescriptionForObject(QVariant::fromValue(ZRCollection{{a, 1}}), QLocale::c(), 1),
              QStringLiteral("    {\n        a = 1;\n    }\n"));
    EXPECT_EQ(ZRKit::DescriptionForObject(5, QLocale::c(), 1), QStringLiteral("5"));
}

TEST(ZRCollection, DescriptionForObjectIndentsContainersAndLocalisesNumbers) {
    const QLocale german(QLocale::German, QLocale::Germany);
    const auto text = [&](const QVariant &object, int level) {
        return ZRKit::DescriptionForObject(object, german, level);
    };
    EXPECT_EQ(text(QVariantList{1, QVariantMap{{a, b}}}, 1),
              QStringLiteral("    (\n        1,\n        {\n            a = \"b\";\n        }\n    )"));
    EXPECT_EQ(text(QVariantMap{{a, 1}}, 2), QStringLiteral("        {\n            a = 1;\n        }"));
    EXPECT_EQ(text(QVariantList(), 1), QStringLiteral("    ()"));
    EXPECT_EQ(text(QVariantList{1}, 0), NSObjectRuntime::description(QVariantList{1}));
    EXPECT_EQ(text(1234.5, 1), QStringLiteral("1234,5"));
    EXPECT_EQ(text(QVariant::fromValue(NSDecimalNumber(QStringLiteral("-0.25"))), 1),
              QStringLiteral("-0,25"));
    EXPECT_EQ(text(true, 1), QStringLiteral("1"));
    EXPECT_EQ(ZRKit::DescriptionForObject(1234.5, QLocale::c(), 1), QStringLiteral("1234.5"));
}

/// Describes itself by locale.
class Localized : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE QString descriptionWithLocale(const QVariant &locale) const {
        return locale.toLocale().name() + QStringLiteral("!");
    }
};

/// Describes itself by locale and level.
class Indented : public Localized {
    Q_OBJECT
public:
    Q_INVOKABLE QString descriptionWithLocale(const QVariant &locale, int level) const {
        return locale.toLocale().name() + QString::number(level);
    }
};

TEST(ZRCollection, DescriptionForObjectAsksTheObject) {
    Localized localized;
    Indented indented;
    const QLocale german(QLocale::German, QLocale::Germany);
    EXPECT_EQ(ZRKit::DescriptionForObject(QVariant::fromValue(&localized), german, 2),
              QStringLiteral("de_DE!"));
    EXPECT_EQ(ZRKit::DescriptionForObject(QVariant::fromValue(&indented), german, 2),
              QStringLiteral("de_DE2"));
    EXPECT_EQ(ZRKit::DescriptionForObject(NSNull(), german, 2), QStringLiteral("<null>"));
}

TEST(ZRCollection, IsADictionaryToWhoeverTakesAny) {
    const QVariant value = QVariant::fromValue(ZRCollection{{b, 2}, {a, QVariantMap{{c, 3}}}});
    EXPECT_EQ(kindOf(value), ValueKind::Dictionary);
    EXPECT_EQ(NSKeyValueCoding::valueForKeyPath(value, QStringLiteral("a.c")), QVariant(3));
    EXPECT_TRUE(NSObjectRuntime::isEqual(value, QVariantMap{{a, QVariantMap{{c, 3}}}, {b, 2}}));
}

} // namespace

#include "ZRCollectionTest.moc"
