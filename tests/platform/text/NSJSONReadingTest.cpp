// SPDX-License-Identifier: MIT
#include "platform/text/NSJSONSerialization.h"
#include "platform/values/NSNull.h"

#include <QVariantList>
#include <QVariantMap>
#include <bit>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string_view>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::string_view_literals;

namespace {

QByteArray bytes(std::string_view text) {
    return QByteArray(text.data(), qsizetype(text.size()));
}

QVariant read(std::string_view text, NSJSONReadingOptions options = 0) {
    NSError error;
    const QVariant value = NSJSONSerialization::JSONObjectWithData(bytes(text), options, &error);
    // Either a value or an error, never both.
    EXPECT_EQ(value.isValid(), error.isNil()) << text << ": " << qPrintable(error.description());
    return value;
}

/// Equal, of the same types all the way down, and the same bits of numbers.
bool identical(const QVariant &a, const QVariant &b) {
    if (a.metaType() != b.metaType())
        return false;
    switch (a.typeId()) {
    case QMetaType::QVariantList: {
        const QVariantList x = a.toList(), y = b.toList();
        bool same = x.size() == y.size();
        for (qsizetype i = 0; same && i < x.size(); ++i)
            same = identical(x[i], y[i]);
        return same;
    }
    case QMetaType::QVariantMap: {
        const QVariantMap x = a.toMap(), y = b.toMap();
        bool same = x.keys() == y.keys();
        for (auto it = x.cbegin(); same && it != x.cend(); ++it)
            same = identical(it.value(), y.value(it.key()));
        return same;
    }
    case QMetaType::QString:
        return a.toString() == b.toString() && a.toString().isNull() == b.toString().isNull();
    case QMetaType::Double:
        return std::bit_cast<quint64>(a.toDouble()) == std::bit_cast<quint64>(b.toDouble());
    default:
        return a == b;
    }
}

struct Accepted {
    const char *name;
    std::string_view text;
    QVariant value;
};

QVariant list(const QVariantList &elements) {
    return elements;
}
QVariant text(const QString &string) {
    return QVariantList{string};
}
QVariant integer(qlonglong number) {
    return QVariantList{number};
}
QVariant natural(qulonglong number) {
    return QVariantList{number};
}
QVariant real(double number) {
    return QVariantList{number};
}

std::vector<Accepted> accepted() {
    return {
        {"empty array", "[]", list({})},
        {"empty object", "{}", QVariantMap()},
        {"space everywhere", " \t\r\n[ \n1\r,\t2 , { } , { \"a\" : 1 } ]\n ",
         list({1LL, 2LL, QVariantMap(), QVariantMap{{u"a"_s, 1LL}}})},
        {"literals", "[true,false,null]", list({true, false, NSNull()})},
        {"nested", "{\"a\":[{\"b\":[[]]}]}",
         QVariantMap{{u"a"_s, QVariantList{QVariantMap{{u"b"_s, QVariantList{QVariantList()}}}}}}},
        {"empty key", "{\"\":0}", QVariantMap{{u""_s, 0LL}}},
        {"key with NUL", "{\"a\\u0000b\":0}", QVariantMap{{QString(u"a\0b"_s), 0LL}}},
        {"same key twice: the last counts", "{\"a\":1,\"b\":2,\"a\":{\"c\":3}}",
         QVariantMap{{u"a"_s, QVariantMap{{u"c"_s, 3LL}}}, {u"b"_s, 2LL}}},
        {"keys equal once escapes are read", "{\"a\":1,\"\\u0061\":2}", QVariantMap{{u"a"_s, 2LL}}},
        {"unsorted keys", "{\"c\":1,\"a\":2,\"b\":3}",
         QVariantMap{{u"a"_s, 2LL}, {u"b"_s, 3LL}, {u"c"_s, 1LL}}},
        {"byte-order mark", "\xEF\xBB\xBF[]", list({})},

        {"zero", "[0]", integer(0)},
        {"minus zero keeps its sign", "[-0]", real(-0.0)},
        {"minus zero with fraction", "[-0.0]", real(-0.0)},
        {"minus zero with exponent", "[-0e5]", real(-0.0)},
        {"one digit", "[7]", integer(7)},
        {"negative", "[-123]", integer(-123)},
        {"32 bits and one more", "[2147483648]", integer(2147483648LL)},
        {"2^53 + 1", "[9007199254740993]", integer(9007199254740993LL)},
        {"largest signed", "[9223372036854775807]", integer(std::numeric_limits<qlonglong>::max())},
        {"smallest signed", "[-9223372036854775808]", integer(std::numeric_limits<qlonglong>::min())},
        {"one above the largest signed", "[9223372036854775808]", natural(9223372036854775808ULL)},
        {"largest unsigned", "[18446744073709551615]", natural(std::numeric_limits<qulonglong>::max())},
        {"one above the largest unsigned", "[18446744073709551616]", real(18446744073709551616.0)},
        {"one below the smallest signed", "[-9223372036854775809]", real(-9223372036854775808.0)},
        {"a long integer", "[123123123123123123123123123123]", real(1.2312312312312312e29)},
        {"fraction", "[123.456789]", real(123.456789)},
        {"whole number with a fraction", "[1.0]", real(1)},
        {"exponents", "[1e2,1E2,1e+2,1e-2,1.5e3,0e1,0E+1]",
         list({100.0, 100.0, 100.0, 0.01, 1500.0, 0.0, 0.0})},
        {"exponent with leading zeros", "[1e0002]", real(100)},
        {"nearest double, just below half", "[9007199254740992.9999999999999999999999999999]",
         real(9007199254740992)},
        {"nearest double, half to even", "[9007199254740993.0]", real(9007199254740992)},
        {"nearest double, just above half", "[9007199254740993.00000000000000000000000001]",
         real(9007199254740994)},
        {"many digits", "[0.1000000000000000055511151231257827021181583404541015625]", real(0.1)},
        {"largest double", "[1.7976931348623157e308]", real(std::numeric_limits<double>::max())},
        {"just below what would round to infinity", "[1.797693134862315807e308]",
         real(std::numeric_limits<double>::max())},
        {"smallest normal double", "[2.2250738585072014e-308]", real(std::numeric_limits<double>::min())},
        {"largest denormal", "[2.225073858507201e-308]", real(2.225073858507201e-308)},
        {"smallest double", "[5e-324]", real(std::numeric_limits<double>::denorm_min())},
        {"smaller than the smallest double", "[2e-324]", real(0.0)},
        {"much smaller", "[-1e-400]", real(-0.0)},
        {"small by its zeros", "[0.0000000001e-320]", real(0.0)},
        {"a negative exponent without bound", "[123e-10000000000000000000000000]", real(0.0)},
        {"large exponent of a small fraction", "[0.00000000000000000001e320]", real(1e300)},
        {"small exponent of a large integer", "[1000000000000000000000e-330]", real(1e-309)},

        {"empty string", "[\"\"]", text(u""_s)},
        {"string", "[\"asd\"]", text(u"asd"_s)},
        {"all short escapes", R"(["\"\\\/\b\f\n\r\t"])", text(u"\"\\/\b\f\n\r\t"_s)},
        {"escaped escapes", R"(["\\u0061 \\n"])", text(u"\\u0061 \\n"_s)},
        {"unicode escape", R"(["\u0041\u00e9\u20AC\uABcd\uFFFF\uFDD0"])",
         text(u"A\u00e9\u20AC\uABcd\uFFFF\uFDD0"_s)},
        {"escaped NUL", R"(["a\u0000b"])", text(u"a\0b"_s)},
        {"escaped control characters", R"(["\u0001\u001f\u007f"])", text(u"\u0001\u001f\u007f"_s)},
        {"escaped surrogate pair", R"(["\ud83d\ude00"])", text(u"\U0001F600"_s)},
        {"two escaped surrogate pairs", R"(["\uD83D\uDE39\uD83D\uDC8D"])", text(u"\U0001F639\U0001F48D"_s)},
        {"last code point as escapes", R"(["\uDBFF\uDFFF"])", text(u"\U0010FFFF"_s)},
        {"delete", "[\"a\x7F\"]", text(u"a\u007f"_s)},
        {"two bytes", "[\"\xC2\x80\xDF\xBF\"]", text(u"\u0080\u07FF"_s)},
        {"three bytes", "[\"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF\"]",
         text(u"\u0800\uD7FF\uE000\uFFFF"_s)},
        {"four bytes", "[\"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF\"]", text(u"\U00010000\U0010FFFF"_s)},
        {"a byte-order mark within a string", "[\"\xEF\xBB\xBF\"]", text(QString(QChar(0xFEFF)))},
        {"line and paragraph separators", "[\"\xE2\x80\xA8\xE2\x80\xA9\"]", text(u"\u2028\u2029"_s)},
        {"mixed, longer than a vector",
         "[\"0123456789abcdef0123456789abc\\n\xC3\xA9tail of some length, plain\"]",
         text(u"0123456789abcdef0123456789abc\n\u00e9tail of some length, plain"_s)},
        {"a slash unescaped", "[\"a/b\"]", text(u"a/b"_s)},
        {"something like a comment in a string", "[\"a/*b*/c//d\"]", text(u"a/*b*/c//d"_s)},
    };
}

