// SPDX-License-Identifier: MIT
#include "platform/print/StyleFreezing.h"

#include <gtest/gtest.h>

using namespace zr;

namespace {

const StyleViewport tall{.heightChanges = true};
const StyleViewport wide{.widthChanges = true};
const StyleViewport both{.widthChanges = true, .heightChanges = true};

std::string frozen(const char *css, const StyleViewport &viewport = both,
                   const QHash<QString, bool> &outcomes = {}) {
    return frozenStyle(QString::fromUtf8(css), viewport, outcomes).toStdString();
}

QStringList conditions(const char *css, const StyleViewport &viewport = tall) {
    return scanStyle(QString::fromUtf8(css), viewport).conditions;
}

TEST(StyleFreezing, ViewportUnitsBecomePixels) {
    EXPECT_EQ(frozen("a{height:100vh;width:50vw}"), "a{height:1131px;width:400px}");
    EXPECT_EQ(frozen("a{height:10svh;top:10lvh;left:10dvh;right:1dvw}"),
              "a{height:113.1px;top:113.1px;left:113.1px;right:8px}");
    EXPECT_EQ(frozen("a{font-size:10vmin;margin:10vmax 1dvmin 1svmax}"),
              "a{font-size:80px;margin:113.1px 8px 11.31px}");
    EXPECT_EQ(frozen("a{block-size:10vb;inline-size:10svi}"), "a{block-size:113.1px;inline-size:80px}");
    EXPECT_EQ(frozen("a{HEIGHT:5VH}"), "a{HEIGHT:56.55px}");
}

TEST(StyleFreezing, OnlyWhatThePaperChangesIsReplaced) {
    EXPECT_EQ(frozen("a{height:10vh;width:10vw;top:1vmin}", tall), "a{height:113.1px;width:10vw;top:8px}");
    EXPECT_EQ(frozen("a{height:10vh;width:10vw;top:1vmax}", wide), "a{height:10vh;width:80px;top:11.31px}");
    EXPECT_EQ(frozen("a{height:10vh;top:1vmin}", StyleViewport()), "a{height:10vh;top:1vmin}");
}

TEST(StyleFreezing, LogicalUnitsFollowTheRootsLinesOrBecomeTheContainers) {
    StyleViewport vertical = both;
    vertical.isVertical = true;
    EXPECT_EQ(frozen("a{top:10vb;left:10vi}", vertical), "a{top:80px;left:113.1px}");
    StyleViewport container = both;
    container.isContainer = true;
    EXPECT_EQ(frozen("a{top:10svb;left:-1.5vi;height:10vh}", container),
              "a{top:10cqb;left:-1.5cqi;height:113.1px}");
}

TEST(StyleFreezing, NumbersAreReadInAllTheirForms) {
    EXPECT_EQ(frozen("a{top:.5vh;left:-2vh;right:+1vh;bottom:1e1vh;width:0.5e-1vh}"),
              "a{top:5.655px;left:-22.62px;right:+11.31px;bottom:113.1px;width:0.5655px}");
    EXPECT_EQ(frozen("a{width:calc(100vh - 2*10vh + +5vh)}"), "a{width:calc(1131px - 2*113.1px + +56.55px)}");
    EXPECT_EQ(frozen("a{width:clamp(10px,50vh,min(90vh,5em))}"),
              "a{width:clamp(10px,565.5px,min(1017.9px,5em))}");
    EXPECT_EQ(frozen("a{--x:3vh;--y:var(--x,4vh)}"), "a{--x:33.93px;--y:var(--x,45.24px)}");
}

TEST(StyleFreezing, TextThatOnlyLooksLikeUnitsStays) {
    for (const char *css : {
             "/* 10vh */ a{content:'10vh';b:\"5\\\"0vh\"}",
             "a{background:url(10vh.png) url( 'x10vh' ) URL(a\\)10vh)}",
             ".h-50vh,.\\35 0vh,#a50vh,#50vh,[x='1vh']{color:#10vh}",
             "a{width:10vhx;height:10vho;color:red;margin:10px 5em}",
             "a:nth-child(2n+1){top:1e3px}",
             "a{--v10vh:1;width:var(--v10vh)}",
         })
        EXPECT_EQ(frozen(css), css);
}

TEST(StyleFreezing, UnitsInNestedAndConditionalRulesAreReplaced) {
    EXPECT_EQ(frozen("@layer x{a{top:1vh}}@supports (height:1dvh){a{top:1vh}}"),
              "@layer x{a{top:11.31px}}@supports (height:11.31px){a{top:11.31px}}");
    EXPECT_EQ(frozen("@container (min-height:10vh){a{top:1vh}}@scope(.a){b{top:1vh}}"),
              "@container (min-height:113.1px){a{top:11.31px}}@scope(.a){b{top:11.31px}}");
    EXPECT_EQ(frozen("a{top:1vh;&:hover{top:2vh}}@keyframes k{50%{top:1vh}}"),
              "a{top:11.31px;&:hover{top:22.62px}}@keyframes k{50%{top:11.31px}}");
}

TEST(StyleFreezing, ConditionsThatDependOnTheViewportAreFound) {
    EXPECT_EQ(conditions("@media (min-height:5px){} @media (orientation:portrait){}@media(aspect-ratio>1){}"),
              (QStringList{QStringLiteral("(min-height:5px)"), QStringLiteral("(orientation:portrait)"),
                           QStringLiteral("(aspect-ratio>1)")}));
    EXPECT_EQ(conditions("@media (min-width:5px){}@media print{}@media (prefers-color-scheme:dark){}"),
              QStringList());
    EXPECT_EQ(conditions("@media (min-width:5px){}", wide), QStringList(QStringLiteral("(min-width:5px)")));
    EXPECT_EQ(conditions("@media (min-width:50vh){}"), QStringList(QStringLiteral("(min-width:50vh)")));
    EXPECT_EQ(conditions("@media screen{@media (height<9px){a{}}} a{@media (height>9px){}}"),
              (QStringList{QStringLiteral("(height<9px)"), QStringLiteral("(height>9px)")}));
    EXPECT_EQ(conditions("@import url(x.css) layer(a) supports(display:grid) screen and (min-height:1px);"),
              QStringList(QStringLiteral("screen and (min-height:1px)")));
    EXPECT_EQ(conditions("@import 'height.css'; @import \"a\" layer;"), QStringList());
    EXPECT_EQ(conditions("a{top:if(media(height < 5px): 1px; else: 2px)}"),
              QStringList(QStringLiteral("height < 5px")));
}

TEST(StyleFreezing, ConditionsAreReplacedByTheirOutcome) {
    const QHash<QString, bool> outcomes = {{QStringLiteral("(min-height:5px)"), true},
                                           {QStringLiteral("(min-height:9px)"), false}};
    EXPECT_EQ(frozen("@media (min-height:5px){a{}}@media (min-height:9px){b{}}", tall, outcomes),
              "@media all {a{}}@media not all {b{}}");
    EXPECT_EQ(frozen("@import 'x' (min-height:9px);", tall, outcomes), "@import 'x'  not all ;");
    EXPECT_EQ(frozen("a{top:if(media((min-height:9px)):1px)}", tall, outcomes),
              "a{top:if(media(max-width: 0px):1px)}");
    EXPECT_EQ(frozen("@media (min-height:7px){}", tall, outcomes), "@media (min-height:7px){}");
}

TEST(StyleFreezing, PageRulesAreRemoved) {
    EXPECT_EQ(frozen("a{}@page{margin:1cm;@top-left{content:'}'}}b{}"), "a{} b{}");
    EXPECT_EQ(frozen("@page wide:first{size:A4}"), " ");
    EXPECT_TRUE(scanStyle(QStringLiteral("@page{margin:0 !important}"), tall).hasImportantPageRule);
    EXPECT_TRUE(
        scanStyle(QStringLiteral("@media print{@page x{margin:0!IMPORTANT}}"), tall).hasImportantPageRule);
    EXPECT_FALSE(scanStyle(QStringLiteral("@page{margin:0}a{top:0!important}"), tall).hasImportantPageRule);
}

TEST(StyleFreezing, ScansTellWhatElseMatters) {
    const auto scan = [](const char *css) { return scanStyle(QString::fromUtf8(css), tall); };
    EXPECT_TRUE(scan("a{content-visibility:auto}").hidesSkippedContent);
    EXPECT_FALSE(scan("a{content:'content-visibility'}").hidesSkippedContent);
    EXPECT_TRUE(scan("a{width:5cqw}").hasContainerUnits);
    EXPECT_TRUE(scan("a{container-type:size}").hasContainers);
    EXPECT_TRUE(scan("a{container: x / size}").hasContainers);
    EXPECT_FALSE(scan(".container{width:1px}").hasContainerUnits);
    EXPECT_TRUE(scan("a{width:5svi}").hasLogicalUnits);
    EXPECT_TRUE(scan("@import 'x';").imports);
    EXPECT_FALSE(scan("a{width:10px}").dependsOnViewport);
}

TEST(StyleFreezing, BrokenSheetsEndTheWalkWithTheText) {
    for (const char *css : {"", "@", "@media", "@media (", "@page{", "@import", "a{b:'", "/*", "url(",
                            "a{x:url(", "\\", "@page{'", "1", "-", "+.", "@media (min-height:", "a{media("}) {
        scanStyle(QString::fromUtf8(css), both);
        const std::string text = frozen(css);
        EXPECT_TRUE(text == css || std::string(css).rfind("@page", 0) == 0) << css;
    }
    EXPECT_EQ(frozen("a{top:1vh"), "a{top:11.31px");
}

} // namespace
