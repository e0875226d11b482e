// SPDX-License-Identifier: MIT
#include "platform/documents/WebDocumentDecoder.h"

#include <QStringEncoder>
#include <gtest/gtest.h>
#include <unicode/ucnv.h>

using Decoder = WebDocumentDecoder;
using Encoding = WebTextEncoding;

namespace {

Encoding declared(const QByteArray &html) {
    return Decoder::declaredEncodingOfHTML(html);
}

QByteArray encode(const char *converter, const char *utf8) {
    const QString text = QString::fromUtf8(utf8);
    UErrorCode status = U_ZERO_ERROR;
    UConverter *icu = ucnv_open(converter, &status);
    QByteArray bytes(text.size() * 8, 0);
    const int32_t size =
        ucnv_fromUChars(icu, bytes.data(), int32_t(bytes.size()),
                        reinterpret_cast<const UChar *>(text.utf16()), int32_t(text.size()), &status);
    EXPECT_TRUE(U_SUCCESS(status)) << converter;
    ucnv_close(icu);
    bytes.truncate(size);
    return bytes;
}

} // namespace

TEST(WebDocumentDecoder, MetaElementsDeclareTheEncoding) {
    EXPECT_EQ(declared("<meta charset=\"iso-8859-2\">"), Encoding::ISO8859_2);
    EXPECT_EQ(declared("<META CHARSET=KOI8-R>"), Encoding::KOI8_R);
    EXPECT_EQ(declared("<meta/charset='shift_jis'/>"), Encoding::ShiftJIS);
    EXPECT_EQ(declared("<meta name=x charset = \" windows-1251 \" >"), Encoding::Windows1251);
    EXPECT_EQ(declared("<html><head><title>x</title><meta http-equiv=\"Content-Type\" content=\"text/html; "
                       "charset=EUC-JP\">"),
              Encoding::EUC_JP);
    EXPECT_EQ(declared("<meta content='text/html;charset = \"big5\"' http-equiv=content-type>"),
              Encoding::Big5);
    EXPECT_EQ(declared("<meta content='charset;charset=gbk' http-equiv=content-type>"), Encoding::GBK);
}

TEST(WebDocumentDecoder, WhatDeclaresNothing) {
    EXPECT_EQ(declared("<meta content=\"text/html; charset=EUC-JP\">"), Encoding::None);
    EXPECT_EQ(declared("<meta http-equiv=refresh content=\"charset=EUC-JP\">"), Encoding::None);
    EXPECT_EQ(declared("<!-- <meta charset=euc-jp> -->"), Encoding::None);
    EXPECT_EQ(declared("<title data-x='<meta charset=euc-jp>'>"), Encoding::None);
    EXPECT_EQ(declared("<metaphor charset=euc-jp>"), Encoding::None);
    EXPECT_EQ(declared("<meta charset=nonsense>"), Encoding::None);
    EXPECT_EQ(declared("</meta charset=euc-jp>"), Encoding::None);
    EXPECT_EQ(declared("<! charset=euc-jp><meta"), Encoding::None);
    EXPECT_EQ(declared("<meta charset"), Encoding::None);
    EXPECT_EQ(declared("<meta charset=\"euc-jp"), Encoding::None);
    EXPECT_EQ(declared(""), Encoding::None);
}

TEST(WebDocumentDecoder, TheFirstMeaningfulDeclarationCounts) {
    EXPECT_EQ(declared("<meta charset=nonsense><meta charset=euc-kr>"), Encoding::EUC_KR);
    EXPECT_EQ(declared("<meta charset=euc-kr><meta charset=big5>"), Encoding::EUC_KR);
    EXPECT_EQ(declared("<meta charset=euc-kr charset=big5>"), Encoding::EUC_KR);
    EXPECT_EQ(declared("<!--><meta charset=euc-kr>"), Encoding::EUC_KR);
    EXPECT_EQ(declared("<a title=\"> <meta charset=big5>\"><meta charset=euc-kr>"), Encoding::EUC_KR);
}

