// SPDX-License-Identifier: MIT
#include "ZRKit/Service/ZRConvertHTML.h"

#include "platform/pdf/PDFDocument.h"
#include "tests/support/LogCapture.h"

#include <QElapsedTimer>
#include <QFile>
#include <gtest/gtest.h>

TEST(ZRConvertHTML, AStringIsConvertedToOnePage) {
    const ZRConvertHTML converter(QStringLiteral("<!doctype html><h1>Hello"), QStringLiteral("public.html"));
    const PDFDocument pdf(converter.pdfData());
    ASSERT_FALSE(pdf.isNil());
    EXPECT_EQ(pdf.pageCount(), 1);
    EXPECT_EQ(pdf.pageBox(0).width(), 800);
}
