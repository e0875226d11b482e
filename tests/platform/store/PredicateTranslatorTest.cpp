// SPDX-License-Identifier: MIT
#include "platform/store/PredicateTranslator.h"

#include "platform/base/NSException.h"
#include "platform/predicates/NSSortDescriptor.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "tests/platform/store/StoreSupport.h"
#include "tests/support/Expect.h"

#include <QDateTime>
#include <QUuid>
#include <limits>
#include <random>

using namespace StoreSupport;
using namespace zr;

namespace {

constexpr const char *Shop = R"({'name': 'Shop', 'entities': [
  {'name': 'Person', 'attributes': {
     'uid': {'type': 'integer32'}, 'name': {'type': 'string', 'indexed': true}, 'nick': {'type': 'string'},
     'age': {'type': 'integer16', 'indexed': true}, 'points': {'type': 'integer64', 'indexed': true},
     'height': {'type': 'double', 'indexed': true}, 'ratio': {'type': 'float'}, 'active': {'type': 'boolean'},
     'born': {'type': 'date', 'indexed': true}, 'balance': {'type': 'decimal', 'indexed': true},
     'debt': {'type': 'decimal'}, 'code': {'type': 'uuid'}, 'home': {'type': 'url'}, 'photo': {'type': 'data'},
     'extra': {'type': 'transformable'}, 'cached': {'type': 'string', 'transient': true}},
   'relationships': {
     'items': {'destination': 'Item', 'inverse': 'owner', 'toMany': true},
     'picks': {'destination': 'Item', 'toMany': true, 'ordered': true}}},
  {'name': 'Item', 'attributes': {
     'uid': {'type': 'integer32'}, 'title': {'type': 'string'}, 'amount': {'type': 'integer32'}, 'price': {'type': 'decimal'}},
   'relationships': {
     'owner': {'destination': 'Person', 'inverse': 'items'},
     'tags': {'destination': 'Tag', 'toMany': true}}},
  {'name': 'Tag', 'attributes': {'uid': {'type': 'integer32'}, 'label': {'type': 'string'}}}]})";

