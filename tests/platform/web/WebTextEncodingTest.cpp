// SPDX-License-Identifier: MIT
#include "platform/documents/WebTextEncoding.h"

#include "tests/platform/print/BrowserPage.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <algorithm>
#include <gtest/gtest.h>

using namespace zr;

namespace {

/// The engine's own decoder, fed many byte sequences at once.
class EngineDecoder {
public:
    QStringList decode(const QByteArray &label, const QByteArrayList &sequences) {
        QJsonArray encoded;
        for (const QByteArray &sequence : sequences)
            encoded.append(QString::fromLatin1(sequence.toBase64()));
        // Code units as numbers: a string could not carry a lone surrogate through JSON.
        const QString expression =
            QStringLiteral("(list => list.map(text => {"
                           "const bytes = Uint8Array.from(atob(text), c => c.charCodeAt(0));"
                           "return new TextDecoder('%1', {ignoreBOM: true}).decode(bytes); }))(%2)")
                .arg(QString::fromLatin1(label),
                     QString::fromUtf8(QJsonDocument(encoded).toJson(QJsonDocument::Compact)));
        QStringList decoded;
        for (const QJsonValue &value : m_page.evaluate(expression).toArray())
            decoded.append(value.toString());
        return decoded;
    }
    BrowserPage &page() { return m_page; }

private:
    BrowserPage m_page;
};

QByteArray hex(const QString &text) {
    QByteArray out;
    for (const QChar c : text)
        out += QByteArray::number(c.unicode(), 16) + ' ';
    return out;
}

void expectSameAsEngine(EngineDecoder &engine, const QByteArray &label, const QByteArrayList &sequences) {
    const QStringList expected = engine.decode(label, sequences);
    ASSERT_EQ(expected.size(), sequences.size()) << label.constData();
    const WebTextEncoding encoding = WebTextEncodingForLabel(label);
    int differences = 0;
    for (qsizetype i = 0; i < sequences.size() && differences < 10; ++i) {
        const QString text = WebDecodeText(sequences[i], encoding);
        if (text != expected[i]) {
            ++differences;
            ADD_FAILURE() << label.constData() << " bytes " << sequences[i].toHex(' ').constData()
                          << ": ours " << hex(text).constData() << "engine " << hex(expected[i]).constData();
        }
    }
}

QByteArrayList singleByteLabels() {
    QByteArrayList labels{"ibm866",      "koi8-r",         "koi8-u",         "macintosh",
                          "windows-874", "x-mac-cyrillic", "x-user-defined", "iso-8859-8-i"};
    for (const int part : {2, 3, 4, 5, 6, 7, 8, 10, 13, 14, 15, 16})
        labels.append("iso-8859-" + QByteArray::number(part));
    for (int page = 1250; page <= 1258; ++page)
        labels.append("windows-" + QByteArray::number(page));
    return labels;
}

const QByteArrayList multiByteLabels{"gbk", "gb18030", "big5", "euc-jp", "shift_jis", "euc-kr"};

} // namespace

TEST(WebTextEncoding, EveryLabelMeansWhatItMeansToTheEngine) {
    BrowserPage page;
    const QByteArrayList labels = WebTextEncodingLabels();
    EXPECT_EQ(labels.size(), 228);
    for (const QByteArray &label : labels) {
        const WebTextEncoding encoding = WebTextEncodingForLabel(label);
        const QString name =
            page.evaluate(QStringLiteral("(() => { try { return new TextDecoder('%1').encoding } "
                                         "catch (e) { return e.name } })()")
                              .arg(QString::fromLatin1(label)))
                .toString();
        // The engine's decoder for scripts refuses the replacement encoding, as its standard demands.
        const QString expected = encoding == WebTextEncoding::Replacement
                                     ? QStringLiteral("RangeError")
                                     : QString::fromLatin1(WebTextEncodingName(encoding).toLower());
        EXPECT_EQ(name, expected) << label.constData();
    }
}

