// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSObject+ZRKit.h"

#include "ZRKit/Values/ZRCollection.h"
#include "platform/base/NSError.h"
#include "platform/base/NSException.h"
#include "platform/text/NSAttributedString.h"
#include "platform/values/NSCountedSet.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"
#include "platform/values/ValueKind.h"

#include <QHash>
#include <QPointF>
#include <QSharedPointer>
#include <QUrl>
#include <QUuid>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace zr;

namespace {

QString S(const char *text) {
    return QString::fromUtf8(text);
}

QVariant decimal(const char *text) {
    return QVariant::fromValue(NSDecimalNumber(S(text)));
}

QDateTime seconds(double count) {
    return QDateTime::fromMSecsSinceEpoch(qint64(count * 1000), Qt::UTC);
}

template <typename T>
constexpr T Max = std::numeric_limits<T>::max();
template <typename T>
constexpr T Min = std::numeric_limits<T>::min();

} // namespace

class Plain : public QObject {
    Q_OBJECT
};

class StringValued : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString description READ description)
public:
    QString description() const { return S("not asked"); }
    Q_INVOKABLE QString stringValue() const { return S("12 apples"); }
};

class Described : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE QString description() const { return S("described"); }
};

class Counted : public QObject {
    Q_OBJECT
    Q_PROPERTY(int count MEMBER count)
public:
    explicit Counted(int n) : count(n) {}
    Q_INVOKABLE int length() const { return 7; }
    int count;
};

class Lengthy : public QObject {
    Q_OBJECT
    Q_PROPERTY(int length MEMBER length)
    Q_PROPERTY(int len MEMBER length)
public:
    explicit Lengthy(int n) : length(n) {}
    int length;
};

class Keyed : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE QVariant objectForKey(const QString &key) const {
        return key == S("null") ? NSNull() : key == S("nil") ? QVariant() : QVariant(S("for ") + key);
    }
};