/// Random values, conditions and orders over the shop.
class Dice {
public:
    explicit Dice(unsigned seed) : m_engine(seed) {}

    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(m_engine); }
    bool chance(int percent) { return below(100) < percent; }
    template <typename T>
    T of(const QList<T> &all) {
        return all.at(below(int(all.size())));
    }

    QVariant value(NSAttributeType type) {
        if (chance(15))
            return {};
        switch (type) {
        case NSAttributeType::Integer16:
        case NSAttributeType::Integer32:
            return below(6) - 2;
        case NSAttributeType::Integer64:
            return of(QList<qint64>{0, 1, -1, 2, (qint64(1) << 53) + 1, std::numeric_limits<qint64>::max(),
                                    std::numeric_limits<qint64>::min()});
        case NSAttributeType::Decimal:
            return QVariant::fromValue(NSDecimalNumber(
                of(QList<QString>{text("0"), text("0.1"), text("-2.50"), text("1"), text("10"), text("9"),
                                  text("1e40"), text("NaN"), text("12345678901234567890.5")})));
        case NSAttributeType::Double:
            return of(QList<double>{0, -0.0, 0.1, 1, 1.5, -2, 0x1p53, 1e300,
                                    std::numeric_limits<double>::infinity(),
                                    -std::numeric_limits<double>::infinity()});
        case NSAttributeType::Float:
            return of(QList<float>{0.1f, 1, -2, 1.5f});
        case NSAttributeType::Boolean:
            return chance(50);
        case NSAttributeType::Date:
            return QDateTime::fromMSecsSinceEpoch(qint64(below(5)) * 86'400'000 - 86'400'000, Qt::UTC);
        case NSAttributeType::Data:
            return of(QList<QByteArray>{QByteArray(""), QByteArray("a"), QByteArray("a\0b", 3)});
        case NSAttributeType::URI:
            return QUrl(of(QList<QString>{text("http://a/%C3%A4"), text("http://a/ä"), text("b"),
                                          text("http://A/b%2fc")}));
        case NSAttributeType::UUID:
            return of(
                QList<QUuid>{QUuid(1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0), QUuid(2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0)});
        case NSAttributeType::Transformable:
            return of(QVariantList{QVariantList{qint64(1)}, text("x")});
        case NSAttributeType::String:
            return of(QList<QString>{text(""), text("a"), text("A"), text("ä"), text("a%b_"), text("abc"),
                                     text("straße"), text("STRASSE"), text("👍"), QString(QChar(0xffee)),
                                     QString(QChar(0xd83d)), text("e\u0301"), text("é"), text("10"),
                                     text("9"), QStringLiteral("a\0b")});
        }
        return {};
    }

    /// A constant that is compared with an attribute of the type; a stranger now and then if that has an answer.
    QVariant constant(NSAttributeType type, bool mayBeStrange) {
        static const QList<NSAttributeType> types = {NSAttributeType::String, NSAttributeType::Integer64,
                                                     NSAttributeType::Decimal, NSAttributeType::Date};
        if (mayBeStrange && chance(10))
            return chance(30) ? NSNull() : value(of(types));
        if (isNumber(type) && chance(40))
            return of(QVariantList{1, 0.1, 1.5, 1u, quint64(1) << 63, QVariant::fromValue(NSDecimalNumber(1)),
                                   true, -0.0, QVariant::fromValue(NSDecimalNumber(text("0.1"))), 0x1p63,
                                   (qint64(1) << 53) + 1, std::numeric_limits<double>::quiet_NaN(), 0.1f});
        return value(type);
    }

    NSPredicate predicate(const NSEntityDescription *entity, int depth) {
        if (depth == 0 || chance(35))
            return comparison(entity, {}, depth);
        QList<NSPredicate> parts;
        for (int i = below(3) + 1; i > 0; --i)
            parts << predicate(entity, depth - 1);
        switch (below(3)) {
        case 0:
            return NSCompoundPredicate::notPredicateWithSubpredicate(parts.constFirst());
        case 1:
            return NSCompoundPredicate::orPredicateWithSubpredicates(parts);
        default:
            return NSCompoundPredicate::andPredicateWithSubpredicates(parts);
        }
    }

    QList<NSSortDescriptor> order(const NSEntityDescription *entity) {
        QList<NSSortDescriptor> order;
        for (int i = below(3); i > 0; --i) {
            const auto [path, type] = attribute(entity, true);
            const bool isText = type == NSAttributeType::String;
            order << (isText && chance(40)
                          ? NSSortDescriptor(path, chance(50), text("caseInsensitiveCompare:"))
                          : NSSortDescriptor(path, chance(50)));
        }
        return order;
    }

