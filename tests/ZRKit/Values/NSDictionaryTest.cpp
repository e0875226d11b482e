// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDictionary+ZRKit.h"

#include "ZRKit/Values/ZRCollection.h"
#include "platform/base/NSError.h"
#include "platform/base/NSException.h"
#include "platform/values/NSDecimalNumber.h"
#include "tests/support/Expect.h"

#include <QDateTime>
#include <QLocale>
#include <QObject>
#include <QUrl>
#include <QUuid>
#include <QVariantHash>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
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

TEST(NSDictionary, ANilKeyHasNoValue) {
    const QVariantMap dictionary{{QStringLiteral(""), 1}};
    EXPECT_EQ(ZRKit::key(dictionary, QStringLiteral("")), QVariant(1));
    EXPECT_FALSE(ZRKit::key(dictionary, QString()).isValid());
    EXPECT_EQ(ZRKit::key(dictionary, QString(), 5), QVariant(5));
    EXPECT_TRUE(ZRKit::has(dictionary, QStringLiteral("")));
    EXPECT_FALSE(ZRKit::has(dictionary, QString()));
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
    EXPECT_EQ(ZRKit::mergeDict(one, std::optional<QVariantMap>()), one) << "nil adds nothing";
    EXPECT_EQ(ZRKit::mergeDict(one, std::optional(QVariantMap{{a, 2}})).value(a), QVariant(2));
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

TEST(NSDictionary, ABlockMayReadItsDictionary) {
    QVariantMap map{{a, 1}, {b, NSNull()}};
    QVariantHash hash{{a, 1}, {b, std::numeric_limits<double>::quiet_NaN()}};
    EXPECT_EQ(
        ZRKit::zrFlatten(map, [&](const QString &k, const QVariant &) { return map[k].typeName(); }).size(),
        2);
    EXPECT_EQ(
        ZRKit::zrFlatten(hash, [&](const QString &k, const QVariant &) { return hash[k].typeName(); }).size(),
        2);
    expectException(NSGenericException, [&] {
        ZRKit::zrFlatten(map, [&](const QString &k, const QVariant &) { return map[k] = 2; });
    });
}

TEST(NSDictionary, TextsMayBeLiterals) {
    QVariantMap dictionary{{a, 1}};
    EXPECT_EQ(ZRKit::key(dictionary, u"a"), QVariant(1));
    EXPECT_EQ(ZRKit::key(dictionary, u"x", u"none"), QVariant(QStringLiteral("none")));
    EXPECT_EQ(ZRKit::key(dictionary, "x", "none"), QVariant(QStringLiteral("none")));
    EXPECT_TRUE(ZRKit::has(dictionary, u'a'));
    ZRKit::keySet(dictionary, u"value", u"key");
    EXPECT_EQ(dictionary.value(QStringLiteral("key")), QVariant(QStringLiteral("value")));
    EXPECT_EQ(ZRKit::incrementCounterForKey(dictionary, u"a"), 2);
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

/// Declares nothing that its subclass inherits.
class Base : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString inherited MEMBER inherited)
public:
    QString inherited = QStringLiteral("kept");
};

/// Writes down in which order it is set.
class Model : public Base {
    Q_OBJECT
    Q_PROPERTY(QString title READ title WRITE setTitle)
    Q_PROPERTY(int count READ count WRITE setCount)
    Q_PROPERTY(QObject *owner MEMBER owner)
    Q_PROPERTY(QVariant anything MEMBER anything)
public:
    QString title() const { return m_title; }
    void setTitle(const QString &title) {
        m_title = title;
        order << QStringLiteral("title");
    }
    int count() const { return m_count; }
    void setCount(int count) {
        m_count = count;
        order << QStringLiteral("count");
    }
    QObject *owner = nullptr;
    QVariant anything;
    QStringList order;

private:
    QString m_title;
    int m_count = 0;
};

const QString title = QStringLiteral("title"), count = QStringLiteral("count"),
              anything = QStringLiteral("anything");

