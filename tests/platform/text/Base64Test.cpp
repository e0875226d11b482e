// SPDX-License-Identifier: MIT
#include "platform/text/Base64.h"

#include <array>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <vector>

namespace {

using namespace zr;

QByteArray randomBytes(std::mt19937 &random, qsizetype size) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (char &c : bytes)
        c = char(random());
    return bytes;
}

constexpr std::u16string_view alphabet = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

QString randomText(std::mt19937 &random, qsizetype size) {
    QString text(size, Qt::Uninitialized);
    for (QChar &c : text)
        c = alphabet[random() % alphabet.size()];
    return text;
}

/// The lenient decoding as its definition reads, unit by unit.
QByteArray lenientReference(const QString &text) {
    QByteArray bytes("");
    std::vector<int> pending;
    for (const QChar c : text) {
        if (QStringView(u" \t\n\v\f\r=").contains(c))
            continue;
        const size_t value = alphabet.find(c.unicode());
        if (value == std::u16string_view::npos)
            return {};
        pending.push_back(int(value));
        if (pending.size() == 4) {
            bytes.append(char(pending[0] << 2 | pending[1] >> 4));
            bytes.append(char(pending[1] << 4 | pending[2] >> 2));
            bytes.append(char(pending[2] << 6 | pending[3]));
            pending.clear();
        }
    }
    if (pending.size() == 1)
        return {};
    if (pending.size() >= 2)
        bytes.append(char(pending[0] << 2 | pending[1] >> 4));
    if (pending.size() == 3)
        bytes.append(char(pending[1] << 4 | pending[2] >> 2));
    return bytes;
}

/// The strict-length decoding as its definition reads.
QByteArray lengthReference(const QString &text) {
    for (const QChar c : text) {
        if (c.unicode() > 127)
            return {};
    }
    if (text.size() % 4 != 0)
        return {};
    qsizetype length = text.size();
    while (length > 0 && text[length - 1] == u'=')
        --length;
    QByteArray bytes(3 * length / 4, '\0');
    qsizetype written = 0;
    const auto write = [&](int byte) {
        if (written < bytes.size())
            bytes[written++] = char(byte);
    };
    for (qsizetype i = 0; i < length; i += 4) {
        std::array<char16_t, 4> group{};
        std::array<int, 4> value{};
        for (qsizetype k = 0; k < 4; ++k) {
            group[size_t(k)] = i + k < length ? text[i + k].unicode() : u'=';
            const size_t found = alphabet.find(group[size_t(k)]);
            value[size_t(k)] = found == std::u16string_view::npos ? 63 : int(found);
        }
        write(value[0] << 2 | value[1] >> 4);
        if (group[2] != u'=') {
            write(value[1] << 4 | value[2] >> 2);
            if (group[3] != u'=')
                write(value[2] << 6 | value[3]);
        }
    }
    return bytes;
}

/// The reference's answer, nil if it gives nil.
void expectLenient(const QString &text) {
    const QByteArray expected = lenientReference(text);
    const QByteArray actual = Base64::decodedLeniently(text);
    ASSERT_EQ(actual.isNull(), expected.isNull()) << text.toStdString();
    ASSERT_EQ(actual, expected) << text.toStdString();
}

void expectByLength(const QString &text) {
    const QByteArray expected = lengthReference(text);
    const QByteArray actual = Base64::decodedByLength(text);
    ASSERT_EQ(actual.isNull(), expected.isNull()) << text.toStdString();
    ASSERT_EQ(actual, expected) << text.toStdString();
}

TEST(Base64, TextsOfRFC4648AreEncodedAndDecoded) {
    const std::array<std::pair<const char *, const char *>, 7> vectors{{{"", ""},
                                                                        {"f", "Zg=="},
                                                                        {"fo", "Zm8="},
                                                                        {"foo", "Zm9v"},
                                                                        {"foob", "Zm9vYg=="},
                                                                        {"fooba", "Zm9vYmE="},
                                                                        {"foobar", "Zm9vYmFy"}}};
    for (const auto &[plain, coded] : vectors) {
        const QString text = QString::fromLatin1(coded);
        EXPECT_EQ(Base64::encoded(plain), text);
        EXPECT_FALSE(Base64::encoded(plain).isNull());
        EXPECT_EQ(Base64::decodedLeniently(text), plain);
        EXPECT_EQ(Base64::decodedByLength(text), plain);
        EXPECT_FALSE(Base64::decodedByLength(text).isNull());
    }
}

