// SPDX-License-Identifier: MIT
#include "platform/documents/WebDocumentTraits.h"

#include <QElapsedTimer>
#include <QString>
#include <gtest/gtest.h>

using namespace zr::WebDocumentTraits;

TEST(WebDocumentTraits, FontsAreLoadedForFontFacesAndImports) {
    for (const char *yes : {"<style>@font-face{}</style>", "@FONT-FACE {", "@import 'x'", "@f\\6fnt-face{}"})
        EXPECT_TRUE(mayLoadFonts(QString::fromUtf8(yes))) << yes;
    for (const char *no : {"", "font-face", "a@b.example", "@media print{}", "@"})
        EXPECT_FALSE(mayLoadFonts(QString::fromUtf8(no))) << no;
}

TEST(WebDocumentTraits, TracesAreLeftByWhatActsOnThePage) {
    for (const char *yes : {"<meta http-equiv=Content-Security-Policy content=x>",
                            "<META NAME=referrer content=origin>",
                            "<meta name='color-scheme' content=dark>",
                            "<meta name='&#114;eferrer'>",
                            "<meta>",
                            "<meta content=x",
                            "<meta charset=utf-8 http-equiv=refresh>",
                            "<base href=x>",
                            "<iframe>",
                            "<frameset>",
                            "<object>",
                            "<embed>",
                            "<link rel=x>",
                            "<video>",
                            "<script>",
                            "<input AutoFocus>",
                            "<template>",
                            "<meta name=viewport name=referrer>",
                            "<meta name=viewport <meta http-equiv=refresh>",
                            "<meta\nname\n=\n\"theme-color\">",
                            "<meta name=author content=\"a>b\" http-equiv=refresh>",
                            "<meta name=author content='a>b' name=referrer>",
                            "<meta name=author a=b\"c d=\"x>y\" http-equiv=refresh>",
                            "<meta name=author a=b=\"c d='e\" f>g' http-equiv=refresh>",
                            "<meta name=author a=\v\"x d='y\" >z' http-equiv=refresh>"})
        EXPECT_TRUE(mayLeaveTraces(QString::fromUtf8(yes))) << yes;
    for (const char *no : {"", "<p>text", "<meta charset=utf-8>", "<META CHARSET='utf-8'/>",
                           "<meta name=viewport content='width=1'>",
                           "<meta http-equiv='Content-Type' content='text/html; charset=utf-8'>",
                           "<meta content=x name=author>", "<", "<meta name=\"description\" content=\"a\">",
                           "<table><tr><td>", "<!-- base -->"})
        EXPECT_FALSE(mayLeaveTraces(QString::fromUtf8(no))) << no;
}

TEST(WebDocumentTraits, ReloadsComeFromMetaElements) {
    for (const char *yes : {"<meta http-equiv=refresh content=0>",
                            "<meta http-equiv='&#114;efresh' content=0>", "<META\tHTTP-EQUIV = \"Refresh\">"})
        EXPECT_TRUE(mayReload(QString::fromUtf8(yes))) << yes;
    for (const char *no : {"refresh", "<meta charset=utf-8>", "<p http-equiv=refresh>"})
        EXPECT_FALSE(mayReload(QString::fromUtf8(no))) << no;
}

TEST(WebDocumentTraits, TextThatIsNoValidUTF16CouldBeAnything) {
    const QString text = QChar(0xD800) + QStringLiteral("<p>text");
    EXPECT_TRUE(mayLoadFonts(text) && mayLeaveTraces(text) && mayReload(text) && mayDependOnAddress(text));
}

TEST(WebDocumentTraits, HostileMarkupIsLookedThroughInItsOrder) {
    for (const char *piece : {"<a ", "href ", "<a href ", "<b href ", "<meta ", "<meta name=author ", "url(",
                              "src", "@ ", "\"'", "<!--", "</"}) {
        const QString markup = QString::fromLatin1(piece).repeated((4 << 20) / qstrlen(piece));
        QElapsedTimer timer;
        timer.start();
        mayLoadFonts(markup);
        mayLeaveTraces(markup);
        mayDependOnAddress(markup);
        EXPECT_EQ(withoutReloads(markup), markup);
        EXPECT_LT(timer.elapsed(), 10000) << piece;
    }
}