TEST(WebTextEncoding, LabelsIgnoreCaseAndBlanksAroundThem) {
    EXPECT_EQ(WebTextEncodingForLabel(" \tUTF-8\r\n"), WebTextEncoding::UTF8);
    EXPECT_EQ(WebTextEncodingForLabel("Latin1"), WebTextEncoding::Windows1252);
    EXPECT_EQ(WebTextEncodingForLabel("utf 8"), WebTextEncoding::None);
    EXPECT_EQ(WebTextEncodingForLabel("utf-7"), WebTextEncoding::None);
    EXPECT_EQ(WebTextEncodingForLabel(""), WebTextEncoding::None);
    EXPECT_EQ(WebTextEncodingForLabel(QByteArray(100000, 'a')), WebTextEncoding::None);
    EXPECT_EQ(WebTextEncodingName(WebTextEncoding::None), QByteArray());
}

TEST(WebTextEncoding, SingleBytesDecodeAsInTheEngine) {
    EngineDecoder engine;
    QByteArrayList bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes.append(QByteArray(1, char(byte)));
    for (const QByteArray &label : singleByteLabels())
        expectSameAsEngine(engine, label, bytes);
}

TEST(WebTextEncoding, PairsOfBytesDecodeAsInTheEngine) {
    EngineDecoder engine;
    QByteArrayList pairs;
    for (int lead = 0x80; lead < 256; ++lead) {
        for (int trail = 0; trail < 256; ++trail)
            pairs.append(QByteArray{}.append(char(lead)).append(char(trail)).append('\n'));
    }
    // The engine gives two unrelated code units for these; the standard has a letter and a combining mark.
    const QByteArrayList combined{"\x88\x62\n", "\x88\x64\n", "\x88\xA3\n", "\x88\xA5\n"};
    for (const QByteArray &label : multiByteLabels) {
        QByteArrayList compared = pairs;
        if (label == "big5")
            compared.removeIf([&](const QByteArray &pair) { return combined.contains(pair); });
        expectSameAsEngine(engine, label, compared);
    }
    EXPECT_EQ(WebDecodeText(combined.join(), WebTextEncoding::Big5),
              QString::fromUtf8("\u00CA\u0304\n\u00CA\u030C\n\u00EA\u0304\n\u00EA\u030C\n"));
}

TEST(WebTextEncoding, LongerSequencesDecodeAsInTheEngine) {
    EngineDecoder engine;
    QByteArrayList triples, quadruples;
    for (int a = 0x80; a < 256; ++a) {
        for (int b = 0x80; b < 256; ++b)
            triples.append(QByteArray("\x8F").append(char(a)).append(char(b)).append('\n'));
    }
    expectSameAsEngine(engine, "euc-jp", triples);
    for (int pointer = 0; pointer < 39420; pointer += 1) {
        quadruples.append(QByteArray{}
                              .append(char(0x81 + pointer / 12600))
                              .append(char(0x30 + pointer / 1260 % 10))
                              .append(char(0x81 + pointer / 10 % 126))
                              .append(char(0x30 + pointer % 10)));
    }
    for (int lead = 0x84; lead <= 0xFE; ++lead)
        quadruples.append(QByteArray{}
                              .append(char(lead))
                              .append("7\x95"
                                      "2"));
    expectSameAsEngine(engine, "gb18030", quadruples);
}

TEST(WebTextEncoding, RandomAndBrokenBytesDecodeAsInTheEngine) {
    EngineDecoder engine;
    QRandomGenerator random(20240229);
    const auto sequences = [&](const QByteArray &alphabet) {
        QByteArrayList made;
        for (int i = 0; i < 1500; ++i) {
            QByteArray sequence;
            for (int n = random.bounded(1, 12); n > 0; --n) {
                sequence += !alphabet.isEmpty() && random.bounded(3)
                                ? alphabet[random.bounded(alphabet.size())]
                                : char(random.bounded(256));
            }
            made.append(sequence + "\n");
        }
        return made;
    };
    for (const QByteArray &label : multiByteLabels) {
        QByteArrayList compared = sequences("\x81\x30\x8E\xA1\xB0\xFE\x40\x7E");
        // After a broken three-byte sequence the engine stays in the other character set.
        if (label == "euc-jp")
            compared.removeIf([](const QByteArray &sequence) { return sequence.contains('\x8F'); });
        expectSameAsEngine(engine, label, compared);
    }
    QByteArrayList escapes = sequences("\x1B\x1B$(BJI@!0A");
    // After a broken escape the engine drops a byte that is no ASCII; the standard makes it an error.
    escapes.removeIf([](const QByteArray &sequence) {
        return std::any_of(sequence.begin(), sequence.end(), [](char c) { return uchar(c) >= 0x80; });
    });
    EXPECT_GT(escapes.size(), 200);
    expectSameAsEngine(engine, "iso-2022-jp", escapes);
    expectSameAsEngine(engine, "utf-8",
                       sequences("\xC3\xA9\xE2\x82\xAC\xED\xA0\xF0\x9F\x98\x80\xEF\xBF\xBD\xF4\x90"));
    expectSameAsEngine(engine, "utf-16le", sequences(QByteArray("\xD8\xDC\0A", 4)));
    expectSameAsEngine(engine, "utf-16be", sequences(QByteArray("\xD8\xDC\0A", 4)));
    expectSameAsEngine(engine, "utf-8", {"\xE2", "\xF0\x9F\x98", "a\xE2\x82"});
    expectSameAsEngine(engine, "utf-16le",
                       {"a", QByteArray("a\0\x3D\xD8", 4), QByteArray("\x3D\xD8\x41", 3)});
}

