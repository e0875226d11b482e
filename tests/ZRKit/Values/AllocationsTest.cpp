// SPDX-License-Identifier: MIT
// Reading a value takes no memory where what is read needs none.
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "ZRKit/Values/ZRCollection.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "tests/support/AllocationCount.h"

#include <QDateTime>
#include <QStringList>
#include <QUrl>
#include <QVariantHash>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

QString S(const char *text) {
    return QString::fromUtf8(text);
}

class Counted : public QObject {
    Q_OBJECT
    Q_PROPERTY(int count MEMBER count)
public:
    int count = 2;
};

class Measured : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE int length() const { return 2; }
};

std::vector<std::pair<const char *, QVariant>> values() {
    static Counted counted;
    static Measured measured;
    static QObject plain;
    return {
        {"nil", QVariant()},
        {"nil string", QString()},
        {"null marker", NSNull()},
        {"true", true},
        {"int", 42},
        {"unsigned long long", Q_UINT64_C(18446744073709551615)},
        {"double", -1.5},
        {"float", 0.1f},
        {"decimal", QVariant::fromValue(NSDecimalNumber(S("123.99")))},
        {"long decimal", QVariant::fromValue(NSDecimalNumber(S("12345678901234567890.123456789012345678")))},
        {"empty string", S("")},
        {"integer text", S(" -12345678901234567890x")},
        {"real text", S("  3.14159265358979323846e-5 and more")},
        {"long text", S("no number ").repeated(1000)},
        {"date", QDateTime(QDate(2020, 1, 2), QTime(3, 4), Qt::UTC)},
        {"data", QByteArray("data")},
        {"URL", QUrl(S("http://host/path?query"))},
        {"array", QVariantList{1, 2}},
        {"array of strings", QStringList{S("a")}},
        {"dictionary", QVariantMap{{S("a"), 1}}},
        {"hash", QVariantHash{{S("a"), 1}}},
        {"ordered dictionary", QVariant::fromValue(ZRCollection{{S("a"), 1}})},
        {"set", QVariant::fromValue(NSSet{1})},
        {"plain object", QVariant::fromValue(&plain)},
        {"object with a count", QVariant::fromValue(&counted)},
        {"object with a length", QVariant::fromValue(&measured)},
    };
}

template <typename Work>
quint64 allocations(Work work) {
    work(); // what is made once, such as the registration of types
    const AllocationCount count;
    work();
    return count.count();
}

TEST(Allocations, AreCounted) {
    const auto take = [] { EXPECT_FALSE(QByteArray(1000, 'x').isEmpty()); };
    EXPECT_GE(allocations(take), 1u) << "what Qt's containers take";
    std::unique_ptr<QObject> object;
    EXPECT_GE(allocations([&] { object = std::make_unique<QObject>(); }), 2u) << "what new takes";
    EXPECT_EQ(allocations([] {}), 0u);
}

TEST(Allocations, NumbersAndTruthTakeNone) {
    for (const auto &[name, value] : values()) {
        const QVariant &v = value;
        EXPECT_EQ(allocations([&] { ZRKit::toInt(v); }), 0u) << "toInt of " << name;
        EXPECT_EQ(allocations([&] { ZRKit::toLong(v); }), 0u) << "toLong of " << name;
        EXPECT_EQ(allocations([&] { ZRKit::toLongLong(v); }), 0u) << "toLongLong of " << name;
        EXPECT_EQ(allocations([&] { ZRKit::toUnsignedLongLong(v); }), 0u) << "toUnsignedLongLong of " << name;
        EXPECT_EQ(allocations([&] { ZRKit::toDouble(v); }), 0u) << "toDouble of " << name;
        EXPECT_EQ(allocations([&] { ZRKit::toFloat(v); }), 0u) << "toFloat of " << name;
        EXPECT_EQ(allocations([&] { ZRKit::toBool(v); }), 0u) << "toBool of " << name;
        EXPECT_EQ(allocations([&] { ZRKit::isTrue(v); }), 0u) << "isTrue of " << name;
        EXPECT_EQ(allocations([&] { ZRKit::isNotNull(v); }), 0u) << "isNotNull of " << name;
        EXPECT_EQ(allocations([&] { ZRKit::nilOrObject(v); }), 0u) << "nilOrObject of " << name;
        EXPECT_EQ(allocations([&] { ZRKit::zrHas(v, QStringLiteral("a")); }), 0u) << "zrHas of " << name;
    }
}

TEST(Allocations, TextsThatAreThereTakeNone) {
    for (const QVariant &value : {QVariant(), QVariant(QString()), NSNull(), QVariant(S("")),
                                  QVariant(S("a text that is there already"))}) {
        EXPECT_EQ(allocations([&] { ZRKit::toString(value); }), 0u) << value.typeName();
        EXPECT_EQ(allocations([&] { ZRKit::toStringNotEmpty(value); }), 0u) << value.typeName();
    }
    const QVariant data = QByteArray("data");
    EXPECT_EQ(allocations([&] { ZRKit::toData(data); }), 0u);
    EXPECT_EQ(allocations([] { ZRKit::toString(42); }), 1u) << "one for the digits";
}

TEST(Allocations, APathTakesNone) {
    const QVariant tree = QVariantMap{
        {S("a"),
         QVariantList{0, QVariantHash{{S("b"), QVariant::fromValue(ZRCollection{
                                                   {S("c"), QVariantList{S("found"), NSNull()}}})}}}}};
    const QString path = S("a/1/b/c/0"), wildcard = S("a/*/b/c/?"), nowhere = S("a/1/x/c/0");
    EXPECT_EQ(ZRKit::path(tree, path), QVariant(S("found")));
    EXPECT_EQ(ZRKit::path(tree, wildcard), QVariant(S("found")));
    EXPECT_FALSE(ZRKit::path(tree, nowhere).isValid());
    EXPECT_EQ(allocations([&] { ZRKit::path(tree, path); }), 0u);
    EXPECT_EQ(allocations([&] { ZRKit::path(tree, wildcard); }), 0u);
    EXPECT_EQ(allocations([&] { ZRKit::path(tree, nowhere); }), 0u);
}

} // namespace

#include "AllocationsTest.moc"