private:
    static bool isNumber(NSAttributeType type) {
        return type <= NSAttributeType::Float || type == NSAttributeType::Boolean;
    }
    static bool hasOrder(NSAttributeType type) {
        return isNumber(type) || type == NSAttributeType::String || type == NSAttributeType::Date;
    }

    std::pair<QString, NSAttributeType> attribute(const NSEntityDescription *entity, bool ordered) {
        QString prefix;
        if (entity->relationship(text("owner")) && chance(30)) {
            prefix = text("owner.");
            entity = entity->relationship(text("owner"))->destinationEntity();
        }
        for (;;) {
            const auto &properties = entity->properties();
            const auto *property = properties.at(size_t(below(int(properties.size()))));
            const auto *attribute = dynamic_cast<const NSAttributeDescription *>(property);
            if (attribute && !attribute->isTransient() && (!ordered || hasOrder(attribute->attributeType())))
                return {prefix + attribute->name(), attribute->attributeType()};
        }
    }

    NSExpression path(const NSExpression &start, const QString &keyPath) {
        return start.isNil() ? NSExpression::expressionForKeyPath(keyPath)
                             : NSExpression::expressionForKeyPath(start, keyPath);
    }

    /// A comparison of something of the object that the expression gives, of the evaluated object for nil.
    NSPredicate comparison(const NSEntityDescription *entity, const NSExpression &start, int depth) {
        const int sort = below(10);
        if (sort == 0)
            return NSPredicate::predicateWithValue(chance(50));
        if (sort <= 2 && depth > 0 && entity->name() != text("Tag"))
            return overMany(entity, start, depth);
        return single(entity, start);
    }

    NSPredicate single(const NSEntityDescription *entity, const NSExpression &start) {
        const auto [keyPath, type] = attribute(entity, false);
        return compared(path(start, keyPath), type, NSDirectPredicateModifier, entity, start);
    }

    NSPredicate compared(const NSExpression &left, NSAttributeType type,
                         NSComparisonPredicateModifier modifier, const NSEntityDescription *entity,
                         const NSExpression &start) {
        const auto made = [&](NSPredicateOperatorType operation, const QVariant &right,
                              unsigned options = 0) {
            return NSComparisonPredicate(left, NSExpression::expressionForConstantValue(right), modifier,
                                         operation, options);
        };
        const unsigned options = chance(50) ? unsigned(below(4)) : 0;
        const bool isText = type == NSAttributeType::String;
        switch (below(isText ? 8 : hasOrder(type) ? 6 : 3)) {
        case 0:
        case 1:
            return made(chance(50) ? NSEqualToPredicateOperatorType : NSNotEqualToPredicateOperatorType,
                        constant(type, true), options);
        case 2: {
            QVariantList list;
            for (int i = below(4); i > 0; --i)
                list << constant(type, true);
            return made(NSInPredicateOperatorType, list, options);
        }
        case 3:
            return made(NSBetweenPredicateOperatorType,
                        QVariantList{constant(type, false), constant(type, false)}, options);
        case 4:
        case 5: {
            const auto operation = NSPredicateOperatorType(below(4));
            // Another attribute of the same sort, or a calculation.
            const auto [other, otherType] = attribute(entity, true);
            if (modifier == NSDirectPredicateModifier && chance(25) &&
                (otherType == type || (isNumber(type) && isNumber(otherType))))
                return NSComparisonPredicate(left, path(start, other), NSDirectPredicateModifier, operation,
                                             options);
            if (modifier == NSDirectPredicateModifier && isNumber(type) && chance(25))
                return NSComparisonPredicate(
                    NSExpression::expressionForFunction(text("add:to:"),
                                                        {left, NSExpression::expressionForConstantValue(1)}),
                    NSExpression::expressionForConstantValue(2), NSDirectPredicateModifier, operation, 0);
            return made(operation, constant(type, false), options);
        }
        case 6:
            return made(of(QList<NSPredicateOperatorType>{NSBeginsWithPredicateOperatorType,
                                                          NSEndsWithPredicateOperatorType,
                                                          NSContainsPredicateOperatorType}),
                        value(NSAttributeType::String), options);
        default:
            return made(chance(50) ? NSLikePredicateOperatorType : NSMatchesPredicateOperatorType,
                        of(QList<QString>{text("a*"), text("?"), text(".*"), text("[aä].*")}), options);
        }
    }

    NSPredicate overMany(const NSEntityDescription *entity, const NSExpression &start, int depth) {
        QList<const NSRelationshipDescription *> many;
        for (const NSPropertyDescription *property : entity->properties()) {
            const auto *relationship = dynamic_cast<const NSRelationshipDescription *>(property);
            if (relationship && relationship->isToMany())
                many << relationship;
        }
        const NSRelationshipDescription *relationship = of(many);
        const NSEntityDescription *inner = relationship->destinationEntity();
        const NSExpression collection = path(start, relationship->name());
        const auto count = [&](const NSExpression &counted) {
            return NSComparisonPredicate(
                counted, NSExpression::expressionForConstantValue(below(3)), NSDirectPredicateModifier,
                of(QList<NSPredicateOperatorType>{NSEqualToPredicateOperatorType,
                                                  NSGreaterThanPredicateOperatorType,
                                                  NSLessThanOrEqualToPredicateOperatorType}));
        };
        switch (below(3)) {
        case 0:
            return count(NSExpression::expressionForKeyPath(collection, text("@count")));
        case 1: {
            const NSExpression element = NSExpression::expressionForVariable(text("x%1").arg(depth));
            return count(NSExpression::expressionForKeyPath(
                NSExpression::expressionForSubquery(collection, text("x%1").arg(depth),
                                                    comparison(inner, element, depth - 1)),
                text("@count")));
        }
        default: {
            // Only what the elements themselves have: an owner would lead back to this very object.
            const QStringList keys = {text("uid"),
                                      inner->attribute(text("title")) ? text("title") : text("label")};
            const QString key = of(keys);
            return compared(NSExpression::expressionForKeyPath(collection, key),
                            inner->attribute(key)->attributeType(),
                            chance(70) ? NSAnyPredicateModifier : NSAllPredicateModifier, inner, {});
        }
        }
    }

    std::mt19937 m_engine;
};

