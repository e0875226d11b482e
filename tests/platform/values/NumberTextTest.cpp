// SPDX-License-Identifier: MIT
#include "platform/values/NumberText.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace zr::NumberText;

TEST(NumberText, BooleanValueReadsTheTextsStart) {
    for (const char16_t *text : {u"YES", u"yes", u"true", u"True", u"1", u"9", u"007", u" +2x", u" 12", u"-1",
                                 u"\t\n1", u"y", u"tea", u"\u00a0\u20031", u"0Y", u"00t"})
        EXPECT_TRUE(boolValue(text)) << QString::fromUtf16(text).toStdString();
    for (const char16_t *text : {u"", u"no", u"0", u"0.5", u"-0", u"abc", u" ", u"+", u"--1", u"+-1", u"000",
                                 u"\u0661", u"false", u"- 1"})
        EXPECT_FALSE(boolValue(text)) << QString::fromUtf16(text).toStdString();
}

TEST(NumberText, IntegerValueIgnoresWhatFollowsAndSaturates) {
    EXPECT_EQ(longLongValue(u"12abc"), 12);
    EXPECT_EQ(longLongValue(u"abc"), 0);
    EXPECT_EQ(longLongValue(u""), 0);
    EXPECT_EQ(longLongValue(u" \n-42.9"), -42);
    EXPECT_EQ(longLongValue(u"+7"), 7);
    EXPECT_EQ(longLongValue(u"+-7"), 0);
    EXPECT_EQ(longLongValue(u"1 2"), 1);
    EXPECT_EQ(longLongValue(u"0x10"), 0);
    constexpr auto Max = std::numeric_limits<qint64>::max(), Min = std::numeric_limits<qint64>::min();
    EXPECT_EQ(longLongValue(u"9223372036854775807"), Max);
    EXPECT_EQ(longLongValue(u"9223372036854775808"), Max);
    EXPECT_EQ(longLongValue(u"-9223372036854775808"), Min);
    EXPECT_EQ(longLongValue(u"-9223372036854775809"), Min);
    EXPECT_EQ(longLongValue(QString(1000, QLatin1Char('9'))), Max);
    EXPECT_EQ(longLongValue(QLatin1Char('-') + QString(1000, QLatin1Char('9'))), Min);
}

TEST(NumberText, UnsignedValueReadsAsStrtoull) {
    for (const char *text : {"0", "18446744073709551615", "18446744073709551616", "-1", "-5", " \v\f12x", "",
                             "x", "-18446744073709551615", "-18446744073709551616",
                             "-99999999999999999999999", "+3", "9223372036854775808", "1e3", "- 1"})
        EXPECT_EQ(unsignedLongLongValue(QString::fromLatin1(text)), std::strtoull(text, nullptr, 10)) << text;
    EXPECT_EQ(unsignedLongLongValue(u"\u00a05"), 0u);
}

TEST(NumberText, DoubleValueReadsWhatStrtodReadsOfDecimalText) {
    for (const char *text : {"1",
                             "-1.5",
                             "+.5",
                             "5.",
                             "1e3",
                             "1e",
                             "1e+",
                             "1.5e-3x",
                             "0.1",
                             "1e308",
                             "4.9e-324",
                             "2.2250738585072011e-308",
                             "9007199254740993",
                             "123456789012345678901234567890",
                             "1e400",
                             "-1e400",
                             "1e-400",
                             "0e999999999",
                             " 7",
                             "-0",
                             "1.7976931348623159e308",
                             "1..2",
                             "1.2.3"})
        EXPECT_EQ(doubleValue(QString::fromLatin1(text)), std::strtod(text, nullptr)) << text;
    for (const char16_t *text : {u"", u"abc", u".", u"-", u"e5", u"inf", u"nan", u"-infinity"})
        EXPECT_EQ(doubleValue(text), 0) << QString::fromUtf16(text).toStdString();
    EXPECT_EQ(doubleValue(u"0x10"), 0);
    EXPECT_EQ(doubleValue(QStringLiteral("0.") + QString(5000, QLatin1Char('0')) + QLatin1Char('1')), 0);
    EXPECT_EQ(doubleValue(QString(400, QLatin1Char('9'))), std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::signbit(doubleValue(u"-0")));
}

TEST(NumberText, FloatValueIsRoundedOnce) {
    EXPECT_EQ(floatValue(u"0.1"), 0.1f);
    // Halfway between two floats but for a digit that a double can't hold.
    EXPECT_EQ(floatValue(u"1.00000017881393432617187499"), 1.00000011920928955078125f);
    EXPECT_EQ(floatValue(u"1e39"), std::numeric_limits<float>::infinity());
    EXPECT_EQ(floatValue(u"-1e39"), -std::numeric_limits<float>::infinity());
    EXPECT_EQ(floatValue(u"x"), 0.0f);
}

TEST(NumberText, TextOfANumberIsPlainWhereThatIsReadable) {
    const struct {
        double number;
        const char16_t *text;
    } rows[] = {{0, u"0"},
                {-0.0, u"-0"},
                {0.1, u"0.1"},
                {1.5, u"1.5"},
                {-2, u"-2"},
                {1000000, u"1000000"},
                {1700000000, u"1700000000"},
                {123456.789, u"123456.789"},
                {1e20, u"100000000000000000000"},
                {1e21, u"1e+21"},
                {0.000001, u"0.000001"},
                {0.0000001, u"1e-07"},
                {1.0 / 3, u"0.3333333333333333"},
                {5e-324, u"5e-324"},
                {std::numeric_limits<double>::max(), u"1.7976931348623157e+308"},
                {std::numeric_limits<double>::infinity(), u"inf"},
                {-std::numeric_limits<double>::infinity(), u"-inf"},
                {std::numeric_limits<double>::quiet_NaN(), u"nan"}};
    for (const auto &row : rows)
        EXPECT_EQ(text(row.number), QString::fromUtf16(row.text));
    EXPECT_EQ(text(0.1f), QStringLiteral("0.1"));
    EXPECT_EQ(text(16777216.0f), QStringLiteral("16777216"));
}

TEST(NumberText, TextOfADoubleReadsBackAsTheSameDouble) {
    std::mt19937_64 random(20240102);
    for (int i = 0; i < 100000; ++i) {
        const quint64 bits = random();
        double number;
        std::memcpy(&number, &bits, sizeof number);
        if (std::isnan(number) || std::isinf(number))
            continue;
        ASSERT_EQ(doubleValue(text(number)), number);
        const float narrow = float(qint64(bits)) / 1024;
        ASSERT_EQ(floatValue(text(narrow)), narrow);
    }
}
