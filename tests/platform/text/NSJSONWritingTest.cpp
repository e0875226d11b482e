// SPDX-License-Identifier: MIT
#include "platform/text/NSJSONSerialization.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSSet.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <QUrl>
#include <QVariantHash>
#include <QVariantMap>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace Qt::StringLiterals;

namespace {

std::string write(const QVariant &value, NSJSONWritingOptions options = 0) {
    return NSJSONSerialization::dataWithJSONObject(value, options).toStdString();
}

std::string element(const QVariant &value) {
    const std::string text = write(QVariantList{value});
    return text.substr(1, text.size() - 2);
}

/// The reason of the refusal, empty where there is none.
QString refusal(const QVariant &value, NSJSONWritingOptions options = 0) {
    try {
        NSJSONSerialization::dataWithJSONObject(value, options);
    } catch (const NSException &e) {
        EXPECT_EQ(e.name(), NSInvalidArgumentException);
        EXPECT_FALSE(options == 0 && NSJSONSerialization::isValidJSONObject(value));
        return e.reason();
    }
    EXPECT_TRUE(NSJSONSerialization::isValidJSONObject(value));
    return {};
}

QVariant nestedLists(int depth) {
    QVariant value = 1;
    for (int i = 0; i < depth; ++i)
        value = QVariantList{value};
    return value;
}

} // namespace

TEST(NSJSONWriting, EachKind) {
    EXPECT_EQ(write(QVariantList()), "[]");
    EXPECT_EQ(write(QVariantMap()), "{}");
    EXPECT_EQ(element(true), "true");
    EXPECT_EQ(element(false), "false");
    EXPECT_EQ(element(NSNull()), "null");
    EXPECT_EQ(element(u"text"_s), "\"text\"");
    EXPECT_EQ(element(u""_s), "\"\"");
    EXPECT_EQ(element(QVariantMap{{u"b"_s, 1}, {u"a"_s, QVariantList{2, 3}}}), "{\"a\":[2,3],\"b\":1}");
    EXPECT_EQ(element(QVariantHash{{u"a"_s, 1}}), "{\"a\":1}");
    EXPECT_EQ(element(QStringList{u"a"_s, u"b"_s}), "[\"a\",\"b\"]");
    EXPECT_EQ(write(QStringList()), "[]");
    EXPECT_EQ(write(QVariant::fromValue(QMap<QString, int>{{u"a"_s, 1}})), "{\"a\":1}");
    EXPECT_EQ(write(QVariant::fromValue(QList<double>{1.5, 2})), "[1.5,2]");
    EXPECT_EQ(element(QVariant::fromValue(Qt::AlignRight)), "2");
}

TEST(NSJSONWriting, AJSONValueIsWrittenAsWhatItHolds) {
    EXPECT_EQ(element(QVariant::fromValue(QJsonValue(1.5))), "1.5");
    EXPECT_EQ(element(QVariant::fromValue(QJsonValue(u"a"_s))), "\"a\"");
    EXPECT_EQ(element(QVariant::fromValue(QJsonValue(true))), "true");
    EXPECT_EQ(element(QVariant::fromValue(QJsonValue(QJsonValue::Null))), "null");
    EXPECT_EQ(element(QVariant::fromValue(QJsonValue(QJsonArray{1, QJsonObject{{u"k"_s, u"v"_s}}}))),
              "[1,{\"k\":\"v\"}]");
}