class PredicateTranslatorTest : public StoreTest {
protected:
    void fill(Dice &dice) {
        model = modelOf(Shop);
        coordinator = open(model);
        ASSERT_TRUE(coordinator);
        const int persons = 25, items = 40, tags = 6;
        std::vector<ObjectChange> changes;
        for (int i = 0; i < tags; ++i)
            changes.push_back(made("Tag", i, dice));
        for (int i = 0; i < items; ++i) {
            const IDs chosen = some(changes, 0, tags, dice, 3);
            changes.push_back(made("Item", i, dice, {{text("tags"), {{}, chosen}}}));
        }
        for (int i = 0; i < persons; ++i) {
            const IDs picks = some(changes, tags, tags + items, dice, 4);
            changes.push_back(made("Person", i, dice, {{text("picks"), {{}, picks}}}));
        }
        for (int i = tags; i < tags + items; ++i) {
            if (dice.chance(70)) {
                const auto &owner = changes.at(size_t(tags + items + dice.below(persons)));
                const int index =
                    owner.id.entity() ? changes[size_t(i)].id.entity()->indexOfProperty(text("owner")) : 0;
                changes[size_t(i)].row.values.at(size_t(index)) = reference(owner.id);
            }
        }
        save(*coordinator, changes);
    }

    /// Every object as a dictionary that has what the predicates look at, in the order of the rows.
    QVariantList objects(const char *name) {
        QVariantList all;
        for (const FetchedObject &object : fetch(coordinator->source(), entity(name)).objects)
            all << dictionary(object, 2);
        return all;
    }

    const NSEntityDescription *entity(const char *name) {
        return model->entityNamed(QString::fromLatin1(name));
    }

    void compare(const NSEntityDescription *of, const QVariantList &all, const NSFetchRequest &request,
                 int &translated) {
        QVariantList expected;
        try {
            expected = sortedArrayUsingDescriptors(filteredArrayUsingPredicate(all, request.predicate()),
                                                   request.sortDescriptors());
        } catch (const NSException &) {
            return; // what has no answer in memory needs none here
        }
        SCOPED_TRACE(request.predicate().predicateFormat().toStdString());
        const Fetched fetched = fetch(coordinator->source(), of, request);
        ASSERT_FALSE(fetched.error) << fetched.error.localizedDescription().toStdString();
        QVariantList found;
        for (const FetchedObject &object : fetched.objects)
            found << dictionary(object, 2);
        const bool isWhole = fetched.remainder.predicate.isNil();
        if (!isWhole)
            found = filteredArrayUsingPredicate(found, fetched.remainder.predicate);
        if (fetched.remainder.sort)
            found = sortedArrayUsingDescriptors(found, request.sortDescriptors());
        EXPECT_EQ(uids(found), uids(expected));
        NSError error;
        const auto count = coordinator->source().count(request, of, error);
        EXPECT_FALSE(error);
        EXPECT_TRUE(isWhole || !count);
        EXPECT_EQ(count.value_or(quint64(expected.size())), quint64(expected.size()));
        translated += isWhole;
    }