namespace {

enum class Len { No, Yes, Raises };

/// A receiver and what each coercion makes of it. What isn't said is the neutral value.
struct Row {
    const char *name;
    QVariant value;
    bool toBool = false;
    qint64 toInt = 0;
    quint64 toUnsigned = 0;
    double toDouble = 0;
    QString toString = {};
    QDateTime toDate = {};
    bool isTrue = true;
    Len isNotEmpty = Len::Raises;
    const char *className = nullptr;
    /// Where they aren't what the text gives.
    std::optional<QString> stringDefault = std::nullopt;
    std::optional<QByteArray> toData = std::nullopt;
    std::optional<float> toFloat = std::nullopt;
};

struct Objects {
    Plain plain;
    StringValued stringValued;
    Described described;
    Counted none{0}, some{3};
    Lengthy empty{0}, longer{4};
    Keyed keyed;
};

QVariant ref(QObject *object) {
    return QVariant::fromValue(object);
}

Row number(const char *name, const QVariant &value, qint64 whole, const char *type) {
    Row row{.name = name, .value = value};
    row.toBool = row.isTrue = whole != 0;
    row.toInt = whole;
    row.toUnsigned = quint64(whole);
    row.toDouble = double(whole);
    row.toString = QString::number(whole);
    row.toDate = seconds(double(whole));
    row.className = type;
    return row;
}

Row text(const char *name, const char *string) {
    Row row{.name = name, .value = S(string)};
    row.toString = S(string);
    row.toDate = seconds(0);
    row.isNotEmpty = *string ? Len::Yes : Len::No;
    row.isTrue = *string;
    row.className = "QString";
    if (!*string)
        row.stringDefault = S("default");
    return row;
}

std::vector<Row> rows() {
    static Objects objects;
    std::vector<Row> all;
    const auto add = [&](Row row, const std::function<void(Row &)> &adjust = nullptr) {
        if (adjust)
            adjust(row);
        all.push_back(std::move(row));
    };

    for (const QVariant &nil :
         {QVariant(), QVariant(QString()), QVariant(QByteArray()), QVariant(QDateTime()), QVariant(QUrl()),
          QVariant::fromValue(NSError()), ref(nullptr)})
        add({.name = "nil",
             .value = nil,
             .isTrue = false,
             .isNotEmpty = Len::No,
             .stringDefault = QString()});

    add(text("empty string", ""));
    add(text("word", "abc"));
    add(text("yes", "YES"), [](Row &row) { row.toBool = true; });
    add(text("true", "true"), [](Row &row) { row.toBool = true; });
    add(text("no", "no"));
    add(text("false", "false"));
    add(text("zero", "0"));
    add(text("half", "0.5"), [](Row &row) {
        row.toDouble = 0.5;
        row.toDate = seconds(0.5);
    });
    add(text("minus zero", "-0"), [](Row &row) { row.toDate = {}; });
    add(text("one", "1"), [](Row &row) {
        row.toBool = true;
        row.toInt = 1;
        row.toUnsigned = 1;
        row.toDouble = 1;
        row.toDate = seconds(1);
    });
    add(text("space and 12", " 12"), [](Row &row) {
        row.toBool = true;
        row.toInt = 12;
        row.toUnsigned = 12;
        row.toDouble = 12;
        row.toDate = seconds(12);
    });
    add(text("12abc", "12abc"), [](Row &row) {
        row.toBool = true;
        row.toInt = 12;
        row.toUnsigned = 12;
        row.toDouble = 12;
        row.toDate = seconds(12);
    });
    add(text("timestamp", "1388658030"), [](Row &row) {
        row.toBool = true;
        row.toInt = 1388658030;
        row.toUnsigned = 1388658030;
        row.toDouble = 1388658030;
        row.toDate = seconds(1388658030);
    });
    add(text("exponent", "+1.5e2x"), [](Row &row) {
        row.toBool = true;
        row.toInt = 1;
        row.toUnsigned = 1;
        row.toDouble = 150;
        row.toDate = seconds(150);
    });
    add(text("too large", "99999999999999999999"), [](Row &row) {
        row.toBool = true;
        row.toInt = Max<qint64>;
        row.toUnsigned = Max<quint64>;
        row.toDouble = 1e20;
        row.toDate = {};
    });
    add(text("too small", "-99999999999999999999"), [](Row &row) {
        row.toBool = true;
        row.toInt = Min<qint64>;
        row.toUnsigned = Max<quint64>;
        row.toDouble = -1e20;
        row.toDate = {};
    });
    add(text("negative", "-5"), [](Row &row) {
        row.toBool = true;
        row.toInt = -5;
        row.toUnsigned = quint64(-5);
        row.toDouble = -5;
        row.toDate = {};
    });
    add(text("non-ASCII", "\xc3\xa4\xf0\x9f\x98\x80"));

    add(number("true", true, 1, "bool"));
    add(number("false", false, 0, "bool"));
    add(number("char", QVariant::fromValue(char(65)), 65, "char"));
    add(number("signed char", QVariant::fromValue<signed char>(-1), -1, "signed char"));
    add(number("unsigned char", QVariant::fromValue(uchar(255)), 255, "uchar"));
    add(number("short", QVariant::fromValue(short(-300)), -300, "short"));
    add(number("unsigned short", QVariant::fromValue(ushort(60000)), 60000, "ushort"));
    add(number("int", -42, -42, "int"));
    add(number("unsigned int", 4000000000u, 4000000000, "uint"));
    add(number("long", QVariant::fromValue(-7L), -7, "long"));
    add(number("unsigned long", QVariant::fromValue(7UL), 7, "ulong"));
    add(number("enumeration", QVariant::fromValue(Qt::AlignRight), 2, "AlignmentFlag"));
    add(number("long long", Min<qint64>, Min<qint64>, "qlonglong"), [](Row &row) { row.toDate = {}; });
    add(number("largest long long", Max<qint64>, Max<qint64>, "qlonglong"),
        [](Row &row) { row.toDate = {}; });
    add(number("unsigned long long", Max<quint64>, -1, "qulonglong"), [](Row &row) {
        row.toDouble = 0x1p64;
        row.toString = S("18446744073709551615");
        row.toDate = {};
    });
    add(number("whole double", 1700000000.0, 1700000000, "double"));
    add(number("double", -1.5, -1, "double"), [](Row &row) {
        row.toDouble = -1.5;
        row.toString = S("-1.5");
        row.toDate = seconds(-1.5);
    });
    add(number("small double", 0.1, 0, "double"), [](Row &row) {
        row.toBool = row.isTrue = true;
        row.toDouble = 0.1;
        row.toString = S("0.1");
        row.toDate = seconds(0.1);
    });
    add(number("huge double", 1e300, Max<qint64>, "double"), [](Row &row) {
        row.toUnsigned = Max<quint64>;
        row.toDouble = 1e300;
        row.toString = S("1e+300");
        row.toFloat = std::numeric_limits<float>::infinity();
        row.toDate = {};
    });
    add(number("huge negative double", -1e300, Min<qint64>, "double"), [](Row &row) {
        row.toDouble = -1e300;
        row.toString = S("-1e+300");
        row.toFloat = -std::numeric_limits<float>::infinity();
        row.toDate = {};
    });
    add(number("double between the integers' ends", 0x1p63, Max<qint64>, "double"), [](Row &row) {
        row.toUnsigned = quint64(1) << 63;
        row.toDouble = 0x1p63;
        row.toString = S("9223372036854775808");
        row.toDate = {};
    });
    add(number("not a number", std::nan(""), 0, "double"), [](Row &row) {
        row.toBool = row.isTrue = true;
        row.toDouble = std::nan("");
        row.toString = S("nan");
        row.toDate = {};
    });
    add(number("float", 0.1f, 0, "float"), [](Row &row) {
        row.toBool = row.isTrue = true;
        row.toDouble = double(0.1f);
        row.toString = S("0.1");
        row.toDate = seconds(0.1);
    });

    add(number("decimal", decimal("123.99"), 123, "NSDecimalNumber"), [](Row &row) {
        row.toDouble = 123.99;
        row.toString = S("123.99");
        row.toDate = seconds(123.99);
    });
    add(number("negative decimal", decimal("-1.5"), -1, "NSDecimalNumber"), [](Row &row) {
        row.toDouble = -1.5;
        row.toString = S("-1.5");
        row.toDate = seconds(-1.5);
    });
    add(number("decimal zero", decimal("0.00"), 0, "NSDecimalNumber"));
    add(number("small decimal", decimal("0.01"), 0, "NSDecimalNumber"), [](Row &row) {
        row.toBool = row.isTrue = true;
        row.toDouble = 0.01;
        row.toString = S("0.01");
        row.toDate = seconds(0.01);
    });
    add(number("large decimal", decimal("18446744073709551615"), Max<qint64>, "NSDecimalNumber"),
        [](Row &row) {
            row.toUnsigned = Max<quint64>;
            row.toDouble = 0x1p64;
            row.toString = S("18446744073709551615");
            row.toDate = {};
        });
    add(number("decimal not-a-number", decimal("x"), 0, "NSDecimalNumber"), [](Row &row) {
        row.toBool = true;
        row.toDouble = std::nan("");
        row.toString = S("NaN");
        row.toDate = {};
    });

    add({.name = "date",
         .value = seconds(-1.25),
         .toDouble = -1.25,
         .toString = S("-2"),
         .toDate = seconds(-1.25),
         .className = "QDateTime",
         .stringDefault = S("1969-12-31 23:59:58 +0000")});
    add({.name = "date of another zone",
         .value = seconds(1388658030).toOffsetFromUtc(3600),
         .toDouble = 1388658030,
         .toString = S("1388658030"),
         .toDate = seconds(1388658030),
         .className = "QDateTime",
         .stringDefault = S("2014-01-02 10:20:30 +0000")});

    add({.name = "data",
         .value = QByteArray("a\xc3\xa4"),
         .toString = S("a\xc3\xa4"),
         .className = "QByteArray",
         .stringDefault = S("<61c3a4>")});
    add({.name = "data with a byte order mark and NUL",
         .value = QByteArray("\xef\xbb\xbf\0a", 5),
         .toString = QStringLiteral(u"\ufeff\0a"),
         .className = "QByteArray",
         .stringDefault = S("<efbbbf00 61>")});
    for (const QByteArray &invalid :
         {QByteArray("a\xff"), QByteArray("\xc3"), QByteArray("\xed\xa0\x80"), QByteArray("\xc0\xaf")})
        add({.name = "data that isn't UTF-8",
             .value = invalid,
             .toString = QString(),
             .className = "QByteArray",
             .stringDefault = QLatin1Char('<') + QString::fromLatin1(invalid.toHex()) + QLatin1Char('>'),
             .toData = invalid});
    add({.name = "empty data",
         .value = QByteArray(""),
         .toString = S(""),
         .isTrue = false,
         .className = "QByteArray",
         .stringDefault = S("<>")});

    add({.name = "URL",
         .value = QUrl(S("http://host/a b")),
         .toString = S("http://host/a%20b"),
         .className = "QUrl"});
    add({.name = "null marker",
         .value = NSNull(),
         .toString = S(""),
         .isTrue = false,
         .isNotEmpty = Len::No,
         .className = "NSNull",
         .stringDefault = S("<null>")});

    add({.name = "array",
         .value = QVariantList{1, S("x")},
         .toString = S("(\n    1,\n    \"x\"\n)"),
         .isNotEmpty = Len::Yes,
         .className = "QVariantList"});
    add({.name = "empty array",
         .value = QVariantList(),
         .toString = S("()"),
         .isTrue = false,
         .isNotEmpty = Len::No,
         .className = "QVariantList"});
    add({.name = "array of strings",
         .value = QStringList{S("x")},
         .toString = S("(\n    \"x\"\n)"),
         .isNotEmpty = Len::Yes,
         .className = "QStringList"});
    add({.name = "empty array of strings",
         .value = QStringList(),
         .toString = S("()"),
         .isTrue = false,
         .isNotEmpty = Len::No,
         .className = "QStringList"});
    add({.name = "dictionary",
         .value = QVariantMap{{S("k"), 1}},
         .toString = S("{\n    k = 1;\n}"),
         .isNotEmpty = Len::Yes,
         .className = "QVariantMap"});
    add({.name = "empty dictionary",
         .value = QVariantMap(),
         .toString = S("{}"),
         .isTrue = false,
         .isNotEmpty = Len::No,
         .className = "QVariantMap"});
    add({.name = "hash",
         .value = QVariantHash{{S("k"), 1}},
         .toString = S("{\n    k = 1;\n}"),
         .isNotEmpty = Len::Yes,
         .className = "QVariantHash"});
    add({.name = "set",
         .value = QVariant::fromValue(NSSet{1}),
         .toString = S("{(\n    1\n)}"),
         .className = "QSet<QVariant>"});
    add({.name = "empty set",
         .value = QVariant::fromValue(NSSet()),
         .toString = S("{()}"),
         .isTrue = false,
         .className = "QSet<QVariant>"});

    add({.name = "ordered dictionary",
         .value = QVariant::fromValue(ZRCollection{{S("k"), 1}}),
         .toString = S("{\n    k = 1;\n}\n"),
         .isNotEmpty = Len::Yes,
         .className = "ZRCollection"});
    add({.name = "empty ordered dictionary",
         .value = QVariant::fromValue(ZRCollection()),
         .toString = S("{\n}\n"),
         .isTrue = false,
         .isNotEmpty = Len::No,
         .className = "ZRCollection"});
    add({.name = "counted set",
         .value = QVariant::fromValue(NSCountedSet(QVariantList{S("x"), S("x")})),
         .toString = S("{(\n    \"x\" [2]\n)}"),
         .className = "NSCountedSet"});
    add({.name = "empty counted set",
         .value = QVariant::fromValue(NSCountedSet()),
         .toString = S("{()}"),
         .isTrue = false,
         .className = "NSCountedSet"});
    add({.name = "attributed string",
         .value = QVariant::fromValue(NSAttributedString(S("0"))),
         .toString = S("0{}"),
         .className = "NSAttributedString"});
    add({.name = "empty attributed string",
         .value = QVariant::fromValue(NSMutableAttributedString()),
         .toString = S(""),
         .isTrue = false,
         .className = "NSMutableAttributedString",
         .stringDefault = S("default")});
    add({.name = "shared object",
         .value = QVariant::fromValue(QSharedPointer<QObject>(new Counted(3))),
         .toString = S(""),
         .className = "Counted",
         .stringDefault = S("default")});

    add({.name = "object without anything",
         .value = ref(&objects.plain),
         .toString = S(""),
         .className = "Plain",
         .stringDefault = S("default")});
    add({.name = "object with stringValue",
         .value = ref(&objects.stringValued),
         .toString = S("12 apples"),
         .className = "StringValued"});
    add({.name = "object with description",
         .value = ref(&objects.described),
         .toString = S("described"),
         .className = "Described"});
    add({.name = "object with count 0",
         .value = ref(&objects.none),
         .toString = S(""),
         .isTrue = false,
         .className = "Counted",
         .stringDefault = S("default")});
    add({.name = "object with count 3",
         .value = ref(&objects.some),
         .toString = S(""),
         .className = "Counted",
         .stringDefault = S("default")});
    add({.name = "object with length and len 0",
         .value = ref(&objects.empty),
         .toString = S(""),
         .isTrue = false,
         .isNotEmpty = Len::No,
         .className = "Lengthy",
         .stringDefault = S("default")});
    add({.name = "object with length and len 4",
         .value = ref(&objects.longer),
         .toString = S(""),
         .isNotEmpty = Len::Yes,
         .className = "Lengthy",
         .stringDefault = S("default")});
    add({.name = "object with objectForKey",
         .value = ref(&objects.keyed),
         .toString = S(""),
         .className = "Keyed",
         .stringDefault = S("default")});

    add({.name = "error",
         .value = QVariant::fromValue(NSError(S("d"), 1, {{NSLocalizedDescriptionKey, S("m")}})),
         .toString = S("Error Domain=d Code=1 \"m\""),
         .className = "NSError"});
    add({.name = "point", .value = QPointF(1, 2.5), .toString = S("{1, 2.5}"), .className = "QPointF"});
    add({.name = "UUID",
         .value = QUuid(S("{12345678-9abc-def0-1234-56789abcdef0}")),
         .toString = S("12345678-9ABC-DEF0-1234-56789ABCDEF0"),
         .className = "QUuid"});
    return all;
}

void expectSame(double actual, double expected, const Row &row) {
    if (std::isnan(expected))
        EXPECT_TRUE(std::isnan(actual)) << row.name;
    else
        EXPECT_EQ(actual, expected) << row.name;
}

void expectSame(const QString &actual, const QString &expected, const Row &row) {
    EXPECT_EQ(actual, expected) << row.name << ": " << actual.toStdString();
    EXPECT_EQ(actual.isNull(), expected.isNull()) << row.name;
}

bool isNilRow(const Row &row) {
    return row.className == nullptr;
}

bool isNullRow(const Row &row) {
    return NSIsNull(row.value);
}

} // namespace