struct Refused {
    const char *name;
    std::string_view text;
};

const Refused refused[] = {
    {"nothing", ""},
    {"space only", " "},
    {"a byte-order mark only", "\xEF\xBB\xBF"},
    {"half a byte-order mark", "\xEF\xBB{}"},
    {"UTF-16", "\xFF\xFE[\0]\0"sv},
    {"UTF-16 without a mark", "[\0]\0"sv},
    {"NUL", "\0"sv},
    {"NUL after the value", "[]\0"sv},
    {"NUL between", "[1\0]"sv},
    {"word joiner", "[\xE2\x81\xA0]"},
    {"no-break space", "[\xC2\xA0]"},
    {"form feed as space", "[\f]"},
    {"vertical tab as space", "[\v1]"},
    {"byte-order mark between", "[\xEF\xBB\xBF]"},

    {"open array", "["},
    {"open array after an element", "[1"},
    {"open array after a comma", "[1,"},
    {"open array of strings", "[\"a\""},
    {"only a closing bracket", "]"},
    {"closed too often", "[]]"},
    {"closed by a brace", "[1}"},
    {"object closed by a bracket", "{\"a\":1]"},
    {"comma only", "[,]"},
    {"comma first", "[,1]"},
    {"two commas", "[1,,2]"},
    {"comma last", "[1,]"},
    {"no comma", "[1 2]"},
    {"no comma between containers", "[[][]]"},
    {"colon for comma", "[\"a\":1]"},
    {"semicolon", "[1;2]"},
    {"two values", "[][]"},
    {"value then garbage", "[]x"},
    {"array then comma", "[],"},
    {"star inside", "[*]"},
    {"letter for a value", "[a]"},

    {"open object", "{"},
    {"open object after a name", "{\"a\""},
    {"open object after a colon", "{\"a\":"},
    {"open object after a value", "{\"a\":1"},
    {"open object after a comma", "{\"a\":1,"},
    {"no colon", "{\"a\" 1}"},
    {"comma for colon", "{\"a\",1}"},
    {"equals for colon", "{\"a\"=1}"},
    {"two colons", "{\"a\"::1}"},
    {"no value", "{\"a\":}"},
    {"name alone", "{\"a\"}"},
    {"no name", "{:1}"},
    {"unquoted name", "{a:1}"},
    {"single-quoted name", "{'a':1}"},
    {"number as name", "{1:1}"},
    {"null as name", "{null:1}"},
    {"array as name", "{[]:1}"},
    {"comma last in an object", "{\"a\":1,}"},
    {"commas last in an object", "{\"a\":1,,,}"},
    {"comma first in an object", "{,\"a\":1}"},
    {"comma alone in an object", "{,}"},
    {"two commas in an object", "{\"a\":1,,\"b\":2}"},
    {"no comma in an object", "{\"a\":1 \"b\":2}"},
    {"closed twice", "{\"a\":1}}"},
    {"bare string in an object", "{\"a\":1,\"b\"}"},
    {"emoji for a name", "{\xF0\x9F\x87\xA8:1}"},

    {"comment after", "[] /* a */"},
    {"comment inside", "[/* a */1]"},
    {"line comment", "[1] // a"},
    {"hash comment", "[1] # a"},
    {"open comment", "[1]/*"},

    {"plus sign", "[+1]"},
    {"minus alone", "[-]"},
    {"two minus signs", "[--1]"},
    {"minus then space", "[- 1]"},
    {"minus then letter", "[-a]"},
    {"leading zero", "[01]"},
    {"leading zero of a fraction", "[00.1]"},
    {"negative leading zero", "[-01]"},
    {"two zeros", "[00]"},
    {"no integer part", "[.5]"},
    {"negative without integer part", "[-.5]"},
    {"no fraction after the point", "[1.]"},
    {"negative without fraction", "[-2.]"},
    {"exponent after the point", "[1.e1]"},
    {"two points", "[1.2.3]"},
    {"no digits of the exponent", "[1e]"},
    {"sign alone in the exponent", "[1e+]"},
    {"two signs in the exponent", "[1e+-1]"},
    {"two exponents", "[1e1e1]"},
    {"fraction in the exponent", "[1e1.5]"},
    {"fraction, then an empty exponent", "[0.3e]"},
    {"zero, then an empty exponent", "[0e+]"},
    {"hexadecimal", "[0x1F]"},
    {"letters after digits", "[1a]"},
    {"letters after an exponent", "[1ea]"},
    {"underscore in digits", "[1_000]"},
    {"space in digits", "[1 000.0]"},
    {"not a number", "[NaN]"},
    {"negative not a number", "[-NaN]"},
    {"Infinity", "[Infinity]"},
    {"-Infinity", "[-Infinity]"},
    {"inf", "[inf]"},
    {"full-width digit", "[\xEF\xBC\x91]"},
    {"larger than any double", "[1.8e308]"},
    {"much larger than any double", "[-1e400]"},
    {"an exponent without bound", "[1e99999999999999999999999]"},
    {"zero with an exponent without bound", "[0e999999999999999999999]"},
    {"large by its digits", "[100000000000000000000e300]"},
    {"rounds to infinity", "[1.797693134862315808e308]"},

    {"True", "[True]"},
    {"tru", "[tru]"},
    {"nul", "[nul"},
    {"fals", "[fals"},
    {"truth", "[truth]"},
    {"nullx", "[nullx]"},
    {"true then digit", "[true1]"},
    {"undefined", "[undefined]"},

    {"open string", "[\""},
    {"open string with text", "[\"abc"},
    {"open string, longer than a vector", "[\"0123456789abcdef0123456789abcdef"},
    {"open after an escape", "[\"a\\"},
    {"escaped quote closes nothing", "[\"\\\"]"},
    {"single quotes", "['a']"},
    {"no quotes", "[abc]"},
    {"newline in a string", "[\"a\nb\"]"},
    {"tab in a string", "[\"a\tb\"]"},
    {"NUL in a string", "[\"a\0b\"]"sv},
    {"unit separator in a string", "[\"a\x1F\"]"},
    {"control character behind a vector", "[\"0123456789abcdef0123456789\x01\"]"},
    {"unknown escape a", "[\"\\a\"]"},
    {"unknown escape x", "[\"\\x00\"]"},
    {"unknown escape U", "[\"\\U0041\"]"},
    {"escaped single quote", "[\"\\'\"]"},
    {"escaped emoji", "[\"\\\xF0\x9F\x8C\x80\"]"},
    {"escaped tab", "[\"\\\t\"]"},
    {"escaped NUL byte", "[\"\\\0\"]"sv},
    {"escaped invalid byte", "[\"\\\xE5\"]"},
    {"escape without digits", "[\"\\u\"]"},
    {"escape with one digit", "[\"\\u1\"]"},
    {"escape with three digits", "[\"\\u00A\"]"},
    {"escape with a wrong digit", "[\"\\u00G0\"]"},
    {"escape with a sign", "[\"\\u+041\"]"},
    {"escape with a minus sign", "[\"\\u-041\"]"},
    {"escape with a prefix", "[\"\\u0x41\"]"},
    {"escape with a space", "[\"\\u 041\"]"},
    {"escape cut off", "[\"\\u00"},
    {"high surrogate alone", "[\"\\uD800\"]"},
    {"high surrogate at the end", "[\"\\uD83D"},
    {"low surrogate alone", "[\"\\uDC00\"]"},
    {"surrogates the wrong way round", "[\"\\uDE00\\uD83D\"]"},
    {"high surrogate twice", "[\"\\uD800\\uD800\"]"},
    {"high surrogate then text", "[\"\\uD800abcdef\"]"},
    {"high surrogate then another escape", "[\"\\uD800\\n\"]"},
    {"high surrogate then an ordinary escape", "[\"\\uD800\\u0041\"]"},
    {"high surrogate then half an escape", "[\"\\uD800\\u\"]"},
    {"high surrogate then a wrong escape", "[\"\\uD800\\uDC0x\"]"},

    {"continuation byte alone", "[\"\x80\"]"},
    {"Latin-1", "[\"\xE9\"]"},
    {"start byte at the end", "[\"\xC3\"]"},
    {"start byte at the end of the text", "[\"\xE2\x82"},
    {"start byte, then text", "[\"\xC3x\"]"},
    {"three bytes cut off", "[\"\xE2\x82x\"]"},
    {"four bytes cut off", "[\"\xF0\x9F\x98\"]"},
    {"two-byte overlong", "[\"\xC0\xAF\"]"},
    {"two-byte overlong, C1", "[\"\xC1\xBF\"]"},
    {"three-byte overlong", "[\"\xE0\x80\xAF\"]"},
    {"four-byte overlong", "[\"\xF0\x80\x80\xAF\"]"},
    {"surrogate in three bytes", "[\"\xED\xA0\x80\"]"},
    {"surrogate pair in six bytes", "[\"\xED\xA0\xBD\xED\xB8\x80\"]"},
    {"beyond the last code point", "[\"\xF4\x90\x80\x80\"]"},
    {"F5", "[\"\xF5\x80\x80\x80\"]"},
    {"FE and FF", "[\"\xFE\xFF\"]"},
    {"five-byte form", "[\"\xF8\x88\x80\x80\x80\"]"},
    {"invalid UTF-8 in a name", "{\"\xFF\":1}"},
    {"invalid UTF-8 outside a string", "[\xFF]"},
    {"invalid UTF-8 after a number", "[1\xE5]"},
    {"smart quotes", "[\xE2\x80\x9C"
                     "a\xE2\x80\x9D]"},

    {"a tag", "[<null>]"},
    {"angle bracket", "<.>"},
    {"a backslash", "[\\n]"},
    {"an escape outside a string", "[\\u000A\"\"]"},
    {"single quote structure", "['"},
};

} // namespace