    NSManagedObjectModel::Ptr model;
    std::shared_ptr<NSPersistentStoreCoordinator> coordinator;

private:
    ObjectChange made(const char *name, int uid, Dice &dice,
                      const QMap<QString, std::pair<IDs, IDs>> &toMany = {}) {
        QVariantMap values;
        for (const NSPropertyDescription *property : entity(name)->properties()) {
            const auto *attribute = dynamic_cast<const NSAttributeDescription *>(property);
            if (attribute && !attribute->isTransient())
                values.insert(attribute->name(), dice.value(attribute->attributeType()));
        }
        values.insert(text("uid"), uid);
        return insertion(entity(name), values, toMany);
    }

    static IDs some(const std::vector<ObjectChange> &changes, int begin, int end, Dice &dice, int most) {
        IDs chosen;
        for (int i = dice.below(most); i > 0; --i) {
            const NSManagedObjectID id = changes.at(size_t(begin + dice.below(end - begin))).id;
            if (!chosen.contains(id))
                chosen << id;
        }
        return chosen;
    }

    QVariantMap dictionary(const FetchedObject &object, int depth) {
        QVariantMap values;
        for (const NSPropertyDescription *property : object.id.entity()->properties()) {
            const QVariant value = valueOf(object, property->name().toLatin1().constData());
            const auto *relationship = dynamic_cast<const NSRelationshipDescription *>(property);
            if (!relationship) {
                if (value.isValid())
                    values.insert(property->name(), value);
            } else if (depth > 0 && relationship->isToMany()) {
                QVariantList others;
                IDs ids;
                EXPECT_FALSE(coordinator->source().related(object.id, relationship, ids));
                for (const NSManagedObjectID &id : std::as_const(ids))
                    others << dictionary(row(id), depth - 1);
                values.insert(property->name(),
                              relationship->isOrdered()
                                  ? QVariant(others)
                                  : QVariant::fromValue(NSSet(others.begin(), others.end())));
            } else if (depth > 0 && value.isValid()) {
                values.insert(property->name(), dictionary(row(value.value<NSManagedObjectID>()), depth - 1));
            }
        }
        return values;
    }

    FetchedObject row(const NSManagedObjectID &id) {
        FetchedObject result;
        EXPECT_FALSE(
            coordinator->source().rows({id}, [&](FetchedObject &&object) { result = std::move(object); }));
        return result;
    }

    static QList<int> uids(const QVariantList &objects) {
        QList<int> uids;
        for (const QVariant &object : objects)
            uids << object.toMap().value(text("uid")).toInt();
        return uids;
    }
};

TEST_F(PredicateTranslatorTest, SQLAnswersAsMemoryDoes) {
    bool isGiven = false;
    const int given = qEnvironmentVariableIntValue("ZR_TEST_SEED", &isGiven);
    const unsigned seed = isGiven ? unsigned(given) : 10;
    RecordProperty("seed", int(seed));
    std::cout << "seed " << seed << " (ZR_TEST_SEED)\n";
    Dice dice(seed);
    fill(dice);
    const QVariantList persons = objects("Person"), items = objects("Item");
    constexpr int Rounds = 4000;
    int translated = 0;
    for (int round = 0; round < Rounds && !HasFailure(); ++round) {
        const bool isItem = dice.chance(50);
        NSFetchRequest request;
        request.setPredicate(dice.predicate(entity(isItem ? "Item" : "Person"), 3));
        request.setSortDescriptors(dice.order(entity(isItem ? "Item" : "Person")));
        compare(entity(isItem ? "Item" : "Person"), isItem ? items : persons, request, translated);
    }
    EXPECT_GT(translated, Rounds / 2) << "too little was left to SQLite";
    std::cout << translated << " of " << Rounds << " conditions were SQLite's alone\n";
}