TEST(NSObjectCoercion, ToBool) {
    for (const Row &row : rows())
        EXPECT_EQ(ZRKit::toBool(row.value), row.toBool) << row.name;
}

TEST(NSObjectCoercion, ToIntToLongAndToLongLong) {
    for (const Row &row : rows()) {
        EXPECT_EQ(ZRKit::toInt(row.value), row.toInt) << row.name;
        EXPECT_EQ(ZRKit::toLong(row.value), row.toInt) << row.name;
        EXPECT_EQ(ZRKit::toLongLong(row.value), row.toInt) << row.name;
    }
}

TEST(NSObjectCoercion, ToUnsignedLongLong) {
    for (const Row &row : rows())
        EXPECT_EQ(ZRKit::toUnsignedLongLong(row.value), row.toUnsigned) << row.name;
}

TEST(NSObjectCoercion, ToDoubleAndToFloat) {
    for (const Row &row : rows()) {
        expectSame(ZRKit::toDouble(row.value), row.toDouble, row);
        expectSame(ZRKit::toFloat(row.value), row.toFloat.value_or(float(row.toDouble)), row);
    }
}

TEST(NSObjectCoercion, ToStringAndToStringNotEmpty) {
    for (const Row &row : rows()) {
        expectSame(ZRKit::toString(row.value), row.toString, row);
        expectSame(ZRKit::toStringNotEmpty(row.value), row.toString.isEmpty() ? QString() : row.toString,
                   row);
    }
}