TEST(WebDocumentDecoder, UTF16AndUserDefinedCannotBeDeclaredInside) {
    EXPECT_EQ(declared("<meta charset=utf-16>"), Encoding::UTF8);
    EXPECT_EQ(declared("<meta charset=utf-16be>"), Encoding::UTF8);
    EXPECT_EQ(declared("<meta charset=x-user-defined>"), Encoding::Windows1252);
    EXPECT_EQ(declared("<?xml version='1.0' encoding='utf-16'?>"), Encoding::UTF8);
}

TEST(WebDocumentDecoder, XMLDeclarationsDeclareWhereNoMetaDoes) {
    EXPECT_EQ(declared("<?xml version=\"1.0\" encoding=\"iso-8859-5\"?><html>"), Encoding::ISO8859_5);
    EXPECT_EQ(declared("<?xml version=\"1.0\" encoding=\"iso-8859-5\"?><meta charset=koi8-u>"),
              Encoding::KOI8_U);
    EXPECT_EQ(declared("<?xml version=\"1.0\" encoding = 'big5' ?>"), Encoding::Big5);
    EXPECT_EQ(declared("<?xml version=\"1.0\" encoding=\"iso 8859\"?>"), Encoding::None);
    EXPECT_EQ(declared("<?xml version=\"1.0\"?>"), Encoding::None);
    EXPECT_EQ(declared("<?xml encoding"), Encoding::None);
}

TEST(WebDocumentDecoder, DeclarationsBeyondTheFirstKilobyteCountWithinTheHead) {
    const QByteArray style = "<style>" + QByteArray(5000, ' ') + "</style>";
    EXPECT_EQ(declared("<html><head>" + style + "<meta charset=big5></head><body>"), Encoding::Big5);
    EXPECT_EQ(declared("<html><head>" + style + "</head><body><meta charset=big5>"), Encoding::None);
    EXPECT_EQ(declared("<html><head></head><body><meta charset=big5>"), Encoding::Big5);
}

TEST(WebDocumentDecoder, LongUndeclaredTextIsRecognisedByItsStart) {
    const QByteArray paragraph = encode("ibm-943_P15A-2003", "<p>日本語の文章をここに書きます。</p>");
    for (int shift = 0; shift < 4; ++shift) {
        const QByteArray text = QByteArray(shift, ' ') + paragraph.repeated(3000) + "\x82";
        const WebDecodedText decoded = Decoder::decodeHTML(text);
        EXPECT_EQ(WebTextEncodingName(decoded.encoding), "Shift_JIS");
        EXPECT_TRUE(decoded.text.endsWith(QChar(0xFFFD)));
    }
}

TEST(WebDocumentDecoder, ByteOrderMarkWinsThenTheLabelFromOutsideThenTheDocument) {
    const QByteArray html = "<meta charset=iso-8859-5>\xC3\xA9";
    EXPECT_EQ(Decoder::decodeHTML("\xEF\xBB\xBF" + html, "koi8-r").text.right(1), QString::fromUtf8("é"));
    EXPECT_EQ(Decoder::decodeHTML(html, "utf-8").encoding, Encoding::UTF8);
    EXPECT_EQ(Decoder::decodeHTML(html, "nonsense").encoding, Encoding::ISO8859_5);
    EXPECT_EQ(Decoder::decodeHTML(html).text.right(2), QString::fromUtf8("УЉ"));
    EXPECT_FALSE(Decoder::decodeHTML("\xEF\xBB\xBFx").text.startsWith(QChar(0xFEFF)));
}