TEST(NSDictionary, MapsValuesToAnObjectsOwnPropertiesFromTheLast) {
    Model model;
    ZRKit::mapValuesToObject(QVariantMap{{title, QStringLiteral("new")},
                                         {count, 5},
                                         {QStringLiteral("unknown"), 1},
                                         {QStringLiteral("inherited"), QStringLiteral("changed")}},
                             &model);
    EXPECT_EQ(model.title(), QStringLiteral("new"));
    EXPECT_EQ(model.count(), 5);
    EXPECT_EQ(model.order, (QStringList{count, title}));
    EXPECT_EQ(model.inherited, QStringLiteral("kept")) << "superclasses' properties are left alone";
    ZRKit::mapValuesToObject(QVariantMap{{title, QVariant()}, {anything, NSNull()}}, &model);
    EXPECT_EQ(model.title(), QStringLiteral("new")) << "nil sets nothing";
    EXPECT_TRUE(NSIsNull(model.anything)) << "the null marker is a value";
    ZRKit::mapValuesToObject(ZRCollection{{count, 6}}, &model);
    EXPECT_EQ(model.count(), 6);
    ZRKit::mapValuesToObject(QVariantMap{{count, 6}}, nullptr);
    expectException(NSInvalidArgumentException, [&] {
        ZRKit::mapValuesToObject(QVariantMap{{count, QVariantList{1}}}, &model);
    });
}

/// Has a property of every kind that a single value may become.
class Typed : public QObject {
    Q_OBJECT
    Q_PROPERTY(int whole MEMBER whole)
    Q_PROPERTY(bool flag MEMBER flag)
    Q_PROPERTY(double real MEMBER real)
    Q_PROPERTY(QString text MEMBER text)
    Q_PROPERTY(QByteArray data MEMBER data)
    Q_PROPERTY(QDateTime date MEMBER date)
public:
    int whole = 7;
    bool flag = false;
    double real = 0;
    QString text;
    QByteArray data;
    QDateTime date;
};

TEST(NSDictionary, MappedValuesAreConvertedAsCoercionHasIt) {
    const auto mapped = [](const char *name, const QVariant &value) {
        auto object = std::make_unique<Typed>();
        ZRKit::mapValuesToObject(QVariantMap{{QString::fromLatin1(name), value}}, object.get());
        return object;
    };
    const QDateTime date(QDate(2014, 1, 2), QTime(0, 0), Qt::UTC);
    const QVariantList values{1.9,
                              0.4,
                              QStringLiteral("no"),
                              QStringLiteral("0"),
                              QStringLiteral("12abc"),
                              true,
                              QVariant::fromValue(NSDecimalNumber(QStringLiteral("-2.75")))};
    for (const QVariant &value : values) {
        EXPECT_EQ(mapped("whole", value)->whole, ZRKit::toInt(value)) << value.typeName();
        EXPECT_EQ(mapped("flag", value)->flag, ZRKit::toBool(value)) << value.typeName();
        EXPECT_EQ(mapped("real", value)->real, ZRKit::toDouble(value)) << value.typeName();
        EXPECT_EQ(mapped("text", value)->text, ZRKit::toString(value)) << value.typeName();
        EXPECT_EQ(mapped("data", value)->data, ZRKit::toData(value)) << value.typeName();
    }
    EXPECT_EQ(mapped("text", date)->text, ZRKit::toString(date));
    EXPECT_EQ(mapped("text", QByteArray("\xc3\xa4"))->text, QStringLiteral("\u00e4"));
    EXPECT_EQ(mapped("date", QStringLiteral("2014-01-02"))->date,
              ZRKit::toDate(QStringLiteral("2014-01-02")));
    EXPECT_EQ(mapped("date", date.toSecsSinceEpoch())->date, date);
}