TEST(NSObjectCoercion, StringDefault) {
    for (const Row &row : rows())
        expectSame(ZRKit::stringDefault(row.value, S("default")), row.stringDefault.value_or(row.toString),
                   row);
    EXPECT_TRUE(ZRKit::stringDefault(S(""), QString()).isNull());
}

TEST(NSObjectCoercion, ToData) {
    for (const Row &row : rows()) {
        const QByteArray data = ZRKit::toData(row.value);
        EXPECT_EQ(data, row.toData.value_or(row.toString.toUtf8())) << row.name;
        EXPECT_EQ(data.isNull(), isNilRow(row)) << row.name;
    }
}

TEST(NSObjectCoercion, ToDate) {
    for (const Row &row : rows()) {
        const QDateTime date = ZRKit::toDate(row.value);
        EXPECT_EQ(date, row.toDate) << row.name << ": " << date.toString(Qt::ISODateWithMs).toStdString();
        EXPECT_EQ(date.isValid(), row.toDate.isValid()) << row.name;
    }
}

TEST(NSObjectCoercion, ToDateReadsHumanTextWhereThereIsADashOrAColon) {
    EXPECT_EQ(ZRKit::toDate(S("2014-01-02")).toLocalTime().date(), QDate(2014, 1, 2));
    const QDateTime time = ZRKit::toDate(S("12:30"));
    EXPECT_EQ(time.toLocalTime().time(), QTime(12, 30));
    EXPECT_EQ(ZRKit::toDate(S("2014")), seconds(2014));
    EXPECT_EQ(ZRKit::toDate(S("tomorrow")), seconds(0));
    EXPECT_FALSE(ZRKit::toDate(S("a-b")).isValid());
    EXPECT_FALSE(ZRKit::toDate(S(":")).isValid());
}