/// Conditions that must be SQLite's, and what they find.
class TranslatedPredicateTest : public PredicateTranslatorTest {
protected:
    void SetUp() override {
        model = modelOf(Shop);
        coordinator = open(model);
        ASSERT_TRUE(coordinator);
        ann = insertion(entity("Person"), {{text("uid"), 1}, {text("name"), text("Ann")}, {text("age"), 30}});
        bob = insertion(entity("Person"), {{text("uid"), 2}, {text("name"), text("Bob")}});
        cup = insertion(entity("Item"),
                        {{text("uid"), 1}, {text("title"), text("cup")}, {text("owner"), reference(ann.id)}});
        hat = insertion(entity("Item"),
                        {{text("uid"), 2}, {text("title"), text("hat")}, {text("owner"), reference(bob.id)}});
        pen = insertion(entity("Item"), {{text("uid"), 3}, {text("title"), text("pen")}});
        bob = change(ObjectChange::Insert, bob.id, {}, {{text("uid"), 2}, {text("name"), text("Bob")}},
                     {{text("picks"), {{}, {pen.id, cup.id}}}});
        save(*coordinator, {ann, bob, cup, hat, pen});
    }

    QList<int> found(const char *of, const NSFetchRequest &request) {
        const Fetched fetched = fetch(coordinator->source(), entity(of), request);
        EXPECT_FALSE(fetched.error) << fetched.error.localizedDescription().toStdString();
        EXPECT_TRUE(fetched.remainder.predicate.isNil())
            << request.predicate().predicateFormat().toStdString();
        EXPECT_FALSE(fetched.remainder.sort || fetched.remainder.window);
        QList<int> uids;
        for (const FetchedObject &object : fetched.objects)
            uids << valueOf(object, "uid").toInt();
        return uids;
    }
    template <typename... Arguments>
    QList<int> found(const char *of, const char *format, const Arguments &...arguments) {
        NSFetchRequest request;
        request.setPredicate(NSPredicate::predicateWithFormat(text(format), arguments...));
        return found(of, request);
    }

    ObjectChange ann, bob, cup, hat, pen;
};

using Uids = QList<int>;

TEST_F(TranslatedPredicateTest, ObjectsAreComparedByTheirIdentifiers) {
    EXPECT_EQ(found("Item", "owner == %@", reference(ann.id)), Uids{1});
    EXPECT_EQ(found("Item", "owner != %@", reference(ann.id)), (Uids{2, 3}));
    EXPECT_EQ(found("Item", "%@ == owner", reference(ann.id)), Uids{1});
    EXPECT_EQ(found("Item", "owner == nil"), Uids{3});
    EXPECT_EQ(found("Item", "owner != nil"), (Uids{1, 2}));
    EXPECT_EQ(found("Item", "NOT owner == nil"), (Uids{1, 2}));
    EXPECT_EQ(found("Item", "owner IN %@", QVariantList{reference(ann.id), reference(bob.id)}), (Uids{1, 2}));
    EXPECT_EQ(found("Item", "owner IN %@", QVariantList{reference(ann.id), QVariant()}), (Uids{1, 3}));
    EXPECT_EQ(found("Item", "owner IN %@", QVariantList()), Uids{});
    EXPECT_EQ(found("Item", "SELF == %@", reference(hat.id)), Uids{2});
    EXPECT_EQ(found("Item", "SELF IN %@", QVariantList{reference(hat.id), reference(pen.id)}), (Uids{2, 3}));
    // Of another entity, in no store, and of another store: none of them is any row.
    EXPECT_EQ(found("Item", "owner == %@", reference(cup.id)), Uids{});
    EXPECT_EQ(found("Item", "owner == %@", reference(ObjectIdentity::temporary(entity("Person")))), Uids{});
    EXPECT_EQ(found("Item", "owner == %@", text("Ann")), Uids{});
    EXPECT_EQ(found("Item", "owner != %@", 7), (Uids{1, 2, 3}));
}