TEST(NSJSONReading, AcceptsAndGivesExactValues) {
    for (const Accepted &one : accepted()) {
        const QVariant value = read(one.text);
        EXPECT_TRUE(identical(value, one.value)) << one.name << ": " << qPrintable(NSDescription(value));
    }
}

TEST(NSJSONReading, Refuses) {
    for (const Refused &one : refused) {
        EXPECT_FALSE(read(one.text).isValid()) << one.name;
        EXPECT_FALSE(read(one.text, NSJSONReadingFragmentsAllowed).isValid()) << one.name;
    }
}

TEST(NSJSONReading, FragmentsOnlyWhereAllowed) {
    const std::pair<const char *, QVariant> fragments[] = {
        {"1", 1LL},     {" -2.5 ", -2.5}, {"\"a\"", u"a"_s},  {"\"\"", u""_s},
        {"true", true}, {"false", false}, {"null", NSNull()},
    };
    for (const auto &[text, value] : fragments) {
        EXPECT_FALSE(read(text).isValid()) << text;
        EXPECT_TRUE(identical(read(text, NSJSONReadingFragmentsAllowed), value)) << text;
    }
    EXPECT_TRUE(read("[]", NSJSONReadingFragmentsAllowed).isValid());
}

TEST(NSJSONReading, MutabilityBitsChangeNothing) {
    const QVariant value = read("{\"a\":[1]}");
    EXPECT_TRUE(
        identical(read("{\"a\":[1]}", NSJSONReadingMutableContainers | NSJSONReadingMutableLeaves), value));
    EXPECT_FALSE(read("1", NSJSONReadingMutableContainers | NSJSONReadingMutableLeaves).isValid());
}