TEST(NSObjectCoercion, IsTrue) {
    for (const Row &row : rows())
        EXPECT_EQ(ZRKit::isTrue(row.value), row.isTrue) << row.name;
}

TEST(NSObjectCoercion, NullMarkerIsNilToThoseWhoAsk) {
    for (const Row &row : rows()) {
        const bool isValue = !isNilRow(row) && !isNullRow(row);
        EXPECT_EQ(ZRKit::isNotNull(row.value), isValue) << row.name;
        for (const QVariant &object : {ZRKit::nilOrObject(row.value), ZRKit::zrNil(row.value)}) {
            EXPECT_EQ(object.isValid(), isValue) << row.name;
            EXPECT_TRUE(!isValue || NSObjectRuntime::isEqual(object, row.value)) << row.name;
        }
    }
}

TEST(NSObjectCoercion, IsNotEmptyAsksForTheLength) {
    for (const Row &row : rows()) {
        if (row.isNotEmpty == Len::Raises) {
            try {
                ZRKit::isNotEmpty(row.value);
                ADD_FAILURE() << row.name;
            } catch (const NSException &e) {
                EXPECT_EQ(e.name(), NSInvalidArgumentException) << row.name;
            }
        } else {
            EXPECT_EQ(ZRKit::isNotEmpty(row.value), row.isNotEmpty == Len::Yes) << row.name;
        }
    }
}