TEST_F(TranslatedPredicateTest, KeyPathsGoAlongRelationships) {
    EXPECT_EQ(found("Item", "owner.name == 'Ann'"), Uids{1});
    EXPECT_EQ(found("Item", "owner.name != 'Ann'"), (Uids{2, 3}));
    EXPECT_EQ(found("Item", "owner.age == nil"), (Uids{2, 3}));
    EXPECT_EQ(found("Item", "owner.name BEGINSWITH[c] 'a'"), Uids{1});
    EXPECT_EQ(found("Person", "ANY items.title == 'cup'"), Uids{1});
    EXPECT_EQ(found("Person", "ANY items == %@", reference(hat.id)), Uids{2});
    EXPECT_EQ(found("Person", "items CONTAINS %@", reference(hat.id)), Uids{2});
    EXPECT_EQ(found("Person", "%@ IN picks", reference(pen.id)), Uids{2});
    EXPECT_EQ(found("Person", "NONE picks == %@", reference(pen.id)), Uids{1});
    EXPECT_EQ(found("Person", "ALL items.title == 'cup'"), Uids{1});
    EXPECT_EQ(found("Item", "ANY owner.items.title == 'hat'"), Uids{2});
    EXPECT_EQ(found("Person", "ANY items.owner.name == 'Bob'"), Uids{2});
    EXPECT_EQ(found("Person", "items.@count == 1"), (Uids{1, 2}));
    EXPECT_EQ(found("Person", "count(picks) > 1"), Uids{2});
    EXPECT_EQ(found("Person", "SUBQUERY(items, $i, $i.title == 'hat' AND $i.owner == SELF).@count == 1"),
              Uids{2});
    EXPECT_EQ(found("Person", "SUBQUERY(picks, $p, $p.owner.name == 'Ann' AND name == 'Bob').@count > 0"),
              Uids{2});
    EXPECT_EQ(found("Person", "SUBQUERY(items, $i, SUBQUERY($i.owner.picks, $p, $p.title == $i.title).@count "
                              "== 0).@count == 1"),
              (Uids{1, 2}));
}

TEST_F(TranslatedPredicateTest, OrdersAndWindowsAreSQLites) {
    NSFetchRequest request;
    request.setSortDescriptors(
        {NSSortDescriptor(text("owner.name"), false), NSSortDescriptor(text("title"), true)});
    EXPECT_EQ(found("Item", request), (Uids{2, 1, 3}));
    request.setFetchLimit(1);
    EXPECT_EQ(found("Item", request), Uids{2});
    request.setFetchOffset(1);
    EXPECT_EQ(found("Item", request), Uids{1});
    request.setFetchLimit(0);
    EXPECT_EQ(found("Item", request), (Uids{1, 3}));
    request.setFetchOffset(5);
    EXPECT_EQ(found("Item", request), Uids{});
    for (const char *selector : {"caseInsensitiveCompare:", "localizedCompare:",
                                 "localizedCaseInsensitiveCompare:", "localizedStandardCompare:"}) {
        NSFetchRequest named;
        named.setSortDescriptors({NSSortDescriptor(text("title"), false, text(selector))});
        EXPECT_EQ(found("Item", named), (Uids{3, 2, 1})) << selector;
    }
}

TEST_F(TranslatedPredicateTest, LongListsOfValuesAndObjectsWork) {
    QVariantList numbers, objects;
    for (int i = 0; i < 100'000; ++i) {
        numbers << i + 2;
        objects << reference(cup.id);
    }
    EXPECT_EQ(found("Item", "uid IN %@", numbers), (Uids{2, 3}));
    EXPECT_EQ(found("Item", "SELF IN %@", objects), Uids{1});
}

