// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFNumber.h"
#include "platform/pdf/PDFFile.h"

#include <gtest/gtest.h>
#include <limits>

TEST(PDFNumber, IsReadInEveryFormOfTheSyntax) {
    EXPECT_EQ(PDFParseNumber("12"), 12);
    EXPECT_EQ(PDFParseNumber("+3."), 3);
    EXPECT_EQ(PDFParseNumber("-.002"), -.002);
    EXPECT_EQ(PDFParseNumber(".5"), .5);
    EXPECT_EQ(PDFParseNumber("-0"), 0);
    EXPECT_EQ(PDFParseNumber("1131.370849898476"), 1131.370849898476);
}

TEST(PDFNumber, IsNothingElse) {
    for (const char *text : {"", "-", "+", "--1", "1e3", "1x", "x1", " 1", "1 ", "0x10", "inf", "nan", "1,5",
                             "1000000001", "99999999999999999999999999"})
        EXPECT_FALSE(PDFParseNumber(text)) << text;
    EXPECT_FALSE(PDFParseNumber("1" + std::string(400, '0')));
}

TEST(PDFNumber, IsWrittenShortAndWithoutExponent) {
    EXPECT_EQ(PDFFormatNumber(0), "0");
    EXPECT_EQ(PDFFormatNumber(-0.0000001), "0");
    EXPECT_EQ(PDFFormatNumber(1131.37), "1131.37");
    EXPECT_EQ(PDFFormatNumber(-0.5), "-0.5");
    EXPECT_EQ(PDFFormatNumber(33554432), "33554432");
    EXPECT_EQ(PDFFormatNumber(1.0 / 4096), "0.000244");
    EXPECT_EQ(PDFFormatNumber(1e9), "1000000000");
    EXPECT_EQ(PDFFormatNumber(4.0 / 3, 12), "1.333333333333");
    EXPECT_EQ(PDFFormatNumber(0.5, 12), "0.5");
}

TEST(PDFBoxPlan, MapsTheCutToTheOrigin) {
    const auto plan = PDFBoxPlan::make(QRectF(10, 20, 600, 1000), 1, {QRectF(5, 7, 500, 900)});
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->userUnit, 1);
    EXPECT_EQ(plan->width, 500);
    EXPECT_EQ(plan->height, 900);
    // The cut's left lower corner stood at (15, 1020 - 7 - 900).
    EXPECT_EQ(plan->x(15), 0);
    EXPECT_EQ(plan->y(113), 0);
    EXPECT_TRUE(plan->moves());
    EXPECT_FALSE(PDFBoxPlan::make(QRectF(0, 0, 600, 1000), 1, {QRectF(0, 0, 600, 1000)})->moves());
}

TEST(PDFBoxPlan, TakesTheCutFromTheEnlargedPage) {
    const auto plan = PDFBoxPlan::make(QRectF(0, 0, 600, 1000), 1, {QRectF(40, 20, 800, 1200), 2});
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->scale, 2);
    EXPECT_EQ(plan->width, 800);
    // Its left upper corner was (20, 990), its lower edge 600 below.
    EXPECT_EQ(plan->x(20), 0);
    EXPECT_EQ(plan->y(390), 0);
    EXPECT_EQ(plan->contentMatrix(), "2 0 0 2 -40 -780 cm\n");
    for (const double factor : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_FALSE(PDFBoxPlan::make(QRectF(0, 0, 600, 1000), 1, {QRectF(0, 0, 10, 10), factor}));
}

TEST(PDFBoxPlan, KeepsTheTrueSizeWhateverTheUnits) {
    const auto plan = PDFBoxPlan::make(QRectF(0, 0, 300, 10000), 2, {QRectF(0, 0, 600, 30000)});
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->userUnit, 4);
    EXPECT_EQ(plan->scale, .5);
    EXPECT_EQ(plan->width * plan->userUnit, 600);
    EXPECT_EQ(plan->height * plan->userUnit, 30000);
    // The paper's top was at 10000 old units; it still is the top.
    EXPECT_EQ(plan->y(10000), plan->height);
}