TEST(NSObjectCoercion, HashAndClassName) {
    for (const Row &row : rows()) {
        EXPECT_EQ(ZRKit::hashHexWith32Digits(row.value).size(), isNilRow(row) ? 0 : 32) << row.name;
        expectSame(ZRKit::className(row.value), row.className ? S(row.className) : QString(), row);
    }
}

TEST(NSObjectCoercion, AccessOfEveryKindGivesNilWhereThereIsNoContainer) {
    for (const Row &row : rows()) {
        const ValueKind kind = kindOf(row.value);
        const bool isDictionary = kind == ValueKind::Dictionary, isArray = kind == ValueKind::Array;
        const bool hasEntry = isDictionary && row.isTrue, hasElement = isArray && row.isTrue;
        EXPECT_EQ(ZRKit::zrKeys(row.value).has_value(), isDictionary) << row.name;
        EXPECT_EQ(ZRKit::zrValues(row.value).has_value(), isDictionary || isArray) << row.name;
        EXPECT_EQ(ZRKit::zrHas(row.value, S("k")), hasEntry) << row.name;
        EXPECT_EQ(ZRKit::zrKey(row.value, S("k"), S("d")).isValid(), isDictionary) << row.name;
        EXPECT_EQ(ZRKit::zrKeys(row.value, {S("x"), S("k")}).isValid(), hasEntry) << row.name;
        EXPECT_EQ(ZRKit::zrAt(row.value, 0).isValid(), hasElement) << row.name;
        EXPECT_EQ(ZRKit::path(row.value, S("k")).isValid(), hasEntry) << row.name;
        EXPECT_EQ(ZRKit::path(row.value, S("0")).isValid(), hasElement) << row.name;
        EXPECT_EQ(ZRKit::path(row.value, S("*")).isValid(), hasElement) << row.name;
        EXPECT_EQ(ZRKit::path(row.value, S(""), false).isValid(), !isNilRow(row)) << row.name;
        ZRKit::dumpToLog(row.value);
    }
}

