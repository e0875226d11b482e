// SPDX-License-Identifier: MIT
#include "platform/values/NSLog.h"

#include "tests/support/LogCapture.h"

#include <clocale>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <random>
#include <string>

TEST(NSLog, FillsTheFormatInOrder) {
    EXPECT_EQ(NSFormat("==> XPC work on task %@#%d", {QStringLiteral("A"), 7}),
              QStringLiteral("==> XPC work on task A#7"));
    EXPECT_EQ(NSFormat("100%% %s", {"sure"}), QStringLiteral("100% sure"));
    EXPECT_EQ(NSFormat("%@", {QVariant()}), QStringLiteral("(null)"));
    EXPECT_EQ(NSFormat("%@", {QString()}), QStringLiteral("(null)"));
    EXPECT_EQ(NSFormat("%@", {NSError()}), QStringLiteral("(null)"));
    EXPECT_EQ(NSFormat("no arguments", {}), QStringLiteral("no arguments"));
    EXPECT_EQ(NSFormat("ends in %", {}), QStringLiteral("ends in %"));
}

TEST(NSLog, ArgumentsThatLookLikeFormatsStayAsTheyAre) {
    EXPECT_EQ(NSFormat("%@ %@", {QStringLiteral("%@"), QStringLiteral("%1")}), QStringLiteral("%@ %1"));
}

TEST(NSLog, WritesTheLineUnchangedThroughTheMessageHandler) {
    const LogCapture log;
    NSLog("!!! XPC Error: %@", QStringLiteral("x\ny %@"));
    EXPECT_EQ(log.lines(), QStringList{QStringLiteral("!!! XPC Error: x\ny %@")});
}

/// What the C library makes of the format and its argument.
template <typename Argument>
QString printed(const QByteArray &format, Argument argument) {
    const int size = std::snprintf(nullptr, 0, format.constData(), argument);
    QByteArray text(size + 1, '\0');
    std::snprintf(text.data(), size_t(text.size()), format.constData(), argument);
    text.chop(1);
    return QString::fromLatin1(text);
}

template <typename Argument>
void expectAsPrinted(const QByteArray &format, Argument argument) {
    ASSERT_EQ(NSFormat(format.constData(), {argument}), printed(format, argument)) << format.constData();
}

TEST(NSFormat, IsTheCLibrarysOnRandomDirectivesAndArguments) {
    std::mt19937_64 random(20240501);
    const auto upTo = [&](quint64 most) { return random() % (most + 1); };
    for (int i = 0; i < 20000; ++i) {
        QByteArray start = "<%";
        for (const char flag : {'-', '+', ' ', '#', '0'})
            start += upTo(3) == 0 ? QByteArray(1, flag) : QByteArray();
        start += upTo(1) ? QByteArray::number(upTo(30)) : QByteArray();
        if (upTo(1))
            start += '.' + (upTo(3) ? QByteArray::number(upTo(20)) : QByteArray());
        const auto integer = qint64(random()) >> upTo(63);
        const char real = "fFeEgGaA"[upTo(7)];
        const char whole = "diuxXo"[upTo(5)];
        switch (upTo(8)) {
        case 0:
            expectAsPrinted(start + whole + '>', int(integer));
            break;
        case 1:
            expectAsPrinted(start + "ll" + whole + '>', qlonglong(integer));
            break;
        case 2:
            expectAsPrinted(start + "l" + whole + '>', long(integer));
            break;
        case 3:
            expectAsPrinted(start + "hh" + whole + '>', int(integer));
            break;
        case 4:
            expectAsPrinted(start + "h" + whole + '>', int(integer));
            break;
        case 5:
            expectAsPrinted(start + "z" + whole + '>', size_t(integer));
            break;
        case 6:
            expectAsPrinted(start + real + '>', std::ldexp(double(integer), int(upTo(200)) - 100));
            break;
        case 7:
            expectAsPrinted(start + whole + '>', unsigned(integer));
            break;
        default:
            expectAsPrinted(start + "s>", upTo(1) ? "some text" : "");
        }
        if (HasFatalFailure())
            return;
    }
    for (const double special : {0.0, -0.0, HUGE_VAL, -HUGE_VAL, std::nan("")})
        expectAsPrinted("%+08.2f", special);
    int there = 0;
    expectAsPrinted("%20p", static_cast<void *>(&there));
}

TEST(NSFormat, WidthAndPrecisionMayBeArguments) {
    EXPECT_EQ(NSFormat("%*.*f|", {8, 2, 3.14159}), QStringLiteral("    3.14|"));
    EXPECT_EQ(NSFormat("%-*d|%*d|", {4, 7, -4, 7}), QStringLiteral("7   |7   |"));
    EXPECT_EQ(NSFormat("%.*s", {3, "abcdef"}), QStringLiteral("abc"));
}

TEST(NSFormat, ArgumentsMayBeNamedByTheirNumber) {
    EXPECT_EQ(NSFormat("%2$@ %1$@ %2$03d", {QStringLiteral("a"), 7}), QStringLiteral("7 a 007"));
}

TEST(NSFormat, TakesEveryArgumentInEveryDirective) {
    EXPECT_EQ(NSFormat("%d %d %d", {2.9, QStringLiteral("12abc"), QVariant(true)}), QStringLiteral("2 12 1"));
    EXPECT_EQ(NSFormat("%.1f %.1f", {3, QStringLiteral("2.25x")}), QStringLiteral("3.0 2.2"));
    EXPECT_EQ(NSFormat("%d", {qint64(1) << 40}), QStringLiteral("1099511627776"));
    EXPECT_EQ(NSFormat("%@ %@ %@ %@", {0.1f, 1e21, true, QVariant(QVariantList{1})}),
              QStringLiteral("0.1 1e+21 1 (\n    1\n)"));
    EXPECT_EQ(NSFormat("%@%c%C%s%d", {u'\u00e4', 'b', 0x20ac, QChar(u'c'), 'd'}),
              QStringLiteral("\u00e4b\u20acc100"));
    EXPECT_EQ(NSFormat("%5@|%-5@|%.2s", {u"ab", u8"\u00e4", QStringView(u"xyz")}),
              QStringLiteral("   ab|\u00e4    |xy"));
    EXPECT_EQ(NSFormat("%D %U %O %X", {1, 2, 8, 255}), QStringLiteral("1 2 10 FF"));
}

TEST(NSFormat, WhatIsNoDirectiveStandsForItself) {
    EXPECT_EQ(NSFormat("100% sure", {}), QStringLiteral("100ure")) << "which begins one with a flag";
    EXPECT_EQ(NSFormat("%y %! %d", {1}), QStringLiteral("%y %! 1"));
    EXPECT_EQ(NSFormat("[%d][%@]", {1}), QStringLiteral("[1][]")) << "a missing argument is empty";
}

TEST(NSFormat, KeepsItsPointInEveryLocale) {
    const char *before = std::setlocale(LC_NUMERIC, nullptr);
    const std::string name = before;
    // Where none with a comma is installed this is the C locale, and nothing is shown.
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    EXPECT_EQ(NSFormat("%.2f", {1.5}), QStringLiteral("1.50"));
    std::setlocale(LC_NUMERIC, name.c_str());
}