TEST(WebDocumentDecoder, UnicodeWithMarksAndUTF16Without) {
    const QString text = QString::fromUtf8("<p>é 日本 😀");
    for (const auto form : {QStringEncoder::Utf8, QStringEncoder::Utf16LE, QStringEncoder::Utf16BE,
                            QStringEncoder::Utf32LE, QStringEncoder::Utf32BE}) {
        QStringEncoder encoder(form, QStringEncoder::Flag::WriteBom);
        const QByteArray bytes = encoder(text);
        EXPECT_EQ(Decoder::decodeHTML(bytes).text, text);
        EXPECT_EQ(Decoder::decodeXML(bytes).text, text);
        EXPECT_EQ(Decoder::decodePlainText(bytes).text, text);
    }
    for (const auto form : {QStringEncoder::Utf16LE, QStringEncoder::Utf16BE}) {
        QStringEncoder encoder(form);
        const QByteArray bytes = encoder(text);
        EXPECT_EQ(Decoder::decodeHTML(bytes).text, text);
    }
}

TEST(WebDocumentDecoder, UndeclaredUTF8IsUTF8) {
    EXPECT_EQ(Decoder::decodeHTML("<p>caf\xC3\xA9").text, QString::fromUtf8("<p>café"));
    EXPECT_EQ(Decoder::decodeHTML("<p>ascii").encoding, Encoding::UTF8);
    EXPECT_EQ(Decoder::decodePlainText("\xE2\x82\xAC").text, QString::fromUtf8("€"));
}

TEST(WebDocumentDecoder, UndeclaredLegacyTextIsRecognised) {
    struct Sample {
        const char *converter;
        Encoding encoding;
        const char *text;
    };
    const Sample samples[] = {
        {"windows-1252", Encoding::Windows1252,
         "<p>Les élèves français étudient à l’école où la bibliothèque a été rénovée cet été.</p>"},
        {"windows-1252", Encoding::Windows1252, "Müller & Söhne – Straße 5, größer"},
        {"windows-1252", Encoding::Windows1252, "Ça va très bien, merci. L’été à la plage"},
        {"windows-1252", Encoding::Windows1252, "el niño y la niña comieron piñas"},
        {"windows-1252", Encoding::Windows1252, "Blåbærsyltetøy på brødskive"},
        {"windows-1251", Encoding::Windows1251,
         "<p>Съешь же ещё этих мягких французских булок да выпей чаю. Быстрая лисица прыгает через "
         "собаку.</p>"},
        {"windows-1251", Encoding::Windows1251, "Привет, мир!"},
        {"windows-1251", Encoding::Windows1251,
         "Счёт на оплату услуг за ноябрь. Итого к оплате: 1200 рублей."},
        {"KOI8-R", Encoding::KOI8_R,
         "<p>Съешь же этих мягких французских булок да выпей чаю. Быстрая лисица прыгает через собаку.</p>"},
        {"KOI8-R", Encoding::KOI8_R, "Привет, мир!"},
        {"windows-1250", Encoding::Windows1250,
         "<p>Zażółć gęślą jaźń, to jest tekst po polsku, a ten śpi.</p>"},
        {"windows-1254", Encoding::Windows1254, "Türkçe bir metin, şöyle böyle değil ığüşöç"},
        {"windows-1255", Encoding::Windows1255, "זהו טקסט בעברית לבדיקת קידוד המסמך"},
        {"windows-1256", Encoding::Windows1256, "هذا نص عربي لاختبار ترميز المستند والكتابة بالعربية"},
        {"ibm-943_P15A-2003", Encoding::ShiftJIS,
         "<p>日本語の文章をここに書きます。文字コードの判定には十分な長さが必要です。カタカナもあります。</"
         "p>"},
        {"ibm-943_P15A-2003", Encoding::ShiftJIS, "日本語"},
        {"ibm-943_P15A-2003", Encoding::ShiftJIS, "テスト文書です。"},
        {"euc-jp-2007", Encoding::EUC_JP, "<p>日本語の文章をここに書きます。カタカナもあります。</p>"},
        {"euc-jp-2007", Encoding::EUC_JP, "日本語のテスト"},
        {"iso-2022-jp", Encoding::ISO2022_JP, "<p>日本語の文章をここに書きます。文字コードの判定です。</p>"},
        {"windows-949-2000", Encoding::EUC_KR,
         "<p>한국어 문장을 여기에 씁니다. 문자 인코딩을 판정하려면 충분한 길이가 필요합니다.</p>"},
        {"windows-949-2000", Encoding::EUC_KR, "한국어 시험 문서"},
        {"ibm-1375_P100-2008", Encoding::Big5, "<p>這是一段繁體中文的文字，用來測試編碼的判定。</p>"},
        {"ibm-1375_P100-2008", Encoding::Big5, "中文測試文件"},
        {"gb18030", Encoding::GB18030, "<p>这是一段简体中文的文字，用来测试编码的判定。</p>"},
        {"gb18030", Encoding::GB18030, "中文测试"},
        {"gb18030", Encoding::GB18030, "这是一份发票，请查收。"},
    };
    for (const Sample &sample : samples) {
        const QByteArray bytes = encode(sample.converter, sample.text);
        const WebDecodedText decoded = Decoder::decodeHTML(bytes);
        EXPECT_EQ(decoded.text.toStdString(), std::string(sample.text)) << sample.converter;
        EXPECT_EQ(WebTextEncodingName(decoded.encoding), WebTextEncodingName(sample.encoding))
            << sample.converter;
    }
}