TEST(NSJSONReading, EveryNumberIsTheNearestDouble) {
    std::mt19937_64 random(3);
    for (int i = 0; i < 200'000; ++i) {
        // Around what doubles hold exactly, digits and powers of ten, as well as anywhere.
        QByteArray number = i % 4 ? QByteArray::number(quint64(random()) >> random() % 64)
                                  : QByteArray::number((1ull << 53) - 2 + random() % 5);
        if (const qsizetype point = qsizetype(random() % 20); point > 0 && point < number.size())
            number.insert(number.size() - point, '.');
        else
            number += ".0";
        if (random() % 2)
            number += 'e' + QByteArray::number(int(random() % 64) - 32);
        if (random() % 2)
            number.prepend('-');
        const QVariantList list = NSJSONSerialization::JSONObjectWithData('[' + number + ']').toList();
        ASSERT_EQ(list.size(), 1) << number.constData();
        ASSERT_TRUE(identical(list.at(0), std::strtod(number.constData(), nullptr))) << number.constData();
    }
}

TEST(NSJSONReading, DepthIsBounded) {
    const auto nested = [](const QByteArray &open, const QByteArray &close, int depth) {
        return open.repeated(depth) + "1" + close.repeated(depth);
    };
    const auto accepts = [](const QByteArray &text) {
        return NSJSONSerialization::JSONObjectWithData(text).isValid();
    };
    EXPECT_TRUE(accepts(nested("[", "]", 512)));
    EXPECT_FALSE(accepts(nested("[", "]", 513)));
    EXPECT_TRUE(accepts(nested("{\"a\":", "}", 512)));
    EXPECT_FALSE(accepts(nested("{\"a\":", "}", 513)));
    EXPECT_TRUE(accepts(nested("[{\"a\":", "}]", 256)));
    EXPECT_FALSE(accepts(nested("[{\"a\":", "}]", 257)));
    // Depth, not the number of containers.
    EXPECT_TRUE(accepts("[" + QByteArray("[],").repeated(100000) + "[]]"));
    EXPECT_FALSE(accepts(QByteArray(1'000'000, '[')));
    EXPECT_FALSE(accepts(QByteArray(1'000'000, '[') + QByteArray(1'000'000, ']')));
    EXPECT_FALSE(accepts(QByteArray("{\"\":").repeated(1'000'000)));
    EXPECT_FALSE(accepts(QByteArray("[{\"\":").repeated(1'000'000)));
}