TEST(NSJSONWriting, EveryArithmeticType) {
    EXPECT_EQ(element(QVariant::fromValue(char(65))), "65");
    EXPECT_EQ(element(QVariant::fromValue(qint8(-5))), "-5");
    EXPECT_EQ(element(QVariant::fromValue(uchar(200))), "200");
    EXPECT_EQ(element(QVariant::fromValue(short(-300))), "-300");
    EXPECT_EQ(element(QVariant::fromValue(ushort(60000))), "60000");
    EXPECT_EQ(element(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(element(std::numeric_limits<uint>::max()), "4294967295");
    EXPECT_EQ(element(QVariant::fromValue(-1L)), "-1");
    EXPECT_EQ(element(QVariant::fromValue(std::numeric_limits<ulong>::max())),
              std::to_string(std::numeric_limits<ulong>::max()));
    EXPECT_EQ(element(std::numeric_limits<qlonglong>::min()), "-9223372036854775808");
    EXPECT_EQ(element(std::numeric_limits<qlonglong>::max()), "9223372036854775807");
    EXPECT_EQ(element(std::numeric_limits<qulonglong>::max()), "18446744073709551615");
    EXPECT_EQ(element(0.1f), "0.1");
    EXPECT_EQ(element(QVariant::fromValue(NSDecimalNumber(u"0.1"_s))), "0.1");
    EXPECT_EQ(element(QVariant::fromValue(NSDecimalNumber(u"-12345678901234567890123456789012345678"_s))),
              "-12345678901234567890123456789012345678");
}

TEST(NSJSONWriting, DoublesAreWrittenShortest) {
    EXPECT_EQ(element(0.1), "0.1");
    EXPECT_EQ(element(1.0), "1");
    EXPECT_EQ(element(-0.0), "-0");
    EXPECT_EQ(element(0.30000000000000004), "0.30000000000000004");
    EXPECT_EQ(element(1e300), "1e+300");
    EXPECT_EQ(element(5e-324), "5e-324");
    EXPECT_EQ(element(std::numeric_limits<double>::max()), "1.7976931348623157e+308");
    EXPECT_EQ(element(123456.789), "123456.789");
}

TEST(NSJSONWriting, WholeNumbersHaveNoExponentAsFarAsTheyAreExact) {
    EXPECT_EQ(element(100000.0), "100000");
    EXPECT_EQ(element(-1e10), "-10000000000");
    EXPECT_EQ(element(1e15), "1000000000000000");
    EXPECT_EQ(element(9007199254740991.0), "9007199254740991");
    EXPECT_EQ(element(-9007199254740992.0), "-9007199254740992");
    EXPECT_EQ(element(1e16), "1e+16");
    EXPECT_EQ(element(100000.0f), "100000");
    EXPECT_EQ(element(16777216.0f), "16777216");
    EXPECT_EQ(element(100000.5), "100000.5");
    EXPECT_EQ(element(0.00001), "1e-05");
}

TEST(NSJSONWriting, AnyDoubleReadsBackAsItself) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 100000; ++i) {
        const auto number = std::bit_cast<double>(random());
        if (!std::isfinite(number))
            continue;
        const QByteArray text = NSJSONSerialization::dataWithJSONObject(QVariantList{number});
        const double back = NSJSONSerialization::JSONObjectWithData(text).toList().at(0).toDouble();
        ASSERT_EQ(std::bit_cast<quint64>(back), std::bit_cast<quint64>(number)) << text.constData();
    }
}

TEST(NSJSONWriting, EscapesWhatItMust) {
    EXPECT_EQ(element(u"\"\\\b\f\n\r\t"_s), R"("\"\\\b\f\n\r\t")");
    EXPECT_EQ(element(QString(u"\0\u0001\u001f"_s)), R"("\u0000\u0001\u001F")");
    EXPECT_EQ(element(u"\u007f\u00e9\u20ac\U0001F600\u2028\uffff"_s),
              "\"\x7F\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xE2\x80\xA8\xEF\xBF\xBF\"");
    EXPECT_EQ(write(QVariantMap{{u"a\n\"\u00e9"_s, 1}}), "{\"a\\n\\\"\xC3\xA9\":1}");
}

TEST(NSJSONWriting, EscapesSlashesUnlessToldNotTo) {
    EXPECT_EQ(write(QVariantList{u"a/b"_s}), "[\"a\\/b\"]");
    EXPECT_EQ(write(QVariantList{u"a/b and more than eight/"_s}, NSJSONWritingWithoutEscapingSlashes),
              "[\"a/b and more than eight/\"]");
}

TEST(NSJSONWriting, EveryUnitAtEveryPlaceReadsBackAsItself) {
    for (char32_t code = 0; code < 0x11000; code += code < 0x900 ? 1 : 97) {
        if (QChar::isSurrogate(code))
            continue;
        for (int before = 0; before < 18; before += code < 0x100 ? 1 : 17) {
            const QString text = QString(before, u'x') + QString::fromUcs4(&code, 1) + u"after"_s;
            const QVariant value = QVariantList{text};
            ASSERT_EQ(NSJSONSerialization::JSONObjectWithData(NSJSONSerialization::dataWithJSONObject(value)),
                      value)
                << quint32(code);
        }
    }
}

TEST(NSJSONWriting, LongStringsOfEveryKind) {
    for (const QString &piece :
         {u"x"_s, u"\u0001"_s, u"\u00e9"_s, u"\u20ac"_s, u"\U0001F600"_s, u"plain \n \U0001F600/"_s}) {
        for (const int count : {1023, 1024, 1025, 100000}) {
            // One unit before moves where pieces end, also into the middle of pairs.
            for (const QString &start : {u""_s, u"a"_s}) {
                const QVariant value = QVariantList{start + piece.repeated(count)};
                ASSERT_EQ(
                    NSJSONSerialization::JSONObjectWithData(NSJSONSerialization::dataWithJSONObject(value)),
                    value);
            }
        }
    }
}