TEST(WebDocumentDecoder, InDoubtItIsWindows1252) {
    EXPECT_EQ(Decoder::decodeHTML("<p>caf\xE9").text, QString::fromUtf8("<p>café"));
    EXPECT_EQ(Decoder::decodeHTML("\x80").text, QString::fromUtf8("€"));
    EXPECT_EQ(Decoder::decodePlainText("\x93quoted\x94").text, QString::fromUtf8("“quoted”"));
}

TEST(WebDocumentDecoder, MalformedBytesBecomeReplacementCharacters) {
    EXPECT_EQ(Decoder::decodeHTML("<meta charset=utf-8>a\xFF"
                                  "b")
                  .text.right(3),
              QString::fromUtf8("a\uFFFDb"));
    EXPECT_EQ(Decoder::decodeHTML("<meta charset=shift_jis>\x82<b>").text.right(4),
              QString::fromUtf8("\uFFFD<b>"));
}

TEST(WebDocumentDecoder, XMLIsUTF8UnlessItSaysOtherwise) {
    EXPECT_EQ(Decoder::decodeXML("<?xml version='1.0' encoding='iso-8859-1'?><a>\xE9</a>").text.mid(46, 1),
              QString::fromUtf8("é"));
    EXPECT_EQ(Decoder::decodeXML("<a>\xC3\xA9</a>").text, QString::fromUtf8("<a>é</a>"));
    EXPECT_EQ(Decoder::decodeXML("<a>\xE9</a>").text, QString::fromUtf8("<a>\uFFFD</a>"));
    EXPECT_EQ(Decoder::decodeXML("<a>\xE9</a>", "latin1").text, QString::fromUtf8("<a>é</a>"));
}

TEST(WebDocumentDecoder, PlainTextDeclaresNothing) {
    EXPECT_EQ(Decoder::decodePlainText("<meta charset=koi8-r>\xC3\xA9").text,
              QString::fromUtf8("<meta charset=koi8-r>é"));
}

TEST(WebDocumentDecoder, PlainTextMarkupKeepsTheTextAsItIs) {
    const QString markup = Decoder::markupForPlainText(QString::fromUtf8("\na < b & c &lt; <b>é</b>"));
    EXPECT_TRUE(markup.contains(
        QStringLiteral("<pre style=\"word-wrap: break-word; white-space: pre-wrap;\">\n\na &lt; b "
                       "&amp; c &amp;lt; &lt;b>")));
}