TEST(WebTextEncoding, BrokenSequencesEndWhereTheyBreak) {
    EXPECT_EQ(WebDecodeText("\x8F\xB0\x40\xA4\xA2", WebTextEncoding::EUC_JP), QString::fromUtf8("\uFFFD@あ"));
    EXPECT_EQ(WebDecodeText("\x8F\xB0", WebTextEncoding::EUC_JP), QString::fromUtf8("\uFFFD"));
    EXPECT_EQ(WebDecodeText("\x1B$\xAE\x40", WebTextEncoding::ISO2022_JP),
              QString::fromUtf8("\uFFFD$\uFFFD@"));
    EXPECT_EQ(WebDecodeText("\x1B", WebTextEncoding::ISO2022_JP), QString::fromUtf8("\uFFFD"));
    EXPECT_EQ(WebDecodeText("\x82<b>", WebTextEncoding::ShiftJIS), QString::fromUtf8("\uFFFD<b>"));
}

TEST(WebTextEncoding, ByteOrderMarks) {
    int length = -1;
    EXPECT_EQ(WebTextEncodingOfByteOrderMark("\xEF\xBB\xBFx", &length), WebTextEncoding::UTF8);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(WebTextEncodingOfByteOrderMark(QByteArray("\xFF\xFEx\0", 4), &length),
              WebTextEncoding::UTF16LE);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(WebTextEncodingOfByteOrderMark(QByteArray("\xFE\xFF\0x", 4)), WebTextEncoding::UTF16BE);
    EXPECT_EQ(WebTextEncodingOfByteOrderMark(QByteArray("\xFF\xFE\0\0", 4), &length),
              WebTextEncoding::UTF32LE);
    EXPECT_EQ(length, 4);
    EXPECT_EQ(WebTextEncodingOfByteOrderMark(QByteArray("\0\0\xFE\xFF", 4)), WebTextEncoding::UTF32BE);
    EXPECT_EQ(WebTextEncodingOfByteOrderMark("x", &length), WebTextEncoding::None);
    EXPECT_EQ(length, 0);
}

TEST(WebTextEncoding, UTF32AndTheReplacementEncoding) {
    EXPECT_EQ(WebDecodeText(QByteArray("\0\1\xF6\0", 4), WebTextEncoding::UTF32BE), QString::fromUtf8("😀"));
    EXPECT_EQ(WebDecodeText(QByteArray("\0\xF6\1\0A", 5), WebTextEncoding::UTF32LE),
              QString::fromUtf8("😀\uFFFD"));
    EXPECT_EQ(WebDecodeText(QByteArray("\0\0\xD8\0", 4), WebTextEncoding::UTF32BE),
              QString::fromUtf8("\uFFFD"));
    EXPECT_EQ(WebDecodeText("anything", WebTextEncoding::Replacement), QString::fromUtf8("\uFFFD"));
    EXPECT_EQ(WebDecodeText("", WebTextEncoding::Replacement), QString());
}

TEST(WebTextEncoding, ValidityCountsTheDecodersErrorsOnly) {
    EXPECT_TRUE(WebTextIsValid("\xEF\xBF\xBD", WebTextEncoding::UTF8));
    EXPECT_FALSE(WebTextIsValid("\xEF\xBF", WebTextEncoding::UTF8));
    EXPECT_TRUE(WebTextIsValid("\x82\xA0", WebTextEncoding::ShiftJIS));
    EXPECT_FALSE(WebTextIsValid("\x82", WebTextEncoding::ShiftJIS));
}