TEST(NSJSONWriting, PrettyPrinting) {
    const QVariant value = QVariantMap{{u"a"_s, QVariantList{1, QVariantMap{{u"b"_s, u"x y"_s}}}},
                                       {u"c"_s, QVariantMap()},
                                       {u"d"_s, QVariantList()}};
    EXPECT_EQ(write(value, NSJSONWritingPrettyPrinted), R"({
  "a" : [
    1,
    {
      "b" : "x y"
    }
  ],
  "c" : {},
  "d" : []
})");
    EXPECT_EQ(write(value), R"({"a":[1,{"b":"x y"}],"c":{},"d":[]})");
}

TEST(NSJSONWriting, SortsTheKeysOfAHashWhenAsked) {
    QVariantHash hash;
    std::string expected = "{";
    for (char16_t c = u'a'; c <= u'z'; ++c) {
        hash.insert(QString(QChar(c)), 1);
        expected += std::string(c == u'a' ? "" : ",") + '"' + char(c) + "\":1";
    }
    EXPECT_EQ(write(hash, NSJSONWritingSortedKeys), expected + "}");
    EXPECT_EQ(
        NSJSONSerialization::JSONObjectWithData(NSJSONSerialization::dataWithJSONObject(hash)).toMap().size(),
        26);
}

TEST(NSJSONWriting, FragmentsOnlyWhereAllowed) {
    for (const QVariant &value : {QVariant(1), QVariant(u"a"_s), QVariant(true), NSNull(), QVariant(1.5)}) {
        EXPECT_EQ(refusal(value),
                  u"Invalid top-level type in JSON write: neither an array nor a dictionary"_s);
        EXPECT_EQ(write(value, NSJSONWritingFragmentsAllowed), element(value));
    }
    EXPECT_FALSE(refusal(QVariant()).isEmpty());
}

TEST(NSJSONWriting, RefusesWhatJSONCannotHold) {
    const QVariant refused[] = {
        QVariant(),
        QVariant(QString()),
        QByteArray("data"),
        QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC),
        QUrl(u"https://host.test/"_s),
        QVariant::fromValue(NSSet{1}),
        QVariant::fromValue<QObject *>(nullptr),
        QVariant::fromValue(NSDecimalNumber::notANumber()),
        QVariant::fromValue(QMap<int, QVariant>{{1, 1}}),
        QChar(u'a'),
        std::numeric_limits<double>::quiet_NaN(),
        std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity(),
        std::numeric_limits<float>::infinity(),
        QString(QChar(0xD83D)),
        QString(QChar(0xDE00)),
        QString(QChar(0xD83D)) + u"x"_s,
        QString(1023, u'x') + QChar(0xD83D),
    };
    for (const QVariant &value : refused) {
        EXPECT_FALSE(refusal(QVariantList{value}).isEmpty()) << qPrintable(NSDescription(value));
        EXPECT_FALSE(refusal(QVariantMap{{u"a"_s, QVariantList{value}}}).isEmpty());
        EXPECT_FALSE(refusal(value, NSJSONWritingFragmentsAllowed).isEmpty());
    }
    EXPECT_EQ(refusal(QVariant::fromValue(QMap<int, QVariant>{{1, 1}})),
              u"Invalid (non-string) key in JSON dictionary"_s);
    EXPECT_EQ(refusal(QVariantList{QDateTime::currentDateTimeUtc()}),
              u"Invalid type in JSON write (QDateTime)"_s);
    EXPECT_EQ(refusal(QVariantList{std::nan("")}), u"Invalid number value (NaN) in JSON write"_s);
    EXPECT_FALSE(refusal(QVariantMap{{QString(QChar(0xD800)), 1}}).isEmpty());
}

TEST(NSJSONWriting, DepthIsBoundedAsInReading) {
    EXPECT_EQ(refusal(nestedLists(512)), QString());
    EXPECT_EQ(
        NSJSONSerialization::JSONObjectWithData(NSJSONSerialization::dataWithJSONObject(nestedLists(512))),
        nestedLists(512));
    EXPECT_EQ(refusal(nestedLists(513)), u"Too many nested arrays or dictionaries in JSON write"_s);
    EXPECT_FALSE(refusal(nestedLists(5000)).isEmpty());
}

TEST(NSJSONWriting, ADictionaryWithANilKeyIsRefused) {
    EXPECT_EQ(refusal(QVariantMap{{u""_s, 1}}), QString());
    EXPECT_EQ(write(QVariantMap{{u""_s, 1}}), "{\"\":1}");
    EXPECT_FALSE(refusal(QVariantMap{{QString(), 1}}).isEmpty());
}
