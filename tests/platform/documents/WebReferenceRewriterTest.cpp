// SPDX-License-Identifier: MIT
#include "platform/documents/WebReferenceRewriter.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>

using namespace zr;

namespace {

WebReferenceRewriter rewriter() {
    return WebReferenceRewriter({"cid", "file"}, [](const QByteArray &url, bool isBase) -> QByteArray {
        if (isBase)
            return "BASE";
        if (url == "cid:a")
            return "A";
        if (url == "file:///x?1&2")
            return "X";
        return {};
    });
}

QByteArray markup(const QByteArray &text) {
    return rewriter().rewriteMarkup(text, false);
}

} // namespace

TEST(WebReferenceRewriter, ReplacesInTagsAndStyleElements) {
    EXPECT_EQ(markup("<img src=\"cid:a\"><img src=cid:a><img src='CID:a'>").toLower(),
              "<img src=\"a\"><img src=a><img src='cid:a'>");
    EXPECT_EQ(markup("<a href='cid:a#top'>x</a>"), "<a href='A#top'>x</a>");
    EXPECT_EQ(markup("<img srcset=\"cid:a 1x, cid:b 2x, cid:a, cid:a\">"),
              "<img srcset=\"A 1x, cid:b 2x, A, A\">");
    EXPECT_EQ(markup("<p style=\"background:url(cid:a)\">"), "<p style=\"background:url(A)\">");
    EXPECT_EQ(markup("<style>p{background:url(cid:a)}</style><p>"), "<style>p{background:url(A)}</style><p>");
    EXPECT_EQ(markup("<img src=\"file:///x?1&amp;2\">"), "<img src=\"X\">");
    EXPECT_EQ(markup("<base href=\"file:///dir/\">"), "<base href=\"BASE\">");
    EXPECT_EQ(markup("<?xml-stylesheet href=\"cid:a\"?>"), "<?xml-stylesheet href=\"A\"?>");
}

TEST(WebReferenceRewriter, LeavesWhatAReaderSees) {
    for (const char *text :
         {"<p>cid:a</p>", "cid:a", "<!-- <img src=cid:a> -->", "<script>f('cid:a')</script>",
          "<p title=\"a > b\">cid:a", "1 < 2 cid:a", "<img src=acid:a>", "<img src=cid:ab>",
          "<img src=https://x/cid:b>", "<img", "<", ""})
        EXPECT_EQ(markup(text), text);
}

TEST(WebReferenceRewriter, UnclosedTagsAndQuotesHoldToTheEnd) {
    EXPECT_EQ(markup("<img src=\"cid:a"), "<img src=\"A");
    EXPECT_EQ(markup("<style>url(cid:a)"), "<style>url(A)");
    EXPECT_EQ(markup("<p title=it's><img src=cid:a>"), "<p title=it's><img src=A>");
}

TEST(WebReferenceRewriter, ElementsThatHoldTextOnlyKeepIt) {
    for (const char *text : {"<title><img src=cid:a></title>", "<textarea><img src=cid:a></textarea>",
                             "<xmp><img src=cid:a></xmp>"})
        EXPECT_EQ(markup(text), text);
}

TEST(WebReferenceRewriter, XMLEndsElementsWithTheirStartTags) {
    const auto xml = [](const char *text) { return rewriter().rewriteMarkup(text, true); };
    EXPECT_EQ(xml("<script src='cid:a'/><img src='cid:a'/>"), "<script src='A'/><img src='A'/>");
    EXPECT_EQ(xml("<style/>url(cid:a)<style>url(cid:a)<![CDATA[url(cid:a)]]></style>url(cid:a)"),
              "<style/>url(cid:a)<style>url(A)<![CDATA[url(A)]]></style>url(cid:a)");
    EXPECT_EQ(xml("<![CDATA[<img src='cid:a'/>]]><\xC3\xA9 src='cid:a'/>"),
              "<![CDATA[<img src='cid:a'/>]]><\xC3\xA9 src='A'/>");
}

TEST(WebReferenceRewriter, StyleSheetsAreRewrittenEverywhere) {
    EXPECT_EQ(rewriter().rewriteStyleSheet("@import 'cid:a'; p{background:url( cid:a )} q{color:red}"),
              "@import 'A'; p{background:url( A )} q{color:red}");
}

TEST(WebReferenceRewriter, TakesTimeInProportion) {
    const auto milliseconds = [](qsizetype size) {
        QElapsedTimer timer;
        timer.start();
        const QByteArray text = "<p " + QByteArray("cid:").repeated(size / 4);
        EXPECT_EQ(rewriter().rewriteMarkup(text, false), text);
        return timer.elapsed();
    };
    EXPECT_LT(milliseconds(8 << 20), 5000);
}