TEST(WebDocumentTraits, ReloadsAreMadeHarmlessAndNothingElseIsTouched) {
    static constexpr struct {
        const char *before, *after;
    } cases[] = {
        {"<meta http-equiv=refresh content=0><p>x", "<meta xttp-equiv=refresh content=0><p>x"},
        {"<META\nContent='0;url=a>b' HTTP-EQUIV = \"Refresh\"/>",
         "<META\nContent='0;url=a>b' xTTP-EQUIV = \"Refresh\"/>"},
        {"<meta/http-equiv='&#114;efresh'/content=0", "<meta/xttp-equiv='&#114;efresh'/content=0"},
        {"<noscript><meta http-equiv=refresh></noscript>", "<noscript><meta xttp-equiv=refresh></noscript>"},
        {"<!--<meta http-equiv=refresh>--><meta http-equiv=refresh>",
         "<!--<meta http-equiv=refresh>--><meta xttp-equiv=refresh>"},
        {"<p title='<meta http-equiv=refresh>'>", "<p title='<meta http-equiv=refresh>'>"},
        {"<textarea><meta http-equiv=refresh></textarea>", "<textarea><meta http-equiv=refresh></textarea>"},
        {"<title><meta http-equiv=refresh></TITLE><meta http-equiv=refresh>",
         "<title><meta http-equiv=refresh></TITLE><meta xttp-equiv=refresh>"},
        {"<meta http-equiv=content-language content=refresh>",
         "<meta http-equiv=content-language content=refresh>"},
        {"<metadata http-equiv=refresh><p http-equiv=refresh>",
         "<metadata http-equiv=refresh><p http-equiv=refresh>"},
        {"<meta http-equiv", "<meta http-equiv"},
        {"<meta http-equiv=", "<meta http-equiv="},
        {"<meta http-equiv='refresh", "<meta xttp-equiv='refresh"},
        {"<", "<"},
        {"<style>", "<style>"},
        {"", ""},
    };
    for (const auto &each : cases)
        EXPECT_EQ(withoutReloads(QString::fromUtf8(each.before)), QString::fromUtf8(each.after))
            << each.before;
}

TEST(WebDocumentTraits, ReferencesDependOnTheAddress) {
    for (const char *yes : {"<img src=x>",
                            "<img SRC = x>",
                            "<img srcset='a 1x'>",
                            "<a href=page.html>",
                            "<a href='#top'>",
                            "<a href=''>",
                            "<link href=http://example.org/>",
                            "<area href='http://example.org/'>",
                            "<svg><use href='#a'>",
                            "<svg><image xlink:href=x>",
                            "<svg><image><animate attributeName=href to=x>",
                            "p{background:url(x.png)}",
                            "p{background:URL( 'x' )}",
                            "@import 'x'",
                            "p{background:image-set('x' 1x)}",
                            "<body background=x>",
                            "<video poster=x>",
                            "<base>",
                            "<iframe>",
                            "<object>",
                            "u\\72l(x)",
                            "<?xml version='1.0'?>",
                            "<meta http-equiv=refresh content='0;url=x'>",
                            "<frame>",
                            "<embed>",
                            "<link imagesrcset=x>",
                            "<a\nhref=\"../x\">",
                            "<p style='background:url(//example.org/x)'>"})
        EXPECT_TRUE(mayDependOnAddress(QString::fromUtf8(yes))) << yes;
    for (const char *no :
         {"", "<p>text", "<a href='https://example.org/'>x</a>", "<a class=b href=mailto:a@example.org>",
          "<a name=x>", "p{background:#fff}", "p{background:url(data:image/png;base64,AA)}",
          "p{fill:url(#gradient)}", "<p data-x=1>", "a source of text",
          "<meta http-equiv=content-type content='text/html'>", "<td bgcolor=red>",
          "<style>@media print{}</style>"})
        EXPECT_FALSE(mayDependOnAddress(QString::fromUtf8(no))) << no;
}