TEST(NSObjectCoercion, ZrKeyIsSentToAllButDictionaries) {
    for (const Row &row : rows()) {
        const bool answers = row.className && QLatin1String(row.className) == S("Keyed");
        if (answers || isNilRow(row) || kindOf(row.value) == ValueKind::Dictionary)
            EXPECT_EQ(ZRKit::zrKey(row.value, S("k")), answers ? QVariant(S("for k")) : QVariant())
                << row.name;
        else
            EXPECT_THROW(ZRKit::zrKey(row.value, S("k")), NSException) << row.name;
    }
    Keyed keyed;
    EXPECT_FALSE(ZRKit::zrKey(ref(&keyed), S("null")).isValid());
    EXPECT_FALSE(ZRKit::zrKey(ref(&keyed), S("nil")).isValid());
}

TEST(NSObjectCoercion, AnInvalidURLIsTrueOnlyIfItHasAText) {
    for (const char *text : {"http://h:99999/", "http://[::1", "//a b:c", "http://h/%"}) {
        const QUrl url(S(text));
        EXPECT_EQ(ZRKit::isTrue(url), !url.toEncoded().isEmpty()) << text;
    }
}

TEST(NSObjectCoercion, ToDataOfALoneSurrogateIsStillUTF8) {
    const QString lone(QChar(0xd800));
    EXPECT_EQ(ZRKit::toData(lone), QByteArray("\xef\xbf\xbd"));
}

#include "NSObjectCoercionTest.moc"