TEST(NSJSONReading, TextsWithoutATerminatorAreReadToTheirEndOnly) {
    const QByteArray text("[1,\"ab\",{\"key\":1.5e3}]234]");
    for (qsizetype size = 0; size < 22; ++size) {
        const QByteArray part(text.constData(), size); // exact allocation for the sanitizers
        EXPECT_FALSE(NSJSONSerialization::JSONObjectWithData(QByteArray::fromRawData(part.constData(), size))
                         .isValid())
            << size;
    }
    EXPECT_TRUE(
        NSJSONSerialization::JSONObjectWithData(QByteArray::fromRawData(text.constData(), 22)).isValid());
}

TEST(NSJSONReading, TheErrorSaysWhere) {
    NSError error;
    EXPECT_FALSE(NSJSONSerialization::JSONObjectWithData("[1,\n  x]", 0, &error).isValid());
    EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
    EXPECT_EQ(error.code(), 3840);
    EXPECT_EQ(error.localizedDescription(), u"The text is not JSON: Invalid value. (line 2, byte 3)"_s);
    EXPECT_FALSE(NSJSONSerialization::JSONObjectWithData(QByteArray(), 0, &error).isValid());
    EXPECT_EQ(error.localizedDescription(),
              u"The text is not JSON: The document is empty. (line 1, byte 1)"_s);
}

TEST(NSJSONReading, RepeatedNamesOfEveryLength) {
    QByteArray text = "[";
    for (int round = 0; round < 3; ++round) {
        for (int size = 0; size < 40; ++size) {
            for (const char c : {'a', 'b'})
                text += "{\"" + QByteArray(size, 'k') + c + "\":" + QByteArray::number(size) + "},";
        }
    }
    text.back() = ']';
    const QVariantList objects = NSJSONSerialization::JSONObjectWithData(text).toList();
    ASSERT_EQ(objects.size(), 240);
    for (int i = 0; i < 240; ++i) {
        const int size = i / 2 % 40;
        const QVariantMap expected{{QString(size, u'k') + QChar(i % 2 ? u'b' : u'a'), qlonglong(size)}};
        EXPECT_EQ(objects[i].toMap(), expected);
    }
}
