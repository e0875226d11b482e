// SPDX-License-Identifier: MIT
#include "platform/predicates/NSPredicate.h"

#include "platform/predicates/NSComparisonPredicate.h"
#include "platform/predicates/NSCompoundPredicate.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNull.h"
#include "tests/platform/values/RuntimeObjects.h"
#include "tests/support/Expect.h"

#include <QDateTime>
#include <QUrl>
#include <QUuid>
#include <gtest/gtest.h>
#include <limits>
#include <ostream>

namespace {

QString text(const char *utf8) {
    return QString::fromUtf8(utf8);
}

NSPredicate parsed(const char *format) {
    return NSPredicate::predicateWithFormat(text(format));
}

QVariantMap line(const char *name, int amount) {
    return {{text("name"), text(name)}, {text("amount"), amount}};
}

/// The object that most cases are about.
QVariantMap record() {
    return {
        {text("name"), text("Zoë Müller")},
        {text("age"), 30},
        {text("price"), 2.5},
        {text("active"), true},
        {text("empty"), text("")},
        {text("marker"), NSNull()},
        {text("size"), 7},
        {text("first name"), text("Zoë")},
        {text("total"), QVariant::fromValue(NSDecimalNumber(text("12.50")))},
        {text("born"), QDateTime(QDate(2001, 1, 2), QTime(0, 0), Qt::UTC)},
        {text("tags"), QStringList{text("red"), text("Blue")}},
        {text("set"), QVariant::fromValue(NSSet{1, text("two")})},
        {text("map"), QVariantMap{{text("key"), text("value")}}},
        {text("address"), QVariantMap{{text("city"), text("Bern")}}},
        {text("nothing"), QVariantList()},
        {text("lines"), QVariantList{line("pen", 3), line("ink", 5), line("pad", 3)}},
    };
}

struct Case {
    const char *format;
    bool holds;
    friend void PrintTo(const Case &c, std::ostream *stream) { *stream << c.format; }
};

class Predicates : public testing::TestWithParam<Case> {};

TEST_P(Predicates, Hold) {
    const NSPredicate predicate = parsed(GetParam().format);
    EXPECT_EQ(predicate.evaluateWithObject(record()), GetParam().holds);
    // What is written is read as the same, and then holds as much.
    const QString format = predicate.predicateFormat();
    const NSPredicate again = NSPredicate::predicateWithFormat(format);
    EXPECT_EQ(again.predicateFormat(), format);
    EXPECT_EQ(again.evaluateWithObject(record()), GetParam().holds) << format.toStdString();
}

const Case comparisons[] = {
    {"age = 30", true},
    {"age == 30", true},
    {"age==31", false},
    {"age != 30", false},
    {"age <> 31", true},
    {"age < 31", true},
    {"age < 30", false},
    {"age <= 30", true},
    {"age =< 29", false},
    {"age > 29", true},
    {"age >= 30", true},
    {"age => 31", false},
    {"30 == age", true},
    {"age == 30.0", true},
    {"active == TRUE", true},
    {"active == yes", true},
    {"active == 1", true},
    {"active == no", false},
    {"active == FALSE", false},
    {"name == 'Zo\xc3\xab M\xc3\xbcller'", true},
    {"name == \"other\"", false},
    {"name != 'other'", true},
    {"name < 'a'", true},
    {"name == age", false},
    {"age == '30'", false},
    {"born < CAST(86400.5, 'NSDate')", true},
    {"born == CAST(86400, 'NSDate')", true},
    {"total == 12.5", true},
    {"total > 12", true},
    {"age BETWEEN {18, 65}", true},
    {"age BETWEEN {30, 30}", true},
    {"age BETWEEN {31, 65}", false},
    {"age between { 18 , 29 }", false},
    {"name BETWEEN {'A', 'a'}", true},
    {"price BETWEEN {nil, 5}", false},
};
INSTANTIATE_TEST_SUITE_P(Comparisons, Predicates, testing::ValuesIn(comparisons));

const Case absences[] = {
    {"missing == nil", true},
    {"missing == NULL", true},
    {"missing == null", true},
    {"missing != Nil", false},
    {"age == nil", false},
    {"age != nil", true},
    {"nil == nil", true},
    {"empty == nil", false},
    {"marker == nil", false},
    {"marker != nil", true},
    {"marker == CAST(nil, 'NSNull')", true},
    {"missing == CAST(nil, 'NSNull')", false},
    {"missing < 5", false},
    {"missing >= 5", false},
    {"missing <= nil", false},
    {"marker > 5", false},
    {"missing CONTAINS 'a'", false},
    {"missing BEGINSWITH 'a'", false},
    {"name ENDSWITH missing", false},
    {"marker LIKE '*'", false},
    {"name MATCHES marker", false},
    {"age IN missing", false},
    {"missing IN {1, nil}", true},
    {"missing IN {1, 2}", false},
    {"missing BETWEEN {1, 2}", false},
    {"address.missing.further == nil", true},
};
INSTANTIATE_TEST_SUITE_P(Absences, Predicates, testing::ValuesIn(absences));

const Case texts[] = {
    {"name BEGINSWITH 'Zo'", true},
    {"name BEGINSWITH 'zo'", false},
    {"name BEGINSWITH[c] 'ZO'", true},
    {"name beginswith[cd] 'zoe m'", true},
    {"name BEGINSWITH[d] 'Zoe M'", true},
    {"name BEGINSWITH[d] 'zoe'", false},
    {"name ENDSWITH 'ller'", true},
    {"name ENDSWITH[c] 'LLER'", true},
    {"name ENDSWITH 'x'", false},
    {"name CONTAINS 'M\xc3\xbc'", true},
    {"name CONTAINS 'mu'", false},
    {"name CONTAINS[cd] 'E MU'", true},
    {"name CONTAINS ''", false},
    {"name BEGINSWITH ''", false},
    {"name ENDSWITH ''", false},
    {"'M\xc3\xbc' IN name", true},
    {"'mu' IN[cd] name", true},
    {"name LIKE 'Zo*'", true},
    {"name LIKE 'Zo?'", false},
    {"name LIKE 'Zo? M?ller'", true},
    {"name LIKE '*l*r'", true},
    {"name LIKE 'zo*'", false},
    {"name LIKE[cd] 'ZOE MU*'", true},
    {"name LIKE '*'", true},
    {"empty LIKE ''", true},
    {"empty LIKE '*'", true},
    {"empty LIKE '?'", false},
    {"'a*b' LIKE 'a\\\\*b'", true},
    {"'axb' LIKE 'a\\\\*b'", false},
    {"'a?b' LIKE 'a\\\\?b'", true},
    {"'a\\\\' LIKE 'a\\\\'", true},
    {"name MATCHES 'Zo. M.ller'", true},
    {"name MATCHES 'Zo'", false},
    {"name MATCHES '.*'", true},
    {"name MATCHES[c] 'zo. m.LLER'", true},
    {"name MATCHES[cd] 'zoe muller'", true},
    {"'ab' MATCHES 'a|ab'", true},
    {"'2024' MATCHES '\\\\d{4}'", true},
    {"empty MATCHES ''", true},
    {"name ==[cd] 'ZOE MULLER'", true},
    {"name ==[c] 'ZOE MULLER'", false},
    {"name !=[cd] 'zoe muller'", false},
    {"name <[c] 'zz'", true},
    {"'STRASSE' ==[c] 'stra\xc3\x9f"
     "e'",
     true},
    {"'A' ==[n] 'a'", false},
};
INSTANTIATE_TEST_SUITE_P(Texts, Predicates, testing::ValuesIn(texts));

const Case collections[] = {
    {"age IN {10, 20, 30}", true},
    {"age IN {10, 20}", false},
    {"age IN {}", false},
    {"'red' IN tags", true},
    {"'blue' IN tags", false},
    {"'blue' IN[c] tags", true},
    {"tags CONTAINS 'red'", true},
    {"tags CONTAINS[c] 'BLUE'", true},
    {"tags CONTAINS 'green'", false},
    {"set CONTAINS 1", true},
    {"set CONTAINS 1.0", true},
    {"set CONTAINS 'two'", true},
    {"set CONTAINS 2", false},
    {"map CONTAINS 'value'", true},
    {"'key' IN map", false},
    {"name IN {'a', 'Zo\xc3\xab M\xc3\xbcller'}", true},
    {"tags == {'red', 'Blue'}", true},
    {"tags == {'Blue', 'red'}", false},
    {"ANY tags == 'red'", true},
    {"ANY tags = 'green'", false},
    {"SOME tags ==[c] 'blue'", true},
    {"ALL tags BEGINSWITH 'r'", false},
    {"ALL tags MATCHES '[a-zA-Z]+'", true},
    {"NONE tags == 'green'", true},
    {"NONE tags == 'red'", false},
    {"ANY nothing == 1", false},
    {"ALL nothing == 1", true},
    {"NONE nothing == 1", true},
    {"ANY missing == 1", false},
    {"ALL missing == 1", true},
    {"ANY lines.amount > 4", true},
    {"ALL lines.amount > 4", false},
    {"ALL lines.amount >= 3", true},
    {"any lines.name IN {'ink'}", true},
    {"ANY set == 'two'", true},
    {"lines.@count == 3", true},
    {"lines.@sum.amount == 11", true},
    {"lines.@avg.amount BETWEEN {3.6, 3.7}", true},
    {"lines.@min.amount == 3", true},
    {"lines.@max.amount == 5", true},
    {"lines.@distinctUnionOfObjects.amount == {3, 5}", true},
    {"ANY lines.@unionOfObjects.name == 'pad'", true},
    {"lines[0].name == 'pen'", true},
    {"lines[FIRST].name == 'pen'", true},
    {"lines[last].amount == 3", true},
    {"lines[-2].name == 'ink'", true},
    {"lines[SIZE] == 3", true},
    {"lines[9] == nil", true},
    {"lines[1 + 1].name == 'pad'", true},
    {"map['key'] == 'value'", true},
    {"map['other'] == nil", true},
    {"SUBQUERY(lines, $l, $l.amount == 3).@count == 2", true},
    {"SUBQUERY(lines, $l, $l.amount == 3 AND $l.name == 'pad')[0].name == 'pad'", true},
    {"ANY SUBQUERY(lines, $l, SUBQUERY(lines, $m, $m.amount > $l.amount).@count == 2).name == 'pen'", false},
    {"SUBQUERY(lines, $l, SUBQUERY(lines, $m, $m.amount > $l.amount).@count == 1).@count == 2", true},
    {"SUBQUERY(missing, $l, TRUEPREDICATE).@count == 0", true},
};
INSTANTIATE_TEST_SUITE_P(Collections, Predicates, testing::ValuesIn(collections));

const Case keyPaths[] = {
    {"address.city == 'Bern'", true},
    {"SELF.address.city == 'Bern'", true},
    {"self.age == 30", true},
    {"SELF['age'] == 30", true},
    {"(address).city == 'Bern'", true},
    {"(lines.@unionOfObjects.name).length == {3, 3, 3}", true},
    {"#size == 7", true},
    {"size == 7", true},
    {"#\"first name\" == 'Zo\xc3\xab'", true},
    {"#'first name' BEGINSWITH 'Z'", true},
    {"address.#city == 'Bern'", true},
    {"address.in == nil", true},
    {"'abc'.length == 3", true},
    {"name.length == 10", true},
};
INSTANTIATE_TEST_SUITE_P(KeyPaths, Predicates, testing::ValuesIn(keyPaths));

const Case logic[] = {
    {"TRUEPREDICATE", true},
    {"falsepredicate", false},
    {"age == 30 AND price == 2.5", true},
    {"age == 30 && price == 3", false},
    {"age == 31 OR price == 2.5", true},
    {"age == 31 || price == 3", false},
    {"NOT age == 31", true},
    {"!age == 30", false},
    {"! (age == 30)", false},
    {"NOT NOT age == 30", true},
    // NOT binds closest, then AND, then OR.
    {"age == 30 OR age == 31 AND age == 32", true},
    {"(age == 30 OR age == 31) AND age == 32", false},
    {"NOT age == 31 AND age == 32", false},
    {"NOT (age == 31 AND age == 32)", true},
    {"NOT age == 30 OR TRUEPREDICATE", true},
    {"((((age)) == ((30))))", true},
    {"(age == 30) AND ((price == 2.5) AND (active == TRUE))", true},
    {"NOT (age + 1) == 30", true},
    {"TRUEPREDICATE and not FALSEPREDICATE", true},
};
INSTANTIATE_TEST_SUITE_P(Logic, Predicates, testing::ValuesIn(logic));

const Case numbers[] = {
    {"1 + 2 * 3 == 7", true},
    {"(1 + 2) * 3 == 9", true},
    {"10 - 3 - 2 == 5", true},
    {"10 - (3 - 2) == 9", true},
    {"2 ** 3 ** 2 == 512", true},
    {"(2 ** 3) ** 2 == 64", true},
    {"-2 ** 2 == 4", true},
    {"-(2 ** 2) == -4", true},
    {"2 * 3 ** 2 == 18", true},
    {"12 / 2 / 3 == 2", true},
    {"7 / 2 == 3", true},
    {"-7 / 2 == -3", true},
    {"7.0 / 2 == 3.5", true},
    {"1 / 0 == nil", true},
    {"1.0 / 0 == CAST('inf', 'NSNumber')", true},
    {"modulus(7, 3) == 1", true},
    {"modulus(7.5, 2) == 1.5", true},
    {"modulus(7, 0) == nil", true},
    {"age + 1 == 31", true},
    {"-age == -30", true},
    {"- age < - 29", true},
    {"--age == 30", true},
    {"age - -1 == 31", true},
    {"age -1 == 29", true},
    {"-9223372036854775808 / -1 == 9223372036854775808", true},
    {"-9223372036854775808 < -9223372036854775807", true},
    {"modulus(-9223372036854775808, -1) == 0", true},
    {"9223372036854775807 + 1 == 9223372036854775808", true},
    {"9223372036854775807 * 2 > 9223372036854775807", true},
    {"18446744073709551615 > 9223372036854775807", true},
    {"2 ** 62 == 4611686018427387904", true},
    {"2 ** 64 == 18446744073709551616", true},
    {"2 ** -1 == 0.5", true},
    {"0 ** 0 == 1", true},
    {"total + 0.25 == 12.75", true},
    {"total * 2 == 25", true},
    {"total - 12 == CAST('0.5', 'NSDecimalNumber')", true},
    {"total / 5 == 2.5", true},
    {"total / 0 == nil", true},
    {"total ** 2 == 156.25", true},
    {"total ** 10 == CAST('93132257461.5478515625', 'NSDecimalNumber')", true},
    {"missing + 1 == nil", true},
    {"0x1F == 31", true},
    {"0o17 == 15", true},
    {"0b101 == 5", true},
    {".5 == 0.5", true},
    {"1e3 == 1000", true},
    {"1.5E-1 == 0.15", true},
    {"abs(-3) == 3", true},
    {"abs(-2.5) == 2.5", true},
    {"ceiling(2.1) == 3", true},
    {"floor(-2.1) == -3", true},
    {"trunc(-2.9) == -2", true},
    {"floor(9007199254740993) == 9007199254740993", true},
    {"sqrt(16) == 4", true},
    {"ln(1) == 0", true},
    {"log(1000) == 3", true},
    {"exp(0) == 1", true},
    {"sqrt(missing) == nil", true},
    {"sum({1, 2, 3}) == 6", true},
    {"sum(1, 2) == 3", true},
    {"sum({}) == 0", true},
    {"sum({1, nil, 2.5}) == 3.5", true},
    {"sum(lines.amount) == 11", true},
    {"average({1, 2}) == 1.5", true},
    {"average({}) == nil", true},
    {"min({3, 1, 2}) == 1", true},
    {"max(3, 1, 2) == 3", true},
    {"max({}) == nil", true},
    {"count(tags) == 2", true},
    {"count(map) == 1", true},
    {"uppercase('a\xc3\xa4') == 'A\xc3\x84'", true},
    {"lowercase(name) BEGINSWITH 'zo'", true},
    {"length(name) == 10", true},
    {"now() > born", true},
    {"CAST('12', 'NSNumber') == 12", true},
    {"CAST(age, 'NSString') == '30'", true},
    {"CAST(born, 'NSNumber') == 86400", true},
    {"CAST(CAST(age, 'NSString'), 'NSDecimalNumber') == 30", true},
    {"CAST({'a', 1}, 'NSDictionary') == CAST({'a', 1.0}, 'NSDictionary')", true},
    {"CAST({1, 2, 1}, 'NSSet') == CAST({2, 1}, 'NSSet')", true},
};
INSTANTIATE_TEST_SUITE_P(Numbers, Predicates, testing::ValuesIn(numbers));

const Case literals[] = {
    {"'it\\'s' == \"it's\"", true},
    {"\"say \\\"hi\\\"\" == 'say \"hi\"'", true},
    {"'a\\nb\\tc\\rd' != 'anbtcrd'", true},
    {"'\\u0041\\\\' == 'A\\\\'", true},
    {"'\\b\\f' == '\\u0008\\u000c'", true},
    {"'%@ %K $x #y' == \"%@ %K $x #y\"", true},
    {"'' == empty", true},
    {"{1, {2, 'x'}, nil} == {1.0, {2, 'x'}, nil}", true},
    {"{} == nothing", true},
    {"\t age\n==\r 30 ", true},
};
INSTANTIATE_TEST_SUITE_P(Literals, Predicates, testing::ValuesIn(literals));

TEST(NSPredicate, TakesArguments) {
    const auto holds = [](const char *format, const auto &...arguments) {
        const NSPredicate predicate = NSPredicate::predicateWithFormat(text(format), arguments...);
        EXPECT_EQ(NSPredicate::predicateWithFormat(predicate.predicateFormat()).predicateFormat(),
                  predicate.predicateFormat());
        return predicate.evaluateWithObject(record());
    };
    EXPECT_TRUE(holds("%K == %@", text("age"), 30));
    EXPECT_TRUE(holds("%K == %@", text("address.city"), text("Bern")));
    EXPECT_TRUE(holds("address.%K == %@", text("city"), text("Bern")));
    EXPECT_TRUE(holds("ANY %K.%K == %@", text("lines"), text("name"), text("pen")));
    EXPECT_TRUE(holds("%K == %@", text("first name"), text("Zoë")));
    EXPECT_TRUE(holds("%K == %@", text("size"), 7));
    EXPECT_TRUE(holds("%K == 11", text("lines.@sum.amount")));
    EXPECT_TRUE(holds("age == %d AND age == %i AND age == %u AND age == %ld AND age == %llu AND age == %x",
                      30, 30, 30u, 30L, 30ULL, 30));
    EXPECT_TRUE(holds("price == %f AND price == %g AND price == %lf", 2.5, 2.5f, 2.5));
    EXPECT_TRUE(holds("age == %d", 30.9)) << "an integer conversion takes the integer part";
    EXPECT_TRUE(holds("name == %s", text("Zoë Müller")));
    EXPECT_TRUE(holds("age IN %@", QVariantList{1, 30}));
    EXPECT_TRUE(holds("name IN %@", QStringList{text("Zoë Müller")}));
    EXPECT_TRUE(holds("age IN %@", NSSet{1, 30}));
    EXPECT_TRUE(holds("age BETWEEN %@", QVariantList{1, 30}));
    EXPECT_TRUE(holds("born == %@", QDateTime(QDate(2001, 1, 2), QTime(0, 0), Qt::UTC)));
    EXPECT_TRUE(holds("total == %@", NSDecimalNumber(text("12.5"))));
    EXPECT_TRUE(holds("missing == %@", QVariant()));
    EXPECT_TRUE(holds("missing == %@", QString())) << "a null string is nil";
    EXPECT_TRUE(holds("marker == %@", NSNull()));
    EXPECT_FALSE(holds("missing == %@", NSNull()));
    EXPECT_TRUE(holds("%@ == age", NSExpression::expressionForConstantValue(30)));
    EXPECT_TRUE(holds("name != %@", text("\" OR TRUEPREDICATE"))) << "an argument is never read";
    EXPECT_TRUE(NSPredicate::predicateWithFormatArgumentArray(text("%K == %@"), {text("age"), 30})
                    .evaluateWithObject(record()));
}

TEST(NSPredicate, EqualConstantsAreReadBackWhateverTheyAre) {
    for (const QVariant &value :
         {QVariant(),
          NSNull(),
          QVariant(true),
          QVariant(-5),
          QVariant(Q_UINT64_C(18446744073709551615)),
          QVariant(std::numeric_limits<qint64>::min()),
          QVariant(0.1),
          QVariant(1e300),
          QVariant(-0.0),
          QVariant(5e-324),
          QVariant(1700000000.0),
          QVariant(0.1f),
          QVariant(std::numeric_limits<double>::infinity()),
          QVariant(-std::numeric_limits<double>::infinity()),
          QVariant(std::numeric_limits<double>::quiet_NaN()),
          QVariant(text("")),
          QVariant(text("a\"b'c\\d\ne\tf\r\x01 \xf0\x9f\x98\x80")),
          QVariant(QByteArray("")),
          QVariant(QByteArray("\0\xff", 2)),
          QVariant(QDateTime(QDate(1969, 12, 31), QTime(23, 59, 59, 999), Qt::UTC)),
          QVariant(QUrl(text("https://host.test/a%20b?c=%C3%A9#d"))),
          QVariant(QUuid::createUuid()),
          QVariant::fromValue(NSDecimalNumber(text("-0.00000000000000000000000000000000000001"))),
          QVariant::fromValue(NSDecimalNumber::notANumber()),
          QVariant::fromValue(NSSet{1, text("a"), QVariantList{2}}),
          QVariant(QVariantMap{{text("a\"b"), QVariantList{1, NSNull()}}, {text(""), QVariantMap()}}),
          QVariant(QVariantList{1, QVariantList{text("x"), QVariant()}})}) {
        const NSPredicate predicate = NSPredicate::predicateWithFormat(text("SELF == %@"), value);
        const QString format = predicate.predicateFormat();
        const NSPredicate again = NSPredicate::predicateWithFormat(format);
        EXPECT_EQ(again.predicateFormat(), format);
        EXPECT_TRUE(predicate.evaluateWithObject(value)) << format.toStdString();
        EXPECT_TRUE(again.evaluateWithObject(value)) << format.toStdString();
        EXPECT_FALSE(again.evaluateWithObject(QVariant(text("another")))) << format.toStdString();
    }
}

TEST(NSPredicate, WritesWhatItReads) {
    for (const char *format : {
             "age == 30",
             "name BEGINSWITH[cd] \"zo\"",
             "a == 1 AND (b == 2 OR NOT c == 3)",
             "NOT (a == 1 AND b == 2)",
             "ANY lines.amount > 4",
             "ALL tags MATCHES \"\\\\d+\"",
             "x IN {1, 2.5, \"three\", TRUE, nil}",
             "a - (b - c) == -d ** 2 / (e + 1)",
             "-(-a) != --5",
             "SUBQUERY(lines, $x, $x.amount > 4 OR $x.name == \"a\").@count > 0",
             "lines[-1].#\"full name\" == $limit",
             "#in.b == #\"a b.c\"",
             "CAST(born, \"NSNumber\") < sum(a, b) * modulus(7, 2)",
             "SELF BETWEEN {1, 2}",
             "TRUEPREDICATE OR FALSEPREDICATE",
             "day == CAST(86400.25, \"NSDate\")",
         }) {
        const QString written = parsed(format).predicateFormat();
        EXPECT_EQ(NSPredicate::predicateWithFormat(written), parsed(format)) << format;
        EXPECT_EQ(NSPredicate::predicateWithFormat(written).predicateFormat(), written) << format;
    }
    EXPECT_EQ(parsed("name beginsWith[dc] 'x' && ! a<>1||b=<2").predicateFormat(),
              text("(name BEGINSWITH[cd] \"x\" AND NOT a != 1) OR b <= 2"));
    EXPECT_EQ(parsed("none x = yes").predicateFormat(), text("NOT ANY x == TRUE"));
    EXPECT_EQ(parsed("((a)+(b))*2 > (c)").predicateFormat(), text("(a + b) * 2 > c"));
    EXPECT_TRUE(NSPredicate().predicateFormat().isNull());
}

struct Fault {
    const char *format;
    int position;
    friend void PrintTo(const Fault &f, std::ostream *stream) { *stream << f.format; }
};

class PredicateFaults : public testing::TestWithParam<Fault> {};

TEST_P(PredicateFaults, RaiseWithThePosition) {
    const QString format = text(GetParam().format);
    try {
        NSPredicate::predicateWithFormat(format);
        FAIL() << "nothing was raised";
    } catch (const NSException &exception) {
        EXPECT_EQ(exception.name(), NSInvalidArgumentException);
        EXPECT_EQ(exception.userInfo().value(NSPredicatePositionKey).toInt(), GetParam().position)
            << exception.what();
        EXPECT_TRUE(exception.reason().contains(QStringLiteral("at position %1: ").arg(GetParam().position)))
            << exception.what();
        EXPECT_TRUE(exception.reason().contains(format));
    }
}

const Fault faults[] = {
    {"", 0},
    {"   ", 3},
    {"age", 3},
    {"age ==", 6},
    {"== 30", 0},
    {"age == 30 AND", 13},
    {"age == 30 price == 2", 10},
    {"age == 30)", 9},
    {"(age == 30", 10},
    {"age === 30", 6},
    {"age == 'open", 7},
    {"age == \"open\\", 12},
    {"name == '\\u12'", 9},
    {"age == 12abc", 7},
    {"age == 0xZZ", 7},
    {"age == 99x", 7},
    {"age IN {1, 2", 12},
    {"age IN {1 2}", 10},
    {"age IN {,}", 8},
    {"name LIKE[x] 'a'", 10},
    {"name LIKE[c 'a'", 12},
    {"name LIKE[] 'a'", 10},
    {"age == %", 7},
    {"age == %y", 7},
    {"age == %l@", 7},
    {"age == %@", 7},
    {"%K == 1", 0},
    {"age == $", 7},
    {"age == #", 7},
    {"age == and", 7},
    {"in == 1", 0},
    {"age & 1", 4},
    {"age == unknown(1)", 7},
    {"age == sqrt()", 7},
    {"age == sqrt(1, 2)", 7},
    {"age == a.", 9},
    {"age == a.1", 8},
    {"age == a[", 9},
    {"age == a[1", 10},
    {"NOT", 3},
    {"NOT 5", 5},
    {"ANY", 3},
    {"ANY tags", 8},
    {"ANY (a == 1) == 2", 4},
    {"(a == 1) == 2", 9},
    {"1 + (a == 1) == 2", 4},
    {"a == (b == c)", 5},
    {"SUBQUERY(a, x, TRUEPREDICATE) == 1", 12},
    {"SUBQUERY(a, $x, x) == 1", 17},
    {"a == CAST('x', 'NSDate')", 5},
    {"a == CAST(1e300, 'NSDate')", 5},
    {"a == CAST({1, 2}, 'NSDictionary')", 5},
    {"a == CAST('x', 'Unknown')", 5},
    {"\xe2\x82\xac == 1", 0},
};
INSTANTIATE_TEST_SUITE_P(Formats, PredicateFaults, testing::ValuesIn(faults));

TEST(NSPredicate, ArgumentsThatDontFitRaise) {
    const auto position = [](const char *format, const QVariantList &arguments) {
        try {
            NSPredicate::predicateWithFormatArgumentArray(text(format), arguments);
        } catch (const NSException &exception) {
            EXPECT_EQ(exception.name(), NSInvalidArgumentException);
            return exception.userInfo().value(NSPredicatePositionKey, -1).toInt();
        }
        return -2;
    };
    EXPECT_EQ(position("a == 1", {1}), 6) << "more than are asked for";
    EXPECT_EQ(position("%K == %@", {text("a")}), 6);
    EXPECT_EQ(position("%K == 1", {5}), 0);
    EXPECT_EQ(position("%K == 1", {text("")}), 0);
    EXPECT_EQ(position("a.%K == 1", {QVariant()}), 2);
    EXPECT_EQ(position("a == %d", {text("5")}), 5);
    EXPECT_EQ(position("a == %d", {1e30}), 5);
    EXPECT_EQ(position("a == %f", {QVariant()}), 5);
    EXPECT_EQ(position("a == %s", {5}), 5);
}

TEST(NSPredicate, WhatCantBeComparedRaises) {
    for (const char *format :
         {"age < 'a'", "name > 5", "age BEGINSWITH 'a'", "name LIKE 5", "age CONTAINS 1", "3 IN age",
          "3 IN name", "age BETWEEN 5", "age BETWEEN {1, 2, 3}", "ANY age == 1", "name + 1 == 2",
          "sqrt(name) == 2", "length(age) == 1", "age[0] == 1", "lines['a'] == 1", "$x == 1",
          "name MATCHES '('", "name MATCHES 'a)(b'", "CAST(name, 'NSDate') == 1"}) {
        const NSPredicate predicate = parsed(format);
        EXPECT_FALSE(
            expectException(NSInvalidArgumentException, [&] { predicate.evaluateWithObject(record()); })
                .isEmpty())
            << format;
    }
    expectException(NSUndefinedKeyException, [] { parsed("unknown == 1").evaluateWithObject(5); });
}

TEST(NSPredicate, DepthIsBounded) {
    const auto repeated = [](const char *piece, int times) { return text(piece).repeated(times); };
    const auto read = [](const QString &format) { return NSPredicate::predicateWithFormat(format); };
    EXPECT_TRUE(read(repeated("(", 100) + text("a == 1") + repeated(")", 100))
                    .evaluateWithObject(QVariantMap{{text("a"), 1}}));
    EXPECT_TRUE(read(repeated("NOT ", 100) + text("TRUEPREDICATE")).evaluateWithObject(0));
    for (const QString &format :
         {repeated("(", 100000) + text("a == 1"), repeated("NOT ", 100000) + text("a == 1"),
          repeated("-", 100000) + text("a == 1"), text("a == ") + repeated("{", 100000),
          repeated("a[", 100000), text("1 == ") + repeated("2 ** ", 100000) + text("2"),
          text("1 == 1") + repeated(" + 1", 100000), text("1 == a") + repeated("[0]", 100000),
          repeated("sum(", 100000), repeated("NOT ", 200) + text("TRUEPREDICATE"),
          repeated("SUBQUERY(a, $x, ", 100000)}) {
        try {
            read(format);
            ADD_FAILURE() << format.left(20).toStdString();
        } catch (const NSException &exception) {
            EXPECT_EQ(exception.name(), NSInvalidArgumentException);
            EXPECT_TRUE(exception.userInfo().contains(NSPredicatePositionKey)) << exception.what();
        }
    }
    // Many at one level are no depth.
    EXPECT_TRUE(read(text("a == 1") + repeated(" AND a == 1", 10000))
                    .evaluateWithObject(QVariantMap{{text("a"), 1}}));
    QVariant deep = 1;
    for (int i = 0; i < 1000; ++i)
        deep = QVariantList{deep};
    expectException(NSInvalidArgumentException,
                    [&] { NSPredicate::predicateWithFormat(text("a == %@"), deep); });
}

TEST(NSPredicate, TheDeepestTreesAreWrittenAndReadBack) {
    NSPredicate predicate = parsed("a == 1");
    while (predicate.depth() < NSPredicate::MaximumDepth) {
        predicate = predicate.depth() % 2
                        ? NSPredicate(NSCompoundPredicate::andPredicateWithSubpredicates(
                              {predicate, parsed("b == 2")}))
                        : NSPredicate(NSCompoundPredicate::notPredicateWithSubpredicate(predicate));
    }
    EXPECT_EQ(NSPredicate::predicateWithFormat(predicate.predicateFormat()), predicate);
    expectException(NSInvalidArgumentException,
                    [&] { NSCompoundPredicate::notPredicateWithSubpredicate(predicate); });
    NSExpression expression = NSExpression::expressionForConstantValue(5);
    while (expression.depth() < NSExpression::MaximumDepth - 1)
        expression = NSExpression::expressionForFunction(text("negate:"), {expression});
    const NSComparisonPredicate comparison(expression, expression, NSDirectPredicateModifier,
                                           NSEqualToPredicateOperatorType);
    EXPECT_EQ(NSPredicate::predicateWithFormat(comparison.predicateFormat()), comparison);
    QVariant sets = 1;
    for (int i = 0; i < NSPredicate::MaximumDepth - 3; ++i)
        sets = QVariant::fromValue(NSSet{sets});
    const NSPredicate deepSet = NSPredicate::predicateWithFormat(text("a == %@"), sets);
    EXPECT_EQ(NSPredicate::predicateWithFormat(deepSet.predicateFormat()), deepSet);
}

TEST(NSPredicate, AreTreesToLookInto) {
    const NSPredicate predicate =
        parsed("ANY lines.amount >=[c] 5 + $x AND NOT SELF IN {1, 'a'} AND TRUEPREDICATE");
    const auto compound = NSCompoundPredicate::from(predicate);
    ASSERT_TRUE(compound);
    EXPECT_EQ(compound->compoundPredicateType(), NSAndPredicateType);
    ASSERT_EQ(compound->subpredicates().size(), 3);
    const auto any = NSComparisonPredicate::from(compound->subpredicates().at(0));
    ASSERT_TRUE(any);
    EXPECT_EQ(any->comparisonPredicateModifier(), NSAnyPredicateModifier);
    EXPECT_EQ(any->predicateOperatorType(), NSGreaterThanOrEqualToPredicateOperatorType);
    EXPECT_EQ(any->options(), NSCaseInsensitivePredicateOption);
    EXPECT_EQ(any->leftExpression().expressionType(), NSKeyPathExpressionType);
    EXPECT_EQ(any->leftExpression().keyPath(), text("lines.amount"));
    EXPECT_TRUE(any->leftExpression().operand().isNil());
    const NSExpression sum = any->rightExpression();
    EXPECT_EQ(sum.expressionType(), NSFunctionExpressionType);
    EXPECT_EQ(sum.function(), text("add:to:"));
    ASSERT_EQ(sum.arguments().size(), 2);
    EXPECT_EQ(sum.arguments().at(0).constantValue(), QVariant(5));
    EXPECT_EQ(sum.arguments().at(1).expressionType(), NSVariableExpressionType);
    EXPECT_EQ(sum.arguments().at(1).variable(), text("x"));
    const auto negation = NSCompoundPredicate::from(compound->subpredicates().at(1));
    ASSERT_TRUE(negation);
    EXPECT_EQ(negation->compoundPredicateType(), NSNotPredicateType);
    const auto in = NSComparisonPredicate::from(negation->subpredicates().at(0));
    ASSERT_TRUE(in);
    EXPECT_EQ(in->leftExpression().expressionType(), NSEvaluatedObjectExpressionType);
    EXPECT_EQ(in->rightExpression().expressionType(), NSAggregateExpressionType);
    EXPECT_EQ(in->rightExpression().elements().at(1).constantValue(), QVariant(text("a")));
    EXPECT_EQ(compound->subpredicates().at(2).predicateKind(), NSValuePredicateKind);
    EXPECT_TRUE(compound->subpredicates().at(2).value());
    EXPECT_FALSE(NSComparisonPredicate::from(predicate));
    EXPECT_FALSE(NSCompoundPredicate::from(compound->subpredicates().at(0)));
    const auto subquery = NSComparisonPredicate::from(parsed("SUBQUERY(a, $x, $x == 1).@count == 0"));
    const NSExpression counted = subquery->leftExpression();
    EXPECT_EQ(counted.keyPath(), text("@count"));
    EXPECT_EQ(counted.operand().expressionType(), NSSubqueryExpressionType);
    EXPECT_EQ(counted.operand().variable(), text("x"));
    EXPECT_EQ(counted.operand().collection().keyPath(), text("a"));
    EXPECT_EQ(counted.operand().predicate(), parsed("$x == 1"));
}

TEST(NSPredicate, AreMadeByHand) {
    const NSExpression age = NSExpression::expressionForKeyPath(text("age"));
    const NSComparisonPredicate adult(age, NSExpression::expressionForConstantValue(18),
                                      NSDirectPredicateModifier, NSGreaterThanOrEqualToPredicateOperatorType);
    EXPECT_TRUE(adult.evaluateWithObject(record()));
    EXPECT_EQ(adult, parsed("age >= 18"));
    EXPECT_FALSE(adult == parsed("age >= 19"));
    EXPECT_FALSE(adult == parsed("ALL age >= 18"));
    const auto all = NSCompoundPredicate::andPredicateWithSubpredicates({});
    const auto some = NSCompoundPredicate::orPredicateWithSubpredicates({});
    EXPECT_TRUE(all.evaluateWithObject(0));
    EXPECT_FALSE(some.evaluateWithObject(0));
    EXPECT_EQ(all.predicateFormat(), text("TRUEPREDICATE"));
    EXPECT_EQ(some.predicateFormat(), text("FALSEPREDICATE"));
    const auto single = NSCompoundPredicate::orPredicateWithSubpredicates({parsed("a == 1 AND b == 2")});
    EXPECT_EQ(
        NSCompoundPredicate::andPredicateWithSubpredicates({single, parsed("c == 3")}).predicateFormat(),
        text("(a == 1 AND b == 2) AND c == 3"));
    EXPECT_TRUE(NSPredicate::predicateWithValue(true).evaluateWithObject(0));
    EXPECT_FALSE(NSPredicate::predicateWithValue(false).evaluateWithObject(0));
    const NSPredicate block =
        NSPredicate::predicateWithBlock([](const QVariant &object, const QVariantMap &bindings) {
            return object == bindings.value(QStringLiteral("x"));
        });
    EXPECT_TRUE(block.evaluateWithObject(5, {{text("x"), 5}}));
    EXPECT_FALSE(block.evaluateWithObject(5));
    EXPECT_EQ(block.predicateKind(), NSBlockPredicateKind);
    EXPECT_TRUE(block == NSPredicate(block));
    expectException(NSInvalidArgumentException,
                    [&] { NSPredicate::predicateWithFormat(block.predicateFormat()); });
    expectException(NSInvalidArgumentException, [&] {
        NSComparisonPredicate(age, NSExpression(), NSDirectPredicateModifier, NSEqualToPredicateOperatorType);
    });
    expectException(NSInvalidArgumentException,
                    [] { NSCompoundPredicate::notPredicateWithSubpredicate({}); });
    expectException(NSInvalidArgumentException, [] { NSExpression::expressionForKeyPath(QString()); });
    expectException(NSInvalidArgumentException, [] { NSExpression::expressionForFunction(text("no:"), {}); });
    expectException(NSInvalidArgumentException,
                    [] { NSExpression::expressionForFunction(text("sqrt:"), {}); });
}

TEST(NSPredicate, NilHoldsForNothing) {
    EXPECT_TRUE(NSPredicate().isNil());
    EXPECT_FALSE(NSPredicate().evaluateWithObject(record()));
    EXPECT_EQ(NSPredicate().depth(), 0);
    EXPECT_FALSE(NSExpression().expressionValueWithObject(5).isValid());
    EXPECT_EQ(NSPredicate(), NSPredicate());
    EXPECT_FALSE(NSPredicate() == NSPredicate::predicateWithValue(false));
}

TEST(NSPredicate, VariablesGetTheirValues) {
    const NSPredicate predicate = parsed("age > $low AND age < $high");
    EXPECT_TRUE(predicate.evaluateWithObject(record(), {{text("low"), 20}, {text("high"), 40}}));
    const NSPredicate half = predicate.predicateWithSubstitutionVariables({{text("low"), 20}});
    EXPECT_EQ(half, parsed("age > 20 AND age < $high"));
    EXPECT_TRUE(half.evaluateWithObject(record(), {{text("high"), 40}}));
    EXPECT_EQ(parsed("NOT a == $x OR b == {$x, -$x}")
                  .predicateWithSubstitutionVariables(
                      {{text("x"), QVariant::fromValue(NSExpression::expressionForKeyPath(text("c")))}}),
              parsed("NOT a == c OR b == {c, -c}"));
    EXPECT_EQ(parsed("SUBQUERY(a, $x, $x == $y).@count == $x")
                  .predicateWithSubstitutionVariables({{text("x"), 1}, {text("y"), 2}}),
              parsed("SUBQUERY(a, $x, $x == 2).@count == 1"))
        << "a subquery's own variable stays";
}

TEST(NSPredicate, FiltersCollections) {
    const QVariantList array{1, 2, 3, 4};
    EXPECT_EQ(filteredArrayUsingPredicate(array, parsed("SELF > 2")), (QVariantList{3, 4}));
    EXPECT_EQ(filteredSetUsingPredicate(NSSet{1, 2, 3}, parsed("modulus(SELF, 2) == 1")), (NSSet{1, 3}));
    EXPECT_TRUE(filteredArrayUsingPredicate(array, NSPredicate()).isEmpty());
}

} // namespace