TEST(Base64, EncodesAsQtDoesAtEveryLength) {
    std::mt19937 random(1);
    for (qsizetype size = 0; size < 400; ++size) {
        const QByteArray bytes = randomBytes(random, size);
        const QString expected = QString::fromLatin1(bytes.toBase64());
        const QString text = Base64::encoded(bytes);
        ASSERT_EQ(text, expected) << size;
        ASSERT_EQ(Base64::decodedLeniently(text), bytes) << size;
        ASSERT_EQ(Base64::decodedByLength(text), bytes) << size;
    }
}

TEST(Base64, EveryTripleOfBytesSurvives) {
    QByteArray bytes(3 * 65536, Qt::Uninitialized);
    for (int high = 0; high < 256; high += 5) {
        for (int i = 0; i < 65536; ++i) {
            bytes[3 * i] = char(high);
            bytes[3 * i + 1] = char(i >> 8);
            bytes[3 * i + 2] = char(i);
        }
        const QString expected = QString::fromLatin1(bytes.toBase64());
        ASSERT_EQ(Base64::encoded(bytes), expected);
        ASSERT_EQ(Base64::decodedLeniently(expected), bytes);
        ASSERT_EQ(Base64::decodedByLength(expected), bytes);
    }
}

TEST(Base64, EveryUnitIsJudgedAlikeAtEveryPlace) {
    const QString plain = QString(96, u'Q');
    for (qsizetype place : {0, 1, 2, 3, 15, 16, 30, 31, 33, 47, 50, 64, 90, 92, 93, 94, 95}) {
        for (char32_t unit = 0; unit < 0x10000; unit += unit < 0x300 || unit > 0xff00 ? 1 : 127) {
            QString text = plain;
            text[place] = char16_t(unit);
            expectLenient(text);
            expectByLength(text);
        }
    }
}

TEST(Base64, RandomDamageIsDecodedByTheDefinition) {
    std::mt19937 random(2);
    constexpr std::u16string_view odd = u"==== \t\n\v\f\r-_@é\0\u00ff\u0100\u4142\u8000\uffff";
    for (int round = 0; round < 20000; ++round) {
        QString text = randomText(random, qsizetype(random() % 200));
        for (unsigned faults = random() % 5; faults > 0 && !text.isEmpty(); --faults) {
            const QChar unit = odd[random() % odd.size()];
            const qsizetype place = qsizetype(random() % size_t(text.size()));
            if (random() % 2)
                text[place] = unit;
            else
                text.insert(place, QString(qsizetype(random() % 4), unit));
        }
        expectLenient(text);
        expectByLength(text);
        if (HasFatalFailure())
            return;
    }
}

TEST(Base64, TextsOfOddCharactersOnlyAreDecodedByTheDefinition) {
    std::mt19937 random(3);
    for (int round = 0; round < 20000; ++round) {
        QString text(qsizetype(random() % 120), Qt::Uninitialized);
        for (QChar &c : text)
            c = random() % 3 ? QChar(u'=') : random() % 2 ? QChar(u' ') : QChar(u'A');
        expectLenient(text);
        expectByLength(text);
        if (HasFatalFailure())
            return;
    }
}

TEST(Base64, LinesOfAnyLengthAreRead) {
    std::mt19937 random(4);
    const QByteArray bytes = randomBytes(random, 3000);
    const QString text = Base64::encoded(bytes);
    for (const qsizetype line : {1, 2, 3, 4, 5, 19, 64, 75, 76, 77, 78, 1000}) {
        for (const auto &lineEnd :
             {QStringLiteral("\n"), QStringLiteral("\r\n"), QStringLiteral(" \t\v\f\n")}) {
            QString lines;
            for (qsizetype at = 0; at < text.size(); at += line)
                lines += text.mid(at, line) + lineEnd;
            EXPECT_EQ(Base64::decodedLeniently(lines), bytes) << line;
        }
    }
}

TEST(Base64, WhatIncompleteGroupsLeaveUnfilledIsZero) {
    EXPECT_EQ(Base64::decodedByLength(u"QQ==TWFu"), QByteArray("AMan\0\0", 6));
    EXPECT_EQ(Base64::decodedByLength(u"QUI=TWFu"), QByteArray("ABMan\0", 6));
    EXPECT_EQ(Base64::decodedByLength(u"TWFuT==="), "Man");
    EXPECT_EQ(Base64::decodedByLength(u"T==="), "");
    EXPECT_FALSE(Base64::decodedByLength(u"T===").isNull());
    EXPECT_EQ(Base64::decodedByLength(u"===="), "");
    EXPECT_FALSE(Base64::decodedByLength(u"====").isNull());
}

TEST(Base64, DecodedDataIsTheOneBufferThatWasReserved) {
    const QString text = QString(40'000, u'A') + QString(40'000, u'\n');
    const QByteArray data = Base64::decodedLeniently(text);
    EXPECT_EQ(data.size(), 30'000);
    EXPECT_GE(data.capacity(), 60'000);
}

} // namespace