TEST(NSDictionary, TakesTheValuesOfAnObjectsOwnProperties) {
    Model model;
    model.setTitle(QStringLiteral("t"));
    model.owner = &model;
    EXPECT_EQ(ZRKit::dictionaryWithValuesOfObject(&model),
              (QVariantMap{{title, QStringLiteral("t")}, {count, 0}}))
        << "nil and objects that no archive takes are left out";
    for (const QVariant &value :
         {NSNull(), QVariant(QStringLiteral("")), QVariant(QVariantList{1}),
          QVariant(QUrl(QStringLiteral("a:b"))), QVariant(QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC)),
          QVariant(QUuid()), QVariant::fromValue(NSError(QStringLiteral("d"), 1)),
          QVariant::fromValue(NSSet{1})}) {
        model.anything = value;
        EXPECT_TRUE(ZRKit::dictionaryWithValuesOfObject(&model)->contains(anything)) << value.typeName();
    }
    for (const QVariant &value : {QVariant(), QVariant(QString()), QVariant::fromValue(NSError()),
                                  QVariant::fromValue(static_cast<QObject *>(&model)), QVariant(QLocale())}) {
        model.anything = value;
        EXPECT_FALSE(ZRKit::dictionaryWithValuesOfObject(&model)->contains(anything)) << value.typeName();
    }
    const Base base;
    EXPECT_EQ(ZRKit::dictionaryWithValuesOfObject(&base)->size(), 1);
    EXPECT_FALSE(ZRKit::dictionaryWithValuesOfObject(nullptr));
}

/// Declares no properties of its own.
class Bare : public Base {
    Q_OBJECT
};

TEST(NSDictionary, AClassWithoutPropertiesHasNoDictionary) {
    const Bare bare;
    EXPECT_FALSE(ZRKit::dictionaryWithValuesOfObject(&bare));
}

TEST(NSMutableDictionary, IncrementCountsFromWhatIsThere) {
    QVariantMap dictionary{{b, QStringLiteral("41")},
                           {c, NSNull()},
                           {QStringLiteral("d"), QStringLiteral("x")},
                           {QStringLiteral("max"), std::numeric_limits<qint64>::max()}};
    EXPECT_EQ(ZRKit::incrementCounterForKey(dictionary, a), 1);
    EXPECT_EQ(dictionary.value(a), QVariant(1));
    EXPECT_EQ(ZRKit::incrementCounterForKey(dictionary, a), 2);
    EXPECT_EQ(ZRKit::incrementCounterForKey(dictionary, b), 42);
    EXPECT_EQ(dictionary.value(b).metaType().id(), QMetaType::LongLong) << "a number is stored";
    EXPECT_EQ(ZRKit::incrementCounterForKey(dictionary, c), 1);
    EXPECT_EQ(ZRKit::incrementCounterForKey(dictionary, QStringLiteral("d")), 1);
    EXPECT_EQ(ZRKit::incrementCounterForKey(dictionary, QStringLiteral("max")),
              std::numeric_limits<qint64>::min());
    ZRCollection collection;
    EXPECT_EQ(ZRKit::incrementCounterForKey(collection, a), 1);
    EXPECT_EQ(collection.value(a), QVariant(1));
}

TEST(NSMutableDictionary, ACounterNeedsAKey) {
    QVariantMap dictionary{{QStringLiteral(""), 5}};
    expectException(NSInvalidArgumentException,
                    [&] { ZRKit::incrementCounterForKey(dictionary, QString()); });
    EXPECT_EQ(dictionary, (QVariantMap{{QStringLiteral(""), 5}})) << "nil is not the empty key";
    EXPECT_EQ(ZRKit::incrementCounterForKey(dictionary, QStringLiteral("")), 6);
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
    QList<std::pair<QString, QVariant>> pairs;
    for (int i = 0; i < 3; ++i)
        pairs.append({QString::number(i), i == 1 ? NSNull() : QVariant(i)});
    EXPECT_EQ(ZRKit::ZRDictionaryWithKeysAndObjectsSkipNil(pairs),
              (QVariantMap{{QStringLiteral("0"), 0}, {QStringLiteral("2"), 2}}))
        << "pairs made at run time";
    QVariantMap changeable = ZRKit::ZRDictionaryWithKeysAndObjectsSkipNil({{a, 1}});
    changeable.insert(b, 2);
    EXPECT_EQ(changeable.size(), 2);
    EXPECT_EQ(ZRKit::ZRDictionaryWithKeysAndObjectsSkipNil({{QString(), QVariant()}}), QVariantMap());
    expectException(NSInvalidArgumentException, [] {
        ZRKit::ZRDictionaryWithKeysAndObjectsSkipNil({{QString(), 1}});
    });
}

} // namespace

#include "NSDictionaryTest.moc"