TEST_F(TranslatedPredicateTest, LongChainsAreNotTooDeep) {
    QList<NSPredicate> parts;
    for (int i = 0; i < 5000; ++i)
        parts << NSPredicate::predicateWithFormat(text("uid == %@"), i + 2);
    NSFetchRequest request;
    request.setPredicate(NSCompoundPredicate::orPredicateWithSubpredicates(parts));
    EXPECT_EQ(found("Item", request), (Uids{2, 3}));
}

TEST_F(TranslatedPredicateTest, AListOfMoreValuesThanAStatementTakesWorksToo) {
    NSFetchRequest request;
    QVariantList numbers;
    for (int i = 0; i < 300'000; ++i)
        numbers << i + 2;
    request.setPredicate(NSPredicate::predicateWithFormat(text("uid IN %@"), numbers));
    request.setFetchLimit(1);
    EXPECT_EQ(found("Item", request), Uids{2});
}

TEST_F(TranslatedPredicateTest, OnlyWhatMemoryAloneCanTellIsLeftToIt) {
    const auto remainder = [&](const char *of, const char *format) {
        return fetch(coordinator->source(), entity(of), format)
            .remainder.predicate.predicateFormat()
            .toStdString();
    };
    EXPECT_EQ(remainder("Person", "cached == 'x'"),
              NSPredicate::predicateWithFormat(text("cached == 'x'")).predicateFormat().toStdString());
    EXPECT_EQ(remainder("Person", "age > 3 AND cached == 'x' AND name != nil"),
              NSPredicate::predicateWithFormat(text("cached == 'x'")).predicateFormat().toStdString());
    EXPECT_NE(remainder("Person", "age > 3 OR cached == 'x'"), "");
    EXPECT_NE(remainder("Person", "items.@sum.amount > 1"), "");
    EXPECT_NE(remainder("Person", "unknown == 1"), "");
    EXPECT_NE(remainder("Item", "owner.items.@count == 0"), "");
    NSFetchRequest request;
    request.setPredicate(
        NSPredicate::predicateWithBlock([](const QVariant &, const QVariantMap &) { return true; }));
    request.setSortDescriptors({NSSortDescriptor(text("cached"), true)});
    const Fetched fetched = fetch(coordinator->source(), entity("Person"), request);
    EXPECT_EQ(fetched.remainder.predicate.predicateKind(), NSBlockPredicateKind);
    EXPECT_TRUE(fetched.remainder.sort);
    EXPECT_FALSE(fetched.remainder.window);
}

TEST_F(TranslatedPredicateTest, WhetherAConditionRaisesOnlyMemoryTells) {
    const Fetched fetched = fetch(coordinator->source(), entity("Person"), "name MATCHES '('");
    EXPECT_FALSE(fetched.error);
    EXPECT_FALSE(fetched.remainder.predicate.isNil());
    EXPECT_EQ(fetched.objects.size(), 2u);
    NSFetchRequest request;
    request.setPredicate(NSPredicate::predicateWithFormat(text("name MATCHES '('")));
    NSError error;
    EXPECT_FALSE(coordinator->source().count(request, entity("Person"), error));
    EXPECT_FALSE(error);
}

TEST_F(TranslatedPredicateTest, ATextIsNeverPartOfAStatement) {
    for (const char *hostile : {"'", "\"", "'; DROP TABLE e_Item; --", "%", "_", "?1", "\\"}) {
        EXPECT_EQ(found("Item", "title == %@ OR title LIKE %@ OR title IN %@", text(hostile), text(hostile),
                        QVariantList{text(hostile)}),
                  Uids{})
            << hostile;
    }
    EXPECT_EQ(found("Item", "TRUEPREDICATE").size(), 3);
}

} // namespace
